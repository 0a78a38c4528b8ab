// Charts, filled by the handler of the data request.
#include <algorithm>

#include "qbsvrl6/api/chart_data.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/support/limits.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

ChartData* dataOf(tagQBChart* handle) {
    Control* control = fromHandle(handle);
    ChartContent* chart = control == nullptr ? nullptr : std::get_if<ChartContent>(&control->content);
    return chart == nullptr ? nullptr : &chart->data;
}

}  // namespace

// The switches: whether the data replaces the number of series, their labels, and the categories.
int QBChartLoadDataFromXML(tagQBChart* handle, const lkchar* xml, int series, int labels, int categories) {
    return guarded("QBChartLoadDataFromXML", 0, [&] {
        ChartData* data = dataOf(handle);
        if (data == nullptr) return 0;
        readChartValues(textFrom(xml), {series != 0, labels != 0, categories != 0}, *data);
        return 1;
    });
}

// The switch: whether the data replaces the labels of the series.
int QBChartLoadXYDataFromXML(tagQBChart* handle, const lkchar* xml, int labels) {
    return guarded("QBChartLoadXYDataFromXML", 0, [&] {
        ChartData* data = dataOf(handle);
        if (data == nullptr) return 0;
        readChartPoints(textFrom(xml), false, labels != 0, *data);
        return 1;
    });
}

int QBChartLoadXYZDataFromXML(tagQBChart* handle, const lkchar* xml, int labels) {
    return guarded("QBChartLoadXYZDataFromXML", 0, [&] {
        ChartData* data = dataOf(handle);
        if (data == nullptr) return 0;
        readChartPoints(textFrom(xml), true, labels != 0, *data);
        return 1;
    });
}

void QBChartSetSeriesCount(tagQBChart* handle, int seriesCount) {
    guarded("QBChartSetSeriesCount", [&] {
        if (ChartData* data = dataOf(handle)) {
            data->series.resize(
                std::min(static_cast<std::size_t>(std::max(seriesCount, 0)), limits::kChartSeries));
        }
    });
}

void QBChartSetSeriesLabel(tagQBChart* handle, int seriesIndex, const lkchar* label) {
    guarded("QBChartSetSeriesLabel", [&] {
        ChartData* data = dataOf(handle);
        const auto index = static_cast<std::size_t>(seriesIndex);
        if (data != nullptr && seriesIndex >= 0 && index < data->series.size()) {
            data->series[index].label = textFrom(label);
        }
    });
}
