// JSON documents as trees: parsed in one pass, looked up by name, built in code, written back.
//
//     ClkObjectJson json;
//     json.Parse(text.c_str(), static_cast<int>(text.size()));
//     if (const ClkJsonAtomNode* name = json.Root().AtomByName(u"name")) Use(name->Text());
//     json.Root().AddIntegerMember(u"count", 3);
//     lkstr compact = json.Stringify(nullptr);
//
// A node belongs to the object or array that contains it, a tree to its root: destroying or clearing a node
// destroys all nodes below it. Any number of threads may read a tree at the same time; a thread that changes
// it needs exclusive access. Only memory limits the nesting.
//
// Parsing checks and keeps the whole text, but the nodes in an object or array are only created when one of
// them is first accessed. What is never read costs little.
//
// Errors in a text raise ClkException of type 9, whose hint contains the error and the text at its position.
// The document then contains what was read before the error.
#ifndef QBSVR_JSON_JSON_TREE_H
#define QBSVR_JSON_JSON_TREE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "common/files.h"
#include "common/text.h"

namespace larkspur {

namespace json_internal {
class NameRef;
class NodePool;
class OwnerList;
class ParsedText;
class TreeWriter;
struct Value;
struct ValueList;
}  // namespace json_internal

class ClkJsonObjectNode;
class ClkJsonArrayNode;

enum ClkJsonKind : int {
    ClkJsonString = 0,
    ClkJsonLiteral = 1,
    ClkJsonObject = 2,
    ClkJsonArray = 3,
};

class ClkJsonNode {
public:
    virtual ~ClkJsonNode() = default;
    ClkJsonNode(const ClkJsonNode&) = delete;
    ClkJsonNode& operator=(const ClkJsonNode&) = delete;

    // Appends the node as JSON text, without spaces. The separator (null for none) is written before each
    // member and item, after each atom and before each closing bracket.
    virtual void StringifyAppend(lkstr& out, const lkchar* separator) const = 0;

    ClkJsonKind Kind() const { return m_Kind; }
    ClkJsonNode* Parent() const { return m_Parent; }  // null for a root

    // Nodes without a parent are on the stack or the heap, all others in the pool of their tree.
    static void* operator new(std::size_t size) { return ::operator new(size); }
    static inline void* operator new(std::size_t size, json_internal::NodePool& pool);
    static void operator delete(void* place) noexcept { ::operator delete(place); }
    static inline void operator delete(void* place, json_internal::NodePool& pool) noexcept;
    static void operator delete(ClkJsonNode* node, std::destroying_delete_t) noexcept;

protected:
    ClkJsonNode(ClkJsonKind kind, ClkJsonNode* parent) : m_Kind(kind), m_Parent(parent) {}

    ClkJsonKind m_Kind;
    unsigned int m_OwnerNumber = 0;  // in the pool's list of nodes that own heap memory; 0 for none
    ClkJsonNode* m_Parent;

    friend class ClkJsonComplexNode;
    friend class json_internal::OwnerList;
};

// A value without children. A string has its decoded text; a literal has its units unchanged: a number, true,
// false, null or anything else, even nothing.
class ClkJsonAtomNode final : public ClkJsonNode {
public:
    ClkJsonAtomNode() : ClkJsonNode(ClkJsonString, nullptr) {}
    ~ClkJsonAtomNode() override {
        if (m_OwnerNumber != 0) LeaveOwners();
    }

    void StringifyAppend(lkstr& out, const lkchar* separator) const override;

    const lkstr& Text() const { return m_Text; }
    void SetText(const lkstr& text);

    // Reads the string or literal at p and returns the position after it. The text of a string ends at its
    // first zero unit.
    const lkchar* Parse(const lkchar* p, const lkchar* end);

private:
    ClkJsonAtomNode(ClkJsonNode* parent, ClkJsonKind kind, lkstr&& text)
        : ClkJsonNode(kind, parent), m_Text(std::move(text)) {
        JoinOwners();
    }
    ClkJsonAtomNode(ClkJsonNode* parent, ClkJsonKind kind, const lkchar* text, std::size_t n)
        : ClkJsonNode(kind, parent), m_Text(text, n) {
        JoinOwners();
    }

    // Long texts are on the heap.
    void JoinOwners() {
        if (m_OwnerNumber == 0 && m_Text.capacity() > lkstr().capacity() && m_Parent != nullptr)
            AddToOwners();
    }
    void AddToOwners();
    void LeaveOwners() noexcept;

    lkstr m_Text;

    friend class ClkJsonComplexNode;
    friend class ClkJsonObjectNode;
};

// An object or array.
class ClkJsonComplexNode : public ClkJsonNode {
public:
    ~ClkJsonComplexNode() override;

    // Destroys all children.
    virtual void Clear() = 0;

protected:
    ClkJsonComplexNode(ClkJsonKind kind, ClkJsonComplexNode* parent);

    // The parser creates only values. An object or array replaces its own by nodes when they are first
    // accessed, which needs no exclusive access.
    void MakeNodes() const {
        if (Values() != nullptr) ReplaceValues();
    }

    // Reads the object or array whose opening bracket is at p, adds its children to the existing ones, and
    // returns the position after its closing bracket.
    const lkchar* ParseChildren(const lkchar* p, const lkchar* end);

    std::unique_ptr<ClkJsonNode> MakeNode(const json_internal::Value& value,
                                          json_internal::ParsedText& source);

    // Destroys all nodes below this one, without recursion; those of a root all at once.
    void DestroyChildren() noexcept;

    json_internal::NodePool& m_Pool;  // of the tree; the root owns it

private:
    // Children that have no nodes yet; null if all have nodes.
    const json_internal::ValueList* Values() const { return m_Values.load(std::memory_order_acquire); }
    bool HasNodes() const;
    void ReplaceValues() const;
    void AddNodes(const json_internal::ValueList& values);
    void SetValues(const json_internal::ValueList* values, json_internal::ParsedText& source) noexcept;

    // Empties this node: destroys its atoms, and returns a list of its objects and arrays, linked by m_Parent
    // and followed by `next`.
    ClkJsonNode* ReleaseChildren(ClkJsonNode* next) noexcept;

    void DestroyTree() noexcept;
    void ForgetChildren() noexcept;

    std::atomic<const json_internal::ValueList*> m_Values{nullptr};

    friend class ClkJsonAtomNode;
    friend class ClkJsonNode;
    friend class json_internal::TreeWriter;
};

// A name and its value. Members with the same name in one tree share its text.
class ClkJsonMember {
public:
    const lkstr& first;
    std::unique_ptr<ClkJsonNode> second;  // never null in an object

    inline ClkJsonMember(json_internal::NameRef&& name, std::unique_ptr<ClkJsonNode> node) noexcept;
    ClkJsonMember(ClkJsonMember&& other) noexcept = default;
    ClkJsonMember& operator=(ClkJsonMember&& other) noexcept;
    ~ClkJsonMember() {
        if (second != nullptr) DropName();
    }

private:
    void DropName() noexcept;
};

// The members of an object in the order of their names: unit by unit, a shorter name before its extension.
class ClkJsonMembers {
public:
    using value_type = ClkJsonMember;
    using const_iterator = const ClkJsonMember*;

    ClkJsonMembers(const ClkJsonMembers&) = delete;
    ClkJsonMembers& operator=(const ClkJsonMembers&) = delete;

    const_iterator begin() const { return m_First; }
    const_iterator end() const { return m_First + m_Size; }
    std::size_t size() const { return m_Size; }
    bool empty() const { return m_Size == 0; }

    const_iterator find(const lkstr& name) const;
    const std::unique_ptr<ClkJsonNode>& at(const lkstr& name) const;  // raises std::out_of_range

private:
    explicit ClkJsonMembers(json_internal::NodePool& pool) : m_Pool(&pool) {}
    ~ClkJsonMembers() { Clear(); }

    void Reserve(std::size_t capacity);
    template <class... Args>
    void Append(Args&&... args) {  // needs reserved room
        ::new (m_First + m_Size) ClkJsonMember(std::forward<Args>(args)...);
        ++m_Size;
    }
    void Insert(const_iterator place, ClkJsonMember&& member);
    void Swap(ClkJsonMembers& other) noexcept {
        std::swap(m_First, other.m_First);
        std::swap(m_Size, other.m_Size);
        std::swap(m_Capacity, other.m_Capacity);
    }
    void Clear() noexcept;
    void Forget() noexcept {  // when the memory of the whole tree is taken back
        m_First = nullptr;
        m_Size = m_Capacity = 0;
    }

    ClkJsonMember* At(const_iterator place) { return m_First + (place - m_First); }
    const_iterator LowerBound(const lkstr& name) const;

    json_internal::NodePool* m_Pool;
    ClkJsonMember* m_First = nullptr;
    std::uint32_t m_Size = 0;
    std::uint32_t m_Capacity = 0;

    friend class ClkJsonComplexNode;
    friend class ClkJsonObjectNode;
};

class ClkJsonObjectNode final : public ClkJsonComplexNode {
public:
    ClkJsonObjectNode() : ClkJsonObjectNode(nullptr) {}
    ~ClkJsonObjectNode() override;

    void StringifyAppend(lkstr& out, const lkchar* separator) const override;
    void Clear() override { DestroyChildren(); }

    const ClkJsonMembers& Members() const {
        MakeNodes();
        return m_Members;
    }

    // Each creates a member and returns it; an existing member with this name is destroyed. Members with
    // greater names are moved, so add thousands of members in the order of their names.
    ClkJsonAtomNode* AddStringMember(const lkstr& name, const lkchar* text);  // null raises std::logic_error
    ClkJsonAtomNode* AddBooleanMember(const lkstr& name, bool value);
    ClkJsonAtomNode* AddIntegerMember(const lkstr& name, int value);
    ClkJsonAtomNode* AddFloatMember(const lkstr& name, double value);  // six decimals
    ClkJsonAtomNode* AddAtomMember(const lkstr& name);                 // an empty string
    ClkJsonObjectNode* AddObjectMember(const lkstr& name);
    ClkJsonArrayNode* AddArrayMember(const lkstr& name);

    // The member with that name and of that kind, or null.
    ClkJsonAtomNode* AtomByName(const lkstr& name) const;
    ClkJsonObjectNode* ObjectByName(const lkstr& name) const;
    ClkJsonArrayNode* ArrayByName(const lkstr& name) const;

    // Reads the object whose "{" is at p and returns the position after its "}". Members are added to the
    // existing ones; of several with the same name, the last one remains.
    const lkchar* Parse(const lkchar* p, const lkchar* end) { return ParseChildren(p, end); }

private:
    explicit ClkJsonObjectNode(ClkJsonComplexNode* parent);

    ClkJsonAtomNode* AddAtom(const lkstr& name, ClkJsonKind kind, lkstr&& text);
    void AddMembers(const json_internal::ValueList& values);
    template <class Node>
    Node* Place(const lkstr& name, Node* node);
    ClkJsonNode* Find(const lkstr& name) const;

    ClkJsonMembers m_Members;

    friend class ClkJsonComplexNode;
};

class ClkJsonArrayNode final : public ClkJsonComplexNode {
public:
    ClkJsonArrayNode() : ClkJsonArrayNode(nullptr) {}
    ~ClkJsonArrayNode() override;

    void StringifyAppend(lkstr& out, const lkchar* separator) const override;
    void Clear() override { DestroyChildren(); }  // keeps the storage of the items

    const std::vector<std::unique_ptr<ClkJsonNode>>& Items() const {
        MakeNodes();
        return m_Items;
    }

    // Reads the array whose "[" is at p and returns the position after its "]". Items are appended. This is
    // also how to add items: parse u"[1]" to append a 1.
    const lkchar* Parse(const lkchar* p, const lkchar* end) { return ParseChildren(p, end); }

private:
    explicit ClkJsonArrayNode(ClkJsonComplexNode* parent);
    void AddItems(const json_internal::ValueList& values);

    std::vector<std::unique_ptr<ClkJsonNode>> m_Items;

    friend class ClkJsonComplexNode;
    friend class ClkJsonObjectNode;
};

// A document. Parse, LoadFromFile and the destructor replace or destroy the whole tree.
class ClkBaseJson {
public:
    ClkBaseJson(const ClkBaseJson&) = delete;
    ClkBaseJson& operator=(const ClkBaseJson&) = delete;

    // Reads the root at start and returns the position after it; null if there is no opening bracket of its
    // kind.
    virtual const lkchar* DoParse(const lkchar* start, const lkchar* end) = 0;

    // Reads a whole text. If the text is null, empty or doesn't start with the opening bracket of this kind
    // of document, the document is empty and nothing is raised.
    void Parse(const lkchar* text, int n);

    lkstr Stringify(const lkchar* separator) const;

    // File errors are those of SaveStrToTextFile and LoadStrFromTextFile.
    void SaveToFile(const lkchar* path, TextEncodeMode mode) const;
    void LoadFromFile(const lkchar* path);

protected:
    explicit ClkBaseJson(ClkJsonComplexNode* root) : m_Root(root) {}
    ~ClkBaseJson() = default;

private:
    ClkJsonComplexNode* m_Root;
};

class ClkObjectJson final : public ClkBaseJson {
public:
    ClkObjectJson() : ClkBaseJson(&m_RootNode) {}

    ClkJsonObjectNode& Root() { return m_RootNode; }
    const ClkJsonObjectNode& Root() const { return m_RootNode; }
    const lkchar* DoParse(const lkchar* start, const lkchar* end) override;

private:
    ClkJsonObjectNode m_RootNode;
};

class ClkArrayJson final : public ClkBaseJson {
public:
    ClkArrayJson() : ClkBaseJson(&m_RootNode) {}

    ClkJsonArrayNode& Root() { return m_RootNode; }
    const ClkJsonArrayNode& Root() const { return m_RootNode; }
    const lkchar* DoParse(const lkchar* start, const lkchar* end) override;

private:
    ClkJsonArrayNode m_RootNode;
};

// The hint of an error: the message, the literal characters "。\r\n数据：" (with visible backslashes), and at
// most 128 units of the text from the position on.
lkstr BuildFailedMsg(const lkchar* position, const lkchar* end, const lkchar* message);

}  // namespace larkspur

#endif
