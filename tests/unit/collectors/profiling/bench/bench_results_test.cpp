#include "collectors/profiling/bench/bench_results.h"

#include <gtest/gtest.h>

#include <string>

namespace zarn {
namespace {

std::string Written(const BenchResult& result) {
    EventWriter events;
    WriteBenchResult(result, events);
    return std::string(events.Lines());
}

TEST(BenchResultsTest, ValuesMayLieInTheContentItself) {
    EXPECT_EQ(
        Written({bench_files::kMemory, "20230101120000000", {{"a b", "1.5\n2"}, {"c", ""}}, {}}),
        R"({"eventId":"222210150","happenTime":"20230101120000000",)"
        R"("objectId":"soc_mem_throughput_info","content":{"a b":"1.5\n2","c":""}})"
        "\n");
}

TEST(BenchResultsTest, OrInGroups) {
    EXPECT_EQ(Written({bench_files::kScheduler,
                       "1",
                       {},
                       {{"pipe", {{"x", "1"}}}, {"a\"b", {}}, {"c", {{"x", "<not"}}}}}),
              R"({"eventId":"222210140","happenTime":"1","objectId":"soc_cpu_bench_info",)"
              R"("content":{"pipe":{"x":"1"},"a\"b":{},"c":{"x":"<not"}}})"
              "\n");
}

TEST(BenchResultsTest, ThereMayBeNothing) {
    EXPECT_EQ(Written({bench_files::kStatistics, "1", {}, {}}),
              R"({"eventId":"222210160","happenTime":"1","objectId":"soc_cpu_stat_info",)"
              R"("content":{}})"
              "\n");
}

TEST(BenchResultsTest, AValueLosesTheEndOfItsLastLine) {
    EXPECT_EQ(ValueOf("12.5\n"), "12.5");
    EXPECT_EQ(ValueOf("12.5"), "12.5");
    EXPECT_EQ(ValueOf("1\n2\n"), "1\n2");
    EXPECT_EQ(ValueOf("1\n\n"), "1\n");
    EXPECT_EQ(ValueOf("\n"), "");
    EXPECT_EQ(ValueOf(""), "");
}

TEST(BenchResultsTest, AListOfPidsIsOneLine) {
    EXPECT_EQ(PidListOf("417\n"), "417");
    EXPECT_EQ(PidListOf("417,418\r\n"), "417,418");
    EXPECT_EQ(PidListOf("417\n418\n"), "417");
    EXPECT_EQ(PidListOf("417"), "417");
    EXPECT_EQ(PidListOf("\n417"), "");
    EXPECT_EQ(PidListOf(""), "");
}

TEST(BenchFilesTest, AreNamedByWhatTheyHold) {
    EXPECT_EQ(bench_files::RawName("sched_pipe", "20230101120000000"),
              "bench_sched_pipe_20230101120000000.log");
    EXPECT_EQ(bench_files::kStatistics.Path("/run/", "20230101120000000"),
              "/run/json/soc_cpu_stat_info_20230101120000000.data");
}

}  // namespace
}  // namespace zarn
