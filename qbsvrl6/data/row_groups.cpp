#include "qbsvrl6/data/row_groups.h"

#include <algorithm>
#include <atomic>
#include <string_view>
#include <utility>

namespace qbsvrl6 {

namespace {

// Large enough to be read from front to end quickly, small enough for rows that are read in any order.
constexpr std::size_t kGroupBytes = 64u << 10;
constexpr std::uint64_t kSmallTable = 1u << 20;

constinit std::atomic<std::uint64_t> memoryLimit{kDefaultRowMemory};
constinit std::atomic<std::uint64_t> memoryInUse{0};
constinit std::atomic<std::size_t> groupRows{OpenGroup::kMostRows};
constinit std::atomic<std::size_t> loadedGroups{kLoadedRowGroups};

thread_local SharedRowFile* innermost = nullptr;

}  // namespace

void limitRowMemory(std::uint64_t bytes) { memoryLimit.store(bytes, std::memory_order_relaxed); }

void limitRowGroups(std::size_t rows, std::size_t loaded) {
    groupRows.store(std::min(rows, OpenGroup::kMostRows), std::memory_order_relaxed);
    loadedGroups.store(loaded, std::memory_order_relaxed);
}

SharedRowFile::SharedRowFile() : outer_(innermost) { innermost = this; }

SharedRowFile::~SharedRowFile() { innermost = outer_; }

std::shared_ptr<RowFile> SharedRowFile::current() {
    return innermost == nullptr ? std::make_shared<RowFile>() : innermost->file_;
}

RowGroups::~RowGroups() { memoryInUse.fetch_sub(bytesInMemory_, std::memory_order_relaxed); }

void RowGroups::beginRow(std::size_t bytes) {
    openBytes_ += bytes;
    if (openBytes_ >= kGroupBytes || open_.rows >= groupRows.load(std::memory_order_relaxed)) seal();
    ++open_.rows;
}

void RowGroups::end() {
    if (open_.rows > 0) seal();
    open_.columns = {};
}

void RowGroups::seal() {
    const std::size_t rows = open_.rows;
    OpenGroup::Block block = open_.seal();
    openBytes_ = 0;
    Group group{sealedRows_, block.size, 0, nullptr};
    if (takeMemory(block.size)) {
        group.bytes = std::move(block.bytes);
    } else {
        if (!file_->file) file_->file.emplace("the rows of the data");
        group.offset = file_->file->append({block.bytes.get(), block.size});
        isPaged_ = true;
    }
    groups_.push_back(std::move(group));
    sealedRows_ += rows;
}

bool RowGroups::takeMemory(std::size_t size) {
    const std::uint64_t limit = memoryLimit.load(std::memory_order_relaxed);
    const std::uint64_t used = memoryInUse.fetch_add(size, std::memory_order_relaxed) + size;
    if (used > limit && bytesInMemory_ + size > std::min(kSmallTable, limit)) {
        memoryInUse.fetch_sub(size, std::memory_order_relaxed);
        return false;
    }
    bytesInMemory_ += size;
    return true;
}

bool RowGroups::enter(std::size_t row) const {
    if (row >= sealedRows_) return false;
    const auto next = std::upper_bound(groups_.begin(), groups_.end(), row,
                                       [](std::size_t a, const Group& b) { return a < b.first; });
    const Group& group = *(next - 1);
    const char* const bytes =
        group.bytes ? group.bytes.get() : load(static_cast<std::size_t>(next - 1 - groups_.begin()));
    const std::size_t end = next == groups_.end() ? sealedRows_ : next->first;
    current_ = {group.first, end - group.first, RowGroup(bytes)};
    return true;
}

const char* RowGroups::load(std::size_t index) const {
    const auto known = std::find_if(loaded_.begin(), loaded_.end(),
                                    [index](const Loaded& loaded) { return loaded.index == index; });
    if (known != loaded_.end()) {
        std::rotate(known, known + 1, loaded_.end());
        return loaded_.back().bytes.get();
    }
    const Group& group = groups_[index];
    current_ = {};
    makeRoom(group.size);
    auto bytes = std::make_unique_for_overwrite<char[]>(group.size);
    file_->file->read(group.offset, bytes.get(), group.size);
    loaded_.push_back({index, group.size, std::move(bytes)});
    return loaded_.back().bytes.get();
}

// Drops the groups that have not been read for the longest time; one group of long texts may be all there is.
void RowGroups::makeRoom(std::size_t size) const {
    const std::size_t most = loadedGroups.load(std::memory_order_relaxed);
    for (const Loaded& loaded : loaded_) size += loaded.size;
    while (!loaded_.empty() && (loaded_.size() >= most || size > kLoadedRowGroups * kGroupBytes)) {
        size -= loaded_.front().size;
        loaded_.erase(loaded_.begin());
    }
}

}  // namespace qbsvrl6
