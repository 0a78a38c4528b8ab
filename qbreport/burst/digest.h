// SHA-256 of bytes.
#ifndef QBSVR_QBREPORT_BURST_DIGEST_H
#define QBSVR_QBREPORT_BURST_DIGEST_H

#include <nettle/sha2.h>

#include <string>
#include <string_view>

namespace qbreport {

class Digest {
public:
    Digest();
    void add(std::string_view bytes);
    // In lower-case hexadecimal digits. The digest starts anew.
    std::string hex();

private:
    sha256_ctx state_;
};

std::string digestOf(std::string_view bytes);
// Raises Failure if the file cannot be read.
std::string digestOfFile(const std::string& path);

}  // namespace qbreport

#endif
