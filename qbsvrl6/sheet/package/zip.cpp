// The ZIP format (APPNOTE.TXT), without encryption, comments and ZIP64:
//   for each entry   local header, name, bytes
//   for each entry   central header, name
//   end              end of central directory record
#include "qbsvrl6/sheet/package/zip.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <utility>

#include "qbsvrl6/support/byte_writer.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/igzip.h"

namespace qbsvrl6 {

namespace {

using u16 = std::uint16_t;
using u32 = std::uint32_t;

constexpr u32 kLocalHeader = 0x04034B50;
constexpr u32 kCentralHeader = 0x02014B50;
constexpr u32 kEndOfDirectory = 0x06054B50;

constexpr u16 kStored = 0;
constexpr u16 kDeflated = 8;
constexpr u16 kVersion = 20;  // 2.0

// The latest small parts of the thread's packages. Documents of one kind have most of them in common: the list of
// types, relations, styles.
class KnownParts {
public:
    static constexpr std::size_t kMostBytes = 16 * 1024;

    struct Part {
        std::string bytes;
        std::string compressed;
        u32 crc = 0;
    };

    const Part* find(std::string_view bytes) const {
        const auto found = std::find_if(parts_.begin(), parts_.end(),
                                        [bytes](const Part& part) { return part.bytes == bytes; });
        return found != parts_.end() && !bytes.empty() ? &*found : nullptr;
    }
    void add(Part part) {
        parts_[next_] = std::move(part);
        next_ = (next_ + 1) % parts_.size();
    }

private:
    std::array<Part, 16> parts_;
    std::size_t next_ = 0;
};

}  // namespace

struct DeflateStream::State {
    isal_zstream stream;
    igzip::LevelBuffer levelBuffer;

    State() {
        igzip::beginStream(stream);
        stream.level = igzip::kLevel;
        stream.level_buf = levelBuffer.data();
        stream.level_buf_size = static_cast<u32>(levelBuffer.size());
        stream.gzip_flag = IGZIP_DEFLATE;  // no header
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    // The state of a stream of the thread that has ended, or a new one, whose memory the system would have to
    // provide for each document.
    static std::unique_ptr<State> take() {
        if (spare.empty()) return std::make_unique<State>();
        std::unique_ptr<State> state = std::move(spare.back());
        spare.pop_back();
        igzip::resetStream(state->stream);
        state->stream.flush = NO_FLUSH;
        state->stream.end_of_stream = 0;
        return state;
    }
    static void giveBack(std::unique_ptr<State> state) {
        constexpr std::size_t kMostSpare = 2;  // a sheet has two streams
        if (spare.size() < kMostSpare) spare.push_back(std::move(state));
    }
    static thread_local std::vector<std::unique_ptr<State>> spare;

    void run(std::string_view bytes, Spool& out) {
        std::array<unsigned char, 16 * 1024> block;
        stream.next_in = reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data()));  // only read
        stream.avail_in = static_cast<u32>(bytes.size());
        do {
            stream.next_out = block.data();
            stream.avail_out = static_cast<u32>(block.size());
            igzip::deflate(stream);
            out.append({reinterpret_cast<const char*>(block.data()), block.size() - stream.avail_out});
        } while (stream.avail_out == 0);
    }
};

thread_local std::vector<std::unique_ptr<DeflateStream::State>> DeflateStream::State::spare;

DeflateStream::DeflateStream() : state_(State::take()) {}
DeflateStream::~DeflateStream() = default;
DeflateStream::DeflateStream(DeflateStream&&) noexcept = default;
DeflateStream& DeflateStream::operator=(DeflateStream&&) noexcept = default;

void DeflateStream::append(std::string_view bytes) {
    crc_ = igzip::checksum(crc_, bytes);
    size_ += bytes.size();
    constexpr std::size_t kStep = 1u << 30;  // the stream counts in 32 bits
    for (; bytes.size() > kStep; bytes.remove_prefix(kStep)) {
        state_->run(bytes.substr(0, kStep), compressed_);
    }
    state_->run(bytes, compressed_);
}

// A full flush ends on a byte boundary, and nothing after it refers to earlier bytes.
void DeflateStream::end(bool isLast) {
    state_->stream.flush = isLast ? NO_FLUSH : FULL_FLUSH;
    state_->stream.end_of_stream = isLast ? 1 : 0;
    state_->run({}, compressed_);
    State::giveBack(std::move(state_));
}

ZipWriter::ZipWriter(Spool& output) : output_(output) {}

// The fields of an entry that both of its headers have:
//   u16 version that reads it | u16 flags | u16 method | u16 time | u16 date
//   u32 checksum | u32 compressed size | u32 size | u16 length of the name
void ZipWriter::putCommonFields(ByteWriter& out, const Entry& entry) {
    constexpr u16 kNoFlags = 0;
    constexpr u16 kMidnight = 0;
    constexpr u16 kFirstDay = 0x21;  // 1980-01-01, the earliest date of the format
    out.put(kVersion, kNoFlags, entry.method, kMidnight, kFirstDay, entry.crc,
            static_cast<u32>(entry.compressedSize), static_cast<u32>(entry.size),
            static_cast<u16>(entry.name.size()));
}

void ZipWriter::begin(Entry entry) {
    entry.offset = output_.size();
    if ((entry.size | entry.compressedSize | (entry.offset + entry.compressedSize)) >= UINT32_MAX) {
        throw EngineError(ErrorCode::LimitExceeded, "the document is larger than 4 GiB");
    }
    // Local header:
    //   u32 signature | the common fields | u16 length of extra fields | name
    ByteWriter out(output_.end());
    out.put(kLocalHeader);
    putCommonFields(out, entry);
    out.put(u16{0}).bytes(entry.name);
    output_.writeIfLarge();
    entries_.push_back(std::move(entry));
}

void ZipWriter::add(const std::string& name, std::string_view bytes) {
    thread_local KnownParts known;
    if (const KnownParts::Part* part = known.find(bytes)) {
        begin({name, kDeflated, part->crc, part->compressed.size(), bytes.size()});
        output_.append(part->compressed);
        return;
    }
    DeflateStream stream;
    stream.append(bytes);
    stream.end(true);
    begin({name, kDeflated, stream.crc_, stream.compressed_.size(), stream.size_});
    if (bytes.size() > KnownParts::kMostBytes) {
        output_.append(std::move(stream.compressed_));
        return;
    }
    KnownParts::Part part{std::string(bytes), stream.compressed_.take(), stream.crc_};
    output_.append(part.compressed);
    known.add(std::move(part));
}

void ZipWriter::addStored(const std::string& name, std::string_view bytes) {
    begin({name, kStored, igzip::checksum(0, bytes), bytes.size(), bytes.size()});
    output_.append(bytes);
}

void ZipWriter::add(const std::string& name, DeflateStream first, DeflateStream second) {
    first.end(false);
    second.end(true);
    const auto crc = static_cast<std::uint32_t>(
        crc32_combine(first.crc_, second.crc_, static_cast<z_off_t>(second.size_)));
    begin({name, kDeflated, crc, first.compressed_.size() + second.compressed_.size(),
           first.size_ + second.size_});
    output_.append(std::move(first.compressed_));
    output_.append(std::move(second.compressed_));
}

void ZipWriter::finish() {
    const std::uint64_t start = output_.size();
    ByteWriter out(output_.end());
    for (const Entry& entry : entries_) {
        // Central header:
        //   u32 signature | u16 version that wrote it | the common fields
        //   u16 lengths of extra fields and comment | u16 disk | u16, u32 attributes | u32 offset of the local
        //   header | name
        out.put(kCentralHeader, kVersion);
        putCommonFields(out, entry);
        out.put(u16{0}, u16{0}, u16{0}, u16{0}, u32{0}, static_cast<u32>(entry.offset)).bytes(entry.name);
    }
    // End of the central directory:
    //   u32 signature | u16 this disk, disk of the directory | u16 entries on this disk, in all
    //   u32 bytes of the directory, its offset | u16 length of the comment
    const auto count = static_cast<u16>(entries_.size());
    const auto bytes = static_cast<u32>(output_.size() - start);
    out.put(kEndOfDirectory, u16{0}, u16{0}, count, count, bytes, static_cast<u32>(start), u16{0});
}

}  // namespace qbsvrl6
