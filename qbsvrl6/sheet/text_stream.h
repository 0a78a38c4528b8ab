// The growing text of a document, with gaps that are filled when it is complete.
#ifndef QBSVR_QBSVRL6_SHEET_TEXT_STREAM_H
#define QBSVR_QBSVRL6_SHEET_TEXT_STREAM_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace qbsvrl6 {

class TextStream {
public:
    // Append to this string. The reference is valid until the next mark() or breathe().
    std::string& text() { return block_; }

    // Call this regularly: it puts a full block aside, so that the text is never copied as it grows.
    void breathe() {
        if (block_.size() >= kBlockBytes) putAside();
    }

    // Leaves a gap and returns its number, counted from 0.
    std::size_t mark() {
        marks_.push_back({blocks_.size(), block_.size()});
        return marks_.size() - 1;
    }

    // Appends everything to `output`, calling `fill(number, output)` for each gap. The stream is then empty.
    void moveTo(std::string& output, const std::function<void(std::size_t, std::string&)>& fill);

private:
    static constexpr std::size_t kBlockBytes = 1u << 20;

    struct Mark {
        std::size_t block;
        std::size_t offset;
    };

    void putAside();

    std::string block_;
    std::vector<std::string> blocks_;
    std::vector<Mark> marks_;
};

}  // namespace qbsvrl6

#endif
