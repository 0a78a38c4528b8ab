// A flat JSON object as a light way to pass a few named values: read straight into a map, with no tree.
//
// The map holds a quoted value without quotes, an unquoted one as its raw text. Names have no escapes.
#ifndef QBSVR_JSON_JSON_NAME_VALUE_H
#define QBSVR_JSON_JSON_NAME_VALUE_H

#include <map>
#include <vector>

#include "common/name_value.h"
#include "common/text.h"

namespace larkspur {

// Reads exactly n units up to the object's "}". False for anything else; members before the error stay in
// the map. Values are scanned simply: a quoted one ends at the unit after its first backslash, so one with
// an escape is an error that leaves what is before the backslash, and a nested object or array is cut at
// its first space, comma or "}". "}" must follow "{" or "," directly.
bool JSON_DecodeNameValues(const lkchar* text, int n, std::map<lkstr, lkstr>& values);

// The pairs as an object. Neither name nor value is escaped or quoted: a value is JSON text already.
lkstr JSON_EncodeNameValues(const std::vector<ClkNameValuePair>& pairs);

// True when the name is absent; the text "null" is a value like any other.
bool JSON_ValueIsNull(const std::map<lkstr, lkstr>& values, const lkchar* name);

// The value with its escapes decoded, or the default text, null for empty, when the name is absent.
lkstr JSON_ValueAsString(const std::map<lkstr, lkstr>& values, const lkchar* name, const lkchar* defaultText);

// Empty text and an absent name give the default. Numbers are read by lkstr_toi and lkstr_tof; any text but
// "false" is true.
int JSON_ValueAsInteger(const std::map<lkstr, lkstr>& values, const lkchar* name, int defaultValue);
double JSON_ValueAsFloat(const std::map<lkstr, lkstr>& values, const lkchar* name, double defaultValue);
bool JSON_ValueAsBoolean(const std::map<lkstr, lkstr>& values, const lkchar* name, bool defaultValue);

}  // namespace larkspur

#endif
