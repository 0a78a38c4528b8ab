#include "qbreport/burst/source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "qbreport/console.h"
#include "qbreport/failure.h"
#include "qbreport/files.h"
#include "qbreport/interrupt.h"

namespace qbreport {

namespace {

constexpr std::size_t kStep = 1 << 18;
constexpr std::size_t kMostRow = std::size_t{64} << 20;

Descriptor copied(int from, const std::string& name) {
    Descriptor copy = openTemporary();
    std::string bytes(kStep, '\0');
    for (;;) {
        const ssize_t read = ::read(from, bytes.data(), bytes.size());
        if (read < 0 && errno == EINTR && !isInterrupted()) continue;
        if (read < 0 && errno == EINTR) throw Failure("");
        if (read < 0) throw Failure("\"" + name + "\": " + std::strerror(errno));
        if (read == 0) return copy;
        write(copy, {bytes.data(), static_cast<std::size_t>(read)}, "the temporary copy of " + name);
    }
}

}  // namespace

Source::Source(const std::string& path) : name_(path) {
    const bool isStandardInput = path == kStandardStream;
    isRegular_ = !isStandardInput && fileKind(path) == FileKind::Regular;
    if (isStandardInput) {
        name_ = "standard input";
        file_ = copied(STDIN_FILENO, name_);
    } else if (isRegular_) {
        file_ = openToRead(path);
    } else {
        file_ = copied(openToRead(path).number(), name_);
    }
    size_ = sizeOf(file_, name_);
}

Source::Source(Descriptor file, std::string name, std::string beforeLine)
    : name_(std::move(name)),
      beforeLine_(std::move(beforeLine)),
      file_(std::move(file)),
      size_(sizeOf(file_, name_)) {}

void Window::drop(std::size_t size) {
    begin_ += size;
    offset_ += size;
}

void Window::seek(std::uint64_t offset) {
    begin_ = end_ = 0;
    offset_ = offset;
}

bool Window::readMore() {
    const std::size_t used = end_ - begin_;
    if (used > kMostRow) throw Failure("\"" + source_.name() + "\" has a row of more than 64 MiB");
    if (begin_ > 0) {
        std::memmove(bytes_.data(), bytes_.data() + begin_, used);
        begin_ = 0;
        end_ = used;
    }
    if (bytes_.size() < used + kStep + kPadding) bytes_.resize(2 * used + kStep + kPadding);
    const std::size_t read = readAt(source_.file(), offset_ + used, bytes_.data() + end_,
                                    bytes_.size() - kPadding - end_, source_.name());
    if (digest_ != nullptr) digest_->add({bytes_.data() + end_, read});
    end_ += read;
    return read > 0;
}

}  // namespace qbreport
