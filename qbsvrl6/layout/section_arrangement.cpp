#include "qbsvrl6/layout/section_arrangement.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

#include "qbsvrl6/support/error.h"
#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

struct Interval {
    Micrometres from = 0;
    Micrometres to = 0;
};

std::vector<Interval> merged(std::vector<Interval> intervals) {
    std::sort(intervals.begin(), intervals.end(),
              [](const Interval& a, const Interval& b) { return a.from < b.from; });
    std::vector<Interval> result;
    for (const Interval& interval : intervals) {
        if (interval.from >= interval.to) continue;
        if (!result.empty() && interval.from <= result.back().to) {
            result.back().to = std::max(result.back().to, interval.to);
        } else {
            result.push_back(interval);
        }
    }
    return result;
}

// The intervals of height that boxes give up and that no other box needs, from the top down.
std::vector<Interval> collapsible(const std::vector<ArrangedBox>& boxes) {
    std::vector<Interval> offered;
    std::vector<Interval> taken;
    for (const ArrangedBox& box : boxes) {
        const Micrometres bottom = box.top + box.height;
        if (box.shrinks && box.needed < box.height) {
            taken.push_back({box.top, box.top + box.needed});
            offered.push_back({box.top + box.needed, bottom});
        } else if (!box.stretches) {
            taken.push_back({box.top, bottom});
        }
    }
    if (offered.empty()) return {};
    const std::vector<Interval> blocked = merged(std::move(taken));
    std::vector<Interval> free;
    auto block = blocked.begin();
    for (Interval interval : merged(std::move(offered))) {
        while (block != blocked.end() && block->to <= interval.from) ++block;
        for (auto next = block; next != blocked.end() && next->from < interval.to; ++next) {
            if (next->from > interval.from) free.push_back({interval.from, next->from});
            interval.from = std::max(interval.from, next->to);
        }
        if (interval.from < interval.to) free.push_back(interval);
    }
    return free;
}

// Maps a y to its position after the intervals have been removed.
class Collapse {
public:
    explicit Collapse(std::vector<Interval> taken) : taken_(std::move(taken)) {
        Micrometres sum = 0;
        for (const Interval& interval : taken_) {
            before_.push_back(sum);
            sum += interval.to - interval.from;
        }
    }

    Micrometres operator()(Micrometres y) const {
        const auto next =
            std::upper_bound(taken_.begin(), taken_.end(), y,
                             [](Micrometres at, const Interval& interval) { return at < interval.from; });
        if (next == taken_.begin()) return y;
        const auto index = static_cast<std::size_t>(next - taken_.begin()) - 1;
        const Interval& interval = taken_[index];
        return y - before_[index] - (std::min(y, interval.to) - interval.from);
    }

private:
    std::vector<Interval> taken_;
    std::vector<Micrometres> before_;
};

void collapse(std::vector<ArrangedBox>& boxes, Micrometres& sectionHeight) {
    std::vector<Interval> taken = collapsible(boxes);
    if (taken.empty()) return;
    const Collapse map(std::move(taken));
    for (ArrangedBox& box : boxes) {
        const Micrometres top = map(box.top);
        const Micrometres bottom = map(box.top + box.height);
        box.top = top;
        box.height = bottom - top;
    }
    sectionHeight = map(sectionHeight);
}

// How far the boxes above push down a y.
class Push {
public:
    void add(Micrometres bottom, Micrometres by) { pushes_.push_back({bottom, by}); }

    void finish() {
        std::sort(pushes_.begin(), pushes_.end(),
                  [](const auto& a, const auto& b) { return a.from < b.from; });
        for (std::size_t i = 1; i < pushes_.size(); ++i)
            pushes_[i].to = std::max(pushes_[i].to, pushes_[i - 1].to);
    }

    Micrometres at(Micrometres y) const {
        const auto next =
            std::upper_bound(pushes_.begin(), pushes_.end(), y,
                             [](Micrometres at, const Interval& push) { return at < push.from; });
        return next == pushes_.begin() ? 0 : (next - 1)->to;
    }

private:
    std::vector<Interval> pushes_;  // from: lower edge of a box; to: how far it is pushed there
};

void checkHeight(std::int64_t height) {
    if (height <= limits::kBandMicrometres) return;
    throw EngineError(
        ErrorCode::LimitExceeded,
        "a section is higher than " + std::to_string(limits::kBandMicrometres / 1'000'000) + " metres");
}

// Boxes in the order of their tops; each is pushed by those whose lower edge is above it.
Micrometres grow(std::vector<ArrangedBox>& boxes, Micrometres sectionHeight) {
    std::vector<std::size_t> order(boxes.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return boxes[a].top < boxes[b].top; });
    struct Open {
        Micrometres bottom;
        Micrometres by;
        bool operator<(const Open& other) const { return bottom > other.bottom; }
    };
    std::vector<Open> open;  // a heap: the box that ends first is on top
    Push push;
    Micrometres pushed = 0;
    std::vector<std::size_t> stretching;
    for (const std::size_t index : order) {
        ArrangedBox& box = boxes[index];
        while (!open.empty() && open.front().bottom <= box.top) {
            pushed = std::max(pushed, open.front().by);
            std::pop_heap(open.begin(), open.end());
            open.pop_back();
        }
        if (box.stretches) {
            stretching.push_back(index);
            continue;
        }
        const Micrometres bottom = box.top + box.height;
        const std::int64_t by = std::int64_t{pushed} + std::max(0, box.needed - box.height);
        checkHeight(by + bottom);
        if (by > 0) {
            push.add(bottom, static_cast<Micrometres>(by));
            open.push_back({bottom, static_cast<Micrometres>(by)});
            std::push_heap(open.begin(), open.end());
        }
        box.top += pushed;
        box.height = std::max(box.height, box.needed);
    }
    push.finish();
    for (const std::size_t index : stretching) {
        ArrangedBox& box = boxes[index];
        const Micrometres bottom = box.top + box.height;
        // Both edges of a flat line move by the same distance.
        box.top += push.at(box.top);
        box.height = std::max(0, bottom + push.at(bottom) - box.top);
    }
    const Micrometres height = sectionHeight + push.at(sectionHeight);
    checkHeight(height);
    return height;
}

}  // namespace

Micrometres arrangeBoxes(std::vector<ArrangedBox>& boxes, Micrometres sectionHeight, bool canGrow) {
    collapse(boxes, sectionHeight);
    return canGrow ? grow(boxes, sectionHeight) : sectionHeight;
}

}  // namespace qbsvrl6
