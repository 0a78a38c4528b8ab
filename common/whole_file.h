// Files that are written completely or not at all: the bytes go into a new file, which replaces the old one
// at the end.
#ifndef QBSVR_COMMON_WHOLE_FILE_H
#define QBSVR_COMMON_WHOLE_FILE_H

#include <cstddef>
#include <functional>

#include "common/text.h"

namespace larkspur {

enum class WholeFileStep : int { Done, Open, Write };

struct WholeFileResult {
    WholeFileStep step = WholeFileStep::Done;  // or the step that failed
    int error = 0;                             // its errno
};

// Replaces or creates the file at a UTF-8 path; its directory must exist. If writing fails, or the process
// ends at any moment, the old file remains. Raises only std::bad_alloc.
//
// - The new file has no name if the file system supports that. Otherwise, and for the moment in which it
//   replaces another file, it is ".qbsvr-<process>-<number>.tmp" in the same directory.
// - A symbolic link remains, and its target is replaced. The new file has the mode and owner of the old one,
//   as far as the process may set them. A file without write permission is not replaced.
// - Anything but a regular file, and a file whose directory can't be written, is written in place. A pipe
//   without a reader fails with ENXIO.
[[nodiscard]] WholeFileResult WriteWholeFile(const str& path, const void* data, std::size_t size);

// The same for bytes that are not in memory: `write` writes them to a descriptor, or returns false with errno
// set. It is called once for each file that is tried, and may raise exceptions.
[[nodiscard]] WholeFileResult WriteWholeFile(const str& path,
                                             const std::function<bool(int descriptor)>& write);

}  // namespace larkspur

#endif
