#include <gtest/gtest.h>

#include "tests/qbsvrl6/layout/recording_sink.h"

namespace qbsvrl6 {
namespace {

// Rows and group sections are 10 mm high; the page has room for six of them.
const std::string kPage = "<Page width='80mm' height='70mm' margins='5mm'/>";

struct GroupSpec {
    std::string attributes;
    std::string header;  // text; empty: no header
    std::string footer;
};

std::string section(const std::string& element, const std::string& text) {
    if (text.empty()) return "";
    return "<" + element + " height='10mm'><Text width='60mm' height='5mm' text='" + text + "'/></" +
           element + ">";
}

std::string grid(const std::vector<GroupSpec>& groups, const std::string& attributes = "") {
    std::string all = "<Grid titleHeight='0mm' rowHeight='10mm' " + attributes +
                      "><Columns><Column name='V' width='60mm'><Title text='T'/><Content "
                      "text='[v]'/></Column></Columns><Groups>";
    for (const GroupSpec& group : groups) {
        all += "<Group " + group.attributes + ">" + section("Header", group.header) +
               section("Footer", group.footer) + "</Group>";
    }
    return all + "</Groups></Grid>";
}

// "a1 a2 b1": rows whose keys are the letter (k) and the letter's case folded (f).
std::string rows(const std::string& words) {
    std::string json = "[";
    std::size_t at = 0;
    while (at < words.size()) {
        const std::size_t end = std::min(words.find(' ', at), words.size());
        const std::string word = words.substr(at, end - at);
        json += (json.size() > 1 ? "," : "") +
                ("{\"v\":\"" + word + "\",\"k\":\"" + word.substr(0, 1) + "\",\"x\":" + word.substr(1) + "}");
        at = end + 1;
    }
    return json + "]";
}

TEST(Groups, StandOnPages) {
    struct Case {
        const char* name;
        std::string grid;
        const char* rows;
        std::vector<std::string> pages;
    };
    const std::string by = "name='K' by='k' ";
    const GroupSpec plain{by, "[k]:", "=[Sum(x)]"};
    const Case cases[] = {
        {"headers and footers", grid({plain}), "a1 a2 b3", {"a: a1 a2 =3", "b: b3 =3"}},
        {"a footer takes its last row along", grid({plain}), "a1 a2 a3 a4 a5", {"a: a1 a2 a3 a4", "a5 =15"}},
        {"a header takes its first row along", grid({plain}), "a1 a2 a3 b4", {"a: a1 a2 a3 =6", "b: b4 =4"}},
        {"more rows stay with the header",
         grid({{by + "minimumRows='3'", "[k]:", ""}}),
         "a1 a2 b1 b2 b3 b4",
         {"a: a1 a2", "b: b1 b2 b3 b4"}},
        {"as many as the group has",
         grid({{by + "minimumRows='9'", "[k]:", ""}}),
         "a1 b1 c1 d1",
         {"a: a1 b: b1 c: c1", "d: d1"}},
        {"a header may stand alone",
         grid({{by + "minimumRows='0'", "[k]:", ""}}),
         "a1 a2 a3 a4 b1",
         {"a: a1 a2 a3 a4 b:", "b1"}},
        {"kept together",
         grid({{by + "keepTogether='true'", "[k]:", "=[Sum(x)]"}}),
         "a1 a2 b1 b2 c1",
         {"a: a1 a2 =3", "b: b1 b2 =3", "c: c1 =1"}},
        {"kept together as far as possible",
         grid({{by + "keepTogether='true'", "[k]:", ""}}),
         "a1 b1 b2 b3 b4 b5 b6 b7 c1",
         {"a: a1", "b: b1 b2 b3 b4 b5", "b6 b7 c: c1"}},
        {"no title alone above a group that no page holds",
         grid({{by + "keepTogether='true'", "[k]:", ""}}).replace(6, 17, "titleHeight='9mm'"),
         "b1 b2 b3 b4 b5 b6",
         {"T b: b1 b2 b3 b4", "T b5 b6"}},
        {"a page each", grid({{by + "newPage='true'", "[k]:", ""}}), "a1 b1 b2", {"a: a1", "b: b1 b2"}},
        {"a page each with the title, which is on no page alone",
         grid({{by + "newPage='true'", "[k]:", ""}}).replace(6, 17, "titleHeight='9mm'"),
         "a1 b1",
         {"T a: a1", "T b: b1"}},
        {"a page for a header takes the title along",
         "<ReportHeader height='5mm'><Text width='9mm' height='5mm' text='H'/></ReportHeader>"
         "<Grid titleHeight='9mm'><Columns><Column name='V' width='60mm'><Title text='T'/><Content "
         "text='[v]'/></Column></Columns><Groups><Group by='k'><Header newPageBefore='true'/></Group>"
         "</Groups></Grid>",
         "a1 b1",
         {"H", "T a1", "T b1"}},
        {"repeated headers",
         grid({{by + "repeatHeader='true'", "[k]:", ""}}),
         "a1 a2 a3 a4 a5 a6 b1",
         {"a: a1 a2 a3 a4 a5", "a: a6 b: b1"}},
        {"a repeated header reads as before",
         grid({{by + "repeatHeader='true'", "[v]:", ""}}),
         "a1 a2 a3 a4 a5 a6",
         {"a1: a1 a2 a3 a4 a5", "a1: a6"}},
        {"repeated above a footer",
         grid({{by + "repeatHeader='true'", "[k]:", "=[Sum(x)]"}}),
         "a1 a2 a3 a4 a5",
         {"a: a1 a2 a3 a4", "a: a5 =15"}},
        {"nested",
         grid({{"name='K' by='k' repeatHeader='true'", "[k]:", "=[Sum(x)]"},
               {"name='X' by='Floor(x / 2)' repeatHeader='true'", "([Sum(x)]", "[Count(*)]/[Count(*, K)])"}}),
         "a0 a1 a2 b2",
         {"a: (1 a0 a1 2/3)", "a: (2 a2 1/3) =3", "b: (2 b2 1/1) =2"}},
        {"an outer change starts inner groups",
         grid({{"by='k'", "[k]", ""}, {"by='x'", "[x]", ""}}, "adapt='discard'"),
         "a1 b1",
         {"a 1 a1 b 1 b1"}},
        {"totals of the group ahead of its rows",
         grid({{by, "[k] [Count(*)] [Maximum(v)]", ""}}),
         "a1 a2 b3",
         {"a 2 a2 a1 a2 b 1 b3 b3"}},
        {"rows alternate within a group",
         grid({plain}, "alternateBackground='#eeeeee'"),
         "a1 b2",
         {"a: a1 =1 b: b2 =2"}},
    };
    for (const Case& test : cases) {
        const RecordingSink sink = layOutText(kPage + test.grid, rows(test.rows));
        EXPECT_EQ(sink.pageTexts(), test.pages) << test.name << "\n" << sink.everything();
    }
}

TEST(Groups, RestartPageNumbers) {
    const std::string parts =
        "<PageFooter height='5mm'><Text width='60mm' height='5mm' text='[PageNumber] of "
        "[PageCount]'/></PageFooter>";
    const RecordingSink sink = layOutText(kPage + parts + grid({{"by='k' restartPageNumber='true'", "", ""}}),
                                          rows("a1 a2 a3 a4 a5 a6 a7 b1"));
    EXPECT_EQ(sink.pageTexts(),
              (std::vector<std::string>{"a1 a2 a3 a4 a5 1 of 2", "a6 a7 2 of 2", "b1 1 of 1"}));
}

TEST(Groups, MarkTheirBands) {
    const RecordingSink sink =
        layOutText(kPage + grid({{"by='k' repeatHeader='true'", "h", "f"}, {"by='x'", "i", ""}},
                                "alternateBackground='#eeeeee'"),
                   rows("a1 a1 a1 a1"));
    std::vector<std::string> described;
    for (const auto& page : sink.pages) {
        for (const auto& recorded : page) {
            const Band& band = recorded.band;
            described.push_back(
                std::to_string(static_cast<int>(band.kind)) + " level " + std::to_string(band.groupLevel) +
                (band.bookmark.empty() ? ""
                                       : " mark " + std::string(band.bookmark.begin(), band.bookmark.end())) +
                (band.repeated ? " again" : "") + (band.background ? " shaded" : ""));
        }
    }
    EXPECT_EQ(described, (std::vector<std::string>{"3 level 0 mark a", "3 level 1 mark 1", "4 level 0",
                                                   "4 level 0 shaded", "4 level 0", "3 level 0 again",
                                                   "4 level 0 shaded", "6 level 0"}));
}

}  // namespace
}  // namespace qbsvrl6
