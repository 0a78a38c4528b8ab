// Percent-encoding of URI components. Text with a surrogate that has no partner can't be encoded: it raises
// the bare const char* "MakeURIError", which no handler of ClkException sees.
#ifndef QBSVR_COMMON_URI_H
#define QBSVR_COMMON_URI_H

#include "common/text.h"

namespace larkspur {

// True for the units that encodeURIComponent leaves alone: ASCII letters, digits and - _ . ! ~ * ' ( )
bool URIComponent_unescape(lkchar c);

// Append "%" and two upper-case digits for each octet: of a list, of the UTF-8 of a unit, of that of a pair.
void URIAddEncodedOctetToBuffer(unsigned char octet, lkstr& out);
void URIEncodeOctets(const unsigned char* octets, int size, lkstr& out);
void URIEncodeSingle(lkchar unit, lkstr& out);
void URIEncodePair(lkchar high, lkchar low, lkstr& out);

// Encodes what the predicate doesn't let stand. A null text or a size below 1 gives empty text.
lkstr Encode(const lkchar* text, int size, bool (*predicate)(lkchar));
lkstr encodeURIComponent(const lkchar* text, int size);

}  // namespace larkspur

#endif
