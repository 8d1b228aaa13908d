#include "tests/support/aicpu_lines.h"

#include <functional>

namespace zarn::test {
namespace {

// A section whose text of pass k, from 1 on, is text(k).
std::string Section(const std::string& attribute, std::size_t passes,
                    const std::function<std::string(std::size_t)>& text) {
    std::vector<std::string> texts;
    for (std::size_t k = 1; k <= passes; ++k) {
        texts.push_back(text(k));
    }
    return AicpuSection(attribute, texts);
}

// The same text in each pass.
std::string Section(const std::string& attribute, std::size_t passes, const std::string& text) {
    return AicpuSection(attribute, std::vector<std::string>(passes, text));
}

std::string Times(std::size_t worst, std::size_t mean) {
    return "max time(us) " + std::to_string(worst) + "\nave time(us) " + std::to_string(mean) +
           "\n";
}

std::string Summary(std::size_t k) {
    const std::string count = std::to_string(10 * k);
    return "publish_event_num " + count + "\n" + Times(90, 9) + Times(80, 8) + "sched_event_num " +
           count + "\n" + Times(70, 7) + "wakeup_event_num " + count + "\n" + Times(60, 6) +
           "event id,publish event num,sched event num\n4," + count + "," + count + "\n";
}

// The events of a list in pass k: those of the passes k and before, at most two of them, one of
// each of two processes.
std::string Events(const std::string& head, const std::string& pid, std::size_t k) {
    std::string text = "event,start_us,pid,tid,gid,cpu,us,thread\n";
    for (std::size_t i = k > 1 ? k - 1 : 1; i <= k; ++i) {
        text += "4," + std::to_string(1000 * i) + "," + head + pid + ",9,9,9,500,busy\n";
        text += "5," + std::to_string(1000 * i + 1) + "," + head + "77,9,9,9,500,other\n";
    }
    return text;
}

}  // namespace

std::string AicpuSection(const std::string& attribute, const std::vector<std::string>& passes) {
    std::string text = "\n" + attribute + " START\n";
    for (const std::string& pass : passes) {
        text += "\n@zarn-new:\n" + pass;
    }
    return text + attribute + " END\n\n";
}

AicpuRecord AicpuRecordOf(const std::vector<AicpuProcess>& processes) {
    return {1, 3, {true, true, true}, 1, 3, processes};
}

AicpuProcess AicpuProcessOf(const std::string& name, std::uint32_t pid, std::size_t passes,
                            bool valid) {
    AicpuProcess process = {valid, name, 1, pid, valid ? 31U : 0U, {}};
    for (std::size_t k = 1; k <= passes; ++k) {
        const std::string number = std::to_string(1000 * k + 1);
        process.collectTimes.push_back(
            std::string("20230101120000000").substr(0, 17 - number.size()) + number);
    }
    return process;
}

AicpuRawFiles AicpuRawFilesOf(const AicpuProcess& process) {
    const std::size_t passes = process.collectTimes.size();
    const std::string pid = std::to_string(process.valid ? process.pid : 0);
    AicpuRawFiles files;
    const std::string pool = "total:used:free:reserved:max_used:failed\n";
    files.core = Section("node_event_resource", passes, pool + "4096:212:3884:0:655:1\n") +
                 Section("proc_list", passes, "1201,perception,30,29,7\n77,other,5,5,1\n") +
                 Section("cpu_event_resource", passes,
                         "cpu," + pool + "1,1024:61:963:0:180:2\n2,1024:92:932:0:301:0\n");
    files.event = Section("event_trace", passes, "cpu,start_us\n1,2\n") +
                  Section("node_event_summary", passes, Summary);
    // The number of fields before the pid differs from list to list.
    const std::pair<const char*, const char*> lists[] = {{"proc", ""},
                                                         {"publish_in_kernel", "1,"},
                                                         {"publish_subscribe", "1,2,"},
                                                         {"publish_syscall", "1,"},
                                                         {"wakeup", "1,2,3,"}};
    for (const auto& [name, head] : lists) {
        const std::string attribute = "node_sched_" + std::string(name) + "_abnormal_";
        const std::string fields = head;
        files.abnormal += Section(attribute + "event", passes,
                                  [&](std::size_t k) { return Events(fields, pid, k); });
        files.abnormal += Section(attribute + "time_in_microsecond", passes, "2400\n");
    }
    files.process =
        Section("proc_pri", passes, process.valid ? pid + "," + process.name + ",5\n" : "") +
        Section("proc_status", passes, "status running\ngroup_num 1\n") +
        Section("proc_event_num", passes,
                [](std::size_t k) {
                    return "publish_event_num " + std::to_string(10 * k) + "\nsched_event_num " +
                           std::to_string(9 * k) + "\n";
                }) +
        Section("proc_group_list", passes,
                "gid,sched_type,thread_num,event_num\n31,1,3,2\n32,1,1,1\n");
    return files;
}

}  // namespace zarn::test
