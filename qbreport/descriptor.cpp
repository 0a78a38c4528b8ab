#include "qbreport/descriptor.h"

#include <unistd.h>

#include <utility>

namespace qbreport {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
}

void Descriptor::close() {
    if (number_ >= 0) ::close(number_);
    number_ = -1;
}

}  // namespace qbreport
