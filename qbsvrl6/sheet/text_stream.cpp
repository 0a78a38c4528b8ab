#include "qbsvrl6/sheet/text_stream.h"

#include <utility>

namespace qbsvrl6 {

void TextStream::moveTo(Spool& output, const std::function<void(std::size_t, std::string&)>& fill) {
    std::uint64_t from = 0;
    for (std::size_t i = 0; i < marks_.size(); ++i) {
        output.append(kept_, from, marks_[i]);
        from = marks_[i];
        fill(i, output.end());
        output.writeIfLarge();
    }
    if (from == 0) {
        output.append(std::move(kept_));
    } else {
        output.append(kept_, from, kept_.size());
        kept_ = Spool();
    }
    marks_.clear();
}

}  // namespace qbsvrl6
