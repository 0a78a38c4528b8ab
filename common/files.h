// The file stream, and loading and saving of whole files, binary or as text with a byte-order mark.
//
// Whole-file functions raise ClkException with the path as hint; the file is closed whatever happens.
#ifndef QBSVR_COMMON_FILES_H
#define QBSVR_COMMON_FILES_H

#include <cstdint>
#include <cstdio>

#include "common/memory.h"
#include "common/text.h"

namespace larkspur {

// The encoding of text in a file.
enum TextEncodeMode : int {
    TextEncodeMbs = 1,   // the system's multibyte encoding, no mark; can be read only
    TextEncodeUtf8Bom,   // EF BB BF, then UTF-8
    TextEncodeUtf16Bom,  // FF FE, then 16-bit units, low byte first
    TextEncodeUtf8,      // UTF-8, no mark
};

class ClkFile : public ClkNonCopyable {
public:
    enum OpenMode : int { OpenRead, OpenWrite, OpenReadBinary, OpenWriteBinary, OpenAppendBinary };

    ClkFile() = default;
    ~ClkFile();

    // Never raises: test IsOpen. An unknown mode opens nothing.
    void Open(const lkchar* path, OpenMode mode);
    void Close();
    bool IsOpen() const { return m_Stream != nullptr; }

    int Read(void* to, int n);           // bytes read; 0 when closed
    int Write(const void* data, int n);  // bytes written; 0 when closed
    bool Flush();                        // false when what was written can't reach the file
    int Length();                        // cut to 32 bits; -1 when closed or unknown

private:
    friend void LoadBinDataFromLocalFile(const lkchar* path, ClkMemory& out);
    std::int64_t WholeLength();

    std::FILE* m_Stream = nullptr;
};

// Make missing directories of the path. Raise type 3 for a null path (Save: also for an empty one), 6 when
// the directory or file can't be made, 7 when not all bytes reach the file.
void SaveBinDataToLocalFile(const lkchar* path, const void* data, int n);
void AppendBinDataToLocalFile(const lkchar* path, const void* data, int n);

// SaveBinDataToLocalFile, but the file is never seen in part and a failure leaves what was there
// (WriteWholeFile).
void SaveWholeBinDataToLocalFile(const lkchar* path, const void* data, int n);

// Raises type 3 for a null or empty path, 4 when it can't be opened, 5 when it can't be read whole, 8 when
// there is no memory for it. Files of 2 GiB and more can't be loaded.
void LoadBinDataFromLocalFile(const lkchar* path, ClkMemory& out);

// Exactly n units. No units give an empty block, with no mark. TextEncodeMbs raises type 2.
void SaveStrToMemoryBuf(const lkchar* text, int n, TextEncodeMode mode, ClkMemory& out);

// Detects the encoding by mark or content, decodes, and sets mode unless the block is empty. Bad UTF-8
// gives empty text.
void LoadStrFromMemoryBuf(const void* data, int n, lkstr& out, TextEncodeMode& mode);

void SaveStrToTextFile(const lkchar* text, int n, TextEncodeMode mode, const lkchar* path);
void LoadStrFromTextFile2(const lkchar* path, lkstr& out, TextEncodeMode& mode);
void LoadStrFromTextFile(const lkchar* path, lkstr& out);

// StringReplace on a text file, which keeps its encoding. Raises type 2 for a file in TextEncodeMbs and
// leaves alone a file whose text reads as empty: bytes that can't be decoded are never lost.
void FileReplaceText(const lkchar* path, const lkchar* oldText, const lkchar* newText);

}  // namespace larkspur

#endif
