// Invariants of every report: all rows appear completely and equally often, and the bands of a page fit on it
// and do not overlap.
#include <gtest/gtest.h>

#include <random>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/utf.h"
#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

class RandomReport {
public:
    explicit RandomReport(unsigned seed) : random_(seed) {}

    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
    bool chance(int percent) { return pick(1, 100) <= percent; }

    ReportDefinition make() {
        ReportDefinition report;
        report.font.fontFamily = u"DejaVu Sans";
        report.font.padding = Edges{0, 0, 0, 0};
        report.page.paper = {pick(60, 200) * 1000, pick(60, 200) * 1000};
        report.page.margins = {5'000, 5'000, 5'000, 5'000};
        if (chance(20)) report.page.columns = pick(2, 3);
        if (chance(50)) report.pageHeader = section(pick(3, 10), u"[PageNumber]/[PageCount]");
        if (chance(50)) report.pageFooter = section(pick(3, 10), u"[Sum(n)]");
        for (int i = pick(0, 2); i > 0; --i) report.reportHeaders.push_back(section(pick(3, 40), u"head"));
        for (int i = pick(0, 2); i > 0; --i) report.reportFooters.push_back(section(pick(3, 40), u"foot"));
        report.grid = std::make_unique<DetailGrid>();
        DetailGrid& grid = *report.grid;
        grid.adapt = static_cast<ColumnAdapt>(pick(2, 9));
        grid.fixedColumns = pick(0, 2);
        grid.titleHeight = pick(0, 8) * 1000;
        grid.rowHeight = pick(2, 25) * 1000;
        grid.fillBlankRows = chance(30);
        grid.centered = chance(30);
        for (int i = pick(1, 5); i > 0; --i) {
            auto column = std::make_unique<Column>();
            column->name = toUtf16("c" + std::to_string(i));
            column->width = pick(15, 70) * 1000;
            column->title.content = text(u"title");
            column->content.content = text(chance(30) ? u"<[n]> [t]" : u"<[n]>");
            grid.columns.push_back(std::move(column));
        }
        for (int i = pick(0, 2); i > 0; --i) grid.groups.push_back(group());
        return report;
    }

private:
    static TextContent text(const std::u16string& shown) {
        return {shown, u"", false, false, TextContent::Evaluate::Now};
    }

    SectionPtr section(int height, const std::u16string& shown) {
        auto made = std::make_unique<Section>();
        made->height = height * 1000;
        made->keepTogether = chance(70);
        made->newPageBefore = chance(10);
        made->newPageAfter = chance(10);
        auto control = std::make_unique<Control>();
        control->box = {0, 0, 40'000, height * 1000};
        control->content = text(shown);
        made->controls.items.push_back(std::move(control));
        return made;
    }

    std::unique_ptr<Group> group() {
        auto made = std::make_unique<Group>();
        made->by = chance(50) ? u"Floor(n / 3)" : u"Floor(n / 7)";
        if (chance(70)) made->header = section(pick(3, 15), u"group");
        if (chance(70)) made->footer = section(pick(3, 15), u"end of group");
        made->repeatHeader = chance(50);
        made->keepTogether = chance(40);
        made->newPage = chance(20);
        made->restartPageNumber = chance(10);
        made->minimumRows = pick(0, 4);
        return made;
    }

    std::mt19937 random_;
};

std::string data(int rows) {
    std::string json = "[";
    for (int i = 0; i < rows; ++i) {
        // Occasionally, a text that needs more than a page.
        const std::string words =
            i % 11 == 5 ? std::string(600, 'w') : std::string(static_cast<std::size_t>(i % 5), 'w');
        json += (i > 0 ? ",{\"n\":" : "{\"n\":") + std::to_string(i) + ",\"t\":\"" + words + "\"}";
    }
    return json + "]";
}

// Checks that every "<n>" occurs equally often, and at least once per column.
void checkRows(const RecordingSink& sink, int rows, const ReportDefinition& report,
               const std::string& trace) {
    std::vector<int> counts(static_cast<std::size_t>(rows));
    for (const auto& page : sink.pages) {
        for (const auto& recorded : page) {
            for (const Item& item : recorded.band.items) {
                const auto* const text = std::get_if<TextItem>(&item.content);
                if (text == nullptr || text->text.empty() || text->text[0] != u'<') continue;
                ++counts[static_cast<std::size_t>(std::stoi(toUtf8(text->text.substr(1))))];
            }
        }
    }
    for (int i = 0; i < rows; ++i) {
        const int count = counts[static_cast<std::size_t>(i)];
        EXPECT_EQ(count, counts[0]) << "row " << i << trace;
        EXPECT_GE(count, static_cast<int>(report.grid->columns.size())) << "row " << i << trace;
    }
}

void checkPages(const RecordingSink& sink, const ReportDefinition& report, const std::string& trace) {
    for (const auto& page : sink.pages) {
        Micrometres headerBottom = 5'000;
        Micrometres footerTop = report.page.paper.height - 5'000;
        for (const auto& recorded : page) {
            if (recorded.band.kind == BandKind::PageHeader) headerBottom = recorded.y + recorded.band.height;
            if (recorded.band.kind == BandKind::PageFooter) footerTop = recorded.y;
        }
        std::map<Micrometres, Micrometres> bottoms;  // by x, since columns of detail are side by side
        for (const auto& recorded : page) {
            const Band& band = recorded.band;
            if (band.kind == BandKind::PageHeader || band.kind == BandKind::PageFooter) continue;
            EXPECT_GE(recorded.y, headerBottom) << trace;
            EXPECT_LE(recorded.y + band.height, footerTop) << trace;
            Micrometres& bottom = bottoms[recorded.x];
            EXPECT_GE(recorded.y, bottom) << "bands overlap" << trace;
            bottom = recorded.y + band.height;
        }
    }
}

TEST(RandomLayout, LosesNothingAndOverlapsNothing) {
    constexpr int kRows = 40;
    const auto rows = std::make_shared<DataSet>(readData(data(kRows), "data"));
    for (unsigned seed = 1; seed <= 400; ++seed) {
        ReportDefinition report = RandomReport(seed).make();
        ReportData sets;
        sets.sets[&report] = rows;
        for (const bool paged : {true, false}) {
            LayoutOptions options;
            options.paged = paged;
            RecordingSink sink;
            layOut(report, sets, options, sink);
            const std::string trace =
                "\nseed " + std::to_string(seed) + (paged ? " on pages" : " continuous");
            checkRows(sink, kRows, report, trace);
            if (paged) checkPages(sink, report, trace);
            if (testing::Test::HasFailure()) FAIL() << sink.everything();
        }
    }
}

// The position and font size of every text, and whether it wraps.
std::string places(const RecordingSink& sink) {
    std::string all;
    for (const auto& page : sink.pages) {
        all += "page\n";
        for (const auto& recorded : page) {
            all += "band " + std::to_string(recorded.y) + "\n";
            for (const Item& item : recorded.band.items) {
                const auto* const text = std::get_if<TextItem>(&item.content);
                all += std::to_string(item.box.y) + " " + std::to_string(item.box.height);
                if (text != nullptr) {
                    all += " " + std::to_string(text->fontSize) + (text->lines.size() > 1 ? " wraps " : " ") +
                           toUtf8(text->text);
                }
                all += "\n";
            }
        }
    }
    return all;
}

TEST(RandomLayout, IsTheSameForSinksThatDrawNoText) {
    const auto rows = std::make_shared<DataSet>(readData(data(20), "data"));
    for (unsigned seed = 1; seed <= 200; ++seed) {
        ReportDefinition report = RandomReport(seed).make();
        report.font.fit = static_cast<TextFit>(seed % 4);
        ReportData sets;
        sets.sets[&report] = rows;
        LayoutOptions options;
        RecordingSink drawn;
        layOut(report, sets, options, drawn);
        options.drawText = false;
        RecordingSink undrawn;
        layOut(report, sets, options, undrawn);
        ASSERT_EQ(places(drawn), places(undrawn)) << "seed " << seed;
    }
}

}  // namespace
}  // namespace qbsvrl6
