#pragma once

#include <string>

#include "analyzers/correlation/correlation_settings.h"
#include "analyzers/correlation/time_set.h"

namespace zarn {

// A source of the correlation: a series of moments and figures that a mission left in a run tree.
// First each source adds its moments to those of all, then, once the table of them stands, its
// columns to the table. A source that failed to collect is asked to save all the same, and says
// that it cannot.
class CorrelationBase {
public:
    CorrelationBase() = default;
    CorrelationBase(const CorrelationBase&) = delete;
    CorrelationBase& operator=(const CorrelationBase&) = delete;
    virtual ~CorrelationBase() = default;

    // Finds and reads what there is. False after its lines if the source cannot take part; `times`
    // is as before then.
    [[nodiscard]] virtual bool Collect(const CorrelationSettings& settings, TimeSet& times) = 0;

    // Puts the source's columns at the right of the table `path`. False after its line if that
    // fails, and the table is as it was.
    [[nodiscard]] virtual bool Save(const std::string& path) = 0;
};

}  // namespace zarn
