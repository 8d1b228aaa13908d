#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/support/promise.h"
#include "benchmarks/support/quiet_streams.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/device/ai_core/ai_core_collector.h"
#include "collectors/device/ai_core/ai_core_sample.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "kit/host.h"

// What AiCoreCollector itself costs: the most samples that it takes, of 32 cores, without the
// pauses between them. The bound writes the same bytes into as many files.
namespace zarn::bench {
namespace {

namespace fs = std::filesystem;

constexpr int kSamples = 2000;

// A device whose cores are busy in a pattern.
class BusyDevice final : public DeviceLibrary {
public:
    int GetCount(int* count) override {
        *count = 1;
        return 0;
    }
    int List(int* devices, int /*count*/) override {
        *devices = 0;
        return 0;
    }
    int GetInfo(std::uint32_t /*device*/, std::uint32_t /*mainCommand*/,
                std::uint32_t /*subCommand*/, void* buffer, std::uint32_t* size) override {
        auto* usage = static_cast<std::uint8_t*>(buffer);
        std::generate_n(usage, *size, [this] { return static_cast<std::uint8_t>(next_++ % 101); });
        return 0;
    }
    int SetInfo(std::uint32_t /*device*/, std::uint32_t /*mainCommand*/,
                std::uint32_t /*subCommand*/, const void* /*buffer*/,
                std::uint32_t /*size*/) override {
        return 1;
    }

private:
    unsigned next_ = 0;
};

// A run tree in which a collection finds its folders.
void MakeTree(const std::string& path) {
    fs::create_directories(path + "json");
    fs::create_directories(path + "env_info");
}

void Collect(const std::string& tree) {
    BusyDevice device;
    Host host{SystemCommandRunner(), device};
    host.clock.sleepSeconds = [](std::uint32_t, const StopFlag*) {};
    // Times of their own, as the samples of a real collection have them.
    host.clock.currentTime = [tick = 10000000](std::string& time) mutable {
        time = "202301011" + std::to_string(tick++);
        return true;
    };
    JsonDocument config;
    (void)ParseJson(R"({"AiCoreCollector":{"job":["usage"],"interval":1,"count":)" +
                        std::to_string(kSamples) + "}}",
                    config);
    AiCoreCollector collector(AiCoreCollector::kName, host);
    const StopFlag stopFlag{0};
    const QuietStreams quiet;
    if (!collector.CheckOptions(config, "collector") || !collector.Start(config, tree, &stopFlag)) {
        std::exit(1);
    }
}

using Files = std::vector<std::pair<std::string, std::string>>;

// What a collection leaves: names below the tree, and texts.
Files CollectedFiles() {
    const ScratchDir tree;
    MakeTree(tree.Path());
    Collect(tree.Path());
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(tree.Path())) {
        if (!entry.is_regular_file()) {
            continue;
        }
        std::FILE* file = std::fopen(entry.path().c_str(), "r");
        std::string text(entry.file_size(), '\0');
        text.resize(std::fread(text.data(), 1, text.size(), file));
        std::fclose(file);
        files.emplace_back(entry.path().string().substr(tree.Path().size()), std::move(text));
    }
    return files;
}

template <typename Work>
void InFreshTrees(benchmark::State& state, Work work) {
    for (auto _ : state) {
        state.PauseTiming();
        {
            const ScratchDir tree;
            MakeTree(tree.Path());
            state.ResumeTiming();
            work(tree.Path());
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}

void Ours(benchmark::State& state) {
    InFreshTrees(state, Collect);
}

void Bound(benchmark::State& state) {
    const Files files = CollectedFiles();
    InFreshTrees(state, [&files](const std::string& tree) {
        fs::create_directories(tree + "raw_data/aiCore");
        for (const auto& [name, text] : files) {
            std::FILE* file = std::fopen((tree + name).c_str(), "a");
            std::fwrite(text.data(), 1, text.size(), file);
            std::fclose(file);
        }
    });
}

BENCHMARK(Ours)->Name("AiCoreCollector/ours")->Unit(benchmark::kMillisecond);
const Promise kNearTheBound = AtMostTimesBound("AiCoreCollector", 2);
BENCHMARK(Bound)->Name("AiCoreCollector/bound")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
