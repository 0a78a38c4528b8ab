// A JSON text, one unit per byte.
#include <cstdint>
#include <cstdlib>
#include <map>
#include <vector>

#include "larkspur.h"

using namespace larkspur;

namespace {

constexpr std::size_t kMaxSize = 8192;  // enough for every limit of the parser, and for the recursion below

void require(bool condition) {
    if (!condition) std::abort();
}

// An empty literal at the end of an array, "[1,,]", is written as a trailing comma and is therefore missing
// when read again.
bool EndsInEmptyItem(const ClkJsonNode& node) {
    if (node.Kind() == ClkJsonObject) {
        for (const auto& [name, child] : static_cast<const ClkJsonObjectNode&>(node).Members()) {
            if (EndsInEmptyItem(*child)) return true;
        }
    } else if (node.Kind() == ClkJsonArray) {
        const auto& items = static_cast<const ClkJsonArrayNode&>(node).Items();
        for (const auto& item : items) {
            if (EndsInEmptyItem(*item)) return true;
        }
        const ClkJsonNode* last = items.empty() ? nullptr : items.back().get();
        return last != nullptr && last->Kind() == ClkJsonLiteral &&
               static_cast<const ClkJsonAtomNode*>(last)->Text().empty();
    }
    return false;
}

// A document that has been read and written reads as the same document again. The scanner, which builds no
// tree, agrees with the parser.
template <class Json>
void ParseAndWrite(const lkchar* text, int n, const lkchar* scannedEnd) {
    Json json;
    const lkchar* start = text;
    while (start != text + n && JSON_IsSpaceChar(*start)) ++start;
    const lkchar* end = nullptr;
    try {
        end = json.DoParse(start, text + n);
    } catch (const ClkException& e) {
        require(e.Type() == LKExceptionJson);
    }
    require(end == scannedEnd);

    const lkstr once = json.Stringify(nullptr);
    Json again;
    again.Parse(once.c_str(), static_cast<int>(once.size()));
    require(EndsInEmptyItem(json.Root()) || again.Stringify(nullptr) == once);
    require(json.Stringify(nullptr) == once);  // also from the nodes, which were created by reading them
    try {
        again.Parse(text, n);
    } catch (const ClkException& e) {
        require(e.Type() == LKExceptionJson);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kMaxSize) return 0;
    const std::vector<lkchar> units(data, data + size);  // no terminator: detects overruns
    const lkchar* text = units.data();
    const int n = static_cast<int>(size);
    ParseAndWrite<ClkObjectJson>(text, n, FindJsonObjectTextEnd(text, n));
    ParseAndWrite<ClkArrayJson>(text, n, FindJsonArrayTextEnd(text, n));

    JSON_TextIsJson(text, n);
    std::map<lkstr, lkstr> values;
    JSON_DecodeNameValues(text, n, values);
    const lkstr decoded = JSON_Decode(text, n);
    const lkstr encoded = JSON_Encode(decoded.c_str());
    require(JSON_Decode(encoded.c_str(), static_cast<int>(encoded.size())) ==
            decoded.substr(0, decoded.find(u'\0')));
    return 0;
}
