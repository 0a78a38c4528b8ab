// Names, numbered in the order in which they first occur.
#ifndef QBSVR_QBSVRL6_BIND_NAME_LIST_H
#define QBSVR_QBSVRL6_BIND_NAME_LIST_H

#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "qbsvrl6/support/keyed_hash.h"

namespace qbsvrl6 {

class NameList {
public:
    std::size_t indexOf(const std::u16string& name) {
        const auto known = indexes_.find(name);
        if (known != indexes_.end()) return known->second;
        indexes_.emplace(name, names_.size());
        names_.push_back(name);
        return names_.size() - 1;
    }
    std::size_t size() const { return names_.size(); }
    const std::vector<std::u16string>& names() const& { return names_; }
    std::vector<std::u16string> names() && { return std::move(names_); }

private:
    std::unordered_map<std::u16string, std::size_t, KeyedHash> indexes_;
    std::vector<std::u16string> names_;
};

}  // namespace qbsvrl6

#endif
