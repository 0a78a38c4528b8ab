// A password, cleared from memory when it is no longer needed.
#ifndef QBSVR_QBSVRL6_MODEL_SECRET_H
#define QBSVR_QBSVRL6_MODEL_SECRET_H

#include <string.h>

#include <memory>
#include <string>
#include <string_view>

namespace qbsvrl6 {

// Copies share one text. It is never written to a log, a template or a message.
class Secret {
public:
    Secret() = default;
    explicit Secret(std::string_view text) : text_(new std::string(text), release) {}

    bool isSet() const { return text_ != nullptr; }
    std::string_view view() const { return text_ ? std::string_view(*text_) : std::string_view(); }

    static void clear(std::string& text) {
        text.resize(text.capacity());
        explicit_bzero(text.data(), text.size());
        text.clear();
    }

private:
    static void release(std::string* text) {
        clear(*text);
        delete text;
    }

    std::shared_ptr<std::string> text_;
};

}  // namespace qbsvrl6

#endif
