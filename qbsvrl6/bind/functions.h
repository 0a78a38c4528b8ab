// The functions that expressions call.
#ifndef QBSVR_QBSVRL6_BIND_FUNCTIONS_H
#define QBSVR_QBSVRL6_BIND_FUNCTIONS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "qbsvrl6/bind/values.h"

namespace qbsvrl6 {

struct FunctionContext {
    TextArena& arena;
    std::int64_t now = 0;  // wall-clock seconds, constant within an export
};

// The type that a function reads its arguments as. If an argument does not read as it, the result is empty.
enum class Reads : std::uint8_t { Anything, Numbers, Dates };

struct Function {
    std::u16string_view name;
    int minimumArguments = 0;
    int maximumArguments = 0;  // -1: any number
    Value (*call)(std::span<const Value> arguments, FunctionContext& context) = nullptr;
    Reads reads = Reads::Anything;
};

// All of them, in a fixed order; compiled expressions hold indices into it.
std::span<const Function> functions();

// Index of the function, or npos. The name's case does not matter.
std::size_t findFunction(std::u16string_view name);

}  // namespace qbsvrl6

#endif
