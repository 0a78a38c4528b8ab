// QBXAddFontFolder, QBXSetFontAlias, QBXGetFontFamily.
#include <string>
#include <vector>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/fonts/font_choices.h"
#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/support/utf.h"

using namespace qbsvrl6;

int QBXAddFontFolder(const char* path) {
    return guardedForProcess(__func__, 0, [&] {
        addFontFolder(textOf(path));
        return 1;
    });
}

int QBXSetFontAlias(const char* name, const char* family) {
    return guardedForProcess(__func__, 0, [&] {
        setFontAlias(toUtf16(textOf(name)), toUtf16(textOf(family)));
        return 1;
    });
}

const char* QBXGetFontFamily(uint64_t index) {
    return guardedForProcess(__func__, static_cast<const char*>(nullptr), [&]() -> const char* {
        thread_local std::vector<std::string> families;
        if (families.empty()) families = fontFamilies();
        return index < families.size() ? families[static_cast<std::size_t>(index)].c_str() : nullptr;
    });
}
