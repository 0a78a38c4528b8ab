#include "qbsvrl6/api/barcode_request.h"

#include <string>

#include "common/errors.h"
#include "common/string_ops.h"
#include "json/json_tree.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

constexpr std::size_t kEscapeDigits = 4;

// The unit that \uXXXX, \/, \b or \f stands for; 0 for other text.
char16_t escapedUnit(std::u16string_view escape) {
    switch (escape[1]) {
        case u'/':
            return u'/';
        case u'b':
            return u'\b';
        case u'f':
            return u'\f';
        case u'u': {
            const std::u16string_view digits = escape.substr(2, kEscapeDigits);
            if (digits.size() < kEscapeDigits) return 0;
            int unit = 0;
            for (const char16_t digit : digits) {
                if (hexValue(digit) < 0) return 0;
                unit = unit * 16 + hexValue(digit);
            }
            return static_cast<char16_t>(unit);
        }
        default:
            return 0;
    }
}

// Strings with only the escapes of larkspur's dialect: what JSON escapes besides stands as it is.
std::u16string inDialect(std::u16string_view json) {
    std::u16string result;
    bool inString = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        if (json[i] == u'"') inString = !inString;
        result += json[i];
        if (!inString || json[i] != u'\\' || i + 1 == json.size()) continue;
        const char16_t unit = escapedUnit(json.substr(i));
        const bool isEscape = unit == 0 || unit == u'"' || unit == u'\\';
        if (!isEscape) result.pop_back();
        result += unit == 0 ? json[i + 1] : unit;
        const bool hasDigits = unit != 0 && json[i + 1] == u'u';
        i += hasDigits ? 1 + kEscapeDigits : 1;
    }
    return result;
}

}  // namespace

BarcodeRequest parseBarcodeRequest(std::u16string_view json) {
    larkspur::ClkObjectJson document;
    try {
        const std::u16string text = inDialect(json);
        document.Parse(text.data(), static_cast<int>(text.size()));
    } catch (const larkspur::ClkException& error) {
        throw EngineError(ErrorCode::BadData, std::string("barcode request: ") + error.what());
    }
    const auto textOf = [&document](const char16_t* name) -> const std::u16string* {
        const larkspur::ClkJsonAtomNode* atom = document.Root().AtomByName(name);
        return atom == nullptr ? nullptr : &atom->Text();
    };
    const std::u16string* type = textOf(u"type");
    const std::u16string* text = textOf(u"text");
    if (type == nullptr || text == nullptr) {
        throw EngineError(ErrorCode::BadData, "barcode request: \"type\" and \"text\" are needed");
    }
    if (const auto* codepage = textOf(u"codepage"); codepage != nullptr && *codepage != u"65001") {
        throw EngineError(ErrorCode::NotSupported, "barcode request: the code page is always 65001");
    }
    const auto* showText = textOf(u"requireShowText");
    return {larkspur::lkstr_toi(type->c_str()), *text, showText == nullptr || *showText == u"true"};
}

}  // namespace qbsvrl6
