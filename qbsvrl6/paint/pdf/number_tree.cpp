#include "qbsvrl6/paint/pdf/number_tree.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qbsvrl6 {

namespace {

using namespace std::string_view_literals;

constexpr int kFanOut = 64;

}  // namespace

int NumberTree::add(int object) {
    entries_.add(std::int64_t{next_}, ' ', std::int64_t{object}, " 0 R "sv);
    if (++next_ - first_ == kFanOut) writeLeaf();
    return next_ - 1;
}

void NumberTree::writeLeaf() {
    if (next_ == first_) return;
    ByteBuffer out;
    out.add("<</Limits["sv, std::int64_t{first_}, ' ', std::int64_t{next_ - 1}, "]/Nums["sv, entries_.view(),
            "]>>"sv);
    leaves_.push_back({file_.reserve(), first_, next_ - 1});
    file_.writeObject(leaves_.back().number, out.view());
    entries_.clear();
    first_ = next_;
}

int NumberTree::finish() {
    writeLeaf();
    std::vector<Node> level = std::move(leaves_);
    ByteBuffer out;
    do {
        std::vector<Node> above;
        const bool isRoot = level.size() <= kFanOut;
        for (std::size_t start = 0; start == 0 || start < level.size(); start += kFanOut) {
            const std::size_t end = std::min(start + kFanOut, level.size());
            out.clear();
            out.append("<<"sv);
            if (!isRoot) {
                out.add("/Limits["sv, std::int64_t{level[start].first}, ' ',
                        std::int64_t{level[end - 1].last}, ']');
            }
            // The root of an empty tree has no keys.
            out.append(level.empty() ? "/Nums["sv : "/Kids["sv);
            for (std::size_t i = start; i < end; ++i) out.add(std::int64_t{level[i].number}, " 0 R "sv);
            out.append("]>>"sv);
            above.push_back({file_.reserve(), level.empty() ? 0 : level[start].first,
                             level.empty() ? 0 : level[end - 1].last});
            file_.writeObject(above.back().number, out.view());
        }
        level = std::move(above);
    } while (level.size() > 1);
    return level.front().number;
}

}  // namespace qbsvrl6
