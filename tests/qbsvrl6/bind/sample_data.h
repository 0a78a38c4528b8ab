// A small report and its data for the tests of expressions.
#ifndef QBSVR_TESTS_QBSVRL6_BIND_SAMPLE_DATA_H
#define QBSVR_TESTS_QBSVRL6_BIND_SAMPLE_DATA_H

#include <string>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

inline constexpr const char* kOrders = R"({
  "Company": "蓝海", "Rate": 0.13,
  "Orders": [
    {"City": "上海", "Kind": "a", "No": 7,  "Price": 1.10, "Count": 2, "When": "2024-03-05", "Paid": true},
    {"City": "上海", "Kind": "a", "No": 8,  "Price": 2.5,  "Count": 4, "When": "2024-03-06", "Paid": false},
    {"City": "上海", "Kind": "b", "No": 9,  "Price": null, "Count": 1, "When": "", "Paid": null},
    {"City": "北京", "Kind": "b", "No": 10, "Price": 0.1,  "Count": 3, "When": "no date", "Paid": true},
    {"City": "北京", "Kind": "a", "No": 12345678901234567890, "Price": -3, "Count": 5,
     "When": "2024-03-05 14:07:09", "Paid": false}
  ]})";

// Groups by City, then Kind; a calculated field Total and a declared date When.
inline ReportDefinition ordersReport() {
    ReportDefinition report;
    report.info.title = u"订单";
    report.fields = {{u"When", DataType::Date, u""},
                     {u"Total", DataType::Number, u"Price * Count"},
                     {u"Share", DataType::Number, u"Total / Sum(Total, Report)"}};
    report.parameters = {{u"Limit", DataType::Number, u"3"}, {u"Company", DataType::Text, u"default"}};
    report.grid = std::make_unique<DetailGrid>();
    for (const char16_t* const by : {u"City", u"Kind"}) {
        auto group = std::make_unique<Group>();
        group->name = std::u16string(u"By") + by;
        group->by = by;
        report.grid->groups.push_back(std::move(group));
    }
    return report;
}

class Orders {
public:
    explicit Orders(ReportDefinition definition = ordersReport(), const char* json = kOrders)
        : report(std::move(definition)),
          data(readData(json, "orders")),
          binding(report, {&data, data.table(u""), nullptr}, {}) {}

    // What the text shows at the row, after "<colour> " if it has one.
    std::string show(const std::u16string& text, Position position = {}) {
        compiled = binding.compileText(text);
        RowView view(binding, {}, kNow);
        last = {};
        view.evaluateText(compiled, position, last);
        std::string color;
        if (last.color) {
            color = "<" + std::to_string(last.color->red) + "," + std::to_string(last.color->green) + "," +
                    std::to_string(last.color->blue) + "> ";
        }
        return color + toUtf8(last.text);
    }

    static constexpr std::int64_t kNow = 1'709'646'829;  // 2024-03-05 13:53:49

    ReportDefinition report;
    DataSet data;
    Binding binding;
    TextTemplate compiled;  // the last one: it owns the format of last.cell
    EvaluatedText last;
};

}  // namespace qbsvrl6

#endif
