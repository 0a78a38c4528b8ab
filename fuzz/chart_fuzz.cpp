// Chart data as a program passes it. It is rejected with EngineError and leaves the chart unchanged, or it is
// drawn as a chart of any kind and width.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "qbsvrl6/api/chart_data.h"
#include "qbsvrl6/chart/chart.h"
#include "qbsvrl6/drawing/svg.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    constexpr std::size_t kHead = 3;
    if (size < kHead || size > 4'096) return 0;
    ChartSettings settings;
    settings.kind = static_cast<ChartKind>(bytes[0] % 5);
    settings.showLegend = (bytes[1] & 1) != 0;
    settings.showValues = (bytes[1] & 2) != 0;
    if ((bytes[1] & 4) != 0) settings.title = u"Title";
    const ChartDataUse use{(bytes[1] & 8) == 0, (bytes[1] & 16) == 0, (bytes[1] & 32) == 0};
    ChartData data{{u"a", u"b"}, {{u"one", {1, 2}, {{1, 2, 3}}}}};
    const std::u16string xml =
        toUtf16(std::string_view(reinterpret_cast<const char*>(bytes) + kHead, size - kHead));
    try {
        if (hasPoints(settings.kind)) {
            readChartPoints(xml, settings.kind == ChartKind::Bubble, use.labels, data);
        } else {
            readChartValues(xml, use, data);
        }
    } catch (const EngineError&) {
        if (data.series.size() != 1 || data.categories.size() != 2) std::abort();
    }
    const Micrometres side = 1'000 * (1 + bytes[2]);
    const Size box{side, 60'000};
    toSvg(drawChart(settings, data, box, u"Sans"), box);
    return 0;
}
