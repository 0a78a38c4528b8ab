#include "qbsvrl6/api/barcode_request.h"

#include <string>

#include "common/errors.h"
#include "common/string_ops.h"
#include "json/json_tree.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

BarcodeRequest parseBarcodeRequest(std::u16string_view json) {
    larkspur::ClkObjectJson document;
    try {
        document.Parse(json.data(), static_cast<int>(json.size()));
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
