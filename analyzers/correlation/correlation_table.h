#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "analyzers/correlation/column_join.h"
#include "analyzers/correlation/column_save.h"
#include "analyzers/correlation/correlation_base.h"
#include "formats/run_tree.h"
#include "foundation/command_runner.h"

namespace zarn {

// What a source works on and with.
struct CorrelationContext {
    std::string dataPath;  // with its final slash
    CommandRunner& runner;
};

// The first of these files in byte order; empty if there is none.
[[nodiscard]] std::string FirstFile(const NumberedFile& kind, const std::string& dataPath);

// A source whose figures stand in a table that an analyzer left, and its peaks in documents of the
// same analyzer.
class CorrelationTable : public CorrelationBase {
public:
    [[nodiscard]] bool Collect(const CorrelationSettings& settings, TimeSet& times) final;
    [[nodiscard]] bool Save(const std::string& path) final;

protected:
    struct Words {
        const char* notFound;      // there is no table; the folder follows
        const char* skipped;       // follows it
        const char* cannotOpen;    // the table; its path follows
        const char* withoutTimes;  // follows it
        SaveWords save;
    };

    // `prefix`: of the heads of its columns.
    CorrelationTable(const CorrelationContext& context, const NumberedFile& table,
                     std::string_view prefix, const Words& words)
        : context_(context), table_(table), prefix_(prefix), words_(words) {}

    [[nodiscard]] const std::string& DataPath() const { return context_.dataPath; }

    // Reads the peaks: those of each column by AddPeaks. What cannot be read is told, and has no
    // column.
    virtual void CollectPeaks() = 0;
    void AddPeaks(const std::string& head, const std::vector<TimeDigits>& peaks);

private:
    CorrelationContext context_;
    NumberedFile table_;
    std::string prefix_;
    Words words_;
    CorrelationSettings settings_;
    std::string tablePath_;  // empty while there is none
    std::vector<PeakColumn> peaks_;
};

}  // namespace zarn
