// A table of which few entries are used, like one by the numbers of characters or glyphs.
#ifndef QBSVR_QBSVRL6_SUPPORT_SPARSE_TABLE_H
#define QBSVR_QBSVRL6_SUPPORT_SPARSE_TABLE_H

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace qbsvrl6 {

// Stores its entries in blocks, each of which is allocated when one of its entries is first used. Otherwise, a
// small document would take longer to clear its tables than to fill them.
template <class Value, std::size_t kBlock>
class SparseTable {
public:
    // The entry of any index; a default value at first.
    Value& operator[](std::size_t index) {
        const std::size_t number = index / kBlock;
        if (number >= blocks_.size()) blocks_.resize(number + 1);
        std::unique_ptr<Block>& block = blocks_[number];
        if (block == nullptr) block = std::make_unique<Block>();
        return (*block)[index % kBlock];
    }

    // An entry that has been used.
    const Value& used(std::size_t index) const { return (*blocks_[index / kBlock])[index % kBlock]; }

private:
    using Block = std::array<Value, kBlock>;

    std::vector<std::unique_ptr<Block>> blocks_;
};

}  // namespace qbsvrl6

#endif
