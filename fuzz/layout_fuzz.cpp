// A template, laid out over a few rows with and without pages. The only error is EngineError; a sink receives
// complete pages of complete items.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/layout/cell_columns.h"
#include "qbsvrl6/layout/layout.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/template/template_io.h"

using namespace qbsvrl6;

namespace {

constexpr std::size_t kMaxSize = 65'536;  // of the templates that seeds.py writes
constexpr int kMostPages = 2'000;         // tiny pages are valid, but slow

void require(bool condition) {
    if (!condition) std::abort();
}

struct TooManyPages {};

class CheckingSink : public PageSink {
public:
    void beginPage(const PageInfo& page) override {
        require(!inPage_ && page.number == ++pages_);
        if (pages_ > kMostPages) throw TooManyPages();
        inPage_ = true;
    }
    void band(Band&& band, Micrometres, Micrometres) override {
        require(inPage_ && band.width >= 0 && band.height >= 0);
        for (const Item& item : band.items) {
            require(item.style != nullptr && item.box.y >= 0 && item.box.width >= 0 && item.box.height >= 0);
            const auto* const text = std::get_if<TextItem>(&item.content);
            if (text == nullptr) continue;
            for (const PlacedLine& line : text->lines) {
                require(line.line.firstUnit + line.line.unitCount <= text->lineText().size());
            }
        }
    }
    void endPage() override {
        require(inPage_);
        inPage_ = false;
    }
    void finish(PendingTexts&) override { require(!inPage_); }

private:
    int pages_ = 0;
    bool inPage_ = false;
};

// Draws nothing, but makes charts gather their numbers.
class CheckingDrawings : public DrawingSource {
public:
    std::shared_ptr<const Drawing> barcode(const Control&, std::u16string_view, const Rect&) override {
        return nullptr;
    }
    std::shared_ptr<const Drawing> chart(const Control& control, const ChartSettings& settings,
                                         const ChartData& data, const Rect&) override {
        if (std::get<ChartContent>(control.content).rows.series.empty()) return nullptr;
        const std::size_t values = hasPoints(settings.kind) ? 0 : data.categories.size();
        for (const ChartSeries& series : data.series) require(series.values.size() == values);
        return nullptr;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size > kMaxSize) return 0;
    static const auto data = std::make_shared<DataSet>(readData(
        R"({"p": 1, "rows": [{"n": 1, "t": "a"}, {"n": 2, "t": "中文 and a longer text that wraps"}, {"n": 3, "t": ""}]})",
        "data"));
    try {
        ReportDefinition report =
            readTemplate(std::string_view(reinterpret_cast<const char*>(bytes), size), "fuzz");
        ReportData sets;
        sets.sets[&report] = data;
        for (const bool paged : {true, false}) {
            LayoutOptions options;
            options.paged = paged;
            CheckingDrawings drawings;
            options.drawings = &drawings;
            CheckingSink sink;
            layOut(report, sets, options, sink);
            columnEdges(report, options);
        }
    } catch (const EngineError&) {
    } catch (const TooManyPages&) {
    }
    return 0;
}
