// Entries are stored as they are: documents are compressed already, and a program can read one where it is.
// The directory at the end has the members of ZIP64 where the archive is large.
#include <libdeflate.h>

#include <cstddef>

#include "qbreport/burst/archive.h"
#include "qbreport/burst/manifest.h"

namespace qbreport {

namespace {

constexpr std::uint64_t kMost16 = 0xFFFF;
constexpr std::uint64_t kMost32 = 0xFFFFFFFF;
constexpr std::size_t kLocalHeader = 30;
constexpr std::size_t kChecksumAt = 14;
constexpr std::uint64_t kDate = 0x0021;  // 1980-01-01: the clock is no part of an archive
constexpr std::uint64_t kUtf8Names = 0x0800;
constexpr std::uint64_t kVersion = 20;
constexpr std::uint64_t kVersion64 = 45;

// Numbers of a fixed size, the lowest byte first.
class Record {
public:
    explicit Record(std::string_view signature) : bytes_(signature) {}
    Record& add(std::size_t size, std::uint64_t number) {
        for (std::size_t i = 0; i < size; ++i) bytes_ += static_cast<char>(number >> (8 * i) & 0xFF);
        return *this;
    }
    Record& add(std::string_view text) {
        bytes_ += text;
        return *this;
    }
    const std::string& bytes() const { return bytes_; }

private:
    std::string bytes_;
};

class Zip : public ArchiveWriter {
public:
    explicit Zip(const std::string& path) : ArchiveWriter(path) {}

    std::uint64_t endOf(std::uint64_t offset, std::uint64_t size) const override { return offset + size; }
    std::uint64_t offsetAfter(std::uint64_t size, const std::string& name) const override {
        return size + kLocalHeader + name.size();
    }

    void finish(const std::string& manifest) override {
        flush();  // the directory needs the checksums
        const std::uint64_t begin = size();
        std::uint64_t count = 0;
        ManifestReader reader(manifest);
        for (Entry entry; reader.next(entry); ++count) append(directoryEntry(entry));
        const std::uint64_t end = size();
        if (count >= kMost16 || end >= kMost32) {
            append(Record("PK\x06\x06")
                       .add(8, 44)
                       .add(2, kVersion64)
                       .add(2, kVersion64)
                       .add(4, 0)
                       .add(4, 0)
                       .add(8, count)
                       .add(8, count)
                       .add(8, end - begin)
                       .add(8, begin)
                       .bytes());
            append(Record("PK\x06\x07").add(4, 0).add(8, end).add(4, 1).bytes());
        }
        const auto most = [](std::uint64_t number, std::uint64_t limit) {
            return number < limit ? number : limit;
        };
        append(Record("PK\x05\x06")
                   .add(2, 0)
                   .add(2, 0)
                   .add(2, most(count, kMost16))
                   .add(2, most(count, kMost16))
                   .add(4, most(end - begin, kMost32))
                   .add(4, most(begin, kMost32))
                   .add(2, 0)
                   .bytes());
    }

protected:
    std::string headerOf(const std::string& name, std::string_view bytes) const override {
        return Record("PK\x03\x04")
            .add(2, kVersion)
            .add(2, kUtf8Names)
            .add(2, 0)
            .add(2, 0)
            .add(2, kDate)
            .add(4, libdeflate_crc32(0, bytes.data(), bytes.size()))
            .add(4, bytes.size())
            .add(4, bytes.size())
            .add(2, name.size())
            .add(2, 0)
            .add(name)
            .bytes();
    }

private:
    std::string directoryEntry(const Entry& entry) const {
        const std::uint64_t header = entry.offset - kLocalHeader - entry.file.size();
        const std::string checksum = read(header + kChecksumAt, 4);
        const bool isFar = header >= kMost32;
        Record record("PK\x01\x02");
        record.add(2, isFar ? kVersion64 : kVersion)
            .add(2, isFar ? kVersion64 : kVersion)
            .add(2, kUtf8Names)
            .add(2, 0)
            .add(2, 0)
            .add(2, kDate)
            .add(checksum)
            .add(4, entry.bytes)
            .add(4, entry.bytes)
            .add(2, entry.file.size())
            .add(2, isFar ? 12 : 0)
            .add(2, 0)
            .add(2, 0)
            .add(2, 0)
            .add(4, 0)
            .add(4, isFar ? kMost32 : header)
            .add(entry.file);
        if (isFar) record.add(2, 1).add(2, 8).add(8, header);
        return record.bytes();
    }
};

}  // namespace

std::unique_ptr<ArchiveWriter> openZip(const std::string& path) { return std::make_unique<Zip>(path); }

}  // namespace qbreport
