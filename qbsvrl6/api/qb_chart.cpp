// Charts, filled by the handler of the data request.
#include <algorithm>
#include <utility>

#include "qbsvrl6/api/chart_data.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/support/limits.h"

using namespace qbsvrl6;
using namespace quillbrook;

namespace {

// The body is given the data of the handle's chart.
template <class Body>
auto withData(const char* function, tagQBChart* handle, Body body) noexcept {
    return withObject(function, handle, [&](Control& control) {
        using Result = decltype(body(std::declval<ChartData&>()));
        auto* const chart = std::get_if<ChartContent>(&control.content);
        return chart == nullptr ? Result() : body(chart->data);
    });
}

}  // namespace

// The switches: whether the data replaces the number of series, their labels, and the categories.
int QBChartLoadDataFromXML(tagQBChart* handle, const lkchar* xml, int series, int labels, int categories) {
    return withData(__func__, handle, [&](ChartData& data) {
        readChartValues(textFrom(xml), {series != 0, labels != 0, categories != 0}, data);
        return 1;
    });
}

// The switch: whether the data replaces the labels of the series.
int QBChartLoadXYDataFromXML(tagQBChart* handle, const lkchar* xml, int labels) {
    return withData(__func__, handle, [&](ChartData& data) {
        readChartPoints(textFrom(xml), false, labels != 0, data);
        return 1;
    });
}

int QBChartLoadXYZDataFromXML(tagQBChart* handle, const lkchar* xml, int labels) {
    return withData(__func__, handle, [&](ChartData& data) {
        readChartPoints(textFrom(xml), true, labels != 0, data);
        return 1;
    });
}

void QBChartSetSeriesCount(tagQBChart* handle, int seriesCount) {
    withData(__func__, handle, [&](ChartData& data) {
        data.series.resize(
            std::min(static_cast<std::size_t>(std::max(seriesCount, 0)), limits::kChartSeries));
    });
}

void QBChartSetSeriesLabel(tagQBChart* handle, int seriesIndex, const lkchar* label) {
    withData(__func__, handle, [&](ChartData& data) {
        const auto index = static_cast<std::size_t>(seriesIndex);
        if (seriesIndex >= 0 && index < data.series.size()) data.series[index].label = textFrom(label);
    });
}
