// A table whose rows expressions look up: Lookup(Customers, Id = CustomerId, Name).
#ifndef QBSVR_QBSVRL6_BIND_LOOKUP_TABLE_H
#define QBSVR_QBSVRL6_BIND_LOOKUP_TABLE_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "qbsvrl6/bind/binding.h"
#include "qbsvrl6/bind/evaluator.h"
#include "qbsvrl6/bind/key_index.h"
#include "qbsvrl6/bind/walked_rows.h"
#include "qbsvrl6/support/keyed_hash.h"

namespace qbsvrl6 {

// Indexes are made at the first use of a key. The keys and results of lookups are bound to `binding()`.
class LookupTable {
public:
    LookupTable(const Binding& outer, const Table& rows) : binding_(outer, rows) {}

    Binding& binding() { return binding_; }
    // A place for the results of one more lookup, which is bound already.
    std::uint32_t addLookup();
    // The result for the value; its text is in `arena`. `user` evaluates the lookup.
    Value find(const Lookup& lookup, const Value& sought, const Evaluator& user, TextArena& arena);

private:
    using Results = std::unordered_map<std::u16string, OwnedValue, KeyedHash>;  // by the key of the value

    void serve(const Evaluator& user);
    const KeyIndex& indexOf(const Lookup& lookup);
    bool matches(const Lookup& lookup, std::size_t row, const Value& sought);
    OwnedValue resultOf(const Lookup& lookup, const Value& sought);

    Binding binding_;
    RowTables tables_;              // of the user
    const Table* table_ = nullptr;  // whose rows are looked up: that of the user in place of the binding's
    WalkedRows rows_;
    std::unique_ptr<Evaluator> evaluator_;
    std::uint64_t user_ = 0;
    using Indexes = std::map<std::u16string, std::unique_ptr<KeyIndex>>;  // by the text of the key
    Indexes indexes_;
    Indexes indexesOfUser_;         // of keys that depend on more than columns
    std::vector<Results> results_;  // of each lookup
};

// The tables that the bindings of one report look up.
class LookupTables {
public:
    LookupTable& of(const Binding& outer, const Table& rows);
    std::uint64_t newUser() { return ++users_; }

    // A lookup that is being bound. Raises EngineError(LimitExceeded) for lookups that are nested too deep.
    class Level {
    public:
        explicit Level(LookupTables& tables);
        ~Level() { --tables_.depth_; }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;

    private:
        LookupTables& tables_;
    };

private:
    int depth_ = 0;
    std::unordered_map<const Table*, std::unique_ptr<LookupTable>> tables_;
    std::uint64_t users_ = 0;
};

}  // namespace qbsvrl6

#endif
