#include "qbreport/burst/xml_markup.h"

#include <algorithm>
#include <utility>

#include "qbreport/failure.h"

namespace qbreport {

namespace {

constexpr std::size_t kMostDepth = 200;  // as that of the engine

}  // namespace

void XmlMarkup::fail(const std::string& problem) const {
    throw Failure("\"" + source_.name() + "\", byte " + std::to_string(window_.offset()) + ": " + problem);
}

// The character at the index; 0 at the end of the source.
char XmlMarkup::at(std::size_t index) {
    while (index >= window_.text().size()) {
        if (!window_.readMore()) return '\0';
    }
    return window_.text()[index];
}

std::size_t XmlMarkup::findText(std::string_view wanted, std::size_t from) {
    for (;;) {
        const std::string_view text = window_.text();
        const std::size_t found = text.find(wanted, from);
        if (found != std::string_view::npos) return found;
        from = std::max(from, text.size() - std::min(text.size(), wanted.size() - 1));
        if (!window_.readMore()) return std::string_view::npos;
    }
}

std::size_t XmlMarkup::endOfStart(std::size_t from) {
    char quote = '\0';
    for (;; ++from) {
        const char c = at(from);
        if (c == '\0' && from >= window_.text().size()) return std::string_view::npos;
        if (quote != '\0') {
            if (c == quote) quote = '\0';
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return from;
        }
    }
}

bool XmlMarkup::find(std::size_t from, XmlTag& tag) {
    for (;;) {
        const std::size_t begin = findText("<", from);
        if (begin == std::string_view::npos) return false;
        constexpr std::size_t kLongestOpening = 9;  // <![CDATA[
        at(begin + kLongestOpening);
        const std::string_view opening = window_.text().substr(begin, kLongestOpening);
        const auto endAfter = [&](std::string_view closing, std::size_t skipped) {
            const std::size_t found = findText(closing, begin + skipped);
            if (found == std::string_view::npos) fail("what begins with \"<\" here has no end");
            return found + closing.size();
        };
        if (opening.starts_with("<!--")) {
            from = endAfter("-->", 4);
        } else if (opening.starts_with("<![CDATA[")) {
            from = endAfter("]]>", kLongestOpening);
        } else if (opening.starts_with("<?")) {
            from = endAfter("?>", 2);
        } else if (opening.starts_with("<!")) {
            from = endAfter(">", 2);
            if (text(begin, from).find('[') != std::string_view::npos)
                fail("a document type with definitions is refused");
        } else {
            const bool isEnd = opening.starts_with("</");
            const std::size_t end = endOfStart(begin);
            if (end == std::string_view::npos) fail("what begins with \"<\" here has no end");
            const bool isEmpty = window_.text()[end - 1] == '/';
            tag.kind = isEnd ? XmlTag::Kind::End : isEmpty ? XmlTag::Kind::Empty : XmlTag::Kind::Start;
            tag.begin = begin;
            tag.end = end + 1;
            return true;
        }
    }
}

std::string_view XmlMarkup::nameOf(const XmlTag& tag) const {
    const std::string_view rest = text(tag.begin + (tag.kind == XmlTag::Kind::End ? 2 : 1), tag.end - 1);
    return rest.substr(0, rest.find_first_of(" \t\r\n/"));
}

void XmlMarkup::follow(const XmlTag& tag) {
    if (closesLast_) open_.pop_back();
    closesLast_ = tag.kind == XmlTag::Kind::Empty;
    const std::string_view name = nameOf(tag);
    if (tag.kind != XmlTag::Kind::End) {
        if (open_.size() == kMostDepth) fail("elements are nested more than 200 deep");
        open_.emplace_back(name);
        return;
    }
    if (open_.empty()) fail("</" + std::string(name) + "> closes no element");
    if (open_.back() != name) fail("</" + std::string(name) + "> cannot close <" + open_.back() + ">");
    open_.pop_back();
}

bool XmlMarkup::next(XmlTag& tag) {
    window_.drop(handled_);
    handled_ = 0;
    if (!find(0, tag)) {
        if (std::exchange(closesLast_, false)) open_.pop_back();
        if (!open_.empty()) fail("the file ends within <" + open_.back() + ">");
        return false;
    }
    window_.drop(tag.begin);
    tag.end -= tag.begin;
    tag.begin = 0;
    handled_ = tag.end;
    follow(tag);
    return true;
}

std::size_t XmlMarkup::elementEnd(const XmlTag& start) {
    if (start.kind == XmlTag::Kind::Empty) return start.end;
    const std::size_t depth = open_.size();
    while (open_.size() - (closesLast_ ? 1 : 0) >= depth) {
        XmlTag tag;
        if (!find(handled_, tag)) fail("the file ends within <" + open_.back() + ">");
        handled_ = tag.end;
        follow(tag);
    }
    return handled_;
}

}  // namespace qbreport
