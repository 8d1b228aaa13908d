#include "tests/unit/mission/manager_fixture.h"

#include <mutex>

namespace zarn::test {

// Keeps the journal of its building, start and destruction.
template <class Base>
class ManagerTest::FakeMission : public Base {
public:
    template <class... Args>
    FakeMission(ManagerTest& test, const std::string& name, const Args&... args)
        : Base(name, args...), test_(test) {
        test_.Note("build " + name + Versions());
    }
    ~FakeMission() override { test_.Note("destroy " + this->Name()); }

    bool Start(const JsonDocument& /*config*/, const std::string& dataPath,
               const StopFlag* stopFlag) override {
        test_.Note("start " + this->Name() + " " + dataPath + (IsSet(stopFlag) ? " stopped" : ""));
        return test_.failures.count("start " + this->Name()) == 0;
    }

protected:
    bool Check(const JsonDocument& config, const std::string& modeName) {
        test_.Note("check " + this->Name() + " " + modeName);
        EXPECT_TRUE(config.IsObject());
        return test_.failures.count("check " + this->Name()) == 0;
    }

private:
    [[nodiscard]] std::string Versions() const {
        std::string text;
        if constexpr (std::is_same_v<Base, BasicComparator>) {
            for (const auto& [version, directory] : this->VersionMap()) {
                text.append(" ").append(version).append("=").append(directory);
            }
        }
        return text;
    }

    ManagerTest& test_;
};

// A fake collector or comparator: the manager has them checked.
template <class Base>
class ManagerTest::FakeCheckedMission final : public FakeMission<Base> {
public:
    using FakeMission<Base>::FakeMission;
    bool CheckOptions(const JsonDocument& config, const std::string& modeName) override {
        return this->Check(config, modeName);
    }
};

class ManagerTest::FakeOptimizer final : public FakeMission<BasicOptimizer> {
public:
    using FakeMission::FakeMission;
    bool CheckOptions(const JsonDocument& config) override { return Check(config, "optimizer"); }
};

template <class Fake, class Base, class... Args>
MissionClass<Base, Args...> ManagerTest::FakeClass(const std::string& name) {
    return {name, [this](const std::string& asked, const Args&... args, const Host& /*host*/) {
                return std::unique_ptr<Base>(std::make_unique<Fake>(*this, asked, args...));
            }};
}

void ManagerTest::Note(const std::string& event) {
    {
        static std::mutex lock;  // parallel collectors note from their own threads
        const std::lock_guard<std::mutex> guard(lock);
        journal.push_back(event);
    }
    if (onEvent) {
        onEvent(event);
    }
}

std::vector<std::string> ManagerTest::Starts() const {
    std::vector<std::string> starts;
    for (const std::string& event : journal) {
        if (event.rfind("start ", 0) == 0) {
            starts.push_back(event.substr(6));
        }
    }
    return starts;
}

std::string ManagerTest::DataPath() const {
    return root.Path() + "runs/zarn_data_" + times.front() + "/";
}

ManagerSeams ManagerTest::Seams() {
    classes_ = {};
    for (const char* name : {"A", "B", "C"}) {
        classes_.collectors.push_back(
            FakeClass<FakeCheckedMission<BasicCollector>, BasicCollector>(name));
        classes_.analyzers.push_back(FakeClass<FakeMission<BasicAnalyzer>, BasicAnalyzer>(name));
        classes_.optimizers.push_back(FakeClass<FakeOptimizer, BasicOptimizer>(name));
        classes_.comparators.push_back(
            FakeClass<FakeCheckedMission<BasicComparator>, BasicComparator, VersionMap>(name));
    }
    const auto currentTime = [this](std::string& time) {
        time = times[std::min(timesAsked_++, times.size() - 1)];
        return !time.empty();
    };
    const auto anyPath = [](const std::string&) { return true; };
    host.currentTime = currentTime;
    return {classes_, host.Get(), anyPath, anyPath, root.Path() + "runs/", versionFiles};
}

Captured ManagerTest::Run(const std::string& config) {
    return Run(config, Seams());
}

Captured ManagerTest::Run(const std::string& config, ManagerSeams seams) {
    (void)root.Write("config.json", config);
    return Capture([this, &seams] {
        ZarnManager manager(ConfigPath(), std::move(seams));
        result = manager.Start();
    });
}

void ManagerTest::RunUncaptured(const std::string& config) {
    (void)root.Write("config.json", config);
    ZarnManager manager(ConfigPath(), Seams());
    result = manager.Start();
}

}  // namespace zarn::test
