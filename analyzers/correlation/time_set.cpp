#include "analyzers/correlation/time_set.h"

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace zarn {

static_assert(sizeof(TimeDigits) == kTimeDigits && alignof(TimeDigits) == 1 &&
                  std::is_trivially_copyable_v<TimeDigits>,
              "moments lie in bytes one behind another");

TimeDigits* TimeSet::Moments() const {
    return reinterpret_cast<TimeDigits*>(memory_.Data());
}

void TimeSet::Add(const TimeDigits& time) {
    memory_.Reserve(size_ * kTimeDigits, kTimeDigits);
    new (Moments() + size_) TimeDigits(time);
    ++size_;
}

// The moments of a source come in order, as a rule, so that there are few runs to merge.
void TimeSet::Sort() {
    TimeDigits* const last = Moments() + size_;
    std::vector<TimeDigits*> runs = {Moments()};
    while (runs.back() != last) {
        runs.push_back(std::is_sorted_until(runs.back(), last));
    }
    while (runs.size() > 2) {
        std::vector<TimeDigits*> merged = {runs.front()};
        for (std::size_t i = 2; i < runs.size(); i += 2) {
            std::inplace_merge(runs[i - 2], runs[i - 1], runs[i]);
            merged.push_back(runs[i]);
        }
        if (runs.size() % 2 == 0) {
            merged.push_back(runs.back());
        }
        runs = std::move(merged);
    }
    size_ = static_cast<std::size_t>(std::unique(Moments(), last) - Moments());
}

}  // namespace zarn
