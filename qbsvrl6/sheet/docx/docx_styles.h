// Styles of a DOCX document: those of the report by name, and what cells have besides.
#ifndef QBSVR_QBSVRL6_SHEET_DOCX_DOCX_STYLES_H
#define QBSVR_QBSVRL6_SHEET_DOCX_DOCX_STYLES_H

#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "qbsvrl6/fonts/text_language.h"
#include "qbsvrl6/model/report.h"
#include "qbsvrl6/sheet/docx/docx_text.h"
#include "qbsvrl6/sheet/grid/cell_style.h"

namespace qbsvrl6 {

class DocxStyles {
public:
    // The name of the style for paragraphs without text, which takes no room.
    static constexpr const char* kSpacer = "Spacer";

    explicit DocxStyles(const ReportDefinition& report);

    // The form of a cell's text: its named style, and how it differs from it.
    const DocxTextForm& textForm(const Cell& cell);
    // The properties of the cell itself: borders, background, direction and vertical alignment.
    const std::string& cellForm(const Cell& cell);

    // word/styles.xml, when all texts have been seen.
    std::string part() const;
    // For the settings: the language of ideographs.
    std::string eastAsianLanguage() const;

private:
    // Each property as XML, always explicit: what differs from another style is its own.
    struct Properties {
        std::string spacing, indent, fonts, bold, italic, color, size, underline;
        HorizontalAlign align = HorizontalAlign::Left;
        bool operator==(const Properties&) const = default;
    };
    struct Named {
        std::u16string name;
        Properties properties;
    };

    static Properties propertiesOf(const CellStyle& style);
    static Properties propertiesOf(const ResolvedStyle& style);
    static std::string difference(const Properties& style, const Properties& base);
    DocxTextForm makeForm(const Properties& style, std::size_t named) const;
    std::size_t namedStyleOf(const Item& item);

    const ReportDefinition& report_;
    StyleTable table_;
    std::vector<std::string> cellForms_;  // by the number of the style
    std::vector<Named> named_;            // 0: the report's own font
    std::unordered_map<std::u16string, std::size_t> byName_;
    std::unordered_map<const Control*, std::size_t> byControl_;
    std::map<std::pair<int, std::size_t>, DocxTextForm> forms_;
    std::map<std::pair<const DocxTextForm*, TextLanguage>, DocxTextForm> formsInLanguage_;
    LanguageGuess language_;
};

}  // namespace qbsvrl6

#endif
