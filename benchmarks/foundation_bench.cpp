#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "benchmarks/support/generator.h"
#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "foundation/commands.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/regex_guard.h"
#include "kit/event_writer.h"

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
const Promise kNearTheBound = AtMostTimesBound("Documents", 6);

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

// ---- Reading a file and cutting its lines

constexpr std::size_t kLogLines = 200000;

std::string LogText() {
    Generator generator(2);
    std::string text;
    for (std::size_t i = 0; i < kLogLines; ++i) {
        text += generator.Text(60 + generator.Below(60), "abcdefgh 0123456789.") + "\n";
    }
    return text;
}

// Runs `read(path)` on a file of that text; it gives a number that depends on what was read.
template <typename Read>
void RunReading(benchmark::State& state, Read read) {
    const ScratchDir directory;
    const std::string path = directory.Path() + "log";
    const std::string text = LogText();
    (void)WriteFile(path, text);
    for (auto _ : state) {
        benchmark::DoNotOptimize(read(path));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

void ReadOurs(benchmark::State& state) {
    RunReading(state, [](const std::string& path) {
        std::string text;
        (void)ReadFile(path, text);
        return text.size();
    });
}
BENCHMARK(ReadOurs)->Name("ReadFile/ours")->Unit(benchmark::kMillisecond);

void LinesOurs(benchmark::State& state) {
    RunReading(state, [](const std::string& path) {
        LineFile file(path);
        std::string_view line;
        std::size_t sum = 0;
        while (file.Next(line)) {
            sum += line.size();
        }
        return sum;
    });
}
BENCHMARK(LinesOurs)->Name("Lines/ours")->Unit(benchmark::kMillisecond);

void LinesNaive(benchmark::State& state) {
    RunReading(state, [](const std::string& path) {
        std::ifstream file(path);
        std::string line;
        std::size_t sum = 0;
        while (std::getline(file, line)) {
            sum += line.size();
        }
        return sum;
    });
}
BENCHMARK(LinesNaive)->Name("Lines/naive")->Unit(benchmark::kMillisecond);

void LinesBound(benchmark::State& state) {
    RunReading(state, [](const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        std::vector<char> buffer(1 << 18);
        std::size_t sum = 0;
        while (file.rdbuf()->sgetn(buffer.data(), static_cast<std::streamsize>(buffer.size())) >
               0) {
            sum += static_cast<unsigned char>(buffer[0]);
        }
        return sum;
    });
}
BENCHMARK(LinesBound)->Name("Lines/bound")->Unit(benchmark::kMillisecond);

// ---- Taking a child's output

// Runs `capture(command, text)` on a command that prints a recorded text.
template <typename CaptureOutput>
void RunCapturing(benchmark::State& state, CaptureOutput capture) {
    const ScratchDir directory;
    const std::string text = LogText();
    (void)WriteFile(directory.Path() + "log", text);
    const std::string command = "cat " + directory.Path() + "log";
    for (auto _ : state) {
        std::string output;
        capture(command, output);
        benchmark::DoNotOptimize(output.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

void CaptureOurs(benchmark::State& state) {
    RunCapturing(state, [](const std::string& command, std::string& output) {
        (void)ExecuteCommand(command, output);
    });
}
BENCHMARK(CaptureOurs)->Name("ExecuteCommand/ours")->Unit(benchmark::kMillisecond);

void CaptureNaive(benchmark::State& state) {
    RunCapturing(state, [](const std::string& command, std::string& output) {
        std::FILE* stream = ::popen(command.c_str(), "r");
        std::array<char, 255> buffer{};
        while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), stream) != nullptr) {
            output += buffer.data();
        }
        ::pclose(stream);
    });
}
BENCHMARK(CaptureNaive)->Name("ExecuteCommand/naive")->Unit(benchmark::kMillisecond);

// ---- Regular expressions

void RegexOurs(benchmark::State& state) {
    const std::regex pattern(R"((\d+)\.(\d+) (\w+))");
    const std::string text =
        std::string(static_cast<std::size_t>(state.range(0)) - 8, ' ') + "1.5 last";
    ViewMatch match;
    for (auto _ : state) {
        benchmark::DoNotOptimize(SearchGuarded(text, pattern, match));
    }
    state.SetBytesProcessed(state.range(0) * state.iterations());
}
BENCHMARK(RegexOurs)
    ->Name("SearchGuarded/ours")
    ->MeasureProcessCPUTime()
    ->Arg(100)
    ->Arg(256)
    ->Arg(257)
    ->Arg(4096);

void RegexBound(benchmark::State& state) {
    const std::regex pattern(R"((\d+)\.(\d+) (\w+))");
    const std::string text =
        std::string(static_cast<std::size_t>(state.range(0)) - 8, ' ') + "1.5 last";
    std::smatch match;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::regex_search(text, match, pattern));
    }
    state.SetBytesProcessed(state.range(0) * state.iterations());
}
BENCHMARK(RegexBound)
    ->Name("SearchGuarded/bound")
    ->MeasureProcessCPUTime()
    ->Arg(100)
    ->Arg(256)
    ->Arg(257)
    ->Arg(4096);

}  // namespace
}  // namespace zarn::bench
