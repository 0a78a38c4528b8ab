#include "qbsvrl6/sheet/grid/grid_columns.h"

#include <algorithm>
#include <utility>

namespace qbsvrl6 {

GridColumns::GridColumns(std::vector<Micrometres> edges, Micrometres paperWidth) : edges_(std::move(edges)) {
    edges_.erase(std::unique(edges_.begin(), edges_.end()), edges_.end());
    if (edges_.size() < 2) edges_ = {0, std::max(paperWidth, kMicrometresPerMillimetre)};
}

int GridColumns::edgeNear(Micrometres x) const {
    const auto after = std::lower_bound(edges_.begin(), edges_.end(), x);
    if (after == edges_.begin()) return 0;
    if (after == edges_.end()) return count();
    const auto index = static_cast<int>(after - edges_.begin());
    return *after - x < x - *(after - 1) ? index : index - 1;
}

void GridColumns::locate(Region& region, Micrometres left, Micrometres right) const {
    region.column = std::min(edgeNear(left), count() - 1);
    region.columnEnd = std::max(edgeNear(right), region.column + 1);
}

}  // namespace qbsvrl6
