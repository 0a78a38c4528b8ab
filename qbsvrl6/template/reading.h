// What has been read of a template, and what is still to be checked or placed.
#ifndef QBSVR_QBSVRL6_TEMPLATE_READING_H
#define QBSVR_QBSVRL6_TEMPLATE_READING_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "qbsvrl6/model/report.h"
#include "qbsvrl6/model/text_places.h"
#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/source_text.h"
#include "qbsvrl6/template/libraries.h"

namespace qbsvrl6 {

// A style or column that is named before the whole report is known.
struct Reference {
    enum class To { Style, Column, Page } to;
    std::u16string name;
    std::size_t offset;
};

// An expression, a sort or a text with placeholders, which is checked against the whole report.
struct NotedExpression {
    enum class Kind { Expression, Sort, Placeholders, Return, Cross };

    std::string attribute;
    std::u16string text;
    Kind kind;
    bool knowsPage;
    std::size_t offset;
};

// The name of a value that a sub-report returns.
struct NotedReturn {
    std::u16string name;
    std::size_t offset;
};

// A text whose position the report stores for messages.
struct PlacedText {
    std::size_t offset;
    std::size_t key;
    TextPlaces* places;
};

// A control whose position the report stores for messages.
struct PlacedControl {
    std::size_t offset;
    Control* control;
};

struct FoundError {
    ErrorCode code;
    std::string message;
    std::size_t offset;
};

struct FoundWarning {
    std::string message;
    std::size_t offset;
    bool operator<(const FoundWarning& other) const { return offset < other.offset; }
};

// Ends the reading of a template with too many errors, or with one that makes the rest meaningless.
struct ReadingEnds {};

// A report that is being read, and the names of its styles, collected when they are first asked for.
struct ReportAround {
    const ReportDefinition* report = nullptr;
    std::optional<std::unordered_set<std::u16string_view>> styles = {};

    bool hasStyle(const std::u16string& name) {
        if (!styles) {
            styles.emplace();
            for (const NamedStyle& style : report->styles) styles->insert(style.name);
            for (const Include& include : report->includes) {
                for (const NamedStyle& style : include.library->styles) styles->insert(style.name);
            }
        }
        return styles->contains(name);
    }
};

struct Reading {
    const SourceText& source;
    Libraries& libraries;
    std::string folder;  // of the template; its relative names start there
    std::string home;    // the same for reach.h; empty: the template is from no file
    std::vector<Reference> references = {};
    std::vector<NotedExpression> expressions = {};
    std::vector<NotedExpression> innerExpressions = {};  // of the sub-report that follows
    std::vector<NotedReturn> returns = {};
    std::vector<FoundError> errors = {};
    std::vector<FoundWarning> warnings = {};
    std::vector<PlacedText> texts = {};
    std::vector<PlacedControl> controls = {};
    TextPlaces* places = nullptr;            // of the report that is being read
    std::vector<ReportAround> reports = {};  // that one, after those around it
    int reportDepth = 0;
    Parts parts = {};  // of all included libraries
    bool isLibrary = false;
    std::vector<EngineError> libraryErrors = {};

    // Reading continues after most errors, so that all of them are reported.
    void addError(ErrorCode code, std::string message, std::size_t offset);
    // Raises a TemplateError with the errors, in the order of the text.
    [[noreturn]] void fail();
    void logWarnings();

    void addText(std::u16string_view text, TextUse use, std::size_t offset) {
        texts.push_back({offset, TextPlaces::keyOf(text, use), places});
    }
    // Stores the places of texts and controls in all reports.
    void settlePlaces();
};

// How messages name them.
inline std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }
inline std::string tag(std::string_view name) { return '<' + std::string(name) + '>'; }

}  // namespace qbsvrl6

#endif
