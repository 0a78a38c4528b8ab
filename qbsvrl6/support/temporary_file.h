// A file without a name in the folder for temporary files. It goes with the object, however the process ends.
#ifndef QBSVR_QBSVRL6_SUPPORT_TEMPORARY_FILE_H
#define QBSVR_QBSVRL6_SUPPORT_TEMPORARY_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "qbsvrl6/support/descriptor.h"

namespace qbsvrl6 {

// An object belongs to one thread at a time. All functions raise MachineError with the system's cause: no
// such folder, a full disk.
class TemporaryFile {
public:
    // In $TMPDIR, or else /tmp. `content` names what it holds, for messages: "the rows of the data".
    explicit TemporaryFile(std::string content);

    // Returns the offset of the bytes.
    std::uint64_t append(std::string_view bytes);
    void read(std::uint64_t offset, char* to, std::size_t size) const;
    std::uint64_t size() const { return size_; }
    int descriptor() const { return file_.number(); }

private:
    [[noreturn]] void fail(const std::string& doing, int cause) const;

    std::string content_;
    std::string folder_;
    Descriptor file_;
    std::uint64_t size_ = 0;
};

}  // namespace qbsvrl6

#endif
