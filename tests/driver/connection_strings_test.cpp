#include "driver/connection_strings.h"

#include "tests/driver/driver_test.h"

namespace {

using recording::Template;

class ConnectionStrings : public DriverTest {
protected:
    // Creates a report over the template, runs the function on it and gives the calls that set something.
    template <class Function>
    std::string CallsOf(const Template& content, Function function) {
        recording::Reset(true);
        recording::SetTemplate("*", content);
        CQBReportHandle report;
        QBReportLoadFromFile(report.m_report, u"t.qbf");
        function(report);
        std::vector<std::string> calls = recording::Calls();
        std::erase_if(calls, [](const std::string& call) { return call.find("Set") == std::string::npos; });
        return Join(calls);
    }
};

const std::string kXml = "QBReportSetConnectionString(report1, \"xml\")\n";

std::string SetQuery(const std::string& query) { return "QBReportSetQuerySQL(report1, \"" + query + "\")\n"; }
std::string GridConnection(const std::string& connection) {
    return "QBRecordsetSetConnectionString(report1.grid.recordset, \"" + connection + "\")\n";
}
std::string SetGridQuery(const std::string& query) {
    return "QBRecordsetSetQuerySQL(report1.grid.recordset, \"" + query + "\")\n";
}

const std::u16string k24 = u"abcdefghijklmnopqrstuvwx";
const std::u16string k25 = u"中bcdefghijklmnopqrstuvwxy";

TEST_F(ConnectionStrings, QueriesOfOneReport) {
    const struct {
        const char* name;
        Template content;
        std::wstring dataName;
        std::string expected;
    } kCases[] = {
        {"data name, grid",
         {.query = u"old", .gridQuery = u"old"},
         L"Customer 客",
         kXml + SetQuery("/qb/Samples/Data/json/jsonCustomer 客.txt") + GridConnection("") +
             SetGridQuery("")},
        {"data name, no grid",
         {.query = u"", .hasGrid = false},
         L"C",
         kXml + SetQuery("/qb/Samples/Data/json/jsonC.txt")},
        {"no data name, empty queries", {}, L"", kXml},
        {"24 units are a file name",
         {.query = k24, .gridQuery = k24},
         L"",
         kXml + SetQuery("/dir/abcdefghijklmnopqrstuvwx") + GridConnection("xml") +
             SetGridQuery("/dir/abcdefghijklmnopqrstuvwx")},
        {"25 units are not",
         {.query = k25, .gridQuery = k25},
         L"",
         kXml + SetQuery("/dir/报表.txt") + GridConnection("xml") + SetGridQuery("/dir/报表.txt")},
        {"only the grid has one",
         {.gridQuery = u"g.txt"},
         L"",
         kXml + GridConnection("xml") + SetGridQuery("/dir/g.txt")},
        {"no grid", {.query = u"q.txt", .hasGrid = false}, L"", kXml + SetQuery("/dir/q.txt")},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.name);
        EXPECT_EQ(CallsOf(test.content,
                          [&](CQBReportHandle& report) {
                              UpdateConnectionString_Ok(report.m_report, L"/dir/", test.dataName, L"报表");
                          }),
                  test.expected);
        EXPECT_EQ(CallsOf(test.content,
                          [&](CQBReportHandle& report) {
                              UpdateConnectionString_Ok_CPP(report, L"/dir/", test.dataName, L"报表");
                          }),
                  test.expected);
        EXPECT_EQ(Join(recording::Violations()), "");
    }
}

// A sub-report with a grid that holds one without, and a second sub-report beside them.
const Template kTree = {
    .query = u"q",
    .hasGrid = false,
    .subReports = {{.query = u"a", .gridQuery = u"ag", .subReports = {{.query = u"b", .hasGrid = false}}},
                   {.hasGrid = false}}};

TEST_F(ConnectionStrings, SubReportsAreClearedAtAnyDepth) {
    const std::string expected =
        "QBReportSetConnectionString(report1.sub1, \"\")\n"
        "QBReportSetQuerySQL(report1.sub1, \"\")\n"
        "QBRecordsetSetConnectionString(report1.sub1.grid.recordset, \"\")\n"
        "QBRecordsetSetQuerySQL(report1.sub1.grid.recordset, \"\")\n"
        "QBReportSetConnectionString(report1.sub1.sub1, \"\")\n"
        "QBReportSetQuerySQL(report1.sub1.sub1, \"\")\n"
        "QBReportSetConnectionString(report1.sub2, \"\")\n"
        "QBReportSetQuerySQL(report1.sub2, \"\")\n";
    EXPECT_EQ(
        CallsOf(kTree, [](CQBReportHandle& report) { ClearConnectionStringForSubReport(report.m_report); }),
        expected);
    EXPECT_EQ(CallsOf(kTree, [](CQBReportHandle& report) { ClearConnectionStringForSubReport_CPP(report); }),
              expected);
    EXPECT_EQ(Join(recording::Violations()), "") << "a wrapped sub-report must not be released";
}

TEST_F(ConnectionStrings, PrefixReachesSubReports) {
    EXPECT_EQ(CallsOf({.query = u"q", .gridQuery = u"g", .subReports = {{.query = u"", .gridQuery = u""}}},
                      [](CQBReportHandle& report) {
                          ReportExport_UpdateConnectionString(report.m_report, L"/数/");
                      }),
              kXml + SetQuery("/数/q") + GridConnection("") + SetGridQuery("/数/g") +
                  "QBReportSetConnectionString(report1.sub1, \"xml\")\n"
                  "QBRecordsetSetConnectionString(report1.sub1.grid.recordset, \"\")\n");
}

TEST_F(ConnectionStrings, TheFirstItemOfTheNameGivesTheData) {
    SetList(R"([{"Items":[]},{"Dir":"sub","Items":[{"Name":"x"},{"Name":"a","Data":"First"}]},
                {"Items":[{"Name":"a","Data":"Second"},{"Data":"Nameless"},{"Name":"A","Data":"Upper"}]}])");
    const struct {
        std::wstring reportName;
        std::string query;  // what the query "q" becomes
    } kCases[] = {
        {L"a", "/qb/Samples/Data/json/jsonFirst.txt"},   {L"A", "/qb/Samples/Data/json/jsonUpper.txt"},
        {L"", "/qb/Samples/Data/json/jsonNameless.txt"}, {L"x", "/qb/Samples/Reports/q"},
        {L"not there", "/qb/Samples/Reports/q"},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.query);
        for (const bool twin : {false, true}) {
            EXPECT_NE(CallsOf({.query = u"q"},
                              [&](CQBReportHandle& report) {
                                  twin ? UpdateConnectionStringByReportName_CPP(report, test.reportName)
                                       : UpdateConnectionStringByReportName(report.m_report, test.reportName);
                              })
                          .find(SetQuery(test.query)),
                      std::string::npos);
        }
    }
}

}  // namespace
