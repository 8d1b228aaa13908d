#include <benchmark/benchmark.h>

#include <fstream>
#include <string>
#include <vector>

#include "benchmarks/support/generator.h"
#include "benchmarks/support/scratch_dir.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/zarn_utils.h"

// The costs of the foundation that missions pay per byte: JSON documents, files, lines, children.
namespace zarn::bench {
namespace {

constexpr int kDocuments = 600;
constexpr int kProcesses = 400;

// One event document of the size a sample of a busy machine has.
void FillSample(Generator& generator, JsonDocument& document) {
    document.SetObject();
    JsonAllocator& allocator = document.GetAllocator();
    AddJsonString("eventId", "962201576", document);
    AddJsonString("happenTime", "20230101120000123", document);
    JsonValue processes(rapidjson::kArrayType);
    for (int i = 0; i < kProcesses; ++i) {
        JsonValue process(rapidjson::kObjectType);
        process.AddMember("pid", JsonValue(std::to_string(generator.Below(99999)), allocator),
                          allocator);
        process.AddMember("cpu", JsonValue(generator.Percentage(), allocator), allocator);
        process.AddMember("name", JsonValue(generator.Text(12, "abcdefgh-_/"), allocator),
                          allocator);
        processes.PushBack(process, allocator);
    }
    document.AddMember("content", processes, allocator);
}

std::vector<JsonDocument> Samples() {
    Generator generator(1);
    std::vector<JsonDocument> samples(kDocuments);
    for (JsonDocument& sample : samples) {
        FillSample(generator, sample);
    }
    return samples;
}

std::vector<std::string> Texts(const std::vector<JsonDocument>& samples) {
    std::vector<std::string> texts;
    for (const JsonDocument& sample : samples) {
        rapidjson::StringBuffer buffer;
        WriteJson(sample, buffer);
        texts.emplace_back(buffer.GetString(), buffer.GetSize());
        texts.back() += '\n';
    }
    return texts;
}

std::size_t TotalSize(const std::vector<std::string>& texts) {
    std::size_t size = 0;
    for (const std::string& text : texts) {
        size += text.size();
    }
    return size;
}

void SetRate(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

// Runs `save(path, index)` for every document, into a new file in each round.
template <typename Save>
void RunSaving(benchmark::State& state, std::size_t bytes, Save save) {
    const ScratchDir directory;
    const std::string path = directory.Path() + "documents.data";
    for (auto _ : state) {
        state.PauseTiming();
        (void)WriteFile(path, "");
        state.ResumeTiming();
        for (std::size_t i = 0; i < kDocuments; ++i) {
            save(path, i);
        }
    }
    SetRate(state, bytes);
}

void SaveOurs(benchmark::State& state) {
    const std::vector<JsonDocument> samples = Samples();
    RunSaving(state, TotalSize(Texts(samples)), [&samples](const std::string& path, std::size_t i) {
        SaveJsonToFile(path, samples[i]);
    });
}
BENCHMARK(SaveOurs)->Name("SaveJsonToFile/ours")->Unit(benchmark::kMillisecond);

void SaveNaive(benchmark::State& state) {
    const std::vector<JsonDocument> samples = Samples();
    RunSaving(state, TotalSize(Texts(samples)), [&samples](const std::string& path, std::size_t i) {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        samples[i].Accept(writer);
        std::ofstream(path, std::ios::app) << buffer.GetString() << std::endl;
    });
}
BENCHMARK(SaveNaive)->Name("SaveJsonToFile/naive")->Unit(benchmark::kMillisecond);

void SaveBound(benchmark::State& state) {
    const std::vector<std::string> texts = Texts(Samples());
    RunSaving(state, TotalSize(texts), [&texts](const std::string& path, std::size_t i) {
        (void)AppendFile(path, texts[i]);
    });
}
BENCHMARK(SaveBound)->Name("SaveJsonToFile/bound")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
