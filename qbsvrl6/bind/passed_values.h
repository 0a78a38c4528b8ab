// Expressions that must not read what an outer report passes, because it differs from place to place.
#ifndef QBSVR_QBSVRL6_BIND_PASSED_VALUES_H
#define QBSVR_QBSVRL6_BIND_PASSED_VALUES_H

#include <string>
#include <string_view>

#include "qbsvrl6/bind/binding.h"

namespace qbsvrl6 {

// The name of a passed value that an expression of the binding reads, also through totals and calculated
// fields; empty: it reads none.
std::u16string passedName(const Expression& expression, const Binding& binding);

// Raises EngineError(BadExpression) if an expression that the columns of a sub-report depend on reads a passed
// value. `text` is that of the expression.
void refusePassed(const Expression& expression, const Binding& binding, std::u16string_view text);

}  // namespace qbsvrl6

#endif
