// Appends XML to a string, element by element.
#ifndef QBSVR_QBSVRL6_SUPPORT_XML_WRITER_H
#define QBSVR_QBSVRL6_SUPPORT_XML_WRITER_H

#include <charconv>
#include <concepts>
#include <string>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

// Append escaped text and quoted attribute values. Characters that XML cannot contain become U+FFFD; readers
// return all others unchanged: line ends in text that a reader would change are written as references, as are
// all line ends and tabs in values. 8-bit text is UTF-8.
void appendXmlText(std::string& out, std::u16string_view text);
void appendXmlText(std::string& out, std::string_view text);
void appendXmlValue(std::string& out, std::u16string_view value);
void appendXmlValue(std::string& out, std::string_view value);

// An object that appends itself as part of a value or text, without characters that need escapes.
template <class T>
concept XmlPart = requires(const T& part, std::string& out) {
    part.appendTo(out);
};

template <class T>
concept XmlNumber = (std::integral<T> || std::floating_point<T>)&&!std::same_as<T, bool> &&
                    !std::same_as<T, char>;

template <XmlNumber Number>
void appendXmlNumber(std::string& out, Number number) {
    char digits[32];
    out.append(&digits[0], std::to_chars(&digits[0], &digits[sizeof digits], number).ptr);
}

// The same, faster for amounts: numbers that are whole or have up to two decimals.
void appendXmlNumber(std::string& out, double number);

// A tag stays open for attributes until content follows:
//
//     XmlWriter xml(out);
//     xml.open("row").attribute("r", 7).open("c").text(u"a < b").close().close();
//
// writes <row r="7"><c>a &lt; b</c></row>. Names are not copied; they live until their element is closed.
class XmlWriter {
public:
    explicit XmlWriter(std::string& out) : out_(out) {}

    // The declaration of a standalone document in UTF-8.
    XmlWriter& declare();

    XmlWriter& open(std::string_view name) {
        endTag();
        out_ += '<';
        out_ += name;
        names_.push_back(name);
        tagIsOpen_ = true;
        return *this;
    }

    // The value consists of the parts: texts, which are escaped, numbers, and objects with appendTo().
    template <class... Parts>
    XmlWriter& attribute(std::string_view name, const Parts&... parts) {
        beginAttribute(name);
        (appendValue(parts), ...);
        return endAttribute();
    }
    // Append the value to the returned string, without characters that need escapes, and call endAttribute().
    std::string& beginAttribute(std::string_view name) {
        out_ += ' ';
        out_ += name;
        out_ += "=\"";
        return out_;
    }
    XmlWriter& endAttribute() {
        out_ += '"';
        return *this;
    }

    template <class... Parts>
    XmlWriter& text(const Parts&... parts) {
        endTag();
        (appendText(parts), ...);
        return *this;
    }

    // For content that is already XML.
    std::string& content() {
        endTag();
        return out_;
    }

    XmlWriter& close() {
        if (tagIsOpen_) {
            out_ += "/>";
            tagIsOpen_ = false;
        } else {
            out_ += "</";
            out_ += names_.back();
            out_ += '>';
        }
        names_.pop_back();
        return *this;
    }

    // An element that contains only text.
    template <class... Parts>
    XmlWriter& element(std::string_view name, const Parts&... parts) {
        return open(name).text(parts...).close();
    }

    XmlWriter& lineEnd() {
        endTag();
        out_ += '\n';
        return *this;
    }

    // Continues an element whose start tag was written elsewhere.
    XmlWriter& resume(std::string_view name) {
        names_.push_back(name);
        return *this;
    }

private:
    void endTag() {
        if (!tagIsOpen_) return;
        out_ += '>';
        tagIsOpen_ = false;
    }

    template <class Part>
    void appendValue(const Part& part) {
        if constexpr (XmlPart<Part>) {
            part.appendTo(out_);
        } else if constexpr (XmlNumber<Part>) {
            appendXmlNumber(out_, part);
        } else {
            appendXmlValue(out_, part);
        }
    }
    template <class Part>
    void appendText(const Part& part) {
        if constexpr (XmlPart<Part>) {
            part.appendTo(out_);
        } else if constexpr (XmlNumber<Part>) {
            appendXmlNumber(out_, part);
        } else {
            appendXmlText(out_, part);
        }
    }

    std::string& out_;
    std::vector<std::string_view> names_;  // of the open elements
    bool tagIsOpen_ = false;
};

}  // namespace qbsvrl6

#endif
