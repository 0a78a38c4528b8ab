// Tests of workbooks that a template of a few lines cannot show; the rest are in tests/qbsvrl6/golden/cases.
#include <gtest/gtest.h>

#include "sheet_fixture.h"
#include "tests/qbsvrl6/paint/programs.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

// Texts that cross the record boundaries of the shared texts at every position, and more rows than fit on a
// sheet.
TEST(XlsWriter, GoesOnInFurtherRecordsAndSheets) {
    SheetFeed feed(&makeXlsWriter, {0, 30});
    constexpr int kRows = 66'000;
    for (int i = 0; i < kRows; ++i) {
        const std::string number = std::to_string(i);
        std::u16string text(number.begin(), number.end());
        text.append(static_cast<std::size_t>(i % 7), i % 2 == 0 ? u'x' : u'字');
        if (i % 10'000 == 5'000) text.append(20'000, i % 20'000 == 5'000 ? u'y' : u'文');
        feed.row(BandKind::Row, {text});
    }
    const programs::TemporaryFile book("book.xls", feed.finish());
    const std::string facts =
        programs::run("/usr/bin/python3 " QBSVR_SOURCE_DIR "/tests/qbsvrl6/sheet/read_workbook.py " +
                      book.path())
            .output;
    EXPECT_NE(facts.find("\nsheet A <title> (2) "), std::string::npos) << facts.substr(0, 500);
    EXPECT_NE(facts.find("\nA464 s '65999\\u5b57"), std::string::npos);
    for (int i = 0; i < kRows; i += 997) {
        const std::string tail = i % 7 == 0 ? "'" : i % 2 == 0 ? "x" : "\\u5b57";
        EXPECT_NE(facts.find(" s '" + std::to_string(i) + tail), std::string::npos) << i;
    }
}

}  // namespace
}  // namespace qbsvrl6
