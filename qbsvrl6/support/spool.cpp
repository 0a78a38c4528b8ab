#include "qbsvrl6/support/spool.h"

#include <algorithm>
#include <cstring>

namespace qbsvrl6 {

void Spool::writeEnd() {
    if (!file_) file_.emplace(content_);
    file_->append(end_);
    if (end_.capacity() > 2 * kBytesAtOnce) {
        end_ = {};
        end_.reserve(kBytesAtOnce + kBytesAtOnce / 2);
    }
    end_.clear();
}

void Spool::append(Spool&& other) {
    if (isEmpty()) {
        file_ = std::move(other.file_);
        end_ = std::move(other.end_);
    } else {
        append(other, 0, other.size());
    }
    other.file_.reset();
    other.end_ = {};
}

void Spool::append(const Spool& other, std::uint64_t first, std::uint64_t end) {
    while (first < end) {
        const std::size_t before = end_.size();
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(end - first, kBytesAtOnce));
        end_.resize(before + count);
        other.read(first, end_.data() + before, count);
        first += count;
        writeIfLarge();
    }
}

std::size_t Spool::read(std::uint64_t offset, char* to, std::size_t size) const {
    size = static_cast<std::size_t>(
        std::min<std::uint64_t>(size, this->size() - std::min(offset, this->size())));
    const std::uint64_t inFile = file_ ? file_->size() : 0;
    std::size_t first = 0;
    if (offset < inFile) {
        first = static_cast<std::size_t>(std::min<std::uint64_t>(size, inFile - offset));
        file_->read(offset, to, first);
    }
    if (first < size) std::memcpy(to + first, end_.data() + (offset + first - inFile), size - first);
    return size;
}

std::string Spool::take() {
    if (file_) {
        std::string whole(size(), '\0');
        read(0, whole.data(), whole.size());
        file_.reset();
        end_ = std::move(whole);
    }
    return std::exchange(end_, {});
}

const TemporaryFile* Spool::file() {
    if (file_ && !end_.empty()) writeEnd();
    return file_ ? &*file_ : nullptr;
}

}  // namespace qbsvrl6
