#include "common/files.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>

#include "common/errors.h"
#include "common/paths.h"
#include "common/string_ops.h"
#include "common/unicode.h"
#include "common/whole_file.h"

namespace larkspur {

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";

bool IsEmpty(const lkchar* text) { return text == nullptr || *text == 0; }

int LengthOf(const lkstr& text) { return static_cast<int>(std::min<std::size_t>(text.size(), INT_MAX)); }

void MakeDirectoryFor(const lkchar* path) {
    const lkstr dir = ExtractFilePath(path);
    if (!dir.empty() && !CreateLocalDirOnNeed(dir.c_str()))
        throw ClkException(LKExceptionFileOpenWrite, path);
}

void WriteStream(const lkchar* path, const void* data, int n, ClkFile::OpenMode mode) {
    MakeDirectoryFor(path);
    ClkFile file;
    file.Open(path, mode);
    if (!file.IsOpen()) throw ClkException(LKExceptionFileOpenWrite, path);
    // A full disk may be detected only when the stream's buffer is flushed.
    if (file.Write(data, n) != std::max(n, 0) || !file.Flush())
        throw ClkException(LKExceptionFileWrite, path);
}

// A new block of a mark and a text.
void AssignMarked(ClkMemory& out, std::string_view mark, const void* text, std::int64_t size) {
    const auto markSize = static_cast<std::int64_t>(mark.size());
    if (markSize + size > INT_MAX) throw std::bad_alloc();
    ClkMemory result;
    result.SetSize(static_cast<int>(markSize + size));
    auto* const bytes = static_cast<char*>(result.Data());
    std::memcpy(bytes + mark.copy(bytes, mark.size()), text, static_cast<std::size_t>(size));
    out.Swap(result);
}

}  // namespace

ClkFile::~ClkFile() { Close(); }

void ClkFile::Open(const lkchar* path, OpenMode mode) {
    static constexpr const char* kModes[] = {"r", "w", "rb", "wb", "a+b"};
    Close();
    if (mode < OpenRead || mode > OpenAppendBinary) return;
    m_Stream = std::fopen(UnicodeTextToPrintf(path).c_str(), kModes[mode]);
}

void ClkFile::Close() {
    if (m_Stream != nullptr) std::fclose(m_Stream);
    m_Stream = nullptr;
}

int ClkFile::Read(void* to, int n) {
    if (m_Stream == nullptr || to == nullptr || n < 1) return 0;
    return static_cast<int>(std::fread(to, 1, static_cast<std::size_t>(n), m_Stream));
}

int ClkFile::Write(const void* data, int n) {
    if (m_Stream == nullptr || data == nullptr || n < 1) return 0;
    return static_cast<int>(std::fwrite(data, 1, static_cast<std::size_t>(n), m_Stream));
}

bool ClkFile::Flush() { return m_Stream != nullptr && std::fflush(m_Stream) == 0; }

std::int64_t ClkFile::WholeLength() {
    if (m_Stream == nullptr) return -1;
    const int position = static_cast<int>(std::ftell(m_Stream));
    if (std::fseek(m_Stream, 0, SEEK_END) != 0) return -1;
    const std::int64_t length = std::ftell(m_Stream);
    std::fseek(m_Stream, position, SEEK_SET);
    return length;
}

int ClkFile::Length() { return static_cast<int>(WholeLength()); }

void SaveBinDataToLocalFile(const lkchar* path, const void* data, int n) {
    if (IsEmpty(path)) throw ClkException(LKExceptionFileNameNull);
    WriteStream(path, data, n, ClkFile::OpenWriteBinary);
}

void AppendBinDataToLocalFile(const lkchar* path, const void* data, int n) {
    if (path == nullptr) throw ClkException(LKExceptionFileNameNull);
    WriteStream(path, data, n, ClkFile::OpenAppendBinary);
}

void SaveWholeBinDataToLocalFile(const lkchar* path, const void* data, int n) {
    if (IsEmpty(path)) throw ClkException(LKExceptionFileNameNull);
    MakeDirectoryFor(path);
    if (data == nullptr && n > 0) throw ClkException(LKExceptionFileWrite, path);
    const WholeFileResult result =
        WriteWholeFile(UnicodeTextToPrintf(path), data, static_cast<std::size_t>(std::max(n, 0)));
    if (result.step != WholeFileStep::Done) {
        const bool opening = result.step == WholeFileStep::Open;
        throw ClkException(opening ? LKExceptionFileOpenWrite : LKExceptionFileWrite, path);
    }
}

void LoadBinDataFromLocalFile(const lkchar* path, ClkMemory& out) {
    if (IsEmpty(path)) throw ClkException(LKExceptionFileNameNull);
    ClkMemory old;  // where the path may be
    old.Swap(out);
    ClkFile file;
    file.Open(path, ClkFile::OpenReadBinary);
    if (!file.IsOpen()) throw ClkException(LKExceptionFileOpenRead, path);
    const std::int64_t wholeLength = file.WholeLength();
    if (wholeLength < 0 || wholeLength > INT_MAX) throw ClkException(LKExceptionFileRead, path);
    if (wholeLength == 0) return;
    const int length = static_cast<int>(wholeLength);
    try {
        out.SetSize(length);
    } catch (const std::bad_alloc&) {
        throw ClkException(LKExceptionFileMemory, path);
    }
    if (file.Read(out.Data(), length) != length) throw ClkException(LKExceptionFileRead, path);
}

void SaveStrToMemoryBuf(const lkchar* text, int n, TextEncodeMode mode, ClkMemory& out) {
    if (text == nullptr || n < 1) {
        out.Clear();
        return;
    }
    if (mode == TextEncodeUtf16Bom) {
        AssignMarked(out, kUtf16Mark, text, static_cast<std::int64_t>(n) * 2);
    } else if (mode == TextEncodeUtf8Bom || mode == TextEncodeUtf8) {
        ClkMemory utf8;
        UnicodeToUtf8(text, n, utf8);
        utf8.SetSize(utf8.Size() - 1);
        if (mode == TextEncodeUtf8) {
            out.Swap(utf8);
        } else {
            AssignMarked(out, kUtf8Mark, utf8.Data(), utf8.Size());
        }
    } else {
        UnicodeToMbs(text, n, out);
    }
}

void LoadStrFromMemoryBuf(const void* data, int n, lkstr& out, TextEncodeMode& mode) {
    if (data == nullptr || n < 1) {
        out.clear();
        return;
    }
    const std::string_view bytes(static_cast<const char*>(data), static_cast<std::size_t>(n));
    if (bytes.starts_with(kUtf16Mark)) {
        mode = TextEncodeUtf16Bom;
        lkstr text((bytes.size() - kUtf16Mark.size()) / sizeof(lkchar), 0);
        // The units may be at an odd address.
        std::memcpy(text.data(), bytes.data() + kUtf16Mark.size(), text.size() * sizeof(lkchar));
        out = std::move(text);
    } else if (bytes.starts_with(kUtf8Mark)) {
        mode = TextEncodeUtf8Bom;
        out = Utf8ToUnicode(bytes.data() + kUtf8Mark.size(), n - static_cast<int>(kUtf8Mark.size()));
    } else if (DetectIsUTF8(data, n)) {
        mode = TextEncodeUtf8;
        out = Utf8ToUnicode(bytes.data(), n);
    } else {
        mode = TextEncodeMbs;
        out = MbsToUnicode(bytes.data(), n);
    }
}

void SaveStrToTextFile(const lkchar* text, int n, TextEncodeMode mode, const lkchar* path) {
    ClkMemory block;
    SaveStrToMemoryBuf(text, n, mode, block);
    SaveBinDataToLocalFile(path, block.Data(), block.Size());
}

void LoadStrFromTextFile2(const lkchar* path, lkstr& out, TextEncodeMode& mode) {
    ClkMemory block;
    LoadBinDataFromLocalFile(path, block);
    LoadStrFromMemoryBuf(block.Data(), block.Size(), out, mode);
}

void LoadStrFromTextFile(const lkchar* path, lkstr& out) {
    TextEncodeMode mode = TextEncodeUtf8;
    LoadStrFromTextFile2(path, out, mode);
}

void FileReplaceText(const lkchar* path, const lkchar* oldText, const lkchar* newText) {
    lkstr text;
    TextEncodeMode mode = TextEncodeUtf8;
    LoadStrFromTextFile2(path, text, mode);
    if (mode == TextEncodeMbs) throw ClkException(LKExceptionFunction, "UnicodeToMbs");
    if (text.empty()) return;
    StringReplace(text, oldText, newText);
    SaveStrToTextFile(text.data(), LengthOf(text), mode, path);
}

}  // namespace larkspur
