#include <algorithm>
#include <cstddef>
#include <vector>

#include "json/internal/text_scan.h"
#include "json/json_tree.h"

namespace larkspur {

namespace {

// Collects small pieces ahead of the string that they go to.
class PieceWriter {
public:
    explicit PieceWriter(lkstr& out) : m_Out(out) {}

    void push_back(lkchar c) {
        if (m_Count == kBlock) Flush();
        m_Block[m_Count++] = c;
    }

    void append(const lkchar* text, std::size_t n) {
        if (n > kBlock - m_Count) {
            Flush();
            if (n > kBlock) {
                m_Out.append(text, n);
                return;
            }
        }
        std::copy_n(text, n, m_Block + m_Count);
        m_Count += n;
    }

    void append(const lkstr& text) { append(text.data(), text.size()); }

    void Flush() {
        m_Out.append(m_Block, m_Count);
        m_Count = 0;
    }

private:
    static constexpr std::size_t kBlock = 2048;

    lkstr& m_Out;
    std::size_t m_Count = 0;
    lkchar m_Block[kBlock];
};

// Writes a node and all below it. The containers that are open stand in a list instead of on the stack.
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

    // An atom whole; of an object or array the opening bracket.
    void WriteValue(const ClkJsonNode& node) {
        switch (node.Kind()) {
            case ClkJsonString: {
                const lkstr& text = static_cast<const ClkJsonAtomNode&>(node).Text();
                m_Out.push_back(u'"');
                json::AppendEncoded(m_Out, text.data(), text.data() + text.size());
                m_Out.push_back(u'"');
                m_Out.append(m_Separator);
                break;
            }
            case ClkJsonLiteral:
                m_Out.append(static_cast<const ClkJsonAtomNode&>(node).Text());
                m_Out.append(m_Separator);
                break;
            case ClkJsonObject:
                m_Out.push_back(u'{');
                m_Open.push_back({&node, 0});
                break;
            case ClkJsonArray:
                m_Out.push_back(u'[');
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
        if (index != 0) m_Out.push_back(u',');
        m_Out.append(m_Separator);
        m_Out.push_back(u'"');
        m_Out.append(member.first);
        m_Out.push_back(u'"');
        m_Out.push_back(u':');
        WriteValue(*member.second);
    }

    void WriteItem(const std::vector<std::unique_ptr<ClkJsonNode>>& items, std::size_t index) {
        if (index == items.size()) {
            Close(u']');
            return;
        }
        if (index != 0) m_Out.push_back(u',');
        m_Out.append(m_Separator);
        WriteValue(*items[index]);
    }

    void Close(lkchar bracket) {
        m_Out.append(m_Separator);
        m_Out.push_back(bracket);
        m_Open.pop_back();
    }

    PieceWriter m_Out;
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
