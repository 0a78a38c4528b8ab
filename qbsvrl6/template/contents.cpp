#include "qbsvrl6/template/contents.h"

#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <variant>

#include "qbsvrl6/bind/sort_terms.h"
#include "qbsvrl6/bind/text_template.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/template/schema.h"

namespace qbsvrl6 {

namespace {

// Mentions by name, without regard to ASCII case.
class Mentions {
public:
    explicit Mentions(std::vector<Mention>& all) : all_(all) {}

    // `place` is called only for a new name.
    template <class Place>
    void add(const std::u16string& name, Place&& place) {
        const auto [known, isNew] = index_.try_emplace(lowerCase(name), all_.size());
        if (isNew) all_.push_back({name, 0, place()});
        ++all_[known->second].count;
    }

private:
    std::vector<Mention>& all_;
    std::unordered_map<std::u16string, std::size_t> index_;
};

struct Collected {
    explicit Collected(TemplateContents& contents) : names(contents.names), fonts(contents.fonts) {}
    Mentions names;
    Mentions fonts;
};

// Walks the vocabulary (schema.h) as the writer does, and reads the texts.
class CollectElement {
public:
    CollectElement(Collected& collected, const ReportDefinition& report)
        : collected_(collected), report_(report) {}

    template <class T, class Codec>
    void attribute(const char*, const T& value, const T&, const Codec&) {
        if constexpr (std::is_same_v<Codec, ExpressionCodec>) {
            addExpression(value);
        } else if constexpr (std::is_same_v<Codec, PlaceholderCodec>) {
            addText(value);
        } else if constexpr (std::is_same_v<Codec, SortCodec>) {
            addSort(value);
        }
    }
    template <class T, class Codec>
    void attribute(const char* name, const std::optional<T>& value, const Codec&) {
        if constexpr (std::is_same_v<T, std::u16string>) {
            if (value && std::string_view(name) == "font")
                collected_.fonts.add(*value, [] { return TextPosition(); });
        }
    }
    template <class T, class Codec>
    void required(const char* name, const T& value, const Codec& codec) {
        attribute(name, value, T{}, codec);
    }
    template <class Describe>
    void child(const char*, Describe&& describe) {
        describe(*this);
    }
    template <class Describe>
    void childWithout(const char*, const char*, Describe&& describe) {
        describe(*this);
    }
    template <class T, class Describe>
    void pointer(const char*, const Owned<T>& value, Describe&& describe) {
        if (value) describe(*this, *value);
    }
    template <class T, class Describe>
    void pointerIf(bool applies, const char* name, const Owned<T>& value, Describe&& describe) {
        if (applies) pointer(name, value, describe);
    }
    template <class DescribeColumn, class DescribeSpan>
    void columnTree(const char*, const char*, const std::vector<Owned<Column>>& columns,
                    DescribeColumn&& describeColumn, DescribeSpan&& describeSpan) {
        std::unordered_set<const TitleSpan*> known;
        for (const auto& column : columns) {
            for (const auto& span : column->titleSpans) {
                if (known.insert(span.get()).second) describeSpan(*this, *span);
            }
            describeColumn(*this, *column);
        }
    }
    template <class T, class Describe>
    void list(const char*, const std::vector<T>& values, Describe&& describe) {
        for (const T& value : values) describe(*this, describedIn(value));
    }
    template <class T, class IsOfKind, class Describe>
    void listOf(const char* name, const std::vector<T>& values, IsOfKind&&, Describe&& describe) {
        list(name, values, describe);
    }
    template <class T, class Describe>
    void namedList(const char* name, const std::vector<T>& values, std::size_t, Describe&& describe) {
        list(name, values, describe);
    }
    void controls(const ControlList& controls) {
        for (const auto& control : controls.items) cell("", *control);
    }
    void cell(const char*, const Control& control) {
        describeControlFrame(*this, control, true);
        forEachControlKind([&](const char*, auto&& empty, auto describeContent) {
            const auto* const content = std::get_if<std::decay_t<decltype(empty)>>(&control.content);
            if (content != nullptr) describeContent(*this, *content);
        });
        describeConditions(*this, control);
    }
    void nestedReport(const char*, const Owned<Report>& report) {
        CollectElement inner(collected_, report->definition);
        for (const std::u16string* const text : std::exchange(inner_, {})) inner.addExpression(*text);
        describeReport(inner, report->definition, ReportPlace::SubReport);
    }

    void address(const char*, const Address&) {}
    void connection(const char*, const Address&, TextUse) {}
    void query(const char*, const Address&) {}
    void queryText(const char*, const Address&) {}
    void text(const char*, const std::u16string&) {}
    void startingFolder(const char*, const Address&, const std::u16string&) {}
    void styleReference(const char*, const std::u16string&) {}
    void columnReference(const char*, const std::u16string&) {}
    void pageReference(const char*, const std::u16string&) {}
    void tableName(const char*, const std::u16string&, TextUse) {}
    void returnName(const char*, const std::u16string&) {}
    void innerExpression(const char*, const std::u16string& value) { inner_.push_back(&value); }
    void placedName(const char*, const std::u16string&) {}
    void borders(const std::optional<BorderLine>&, const std::optional<BorderLine>&,
                 const std::optional<BorderLine>&, const std::optional<BorderLine>&) {}
    void paper(const PageSetup&, const Size& = {}) {}
    void refuse(bool, const char*) {}
    void library(const Include&) {}
    template <class Describe>
    void withoutReturns(Describe&& describe) {
        describe();
    }
    void bytes(const char*, const std::string&) {}
    void checkReferences(const ReportDefinition&) {}
    void refuseChildren(std::initializer_list<const char*>, const char*) {}

private:
    TextPosition placeOf(std::u16string_view text) const {
        const TextPosition place = report_.placesOf(text, TextUse::Report).front();
        return place.line > 0 ? place : report_.placesOf(text, TextUse::ChartRows).front();
    }

    void addExpression(const std::u16string& text) {
        if (text.empty()) return;
        try {
            addNames(Expression::parse(text), text);
        } catch (const EngineError&) {  // NOLINT(bugprone-empty-catch): an export tells what is wrong
        }
    }

    void addSort(const std::u16string& text) {
        try {
            for (const SortTerm& term : parseSortTerms(text)) addNames(term.expression, text);
        } catch (const EngineError&) {  // NOLINT(bugprone-empty-catch): as above
        }
    }

    void addText(const std::u16string& text) {
        try {
            const TextTemplate parsed = TextTemplate::parse(text);
            for (const TextPart& part : parsed.parts) {
                if (part.expression) addNames(*part.expression, text);
            }
        } catch (const EngineError&) {  // NOLINT(bugprone-empty-catch): as above
        }
    }

    void addNames(const Expression& expression, const std::u16string& text) {
        for (const BoundName& name : expression.names) {
            collected_.names.add(name.name, [&] { return placeOf(text); });
        }
        for (const Aggregate& aggregate : expression.aggregates) {
            if (aggregate.argument) addNames(*aggregate.argument, text);
        }
        for (const Lookup& lookup : expression.lookups) {
            for (const Expression* const part :
                 {lookup.sought.get(), lookup.key.get(), lookup.result.get()}) {
                if (part != nullptr) addNames(*part, text);
            }
        }
    }

    Collected& collected_;
    const ReportDefinition& report_;
    std::vector<const std::u16string*> inner_;  // expressions of the nested report that follows
};

}  // namespace

TemplateContents contentsOf(const ReportDefinition& report) {
    TemplateContents contents;
    Collected collected(contents);
    CollectElement root(collected, report);
    describeReport(root, report, ReportPlace::Root);
    return contents;
}

}  // namespace qbsvrl6
