#include <cstddef>
#include <vector>

#include "json/internal/parsed_text.h"
#include "json/internal/text_writer.h"
#include "json/json_tree.h"

namespace larkspur {

namespace json_internal {

// Writes a node and all nodes or values below it. Open objects and arrays are in a list instead of on the stack.
class TreeWriter {
public:
    TreeWriter(lkstr& out, const lkchar* separator)
        : m_Out(out), m_Separator(separator == nullptr ? gc_lkchar_empty : separator) {}

    void Write(const ClkJsonNode& top) {
        WriteNode(top);
        while (!m_Open.empty()) {
            Container& container = m_Open.back();
            if (container.next == container.size) {
                PutSeparator();
                m_Out.Put(container.kind == ClkJsonObject ? u'}' : u']');
                m_Open.pop_back();
            } else {
                WriteChild(container, container.next++);
            }
        }
        m_Out.Flush();
    }

private:
    // An open object or array: a node or, if `values` isn't null, one without nodes.
    struct Container {
        ClkJsonKind kind;
        const ClkJsonNode* node;
        const ValueList* values;
        std::size_t size;
        std::size_t next = 0;  // child to write
    };

    void WriteNode(const ClkJsonNode& node) {
        if (node.Kind() == ClkJsonString || node.Kind() == ClkJsonLiteral) {
            const lkstr& text = static_cast<const ClkJsonAtomNode&>(node).Text();
            WriteAtom(node.Kind(), text.data(), text.size());
            return;
        }
        const ValueList* values = static_cast<const ClkJsonComplexNode&>(node).Values();
        std::size_t size = 0;
        if (values != nullptr) {
            size = values->size;
        } else if (node.Kind() == ClkJsonObject) {
            size = static_cast<const ClkJsonObjectNode&>(node).Members().size();
        } else {
            size = static_cast<const ClkJsonArrayNode&>(node).Items().size();
        }
        Open({node.Kind(), &node, values, size});
    }

    void WriteValue(const Value& value) {
        if (value.Kind() == ClkJsonString || value.Kind() == ClkJsonLiteral) {
            WriteAtom(value.Kind(), value.text, value.size);
        } else {
            Open({value.Kind(), nullptr, value.children, value.children->size});
        }
    }

    void WriteAtom(ClkJsonKind kind, const lkchar* text, std::size_t n) {
        if (kind == ClkJsonString) {
            m_Out.Put(u'"');
            m_Out.PutEncoded(text, text + n);
            m_Out.Put(u'"');
        } else {
            m_Out.Put(text, n);
        }
        PutSeparator();
    }

    void Open(const Container& container) {
        m_Out.Put(container.kind == ClkJsonObject ? u'{' : u'[');
        m_Open.push_back(container);
    }

    // The container is invalid afterwards.
    void WriteChild(const Container& container, std::size_t index) {
        if (index != 0) m_Out.Put(u',');
        PutSeparator();
        const bool inObject = container.kind == ClkJsonObject;
        if (container.values != nullptr) {
            const Value& value = container.values->begin()[index];
            if (inObject) WriteName(*container.values->source->Name(value.name).Get());
            WriteValue(value);
        } else if (inObject) {
            const auto& members = static_cast<const ClkJsonObjectNode*>(container.node)->Members();
            const ClkJsonMember& member = members.begin()[index];
            WriteName(member.first);
            WriteNode(*member.second);
        } else {
            WriteNode(*static_cast<const ClkJsonArrayNode*>(container.node)->Items()[index]);
        }
    }

    void WriteName(const lkstr& name) {
        m_Out.Put(u'"');
        m_Out.Put(name);
        m_Out.Put(u'"');
        m_Out.Put(u':');
    }

    void PutSeparator() {
        if (!m_Separator.empty()) m_Out.Put(m_Separator);
    }

    TextWriter m_Out;
    const lkstr m_Separator;
    std::vector<Container> m_Open;  // innermost last
};

}  // namespace json_internal

void ClkJsonAtomNode::StringifyAppend(lkstr& out, const lkchar* separator) const {
    json_internal::TreeWriter(out, separator).Write(*this);
}

void ClkJsonObjectNode::StringifyAppend(lkstr& out, const lkchar* separator) const {
    json_internal::TreeWriter(out, separator).Write(*this);
}

void ClkJsonArrayNode::StringifyAppend(lkstr& out, const lkchar* separator) const {
    json_internal::TreeWriter(out, separator).Write(*this);
}

}  // namespace larkspur
