// Settings as a text of name-value pairs, and tables of names and integers.
#ifndef QBSVR_COMMON_NAME_VALUE_H
#define QBSVR_COMMON_NAME_VALUE_H

#include <map>

#include "common/text.h"

namespace larkspur {

// Orders names, ignoring case.
struct lkstricmper {
    bool operator()(const lkstr& a, const lkstr& b) const;
};

struct ClkNameValuePair {
    lkstr name, value;
};

// A table of these ends with a null name.
struct CNameIntValuePair {
    const lkchar* name;
    int value;
};

// Slots that the caller prepares and owns. The functions here fill and read them, but add none.
using ClkNameValueSlots = std::map<lkstr, lkstr*, lkstricmper>;

// Fills the slots from parts "name=value", separated by ";", CR and LF. Unknown names and parts without "="
// are skipped; the last value of a name wins.
void DecodeTextToNameValues(const lkchar* text, const ClkNameValueSlots& slots);

// The non-empty slots, in order, each as name, "=", value, ";", CR, LF.
lkstr BuildNameValuesText(const ClkNameValueSlots& slots);

// If there are several matches, the last one wins. Without a match, returns false and does not change the out
// argument. Names are compared ignoring case.
bool NameToIntValue(const lkchar* name, const CNameIntValuePair* table, int& value);
bool IntValueToName(int value, const CNameIntValuePair* table, lkstr& name);

// Names consist of ASCII letters, digits, "_" and any unit from 256 up. A name doesn't start with a digit and
// isn't empty.
bool IsNameChar(lkchar c);
bool IsFirstNameChar(lkchar c);
bool IsGoodNameText(const lkchar* text);

// Puts a name in square brackets unless IsGoodNameText accepts it.
void EnsureNameText(lkstr& name);

}  // namespace larkspur

#endif
