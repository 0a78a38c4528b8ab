// Settings as a text of name and value pairs, and tables of names and integers.
#ifndef QBSVR_COMMON_NAME_VALUE_H
#define QBSVR_COMMON_NAME_VALUE_H

#include <map>

#include "common/text.h"

namespace larkspur {

// Orders names case-blind.
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

// Slots that the caller prepares and owns: the functions here fill and read them, and add none.
using ClkNameValueSlots = std::map<lkstr, lkstr*, lkstricmper>;

// Fills the slots from pieces "name=value" between ";", CR and LF. Unknown names and pieces without "=" are
// skipped; the last value of a name wins.
void DecodeTextToNameValues(const lkchar* text, const ClkNameValueSlots& slots);

// The slots that aren't empty, in order, each as name, "=", value, ";", CR, LF.
lkstr BuildNameValuesText(const ClkNameValueSlots& slots);

// Of several matches the last one wins. Without one the result is false and the out argument stays. Names
// compare case-blind.
bool NameToIntValue(const lkchar* name, const CNameIntValuePair* table, int& value);
bool IntValueToName(int value, const CNameIntValuePair* table, lkstr& name);

// ASCII letters, digits, "_" and any unit from 256 up; a name doesn't start with a digit and isn't empty.
bool IsNameChar(lkchar c);
bool IsFirstNameChar(lkchar c);
bool IsGoodNameText(const lkchar* text);

// Puts a name that isn't good in square brackets.
void EnsureNameText(lkstr& name);

}  // namespace larkspur

#endif
