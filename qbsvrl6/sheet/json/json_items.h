// What the items of a report are in JSON: their texts and their values.
#ifndef QBSVR_QBSVRL6_SHEET_JSON_JSON_ITEMS_H
#define QBSVR_QBSVRL6_SHEET_JSON_JSON_ITEMS_H

#include "qbsvrl6/items/item.h"
#include "qbsvrl6/sheet/json/json_builder.h"

namespace qbsvrl6 {

// Whether the item says something: a text, a picture or a drawing. A pending text does.
bool hasContent(const Item& item);

// The type of the value that a text shows: "number", "date", "boolean" or "text"; null: it shows nothing.
const char* typeOf(const Item& item);

// Appends the members that show the item to the open object: "text" and "value", or those of a picture or
// drawing. The text is settled.
void appendMembers(JsonBuilder& json, const Item& item);

}  // namespace qbsvrl6

#endif
