#include "tests/unit/analyzers/cpu/cpu_analysis_fixture.h"

#include <gtest/gtest.h>

#include "analyzers/cpu/cpu_analyzer.h"
#include "tests/support/fake_host.h"
#include "tests/support/section_config.h"

namespace zarn::test {

const char* const kUsageLogText =
    R"(20230101120000123
top - 12:00:00 up 1 min,  1 user,  load average: 1.00, 2.00, 3.00
Tasks:  10 total,   1 running,   9 sleeping,   0 stopped,   0 zombie
%Cpu(s): 10.0 us,  5.0 sy,  0.0 ni, 80.0 id,  0.0 wa,  1.0 hi,  2.0 si,  0.0 st
MiB Mem :  24105.6 total,  23407.8 free,    423.7 used,    522.3 buff/cache
MiB Swap:      0.0 total,      0.0 free,      0.0 used.  23681.9 avail Mem
    PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND
     20 app       20   0   12.5g   2048   1024 R  50.0   1.0   0:10.00 worker
      1 root      20   0   51944  20256   6520 S  10.0   0.1   0:02.70 init
      3 root      20   0       0      0      0 I   0.0   0.0   0:00.00 helper

20230101120005123
top - 12:00:05 up 1 min,  1 user,  load average: 2.00, 2.00, 3.00
Tasks:  12 total,   1 running,  11 sleeping,   0 stopped,   0 zombie
%Cpu(s): 30.0 us,  5.0 sy,  0.0 ni, 60.0 id,  0.0 wa,  1.0 hi,  2.0 si,  0.0 st
    PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND
     20 app       20   0   12.5g   2048   1024 R  80.0   1.0   0:14.00 worker
      1 root      20   0   51944  20256   6520 S  20.0   0.1   0:03.70 init

20230101120010123
top - 12:00:10 up 1 min,  1 user,  load average: 3.00, 2.00, 3.00
Tasks:  11 total,   1 running,  10 sleeping,   0 stopped,   0 zombie
%Cpu(s): 10.0 us,  5.0 sy,  0.0 ni, 80.0 id,  0.0 wa,  1.0 hi,  2.0 si,  0.0 st
    PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND
      1 root      20   0   51944  20256   6520 S  10.0   0.1   0:04.20 init
      3 root      20   0       0      0      0 I   2.0   0.0   0:00.10 helper

)";

const char* const kCoresLogText =
    R"(20230101120000456
top - 12:00:00 up 1 min,  1 user,  load average: 1.00, 2.00, 3.00
Tasks:  10 total,   1 running,   9 sleeping,   0 stopped,   0 zombie
Cpu0  :  4.0 us,  2.0 sy,  0.0 ni, 90.0 id,  0.0 wa,  1.0 hi,  3.0 si,  0.0 st   
Cpu1  : 40.0 us,  6.0 sy,  0.0 ni, 50.0 id,  0.0 wa,  1.0 hi,  3.0 si,  0.0 st 

20230101120005456
top - 12:00:05 up 1 min,  1 user,  load average: 2.00, 2.00, 3.00
Tasks:  12 total,   1 running,  11 sleeping,   0 stopped,   0 zombie
Cpu0  : 24.0 us,  2.0 sy,  0.0 ni, 70.0 id,  0.0 wa,  1.0 hi,  3.0 si,  0.0 st   
Cpu1  : 40.0 us,  6.0 sy,  0.0 ni, 50.0 id,  0.0 wa,  1.0 hi,  3.0 si,  0.0 st 

)";

const char* const kDocumentsText =
    R"({"eventId":"962201576","happenTime":"20230101120000123","content":{"cpu":[]}}
{"eventId":"962201576","happenTime":"20230101120005123","content":{}}
{"eventId":"962201576","happenTime":"20230101120010123","content":{"procs":[{"a":"b"}]}}
)";

CpuRunTree::CpuRunTree() {
    tree_.MakeFolder(cpu_files::kRawDir);
}

void CpuRunTree::WriteCollection() const {
    tree_.Write(kUsageLogName, kUsageLogText);
    tree_.Write(kCoresLogName, kCoresLogText);
    tree_.Write(kDocumentsName, kDocumentsText);
}

CpuRunTree::Result CpuRunTree::Analyze(const std::string& jobs, bool stopped) const {
    return AnalyzeTree(tree_.Path(), jobs, stopped);
}

CpuRunTree::Result CpuRunTree::AnalyzeTree(const std::string& dataPath, const std::string& jobs,
                                           bool stopped) {
    const JsonDocument config = ParsedConfigOf(
        "CpuAnalyzer", SectionText({{"job", "[" + jobs + "]"},
                                    {"peak_trought_threshold", "0.1"},
                                    {"process_set", R"({"all":["init","worker","helper"],)"
                                                    R"("small":["helper"],"none":["absent"]})"}}));
    const StopFlag stopFlag(stopped ? 1 : 0);
    test::FakeHost host;
    CpuAnalyzer analyzer("CpuAnalyzer", host.Get());
    Result result{};
    result.captured =
        Capture([&] { result.succeeded = analyzer.Start(config, dataPath, &stopFlag); });
    return result;
}

}  // namespace zarn::test
