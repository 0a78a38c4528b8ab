// ZIP archives: the packages of office documents.
#ifndef QBSVR_QBSVRL6_SHEET_PACKAGE_ZIP_H
#define QBSVR_QBSVRL6_SHEET_PACKAGE_ZIP_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

class ByteWriter;

// Compresses bytes as they arrive, and keeps the compressed ones.
class DeflateStream {
public:
    DeflateStream();
    ~DeflateStream();
    DeflateStream(DeflateStream&&) noexcept;
    DeflateStream& operator=(DeflateStream&&) noexcept;

    void append(std::string_view bytes);

private:
    friend class ZipWriter;
    struct State;
    // Ends the stream. Unless `isLast`, another stream may follow it in the same entry.
    void end(bool isLast);

    std::unique_ptr<State> state_;
    Spool compressed_;
    std::uint64_t size_ = 0;
    std::uint32_t crc_ = 0;
};

// Writes an archive, entry by entry. The same entries give the same bytes: no times are stored.
// Raises EngineError for an entry or an archive of 4 GiB and more.
class ZipWriter {
public:
    explicit ZipWriter(Spool& output);
    ZipWriter(const ZipWriter&) = delete;
    ZipWriter& operator=(const ZipWriter&) = delete;

    void add(const std::string& name, std::string_view bytes);
    // Without compression: for pictures, which are already compressed.
    void addStored(const std::string& name, std::string_view bytes);
    // One entry from two streams, so that its beginning can be written last.
    void add(const std::string& name, DeflateStream first, DeflateStream second);
    void finish();

private:
    struct Entry {
        std::string name;
        std::uint16_t method = 0;
        std::uint32_t crc = 0;
        std::uint64_t compressedSize = 0;
        std::uint64_t size = 0;
        std::uint64_t offset = 0;
    };
    void begin(Entry entry);
    static void putCommonFields(ByteWriter& out, const Entry& entry);

    Spool& output_;
    std::vector<Entry> entries_;
};

}  // namespace qbsvrl6

#endif
