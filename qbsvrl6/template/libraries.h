// The libraries of styles and parts that a template includes.
#ifndef QBSVR_QBSVRL6_TEMPLATE_LIBRARIES_H
#define QBSVR_QBSVRL6_TEMPLATE_LIBRARIES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "qbsvrl6/model/report.h"

namespace qbsvrl6 {

// Controls that sections of templates use.
struct Part {
    std::u16string name;
    Micrometres height = 0;
    ControlList controls;
    std::vector<std::size_t> textKeys;  // of the texts in them, as TextPlaces has them
    std::uint64_t elements = 0;         // of its XML
};

using Parts = std::map<std::u16string, std::shared_ptr<const Part>>;

// A library with everything that it includes itself.
struct ReadLibrary {
    std::shared_ptr<const Library> library;
    Parts parts;
};

// Opens the libraries of a template, each once: no library includes itself, and their number, depth and size
// are limited.
class Libraries {
public:
    // Reads a library from its text. `path` is for messages; relative names start at its folder.
    using Read = std::function<ReadLibrary(const std::string& bytes, const std::string& path)>;

    explicit Libraries(Read read) : read_(std::move(read)) {}

    // Raises EngineError with the file and the cause, or what `Read` raises.
    const ReadLibrary& open(const Address& href);

    // Adds elements of the template, of a library or of a part that is used once more. Raises EngineError if
    // all of them exceed the budget of a template.
    void countElements(std::uint64_t count);
    std::uint64_t elements() const { return elements_; }
    bool isEmpty() const { return known_.empty(); }

private:
    Read read_;
    std::vector<std::string> open_;  // paths of those that are being read, the outermost first
    std::map<std::string, ReadLibrary> known_;
    std::size_t bytes_ = 0;
    std::uint64_t elements_ = 0;
};

}  // namespace qbsvrl6

#endif
