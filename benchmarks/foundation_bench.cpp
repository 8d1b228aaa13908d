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

constexpr std::size_t kDocuments = 600;
// As many distinct samples as stay in a cache, for a mission writes a document right after it has
// built it.
constexpr std::size_t kSamples = 8;
constexpr int kProcesses = 400;

struct Process {
    std::string pid;
    std::string cpu;
    std::string name;
};
using Sample = std::vector<Process>;

std::vector<Sample> Samples() {
    Generator generator(1);
    std::vector<Sample> samples(kSamples);
    for (Sample& sample : samples) {
        for (int i = 0; i < kProcesses; ++i) {
            sample.push_back({std::to_string(generator.Below(99999)), generator.Percentage(),
                              generator.Text(12, "abcdefgh-_/")});
        }
    }
    return samples;
}

// One event document of the size a sample of a busy machine has.
void FillDocument(const Sample& sample, JsonDocument& document) {
    document.SetObject();
    JsonAllocator& allocator = document.GetAllocator();
    AddJsonString("eventId", "962201576", document);
    AddJsonString("happenTime", "20230101120000123", document);
    JsonValue processes(rapidjson::kArrayType);
    for (const Process& source : sample) {
        JsonValue process(rapidjson::kObjectType);
        process.AddMember("pid", JsonValue(source.pid, allocator), allocator);
        process.AddMember("cpu", JsonValue(source.cpu, allocator), allocator);
        process.AddMember("name", JsonValue(source.name, allocator), allocator);
        processes.PushBack(process, allocator);
    }
    document.AddMember("content", processes, allocator);
}

std::vector<JsonDocument> Documents() {
    const std::vector<Sample> samples = Samples();
    std::vector<JsonDocument> documents(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        FillDocument(samples[i], documents[i]);
    }
    return documents;
}

std::vector<std::string> Texts() {
    std::vector<std::string> texts;
    for (const JsonDocument& document : Documents()) {
        rapidjson::StringBuffer buffer;
        WriteJson(document, buffer);
        texts.emplace_back(buffer.GetString(), buffer.GetSize());
        texts.back() += '\n';
    }
    return texts;
}

// The bytes of all documents are those of `bytesOfSamples` over and over.
void SetRate(benchmark::State& state, std::size_t bytesOfSamples) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytesOfSamples * kDocuments / kSamples) *
                            state.iterations());
}

std::size_t TotalSize(const std::vector<std::string>& texts) {
    std::size_t size = 0;
    for (const std::string& text : texts) {
        size += text.size();
    }
    return size;
}

// Runs `save(path, index)` for every document, into a new file in each round.
template <typename Save>
void RunSaving(benchmark::State& state, Save save) {
    const ScratchDir directory;
    const std::string path = directory.Path() + "documents.data";
    for (auto _ : state) {
        state.PauseTiming();
        (void)WriteFile(path, "");
        state.ResumeTiming();
        for (std::size_t i = 0; i < kDocuments; ++i) {
            save(path, i % kSamples);
        }
    }
    SetRate(state, TotalSize(Texts()));
}

// Building and saving, as a mission does it.
void DocumentsOurs(benchmark::State& state) {
    const std::vector<Sample> samples = Samples();
    RunSaving(state, [&samples](const std::string& path, std::size_t i) {
        JsonDocument document;
        FillDocument(samples[i], document);
        SaveJsonToFile(path, document);
    });
}
BENCHMARK(DocumentsOurs)->Name("Documents/ours")->Unit(benchmark::kMillisecond);

void DocumentsNaive(benchmark::State& state) {
    const std::vector<Sample> samples = Samples();
    RunSaving(state, [&samples](const std::string& path, std::size_t i) {
        JsonDocument document;
        FillDocument(samples[i], document);
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        document.Accept(writer);
        std::ofstream(path, std::ios::app) << buffer.GetString() << std::endl;
    });
}
BENCHMARK(DocumentsNaive)->Name("Documents/naive")->Unit(benchmark::kMillisecond);

void DocumentsBound(benchmark::State& state) {
    const std::vector<std::string> texts = Texts();
    RunSaving(state, [&texts](const std::string& path, std::size_t i) {
        (void)AppendFile(path, texts[i]);
    });
}
BENCHMARK(DocumentsBound)->Name("Documents/bound")->Unit(benchmark::kMillisecond);

// The text of built documents alone.
template <typename Write>
void RunWriting(benchmark::State& state, Write write) {
    const std::vector<JsonDocument> documents = Documents();
    for (auto _ : state) {
        for (std::size_t i = 0; i < kDocuments; ++i) {
            rapidjson::StringBuffer buffer;
            write(documents[i % kSamples], buffer);
            benchmark::DoNotOptimize(buffer.GetString());
        }
    }
    SetRate(state, TotalSize(Texts()));
}

void WriteOurs(benchmark::State& state) {
    RunWriting(state, [](const JsonDocument& document, rapidjson::StringBuffer& buffer) {
        WriteJson(document, buffer);
    });
}
BENCHMARK(WriteOurs)->Name("WriteJson/ours")->Unit(benchmark::kMillisecond);

void WriteNaive(benchmark::State& state) {
    RunWriting(state, [](const JsonDocument& document, rapidjson::StringBuffer& buffer) {
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        document.Accept(writer);
    });
}
BENCHMARK(WriteNaive)->Name("WriteJson/naive")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
