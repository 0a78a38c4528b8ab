// A growing block of bytes with a read and write position.
#ifndef QBSVR_COMMON_MEMORY_STREAM_H
#define QBSVR_COMMON_MEMORY_STREAM_H

#include "common/memory.h"

namespace larkspur {

// Counts, sizes and positions are in bytes; a negative one reads as 0. Operations that return int, except
// Read, return 0 for success. All that grow the block may raise std::bad_alloc.
class ClkMemoryStream : public ClkNonCopyable {
public:
    ClkMemoryStream() = default;
    ~ClkMemoryStream();

    int Reset();  // frees the block

    int Read(void* to, int n);  // returns the bytes read, fewer than n at the end
    unsigned char ReadC();      // raises ClkException of type 1 at the end

    int Write(const void* data, int n);       // at the position
    int AppendData(const void* data, int n);  // at the end
    int WriteC(unsigned char value);
    int AppendTrailData(unsigned char value, int count);  // count times the value, at the end

    // For callers that have reserved space with Resize: these never grow the block. A byte without space is
    // dropped.
    void AppendByte(unsigned char value) {
        if (m_Size < m_Capacity) m_Data[m_Size++] = value;
        m_Position = m_Size;
    }
    void WriteByte(unsigned char value, int index) {  // anywhere in the capacity; keeps size and position
        if (index >= 0 && index < m_Capacity) m_Data[index] = value;
    }

    // Origin 0 counts from the start, 1 from the position, any other back from the end. A target after the
    // end grows the size; the bytes between are undefined.
    int Seek(int offset, int origin);

    // Reduces size and position if they exceed the capacity. 0 frees a live block and raises std::bad_alloc.
    int Resize(int capacity);
    int ExpandBuffer(int n);  // grows by 50 KiB when empty, else by the capacity up to 1000 KiB or by 2 n

    // Passes the block, cut to the size that n receives, to the caller, who frees it with memfree. The stream
    // is then empty. Raises std::bad_alloc if a live block has size 0.
    void* Detach(int& n);
    void AttachData(void* block, int n);  // owns a block from memalloc; the position is its end

    int Size() const { return m_Size; }
    int Capacity() const { return m_Capacity; }
    int Position() const { return m_Position; }
    void* Data() const { return m_Data; }

private:
    void Reserve(int position, int n);

    unsigned char* m_Data = nullptr;
    int m_Capacity = 0;
    int m_Size = 0;
    int m_Position = 0;
};

}  // namespace larkspur

#endif
