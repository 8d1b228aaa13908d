#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "collectors/system/sched/sched_job_param.h"
#include "collectors/system/sched/setup_documents.h"
#include "kit/host.h"

namespace zarn {

// The job "priority_affinity": how processes, all their threads, and threads of some names are set
// up. What the system's tools print is kept, then read again for documents and a table. A process
// or thread that cannot be asked is told and left out, the others go on.
class SetupJob {
public:
    // All of these outlive the job. `dataPath` has its final slash.
    SetupJob(const Host& host, const SchedJobParam& param, const std::string& dataPath)
        : host_(host), param_(param), dataPath_(dataPath) {}

    // Asks the tools.
    void Collect();

    // Makes the documents and the table of what they answered.
    void Save() const;

private:
    using Threads = std::vector<ThreadSetup>;

    void CollectPriorities();
    void CollectThreadPriorities(const std::string& name, const std::string& pid) const;
    void CollectAffinities();
    void CollectThreadAffinities(const std::string& name, const std::string& pid) const;
    void CollectNamedThreads();

    [[nodiscard]] bool TakeTime(std::string& time, const char* wordsIfFailed) const;
    [[nodiscard]] bool Run(const std::string& command, const std::string& wordsIfFailed) const;
    // Asks one thread.
    [[nodiscard]] bool Ask(const std::string& id, const std::string& command) const;

    void SavePriorities() const;
    void SaveAffinities() const;
    [[nodiscard]] Threads SaveThreadPriorities(std::size_t process) const;
    [[nodiscard]] Threads SaveThreadAffinities(std::size_t process) const;
    [[nodiscard]] Threads SaveNamedThreads() const;
    // `processes`: the threads of each.
    void SaveTable(const std::vector<Threads>& processes, const Threads& named) const;

    [[nodiscard]] std::string KeyOf(std::size_t process) const;

    const Host& host_;
    const SchedJobParam& param_;
    const std::string& dataPath_;
    std::string priorityTime_;
    std::string affinityTime_;
    std::string namedTime_;
};

}  // namespace zarn
