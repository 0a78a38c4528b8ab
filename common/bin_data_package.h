// A block of bytes that remembers the sizes of the pieces it was put together from.
#ifndef QBSVR_COMMON_BIN_DATA_PACKAGE_H
#define QBSVR_COMMON_BIN_DATA_PACKAGE_H

#include <vector>

#include "common/memory.h"

namespace larkspur {

class ClkBinDataPackage : private ClkMemory {
public:
    // Both take over a block of memalloc. DirectAttach raises ClkException of type 1 when n is not the sum of
    // sizes, or sizes are given without a block; the package is empty then and the block stays the
    // caller's.
    void Attach(void* block, int n);
    void DirectAttach(void* block, int n, const std::vector<int>& sizes);

    void AssignData(const void* data, int n);  // becomes one package, a copy of the data
    void AppendData(const void* data, int n);  // adds one package
    void ShrinkToFirstPackage();

    // Passes the block to the caller, who frees it with memfree.
    void* Detach(int& n);

    using ClkMemory::Data;
    using ClkMemory::Size;
    const std::vector<int>& PackageSizes() const { return m_PackageSizes; }

private:
    std::vector<int> m_PackageSizes;
};

}  // namespace larkspur

#endif
