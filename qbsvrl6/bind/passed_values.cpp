#include "qbsvrl6/bind/passed_values.h"

#include <cstdint>
#include <unordered_set>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

class PassedFinder {
public:
    explicit PassedFinder(const Binding& binding) : binding_(binding) {
        for (std::size_t i = 0; i < binding.passedCount(); ++i) {
            passed_.insert(static_cast<std::uint32_t>(binding.passedParameter(i)));
        }
    }

    const BoundName* find(const Expression& expression) {
        if (passed_.empty()) return nullptr;
        for (const BoundName& name : expression.names) {
            if (name.kind == NameKind::Parameter && passed_.contains(name.index)) return &name;
            const bool isNew = name.kind == NameKind::Calculated && known_.insert(name.index).second;
            const BoundName* const found = isNew ? find(binding_.calculated(name.index).expression) : nullptr;
            if (found != nullptr) return found;
        }
        for (const Aggregate& aggregate : expression.aggregates) {
            const BoundName* const found = aggregate.argument ? find(*aggregate.argument) : nullptr;
            if (found != nullptr) return found;
        }
        for (const Lookup& lookup : expression.lookups) {
            const BoundName* const found = lookup.sought ? find(*lookup.sought) : nullptr;
            if (found != nullptr) return found;
        }
        return nullptr;
    }

private:
    const Binding& binding_;
    std::unordered_set<std::uint32_t> passed_;
    std::unordered_set<std::uint32_t> known_;  // calculated fields that have been searched
};

}  // namespace

std::u16string passedName(const Expression& expression, const Binding& binding) {
    const BoundName* const found = PassedFinder(binding).find(expression);
    return found == nullptr ? std::u16string() : found->name;
}

void refusePassed(const Expression& expression, const Binding& binding, std::u16string_view text) {
    const std::u16string name = passedName(expression, binding);
    if (name.empty()) return;
    constexpr std::size_t kShown = 200;
    throw EngineError(ErrorCode::BadExpression,
                      '"' + toUtf8(text.substr(0, kShown)) +
                          "\" of a column: the columns of a sub-report are the same in all places, and \"" +
                          toUtf8(name) + "\" is not");
}

}  // namespace qbsvrl6
