#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "analyzers/aicpu/raw_sections.h"
#include "analyzers/aicpu/section_values.h"

// Readers of the process list's attributes.
namespace zarn {

// Names and values, in the order in which they stand there.
using NamedValues = std::vector<std::pair<std::string, std::string>>;

// `proc_pri`: the line "pid,name,priority" of the process, in the last pass. Refuses a pass without
// it.
class PriorityReader final : public PassReader {
public:
    explicit PriorityReader(std::uint32_t pid) : pid_(std::to_string(pid)) {}

    void BeginPass() override;
    void Take(std::string_view line) override;
    [[nodiscard]] bool MakesSense() const override { return !priority_.empty(); }

    [[nodiscard]] const std::string& Name() const { return name_; }
    [[nodiscard]] const std::string& Priority() const { return priority_; }

private:
    std::string pid_;
    std::string name_;
    std::string priority_;
};

// `proc_status`: lines "name value" of the last pass. Skips lines without a value. Refuses a pass
// without any.
class StatusReader final : public PassReader {
public:
    void BeginPass() override { values_.clear(); }
    void Take(std::string_view line) override;
    [[nodiscard]] bool MakesSense() const override { return !values_.empty(); }

    [[nodiscard]] const NamedValues& Values() const { return values_; }

private:
    NamedValues values_;
};

// `proc_event_num`: in each pass the events published and scheduled. Refuses a pass in which one of
// them is missing or no number.
class EventNumReader final : public PassReader {
public:
    void BeginPass() override;
    void Take(std::string_view line) override;
    [[nodiscard]] bool MakesSense() const override { return good_ && PassIsWhole(); }

    [[nodiscard]] const ValueSeries& Published() const { return published_; }
    [[nodiscard]] const ValueSeries& Scheduled() const { return scheduled_; }

private:
    [[nodiscard]] bool PassIsWhole() const;

    std::size_t passes_ = 0;
    bool good_ = true;
    ValueSeries published_;
    ValueSeries scheduled_;
};

// `proc_group_list`: a head line of names, then a row for each group, of the last pass. Skips rows
// that have not as many values as there are names. Refuses a pass without a head.
class GroupListReader final : public PassReader {
public:
    void BeginPass() override;
    void Take(std::string_view line) override;
    [[nodiscard]] bool MakesSense() const override { return !names_.empty(); }

    [[nodiscard]] const std::vector<NamedValues>& Groups() const { return groups_; }

private:
    std::vector<std::string> names_;
    std::vector<NamedValues> groups_;
};

}  // namespace zarn
