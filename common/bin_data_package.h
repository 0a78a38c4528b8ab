// A block of bytes that records the sizes of the packages that it consists of.
#ifndef QBSVR_COMMON_BIN_DATA_PACKAGE_H
#define QBSVR_COMMON_BIN_DATA_PACKAGE_H

#include <vector>

#include "common/memory.h"

namespace larkspur {

class ClkBinDataPackage : private ClkMemory {
public:
    // Both take ownership of a block from memalloc. DirectAttach raises ClkException of type 1 if n is not
    // the sum of the sizes, or if sizes are given without a block; the object is then empty and the block
    // still belongs to the caller.
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
