#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/family.h"

// What the scheduler's recordings tell of each run, apart from what documents tell of it.
namespace zarn::report {

// When the machine came up, which the moments of the recordings count from; none where no document
// tells it.
using BootMoment = std::optional<Moment>;

// What a file of the scheduler is about: its name without folder, suffixes, time, and what all
// names of a kind begin with.
[[nodiscard]] std::string SchedulerSubject(const RunFile& file, const std::string& prefix);

// What ran when, and the waits, delays and runs over time, of each recorded history.
void AddHistories(FamilyContext& context, const BootMoment& boot, std::vector<Block>& blocks);

}  // namespace zarn::report
