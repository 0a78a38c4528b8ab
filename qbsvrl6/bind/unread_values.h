// Collects texts that do not read as the number, date or boolean that is needed, for the log.
#ifndef QBSVR_QBSVRL6_BIND_UNREAD_VALUES_H
#define QBSVR_QBSVRL6_BIND_UNREAD_VALUES_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// The destructor logs one warning per field: the first such text, its row, and the number of rows with one.
class UnreadValues {
public:
    // The origin of a text.
    struct Source {
        std::string_view kind;                          // "the field"
        std::u16string_view name;                       // may be empty
        std::optional<std::size_t> row = std::nullopt;  // of the table, from 0
    };

    // `consequence` ends each warning.
    explicit UnreadValues(std::string_view consequence) : consequence_(consequence) {}
    UnreadValues(const UnreadValues&) = delete;
    UnreadValues& operator=(const UnreadValues&) = delete;
    ~UnreadValues();

    // White space alone is an empty value and is ignored. A row that is added several times counts once.
    void add(const Source& source, std::u16string_view text, DataType needed);

private:
    struct Field {
        std::string_view kind;
        std::u16string text;
        std::optional<std::size_t> row;  // of the text
        std::vector<bool> rows;
        std::size_t rowCount = 0;
    };
    using Key = std::pair<std::u16string, DataType>;

    std::string warning(const Key& key, const Field& field) const;

    std::string_view consequence_;
    std::map<Key, Field> fields_;
};

}  // namespace qbsvrl6

#endif
