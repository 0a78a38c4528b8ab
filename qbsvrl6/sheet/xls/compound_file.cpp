// Version 3, sectors of 512 bytes, written in this order:
//   header | the stream's sectors | directory | allocation table (FAT) | its further list (DIFAT)
// A sector's entry in the allocation table is the number of the next one of its chain. The header lists the
// first 109 sectors of the table itself; the further list names the others.
#include "qbsvrl6/sheet/xls/compound_file.h"

#include <cstdint>

#include "qbsvrl6/support/append.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kSectorBytes = 512;
constexpr std::size_t kEntriesPerSector = kSectorBytes / 4;
constexpr std::size_t kTableSectorsInHeader = 109;
constexpr std::size_t kFurtherPerSector = kEntriesPerSector - 1;  // the last entry leads to the next sector
// A shorter stream would have to live in a container of its own.
constexpr std::size_t kLeastStreamBytes = 4096;

constexpr std::uint32_t kFurtherSector = 0xFFFFFFFC;
constexpr std::uint32_t kTableSector = 0xFFFFFFFD;
constexpr std::uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr std::uint32_t kFree = 0xFFFFFFFF;

std::size_t divideUp(std::size_t a, std::size_t b) { return (a + b - 1) / b; }

struct Shape {
    std::size_t streamSectors, tableSectors, furtherSectors;

    std::size_t directory() const { return streamSectors; }
    std::size_t table() const { return streamSectors + 1; }
    std::size_t further() const { return table() + tableSectors; }
    std::size_t count() const { return further() + furtherSectors; }
};

// The table lists its own sectors too, so that its size is found by growing it.
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

void putHeader(std::string& out, const Shape& shape) {
    appendLittleEndian(out, 8, 0xE11AB1A1E011CFD0);  // the container's mark
    out.append(16, '\0');
    appendLittleEndian(out, 2, 0x3E);    // minor version
    appendLittleEndian(out, 2, 3);       // major version
    appendLittleEndian(out, 2, 0xFFFE);  // little-endian
    appendLittleEndian(out, 2, 9);       // sectors of 2^9 bytes
    appendLittleEndian(out, 2, 6);       // and small ones of 2^6
    out.append(6, '\0');
    appendLittleEndian(out, 4, 0);  // directory sectors, not counted in this version
    appendLittleEndian(out, 4, shape.tableSectors);
    appendLittleEndian(out, 4, shape.directory());
    appendLittleEndian(out, 4, 0);
    appendLittleEndian(out, 4, kLeastStreamBytes);
    appendLittleEndian(out, 4, kEndOfChain);  // no small sectors
    appendLittleEndian(out, 4, 0);
    appendLittleEndian(out, 4, shape.furtherSectors > 0 ? shape.further() : kEndOfChain);
    appendLittleEndian(out, 4, shape.furtherSectors);
    for (std::size_t i = 0; i < kTableSectorsInHeader; ++i) {
        appendLittleEndian(out, 4, i < shape.tableSectors ? shape.table() + i : kFree);
    }
}

void putDirectoryEntry(std::string& out, std::u16string_view name, int type, std::uint32_t child,
                       std::uint32_t start, std::size_t size) {
    for (std::size_t i = 0; i < 32; ++i) appendLittleEndian(out, 2, i < name.size() ? name[i] : 0);
    appendLittleEndian(out, 2, name.empty() ? 0 : 2 * (name.size() + 1));
    appendLittleEndian(out, 1, static_cast<std::uint64_t>(type));
    appendLittleEndian(out, 1, 1);      // black, in a tree of one
    appendLittleEndian(out, 4, kFree);  // no siblings
    appendLittleEndian(out, 4, kFree);
    appendLittleEndian(out, 4, child);
    out.append(36, '\0');  // class, state and times
    appendLittleEndian(out, 4, start);
    appendLittleEndian(out, 8, size);
}

void putDirectory(std::string& out, std::u16string_view streamName, std::size_t streamBytes) {
    putDirectoryEntry(out, u"Root Entry", 5, 1, kEndOfChain, 0);
    putDirectoryEntry(out, streamName, 2, kFree, 0, streamBytes);
    putDirectoryEntry(out, {}, 0, kFree, 0, 0);
    putDirectoryEntry(out, {}, 0, kFree, 0, 0);
}

void putTable(std::string& out, const Shape& shape) {
    for (std::size_t sector = 0; sector + 1 < shape.streamSectors; ++sector)
        appendLittleEndian(out, 4, sector + 1);
    appendLittleEndian(out, 4, kEndOfChain);  // of the stream
    appendLittleEndian(out, 4, kEndOfChain);  // of the directory
    for (std::size_t i = 0; i < shape.tableSectors; ++i) appendLittleEndian(out, 4, kTableSector);
    for (std::size_t i = 0; i < shape.furtherSectors; ++i) appendLittleEndian(out, 4, kFurtherSector);
    for (std::size_t i = shape.count(); i < shape.tableSectors * kEntriesPerSector; ++i)
        appendLittleEndian(out, 4, kFree);
}

void putFurtherList(std::string& out, const Shape& shape) {
    for (std::size_t sector = 0; sector < shape.furtherSectors; ++sector) {
        for (std::size_t i = 0; i < kFurtherPerSector; ++i) {
            const std::size_t index = kTableSectorsInHeader + sector * kFurtherPerSector + i;
            appendLittleEndian(out, 4, index < shape.tableSectors ? shape.table() + index : kFree);
        }
        appendLittleEndian(out, 4,
                           sector + 1 < shape.furtherSectors ? shape.further() + sector + 1 : kEndOfChain);
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
    putHeader(output, shape);
    for (std::string& part : parts) {
        output += part;
        part = {};
    }
    output.append(shape.streamSectors * kSectorBytes - size, '\0');
    putDirectory(output, streamName, streamBytes);
    putTable(output, shape);
    putFurtherList(output, shape);
}

}  // namespace qbsvrl6
