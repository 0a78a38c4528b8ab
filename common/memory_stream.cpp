#include "common/memory_stream.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>

#include "common/errors.h"

namespace larkspur {

namespace {

constexpr int kFirstGrowth = 51200;
constexpr int kLargestDoubling = 1024000;

int CheckedSum(int a, int b) {
    if (a > INT_MAX - b) throw std::bad_alloc();
    return a + b;
}

}  // namespace

ClkMemoryStream::~ClkMemoryStream() { memfree(m_Data); }

int ClkMemoryStream::Reset() {
    memfree(m_Data);
    m_Data = nullptr;
    m_Capacity = m_Size = m_Position = 0;
    return 0;
}

int ClkMemoryStream::Read(void* to, int n) {
    n = to == nullptr ? 0 : std::clamp(n, 0, m_Size - m_Position);
    if (n > 0) std::memcpy(to, m_Data + m_Position, static_cast<std::size_t>(n));
    m_Position += n;
    return n;
}

unsigned char ClkMemoryStream::ReadC() {
    if (m_Position >= m_Size) throw ClkException(LKExceptionArgument, "ClkMemoryStream::ReadC");
    return m_Data[m_Position++];
}

int ClkMemoryStream::Write(const void* data, int n) {
    if (data == nullptr || n < 1) return 0;
    const std::ptrdiff_t own = OffsetInBlock(m_Data, m_Capacity, data);
    Reserve(m_Position, n);
    if (own >= 0) data = m_Data + own;
    std::memmove(m_Data + m_Position, data, static_cast<std::size_t>(n));
    m_Position += n;
    m_Size = std::max(m_Size, m_Position);
    return 0;
}

int ClkMemoryStream::AppendData(const void* data, int n) {
    m_Position = m_Size;
    return Write(data, n);
}

int ClkMemoryStream::WriteC(unsigned char value) {
    if (m_Position >= m_Capacity) ExpandBuffer(std::max(m_Capacity / 4, 256));
    m_Data[m_Position++] = value;
    m_Size = std::max(m_Size, m_Position);
    return 0;
}

int ClkMemoryStream::AppendTrailData(unsigned char value, int count) {
    count = std::max(count, 0);
    const int newSize = CheckedSum(m_Size, count);
    if (m_Capacity < newSize) Resize(newSize);
    if (count > 0) std::memset(m_Data + m_Size, value, static_cast<std::size_t>(count));
    m_Size = m_Position = newSize;
    return 0;
}

int ClkMemoryStream::Seek(int offset, int origin) {
    const std::int64_t start = origin == 0 ? 0 : origin == 1 ? m_Position : m_Size;
    const std::int64_t wanted = origin == 0 || origin == 1 ? start + offset : start - offset;
    if (wanted > INT_MAX) throw std::bad_alloc();
    const int target = static_cast<int>(std::max<std::int64_t>(wanted, 0));
    if (target > m_Size) {
        Reserve(m_Size, target - m_Size);
        m_Size = target;
    }
    m_Position = target;
    return 0;
}

int ClkMemoryStream::Resize(int capacity) {
    capacity = std::max(capacity, 0);
    if (capacity == 0 && m_Data != nullptr) {
        // A live block can't become one of no bytes: the allocator frees it and returns null.
        Reset();
        throw std::bad_alloc();
    }
    m_Data = static_cast<unsigned char*>(memrealloc(m_Data, capacity));
    m_Capacity = capacity;
    m_Size = std::min(m_Size, capacity);
    m_Position = std::min(m_Position, m_Size);
    return 0;
}

int ClkMemoryStream::ExpandBuffer(int n) {
    int growth = kFirstGrowth;
    if (m_Capacity > 0) {
        const std::int64_t twice = 2 * static_cast<std::int64_t>(n);
        growth = static_cast<int>(
            std::clamp<std::int64_t>(twice, std::min(m_Capacity, kLargestDoubling), INT_MAX));
    }
    return Resize(CheckedSum(m_Capacity, growth));
}

// Makes room for n bytes at a position. One step of growth may be less than a large request needs.
void ClkMemoryStream::Reserve(int position, int n) {
    const int needed = CheckedSum(position, n);
    if (needed > m_Capacity) ExpandBuffer(n);
    if (needed > m_Capacity) Resize(needed);
}

void* ClkMemoryStream::Detach(int& n) {
    n = m_Size;
    if (m_Capacity > m_Size) Resize(m_Size);
    void* const block = m_Data;
    m_Data = nullptr;
    Reset();
    return block;
}

void ClkMemoryStream::AttachData(void* block, int n) {
    Reset();
    m_Data = static_cast<unsigned char*>(block);
    m_Capacity = m_Size = m_Position = block == nullptr ? 0 : std::max(n, 0);
}

}  // namespace larkspur
