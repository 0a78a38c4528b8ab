// Percent-encoding of URI components. Text with an unpaired surrogate can't be encoded: it raises the const
// char* "MakeURIError", which handlers of ClkException do not catch.
#ifndef QBSVR_COMMON_URI_H
#define QBSVR_COMMON_URI_H

#include "common/text.h"

namespace larkspur {

// True for the units that encodeURIComponent does not encode: ASCII letters, digits and - _ . ! ~ * ' ( )
bool URIComponent_unescape(lkchar c);

// Append "%" and two upper-case digits per octet: of one octet, of a list, of the UTF-8 of a unit, of that of
// a surrogate pair.
void URIAddEncodedOctetToBuffer(unsigned char octet, lkstr& out);
void URIEncodeOctets(const unsigned char* octets, int size, lkstr& out);
void URIEncodeSingle(lkchar unit, lkstr& out);
void URIEncodePair(lkchar high, lkchar low, lkstr& out);

// Encodes the units for which the predicate is false. A null text or a size below 1 gives empty text.
lkstr Encode(const lkchar* text, int size, bool (*predicate)(lkchar));
lkstr encodeURIComponent(const lkchar* text, int size);

}  // namespace larkspur

#endif
