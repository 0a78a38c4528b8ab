// A text with placeholders, in UTF-8, shown for each row of a small table. The only error is EngineError, and
// evaluating the text twice gives the same result.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "qbsvrl6/bind/row_view.h"
#include "qbsvrl6/data/load.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;

namespace {

constexpr std::size_t kMaxSize = 4096;  // longer texts only take longer

constexpr const char* kData = R"({"p": 3, "q": "x", "rows": [
    {"a": 1, "b": "text", "c": true, "d": "2024-03-05", "e": null},
    {"a": -2.50, "b": "中文😀", "c": false, "d": "", "e": "7"},
    {"a": 1e300, "b": "text", "c": null, "d": "2024-02-30 12:34:56", "e": "true"}]})";

ReportDefinition report() {
    ReportDefinition made;
    made.fields = {{u"twice", DataType::Number, u"a * 2"},
                   {u"total", DataType::Number, u"Sum(twice)"},
                   {u"d", DataType::Date, u""}};
    made.grid = std::make_unique<DetailGrid>();
    made.grid->groups.push_back(std::make_unique<Group>());
    made.grid->groups[0]->name = u"g";
    made.grid->groups[0]->by = u"b";
    return made;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size > kMaxSize) return 0;
    static const ReportDefinition definition = report();
    static const DataSet data = readData(kData, "data");
    try {
        Binding binding(definition, {&data, data.table(u""), nullptr}, {});
        TextTemplate text =
            binding.compileText(toUtf16(std::string_view(reinterpret_cast<const char*>(bytes), size)));
        RowView view(binding, {}, 0);
        EvaluatedText first;
        EvaluatedText second;
        for (Position position; position.row < view.rowCount(); ++position.row) {
            view.evaluateText(text, position, first);
            view.evaluateText(text, position, second);
            if (first.text != second.text || first.color != second.color) std::abort();
        }
    } catch (const EngineError&) {
    }
    return 0;
}
