#include "json/json_tree.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <utility>

#include "common/errors.h"
#include "json/internal/node_pool.h"
#include "json/internal/parsed_text.h"
#include "json/internal/shared_name.h"
#include "json/internal/text_scan.h"
#include "json/json_text.h"

namespace larkspur {

using json_internal::NameRef;
using json_internal::NodePool;
using json_internal::ParsedText;
using json_internal::Value;
using json_internal::ValueList;

void ClkJsonNode::operator delete(ClkJsonNode* node, std::destroying_delete_t) noexcept {
    const auto* parent = static_cast<ClkJsonComplexNode*>(node->m_Parent);
    node->~ClkJsonNode();
    if (parent == nullptr) {
        ::operator delete(node);
    } else {
        operator delete(node, parent->m_Pool);
    }
}

ClkJsonComplexNode::ClkJsonComplexNode(ClkJsonKind kind, ClkJsonComplexNode* parent)
    : ClkJsonNode(kind, parent), m_Pool(parent == nullptr ? *new NodePool : parent->m_Pool) {}

ClkJsonComplexNode::~ClkJsonComplexNode() {
    if (m_Parent == nullptr) delete &m_Pool;
}

void json_internal::OwnerList::Add(ClkJsonNode& node) {
    m_Nodes.push_back(&node);
    node.m_OwnerNumber = static_cast<unsigned int>(m_Nodes.size());
}

void json_internal::OwnerList::Remove(ClkJsonNode& node) noexcept {
    m_Nodes[node.m_OwnerNumber - 1] = m_Nodes.back();
    m_Nodes.back()->m_OwnerNumber = node.m_OwnerNumber;
    m_Nodes.pop_back();
    node.m_OwnerNumber = 0;
}

void ClkJsonAtomNode::SetText(const lkstr& text) {
    m_Text = text;
    JoinOwners();
}

void ClkJsonAtomNode::AddToOwners() {
    static_cast<ClkJsonComplexNode*>(m_Parent)->m_Pool.Owners().Add(*this);
}

void ClkJsonAtomNode::LeaveOwners() noexcept {
    static_cast<ClkJsonComplexNode*>(m_Parent)->m_Pool.Owners().Remove(*this);
}

ClkJsonArrayNode::ClkJsonArrayNode(ClkJsonComplexNode* parent) : ClkJsonComplexNode(ClkJsonArray, parent) {
    if (parent != nullptr) m_Pool.Owners().Add(*this);
}

ClkJsonArrayNode::~ClkJsonArrayNode() {
    if (m_OwnerNumber != 0) m_Pool.Owners().Remove(*this);
    DestroyChildren();
}

bool ClkJsonComplexNode::HasNodes() const {
    if (m_Kind == ClkJsonObject) return !static_cast<const ClkJsonObjectNode*>(this)->m_Members.empty();
    return !static_cast<const ClkJsonArrayNode*>(this)->m_Items.empty();
}

void ClkJsonComplexNode::SetValues(const ValueList* values, ParsedText& source) noexcept {
    m_Pool.Texts().AddUser(source);
    m_Values.store(values, std::memory_order_relaxed);
}

void ClkJsonComplexNode::ReplaceValues() const {
    const std::lock_guard lock(m_Pool.NodesMutex());
    const ValueList* values = m_Values.load(std::memory_order_relaxed);
    if (values == nullptr) return;  // another thread was first
    auto& self = const_cast<ClkJsonComplexNode&>(*this);
    self.AddNodes(*values);
    m_Pool.Texts().RemoveUser(*values->source);
    self.m_Values.store(nullptr, std::memory_order_release);
}

std::unique_ptr<ClkJsonNode> ClkJsonComplexNode::MakeNode(const Value& value, ParsedText& source) {
    const auto withValues = [&](auto* node) {
        if (value.size != 0) static_cast<ClkJsonComplexNode*>(node)->SetValues(value.children, source);
        return std::unique_ptr<ClkJsonNode>(node);
    };
    if (value.Kind() == ClkJsonObject) return withValues(new (m_Pool) ClkJsonObjectNode(this));
    if (value.Kind() == ClkJsonArray) return withValues(new (m_Pool) ClkJsonArrayNode(this));
    return std::unique_ptr<ClkJsonNode>(new (m_Pool)
                                            ClkJsonAtomNode(this, value.Kind(), value.text, value.size));
}

// Of equal names, the new member remains.
void ClkJsonObjectNode::AddMembers(const ValueList& values) {
    ClkJsonMembers formerMembers(m_Pool);
    formerMembers.Swap(m_Members);
    ClkJsonMember* former = formerMembers.At(formerMembers.begin());
    try {
        m_Members.Reserve(formerMembers.size() + values.size);
        for (const Value& value : values) {
            const NameRef& name = values.source->Name(value.name);
            for (; former != formerMembers.end() && former->first <= *name.Get(); ++former) {
                if (former->first != *name.Get()) m_Members.Append(std::move(*former));
            }
            m_Members.Append(NameRef(name), MakeNode(value, *values.source));
        }
    } catch (...) {
        m_Members.Clear();
        throw;
    }
    for (; former != formerMembers.end(); ++former) m_Members.Append(std::move(*former));
}

void ClkJsonArrayNode::AddItems(const ValueList& values) {
    const std::size_t former = m_Items.size();
    if (former == 0) m_Items.reserve(values.size);
    try {
        for (const Value& value : values) m_Items.push_back(MakeNode(value, *values.source));
    } catch (...) {
        m_Items.resize(former);
        throw;
    }
}

void ClkJsonComplexNode::AddNodes(const ValueList& values) {
    if (m_Kind == ClkJsonObject) {
        static_cast<ClkJsonObjectNode*>(this)->AddMembers(values);
    } else {
        static_cast<ClkJsonArrayNode*>(this)->AddItems(values);
    }
}

void ClkJsonComplexNode::ForgetChildren() noexcept {
    m_Values.store(nullptr, std::memory_order_relaxed);
    if (m_Kind == ClkJsonObject) {
        static_cast<ClkJsonObjectNode*>(this)->m_Members.Forget();
    } else {
        auto& items = static_cast<ClkJsonArrayNode*>(this)->m_Items;
        for (auto& item : items) static_cast<void>(item.release());
        items.clear();
    }
}

// The nodes' memory is taken back without their destructors, after what they own elsewhere. That is seldom in
// the cache, so it is requested some nodes ahead.
void ClkJsonComplexNode::DestroyTree() noexcept {
    constexpr std::size_t kAhead = 8;
    ForgetChildren();
    const std::vector<ClkJsonNode*>& owners = m_Pool.Owners().Nodes();
    const auto isArray = [](const ClkJsonNode* node) { return node->m_Kind == ClkJsonArray; };
    const auto owned = [isArray](const ClkJsonNode* node) -> const void* {
        if (isArray(node)) return static_cast<const ClkJsonArrayNode*>(node)->m_Items.data();
        return static_cast<const ClkJsonAtomNode*>(node)->m_Text.data();
    };
    for (std::size_t i = 0; i < owners.size(); ++i) {
        if (i + 2 * kAhead < owners.size()) {
            __builtin_prefetch(owners[i + 2 * kAhead]);
            __builtin_prefetch(owned(owners[i + kAhead]));
        }
        if (isArray(owners[i])) {
            auto* const array = static_cast<ClkJsonArrayNode*>(owners[i]);
            array->ForgetChildren();
            std::destroy_at(&array->m_Items);
        } else {
            std::destroy_at(&static_cast<ClkJsonAtomNode*>(owners[i])->m_Text);
        }
    }
    m_Pool.Owners().Clear();
    m_Pool.Texts().Clear();
    m_Pool.Names().Clear();
    m_Pool.Reset();
}

void ClkJsonComplexNode::DestroyChildren() noexcept {
    if (m_Parent == nullptr) return DestroyTree();
    ClkJsonNode* list = ReleaseChildren(this);
    while (list != this) {
        auto* node = static_cast<ClkJsonComplexNode*>(list);
        list = node->ReleaseChildren(std::exchange(node->m_Parent, this));
        delete node;
    }
}

ClkJsonNode* ClkJsonComplexNode::ReleaseChildren(ClkJsonNode* next) noexcept {
    ClkJsonNode* first = next;
    ClkJsonNode** link = &first;
    const auto release = [&link](std::unique_ptr<ClkJsonNode>& child) {
        if (child->m_Kind == ClkJsonString || child->m_Kind == ClkJsonLiteral) {
            delete static_cast<ClkJsonAtomNode*>(child.release());
        } else {
            *link = child.release();
            link = &(*link)->m_Parent;
        }
    };
    if (const ValueList* values = m_Values.exchange(nullptr, std::memory_order_relaxed)) {
        m_Pool.Texts().RemoveUser(*values->source);
    } else if (m_Kind == ClkJsonObject) {
        ClkJsonMembers& members = static_cast<ClkJsonObjectNode*>(this)->m_Members;
        for (ClkJsonMember* member = members.At(members.begin()); member != members.end(); ++member) {
            NameRef::Adopt(member->first);
            release(member->second);
        }
        members.Clear();
    } else {
        auto& items = static_cast<ClkJsonArrayNode*>(this)->m_Items;
        for (auto& item : items) release(item);
        items.clear();
    }
    *link = next;
    return first;
}

void ClkJsonMember::DropName() noexcept { NameRef::Adopt(first); }

ClkJsonMember& ClkJsonMember::operator=(ClkJsonMember&& other) noexcept {
    if (this != &other) {
        std::destroy_at(this);
        std::construct_at(this, std::move(other));
    }
    return *this;
}

void ClkJsonMembers::Reserve(std::size_t capacity) {
    if (capacity <= m_Capacity) return;
    ClkJsonMembers larger(*m_Pool);
    larger.m_First = static_cast<ClkJsonMember*>(m_Pool->Take(capacity * sizeof(ClkJsonMember)));
    larger.m_Capacity = static_cast<std::uint32_t>(capacity);
    std::uninitialized_move_n(m_First, m_Size, larger.m_First);
    larger.m_Size = m_Size;
    Swap(larger);
}

void ClkJsonMembers::Insert(const_iterator place, ClkJsonMember&& member) {
    const std::ptrdiff_t index = place - begin();
    if (m_Size == m_Capacity) Reserve(std::max(std::size_t{4}, 2 * size()));
    Append(std::move(member));
    std::rotate(m_First + index, m_First + m_Size - 1, m_First + m_Size);
}

void ClkJsonMembers::Clear() noexcept {
    std::destroy_n(m_First, m_Size);
    if (m_First != nullptr) m_Pool->GiveBack(m_First, m_Capacity * sizeof(ClkJsonMember));
    Forget();
}

ClkJsonMembers::const_iterator ClkJsonMembers::LowerBound(const lkstr& name) const {
    return std::lower_bound(begin(), end(), name,
                            [](const ClkJsonMember& member, const lkstr& key) { return member.first < key; });
}

ClkJsonMembers::const_iterator ClkJsonMembers::find(const lkstr& name) const {
    const auto place = LowerBound(name);
    return place != end() && place->first == name ? place : end();
}

const std::unique_ptr<ClkJsonNode>& ClkJsonMembers::at(const lkstr& name) const {
    const auto place = find(name);
    if (place == end()) throw std::out_of_range("ClkJsonMembers::at");
    return place->second;
}

ClkJsonObjectNode::ClkJsonObjectNode(ClkJsonComplexNode* parent)
    : ClkJsonComplexNode(ClkJsonObject, parent), m_Members(m_Pool) {}

ClkJsonObjectNode::~ClkJsonObjectNode() { DestroyChildren(); }

ClkJsonAtomNode* ClkJsonObjectNode::AddStringMember(const lkstr& name, const lkchar* text) {
    if (text == nullptr) throw std::logic_error("ClkJsonObjectNode::AddStringMember: null text");
    return AddAtom(name, ClkJsonString, text);
}

ClkJsonAtomNode* ClkJsonObjectNode::AddBooleanMember(const lkstr& name, bool value) {
    return AddAtom(name, ClkJsonLiteral, JSON_EncodeValue(value));
}

ClkJsonAtomNode* ClkJsonObjectNode::AddIntegerMember(const lkstr& name, int value) {
    return AddAtom(name, ClkJsonLiteral, JSON_EncodeValue(value));
}

ClkJsonAtomNode* ClkJsonObjectNode::AddFloatMember(const lkstr& name, double value) {
    return AddAtom(name, ClkJsonLiteral, JSON_EncodeValue(value));
}

ClkJsonAtomNode* ClkJsonObjectNode::AddAtomMember(const lkstr& name) {
    return AddAtom(name, ClkJsonString, lkstr());
}

ClkJsonObjectNode* ClkJsonObjectNode::AddObjectMember(const lkstr& name) {
    return Place(name, new (m_Pool) ClkJsonObjectNode(this));
}

ClkJsonArrayNode* ClkJsonObjectNode::AddArrayMember(const lkstr& name) {
    return Place(name, new (m_Pool) ClkJsonArrayNode(this));
}

ClkJsonAtomNode* ClkJsonObjectNode::AddAtom(const lkstr& name, ClkJsonKind kind, lkstr&& text) {
    return Place(name, new (m_Pool) ClkJsonAtomNode(this, kind, std::move(text)));
}

template <class Node>
Node* ClkJsonObjectNode::Place(const lkstr& name, Node* node) {
    std::unique_ptr<ClkJsonNode> owner(node);
    MakeNodes();
    const auto place = m_Members.LowerBound(name);
    if (place != m_Members.end() && place->first == name) {
        m_Members.At(place)->second = std::move(owner);
    } else {
        m_Members.Insert(place,
                         ClkJsonMember(NameRef(m_Pool.Names(), name.data(), name.size()), std::move(owner)));
    }
    return node;
}

ClkJsonNode* ClkJsonObjectNode::Find(const lkstr& name) const {
    const auto place = Members().find(name);
    return place == m_Members.end() ? nullptr : place->second.get();
}

ClkJsonAtomNode* ClkJsonObjectNode::AtomByName(const lkstr& name) const {
    ClkJsonNode* node = Find(name);
    const bool isAtom = node != nullptr && (node->Kind() == ClkJsonString || node->Kind() == ClkJsonLiteral);
    return isAtom ? static_cast<ClkJsonAtomNode*>(node) : nullptr;
}

ClkJsonObjectNode* ClkJsonObjectNode::ObjectByName(const lkstr& name) const {
    ClkJsonNode* node = Find(name);
    return node != nullptr && node->Kind() == ClkJsonObject ? static_cast<ClkJsonObjectNode*>(node) : nullptr;
}

ClkJsonArrayNode* ClkJsonObjectNode::ArrayByName(const lkstr& name) const {
    ClkJsonNode* node = Find(name);
    return node != nullptr && node->Kind() == ClkJsonArray ? static_cast<ClkJsonArrayNode*>(node) : nullptr;
}

void ClkBaseJson::Parse(const lkchar* text, int n) {
    m_Root->Clear();
    if (text == nullptr || n < 1) return;
    const lkchar* end = text + n;
    const lkchar* p = DoParse(json_internal::SkipSpace(text, end), end);
    if (p == nullptr) return;
    p = json_internal::SkipSpace(p, end);
    if (p != end) {
        throw ClkException(LKExceptionJson, BuildFailedMsg(p, end, u"数据尾部存在无法解析的数据").c_str());
    }
}

lkstr ClkBaseJson::Stringify(const lkchar* separator) const {
    lkstr text;
    m_Root->StringifyAppend(text, separator);
    return text;
}

void ClkBaseJson::SaveToFile(const lkchar* path, TextEncodeMode mode) const {
    const lkstr text = Stringify(nullptr);
    SaveStrToTextFile(text.c_str(), static_cast<int>(text.size()), mode, path);
}

void ClkBaseJson::LoadFromFile(const lkchar* path) {
    lkstr text;
    LoadStrFromTextFile(path, text);
    Parse(text.c_str(), static_cast<int>(text.size()));
}

const lkchar* ClkObjectJson::DoParse(const lkchar* start, const lkchar* end) {
    return start < end && *start == u'{' ? m_RootNode.Parse(start, end) : nullptr;
}

const lkchar* ClkArrayJson::DoParse(const lkchar* start, const lkchar* end) {
    return start < end && *start == u'[' ? m_RootNode.Parse(start, end) : nullptr;
}

}  // namespace larkspur
