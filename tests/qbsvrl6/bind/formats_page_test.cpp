// Checks each row of the tables in docs/formats.md: the text of a value in a format, and the format in a
// workbook.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "tests/qbsvrl6/bind/sample_data.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

using Cells = std::vector<std::string>;

// The cells of a line of a table; none for any other line.
Cells cellsOf(const std::string& line) {
    Cells cells;
    if (line.empty() || line.front() != '|') return cells;
    for (std::size_t start = 1, end = 0; (end = line.find('|', start)) != std::string::npos;
         start = end + 1) {
        cells.push_back(line.substr(start + 1, end - start - 2));
    }
    return cells;
}

std::string withoutTicks(const std::string& cell) {
    return cell.size() > 1 && cell.front() == '`' && cell.back() == '`' ? cell.substr(1, cell.size() - 2)
                                                                        : cell;
}

// Converts "`5.00` in `rgb(1,2,3)`" to the form of Orders::show.
std::string expectedText(const std::string& cell) {
    constexpr std::string_view kIn = "` in `rgb(";
    if (cell == "nothing") return "";
    const std::size_t in = cell.find(kIn);
    if (in == std::string::npos) return withoutTicks(cell);
    const std::string color = cell.substr(in + kIn.size(), cell.size() - in - kIn.size() - 2);
    return "<" + color + "> " + cell.substr(1, in - 1);
}

std::string workbookFormat(const CellValue& cell) {
    if (cell.type == ValueType::Text || cell.type == ValueType::Boolean) return "text";
    return toUtf8(cell.spreadsheetFormat);
}

TEST(FormatsPage, IsTrueRowByRow) {
    std::ifstream page(QBSVR_SOURCE_DIR "/docs/formats.md");
    Orders orders;
    Cells names;
    int rows = 0;
    for (std::string line; std::getline(page, line);) {
        const Cells cells = cellsOf(line);
        if (cells.empty()) names.clear();
        if (names.empty()) {
            names = cells;
            continue;
        }
        ASSERT_EQ(cells.size(), names.size()) << line;
        if (cells[0].starts_with("-")) continue;
        std::map<std::string, std::string> row;
        for (std::size_t i = 0; i < cells.size(); ++i) row[names[i]] = cells[i];
        const std::string text = "[" + withoutTicks(row["value"]) + ":" + withoutTicks(row["format"]) + "]";
        const std::string shown = orders.show(toUtf16(text));
        if (row.contains("shows")) {
            EXPECT_EQ(shown, expectedText(row["shows"])) << line;
        }
        if (row.contains("workbook")) {
            EXPECT_EQ(workbookFormat(orders.last.value), withoutTicks(row["workbook"])) << line;
        }
        ++rows;
    }
    EXPECT_GT(rows, 90);
}

}  // namespace
}  // namespace qbsvrl6
