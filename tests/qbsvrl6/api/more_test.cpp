// The functions of engine/qbsvr_more.h, apart from limits: messages, data and documents in memory, options by
// name, progress, and the contents of a report.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "engine/qbsvr_more.h"
#include "tests/qbsvrl6/api/api_fixture.h"

namespace api_test {
namespace {

const std::string kTable = R"(<Report version="1">
  <Parameters><Parameter name="Year" type="number" value="2025"/></Parameters>
  <Grid><Columns>
    <Column name="a" width="30mm"><Title text="Item"/><Content text="[Item]" font="No Such Font"/></Column>
    <Column name="b" width="30mm"><Title text="Amount"/><Content text="[Amount:0.00]"/></Column>
    <Column name="c" width="30mm"><Title text="Due"/><Content text="[Due:yyyy-MM-dd] [Paid]"/></Column>
  </Columns></Grid>
</Report>)";

const std::string kPages = R"(<Report version="1"><Grid rowHeight="200mm"><Columns>
    <Column name="a" width="60mm"><Content text="row [n] on [PageNumber] of [PageCount]"/></Column></Columns></Grid>
    </Report>)";

class MoreTest : public ApiTest {
protected:
    int load(const std::string& text) {
        return QBXReportLoadTemplate(report_, text.data(), text.size(), "t.qbf");
    }
    int data(const std::string& text, const char* kind = "") {
        return QBXReportLoadData(report_, kind, text.data(), text.size(), "d.json");
    }
    std::string made(const char* format,
                     const std::vector<std::pair<const char*, const char*>>& options = {}) {
        const void* bytes = nullptr;
        std::uint64_t size = 0;
        if (QBXReportPrepareExport(report_, format) == 0) return "(no format)";
        for (const auto& [name, value] : options) {
            if (QBXReportSetExportOption(report_, name, value) == 0) return "(no option)";
        }
        if (QBXReportExportToMemory(report_, &bytes, &size) == 0) return "(failed)";
        return {static_cast<const char*>(bytes), static_cast<std::size_t>(size)};
    }
    // "severity file:line:column [code] text", a line each.
    std::string messages() {
        std::string all;
        QBXMessage message = {};
        message.size = sizeof message;
        for (std::uint64_t i = 0; QBXReportGetMessage(report_, i, &message) != 0; ++i) {
            all += std::to_string(message.severity) + " " + message.file + ":" +
                   std::to_string(message.line) + ":" + std::to_string(message.column) + " " +
                   (*message.code == '\0' ? "" : "[" + std::string(message.code) + "] ") + message.text +
                   "\n";
        }
        QBXReportClearMessages(report_);
        return all;
    }
    // "name/table/type/value/count/line" of each item.
    std::string items(QBXItemKind kind) {
        std::string all;
        QBXItem item = {};
        item.size = sizeof item;
        const std::uint64_t count = QBXReportGetItemCount(report_, kind);
        for (std::uint64_t i = 0; i < count; ++i) {
            EXPECT_EQ(QBXReportGetItem(report_, kind, i, &item), 1);
            all += std::string(item.name) + "/" + item.table + "/" + item.type + "/" + item.value + "/" +
                   std::to_string(item.count) + "/" + std::to_string(item.line) + ";";
        }
        EXPECT_EQ(QBXReportGetItem(report_, kind, count, &item), 0);
        return all;
    }

    OwnReport report_;
};

TEST_F(MoreTest, MessagesHaveThePlaceAsValues) {
    EXPECT_EQ(load("<Report version='1'>\n  <Gird/>\n  <Grid colour='red'/>\n</Report>"), 0);
    const std::string both = messages();
    EXPECT_NE(both.find("1 t.qbf:2:3 "), std::string::npos) << both;
    EXPECT_NE(both.find("1 t.qbf:3:"), std::string::npos) << both;

    EXPECT_EQ(data("[{\"a\": 1},\n {\"a\": }]"), 0);
    EXPECT_TRUE(messages().starts_with("1 d.json:2:8 [bad-data] "));

    ASSERT_EQ(load("<Report version='1'>\n<ReportHeader><Text text='[Amout]'/></ReportHeader></Report>"), 1);
    ASSERT_EQ(data("[{\"Amount\": 1}]"), 1);
    EXPECT_NE(made("txt"), "(failed)");
    const std::string unknown = messages();
    EXPECT_NE(unknown.find("2 t.qbf:2:"), std::string::npos) << unknown;
    EXPECT_NE(unknown.find("did you mean \"Amount\"?"), std::string::npos) << unknown;
    QBXMessage error = {};
    error.size = sizeof error;
    EXPECT_EQ(QBXReportGetLastError(report_, &error), 0);
    EXPECT_EQ(QBXReportLoadTemplateFile(report_, "no-such.qbf"), 0);
    ASSERT_EQ(QBXReportGetLastError(report_, &error), 1);
    EXPECT_STREQ(error.file, "no-such.qbf");
    EXPECT_STREQ(error.code, "file-not-found");
    error.code = "unchanged";
    error.size = offsetof(QBXMessage, code);  // of a program that does not know the member
    ASSERT_EQ(QBXReportGetLastError(report_, &error), 1);
    EXPECT_STREQ(error.code, "unchanged");
    error.size = 8;  // no member
    EXPECT_EQ(QBXReportGetLastError(report_, &error), 0);
}

TEST_F(MoreTest, RowsOfTheProgramKeepTheirTypes) {
    struct Rows {
        static int next(void* context, QBXRow* row) {
            switch ((*static_cast<int*>(context))++) {
                case 0:
                    EXPECT_EQ(QBXRowSetText(row, 0, "\xE6\xA4\x85 chair", 9), 1);
                    EXPECT_EQ(QBXRowSetDecimal(row, 1, "12345678901234567.25"), 1);
                    EXPECT_EQ(QBXRowSetDate(row, 2, "2026-03-05"), 1);
                    EXPECT_EQ(QBXRowSetBoolean(row, 3, 1), 1);
                    return 1;
                case 1:
                    EXPECT_EQ(QBXRowSetNumber(row, 1, 0.1), 1);
                    EXPECT_EQ(QBXRowSetDate(row, 2, "2026-02-30"), 0);
                    EXPECT_EQ(QBXRowSetText(row, 4, "", 0), 0);
                    return 1;
                case 2:
                    EXPECT_EQ(QBXRowSetInteger(row, 1, INT64_MIN), 1);
                    return 1;
                case 3:
                    return 1;  // a row of nulls
                default:
                    return 0;
            }
        }
        static int fail(void*, QBXRow*) { return -1; }
    };
    const char* const columns[] = {"Item", "Amount", "Due", "Paid"};
    int at = 0;
    ASSERT_EQ(load(kTable), 1);
    ASSERT_EQ(QBXReportLoadRows(report_, "rows", columns, 4, Rows::next, &at), 1) << messages();
    EXPECT_EQ(made("csv", {{"layout", "grid"}}),
              "\xEF\xBB\xBFItem,Amount,Due\r\n\xE6\xA4\x85 chair,12345678901234567.25,2026-03-05 是\r\n"
              ",0.1, \r\n,-9223372036854775808, \r\n,, \r\n");
    EXPECT_EQ(items(QBXItemKind_Table), "rows////4/0;");
    EXPECT_EQ(items(QBXItemKind_Column), "Item/rows///0/0;Amount/rows///0/0;Due/rows///0/0;Paid/rows///0/0;");
    EXPECT_EQ(QBXReportLoadRows(report_, "more", columns, 4, Rows::fail, nullptr), 0);
    EXPECT_EQ(items(QBXItemKind_Table), "rows////4/0;");
}

TEST_F(MoreTest, OptionsAndFormatsAreNames) {
    ASSERT_EQ(load(kPages), 1);
    ASSERT_EQ(data(R"([{"n":1},{"n":2},{"n":3},{"n":4}])"), 1);
    const struct {
        const char* pages;
        const char* text;
    } cases[] = {
        {"1", "row 1 on 1 of 4\n"},
        {"2-3", "row 2 on 2 of 4\nrow 3 on 3 of 4\n"},
        {"1, 4-", "row 1 on 1 of 4\nrow 4 on 4 of 4\n"},
        {"7", "(failed)"},
        {"3-2", "(no option)"},
        {"0", "(no option)"},
        {"a", "(no option)"},
        {"1,,2", "(no option)"},
    };
    for (const auto& each : cases) {
        std::string text = made("txt", {{"pages", each.pages}});
        std::erase_if(text, [](char c) { return c == '\r' || c == '\f'; });
        if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
        if (text.starts_with("\n")) text.erase(0, 1);
        while (text.find("\n\n") != std::string::npos) text.erase(text.find("\n\n"), 1);
        EXPECT_EQ(text, each.text) << each.pages << messages();
    }
    EXPECT_EQ(QBXReportGetPageCount(report_), 4u);
    EXPECT_EQ(made("epub"), "(no format)");
    EXPECT_NE(messages().find("there is no format \"epub\"; there are: pdf, xlsx"), std::string::npos);
    EXPECT_EQ(made("png", {{"resolution", "5"}}), "(no option)");
    EXPECT_EQ(made("PNG", {{"resolution", "40"}, {"pages", "2"}}).substr(1, 3), "PNG");
    const std::string whole = made("pdf");
    const std::string one = made("pdf", {{"pages", "3"}});
    EXPECT_LT(one.size(), whole.size());

    std::string written;
    const QBXWrite collect = [](void* context, const void* bytes, std::uint64_t size) {
        static_cast<std::string*>(context)->append(static_cast<const char*>(bytes), size);
        return 1;
    };
    ASSERT_EQ(QBXReportPrepareExport(report_, "csv"), 1);
    EXPECT_EQ(QBXReportExportToWriter(report_, collect, &written), 1);
    EXPECT_EQ(written, made("csv"));
    const QBXWrite full = [](void*, const void*, std::uint64_t) { return 0; };
    EXPECT_EQ(QBXReportExportToWriter(report_, full, nullptr), 0);
    EXPECT_EQ(QBXReportExportToFile(report_, (directory_ + "out/a.csv").c_str()), 1);
    EXPECT_EQ(read("out/a.csv"), written);
    std::string names;
    QBXFormat format = {sizeof format, nullptr, nullptr};
    for (std::uint64_t i = 0; QBXGetFormat(i, &format) != 0; ++i) names += std::string(format.name) + " ";
    EXPECT_EQ(names, "pdf xlsx xls ods docx rtf html txt csv json tiff png ");
}

TEST_F(MoreTest, TellsWhatAReportConsistsOf) {
    ASSERT_EQ(load(kTable), 1);
    EXPECT_EQ(items(QBXItemKind_Parameter), "Year//number/2025/0/0;");
    EXPECT_EQ(items(QBXItemKind_Field), "Item////1/4;Amount////1/5;Due////1/6;Paid////1/6;");
    EXPECT_EQ(items(QBXItemKind_Table), "");
    EXPECT_EQ(items(QBXItemKind_Font).substr(0, 15), "No Such Font///");
    ASSERT_EQ(data(R"({"year": 2026, "Rate": 19, "r": [{"Item": "x"}]})"), 1);
    EXPECT_EQ(items(QBXItemKind_Parameter), "Year//number/2025/0/0;Rate///19/0/0;");
    EXPECT_EQ(items(static_cast<QBXItemKind>(99)), "");

    // What nothing but SQL names must be set; what an outer report passes, or a web address contains, need not.
    ASSERT_EQ(load(R"(<Report version='1'>
        <Parameters><Parameter name='Year'/></Parameters>
        <Data connection='sqlite:gone.db' query="select ':No' from s where a = :Year or b = :Region"/>
        <ReportHeader height='9mm'><SubReport width='9mm' height='9mm'>
          <Parameter name='Id' expression='Number'/>
          <Report><Data query='select * from t where a = :id or b = :region or c = :Shop'/></Report>
        </SubReport></ReportHeader>
        <Grid><Recordset connection='xml' query='http://localhost/:Port'/></Grid>
      </Report>)"),
              1)
        << messages();
    EXPECT_EQ(items(QBXItemKind_Parameter), "Year//text//0/0;Region////0/3;Shop////0/6;");
}

TEST_F(MoreTest, CheckLogsWhatAnExportWould) {
    ASSERT_EQ(load(kTable), 1);
    ASSERT_EQ(data(R"([{"Item": "x", "Amout": 1, "Due": "2026-01-01", "Paid": false}])"), 1);
    messages();
    EXPECT_EQ(QBXReportCheck(report_), 1);
    const std::string checked = messages();
    EXPECT_NE(checked.find("did you mean \"Amout\"?"), std::string::npos) << checked;
    EXPECT_NE(checked.find("3 t.qbf:0:0 the template does not use these columns of the data: Amout"),
              std::string::npos)
        << checked;
    ASSERT_EQ(load("<Report version='1'><Grid filter='[n'><Columns/></Grid></Report>"), 0);
    ASSERT_EQ(load("<Report version='1'><Data connection='xml' query='gone.json'/><Grid/></Report>"), 1);
    EXPECT_EQ(QBXReportCheck(report_), 0);
}

TEST_F(MoreTest, LocatedItemsAreThoseOfThePages) {
    ASSERT_EQ(load("<Report version='1'><Page size='A5' margins='10mm'/>\n<ReportHeader>"
                   "<Text x='1mm' y='2mm' width='9mm' height='5mm' text='[n]'/>\n"
                   "<Text width='9mm' height='5mm' text='hidden' visibleWhen='n = 2'/>"
                   "<Line y='7mm' width='9mm' height='0mm'/></ReportHeader></Report>"),
              1);
    ASSERT_EQ(data("[{\"n\": 1}]"), 1);
    std::string seen;
    const auto add = [](void* to, const QBXShownItem* item) {
        std::string& text = *static_cast<std::string*>(to);
        for (const auto number : {static_cast<std::int64_t>(item->page), item->x, item->y, item->width,
                                  item->height, item->pageWidth, std::int64_t{item->line}}) {
            text += std::to_string(number) + " ";
        }
        text += std::string(item->kind) + item->content + ";";
        return text.size() < 60 ? 1 : 0;
    };
    EXPECT_EQ(QBXReportLocateItems(report_, add, &seen), 0);
    EXPECT_EQ(seen, "1 11000 12000 9000 5000 148000 2 text[n];1 10000 17000 9000 0 148000 3 line;");
    EXPECT_NE(messages().find("cancelled"), std::string::npos);
    seen.clear();
    EXPECT_EQ(QBXReportLocateItems(
                  report_, [](void*, const QBXShownItem*) { return 1; }, nullptr),
              1);
    EXPECT_EQ(QBXReportLocateItems(report_, nullptr, nullptr), 0);
}

TEST_F(MoreTest, ProgressCanCancel) {
    std::string rows = "[{\"n\":0}";
    for (int i = 1; i < 3'000; ++i) rows += ",{\"n\":" + std::to_string(i) + "}";
    ASSERT_EQ(load(kPages), 1);
    ASSERT_EQ(data(rows + "]"), 1);
    struct Seen {
        std::uint64_t rows = 0, calls = 0;
    } seen;
    const QBXOnProgress progress = [](void* context, const QBXProgress* now) {
        auto& all = *static_cast<Seen*>(context);
        EXPECT_EQ(now->allRows, 3'000u);
        EXPECT_LE(now->rows, now->allRows);
        all.rows = now->rows;
        ++all.calls;
        return 0;
    };
    QBXReportSetProgress(report_, progress, &seen);
    EXPECT_EQ(made("tiff"), "(failed)");
    EXPECT_EQ(seen.calls, 1u);
    EXPECT_NE(messages().find("cancelled"), std::string::npos);
    QBXReportSetProgress(report_, nullptr, nullptr);
    EXPECT_EQ(made("csv").substr(0, 3), "\xEF\xBB\xBF");
}

}  // namespace
}  // namespace api_test
