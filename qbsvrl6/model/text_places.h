// The positions of the texts of a template in its file, for the messages of an export. A text that a program
// has set has none.
#ifndef QBSVR_QBSVRL6_MODEL_TEXT_PLACES_H
#define QBSVR_QBSVRL6_MODEL_TEXT_PLACES_H

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

// What a text is used for: the same text may be right for the rows of a chart and wrong for those of the
// grid.
enum class TextUse { Report, ChartRows, ReportTable, GridTable, ChartTable, Address, Return, GroupKey };

class TextPlaces {
public:
    static std::size_t keyOf(std::u16string_view text, TextUse use) {
        return std::hash<std::u16string_view>()(text) * 31 + static_cast<std::size_t>(use);
    }
    void add(std::size_t key, TextPosition place) { entries_.push_back({key, place}); }

    // All positions of the text, in the order of the file. Meant for messages: it reads every entry.
    std::vector<TextPosition> of(std::u16string_view text, TextUse use) const {
        const std::size_t key = keyOf(text, use);
        std::vector<TextPosition> places;
        for (const Entry& entry : entries_) {
            if (entry.key == key) places.push_back(entry.place);
        }
        return places;
    }

private:
    struct Entry {
        std::size_t key;  // identifies the text, which the model holds
        TextPosition place;
    };
    std::vector<Entry> entries_;
};

}  // namespace qbsvrl6

#endif
