// Text of a document that grows at its end, with gaps that are filled at the end.
#ifndef QBSVR_QBSVRL6_SHEET_TEXT_STREAM_H
#define QBSVR_QBSVRL6_SHEET_TEXT_STREAM_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace qbsvrl6 {

class TextStream {
public:
    // What is appended here follows all that came before. The reference is good until the next mark() or
    // breathe().
    std::string& text() { return block_; }

    // Call now and then: puts a full block aside, so that growing never copies what is written.
    void breathe() {
        if (block_.size() >= kBlockBytes) putAside();
    }

    // Leaves a gap and returns its number, counted from 0.
    std::size_t mark() {
        marks_.push_back({blocks_.size(), block_.size()});
        return marks_.size() - 1;
    }

    // Appends everything to `output`, each gap filled by `fill(number, output)`, and is empty then.
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
