// The file stream, and loading and saving of whole files, binary or as text with a byte-order mark.
//
// Whole-file functions raise ClkException with the path as hint. The file is closed in every case.
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
    bool Flush();                        // false if written bytes can't reach the file
    int Length();                        // cut to 32 bits; -1 when closed or unknown

private:
    friend void LoadBinDataFromLocalFile(const lkchar* path, ClkMemory& out);
    std::int64_t WholeLength();

    std::FILE* m_Stream = nullptr;
};

// Create missing directories of the path. Raise type 3 for a null path (Save: also for an empty one), 6 if
// the directory or file can't be created, 7 if not all bytes reach the file.
void SaveBinDataToLocalFile(const lkchar* path, const void* data, int n);
void AppendBinDataToLocalFile(const lkchar* path, const void* data, int n);

// Like SaveBinDataToLocalFile, but the file is never visible in part, and a failure leaves the old file in
// place (WriteWholeFile).
void SaveWholeBinDataToLocalFile(const lkchar* path, const void* data, int n);

// Raises type 3 for a null or empty path, 4 if the file can't be opened, 5 if it can't be read completely, 8
// if there is no memory for it. Files of 2 GiB and more can't be loaded.
void LoadBinDataFromLocalFile(const lkchar* path, ClkMemory& out);

// Encodes exactly n units. Without units, the block is empty and has no mark. TextEncodeMbs raises type 2.
void SaveStrToMemoryBuf(const lkchar* text, int n, TextEncodeMode mode, ClkMemory& out);

// Detects the encoding by mark or content, decodes the text, and sets `mode` unless the block is empty.
// Invalid UTF-8 gives empty text.
void LoadStrFromMemoryBuf(const void* data, int n, lkstr& out, TextEncodeMode& mode);

void SaveStrToTextFile(const lkchar* text, int n, TextEncodeMode mode, const lkchar* path);
void LoadStrFromTextFile2(const lkchar* path, lkstr& out, TextEncodeMode& mode);
void LoadStrFromTextFile(const lkchar* path, lkstr& out);

// StringReplace on a text file, which keeps its encoding. Raises type 2 for a file in TextEncodeMbs. Does not
// write a file whose text reads as empty, so that bytes that can't be decoded are never lost.
void FileReplaceText(const lkchar* path, const lkchar* oldText, const lkchar* newText);

}  // namespace larkspur

#endif
