// Base64, plain and inside image texts, and MyHex, the library's letter form of bytes.
//
// Encoding writes one line of the standard alphabet, filled with "=". Decoding skips whatever isn't of the
// alphabet, "=" and line breaks among it, and never fails on it. Blocks are read exactly.
#ifndef QBSVR_COMMON_BASE64_H
#define QBSVR_COMMON_BASE64_H

#include "common/memory.h"
#include "common/text.h"

namespace larkspur {

// Upper bound for n bytes as Base64, with a reserve for a line end each 76 characters though none is written.
// Negative counts read as 0; beyond INT_MAX the result stays there.
int Base64_EncodeLength(int n);

// Upper bound for the bytes in n characters.
int Base64_DecodeLength(int n);

// A size below 1 gives empty text. Raises type 2 with the hint "Base64Encode" for null data.
str Base64_Encode(const void* data, int size);

// False for null text only. The text ends at its size, or at a zero byte directly after a group of
// four characters or at the start; a zero byte elsewhere is skipped. A last group of 2 or 3 characters gives
// 1 or 2 bytes. No bytes leave out empty.
bool Base64_Decode(const char* text, int size, ClkMemory& out);

// Base64_Decode of the low bytes. A size below 1 means "up to the zero unit"; null text is empty.
bool Base64_DecodeFromWideText(const lkchar* text, int size, ClkMemory& out);

// A quick test, not proof: the last two units are letters, digits, "+", "/" or "=", and so are, without "=",
// those before the last one up to the 64th. Short text that ends in "==" is refused, and less than two
// units. Wide units are tested by their low bytes.
bool IsBase64TextCode(const char* text, int size);
bool IsBase64TextCode(const lkchar* text, int size);

// Where the Base64 of an image starts: at the text itself when it passes IsBase64TextCode, else after the
// first "," in units 10 to 29 of a text that starts with "data:image", in any case. size shrinks to what is
// left; it becomes 0 with the result null when there is none.
const lkchar* ConfirmImageBase64(const lkchar* text, int& size);

// Each byte as two letters "C" to "R", high half first.
str MyHexEncode(const char* text, int size);

// Letters aren't validated: high part times 16 plus low part, modulo 256. An odd size gives empty text.
str MyHexDecode(const char* text, int size);

// Base64 as MyHex, and back.
str Base64MyHexEncode(const void* data, int size);
bool Base64MyHexDecode(const char* text, int size, ClkMemory& out);
str Base64MyHexDecode(const char* text, int size);

}  // namespace larkspur

#endif
