#pragma once

#include <array>
#include <string>

// The shell pipelines whose output the memory collector reads.
namespace zarn {

// One counter of the kernel each, in KB, in the order of the columns pss, pagetable, slabInfo,
// hugetlb, kermod and kernelStack.
inline constexpr std::array<const char*, 6> kMemCounterCommands = {
    "grep Pss -s /proc/[1-9]*/smaps | awk '{total+=$2}; END {print total}'",
    "grep PageTables -s /proc/meminfo | awk '{print $2}'",
    "cat /proc/slabinfo |awk 'BEGIN{sum=0;}{sum=sum+$3*$4;}END{print sum/1024}'",
    "grep Hugetlb -s /proc/meminfo | awk '{print $2}'",
    "grep vmalloc -s /proc/vmallocinfo | awk '{total+=$2}; END {print total/1024}'",
    "grep KernelStack -s /proc/meminfo | awk '{print $2}'",
};

inline constexpr const char* kFreeCommand = "free -k";
inline constexpr int kFirstFreeColumn = 2;  // of `total`
inline constexpr int kUsedFreeColumn = 3;   // of `used`

// The sum of a column of `free` over its lines, memory and swap.
[[nodiscard]] std::string FreeSumCommand(int column);

// All processes but kernel threads, shells and what is started here: drops every one with such a
// word anywhere in its path, and begins with the word "PID".
inline constexpr const char* kAllPidsCommand =
    R"(ps -ef | awk '$8 !~ /\[|\]|sshd|-bash|sleep|ps|awk|sh|bash/ {print $2}')";

inline constexpr const char* kSharePoolTotalCommand =
    R"(grep 'Spa\|spa' -s /proc/sharepool/proc_stat)";
inline constexpr const char* kSharePoolTableCommand =
    "grep -A 1000 'PID' -s /proc/sharepool/proc_stat";

// About one process. A pid comes from the output of other programs; what is no number in it does
// not become shell syntax.
[[nodiscard]] std::string CommandNameCommand(const std::string& pid);
// In KB, in the order of the columns HugePages, RSS, PSS and USS.
[[nodiscard]] std::array<std::string, 4> SmapsSumCommands(const std::string& pid);
// A line for each group of the share pool.
[[nodiscard]] std::string SharePoolAllocCommand(const std::string& pid);
// See ParseStatusWords.
[[nodiscard]] std::string StatusWordsCommand(const std::string& pid);
[[nodiscard]] std::string SmapsCommand(const std::string& pid);

}  // namespace zarn
