#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "mission/zarn_manager.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/manager_texts.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// What happened to the fake missions, in order: "build A", "check A collector", "start A
// <dataPath>", "destroy A".
using Journal = std::vector<std::string>;

// A manager in a private root, with missions that only keep a journal: collectors, analyzers,
// optimizers and comparators each know the names A, B and C.
class ManagerTest : public testing::Test {
protected:
    // The answers to the questions for the time, in order; "" makes the question fail. The last one
    // answers all further questions, the first one names the run directory.
    std::vector<std::string> times{"20230101120000123"};
    // "check B" or "start B" in here makes that operation of the missions called B fail.
    std::set<std::string> failures;
    // Called at each entry into the journal.
    std::function<void(const std::string&)> onEvent;
    Journal journal;
    FakeHost host;
    FakeRunner& runner = host.runner;
    TempDir root;
    std::vector<std::string> versionFiles;

    // The configuration's path: what it holds is up to the test.
    [[nodiscard]] std::string ConfigPath() const { return root.Path() + "config.json"; }
    // The run directory of the first time string.
    [[nodiscard]] std::string DataPath() const;

    // The starts in the journal, as "A <dataPath>".
    [[nodiscard]] std::vector<std::string> Starts() const;

    // The seams, should a test change more of them.
    [[nodiscard]] ManagerSeams Seams();

    // Runs a manager on `config` to its destruction and keeps what Start returned.
    Captured Run(const std::string& config);
    Captured Run(const std::string& config, ManagerSeams seams);
    int result = -1;
    // The same with the streams left as they are, for a process that is to die.
    void RunUncaptured(const std::string& config);

private:
    void Note(const std::string& event);
    template <class Fake, class Base, class... Args>
    MissionClass<Base, Args...> FakeClass(const std::string& name);
    template <class Base>
    class FakeMission;
    template <class Base>
    class FakeCheckedMission;
    class FakeOptimizer;

    MissionClasses classes_;
    std::size_t timesAsked_ = 0;
};

}  // namespace zarn::test
