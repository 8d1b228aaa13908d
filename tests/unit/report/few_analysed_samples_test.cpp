#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/mem.h"
#include "tests/unit/report/shown.h"

// What analyzers say of few samples.
namespace zarn::report {
namespace {

using test::DocumentLine;
using test::kTime;
using test::RunTree;
using test::Shown;
using testing::ElementsAre;
using testing::IsEmpty;

// The moment of a sample, one each second.
std::string TimeOf(int second) {
    return std::to_string(20260101000000000 + second * 1000);
}

std::string Repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

// Samples of the DDR in which `cpu` alone has a share, with the analyzer's figures and a bound.
void WriteDdr(const RunTree& tree, int samples) {
    std::string lines;
    for (int i = 0; i < samples; ++i) {
        lines += DocumentLine("soc_ddr_bandwidth_usage_info_1", TimeOf(i), R"([{"cpu":"20.0"}])");
    }
    const auto figures = [](const std::string& name) {
        return R"({"mpam_name":")" + name +
               R"(","meanBw":"20","maxBw":"20","minBw":"20","over":"2.5","peak":[],"trough":[]})";
    };
    tree.Write(RunTree::NameOf(ddr_files::kBandwidth), lines);
    tree.Write(
        RunTree::NameOf(ddr_files::kAnalysis),
        DocumentLine("soc_ddr_ana", kTime, "[" + figures("cpu") + "," + figures("sdma") + "]"));
    tree.Write(RunTree::NameOf(ddr_files::kQosSettings),
               DocumentLine("soc_qos_mata_config_info", kTime,
                            R"([{"mpam_name":"cpu","bw_low":"0","bw_high":"51","hardlimit":"1",)"
                            R"("priority":"5"}])"));
}

TEST(FewAnalysedSamplesTest, OfTheDdr) {
    const RunTree tree;
    WriteDdr(tree, 29);
    const Shown few(tree);
    const std::string title = "Shares of the DDR's peak";
    EXPECT_THAT(few.Greys("ddr", title), ElementsAre("cpu 2", "cpu 7"));
    EXPECT_EQ(few.Note("ddr", title), "Grey: of 29 samples, too few to trust.");
    EXPECT_THAT(few.Rows("ddr", title),
                ElementsAre("cpu|20|20|20|[not-found]|[not-found]|2.5",
                            "sdma|[too-few-samples]|[too-few-samples]|[too-few-samples]|"
                            "[not-found]|[not-found]|[too-few-samples]"));
    EXPECT_THAT(few.Greys("ddr", "Bounds of the masters"), ElementsAre("cpu 6"));
    EXPECT_THAT(few.Greys("summary", "What was found"), ElementsAre("run1 3"));
    WriteDdr(tree, 30);
    const Shown enough(tree);
    EXPECT_THAT(enough.Greys("ddr", title), IsEmpty());
    EXPECT_THAT(enough.Greys("ddr", "Bounds of the masters"), IsEmpty());
}

// The analyzer's files of 30 samples, of which the process and core 1 were in two.
class FewCpuSamplesTest : public testing::Test {
protected:
    static std::string Figures() {
        return R"({"meanUsage":"1.5","maxUsage":"3","minUsage":"0.5","peak":[],"trought":[]})";
    }

    void SetUp() override {
        tree.Write(RunTree::NameOf(cpu_files::kGlobalAnalysis),
                   DocumentLine("soc_cpu_ana_global", kTime, R"({"us":)" + Figures() + "}") +
                       DocumentLine("soc_cpu_ana_global", kTime,
                                    R"({"top10ProcInfo":{"Top_1":{"procPID":"7",)"
                                    R"("procCommand":"planner","meanUsage":"9","maxUsage":"10",)"
                                    R"("minUsage":"8"}}})"));
        tree.Write(RunTree::NameOf(cpu_files::kSelectedAnalysis),
                   DocumentLine("soc_cpu_ana_global", kTime,
                                R"({"procSetInfo":{"driving":{"procInfo":[{"procPID":"7",)"
                                R"("procCommand":"planner","meanUsage":"9"}],"meanUsage":"9",)"
                                R"("usagePercent":"2"},"none":{"procInfo":[],"meanUsage":"0",)"
                                R"("maxUsage":"0","minUsage":"0","usagePercent":"0"}}})"));
        tree.Write(RunTree::NameOf(cpu_files::kCoreAnalysis),
                   DocumentLine("soc_cpu_ana_core", kTime,
                                R"({"coresUsageSorted":[{"coreID":"Cpu0","meanUsage":"4"},)"
                                R"({"coreID":"Cpu1","meanUsage":"3"}],"cpuUsage":[)"
                                R"({"coreID":"Cpu0","us":)" +
                                    Figures() + R"(},{"coreID":"Cpu1","us":)" + Figures() + "}]}"));
        std::string processes = "Times,oneCollecTotal,planner,\n";
        std::string sets = "Times,driving_total,none_total,\n";
        std::string head = "CoreID,Field,";
        for (int i = 0; i < 30; ++i) {
            processes += "'" + TimeOf(i) + (i < 2 ? ",9,9,\n" : ",0,,\n");
            sets += "'" + TimeOf(i) + (i < 2 ? ",9,,\n" : ",,,\n");
            head += "'" + TimeOf(i) + ",";
        }
        tree.Write(RunTree::NameOf(cpu_files::kGlobalTable), processes);
        tree.Write(RunTree::NameOf(cpu_files::kSelectedTable), sets);
        tree.Write("raw_data/cpu/soc_cpu_ana_core_rawdata_20230101120000000.csv",
                   head + "\nCpu0,us," + Repeated("4,", 30) + "\nCpu0,id," + Repeated("4,", 30) +
                       "\nCpu1,us,3,3,\nCpu1,id,3,\n");
    }
    RunTree tree;
};

TEST_F(FewCpuSamplesTest, OfTheSystem) {
    const Shown shown(tree);
    EXPECT_THAT(shown.Greys("cpu", "Shares of CPU time, whole system"), IsEmpty());
    EXPECT_THAT(shown.Greys("cpu", "Busiest processes"), ElementsAre("planner 3"));
    EXPECT_THAT(shown.Greys("summary", "What was found"), ElementsAre("run1 3"));
    EXPECT_EQ(shown.Note("cpu", "Busiest processes"),
              "Percent of one processor. Grey: of 2 samples, too few to trust.");
}

TEST_F(FewCpuSamplesTest, OfTheCores) {
    const Shown shown(tree);
    EXPECT_THAT(shown.Greys("cpu", "Load of the cores"), ElementsAre("Cpu1 1"));
    EXPECT_THAT(shown.Greys("cpu", "Shares of CPU time, each core"), ElementsAre("Cpu1 us 2"));
}

TEST_F(FewCpuSamplesTest, OfTheSets) {
    const Shown shown(tree);
    EXPECT_THAT(shown.Greys("cpu", "Sets of processes"), ElementsAre("driving 2", "driving 7"));
    EXPECT_THAT(shown.Rows("cpu", "Sets of processes"),
                testing::Contains("none|[too-few-samples]|[too-few-samples]|[too-few-samples]|"
                                  "[not-in-file]|[not-in-file]|[too-few-samples]"));
    EXPECT_THAT(shown.Greys("cpu", "Processes of the sets"), ElementsAre("driving 4"));
}

TEST(FewAnalysedSamplesTest, OfTheMemory) {
    const RunTree tree;
    std::string system;
    std::string processes;
    const auto process = [](const char* pid) {
        return std::string(R"({"PID":")") + pid + R"(","COMMAND":"planner","USS":"5K"})";
    };
    for (int i = 0; i < 30; ++i) {
        system += DocumentLine("soc_gea_memory_info", TimeOf(i), R"([{"memInfo":{"used":"5"}}])");
        processes += DocumentLine(
            "soc_gea_process_mem_rawdata_info", TimeOf(i),
            R"([{"process":[)" + process("7") + (i == 0 ? "," + process("8") : "") + "]}]");
    }
    const std::string figures = R"("maxMemValue":"5","minMemValue":"5","meanMemValue":"5.000000")";
    tree.Write(RunTree::NameOf(mem_files::kSystemSamples), system);
    tree.Write(RunTree::NameOf(mem_files::kProcessSamples), processes);
    tree.Write(RunTree::NameOf(mem_files::kSystemAnalysis),
               DocumentLine("soc_gea_memory_ana", kTime, "[{" + figures + "}]"));
    tree.Write(RunTree::NameOf(mem_files::kProcessAnalysis),
               DocumentLine("soc_gea_process_ana", kTime,
                            R"([{"PID":"7","command":"planner",)" + figures +
                                R"(},{"PID":"8","command":"planner",)" + figures + "}]"));
    const Shown enough(tree);
    EXPECT_THAT(enough.Greys("memory", "Memory of the system, as analysed"), IsEmpty());
    EXPECT_THAT(enough.Greys("memory", "Memory of the processes, as analysed"),
                ElementsAre("planner (8) 2"));
    tree.Write(RunTree::NameOf(mem_files::kSystemSamples), system.substr(system.find('\n') + 1));
    EXPECT_EQ(Shown(tree).Note("memory", "Memory of the system, as analysed"),
              "Grey: of 29 samples, too few to trust.");
}

}  // namespace
}  // namespace zarn::report
