#include "qbreport/burst/distinct.h"

#include <utility>

#include "qbreport/burst/digest.h"

namespace qbreport {

Distinct::Answer Distinct::add(const std::string& text) {
    if (remembers_) {
        const std::string digits = digestOf(text);
        const Hash hash{std::stoull(digits.substr(0, 16), nullptr, 16) | 1,
                        std::stoull(digits.substr(16, 16), nullptr, 16)};
        return remember(hash) ? Answer::New : Answer::Known;
    }
    if (!isFirst_ && text == last_) return Answer::Known;
    ascends_ = ascends_ && (isFirst_ || text > last_);
    ascendsByLength_ =
        ascendsByLength_ && (isFirst_ || std::pair(text.size(), text) > std::pair(last_.size(), last_));
    isFirst_ = false;
    last_ = text;
    return ascends_ || ascendsByLength_ ? Answer::New : Answer::Unknown;
}

bool Distinct::remember(const Hash& hash) {
    if (hashes_.size() < 2 * (count_ + 1)) {
        std::vector<Hash> before(hashes_.empty() ? 1024 : 2 * hashes_.size());
        std::swap(before, hashes_);
        count_ = 0;
        for (const Hash& known : before) {
            if (known[0] != 0) remember(known);
        }
    }
    std::size_t place = static_cast<std::size_t>(hash[1]) & (hashes_.size() - 1);
    for (; hashes_[place][0] != 0; place = (place + 1) & (hashes_.size() - 1)) {
        if (hashes_[place] == hash) return false;
    }
    hashes_[place] = hash;
    ++count_;
    return true;
}

}  // namespace qbreport
