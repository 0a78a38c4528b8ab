// The bytes of requests and answers that are in memory, of all connections together.
#ifndef QBSVR_QBREPORT_HTTP_BUFFER_ACCOUNT_H
#define QBSVR_QBREPORT_HTTP_BUFFER_ACCOUNT_H

#include <atomic>
#include <cstddef>

namespace qbreport {

class BufferAccount {
public:
    explicit BufferAccount(std::size_t most) : most_(most) {}

    std::size_t used() const { return used_; }
    // Returns false, and adds nothing, if there would be more than allowed.
    bool add(std::size_t bytes) {
        if (used_.fetch_add(bytes) + bytes <= most_) return true;
        used_ -= bytes;
        return false;
    }
    void remove(std::size_t bytes) { used_ -= bytes; }

private:
    std::size_t most_;
    std::atomic<std::size_t> used_ = 0;
};

}  // namespace qbreport

#endif
