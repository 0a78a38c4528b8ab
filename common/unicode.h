// Converts between UTF-8 and 16-bit text, unit by unit: a surrogate is three bytes like any other unit above
// 0x7FF, and there are no four-byte sequences. Invalid UTF-8 gives empty text, never a part of the text and
// never an error.
#ifndef QBSVR_COMMON_UNICODE_H
#define QBSVR_COMMON_UNICODE_H

#include "common/memory.h"
#include "common/text.h"

namespace larkspur {

// Writes 1 to 3 bytes and returns their number. The buffer must have space for 3; `size` is ignored.
int UnicodeCharToUtf8(lkchar unit, char* to, int size);

// Decodes one unit of zero-ended text. Returns the number of bytes read, 1 to 3; for an invalid sequence,
// returns 0 and sets `out` to 0. The second byte of a two-byte sequence is not examined, and overlong forms
// are accepted.
int Utf8ToUnicodeChar(const char* text, lkchar& out);

// The test that detects the encoding of text files. A sequence that is cut off by the end of the block is
// valid, since the block may be part of a longer text.
bool DetectIsUTF8(const void* data, int n);

// A coarse test that treats every sequence as two bytes: it rejects text with a complete three-byte sequence.
// Use DetectIsUTF8 for real input.
bool IsValidUtf8Str(const char* text, int n);

// Exactly n bytes, zero bytes included; n below 1 or null text gives empty text. A sequence that is cut off
// by the end is invalid. The memory block ends in a zero unit, which its size includes.
void Utf8ToUnicode(const char* text, int n, ClkMemory& out);
void Utf8ToUnicode(const char* text, int n, lkstr& out);
lkstr Utf8ToUnicode(const char* text, int n);

// Exactly n units, zero units included; n below 1 or null text gives empty text. The memory block ends in a
// zero byte, which its size includes.
void UnicodeToUtf8(const lkchar* text, int n, ClkMemory& out);
void UnicodeToUtf8(const lkchar* text, int n, str& out);
str UnicodeToUtf8(const lkchar* text, int n);

// The system's multibyte encoding is UTF-8 here.
void MbsToUnicode(const char* text, int n, ClkMemory& out);
void MbsToUnicode(const char* text, int n, lkstr& out);
lkstr MbsToUnicode(const char* text, int n);

// There is no multibyte encoding to write: always raises ClkException of type 2 with the hint "UnicodeToMbs".
void UnicodeToMbs(const lkchar* text, int n, ClkMemory& out);
void UnicodeToMbs(const lkchar* text, int n, str& out);
str UnicodeToMbs(const lkchar* text, int n);

}  // namespace larkspur

#endif
