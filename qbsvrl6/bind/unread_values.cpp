#include "qbsvrl6/bind/unread_values.h"

#include <exception>

#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/log.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

const char* nounOf(DataType type) {
    switch (type) {
        case DataType::Text:
            break;
        case DataType::Number:
            return "a number";
        case DataType::Boolean:
            return "a boolean";
        case DataType::Date:
            return "a date";
    }
    return "a text";
}

}  // namespace

UnreadValues::~UnreadValues() {
    try {
        for (const auto& [key, field] : fields_) logWarningOnce(warning(key, field));
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): logging never fails its caller
    }
}

void UnreadValues::add(const Source& source, std::u16string_view text, DataType needed) {
    if (trimmed(text).empty()) return;
    Field& field = fields_[{std::u16string(source.name), needed}];
    const bool isEarlier = source.row && (!field.row || *source.row < *field.row);
    if (field.text.empty() || isEarlier) {
        field.kind = source.kind;
        field.text = text;
        field.row = source.row;
    }
    if (!source.row) return;
    if (field.rows.size() <= *source.row) field.rows.resize(*source.row + 1);
    if (!field.rows[*source.row]) ++field.rowCount;
    field.rows[*source.row] = true;
}

std::string UnreadValues::warning(const Key& key, const Field& field) const {
    constexpr std::size_t kShown = 80;
    std::string line(field.kind);
    if (!key.first.empty()) line += " \"" + toUtf8(key.first) + '"';
    line += std::string(" is not ") + nounOf(key.second);
    if (field.rowCount > 1) line += " in " + std::to_string(field.rowCount) + " rows, first";
    if (field.row) line += " in row " + std::to_string(*field.row + 1);
    const std::u16string_view text = field.text;
    line += ": \"" + toUtf8(text.substr(0, kShown)) + (text.size() > kShown ? "..." : "") + "\"; ";
    return line.append(consequence_);
}

}  // namespace qbsvrl6
