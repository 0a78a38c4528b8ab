// Appends JSON to a string, member by member.
#ifndef QBSVR_QBSVRL6_SHEET_JSON_JSON_BUILDER_H
#define QBSVR_QBSVRL6_SHEET_JSON_JSON_BUILDER_H

#include <string>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

// Appends a quoted string. Lone surrogates become U+FFFD.
void appendJsonString(std::string& out, std::u16string_view text);

// Keeps the commas and the brackets:
//
//     JsonBuilder json(out);
//     json.open('{').member("rows").open('[').text(u"a").text(u"b").close().close();
//
// appends {"rows":["a","b"]}. Names are plain ASCII.
class JsonBuilder {
public:
    explicit JsonBuilder(std::string& out) : out_(out) {}

    JsonBuilder& open(char bracket) {
        separate();
        out_ += bracket;
        open_.push_back({bracket == '{' ? '}' : ']', false});
        return *this;
    }
    JsonBuilder& close() {
        out_ += open_.back().end;
        open_.pop_back();
        return *this;
    }

    JsonBuilder& member(std::string_view name) {
        separate();
        out_ += '"';
        out_ += name;
        out_ += "\":";
        isValue_ = true;
        return *this;
    }
    JsonBuilder& text(std::u16string_view value) {
        separate();
        appendJsonString(out_, value);
        return *this;
    }
    JsonBuilder& number(int value) { return literal(std::to_string(value)); }
    // A number, true, false or null, or members that are already JSON.
    JsonBuilder& literal(std::string_view value) {
        content() += value;
        return *this;
    }
    // To append a value as JSON.
    std::string& content() {
        separate();
        return out_;
    }
    // The next value begins a line.
    JsonBuilder& lineEnd() {
        breaksLine_ = true;
        return *this;
    }
    // Continues an object that another builder has opened.
    JsonBuilder& resume(bool hasMembers) {
        open_.push_back({'}', hasMembers});
        return *this;
    }
    // Whether the open bracket has something in it.
    bool hasMembers() const { return open_.back().hasMembers; }

private:
    struct Open {
        char end;
        bool hasMembers;
    };

    void separate() {
        if (isValue_) {
            isValue_ = false;
            return;
        }
        if (open_.empty()) return;
        if (open_.back().hasMembers) out_ += ',';
        open_.back().hasMembers = true;
        if (breaksLine_) out_ += '\n';
        breaksLine_ = false;
    }

    std::string& out_;
    std::vector<Open> open_;
    bool isValue_ = false;  // the next one is the value of a member
    bool breaksLine_ = false;
};

}  // namespace qbsvrl6

#endif
