#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "analyzers/aicpu/raw_sections.h"

// Readers of the core list's attributes; of each the last pass counts. Values are the texts that
// stand there.
namespace zarn {

// Of a pool of event resources.
struct PoolFigures {
    std::string total;
    std::string inUse;
    std::string greatestUse;
    std::string failures;
};

// "total:used:free:reserved:max_used:failed". Refuses any other number of pieces.
[[nodiscard]] std::optional<PoolFigures> ParsePool(std::string_view text);

// `node_event_resource`: a head line, and the pool of the whole complex. Refuses a pass without it.
class NodePoolReader final : public PassReader {
public:
    void BeginPass() override;
    void Take(std::string_view line) override;
    [[nodiscard]] bool MakesSense() const override { return pool_.has_value(); }

    [[nodiscard]] const std::optional<PoolFigures>& Pool() const { return pool_; }

private:
    std::size_t lines_ = 0;
    std::optional<PoolFigures> pool_;
};

struct ProcListRow {
    std::string pid;
    std::string name;
    std::string published;
    std::string scheduled;
};

// `proc_list`. Accepts: lines "pid,name,number,number,number", the numbers digits. Skips: others.
// Refuses: a pass without such a line.
class ProcListReader final : public PassReader {
public:
    void BeginPass() override { rows_.clear(); }
    void Take(std::string_view line) override;
    [[nodiscard]] bool MakesSense() const override { return !rows_.empty(); }

    [[nodiscard]] const std::vector<ProcListRow>& Rows() const { return rows_; }

private:
    std::vector<ProcListRow> rows_;
};

struct CorePool {
    std::uint64_t core = 0;
    PoolFigures pool;
};

// `cpu_event_resource`: from the second line on "core,pool". Skips: lines that are not of two
// pieces, or of a core outside the complex. Refuses: a pool that is none.
class CorePoolsReader final : public PassReader {
public:
    // Of the complex with the cores `min` to `max`.
    CorePoolsReader(std::int32_t min, std::int32_t max) : min_(min), max_(max) {}

    void BeginPass() override;
    void Take(std::string_view line) override;
    [[nodiscard]] bool MakesSense() const override { return good_; }

    [[nodiscard]] const std::vector<CorePool>& Rows() const { return rows_; }

private:
    std::int64_t min_;
    std::int64_t max_;
    std::size_t lines_ = 0;
    bool good_ = true;
    std::vector<CorePool> rows_;
};

}  // namespace zarn
