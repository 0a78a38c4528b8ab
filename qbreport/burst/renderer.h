// A report of the engine that makes one document after another. Each worker has its own.
#ifndef QBSVR_QBREPORT_BURST_RENDERER_H
#define QBSVR_QBREPORT_BURST_RENDERER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/qbsvr_more.h"
#include "qbreport/burst/documents.h"
#include "qbreport/commands.h"

namespace qbreport {

// The same for all documents.
struct RenderPlan {
    std::string templateFile;
    std::string templateBytes;
    std::string format;
    ExportOptions exportOptions;
    std::vector<std::pair<std::string, std::string>> parameters;
    std::string dataName;  // in messages
    std::string dataKind;
    std::string dataHead;
    std::string dataTail;  // not empty: rows are JSON Lines that become elements of an array
    bool isKeyList = false;
    std::string connection;                // of the template's query, if there is a list of keys
    std::vector<std::string> columnNames;  // of Document::values
};

struct Rendered {
    bool isMade = false;
    std::string_view bytes;  // until the next document
    std::uint64_t pages = 0;
    std::vector<std::string> warnings;
    std::vector<std::string> errors;
};

class Renderer {
public:
    // Raises Failure if the template cannot be used.
    explicit Renderer(const RenderPlan& plan);
    ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    // A document with an error is not made: a part of it would be missing.
    Rendered render(const Document& document);

private:
    bool load(const Document& document);
    const std::string& dataOf(const Document& document);
    bool run(Rendered& rendered);
    void takeMessages(Rendered& rendered);

    const RenderPlan& plan_;
    tagQBReport* report_;
    std::string data_;
};

}  // namespace qbreport

#endif
