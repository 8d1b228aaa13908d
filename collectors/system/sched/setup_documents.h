#pragma once

#include <string>
#include <vector>

#include "collectors/system/sched/setup_parser.h"
#include "kit/csv_table.h"
#include "kit/event_writer.h"

// Documents and the table of how processes and threads are set up.
namespace zarn {

// Stands for what no tool told.
inline constexpr const char* kNoSetup = "NA";

struct ThreadSetup {
    std::string id;
    std::string name;
    std::string priority = kNoSetup;
    std::string policy = kNoSetup;
    std::string cores = kNoSetup;
};

// Values by their ids; of several for one id the first counts.
class SetupValues {
public:
    explicit SetupValues(const SetupRows& parsed);

    // The value, or kNoSetup.
    [[nodiscard]] const std::string& Of(const std::string& id) const;

private:
    std::vector<SetupRow> rows_;  // in order of their ids
};

// What is wrong with `count` rows that were left out.
[[nodiscard]] std::string ShortRowWords(std::size_t count);

// A process or, behind "specifiedThread", a thread, as documents and the table name it.
[[nodiscard]] std::string SetupKey(const std::string& name, const std::string& id);

// `threads` with the cores that `asked` tells of them; those of `asked` alone stand behind the
// others.
void AddCores(const std::vector<ThreadSetup>& asked, std::vector<ThreadSetup>& threads);

// Elements of a document's `content`.
//
// {"<key>":{"<member>":"<value>"}}
void WriteProcessSetup(const std::string& key, const char* member, const std::string& value,
                       EventWriter& events);

// {"<key>":[{"threadName":...,"spid":...,"priority":...,"schedPolicy":...},...]}, of the last two
// members, and "coreList", those that are asked for.
struct ThreadMembers {
    bool priority;
    bool cores;
};
void WriteThreadSetups(const std::string& key, const std::vector<ThreadSetup>& threads,
                       ThreadMembers members, EventWriter& events);

// The head of a block of the table, and its rows. Cells with "," or quotes are quoted.
void AppendSetupHead(CsvTable& table);
void AppendSetupRow(const std::string& key, const ThreadSetup& thread, CsvTable& table);

}  // namespace zarn
