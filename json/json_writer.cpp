#include <cstddef>
#include <vector>

#include "json/internal/text_writer.h"
#include "json/json_tree.h"

namespace larkspur {

namespace {

// Writes a node and all nodes below it. Open containers are in a list instead of on the stack.
class TreeWriter {
public:
    TreeWriter(lkstr& out, const lkchar* separator)
        : m_Out(out), m_Separator(separator == nullptr ? gc_lkchar_empty : separator) {}

    void Write(const ClkJsonNode& top) {
        WriteValue(top);
        while (!m_Open.empty()) {
            Container& container = m_Open.back();
            const std::size_t index = container.next++;
            if (container.node->Kind() == ClkJsonObject) {
                WriteMember(static_cast<const ClkJsonObjectNode*>(container.node)->Members(), index);
            } else {
                WriteItem(static_cast<const ClkJsonArrayNode*>(container.node)->Items(), index);
            }
        }
        m_Out.Flush();
    }

private:
    struct Container {
        const ClkJsonNode* node;
        std::size_t next;  // child to write
    };

    // Writes an atom, or the opening bracket of an object or array.
    void WriteValue(const ClkJsonNode& node) {
        switch (node.Kind()) {
            case ClkJsonString: {
                const lkstr& text = static_cast<const ClkJsonAtomNode&>(node).Text();
                m_Out.Put(u'"');
                m_Out.PutEncoded(text.data(), text.data() + text.size());
                m_Out.Put(u'"');
                PutSeparator();
                break;
            }
            case ClkJsonLiteral:
                m_Out.Put(static_cast<const ClkJsonAtomNode&>(node).Text());
                PutSeparator();
                break;
            case ClkJsonObject:
                m_Out.Put(u'{');
                m_Open.push_back({&node, 0});
                break;
            case ClkJsonArray:
                m_Out.Put(u'[');
                m_Open.push_back({&node, 0});
                break;
        }
    }

    void WriteMember(const ClkJsonMembers& members, std::size_t index) {
        if (index == members.size()) {
            Close(u'}');
            return;
        }
        const ClkJsonMember& member = members.begin()[static_cast<std::ptrdiff_t>(index)];
        if (index != 0) m_Out.Put(u',');
        PutSeparator();
        m_Out.Put(u'"');
        m_Out.Put(member.first);
        m_Out.Put(u'"');
        m_Out.Put(u':');
        WriteValue(*member.second);
    }

    void WriteItem(const std::vector<std::unique_ptr<ClkJsonNode>>& items, std::size_t index) {
        if (index == items.size()) {
            Close(u']');
            return;
        }
        if (index != 0) m_Out.Put(u',');
        PutSeparator();
        WriteValue(*items[index]);
    }

    void PutSeparator() {
        if (!m_Separator.empty()) m_Out.Put(m_Separator);
    }

    void Close(lkchar bracket) {
        PutSeparator();
        m_Out.Put(bracket);
        m_Open.pop_back();
    }

    json_internal::TextWriter m_Out;
    const lkstr m_Separator;
    std::vector<Container> m_Open;  // innermost last
};

}  // namespace

void ClkJsonAtomNode::StringifyAppend(lkstr& out, const lkchar* separator) const {
    TreeWriter(out, separator).Write(*this);
}

void ClkJsonObjectNode::StringifyAppend(lkstr& out, const lkchar* separator) const {
    TreeWriter(out, separator).Write(*this);
}

void ClkJsonArrayNode::StringifyAppend(lkstr& out, const lkchar* separator) const {
    TreeWriter(out, separator).Write(*this);
}

}  // namespace larkspur
