#pragma once

#include <functional>
#include <string>
#include <vector>

#include "analyzers/correlation/column_join.h"
#include "foundation/command_runner.h"

namespace zarn {

// The lines about columns that cannot be saved.
struct SaveWords {
    const char* cannotOpen;  // the source's own files, the table, or the table in the making
    const char* failed;      // the table could not be written to its end, or not be replaced
};

// Puts the columns of `groups` at the right of the table `path`: writes a table in the making
// beside it, which then takes its place. `isWhole` is asked between these two, and says itself what
// is wrong if it gives false. False after a line if anything fails: the table is as it was, and the
// one in the making is left only where it could not take the other's place.
[[nodiscard]] bool SaveColumns(const std::string& path, const std::vector<ColumnGroup>& groups,
                               const SaveWords& words, const std::function<bool()>& isWhole,
                               CommandRunner& runner);

}  // namespace zarn
