// QBXReportSetParameter.
#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/database_queries.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;
using namespace quillbrook;

int QBXReportSetParameter(tagQBReport* handle, const char* name, const char* value) {
    return withObject(__func__, handle, [&](Report& report) {
        const std::u16string key = lowerCase(toUtf16(textOf(name)));
        if (key.empty()) throw EngineError(ErrorCode::NotSupported, "a parameter has a name");
        std::map<std::u16string, std::u16string>& parameters = runtimeOf(report).parameters;
        if (value == nullptr) {
            parameters.erase(key);
        } else {
            const std::u16string text = toUtf16(value);
            checkParameter(report.definition, key, text);
            parameters.insert_or_assign(key, text);
        }
        return 1;
    });
}
