// Data sets as one line of text, and a slow source of them.
#ifndef QBSVR_TESTS_QBSVRL6_DATA_DESCRIBED_H
#define QBSVR_TESTS_QBSVRL6_DATA_DESCRIBED_H

#include <algorithm>
#include <string>
#include <string_view>

#include "qbsvrl6/data/byte_source.h"
#include "qbsvrl6/data/table.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

inline std::string describe(const Value& value) {
    switch (value.type) {
        case ValueType::Null:
            return "-";
        case ValueType::Boolean:
            return value.boolean ? "yes" : "no";
        case ValueType::Number:
            return "#" + toUtf8(value.text);
        case ValueType::Date:
            return "@" + toUtf8(value.text);
        default:
            return toUtf8(value.text);
    }
}

// "name=value" for each parameter; "table(a,b):1,2;3,4" for each table, with the rows of its parent as
// "table@0,0(a,b)".
inline std::string describe(const DataSet& data) {
    std::string text;
    for (const DataParameter& parameter : data.parameters()) {
        text += toUtf8(parameter.name) + "=" + describe(parameter.value()) + " ";
    }
    for (const Table& table : data.tables()) {
        text += toUtf8(table.name());
        for (std::size_t r = 0; table.parent() != nullptr && r < table.rowCount(); ++r) {
            text += (r ? "," : "@") + std::to_string(table.parentRow(r));
            const RowRange rows = table.childrenOf(table.parentRow(r));
            if (r < rows.first || r >= rows.end) text += "?";
        }
        text += "(";
        for (std::size_t c = 0; c < table.columnCount(); ++c)
            text += (c ? "," : "") + toUtf8(table.columnName(c));
        text += "):";
        for (std::size_t r = 0; r < table.rowCount(); ++r) {
            if (r > 0) text += ";";
            for (std::size_t c = 0; c < table.columnCount(); ++c) {
                text += (c ? "," : "") + describe(table.value(r, c));
            }
        }
        text += " ";
    }
    return text;
}

// A server that sends a byte at a time.
class SlowBytes : public ByteSource {
public:
    explicit SlowBytes(std::string_view bytes) : ByteSource("f"), bytes_(bytes) {}
    std::size_t read(char* to, std::size_t size) override {
        const std::string_view byte = bytes_.substr(0, std::min<std::size_t>(size, 1));
        bytes_.remove_prefix(byte.size());
        return byte.copy(to, 1);
    }

private:
    std::string_view bytes_;
};

}  // namespace qbsvrl6

#endif
