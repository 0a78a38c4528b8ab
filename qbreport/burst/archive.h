// Documents in one file: a tar or zip archive that any program reads, with an index beside it.
#ifndef QBSVR_QBREPORT_BURST_ARCHIVE_H
#define QBSVR_QBREPORT_BURST_ARCHIVE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "qbreport/burst/descriptor.h"

namespace qbreport {

// Appends documents. The archive is the same whatever the machine and the time: its entries bear no clock.
class ArchiveWriter {
public:
    // `path`: of the file that is written, which is continued if it exists; `kind`: "tar" or "zip".
    static std::unique_ptr<ArchiveWriter> open(const std::string& path, const std::string& kind);
    virtual ~ArchiveWriter() = default;
    ArchiveWriter(const ArchiveWriter&) = delete;
    ArchiveWriter& operator=(const ArchiveWriter&) = delete;

    // Returns the offset of the bytes in the archive.
    std::uint64_t add(const std::string& name, std::string_view bytes);
    // Where the next entry begins if the last one has these bytes.
    virtual std::uint64_t endOf(std::uint64_t offset, std::uint64_t size) const = 0;
    // The offset that a document has which is added after `size` bytes of archive.
    virtual std::uint64_t offsetAfter(std::uint64_t size, const std::string& name) const = 0;

    // The bytes of a document that is in the file; empty if the file is too short.
    std::string read(std::uint64_t offset, std::uint64_t size) const;
    // Removes everything after the first `size` bytes.
    void cut(std::uint64_t size);
    std::uint64_t size() const { return size_; }
    // Ends the archive. `manifest` lists its documents.
    virtual void finish(const std::string& manifest) = 0;
    // Everything that was added is on the disk when the function returns.
    void synchronize();

protected:
    explicit ArchiveWriter(const std::string& path);

    // What is before and after the bytes of a document.
    virtual std::string headerOf(const std::string& name, std::string_view bytes) const = 0;
    void append(std::string_view bytes);
    // Writes what was added. Before that, it cannot be read.
    void flush();

    const Descriptor& file() const { return file_; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    Descriptor file_;
    std::uint64_t size_;
    std::string waiting_;
};

std::unique_ptr<ArchiveWriter> openTar(const std::string& path);
std::unique_ptr<ArchiveWriter> openZip(const std::string& path);

}  // namespace qbreport

#endif
