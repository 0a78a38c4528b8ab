// Tells what comes again from what comes once, so that only the former is kept.
#ifndef QBSVR_QBSVRL6_SUPPORT_REPETITION_H
#define QBSVR_QBSVRL6_SUPPORT_REPETITION_H

#include <algorithm>
#include <array>
#include <cstddef>

namespace qbsvrl6 {

// Remembers the hashes of the last things. Things of equal hashes pass for the same one.
class Repetition {
public:
    // Whether the thing was among the last ones; from now on, it is.
    bool isAgain(std::size_t hash) {
        if (std::find(last_.begin(), last_.end(), hash) != last_.end()) return true;
        last_[next_] = hash;
        next_ = (next_ + 1) % last_.size();
        return false;
    }

private:
    std::array<std::size_t, 64> last_{};
    std::size_t next_ = 0;
};

}  // namespace qbsvrl6

#endif
