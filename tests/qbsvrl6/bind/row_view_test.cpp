#include "qbsvrl6/bind/row_view.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

#include "qbsvrl6/bind/chart_query.h"
#include "qbsvrl6/support/log.h"
#include "tests/qbsvrl6/bind/sample_data.h"
#include "tests/scratch_directory.h"

namespace qbsvrl6 {
namespace {

TEST(RowView, AggregatesByScope) {
    struct Case {
        const char16_t* expression;
        std::size_t row;
        Scope scope;
        const char* shown;
    };
    const Scope report{ScopeKind::Report, 0};
    const Scope page{ScopeKind::Page, 0};
    const Scope city{ScopeKind::Group, 0};
    const Scope kind{ScopeKind::Group, 1};
    const Case cases[] = {
        {u"Sum(Count)", 0, report, "15"},
        {u"Sum(Count)", 0, city, "7"},
        {u"Sum(Count)", 0, kind, "6"},
        {u"Sum(Count)", 0, page, "8"},
        {u"Sum(Count, Report)", 0, kind, "15"},
        {u"Sum(Count, ByCity)", 4, kind, "8"},
        {u"Sum(Count, 'ByKind')", 4, report, "5"},
        {u"Sum(Count, Group)", 3, city, "8"},
        {u"Sum(Count, Group)", 3, report, "3"},
        {u"Sum(Count, Page)", 4, kind, "8"},
        {u"Sum(Count, Running)", 3, kind, "10"},
        {u"Sum(Count, GroupRunning)", 1, kind, "6"},
        {u"Sum(Price)", 0, report, "0.7"},
        {u"Average(Price)", 0, report, "0.175"},
        {u"Average(Price)", 2, kind, ""},
        {u"Sum(Price)", 2, kind, "0"},
        {u"Count(Price)", 0, report, "4"},
        {u"Count(*)", 0, report, "5"},
        {u"Count()", 0, city, "3"},
        {u"Minimum(Price)", 0, report, "-3"},
        {u"Maximum(Price)", 0, report, "2.5"},
        {u"Maximum(City)", 0, report, "北京"},
        {u"Minimum(When)", 0, city, "2024-03-05"},
        {u"CountDistinct(City)", 0, report, "2"},
        {u"CountDistinct(Kind)", 3, city, "2"},
        {u"CountDistinct(Price)", 0, report, "4"},
        {u"Sum(Total)", 0, report, "-2.5"},
        {u"Sum(If(Paid, Count, 0))", 0, report, "5"},
        {u"Round(Sum(Share), 6)", 0, report, "1"},
        {u"RowNumber", 3, kind, "4"},
        {u"RowNumber()", 3, kind, "4"},
        {u"RowNumber(Group)", 3, kind, "1"},
        {u"RowNumber(ByCity)", 4, kind, "2"},
        {u"RowNumber(Page)", 2, kind, "2"},
        {u"RowNumber(Page)", 4, kind, ""},
    };
    Orders orders;
    for (const Case& test : cases) {
        Position position;
        position.row = test.row;
        position.scope = test.scope;
        position.pageRows = {1, 4};
        EXPECT_EQ(orders.show(u"[" + std::u16string(test.expression) + u"]", position), test.shown)
            << toUtf8(test.expression) << " at " << test.row;
    }
}

constexpr const char* kCustomers = R"({"total":9,"c":[
    {"name":"A","orders":[{"no":1,"day":"d1","lines":[{"amount":1},{"amount":2}]},{"no":2,"day":"d2"}]},
    {"name":"B","orders":[]},
    {"name":"C","orders":[{"no":3,"day":"d3","rate":2,"lines":[{"amount":4,"a.b":5}]}]}]})";

TEST(RowView, ReadsWithinRowsAndAroundThem) {
    struct Case {
        const char16_t* table;
        const char16_t* expression;
        std::size_t row;
        const char* inRow;
        const char* inReport;
    };
    const Case cases[] = {
        {u"c", u"Sum(orders.lines.amount)", 0, "3", "7"},
        {u"c", u"Sum(lines.amount)", 1, "0", "7"},
        {u"c", u"Sum(C.Orders.Lines.amount * orders.rate)", 2, "8", "8"},
        {u"c", u"Sum(amount & orders.no)", 2, "3", "6"},
        {u"c", u"Sum(orders.lines.amount, Report)", 0, "7", "7"},
        {u"c",
         u"Sum(If(If(lines.amount = 1, label = 'xA', 'qq' & name = 'qqA' and label = 'xA'), amount, 0))", 0,
         "3", "3"},
        {u"c", u"Sum(orders.lines.amount, Running)", 1, "3", "3"},
        {u"c", u"Count(orders)", 0, "2", "3"},
        {u"c", u"Count(orders.lines)", 2, "1", "3"},
        {u"c", u"Maximum(orders.day) & Minimum(name)", 0, "d2A", "d3A"},
        {u"c", u"Sum(lines.a.b)", 2, "5", "5"},
        {u"c", u"Count(*)", 0, "3", "3"},
        {u"c", u"orders.no", 0, "", ""},
        {u"c.orders", u"no & name & c.name & total", 2,
         "3C"
         "C9",
         "3C"
         "C9"},
        {u"c.orders", u"Count(lines) & orders.day", 0, "2d1", "3d1"},
        {u"c.orders.lines", u"orders.day & name & lines.amount & day", 2, "d3C4d3", "d3C4d3"},
    };
    const DataSet data = readData(kCustomers, "data");
    ReportDefinition report;
    report.fields.push_back({.name = u"label", .expression = u"'x' & name"});
    for (const Case& test : cases) {
        Binding binding(report, {&data, data.table(test.table), nullptr}, {});
        const Expression expression = binding.compile(test.expression);
        RowView view(binding, {}, 0);
        Position position;
        position.row = test.row;
        TextArena arena;
        EXPECT_EQ(toUtf8(toText(view.evaluate(expression, position), arena)), test.inReport)
            << toUtf8(test.expression);
        position.ofRow = true;
        EXPECT_EQ(toUtf8(toText(view.evaluate(expression, position), arena)), test.inRow)
            << toUtf8(test.expression);
    }
}

// States of aggregates are continued if possible, and otherwise started again.
TEST(RowView, AggregatesInAnyOrderOfRows) {
    Orders orders;
    const Expression running = orders.binding.compile(u"Sum(Count, Running)");
    RowView view(orders.binding, {}, 0);
    const int expected[] = {2, 6, 7, 10, 15};
    for (const std::size_t row : {0u, 1u, 4u, 2u, 3u, 0u, 4u}) {
        Position position;
        position.row = row;
        EXPECT_EQ(view.evaluate(running, position).number.toDouble(), expected[row]) << row;
    }
}

// The numbers of the rows that the filter keeps if p has the value.
std::vector<double> keptRows(const DataSet& data, const std::u16string& filter, const Value& p,
                             const std::vector<Field>& fields) {
    ReportDefinition report;
    report.fields = fields;
    report.grid = std::make_unique<DetailGrid>();
    report.grid->filter = filter;
    const SubReportParameter passed[] = {{u"p", u""}};
    Binding binding(report, {&data, data.table(u""), nullptr}, passed);
    const Expression number = binding.compile(u"n");
    const OwnedValue argument(p);
    RowView view(binding, {&argument, 1}, 0);
    std::vector<double> rows;
    for (Position position; position.row < view.rowCount(); ++position.row) {
        rows.push_back(view.evaluate(number, position).number.toDouble());
    }
    return rows;
}

// The index of "column = parameter" gives the same result as checking every row.
TEST(RowView, FiltersByIndexAsByLooking) {
    std::string json = "[";
    for (const char* const key : {"7", R"("7")", R"("7.0")", R"("x")", "null", R"("")", "0", R"("-0")",
                                  R"("X")", "7.0", "7", R"(" 7")"}) {
        json += std::string(json.size() > 1 ? "," : "") + R"({"k": )" + key + R"(, "n": )" +
                std::to_string(json.size()) + "}";
    }
    const DataSet data = readData(json + "]", "data");
    const Value values[] = {makeNumber(7), makeText(u"7"), makeText(u" 7 "),  makeText(u"x"), makeText(u""),
                            Value(),       makeNumber(0),  makeBoolean(true), makeDate(0)};
    const std::u16string filters[] = {u"k = p",
                                      u"p = k",
                                      u"k = p and n > 30",
                                      u"k = p and n > 30 and n < 150 and true",
                                      u"k = p and n > 30 or n = 1",
                                      u"k = p or n > 150",
                                      u"if(k = p, n > 30, n > 150)",
                                      u"not(k = p)",
                                      u"n > 30 and p = k",
                                      u"n > 30 and (true and k = p and n < 150) and n > 50",
                                      u"(n > 30 or n = 1) and k = p",
                                      u"n > 30 and not(k = p)",
                                      u"n > 90 or n > 30 and k = p",
                                      u"if(n > 90, true and k = p, true)",
                                      u"n > 30 and if(n > 90, k = p, true)",
                                      u"n > 30 and (k = p) = true"};
    std::vector<Field> declared(1);
    declared[0].name = u"k";
    declared[0].type = DataType::Number;
    for (const std::vector<Field>& fields : {std::vector<Field>(), declared}) {
        for (const Value& value : values) {
            for (const std::u16string& filter : filters) {
                EXPECT_EQ(keptRows(data, filter, value, fields),
                          keptRows(data, u"false or (" + filter + u")", value, fields))
                    << toUtf8(filter) << " " << toUtf8(value.text) << value.number.toDouble() << " "
                    << fields.size();
            }
        }
    }
}

// The column "id" of the rows in the order of the walk, groups separated by "|".
std::string walked(const char* json, const char16_t* sort, std::vector<Group> groups = {},
                   std::vector<Field> fields = {}) {
    ReportDefinition report;
    report.fields = std::move(fields);
    report.grid = std::make_unique<DetailGrid>();
    report.grid->sort = sort;
    for (Group& group : groups) report.grid->groups.push_back(std::make_unique<Group>(std::move(group)));
    Orders rows(std::move(report), json);
    const Expression id = rows.binding.compile(u"id");
    RowView view(rows.binding, {}, 0);
    std::string ids;
    for (Position position; position.row < view.rowCount(); ++position.row) {
        const bool starts = position.row > 0 && view.startingLevel(position.row) < view.groupCount();
        ids += (starts ? "|" : "") + toUtf8(view.evaluate(id, position).text);
    }
    return ids;
}

TEST(RowView, SortsRows) {
    const char* const mixed = R"([
      {"id": "a", "n": 2, "t": "10", "d": "2024-03-05", "x": "10", "z": "重庆"},
      {"id": "b", "n": 10.000000000000000000000000000001, "t": "9", "d": "2023-12-31", "x": true, "z": "张"},
      {"id": "c", "n": 10, "t": "-1.5", "d": "", "x": 9, "z": "a"},
      {"id": "d", "n": -3e-5, "t": "1,000", "d": "2024-03-05", "x": "", "z": "𠀀"},
      {"id": "e", "n": null, "t": "", "d": "soon", "x": -1e300, "z": "\uffee"},
      {"id": "f", "n": -12, "t": "9.0", "d": "2024-03-04 10:00", "x": "b", "z": ""}])";
    const struct {
        const char16_t* sort;
        const char* ids;
    } cases[] = {
        {u"", "abcdef"},
        {u"n", "efdacb"},
        {u"n desc", "bcadfe"},
        {u"t", "ecbfad"},  // equal numbers keep their order
        {u"t collate root, id", "ecdabf"},
        {u"Left(t, 1), id desc", "ecdafb"},
        {u"d", "cbfade"},
        {u"d desc, id DESC", "edafbc"},
        {u"x", "dbecaf"},  // nothing, true, numbers, texts
        {u"z", "fcbaed"},
        {u"If(n > 2, 'late', null) desc, n", "cbefda"},
        {u"n - Average(n), id", "efdacb"},
        {u"Count(*), 'a, b' , `id` asc", "abcdef"},
        {u"z collate pinyin", "feabdc"},
        {u"z collate zh@collation=stroke desc", "cdabef"},
    };
    for (const auto& [sort, ids] : cases) {
        EXPECT_EQ(walked(mixed, sort, {}, {{u"d", DataType::Date, u""}}), ids) << toUtf8(sort);
    }
    EXPECT_THROW(walked(mixed, u"z collate nowhere"), EngineError);
}

Group group(const char16_t* by, const char16_t* sort, int top = 0, const char16_t* others = u"") {
    Group made;
    made.by = by;
    made.sort = sort;
    made.top = top;
    made.others = others;
    return made;
}

TEST(RowView, SortsGroups) {
    const char* const rows = R"([
      {"id": "a", "k": "x", "m": 1, "v": 1}, {"id": "b", "k": "y", "m": 2, "v": 5},
      {"id": "c", "k": "x", "m": 2, "v": 2}, {"id": "d", "k": "z", "m": 1, "v": 9},
      {"id": "e", "k": "x", "m": 1, "v": 4}, {"id": "f", "k": "y", "m": 2, "v": 3}])";
    struct Case {
        const char16_t* sort;
        std::vector<Group> groups;
        const char* ids;
    };
    const Case cases[] = {
        {u"", {group(u"k", u"")}, "a|b|c|d|e|f"},
        {u"k", {group(u"k", u"")}, "ace|bf|d"},
        {u"", {group(u"k", u"k desc")}, "d|bf|ace"},
        {u"v desc", {group(u"k", u"k")}, "eca|bf|d"},
        {u"", {group(u"k", u"Sum(v)")}, "ace|bf|d"},
        {u"", {group(u"k", u"Sum(v) / Count(*) desc")}, "d|bf|ace"},
        {u"", {group(u"m", u"m"), group(u"k", u"Sum(v) desc")}, "d|ae|bf|c"},
        {u"", {group(u"m", u"Sum(v)"), group(u"k", u"k")}, "c|bf|ae|d"},
        {u"", {group(u"k", u"", 2)}, "ace|bf"},
        {u"", {group(u"k", u"Count(*)", 1, u"rest")}, "d|bface"},
        {u"", {group(u"m", u"m", 1), group(u"k", u"k", 1)}, "ae"},
        {u"", {group(u"m", u"m"), group(u"k", u"k", 1)}, "ae|c"},
        {u"", {group(u"m", u"m", 5, u"rest"), group(u"k", u"k", 1, u"rest")}, "ae|d|c|bf"},
        {u"", {group(u"k", u"k"), group(u"v * 2 > Sum(v, Group)", u"")}, "ac|e|b|f|d"},
        {u"", {group(u"k", u"Sum(v) desc", 2), group(u"v >= Sum(v) * 0.25", u"")}, "d|b|f"},
        {u"", {group(u"k", u"Sum(v) desc", 2), group(u"v", u"v >= Sum(v, Report) * 0.25")}, "d|f|b"},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(walked(rows, test.sort, test.groups), test.ids)
            << toUtf8(test.sort) << ": " << toUtf8(test.groups.back().sort) << " " << test.groups[0].top;
    }
    EXPECT_EQ(walked("[]", u"k", {group(u"k", u"Sum(v)", 1, u"rest")}), "");
    EXPECT_EQ(walked(R"([{"id": "a"}, {"id": "b", "k": ""}])", u"", {group(u"k", u"k")}), "ab");
}

TEST(RowView, LooksUpRowsOfOtherTables) {
    ReportDefinition report;
    report.fields = {{u"Day", DataType::Date, u""},
                     {u"Vip", DataType::Boolean, u"Lookup(Customers, Id = Customer, Rank) = 1"}};
    report.parameters = {{u"Factor", DataType::Number, u"2"}};
    Orders orders(std::move(report), R"({
      "Orders": [{"Customer": 7, "Code": "7.0", "Day": "2024/3/5", "Paid": true}, {"Customer": null}],
      "Customers": [{"Id": "8", "Name": "eight", "Rank": 2}, {"Id": 7, "Name": "seven", "Rank": 1, "Open": true},
                    {"Id": 7.0, "Name": "seven again"}, {"Name": "nobody", "Rank": "many"}],
      "Lines": [{"Order": 7, "Amount": 0.1, "Product": "p"}, {"Order": "7", "Amount": "0.2", "Product": "q"},
                {"Order": 8, "Amount": 5, "Product": "p"}, {"Order": 7, "Amount": null, "Product": "q"}],
      "Prices": [{"Product": "p", "Day": "2024-03-05", "Price": 3}, {"Product": "q", "Day": "soon", "Price": 4}]})");
    const struct {
        const char16_t* expression;
        std::size_t row;
        const char* shown;
    } cases[] = {
        {u"Lookup(Customers, Id = Customer, Name)", 0, "seven"},
        {u"Lookup(Customers, Id = Customer, Name)", 1, "nobody"},
        {u"lookup('Customers', Id = 8, Name & Rank * Factor)", 0, "eight4"},
        {u"Lookup(Customers, Id = Code, Name)", 0, "seven"},
        {u"Lookup(Customers, Id = 9, Name)", 0, ""},
        {u"LookupSum(Customers, Id = 9, Rank) & LookupCount(Customers, Id = 9)", 0, "00"},
        {u"Lookup(Customers, Open = Paid, Name)", 0, "seven"},
        {u"LookupSum(Lines, Order = Customer, Amount) = 0.3", 0, "是"},
        {u"LookupCount(Lines, Order = Customer)", 0, "3"},
        {u"LookupCount(Lines, Order = Customer, Amount)", 0, "2"},
        {u"LookupAvg(Lines, Product & Order = 'p' & Customer, Amount)", 0, "0.1"},
        {u"LookupMax(Lines, Order = Customer, Product) & LookupMin(Lines, Order = Customer, Amount)", 0,
         "q0.1"},
        {u"LookupSum(Lines, Order = Customer, Amount * Lookup(Prices, Product = Product, Price))", 0, "1.1"},
        {u"Lookup(Prices, Day = Day, Price)", 0, "3"},
        {u"Lookup(Prices, Day = '2024年3月5日', Price)", 0, "3"},
        {u"Lookup(Lines, Order = 8, Amount / Sum(Amount)) = 5 / 5.3", 0, "是"},
        {u"Sum(Lookup(Customers, Id = Customer, Rank))", 0, "1"},
        {u"Vip", 0, "是"},
        {u"Lookup(Nothing, Id = Customer, Name)", 0, ""},
    };
    for (const auto& [expression, row, shown] : cases) {
        Position position;
        position.row = row;
        EXPECT_EQ(orders.show(u"[" + std::u16string(expression) + u"]", position), shown)
            << toUtf8(expression);
    }
    for (const char16_t* const bad :
         {u"Lookup(Customers, Id, Name)", u"Lookup(Customers, Id = 7)", u"LookupCount()",
          u"Lookup(1, a = b, c)", u"Lookup(Customers, Id = PageNumber, PageCount)"}) {
        EXPECT_THROW(orders.show(u"[" + std::u16string(bad) + u"]"), EngineError) << toUtf8(bad);
    }
}

// As numbers in sums, comparisons and formats.
TEST(RowView, ReadsTextsAsNumbers) {
    const struct {
        const char16_t* text;
        const char* number;  // empty: not a number
    } cases[] = {
        {u" 12.5 ", "12.5"},
        {u"+5", "5"},
        {u"-1e3", "-1000"},
        {u"1,234", "1234"},
        {u"-1,234,567.89", "-1234567.89"},
        {u"￥ 1,234.50", "1234.5"},
        {u"-$12", "-12"},
        {u"€-12.5", "-12.5"},
        {u"1,200元", "1200"},
        {u"(1,234.56)", "-1234.56"},
        {u"($ 7)", "-7"},
        {u"12345678901234567890123456,789", ""},
        {u"1,234,", ""},
        {u"1,23", ""},
        {u"0,123", ""},
        {u",123", ""},
        {u"1234,567", ""},
        {u"1.234,56", ""},
        {u"1,234.5.6", ""},
        {u"1,234e2", ""},
        {u"12abc", ""},
        {u"--5", ""},
        {u"+-5", ""},
        {u"-(5)", ""},
        {u"(-5)", ""},
        {u"()", ""},
        {u"$", ""},
        {u"$$5", ""},
        {u"-", ""},
        {u".", ""},
        {u"inf", ""},
    };
    Orders orders;
    for (const auto& [text, number] : cases) {
        const std::u16string quoted = u"'" + std::u16string(text) + u"'";
        EXPECT_EQ(orders.show(u"[" + quoted + u" * 1]"), number) << toUtf8(text);
        const bool isNumber = *number != '\0';
        EXPECT_EQ(orders.show(u"[If(Count(Number(" + quoted + u")) > 0, " + quoted + u" <= 1e6, 'none')]"),
                  isNumber ? "是" : "none")
            << toUtf8(text);
    }
}

TEST(RowView, LogsTextsThatAreNoNumbers) {
    const ScratchDirectory scratch;
    setLogSetupPath(scratch.path);
    ReportDefinition report;
    report.fields = {{u"Due", DataType::Date, u""}, {u"Twice", DataType::Number, u"Amount * 2"}};
    report.parameters = {{u"Rate", DataType::Text, u"low"}};
    {
        Orders orders(std::move(report), R"([
          {"Amount": "1,000.5", "Code": "9", "Due": "2024-02-29"}, {"Amount": "", "Code": "10", "Due": ""},
          {"Amount": "12abc", "Code": "9", "Due": "2023-02-29"}, {"Amount": null, "Code": "x", "Due": null},
          {"Amount": "n/a", "Code": "10", "Due": "soon"}])");
        const std::pair<const char16_t*, const char*> cases[] = {
            {u"Sum(Amount)", "1000.5"},
            {u"Sum(Amount * Rate) + Sum(Amount, Running) + Sum(Twice)", "3001.5"},
            {u"Maximum(Code) & Minimum(Code)", "x10"},
            {u"Maximum(If(Code = 'x', null, Code))", "10"},
            {u"Year(Due) & -Left('ab', 1)", "2024"},
            {u"Count(Year(Due))", "1"},
            {u"Count(If(Amount > 2000, 1, null))", "1"},
        };
        for (const auto& [expression, shown] : cases) {
            EXPECT_EQ(orders.show(u"[" + std::u16string(expression) + u"]"), shown) << toUtf8(expression);
        }
    }
    {
        ReportDefinition sorted;
        sorted.grid = std::make_unique<DetailGrid>();
        sorted.grid->sort = u"Amount, Code, Name";
        const Orders orders(std::move(sorted), R"([{"Amount": 5, "Code": "9", "Name": "b"},
          {"Amount": "n/a", "Code": "10", "Name": "5"}, {"Amount": "7", "Code": "x", "Name": "a"}])");
        const RowView view(orders.binding, {}, 0);
    }
    {
        ReportDefinition grouped;
        grouped.grid = std::make_unique<DetailGrid>();
        auto group = std::make_unique<Group>();
        group->by = u"Name";
        group->sort = u"Amount";
        grouped.grid->groups.push_back(std::move(group));
        Orders orders(std::move(grouped), R"([{"Amount": 5, "Code": "9", "Name": "b", "Late": "-"},
          {"Amount": "n/a", "Code": "10", "Name": "5", "Late": 3},
          {"Amount": "7", "Code": "x", "Name": "a", "Late": 2}])");
        EXPECT_EQ(orders.show(u"[Minimum(Amount)] [Maximum(Amount)] [Maximum(Late & '')] [Minimum(Late)]"),
                  "5 n/a 3 2");
        ChartRows rows;
        rows.category = u"[Name]";
        rows.sort = u"Code";
        rows.series.emplace_back();
        RowView view(orders.binding, {}, 0);
        ChartQuery chart(rows, orders.binding);
        EXPECT_EQ(chart.evaluate(view, {0, 3}, u"c").categories,
                  (std::vector<std::u16string>{u"5", u"b", u"a"}));
    }
    std::ifstream file(scratch.path / "log/qbsvrl6.log");
    std::string log;
    for (std::string line; std::getline(file, line);) {
        std::size_t message = 0;
        for (int words = 0; words < 4; ++words)
            message = line.find_first_not_of(' ', line.find(' ', message));
        log += line.substr(message) + '\n';
    }
    EXPECT_EQ(log,
              "Maximum(Code) finds numbers and texts: row 4 has the text \"x\"; "
              "texts of digits are compared as texts\n"
              "Minimum(Code) finds numbers and texts: row 4 has the text \"x\"; "
              "texts of digits are compared as texts\n"
              "the field \"Amount\" is not a number in 2 rows, first in row 3: \"12abc\"; "
              "it is compared as a text\n"
              "a calculated text is not a number: \"a\"; calculations treat it as empty\n"
              "the field \"Amount\" is not a number in 2 rows, first in row 3: \"12abc\"; "
              "calculations treat it as empty\n"
              "the field \"Due\" is not a date in 2 rows, first in row 3: \"2023-02-29\"; "
              "calculations treat it as empty\n"
              "the parameter \"Rate\" is not a number: \"low\"; calculations treat it as empty\n"
              "the sort by \"Amount\" finds numbers and texts: row 2 has the text \"n/a\"; "
              "numbers come before texts\n"
              "the sort by \"Code\" finds numbers and texts: row 3 has the text \"x\"; "
              "texts of digits are compared as texts\n"
              "the sort by \"Amount\" finds numbers and texts: the group of row 2 has the text \"n/a\"; "
              "numbers come before texts\n"
              "Minimum(Amount) finds numbers and texts: row 2 has the text \"n/a\"; "
              "numbers come before texts\n"
              "Maximum(Amount) finds numbers and texts: row 2 has the text \"n/a\"; "
              "texts of digits are compared as texts\n"
              "a Maximum finds numbers and texts, such as \"-\"; texts of digits are compared as texts\n"
              "Minimum(Late) finds numbers and texts, such as \"-\"; numbers come before texts\n"
              "the sort by \"Amount\" finds numbers and texts: the group of row 2 has the text \"n/a\"; "
              "numbers come before texts\n"
              "the sort by \"Code\" finds numbers and texts: the category \"a\" has the text \"x\"; "
              "texts of digits are compared as texts\n");
}

}  // namespace
}  // namespace qbsvrl6
