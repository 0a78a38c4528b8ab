#include <gtest/gtest.h>

#include "qbsvrl6/layout/section_arrangement.h"
#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

std::string show(const std::vector<ArrangedBox>& boxes, Micrometres height) {
    std::string text;
    for (const ArrangedBox& box : boxes)
        text += std::to_string(box.top) + "+" + std::to_string(box.height) + " ";
    return text + "= " + std::to_string(height);
}

// top, height, needed, shrinks, stretches
TEST(Section, ArrangesItsBoxes) {
    struct Case {
        const char* name;
        std::vector<ArrangedBox> boxes;
        bool canGrow;
        const char* expected;
    };
    const Case cases[] = {
        {"all fits", {{0, 10, 8, false, false}, {10, 10, 0, false, false}}, true, "0+10 10+10 = 30"},
        {"what is below moves down",
         {{0, 10, 15, false, false}, {10, 10, 0, false, false}},
         true,
         "0+15 15+10 = 35"},
        {"by the most of the line",
         {{0, 10, 15, false, false}, {0, 10, 30, false, false}, {12, 5, 0, false, false}},
         true,
         "0+15 0+30 32+5 = 50"},
        {"growth adds up",
         {{0, 10, 12, false, false}, {10, 10, 13, false, false}, {20, 5, 6, false, false}},
         true,
         "0+12 12+13 25+6 = 36"},
        {"what stands beside stays",
         {{0, 10, 15, false, false}, {5, 10, 0, false, false}},
         true,
         "0+15 5+10 = 35"},
        {"a section that can't grow",
         {{0, 10, 15, false, false}, {10, 10, 0, false, false}},
         false,
         "0+10 10+10 = 30"},
        {"a frame stretches", {{0, 30, 0, false, true}, {5, 10, 20, false, false}}, true, "0+40 5+20 = 40"},
        {"a line below moves", {{5, 10, 20, false, false}, {16, 0, 0, false, true}}, true, "5+20 26+0 = 40"},
        {"a removed line closes up",
         {{0, 10, 0, true, false}, {10, 10, 0, false, false}},
         true,
         "0+0 0+10 = 20"},
        {"two of them",
         {{0, 10, 0, true, false}, {10, 10, 0, true, false}, {20, 10, 0, false, false}},
         true,
         "0+0 0+0 0+10 = 10"},
        {"unless something stands beside it",
         {{0, 10, 0, true, false}, {0, 10, 5, false, false}, {10, 10, 0, false, false}},
         true,
         "0+10 0+10 10+10 = 30"},
        {"a shrinking text", {{0, 10, 4, true, false}, {10, 10, 0, false, false}}, true, "0+4 4+10 = 24"},
        {"shrinking and growing",
         {{0, 10, 4, true, false}, {10, 10, 15, false, false}, {20, 5, 0, false, false}},
         true,
         "0+4 4+15 19+5 = 29"},
        {"in any order", {{20, 5, 0, false, false}, {0, 10, 14, false, false}}, true, "24+5 0+14 = 34"},
    };
    for (const Case& test : cases) {
        std::vector<ArrangedBox> boxes = test.boxes;
        const Micrometres height = arrangeBoxes(boxes, 30, test.canGrow);
        EXPECT_EQ(show(boxes, height), test.expected) << test.name;
    }
}

TEST(Section, GrowsWithItsTexts) {
    // Four lines of 8 point, 3.285 mm each, in a box of 5 mm.
    const std::string texts =
        "<Text width='40mm' height='5mm' text='a&#10;b&#10;c&#10;d'/>"
        "<Text y='6mm' width='40mm' height='4mm' text='[none]' removeWhenBlank='true'/>"
        "<Text y='10mm' width='40mm' height='4mm' text='below'/>";
    struct Case {
        const char* attributes;
        const char* expected;
    };
    const Case cases[] = {
        {"height='15mm'",
         " ReportHeader 15,15 180x19.14\n  text 0,0 40x13.14 \"a|b|c|d\"\n  text 0,14.14 40x4 \"below\"\n"},
        {"height='15mm' canGrow='false'",
         " ReportHeader 15,15 180x11\n  text 0,0 40x5 \"a\"\n  text 0,6 40x4 \"below\"\n"},
        {"height='15mm' canShrink='true'",
         " ReportHeader 15,15 180x18.425\n  text 0,0 40x13.14 \"a|b|c|d\"\n  text 0,14.14 40x3.285 "
         "\"below\"\n"},
    };
    for (const Case& test : cases) {
        const RecordingSink sink =
            layOutText(std::string("<ReportHeader ") + test.attributes + ">" + texts + "</ReportHeader>",
                       numberedRows(1));
        EXPECT_EQ(sink.everything(), std::string("page 1\n") + test.expected) << test.attributes;
    }
}

TEST(Section, ShowsControlsByConditions) {
    const std::string elements =
        "<Styles><Style name='red' color='#ff0000'/><Style name='big' fontSize='20pt' "
        "color='#00ff00'/></Styles>"
        "<Grid titleHeight='0mm' rowHeight='8mm' rowCanGrow='false'><Columns><Column name='A' width='30mm'>"
        "<Content text='[n]'><When test='n &gt; 1' style='red'/><When test='n = 3' "
        "style='big'/></Content></Column>"
        "<Column name='B' width='30mm'><Content text='[n:rgb(0,0,255)0]' visibleWhen='n &lt;&gt; "
        "2'/></Column></Columns></Grid>";
    std::string described;
    class Sink : public PageSink {
    public:
        explicit Sink(std::string& out) : out_(out) {}
        void beginPage(const PageInfo&) override {}
        void endPage() override {}
        void finish(PendingTexts&) override {}
        void band(Band&& band, Micrometres, Micrometres) override {
            for (const Item& item : band.items) {
                const TextItem& text = std::get<TextItem>(item.content);
                const Color color = text.color.value_or(item.style->color);
                out_ += textOf(item) + ":" + std::to_string(color.red) + "," + std::to_string(color.green) +
                        "," + std::to_string(color.blue) + "/" +
                        std::to_string(static_cast<int>(text.fontSize)) + " ";
            }
        }

    private:
        std::string& out_;
    };
    Sink sink(described);
    layOutInto(elements, numberedRows(3), {}, sink);
    EXPECT_EQ(described, "1:0,0,0/8 1:0,0,255/8 2:255,0,0/8 3:0,255,0/20 3:0,0,255/8 ");
}

// Two red pixels beside each other.
constexpr const char* kPicture =
    "iVBORw0KGgoAAAANSUhEUgAAAAIAAAABCAIAAAB7QOjdAAAADUlEQVR4nGP4z8AARAAI/gH/xp559wAAAABJRU5ErkJggg==";

// Three rows a page, numbered by n; the page's own texts tell which page they are on.
TEST(Section, ConditionsOfThePageAreDecidedWithIt) {
    struct Case {
        const char* name;
        std::string elements;
        std::vector<std::string> pages;
    };
    const auto page = [](const std::string& header, const std::string& footer) {
        return "<PageHeader height='5mm' " + header + "</PageHeader><PageFooter height='5mm' " + footer +
               "</PageFooter>";
    };
    const auto grid = [](const std::string& content, const std::string& more = "") {
        return "<Grid titleHeight='0mm' rowHeight='10mm'><Columns><Column name='n' width='20mm'>" + content +
               "</Column></Columns>" + more + "</Grid>";
    };
    const std::string rows = grid("<Content text='[n]'/>");
    const auto text = [](const std::string& attributes, const std::string& content = "") {
        return "<Text width='30mm' height='5mm' " + attributes + ">" + content + "</Text>";
    };
    const auto section = [&](const std::string& name, const std::string& attributes,
                             const std::string& content) {
        return "<" + name + " " + attributes + ">" + content + "</" + name + ">";
    };
    const Case cases[] = {
        {"a footer on the last page",
         page(">" + text("text='h'"),
              "visibleWhen='PageNumber = PageCount'>" + text("text='last [PageCount]'")) +
             rows,
         {"h 1 2 3", "h 4 5 6", "h 7 last 3"}},
        {"a header on all but the last, with a count of its own",
         page("visibleWhen='PageNumber &lt; PageCount'>" + text("text='h'"), ">") + rows,
         {"h 1 2 3", "h 4 5 6", "7"}},
        {"controls of a page footer",
         page(">", ">" + text("text='more' visibleWhen='PageNumber &lt; PageCount'") +
                       text("x='30mm' text='end' visibleWhen='PageNumber = PageCount'")) +
             rows,
         {"1 2 3 more", "4 5 6 more", "7 end"}},
        {"by the page's total",
         page("visibleWhen='Sum(n, Page) > 10'>" + text("text='h'"),
              ">" + text("text='big' visibleWhen='Sum(n) > 7'")) +
             rows,
         {"1 2 3", "h 4 5 6 big", "7"}},
        {"by the page's number alone, room given back",
         "<PageHeader height='10mm' visibleWhen='PageNumber = 2'>" + text("text='h'") + "</PageHeader>" +
             rows,
         {"1 2 3 4", "h 5 6 7"}},
        {"cells",
         grid("<Content text='[n]' visibleWhen='PageNumber = PageCount or n = 2'/>"),
         {"2", "5 6 7"}},
        {"a group's header",
         grid("<Content text='[n]'/>",
              "<Groups><Group by='n'><Header height='10mm' visibleWhen='PageNumber = PageCount'>" +
                  text("text='g[n]'") + "</Header></Group></Groups>"),
         {"1 2", "3 4", "5 6", "g7 7"}},
        {"a report's footer",
         rows + section("ReportFooter", "height='5mm' visibleWhen='PageCount = 1'", text("text='one'")),
         {"1 2 3 4", "5 6 7"}},
        {"a sub-report in a late section",
         section(
             "ReportHeader", "height='5mm' visibleWhen='PageNumber &lt; PageCount'",
             "<SubReport width='40mm' height='5mm'><Report><ReportHeader height='5mm' background='#ff0000'>" +
                 text("text='in' visibleWhen='PageCount = 2'") +
                 text("x='20mm' text='out' visibleWhen='PageCount = 9'") +
                 "</ReportHeader></Report></SubReport>") +
             rows,
         {"in 1 2 3", "4 5 6 7"}},
        {"numbers of a group's run",
         page(">", ">" + text("text='[PageNumber]/[PageCount]' visibleWhen='PageNumber = PageCount'")) +
             grid(
                 "<Content text='[n]'/>",
                 "<Groups><Group by='If(n &lt; 5, 1, 2)' newPage='true' restartPageNumber='true'/></Groups>"),
         {"1 2 3", "4 2/2", "5 6 7 1/1"}},
    };
    for (const Case& test : cases) {
        const RecordingSink sink =
            layOutText("<Page width='80mm' height='50mm' margins='5mm'/>" + test.elements, numberedRows(7));
        EXPECT_EQ(sink.pageTexts(), test.pages) << test.name << "\n" << sink.everything();
    }
}

TEST(Section, StylesByThePageAreDecidedWithIt) {
    const RecordingSink sink = layOutText(
        "<Page width='80mm' height='50mm' margins='5mm'/><Styles><Style name='r' color='#ff0000' "
        "fontSize='4pt'/></Styles>"
        "<PageFooter height='5mm'><Text width='30mm' height='5mm' text='x'><When test='PageNumber = "
        "PageCount' style='r'/>"
        "</Text></PageFooter><Grid titleHeight='0mm' rowHeight='20mm'><Columns><Column name='n' width='20mm'>"
        "<Content text='[n]'><When test='PageNumber = 1' style='r'/></Content></Column></Columns></Grid>",
        numberedRows(2));
    ASSERT_EQ(sink.pages.size(), 2u);
    for (std::size_t page = 0; page < 2; ++page) {
        for (const auto& recorded : sink.pages[page]) {
            const Item& item = recorded.band.items.at(0);
            const bool small = recorded.band.kind == BandKind::PageFooter ? page == 1 : page == 0;
            EXPECT_EQ(std::get<TextItem>(item.content).fontSize, small ? 4 : 8) << sink.everything();
        }
    }
}

TEST(Section, KeepsPicturesAndDrawingsInsideTheirPaddings) {
    class Source : public DrawingSource {
    public:
        std::shared_ptr<const Drawing> barcode(const Control&, std::u16string_view,
                                               const Rect& place) override {
            return tell("barcode", place);
        }
        std::shared_ptr<const Drawing> chart(const Control&, const ChartSettings&, const ChartData&,
                                             const Rect& place) override {
            return tell("chart", place);
        }
        std::shared_ptr<const Drawing> tell(const char* kind, const Rect& place) {
            told += std::string(kind) + " " + show(place);
            return nullptr;
        }
        static std::string show(const Rect& r) {
            return std::to_string(r.x) + "," + std::to_string(r.y) + " " + std::to_string(r.width) + "x" +
                   std::to_string(r.height) + "; ";
        }
        std::string told;
    };
    const struct {
        std::string elements;
        const char* expected;
    } cases[] = {
        {"<ReportHeader height='20mm'><Barcode width='40mm' height='20mm' text='1' padding='1mm 2mm 3mm "
         "4mm'/><Chart width='50mm' height='20mm'/></ReportHeader>",
         "barcode 1000,2000 36000x14000; chart 0,0 50000x20000; "},
        // What would leave no room is left out.
        {"<ReportHeader height='20mm'><Chart width='40mm' height='4mm' padding='2mm'/></ReportHeader>",
         "chart 2000,0 36000x4000; "},
        // A cell that another one makes taller.
        {"<Grid titleHeight='0mm' rowHeight='5mm'><Columns><Column name='A' width='40mm'><Content "
         "text='a&#10;b&#10;c&#10;d'/></Column><Column name='B' width='40mm'><Content><Barcode text='[n]' "
         "padding='1mm'/></Content></Column></Columns></Grid>",
         "barcode 1000,1000 38000x11140; "},
        {std::string("<ReportHeader height='20mm'><Picture width='20mm' height='20mm' "
                     "padding='2mm'><Embedded>") +
             kPicture + "</Embedded></Picture></ReportHeader>",
         "picture 2000,6000 16000x8000; "},
    };
    for (const auto& test : cases) {
        Source source;
        LayoutOptions options;
        options.drawings = &source;
        const RecordingSink sink = layOutText(test.elements, numberedRows(1), options);
        for (const auto& recorded : sink.pages.at(0)) {
            for (const Item& item : recorded.band.items) {
                const auto* const picture = std::get_if<PictureItem>(&item.content);
                if (picture != nullptr) source.told += "picture " + Source::show(picture->placed);
            }
        }
        EXPECT_EQ(source.told, test.expected) << test.elements;
    }
}

}  // namespace
}  // namespace qbsvrl6
