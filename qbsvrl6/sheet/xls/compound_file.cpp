// Version 3, sectors of 512 bytes, written in this order:
//   header | the stream's sectors | directory | allocation table (FAT) | list of its further sectors (DIFAT)
// A sector's entry in the allocation table is the number of the next one of its chain. The header lists the
// first 109 sectors of the table itself; the further list names the others.
#include "qbsvrl6/sheet/xls/compound_file.h"

#include <cstdint>

#include "qbsvrl6/support/byte_writer.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

constexpr std::size_t kSectorBytes = 512;
constexpr std::size_t kEntriesPerSector = kSectorBytes / 4;
constexpr std::size_t kTableSectorsInHeader = 109;
constexpr std::size_t kFurtherPerSector = kEntriesPerSector - 1;  // the last entry leads to the next sector
// A shorter stream would have to be in a container inside the container.
constexpr std::size_t kLeastStreamBytes = 4096;

constexpr u32 kFurtherSector = 0xFFFFFFFC;
constexpr u32 kTableSector = 0xFFFFFFFD;
constexpr u32 kEndOfChain = 0xFFFFFFFE;
constexpr u32 kFree = 0xFFFFFFFF;

// The number of a sector, or of sectors: below 2^22, because a container is smaller than 2 GiB.
u32 number(std::size_t sector) { return static_cast<u32>(sector); }

std::size_t divideUp(std::size_t a, std::size_t b) { return (a + b - 1) / b; }

struct Shape {
    std::size_t streamSectors, tableSectors, furtherSectors;

    std::size_t directory() const { return streamSectors; }
    std::size_t table() const { return streamSectors + 1; }
    std::size_t further() const { return table() + tableSectors; }
    std::size_t count() const { return further() + furtherSectors; }
};

// The table lists its own sectors as well, so its size is found by trying larger and larger ones.
Shape shapeFor(std::size_t streamBytes) {
    Shape shape{divideUp(streamBytes, kSectorBytes), 0, 0};
    while (shape.tableSectors * kEntriesPerSector < shape.count()) {
        ++shape.tableSectors;
        const std::size_t beyond =
            shape.tableSectors > kTableSectorsInHeader ? shape.tableSectors - kTableSectorsInHeader : 0;
        shape.furtherSectors = divideUp(beyond, kFurtherPerSector);
    }
    return shape;
}

// Header, 512 bytes:
//   u64 signature | 16 bytes class | u16 minor, major version | u16 byte order | u16 sector size, small sector
//   size (powers of 2) | 6 bytes | u32 directory sectors | u32 table sectors | u32 directory | u32 transaction
//   u32 smallest size of a stream in full sectors | u32 first sector, count of the small sectors' table
//   u32 first sector, count of the table's further list | 109 u32 sectors of the table
void putHeader(ByteWriter& out, const Shape& shape) {
    constexpr u64 kSignature = 0xE11AB1A1E011CFD0;
    constexpr u16 kMinorVersion = 0x3E;
    constexpr u16 kMajorVersion = 3;
    constexpr u16 kLittleEndian = 0xFFFE;
    constexpr u16 kSectorShift = 9;
    constexpr u16 kSmallSectorShift = 6;
    constexpr u32 kNotCounted = 0;
    out.put(kSignature)
        .zeros(16)
        .put(kMinorVersion, kMajorVersion, kLittleEndian, kSectorShift, kSmallSectorShift);
    out.zeros(6).put(kNotCounted, number(shape.tableSectors), number(shape.directory()), u32{0});
    out.put(number(kLeastStreamBytes), kEndOfChain, u32{0});
    out.put(shape.furtherSectors > 0 ? number(shape.further()) : kEndOfChain, number(shape.furtherSectors));
    for (std::size_t i = 0; i < kTableSectorsInHeader; ++i) {
        out.put(i < shape.tableSectors ? number(shape.table() + i) : kFree);
    }
}

enum class EntryType : u8 { None = 0, Stream = 2, Root = 5 };

// Directory entry, 128 bytes:
//   32 u16 name | u16 bytes of the name with its zero | u8 type | u8 colour | u32 left, right sibling, child
//   16 bytes class | u32 state | u64 times of creation and change | u32 first sector | u64 bytes
void putDirectoryEntry(ByteWriter& out, std::u16string_view name, EntryType type, u32 child, u32 start,
                       std::size_t size) {
    constexpr std::size_t kNameUnits = 32;
    constexpr u8 kBlack = 1;  // in a tree of one
    const std::size_t nameBytes = name.empty() ? 0 : 2 * (name.size() + 1);
    out.utf16(name).zeros(2 * (kNameUnits - name.size()));
    out.put(static_cast<u16>(nameBytes), static_cast<u8>(type), kBlack, kFree, kFree, child);
    out.zeros(36).put(start, static_cast<u64>(size));
}

// A sector has four entries.
void putDirectory(ByteWriter& out, std::u16string_view streamName, std::size_t streamBytes) {
    constexpr u32 kStreamEntry = 1;
    putDirectoryEntry(out, u"Root Entry", EntryType::Root, kStreamEntry, kEndOfChain, 0);
    putDirectoryEntry(out, streamName, EntryType::Stream, kFree, 0, streamBytes);
    putDirectoryEntry(out, {}, EntryType::None, kFree, 0, 0);
    putDirectoryEntry(out, {}, EntryType::None, kFree, 0, 0);
}

void putTable(ByteWriter& out, const Shape& shape) {
    for (std::size_t sector = 0; sector + 1 < shape.streamSectors; ++sector) out.put(number(sector + 1));
    out.put(kEndOfChain);  // of the stream
    out.put(kEndOfChain);  // of the directory
    for (std::size_t i = 0; i < shape.tableSectors; ++i) out.put(kTableSector);
    for (std::size_t i = 0; i < shape.furtherSectors; ++i) out.put(kFurtherSector);
    for (std::size_t i = shape.count(); i < shape.tableSectors * kEntriesPerSector; ++i) out.put(kFree);
}

void putFurtherList(ByteWriter& out, const Shape& shape) {
    for (std::size_t sector = 0; sector < shape.furtherSectors; ++sector) {
        for (std::size_t i = 0; i < kFurtherPerSector; ++i) {
            const std::size_t index = kTableSectorsInHeader + sector * kFurtherPerSector + i;
            out.put(index < shape.tableSectors ? number(shape.table() + index) : kFree);
        }
        const bool isLast = sector + 1 == shape.furtherSectors;
        out.put(isLast ? kEndOfChain : number(shape.further() + sector + 1));
    }
}

}  // namespace

void writeCompoundFile(std::string& output, std::u16string_view streamName, std::vector<std::string> parts) {
    std::size_t size = 0;
    for (const std::string& part : parts) size += part.size();
    if (size > INT32_MAX - (64u << 20)) {
        throw EngineError(ErrorCode::LimitExceeded, "the workbook is larger than 2 GiB");
    }
    const std::size_t streamBytes = std::max(size, kLeastStreamBytes);
    const Shape shape = shapeFor(streamBytes);
    output.reserve(output.size() + (shape.count() + 1) * kSectorBytes);
    ByteWriter out(output);
    putHeader(out, shape);
    for (std::string& part : parts) {
        output += part;
        part = {};
    }
    out.zeros(shape.streamSectors * kSectorBytes - size);
    putDirectory(out, streamName, streamBytes);
    putTable(out, shape);
    putFurtherList(out, shape);
}

}  // namespace qbsvrl6
