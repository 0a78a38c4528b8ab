// Base64, plain and inside image texts, and MyHex, which encodes bytes as letters.
//
// Encoding writes a single line in the standard alphabet, padded with "=". Decoding skips all other
// characters, "=" and line breaks included, and never fails because of them. No unit beyond a block is read.
#ifndef QBSVR_COMMON_BASE64_H
#define QBSVR_COMMON_BASE64_H

#include "common/memory.h"
#include "common/text.h"

namespace larkspur {

// Upper bound of the length of n bytes as Base64. It allows for a line end per 76 characters, although none
// is written. A negative count reads as 0; the result is at most INT_MAX.
int Base64_EncodeLength(int n);

// Upper bound of the number of bytes that n characters encode.
int Base64_DecodeLength(int n);

// A size below 1 gives empty text. Raises type 2 with the hint "Base64Encode" for null data.
str Base64_Encode(const void* data, int size);

// False for null text only. The text ends at its size, or at a zero byte at the start or directly after a
// group of four characters; a zero byte elsewhere is skipped. A last group of 2 or 3 characters gives 1 or 2
// bytes. If there are no bytes, `out` is empty.
bool Base64_Decode(const char* text, int size, ClkMemory& out);

// Base64_Decode of the low bytes. A size below 1 means "up to the zero unit"; null text is empty.
bool Base64_DecodeFromWideText(const lkchar* text, int size, ClkMemory& out);

// A quick test, not proof: the last two units are letters, digits, "+", "/" or "=", and those before the last
// one, up to the 64th, are the same without "=". Rejects short text that ends in "==", and text of fewer than
// two units. Tests only the low bytes of wide units.
bool IsBase64TextCode(const char* text, int size);
bool IsBase64TextCode(const lkchar* text, int size);

// The start of the Base64 of an image: the text itself if it passes IsBase64TextCode; otherwise the unit
// after the first "," in units 10 to 29 of a text that starts with "data:image", ignoring case. Sets `size`
// to the length from there; if there is no Base64, returns null and sets `size` to 0.
const lkchar* ConfirmImageBase64(const lkchar* text, int& size);

// Each byte as two of the letters "C" to "R", high half first.
str MyHexEncode(const char* text, int size);

// Letters aren't validated: a byte is the high part times 16 plus the low part, modulo 256. An odd size gives
// empty text.
str MyHexDecode(const char* text, int size);

// Base64 as MyHex, and back.
str Base64MyHexEncode(const void* data, int size);
bool Base64MyHexDecode(const char* text, int size, ClkMemory& out);
str Base64MyHexDecode(const char* text, int size);

}  // namespace larkspur

#endif
