// Number formats of spreadsheets, "#,##0.00;(0)", as data styles of OpenDocument.
#ifndef QBSVR_QBSVRL6_SHEET_ODS_ODS_FORMATS_H
#define QBSVR_QBSVRL6_SHEET_ODS_ODS_FORMATS_H

#include <string>
#include <string_view>
#include <unordered_map>

namespace qbsvrl6 {

// What a cell with the format holds.
enum class OdsValueKind { Number, Percentage, Currency, Date };

class OdsFormats {
public:
    struct Format {
        std::string name;  // of the data style
        OdsValueKind kind = OdsValueKind::Number;
    };

    // The format of a code, which is added if it is new.
    const Format& of(const std::u16string& code);
    // The data styles, as XML.
    const std::string& styles() const { return styles_; }

private:
    std::unordered_map<std::u16string, Format> formats_;
    std::string styles_;
};

}  // namespace qbsvrl6

#endif
