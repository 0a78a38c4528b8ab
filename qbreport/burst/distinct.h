// Whether texts occur once.
#ifndef QBSVR_QBREPORT_BURST_DISTINCT_H
#define QBSVR_QBREPORT_BURST_DISTINCT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qbreport {

// Texts that ascend, character by character or as numbers do, are distinct, and nothing but the last one has
// to be known. In any other order, each takes up to 48 bytes.
class Distinct {
public:
    // `remembers`: texts may be in any order.
    explicit Distinct(bool remembers) : remembers_(remembers) {}

    enum class Answer { New, Known, Unknown };  // Unknown: the texts do not ascend, and were not remembered
    Answer add(const std::string& text);

private:
    using Hash = std::array<std::uint64_t, 2>;

    bool remember(const Hash& hash);

    bool remembers_;
    bool isFirst_ = true;
    bool ascends_ = true;
    bool ascendsByLength_ = true;
    std::string last_;
    std::vector<Hash> hashes_;  // by their first bits; zeros are free places
    std::size_t count_ = 0;
};

}  // namespace qbreport

#endif
