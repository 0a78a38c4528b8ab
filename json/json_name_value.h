// A flat JSON object, for a few named values: read straight into a map, without a tree.
//
// The map contains quoted values without their quotes, and unquoted ones as raw text. Names have no escapes.
#ifndef QBSVR_JSON_JSON_NAME_VALUE_H
#define QBSVR_JSON_JSON_NAME_VALUE_H

#include <map>
#include <vector>

#include "common/name_value.h"
#include "common/text.h"

namespace larkspur {

// Reads up to the object's "}", within n units. Returns false for anything else; members before the error
// remain in the map. Values are scanned simply: a quoted one ends at the unit after its first backslash, so
// that an escape is an error, after which the map has the part before the backslash; a nested object or array
// is cut at its first space, comma or "}". There may be no space between "{" or "," and "}".
bool JSON_DecodeNameValues(const lkchar* text, int n, std::map<lkstr, lkstr>& values);

// The pairs as an object. Neither names nor values are escaped or quoted: a value must already be JSON text.
lkstr JSON_EncodeNameValues(const std::vector<ClkNameValuePair>& pairs);

// True if the name is absent. The text "null" is a value like any other.
bool JSON_ValueIsNull(const std::map<lkstr, lkstr>& values, const lkchar* name);

// The value with its escapes decoded; if the name is absent, the default text, where null means empty.
lkstr JSON_ValueAsString(const std::map<lkstr, lkstr>& values, const lkchar* name, const lkchar* defaultText);

// Empty text and an absent name give the default. Numbers are read by lkstr_toi and lkstr_tof; any text
// except "false" is true.
int JSON_ValueAsInteger(const std::map<lkstr, lkstr>& values, const lkchar* name, int defaultValue);
double JSON_ValueAsFloat(const std::map<lkstr, lkstr>& values, const lkchar* name, double defaultValue);
bool JSON_ValueAsBoolean(const std::map<lkstr, lkstr>& values, const lkchar* name, bool defaultValue);

}  // namespace larkspur

#endif
