// Files that are written completely or not at all: the bytes go into a new file, which replaces the old one at
// the end.
#ifndef QBSVR_COMMON_WHOLE_FILE_H
#define QBSVR_COMMON_WHOLE_FILE_H

#include <cstddef>

#include "common/text.h"

namespace larkspur {

enum class WholeFileStep : int { Done, Open, Write };

struct WholeFileResult {
    WholeFileStep step = WholeFileStep::Done;  // or the one that failed
    int error = 0;                             // its errno
};

// Replaces or makes the file of a UTF-8 path in a directory that exists. A failure leaves what was there, and
// so does the end of the process at any moment. Raises nothing but std::bad_alloc.
//
// - The new file has no name where the file system allows that. Elsewhere, and for the moment in
//   which it replaces another file, it is ".qbsvr-<process>-<number>.tmp" in the same directory.
// - A symbolic link stays, and its target is replaced. The new file has the mode and owner of the old one, as
//   far as the process may set them. A file that may not be written is not replaced.
// - Written in place: what is no regular file, and a file whose directory can't be written. A pipe without a
//   reader fails with ENXIO.
[[nodiscard]] WholeFileResult WriteWholeFile(const str& path, const void* data, std::size_t size);

}  // namespace larkspur

#endif
