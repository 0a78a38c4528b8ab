// The growing text of a document, with gaps that are filled when it is complete.
#ifndef QBSVR_QBSVRL6_SHEET_TEXT_STREAM_H
#define QBSVR_QBSVRL6_SHEET_TEXT_STREAM_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

class TextStream {
public:
    // Text before the first gap goes to `output` at once; null: the document begins with something else, and
    // all text is kept.
    explicit TextStream(Spool* output = nullptr) : to_(output == nullptr ? &kept_ : output) {}
    TextStream(const TextStream&) = delete;
    TextStream& operator=(const TextStream&) = delete;

    // Append to this string. The reference stays valid, what it refers to until the next mark() or
    // writeIfLarge().
    std::string& text() { return to_->end(); }

    // Call it now and then: it moves text that takes much memory to a file.
    void writeIfLarge() { to_->writeIfLarge(); }

    // Leaves a gap and returns its number, counted from 0.
    std::size_t mark() {
        to_ = &kept_;
        marks_.push_back(kept_.size());
        return marks_.size() - 1;
    }

    // Appends everything that was kept to `output`, calling `fill(number, text)` for each gap.
    void moveTo(Spool& output, const std::function<void(std::size_t, std::string&)>& fill);

private:
    Spool kept_;
    Spool* to_;
    std::vector<std::uint64_t> marks_;  // in `kept_`
};

}  // namespace qbsvrl6

#endif
