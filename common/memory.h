// Allocation that never returns null, and the block of bytes that converters and file functions return.
#ifndef QBSVR_COMMON_MEMORY_H
#define QBSVR_COMMON_MEMORY_H

#include <cstddef>

#include "common/text.h"

namespace larkspur {

// All three work on the C allocator. Out of memory and negative sizes raise std::bad_alloc.
void* memalloc(int size);
void* memrealloc(void* block, int size);  // size 0 on a live block frees it and raises
void memfree(void* block);                // null does nothing

// The offset of an address in a block of `size` bytes, or -1 outside. For data that is appended to its own
// block: growing may move it.
std::ptrdiff_t OffsetInBlock(const void* block, int size, const void* address);

class ClkNonCopyable {
public:
    ClkNonCopyable() = default;
    ClkNonCopyable(const ClkNonCopyable&) = delete;
    ClkNonCopyable& operator=(const ClkNonCopyable&) = delete;
};

// Owns a block of bytes. The size of text in it includes its zero terminator.
class ClkMemory : public ClkNonCopyable {
public:
    ClkMemory() = default;
    virtual ~ClkMemory();

    // Keeps the old bytes up to the smaller size; new ones are undefined. A size below 1 frees the block.
    void SetSize(int size);
    void Clear();
    void Swap(ClkMemory& other) noexcept;

    int Size() const { return m_Size; }
    void* Data() const { return m_Data; }  // null when the size is 0

protected:
    int m_Size = 0;
    void* m_Data = nullptr;
};

// A block that can be loaded and saved: LoadBinDataFromLocalFile and SaveBinDataToLocalFile.
class ClkBinaryData : public ClkMemory {
public:
    void LoadFromFile(const lkchar* path);
    void SaveToFile(const lkchar* path);
};

}  // namespace larkspur

#endif
