// Draws barcodes and charts for layout.
#ifndef QBSVR_QBSVRL6_API_DRAWINGS_H
#define QBSVR_QBSVRL6_API_DRAWINGS_H

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "qbsvrl6/layout/drawing_source.h"

namespace qbsvrl6 {

// Serves one export. Whatever can't be drawn (a text that a barcode can't hold, a chart's labels without
// space) is left out and logged; only the first of many such errors are logged.
class Drawings : public DrawingSource {
public:
    explicit Drawings(ReportDefinition& report);

    std::shared_ptr<const Drawing> barcode(const Control& control, std::u16string_view text,
                                           const Rect& place) override;
    std::shared_ptr<const Drawing> chart(const Control& control, const ChartSettings& settings,
                                         const ChartData& data, const Rect& place) override;
    std::u16string describe(const ChartSettings& settings, const ChartData& data) override;

private:
    void addCharts(ReportDefinition& report);
    void logBadBarcode(const Control& control, const std::string& cause);
    void log(const std::string& what, TextPosition place = {});

    ReportDefinition& report_;
    std::map<const Control*, std::u16string> chartFonts_;  // sub-reports have their own styles
    int errors_ = 0;
};

}  // namespace qbsvrl6

#endif
