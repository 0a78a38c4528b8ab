// Items as cells, tested with the simplest format.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "qbsvrl6/support/log.h"
#include "sheet_fixture.h"
#include "tests/scratch_directory.h"

namespace qbsvrl6 {
namespace {

// The records, without the byte order mark; "|" separates fields, "\n" records.
std::string asTable(const std::string& csv) {
    std::string text;
    for (const char c : csv.substr(3)) {
        if (c != '\r') text += c == ',' ? '|' : c;
    }
    return text;
}

std::string cells(std::vector<Micrometres> edges, Band band) {
    SheetFeed feed(&makeCsvWriter, std::move(edges));
    feed.put(std::move(band));
    return asTable(feed.finish());
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
        {"beyond the edges", {textAt({-20, 0, 5, 6}, u"a"), textAt({150, 0, 20, 6}, u"b")}, "a||b\n"},
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
        {"beside some items of a row, between others",
         {textAt({0, 0, 30, 6}, u"a"), textAt({60, 0, 30, 6}, u"c"), textAt({30, 2, 30, 6}, u"b")},
         "a|b|c\n"},
        {"above a row whose tall item begins earlier, and that item beside it",
         {textAt({0, 0, 60, 20}, u"a"), textAt({60, 12, 30, 80}, u"c"), textAt({0, 27, 60, 8}, u"b")},
         "a||\nb||c\n"},
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
        {"a barcode that begins above the end of a text",
         {textAt({0, 0, 90, 8}, u"a"), codeAt({0, 6, 30, 30}, u"4711"), textAt({30, 10, 60, 6}, u"b")},
         "a||\n4711|b|\n"},
        {"barcodes without room join texts",
         {codeAt({0, 0, 30, 6}, u"4711"), textAt({0, 0, 90, 6}, u"a")},
         "a 4711||\n"},
        {"late texts keep their cell",
         {textAt({0, 0, 90, 6}, u"a"), pendingAt({0, 0, 60, 6}, u"of #")},
         "of 9||a\n"},
        {"texts without room are joined to a late one",
         {pendingAt({0, 0, 90, 6}, u"of #"), textAt({30, 0, 30, 6}, u"a"), codeAt({0, 0, 30, 6}, u"4711"),
          pendingAt({60, 0, 30, 6}, u"#")},
         "of 9 9 a 4711||\n"},
        {"barcodes without room are joined",
         {codeAt({0, 0, 90, 6}, u"4711"), codeAt({0, 0, 90, 6}, u""), codeAt({0, 0, 30, 6}, u"4712")},
         "4711 4712||\n"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(cells({0, 30, 60, 90}, bandOf(BandKind::ReportHeader, 20, one.items)), one.expected)
            << one.name;
    }
    EXPECT_EQ(cells({}, bandOf(BandKind::ReportHeader, 6, {textAt({0, 0, 9, 6}, u"a")})), "a\n");
    EXPECT_EQ(cells({0, 0, 30}, bandOf(BandKind::ReportHeader, 6, {textAt({0, 0, 9, 6}, u"a")})), "a\n");
}

TEST(CellGrid, EveryFormatShowsTextsThatShareTheCellOfALateOne) {
    for (const SheetFeed::Maker make : {&makeCsvWriter, &makeTxtWriter, &makeHtmWriter, &makeRtfWriter}) {
        SheetFeed feed(make, {0, 30, 60}, true);
        for (const char16_t* const text : {u"first", u"second"}) {
            feed.put(
                bandOf(BandKind::Row, 6, {pendingAt({0, 0, 60, 6}, u"of #"), textAt({0, 0, 60, 6}, text)}));
        }
        const std::string document = feed.finish();
        EXPECT_NE(document.find("of 9 first"), std::string::npos) << document;
        EXPECT_NE(document.find("of 9 second"), std::string::npos) << document;
    }
}

// Labels, or the page's columns of detail, sent from top to bottom.
TEST(CellGrid, JoinsBandsThatAreSideBySide) {
    struct Placed {
        int column;
        Micrometres y;
        Band band;
    };
    const auto label = [](std::u16string name, Micrometres height, BandKind kind = BandKind::GroupHeader) {
        std::vector<Item> items{textAt({0, 2, 26, 6}, name), textAt({30, 4, 20, 6}, name + u"'s place")};
        Band band =
            bandOf(kind, height, height > 0 ? items : std::vector<Item>{textAt({0, 0, 60, 0}, u"hidden")});
        band.width = 60 * kMm;
        return band;
    };
    const auto listed = [](std::u16string name, Micrometres height, BandKind kind = BandKind::Row) {
        Band band = bandOf(kind, height, {textAt({0, 0, 30, height}, name)});
        band.width = 60 * kMm;
        return band;
    };
    const struct {
        const char* name;
        std::vector<Placed> bands;
        const char* expected;
    } cases[] = {
        {"labels",
         {{0, 0, label(u"a", 12)},
          {1, 0, label(u"b", 14)},
          {2, 0, label(u"c", 12)},
          {0, 14, label(u"d", 12)}},
         "a|a's place|b|b's place|c|c's place\nd|d's place||||\n"},
        {"labels between rows without height",
         {{0, 0, label(u"a", 24)},
          {1, 0, label(u"b", 24)},
          {0, 24, label({}, 0, BandKind::Row)},
          {0, 24, label(u"c", 24)},
          {1, 24, label({}, 0, BandKind::Row)},
          {1, 24, label(u"d", 24)}},
         "a|a's place|b|b's place||\nc|c's place|d|d's place||\n"},
        {"rows beside a group's header, and blank ones",
         {{0, 0, listed(u"1", 6)},
          {1, 0, listed(u"g", 12, BandKind::GroupHeader)},
          {2, 0, listed(u"", 6, BandKind::BlankRow)},
          {0, 6, listed(u"2", 6)},
          {0, 12, listed(u"3", 6)},
          {1, 12, listed(u"4", 6)}},
         "1||g|||\n2|||||\n3||4|||\n"},
        {"a footer that a page's last row reaches into",
         {{0, 0, listed(u"1", 6)}, {0, 3, listed(u"of 2", 6, BandKind::PageFooter)}},
         "1|||||\nof 2|||||\n"},
    };
    for (const auto& one : cases) {
        SheetFeed feed(&makeCsvWriter, {0, 30, 60, 90, 120, 150, 180}, true);
        for (const Placed& placed : one.bands) {
            feed.putAt(60 * placed.column, placed.y, placed.band);
        }
        EXPECT_EQ(asTable(feed.finish()), one.expected) << one.name;
    }
}

// A row that repeats the previous one takes a fast path; a row that differs must not.
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
    for (const char16_t* text : {u"13", u"14"}) {
        feed.put(bandOf(BandKind::Row, 0, {textAt({0, 0, 30, 0}, text), textAt({30, 0, 30, 0}, u"flat")}));
    }
    EXPECT_EQ(feed.finish().substr(3),
              "1,2\r\n3,4\r\n5,6\r\n7,8\r\n9,\r\n,10\r\nwide,\r\n11,\r\n12,\r\n13,flat\r\n14,flat\r\n");
}

TEST(CellGrid, LogsWhatCouldNotStay) {
    const ScratchDirectory scratch;
    setLogSetupPath(scratch.path);
    Item slanted;
    slanted.box = {0, 0, 20 * kMm, 20 * kMm};
    slanted.content = LineItem{};
    cells({0, 30, 60}, bandOf(BandKind::ReportHeader, 20,
                              {textAt({0, 0, 60, 6}, u"first"), textAt({0, 0, 30, 6}, u"second"), slanted}));
    const std::string text = ReadFile(scratch.path / "log/qbsvrl6.log");
    setLogSetupPath("");
    EXPECT_NE(text.find("1 items overlap"), std::string::npos) << text;
    EXPECT_NE(text.find("\"second\""), std::string::npos) << text;
    EXPECT_NE(text.find("1 lines, slanted or shorter"), std::string::npos) << text;
}

}  // namespace
}  // namespace qbsvrl6
