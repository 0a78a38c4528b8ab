// The texts of an XLS workbook, each stored once.
#ifndef QBSVR_QBSVRL6_SHEET_XLS_SHARED_TEXTS_H
#define QBSVR_QBSVRL6_SHEET_XLS_SHARED_TEXTS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

class SharedTexts {
public:
    SharedTexts();

    // The text's number. Equal texts have the same number.
    std::uint32_t add(std::u16string_view text);

    // The number of a text that is set later.
    std::uint32_t reserve();
    void set(std::uint32_t number, std::u16string_view text);

    // Appends the table of all texts (SST with its CONTINUE records) to `out`.
    void write(std::string& out) const;

private:
    struct Entry {
        std::uint64_t hash = 0;
        std::size_t start = 0;  // in units_
        std::uint32_t length = 0;
    };

    std::u16string_view textOf(const Entry& entry) const {
        return std::u16string_view(units_).substr(entry.start, entry.length);
    }
    void grow();

    std::u16string units_;
    std::vector<Entry> entries_;
    std::vector<std::uint32_t> slots_;  // open addressing; number + 1, 0: free
    std::uint32_t uses_ = 0;
};

}  // namespace qbsvrl6

#endif
