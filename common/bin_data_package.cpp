#include "common/bin_data_package.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <numeric>
#include <utility>

#include "common/errors.h"

namespace larkspur {

void ClkBinDataPackage::Attach(void* block, int n) {
    n = block == nullptr ? 0 : std::max(n, 0);
    DirectAttach(block, n, {n});
}

void ClkBinDataPackage::DirectAttach(void* block, int n, const std::vector<int>& sizes) {
    std::vector<int> newSizes = sizes;  // which may be this package's own
    Clear();
    m_PackageSizes.clear();
    const std::int64_t sum = std::accumulate(newSizes.begin(), newSizes.end(), std::int64_t{0});
    if (n != sum || n < 0 || (n > 0 && block == nullptr)) {
        throw ClkException(LKExceptionArgument, "DataBytes in BinDataPackage::DirectAttach.");
    }
    m_Data = block;
    m_Size = n;
    m_PackageSizes = std::move(newSizes);
}

void ClkBinDataPackage::AssignData(const void* data, int n) {
    ClkMemory copy;
    if (data != nullptr) copy.SetSize(n);
    if (copy.Size() > 0) std::memcpy(copy.Data(), data, static_cast<std::size_t>(copy.Size()));
    m_PackageSizes.assign(1, copy.Size());
    Swap(copy);
}

void ClkBinDataPackage::AppendData(const void* data, int n) {
    n = data == nullptr ? 0 : std::max(n, 0);
    if (n > INT_MAX - m_Size) throw std::bad_alloc();
    m_PackageSizes.reserve(m_PackageSizes.size() + 1);
    if (n > 0) {
        const int oldSize = m_Size;
        const std::ptrdiff_t own = OffsetInBlock(m_Data, oldSize, data);
        SetSize(oldSize + n);
        auto* const bytes = static_cast<unsigned char*>(m_Data);
        std::memmove(bytes + oldSize, own < 0 ? data : bytes + own, static_cast<std::size_t>(n));
    }
    m_PackageSizes.push_back(n);
}

void ClkBinDataPackage::ShrinkToFirstPackage() {
    if (m_PackageSizes.size() < 2) return;
    SetSize(m_PackageSizes.front());
    m_PackageSizes.assign(1, m_Size);
}

void* ClkBinDataPackage::Detach(int& n) {
    m_PackageSizes.clear();
    n = m_Size;
    m_Size = 0;
    return std::exchange(m_Data, nullptr);
}

}  // namespace larkspur
