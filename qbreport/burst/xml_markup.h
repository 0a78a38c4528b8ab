// The tags of an XML text that is read in a window.
#ifndef QBSVR_QBREPORT_BURST_XML_MARKUP_H
#define QBSVR_QBREPORT_BURST_XML_MARKUP_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qbreport/burst/source.h"

namespace qbreport {

struct XmlTag {
    enum class Kind : std::uint8_t { Start, Empty, End };
    Kind kind = Kind::Start;
    std::size_t begin = 0;  // in the window
    std::size_t end = 0;
};

class XmlMarkup {
public:
    XmlMarkup(const Source& source, Digest* digest) : source_(source), window_(source, digest) {}

    // Drops what is before the next tag, which then begins the window. Keeps the names of the open elements.
    // Returns false at the end of the source. Raises Failure for tags that do not match.
    bool next(XmlTag& tag);
    // The end of the element that the last tag has begun. Its end tag is then the last one.
    std::size_t elementEnd(const XmlTag& start);
    // The elements that are open: with that of a start tag, without that of an end tag. An empty element is
    // open until the next call.
    const std::vector<std::string>& open() const { return open_; }

    std::string_view text(std::size_t begin, std::size_t end) const {
        return window_.text().substr(begin, end - begin);
    }
    std::uint64_t offset() const { return window_.offset(); }  // of the last tag
    [[noreturn]] void fail(const std::string& problem) const;

private:
    bool find(std::size_t from, XmlTag& tag);
    std::size_t findText(std::string_view wanted, std::size_t from);
    std::size_t endOfStart(std::size_t from);
    char at(std::size_t index);
    std::string_view nameOf(const XmlTag& tag) const;
    void follow(const XmlTag& tag);

    const Source& source_;
    Window window_;
    std::vector<std::string> open_;
    std::size_t handled_ = 0;  // bytes of the window that belong to the last tag or element
    bool closesLast_ = false;
};

}  // namespace qbreport

#endif
