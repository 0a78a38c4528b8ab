// Fonts that the program adds to those of the machine, and names that it replaces. They apply to the whole
// process, and are chosen before its fonts are first used.
#ifndef QBSVR_QBSVRL6_FONTS_FONT_CHOICES_H
#define QBSVR_QBSVRL6_FONTS_FONT_CHOICES_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qbsvrl6 {

struct FontChoices {
    std::vector<std::string> folders;
    std::unordered_map<std::string, std::string> aliases;  // folded names (aliases.h)
};

// Raise EngineError (NotSupported) once the fonts are in use. The first also for a folder that does not
// exist.
void addFontFolder(const std::string& path);
void setFontAlias(std::u16string_view name, std::u16string_view family);

// The choices, which are final from now on.
FontChoices takeFontChoices();

}  // namespace qbsvrl6

#endif
