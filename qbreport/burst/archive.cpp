#include "qbreport/burst/archive.h"

#include "qbreport/failure.h"

namespace qbreport {

std::unique_ptr<ArchiveWriter> ArchiveWriter::open(const std::string& path, const std::string& kind) {
    return kind == "zip" ? openZip(path) : openTar(path);
}

ArchiveWriter::ArchiveWriter(const std::string& path)
    : path_(path), file_(openToWrite(path, false)), size_(sizeOf(file_, path)) {}

void ArchiveWriter::cut(std::uint64_t size) {
    truncate(file_, size, path_);
    size_ = size;
}

void ArchiveWriter::append(std::string_view bytes) {
    write(file_, bytes, path_);
    size_ += bytes.size();
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
