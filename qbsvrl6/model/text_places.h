// Where the texts of a template are in its file, for the messages of an export. A text that a program has set
// has no place.
#ifndef QBSVR_QBSVRL6_MODEL_TEXT_PLACES_H
#define QBSVR_QBSVRL6_MODEL_TEXT_PLACES_H

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

#include "qbsvrl6/support/log.h"

namespace qbsvrl6 {

// What a text is for: the same wording may be right for the rows of a chart and wrong for those of the grid.
enum class TextUse { Report, ChartRows, ReportTable, GridTable, ChartTable };

class TextPlaces {
public:
    static std::size_t keyOf(std::u16string_view text, TextUse use) {
        return std::hash<std::u16string_view>()(text) * 31 + static_cast<std::size_t>(use);
    }
    void add(std::size_t key, SubjectPlace place) { entries_.push_back({key, place}); }

    // All places of the wording, in the order of the file. Meant for messages: it looks at every entry.
    std::vector<SubjectPlace> of(std::u16string_view text, TextUse use) const {
        const std::size_t key = keyOf(text, use);
        std::vector<SubjectPlace> places;
        for (const Entry& entry : entries_) {
            if (entry.key == key) places.push_back(entry.place);
        }
        return places;
    }

private:
    struct Entry {
        std::size_t key;  // stands for the text, which the model has already
        SubjectPlace place;
    };
    std::vector<Entry> entries_;
};

}  // namespace qbsvrl6

#endif
