#include "qbsvrl6/sheet/json/json_builder.h"

#include <array>

#include "qbsvrl6/support/character_forms.h"

namespace qbsvrl6 {

namespace {

constexpr std::array<std::string_view, 32> kControls = {
    "\\u0000", "\\u0001", "\\u0002", "\\u0003", "\\u0004", "\\u0005", "\\u0006", "\\u0007",
    "\\b",     "\\t",     "\\n",     "\\u000b", "\\f",     "\\r",     "\\u000e", "\\u000f",
    "\\u0010", "\\u0011", "\\u0012", "\\u0013", "\\u0014", "\\u0015", "\\u0016", "\\u0017",
    "\\u0018", "\\u0019", "\\u001a", "\\u001b", "\\u001c", "\\u001d", "\\u001e", "\\u001f"};

constexpr CharacterForms kString = [] {
    CharacterForms forms;
    for (char c = 0; c < 0x20; ++c) forms.set(c, kControls[static_cast<std::size_t>(c)]);
    return forms.set('"', "\\\"").set('\\', "\\\\");
}();

}  // namespace

void appendJsonString(std::string& out, std::u16string_view text) {
    out += '"';
    appendForms(out, text, kString);
    out += '"';
}

}  // namespace qbsvrl6
