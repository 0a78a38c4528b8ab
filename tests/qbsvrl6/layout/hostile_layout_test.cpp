#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/template_io.h"
#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

std::unique_ptr<Control> text(const std::u16string& shown, Rect box) {
    auto control = std::make_unique<Control>();
    control->box = box;
    control->content = TextContent{shown, u"", false, false, TextContent::Evaluate::Now};
    return control;
}

SectionPtr section(Micrometres height, const std::u16string& shown, Rect box) {
    auto made = std::make_unique<Section>();
    made->height = height;
    made->controls.items.push_back(text(shown, box));
    return made;
}

ReportDefinition gridReport() {
    ReportDefinition report;
    report.grid = std::make_unique<DetailGrid>();
    for (const char16_t* const name : {u"A", u"B"}) {
        auto column = std::make_unique<Column>();
        column->name = name;
        column->width = 30'000;
        column->title.content = TextContent{name, u"", false, false, TextContent::Evaluate::Now};
        column->content.content = TextContent{u"[n]", u"", false, false, TextContent::Evaluate::Now};
        report.grid->columns.push_back(std::move(column));
    }
    return report;
}

// Lays out with and without pages. Returns the error of the layout with pages; "" if there is none.
std::string outcome(const ReportDefinition& report, const std::string& json) {
    ReportData data;
    data.sets[&report] = std::make_shared<DataSet>(readData(json, "data"));
    std::string first;
    for (const bool paged : {true, false}) {
        LayoutOptions options;
        options.paged = paged;
        RecordingSink sink;
        try {
            layOut(report, data, options, sink);
            columnEdges(report, options);
        } catch (const EngineError& error) {
            if (!paged) continue;
            const bool isLimit = error.code() == ErrorCode::LimitExceeded || error.endsExport();
            first = isLimit ? "limit" : error.what();
        }
    }
    return first;
}

TEST(HostileLayout, EndsSoundly) {
    constexpr Micrometres kMost = std::numeric_limits<Micrometres>::max();
    constexpr Micrometres kLeast = std::numeric_limits<Micrometres>::min();
    struct Case {
        const char* name;
        void (*change)(ReportDefinition&);
        const char* outcome;
    };
    const Case cases[] = {
        {"nothing special", [](ReportDefinition&) {}, ""},
        {"margins wider than the paper",
         [](ReportDefinition& r) {
             r.page.margins = {kMost, kMost, kMost, kMost};
         },
         "limit"},
        {"no paper",
         [](ReportDefinition& r) {
             r.page.paper = {0, 0};
         },
         "limit"},
        {"negative paper",
         [](ReportDefinition& r) {
             r.page.paper = {kLeast, kLeast};
         },
         "limit"},
        {"negative margins",
         [](ReportDefinition& r) {
             r.page.margins = {-5'000, -5'000, -5'000, -5'000};
         },
         ""},
        {"a header as high as the page",
         [](ReportDefinition& r) {
             r.pageHeader = section(260'000, u"h", {0, 0, 10'000, 10'000});
             r.pageFooter = section(7'000, u"f", {});
         },
         "limit"},
        {"a footer that grows over the page",
         [](ReportDefinition& r) {
             r.pageFooter = section(0, std::u16string(5'000, u'x'), {0, 0, 3'000, 1'000});
         },
         "limit"},
        {"a section of the greatest height",
         [](ReportDefinition& r) {
             r.reportHeaders.push_back(section(kMost, u"x", {0, 0, kMost, kMost}));
         },
         ""},
        {"controls outside",
         [](ReportDefinition& r) {
             r.reportHeaders.push_back(section(5'000, u"x", {kLeast, kLeast, kMost, kMost}));
         },
         ""},
        {"a narrow text of many lines",
         [](ReportDefinition& r) {
             r.reportHeaders.push_back(section(5'000, std::u16string(3'000, u'x'), {0, 0, 1'100, 5'000}));
         },
         ""},
        {"a text longer than pages could show",
         [](ReportDefinition& r) {
             std::u16string text;
             text.resize(17'000'000, u'x');
             r.reportHeaders.push_back(section(5'000, text, {0, 0, 50'000, 5'000}));
         },
         "limit"},
        {"no columns", [](ReportDefinition& r) { r.grid->columns.clear(); }, ""},
        {"columns without a width",
         [](ReportDefinition& r) {
             for (auto& c : r.grid->columns) c->width = 0;
         },
         ""},
        {"columns of the greatest width",
         [](ReportDefinition& r) {
             for (auto& c : r.grid->columns) c->width = kMost;
         },
         ""},
        {"the same, shrunk",
         [](ReportDefinition& r) {
             for (auto& c : r.grid->columns) c->width = kMost;
             r.grid->adapt = ColumnAdapt::ShrinkToFit;
         },
         ""},
        {"the same, wrapped",
         [](ReportDefinition& r) {
             for (auto& c : r.grid->columns) c->width = kMost;
             r.grid->adapt = ColumnAdapt::Wrap;
         },
         ""},
        {"all columns fixed",
         [](ReportDefinition& r) {
             for (auto& c : r.grid->columns) c->width = 500'000;
             r.grid->adapt = ColumnAdapt::ToNewPageRepeatFixed;
             r.grid->fixedColumns = 99;
         },
         ""},
        {"no row height",
         [](ReportDefinition& r) {
             r.grid->rowHeight = 0;
             r.grid->titleHeight = kLeast;
             r.grid->fillBlankRows = true;
         },
         ""},
        {"rows higher than the page", [](ReportDefinition& r) { r.grid->rowHeight = 700'000; }, ""},
        {"a title higher than the page", [](ReportDefinition& r) { r.grid->titleHeight = 700'000; }, ""},
        {"countless page columns",
         [](ReportDefinition& r) {
             r.page.columns = 1'000'000'000;
             r.page.columnGap = kLeast;
         },
         ""},
        {"page columns apart by more than the page",
         [](ReportDefinition& r) {
             r.page.columns = 3;
             r.page.columnGap = kMost;
         },
         ""},
        {"fonts that aren't",
         [](ReportDefinition& r) {
             r.font.fontSize = std::nan("");
             r.font.lineSpacing = -1e300;
             r.font.rotation = 45;
         },
         ""},
        {"huge fonts",
         [](ReportDefinition& r) {
             r.font.fontSize = 1e300;
             r.font.lineSpacing = 1e300;
         },
         ""},
        {"paddings wider than the cell",
         [](ReportDefinition& r) {
             r.font.padding = Edges{90'000, 90'000, 90'000, 90'000};
         },
         ""},
        {"a repeated header higher than the page",
         [](ReportDefinition& r) {
             auto group = std::make_unique<Group>();
             group->by = u"1";
             group->repeatHeader = group->keepTogether = group->restartPageNumber = group->newPage = true;
             group->minimumRows = std::numeric_limits<int>::max();
             group->header = section(400'000, u"head", {0, 0, 20'000, 390'000});
             group->footer = section(400'000, u"foot", {0, 0, 20'000, 390'000});
             r.grid->groups.push_back(std::move(group));
         },
         ""},
        {"too many groups",
         [](ReportDefinition& r) {
             for (int i = 0; i < 100; ++i) {
                 r.grid->groups.push_back(std::make_unique<Group>());
                 r.grid->groups.back()->by = u"n";
             }
         },
         "limit"},
        {"styles in a circle",
         [](ReportDefinition& r) {
             r.styles = {{u"a", u"b", {}}, {u"b", u"a", {}}};
             r.grid->columns[0]->content.styleName = u"a";
             r.grid->columns[0]->content.conditions = {{u"true", u"b"}, {u"true", u"none"}};
         },
         ""},
        {"pictures that aren't there",
         [](ReportDefinition& r) {
             PictureContent picture;
             picture.source = u"[n]/no/such.png";
             r.grid->columns[0]->content.content = std::move(picture);
             PictureContent embedded;
             embedded.embedded = "no picture";
             r.grid->columns[1]->content.content = std::move(embedded);
         },
         ""},
    };
    for (const Case& test : cases) {
        ReportDefinition report = gridReport();
        test.change(report);
        EXPECT_EQ(outcome(report, numberedRows(40)), test.outcome) << test.name;
    }
}

TEST(HostileLayout, RefusesFaultyExpressions) {
    for (const char16_t* const fault : {u"[", u"[1 +]", u"[Sum(n, Nowhere)]"}) {
        ReportDefinition report = gridReport();
        report.grid->columns[0]->content.content =
            TextContent{fault, u"", false, false, TextContent::Evaluate::Now};
        EXPECT_NE(outcome(report, "[]").find("column"), std::string::npos) << toUtf8(fault);
    }
}

TEST(HostileLayout, LimitsChartsOfRows) {
    const struct {
        const char* chart;
        std::size_t most;  // rows
    } cases[] = {
        {"<Chart><Series label='[n]' value='n'/></Chart>", limits::kChartSeries},
        {"<Chart category='[n]'><Series value='n' label='[Mod(n, 1000)]'/></Chart>", 316},  // 316² values
        {"<Chart kind='scatterLine'><Series x='n' y='n'/><Series x='n' y='n'/></Chart>",
         limits::kChartPoints / 2},
    };
    for (const auto& test : cases) {
        const std::string elements =
            "<ReportHeader height='50mm'>" + std::string(test.chart) + "</ReportHeader>";
        EXPECT_NO_THROW(layOutText(elements, numberedRows(static_cast<int>(test.most)))) << test.chart;
        try {
            layOutText(elements, numberedRows(static_cast<int>(test.most + 1)));
            ADD_FAILURE() << test.chart;
        } catch (const EngineError& error) {
            EXPECT_EQ(error.code(), ErrorCode::LimitExceeded) << error.what();
        }
    }
}

}  // namespace
}  // namespace qbsvrl6
