#include "qbreport/burst/archive.h"

#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr std::size_t kMostWaiting = 1 << 18;

}  // namespace

std::unique_ptr<ArchiveWriter> ArchiveWriter::open(const std::string& path, const std::string& kind) {
    return kind == "zip" ? openZip(path) : openTar(path);
}

ArchiveWriter::ArchiveWriter(const std::string& path)
    : path_(path), file_(openToWrite(path, false)), size_(sizeOf(file_, path)) {}

void ArchiveWriter::cut(std::uint64_t size) {
    waiting_.clear();
    truncate(file_, size, path_);
    size_ = size;
}

void ArchiveWriter::append(std::string_view bytes) {
    waiting_ += bytes;
    size_ += bytes.size();
    if (waiting_.size() >= kMostWaiting) flush();
}

void ArchiveWriter::flush() {
    write(file_, waiting_, path_);
    waiting_.clear();
}

void ArchiveWriter::synchronize() {
    flush();
    qbreport::synchronize(file_, path_);
}

std::uint64_t ArchiveWriter::add(const std::string& name, std::string_view bytes) {
    append(headerOf(name, bytes));
    const std::uint64_t offset = size_;
    append(bytes);
    append(std::string(static_cast<std::size_t>(endOf(offset, bytes.size()) - size_), '\0'));
    return offset;
}

std::string ArchiveWriter::read(std::uint64_t offset, std::uint64_t size) const {
    if (offset > size_ || size > size_ - offset) return "";
    std::string bytes(static_cast<std::size_t>(size), '\0');
    bytes.resize(readAt(file_, offset, bytes.data(), bytes.size(), path_));
    return bytes;
}

}  // namespace qbreport
