#include "qbsvrl6/sheet/text_stream.h"

#include <utility>

namespace qbsvrl6 {

void TextStream::putAside() {
    blocks_.push_back(std::exchange(block_, {}));
    block_.reserve(kBlockBytes + kBlockBytes / 8);
}

void TextStream::moveTo(std::string& output, const std::function<void(std::size_t, std::string&)>& fill) {
    blocks_.push_back(std::exchange(block_, {}));
    constexpr std::size_t kLikelyFill = 32;
    std::size_t size = output.size() + marks_.size() * kLikelyFill;
    for (const std::string& block : blocks_) size += block.size();
    output.reserve(size);
    std::size_t next = 0;
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
        std::size_t from = 0;
        for (; next < marks_.size() && marks_[next].block == i; ++next) {
            output.append(blocks_[i], from, marks_[next].offset - from);
            from = marks_[next].offset;
            fill(next, output);
        }
        output.append(blocks_[i], from);
        blocks_[i] = {};
    }
    blocks_.clear();
    marks_.clear();
}

}  // namespace qbsvrl6
