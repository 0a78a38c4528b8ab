// A file descriptor that is closed by the destructor.
#ifndef QBSVR_QBSVRL6_SUPPORT_DESCRIPTOR_H
#define QBSVR_QBSVRL6_SUPPORT_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace qbsvrl6 {

class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (valid()) ::close(number_);
    }

    bool valid() const { return number_ >= 0; }
    int number() const { return number_; }

private:
    int number_;
};

}  // namespace qbsvrl6

#endif
