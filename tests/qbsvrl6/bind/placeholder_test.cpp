#include <gtest/gtest.h>

#include <map>

#include "qbsvrl6/support/error.h"
#include "tests/cases.h"
#include "tests/qbsvrl6/bind/sample_data.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

std::string pageFieldsOf(const EvaluatedText& text) {
    std::string fields;
    for (const PageField& field : text.pageFields) {
        fields += (fields.empty() ? "" : " ") +
                  std::string(field.kind == PageField::Kind::Number ? "N" : "C") +
                  std::to_string(field.start) + "+" + std::to_string(field.length) + "=" +
                  std::to_string(field.value);
    }
    return fields;
}

std::string cellOf(const EvaluatedText& text) {
    static const std::map<ValueType, std::string> kNames = {{ValueType::Number, "Number"},
                                                            {ValueType::Date, "Date"},
                                                            {ValueType::Boolean, "Boolean"},
                                                            {ValueType::Text, "Text"}};
    const std::string format = toUtf8(text.value.spreadsheetFormat);
    return kNames.at(text.value.type) + (format.empty() ? "" : " ") + format;
}

// The lines begin with the row, a digit. They are on page 12 of 345.
TEST(Placeholder, StandsInTexts) {
    expectCases(QBSVR_SOURCE_DIR "/tests/qbsvrl6/bind/cases/placeholders.txt",
                [](const TextCase& one, const std::string& view) {
                    Orders orders;
                    return eachLine(one, [&](const std::string& line) -> std::string {
                        Position position;
                        position.row = static_cast<std::size_t>(line[0] - '0');
                        position.pageNumber = 12;
                        position.pageCount = 345;
                        try {
                            const std::string shown = orders.show(toUtf16(line.substr(2)), position);
                            return view == "fields" ? pageFieldsOf(orders.last)
                                   : view == "cell" ? cellOf(orders.last)
                                                    : shown;
                        } catch (const EngineError& error) {
                            EXPECT_EQ(error.code(), ErrorCode::BadExpression) << line;
                            return std::to_string(error.place().position.column);
                        }
                    });
                });
}

}  // namespace
}  // namespace qbsvrl6
