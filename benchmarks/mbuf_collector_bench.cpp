#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/support/promise.h"
#include "benchmarks/support/scratch_dir.h"
#include "collectors/device/mbuf/mbuf_log.h"
#include "collectors/device/mbuf/mbuf_records.h"
#include "foundation/files.h"

// What a query of the greatest number of buffers costs in the collector, from the library's answer
// to the log on disk and the maps, all of them being new: against printing the same log.
namespace zarn::bench {
namespace {

template <typename Number>
void Put(std::string& record, std::size_t offset, Number number) {
    std::memcpy(record.data() + offset, &number, sizeof(number));
}

// Taken a few microseconds apart by two processes, from a pool of blocks of 4 KiB.
std::string FullAnswer() {
    std::string answer;
    for (std::uint32_t i = 0; i < kMostMbufRecords; ++i) {
        std::string record(kMbufRecordSize, '\0');
        Put(record, 0, std::uint64_t{7351000000} + i * 611);
        Put(record, 8, std::uint64_t{0xFFFF800000000000} + (i * 7919 % kMostMbufRecords) * 4096);
        Put(record, 16, 2311 + i % 2);
        Put(record, 20, 2311);
        Put(record, 24, 10000 + i * 37 % 5000);
        Put(record, 48, 4096);
        Put(record, 52, 8192);
        record.replace(64, 11, "camera_pool");
        answer += record;
    }
    return answer;
}

void CheckLog(const std::string& path, std::size_t size) {
    std::string text;
    if (ReadFile(path, text) != FileResult::Ok || text.size() != size) {
        std::fprintf(stderr, "the log is another one\n");
        std::exit(1);
    }
}

template <typename Work>
void Query(benchmark::State& state, Work work) {
    const ScratchDir directory;
    const std::string answer = FullAnswer();
    const std::string path = directory.Path() + "log";
    for (auto _ : state) {
        std::filesystem::remove(path);
        work(answer, path);
    }
    std::size_t size = 0;
    WriteMbufLog(ParseMbufRecords(answer),
                 [&size](std::string_view piece) { size += piece.size(); });
    CheckLog(path, size);
    state.SetItemsProcessed(static_cast<std::int64_t>(kMostMbufRecords) * state.iterations());
}

void QueryOurs(benchmark::State& state) {
    std::string buffer;
    Query(state, [&buffer](const std::string& answer, const std::string& path) {
        buffer.assign(answer.size(), '\0');
        std::memcpy(buffer.data(), answer.data(), answer.size());
        const std::vector<MbufRecord> records = ParseMbufRecords(buffer);
        FileAppender log(path);
        WriteMbufLog(records, [&log](std::string_view piece) { log.Append(piece); });
        MbufCycle cycle;
        cycle.Add({});
        cycle.Add(records);
        if (log.Keep() != FileResult::Ok || cycle.NewRecords().size() != records.size()) {
            std::exit(1);
        }
    });
}

// The log alone, its fields taken from a record where they lie.
void QueryBound(benchmark::State& state) {
    Query(state, [](const std::string& answer, const std::string& path) {
        std::FILE* file = std::fopen(path.c_str(), "w");
        for (std::size_t i = 0; i < kMostMbufRecords; ++i) {
            const char* record = answer.data() + i * kMbufRecordSize;
            std::uint64_t wide[2];
            std::uint32_t words[16];
            std::memcpy(wide, record, sizeof(wide));
            std::memcpy(words, record, sizeof(words));
            std::fprintf(file,
                         "================= TimeOutMbuf ================= \nid: %zu\nmbuf: %p\n"
                         "timeStamp: %llu\nallocPid: %u\nusePid: %u\nuseTime: %u\npoolName: %s\n"
                         "blkSize: %u\ntotalBlkNum: %u\n",
                         i, reinterpret_cast<void*>(wide[1]),
                         static_cast<unsigned long long>(wide[0]), words[5], words[4], words[6],
                         record + 64, words[12], words[13]);
        }
        std::fclose(file);
    });
}

// By streams, each line flushed, keys by a stream of their own, whole records in both maps.
void QueryNaive(benchmark::State& state) {
    Query(state, [](const std::string& answer, const std::string& path) {
        std::map<std::string, MbufRecord> seen;
        std::map<std::string, MbufRecord> fresh;
        std::ofstream file(path);
        const std::vector<MbufRecord> records = ParseMbufRecords(answer);
        for (std::size_t i = 0; i < records.size(); ++i) {
            const MbufRecord& record = records[i];
            std::ostringstream key;
            key << reinterpret_cast<void*>(record.mbuf) << "_" << record.timeStamp << "_"
                << record.useTime;
            if (seen.find(key.str()) == seen.end()) {
                seen[key.str()] = record;
                fresh[key.str()] = record;
            }
            file << "================= TimeOutMbuf ================= " << std::endl;
            file << "id: " << i << std::endl;
            file << "mbuf: " << reinterpret_cast<void*>(record.mbuf) << std::endl;
            file << "timeStamp: " << record.timeStamp << std::endl;
            file << "allocPid: " << record.allocPid << std::endl;
            file << "usePid: " << record.usePid << std::endl;
            file << "useTime: " << record.useTime << std::endl;
            file << "poolName: " << record.poolName << std::endl;
            file << "blkSize: " << record.blkSize << std::endl;
            file << "totalBlkNum: " << record.totalBlkNum << std::endl;
        }
    });
}

BENCHMARK(QueryOurs)->Name("MbufCollector/query/ours")->Unit(benchmark::kMillisecond);
const Promise kNearTheLogAlone = AtMostTimesBound("MbufCollector/query", 1.5);
BENCHMARK(QueryNaive)->Name("MbufCollector/query/naive")->Unit(benchmark::kMillisecond);
BENCHMARK(QueryBound)->Name("MbufCollector/query/bound")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zarn::bench
