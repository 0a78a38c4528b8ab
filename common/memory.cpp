#include "common/memory.h"

#include <cstdlib>
#include <functional>
#include <new>
#include <utility>

#include "common/files.h"

namespace larkspur {

void* memalloc(int size) { return memrealloc(nullptr, size); }

void* memrealloc(void* block, int size) {
    void* const result = size < 0 ? nullptr : std::realloc(block, static_cast<std::size_t>(size));
    if (result == nullptr) throw std::bad_alloc();
    return result;
}

void memfree(void* block) { std::free(block); }

std::ptrdiff_t OffsetInBlock(const void* block, int size, const void* address) {
    const std::less<const void*> before;
    const char* const start = static_cast<const char*>(block);
    if (block == nullptr || before(address, start) || !before(address, start + size)) return -1;
    return static_cast<const char*>(address) - start;
}

ClkMemory::~ClkMemory() { memfree(m_Data); }

void ClkMemory::SetSize(int size) {
    if (size < 1) {
        Clear();
        return;
    }
    m_Data = memrealloc(m_Data, size);
    m_Size = size;
}

void ClkMemory::Clear() {
    memfree(m_Data);
    m_Data = nullptr;
    m_Size = 0;
}

void ClkMemory::Swap(ClkMemory& other) noexcept {
    std::swap(m_Size, other.m_Size);
    std::swap(m_Data, other.m_Data);
}

void ClkBinaryData::LoadFromFile(const lkchar* path) { LoadBinDataFromLocalFile(path, *this); }
void ClkBinaryData::SaveToFile(const lkchar* path) { SaveBinDataToLocalFile(path, m_Data, m_Size); }

}  // namespace larkspur
