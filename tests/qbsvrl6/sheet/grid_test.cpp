// Items as cells, seen through the simplest kind.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "qbsvrl6/support/log.h"
#include "sheet_fixture.h"

namespace qbsvrl6 {
namespace {

// The records of one band, without the mark; "|" between fields and "\n" between records.
std::string cells(std::vector<Micrometres> cuts, Band band) {
    SheetFeed feed(&makeCsvWriter, std::move(cuts));
    feed.put(std::move(band));
    std::string csv = feed.finish().substr(3);
    std::string text;
    for (const char c : csv) {
        if (c != '\r') text += c == ',' ? '|' : c;
    }
    return text;
}

Item codeAt(Rect box, std::u16string text) {
    Item item = textAt(box, {});
    item.content = DrawingItem{nullptr, std::move(text)};
    return item;
}

TEST(CellGrid, SnapsItemsToColumnsAndRows) {
    const struct {
        const char* name;
        std::vector<Item> items;
        const char* expected;
    } cases[] = {
        {"exact", {textAt({0, 0, 30, 6}, u"a"), textAt({30, 0, 30, 6}, u"b")}, "a|b|\n"},
        {"span", {textAt({0, 0, 60, 6}, u"a"), textAt({60, 0, 30, 6}, u"b")}, "a||b\n"},
        {"slivers", {textAt({1, 0, 28, 6}, u"a"), textAt({31, 1, 60, 5}, u"b")}, "a|b|\n"},
        {"narrow", {textAt({61, 0, 1, 6}, u"a")}, "||a\n"},
        {"beyond the cuts", {textAt({-20, 0, 5, 6}, u"a"), textAt({150, 0, 20, 6}, u"b")}, "a||b\n"},
        {"out of order", {textAt({60, 0, 30, 6}, u"c"), textAt({0, 0, 30, 6}, u"a")}, "a||c\n"},
        {"rows by tops, none empty",
         {textAt({0, 4, 30, 5}, u"a"), textAt({30, 14, 30, 5}, u"b"), textAt({0, 15, 30, 5}, u"c")},
         "a||\nc|b|\n"},
        {"a tall item beside two rows",
         {textAt({0, 0, 30, 12}, u"a"), textAt({30, 0, 30, 6}, u"b"), textAt({30, 6, 30, 6}, u"c")},
         "a|b|\n|c|\n"},
        {"beside each other for most of their height",
         {textAt({0, 0, 30, 6}, u"a"), textAt({60, 2, 30, 5}, u"b"), textAt({0, 7, 30, 6}, u"c")},
         "a||b\nc||\n"},
        {"empty texts take no cell", {textAt({0, 0, 90, 6}, u""), textAt({0, 0, 30, 6}, u"a")}, "a||\n"},
        // Overlaps
        {"the later one takes the free part",
         {textAt({0, 0, 60, 6}, u"a"), textAt({30, 0, 60, 6}, u"b")},
         "a||b\n"},
        {"one in the same place goes beside it",
         {textAt({0, 0, 30, 6}, u"a"), textAt({0, 0, 30, 6}, u"b")},
         "a|b|\n"},
        {"a tall one whose lower rows are taken keeps the first",
         {textAt({0, 10, 90, 6}, u"b"), textAt({0, 0, 30, 16}, u"a")},
         "a||\nb||\n"},
        {"texts without room are joined",
         {textAt({0, 0, 90, 6}, u"a"), textAt({0, 0, 30, 6}, u"b"), textAt({60, 0, 30, 6}, u"c")},
         "a b c||\n"},
        {"barcodes without room join texts",
         {codeAt({0, 0, 30, 6}, u"4711"), textAt({0, 0, 90, 6}, u"a")},
         "a 4711||\n"},
        {"late texts keep their cell",
         {textAt({0, 0, 90, 6}, u"a"), pendingAt({0, 0, 60, 6}, u"of #")},
         "of 9||a\n"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(cells({0, 30, 60, 90}, bandOf(BandKind::ReportHeader, 20, one.items)), one.expected)
            << one.name;
    }
    EXPECT_EQ(cells({}, bandOf(BandKind::ReportHeader, 6, {textAt({0, 0, 9, 6}, u"a")})), "a\n");
    EXPECT_EQ(cells({0, 0, 30}, bandOf(BandKind::ReportHeader, 6, {textAt({0, 0, 9, 6}, u"a")})), "a\n");
}

// Labels, or the page's columns of detail.
TEST(CellGrid, JoinsBandsThatStandBesideEachOther) {
    SheetFeed feed(&makeCsvWriter, {0, 60, 120, 180});
    const auto label = [&](std::u16string name, Micrometres height) {
        Band band = bandOf(BandKind::Row, height,
                           {textAt({0, 0, 60, 6}, name), textAt({0, 6, 60, 6}, name + u"'s place")});
        band.width = 60 * kMm;
        return band;
    };
    feed.putBeside({label(u"a", 12), label(u"b", 14), label(u"c", 12)});
    feed.putBeside({label(u"d", 12)});
    EXPECT_EQ(feed.finish().substr(3), "a,b,c\r\na's place,b's place,c's place\r\nd,,\r\nd's place,,\r\n");
}

// A row that repeats the one before takes a short cut; what differs must not.
TEST(CellGrid, TakesEachRowAsItIs) {
    SheetFeed feed(&makeCsvWriter, {0, 30, 60});
    feed.row(BandKind::Row, {u"1", u"2"});
    feed.row(BandKind::Row, {u"3", u"4"});
    feed.put(bandOf(BandKind::Row, 8, {textAt({30, 0, 30, 8}, u"6"), textAt({0, 0, 30, 8}, u"5")}));
    feed.put(bandOf(BandKind::Row, 8, {textAt({30, 0, 30, 8}, u"8"), textAt({0, 0, 30, 8}, u"7")}));
    feed.put(bandOf(BandKind::Row, 12, {textAt({0, 0, 30, 6}, u"9"), textAt({30, 6, 30, 6}, u"10")}));
    feed.put(bandOf(BandKind::Row, 6, {textAt({0, 0, 60, 6}, u"wide")}));
    feed.row(BandKind::Row, {u"11"});
    feed.row(BandKind::Row, {u"12"});
    EXPECT_EQ(feed.finish().substr(3), "1,2\r\n3,4\r\n5,6\r\n7,8\r\n9,\r\n,10\r\nwide,\r\n11,\r\n12,\r\n");
}

TEST(CellGrid, LogsWhatCouldNotStay) {
    char pattern[] = "/tmp/qbsvr-sheet-XXXXXX";
    const std::string directory = ::mkdtemp(&pattern[0]);
    setLogSetupPath(directory);
    Item slanted;
    slanted.box = {0, 0, 20 * kMm, 20 * kMm};
    slanted.content = LineItem{};
    cells({0, 30, 60}, bandOf(BandKind::ReportHeader, 20,
                              {textAt({0, 0, 60, 6}, u"first"), textAt({0, 0, 30, 6}, u"second"), slanted}));
    std::ifstream log(directory + "/log/qbsvrl6.log");
    const std::string text{std::istreambuf_iterator<char>(log), {}};
    EXPECT_NE(text.find("1 items overlap"), std::string::npos) << text;
    EXPECT_NE(text.find("\"second\""), std::string::npos) << text;
    EXPECT_NE(text.find("1 slanted lines"), std::string::npos) << text;
    std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace qbsvrl6
