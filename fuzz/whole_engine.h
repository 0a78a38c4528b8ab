// What the targets over the whole engine share: a budget that makes a run short, and no files of its own.
#ifndef QBSVR_FUZZ_WHOLE_ENGINE_H
#define QBSVR_FUZZ_WHOLE_ENGINE_H

#include <cstddef>
#include <cstdlib>

#include "qbsvrl6/support/budget.h"

namespace qbsvrl6 {

constexpr std::size_t kMaxSize = 65'536;  // of the reports that seeds.py writes

inline Budget smallBudget() {
    Budget budget;
    budget.wallMilliseconds = 10'000;
    budget.dataBytes = 1u << 20;
    budget.cells = 1'000;
    budget.nameUnits = 200;
    budget.fetches = 0;
    budget.pages = 4;
    budget.pageItems = 500;
    budget.pixels = 150'000;  // an A4 page at 36 dots per inch has 125,000
    budget.templateElements = 500;
    budget.documentBytes = 1u << 20;
    return budget;
}

// The log has no folder then.
inline void leaveNoLog() {
    ::unsetenv("HOME");
    ::unsetenv("XDG_STATE_HOME");
}

}  // namespace qbsvrl6

#endif
