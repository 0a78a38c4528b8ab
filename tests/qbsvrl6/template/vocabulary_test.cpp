#include <gtest/gtest.h>

#include <fstream>
#include <pugixml.hpp>
#include <set>
#include <sstream>
#include <string>
#include <utility>

#include "qbsvrl6/template/schema.h"
#include "tests/source_directory.h"

namespace qbsvrl6 {
namespace {

using Names = std::set<std::string>;

// Walks the description of the format in place of a reader or writer, and notes "element attribute" and
// "element > child".
class NotingElement {
public:
    NotingElement(Names& noted, std::string name) : noted_(noted), name_(std::move(name)) {}

    template <class T, class Codec>
    void attribute(const char* name, T&, const T&, const Codec&) {
        note(name);
    }
    template <class T, class Codec>
    void attribute(const char* name, std::optional<T>&, const Codec&) {
        note(name);
    }
    template <class T, class Codec>
    void required(const char* name, T&, const Codec&) {
        note(name);
    }
    void address(const char* name, const Address&) { note(name); }
    void startingFolder(const char* name, const Address&, const std::u16string&) { note(name); }
    void styleReference(const char* name, const std::u16string&) { note(name); }
    void tableName(const char* name, const std::u16string&, TextUse) { note(name); }
    void columnReference(const char* name, const std::u16string&) { note(name); }
    template <class... Lines>
    void borders(const Lines&...) {
        for (const char* name : {"border", "borderLeft", "borderTop", "borderRight", "borderBottom"})
            note(name);
    }
    void paper(PageSetup&) {
        for (const char* name : {"size", "orientation", "width", "height", "margins"}) note(name);
    }

    template <class Describe>
    void child(const char* name, Describe&& describe) {
        // Reports are described once: they hold one another.
        if (!noted_.insert(name_ + " > " + name).second && std::string(name) == "Report") return;
        NotingElement element(noted_, name);
        describe(element);
    }
    template <class T, class Describe>
    void pointer(const char* name, std::unique_ptr<T>&, Describe&& describe) {
        T value;
        child(name, [&](NotingElement& element) { describe(element, value); });
    }
    template <class T, class Describe>
    void list(const char* name, std::vector<T>&, Describe&& describe) {
        T value;
        child(name, [&](NotingElement& element) { describe(element, valueOf(value)); });
    }
    template <class T, class IsOfKind, class Describe>
    void listOf(const char* name, std::vector<T>& values, IsOfKind&&, Describe&& describe) {
        list(name, values, describe);
    }
    template <class T, class Describe>
    void namedList(const char* name, std::vector<T>& values, std::size_t, Describe&& describe) {
        list(name, values, describe);
    }
    void bytes(const char* name, std::string&) {
        child(name, [](NotingElement&) {});
    }
    void controls(ControlList&) { noteControls(false); }
    void cell(const char* name, Control& control) {
        child(name, [&](NotingElement& element) {
            TextContent text;
            describeControlFrame(element, control, true);
            describeText(element, text);
            describeConditions(element, control);
            element.noteControls(true);
        });
    }
    void nestedReport(const char* name, std::unique_ptr<Report>&) {
        ReportDefinition report;
        child(name, [&](NotingElement& element) { describeReport(element, report, ReportPlace::SubReport); });
    }
    void refuse(bool, const char*) {}
    void refuseChildren(std::initializer_list<const char*>, const char*) {}
    void checkReferences(const ReportDefinition&) {}

private:
    void note(const char* name) { noted_.insert(name_ + " " + name); }

    template <class T>
    static T& valueOf(T& value) {
        return value;
    }
    template <class T>
    static T& valueOf(std::unique_ptr<T>& value) {
        value = std::make_unique<T>();
        return *value;
    }

    void noteControls(bool inCell) {
        forEachControlKind([&](const char* name, auto content, auto describeContent) {
            Control control;
            const std::string first = name_ + " > " + name;
            if (noted_.contains(first)) return;
            child(name, [&](NotingElement& element) {
                describeControlFrame(element, control, inCell);
                describeContent(element, content);
                describeConditions(element, control);
            });
        });
    }

    Names& noted_;
    std::string name_;
};

const Names& known() {
    static const Names names = [] {
        Names noted{"Report version"};
        ReportDefinition report;
        NotingElement root(noted, "Report");
        describeReport(root, report, ReportPlace::Root);
        return noted;
    }();
    return names;
}

std::string contents(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(QBSVR_SOURCE_DIR + path, std::ios::binary).rdbuf();
    return text.str();
}

// The last word of each: attributes and elements by themselves.
Names words(const Names& names) {
    Names result;
    for (const std::string& name : names) result.insert(name.substr(name.rfind(' ') + 1));
    return result;
}

// The names that an XML schema declares.
void addDeclared(pugi::xml_node node, Names& declared) {
    const std::string kind = node.name();
    if ((kind == "xs:element" || kind == "xs:attribute") && node.attribute("name"))
        declared.insert(node.attribute("name").value());
    for (const pugi::xml_node child : node.children()) addDeclared(child, declared);
}

Names wordsOfText(const std::string& text) {
    Names found;
    std::string word;
    for (const char c : text + ' ') {
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) {
            word += c;
        } else if (!word.empty()) {
            found.insert(std::exchange(word, {}));
        }
    }
    return found;
}

void addUsed(pugi::xml_node element, Names& used) {
    for (const pugi::xml_attribute attribute : element.attributes())
        used.insert(std::string(element.name()) + " " + attribute.name());
    for (const pugi::xml_node child : element.children()) {
        if (child.type() != pugi::node_element) continue;
        used.insert(std::string(element.name()) + " > " + child.name());
        addUsed(child, used);
    }
}

TEST(TemplateVocabulary, IsTheSameInTheSchemaAndInTheDescription) {
    const Names expected = words(known());
    EXPECT_GT(expected.size(), 100u);
    pugi::xml_document schema;
    ASSERT_TRUE(schema.load_file(QBSVR_SOURCE_DIR "/docs/template-format.xsd"));
    Names declared;
    addDeclared(schema, declared);
    EXPECT_EQ(declared, expected);
    Names missing = expected;
    for (const std::string& word : wordsOfText(contents("/docs/template-format.md"))) missing.erase(word);
    EXPECT_EQ(missing, Names{});
}

// What the round trip of this file covers is all there is. Style attributes and what all controls share need
// not stand on each kind of element.
TEST(TemplateVocabulary, StandsInTheTemplateThatHasEverything) {
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(QBSVR_SOURCE_DIR "/tests/qbsvrl6/template/everything.qbf"));
    Names used;
    addUsed(document, used);
    const Names usedWords = words(used);
    for (const std::string& word : words(known())) EXPECT_TRUE(usedWords.contains(word)) << word;
}

}  // namespace
}  // namespace qbsvrl6
