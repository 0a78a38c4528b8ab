// Names of the tables and columns around a table and within it.
#ifndef QBSVR_QBSVRL6_BIND_RELATED_NAMES_H
#define QBSVR_QBSVRL6_BIND_RELATED_NAMES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/data/table.h"

namespace qbsvrl6 {

struct RelatedColumn {
    const Table* table = nullptr;
    std::size_t column = Table::npos;
};

// The column "Amount" of the table "Customers.Orders" is "Orders.Amount" and "Customers.Orders.Amount" as
// well. Case is ignored.
std::size_t findQualified(const Table& table, std::u16string_view name);

// The column of this name, qualified or not, in `table` or the nearest table around it that has one.
RelatedColumn findAround(const Table* table, std::u16string_view name);

// The tables within a table, by their names and the ends of them. The outermost of several is found first.
class TablesInside {
public:
    explicit TablesInside(const Table& table) { add(table); }

    // The table that has the column of this qualified name; null if there is none.
    const Table* withColumn(std::u16string_view name) const;
    // The table of this name, whole or the end of it; null if there is none.
    const Table* named(std::u16string_view name) const;

private:
    struct Found {
        std::size_t order = 0;
        const Table* table = nullptr;
    };

    void add(const Table& outer);

    std::size_t count_ = 0;
    std::unordered_map<std::u16string, std::vector<Found>> byName_;  // in lower case, in their order
};

// "Orders.Lines" for the table "Customers.Orders.Lines" within "Customers".
std::u16string_view nameInside(const Table& inner, const Table& outer);

}  // namespace qbsvrl6

#endif
