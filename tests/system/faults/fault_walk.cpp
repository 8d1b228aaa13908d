// Runs zarn again and again on one configuration, letting each of its fallible calls fail in turn,
// once each, with each plausible error, and judges every run: it ends in the ordinary way or by an
// end that is meant, it does not hang, and every document it leaves can be read by the judge.
//
// usage: fault_walk ZARN PRELOAD JUDGE CONFIGURATION CALL...
//            every fault; of each kind of call named at least one must happen
//        fault_walk ZARN PRELOAD JUDGE CONFIGURATION INTERRUPTS
//            so many interrupts, at calls drawn at random
// Unless the environment variable ZARN_WALK is "all" it walks over a sample: 8 faults of each kind,
// more where none of them happened, and a tenth of the interrupts. What is drawn follows from the
// seed it prints; ZARN_WALK_SEED sets it.
// Meant for a private /opt/usr, whose run directories it removes. Prints how many faults happened;
// its status is 0 if they were of all kinds and no run was at fault.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "formats/cpu_peak.h"
#include "formats/hot_fun.h"
#include "formats/lib.h"
#include "formats/run_tree.h"
#include "formats/valgrind.h"
#include "tests/system/faults/document_judge.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned kHangSeconds = 60;
constexpr const char* kLastLine = "[Main] Collection jobs finished.\n";

// How each call may plausibly fail.
const std::map<std::string, std::vector<std::string>> kErrors{
    {"open", {"ENOSPC", "EIO", "EMFILE", "EACCES", "EINTR"}},
    {"read", {"EIO", "EINTR"}},
    {"write", {"ENOSPC", "EIO", "EINTR", "short"}},
    {"close", {"EIO", "ENOSPC"}},
    {"spawn", {"ENOMEM", "EAGAIN", "kill"}},
    {"pipe", {"EMFILE"}},
    {"mkdir", {"ENOSPC", "EACCES", "EIO"}},
    {"opendir", {"EMFILE", "EACCES"}},
    {"thread", {"EAGAIN"}},
    {"localtime", {"EOVERFLOW"}},
    {"device_get", {"code", "interrupt"}},
    {"device_set", {"code", "interrupt"}},
};

// A file is cut back only where writing it fails: this error comes behind each failing write.
constexpr const char* kTruncateError = ",truncate:1:EIO";

struct Fault {
    std::string call;
    long at = 0;
    std::string how;

    [[nodiscard]] std::string Text() const { return call + ":" + std::to_string(at) + ":" + how; }
};

// Which part of all faults is tried.
class Sample {
public:
    Sample() {
        const char* walk = std::getenv("ZARN_WALK");
        all_ = walk != nullptr && std::string_view(walk) == "all";
        const char* chosen = std::getenv("ZARN_WALK_SEED");
        const auto seed =
            chosen != nullptr ? static_cast<unsigned>(std::stoul(chosen)) : std::random_device()();
        random_.seed(seed);
        std::printf("%s, ZARN_WALK_SEED=%u\n", all_ ? "all faults" : "a sample", seed);
    }

    // True if so many faults of a kind will do.
    [[nodiscard]] bool IsEnough(std::size_t tried) const { return !all_ && tried >= kOfEachKind; }
    // How many interrupts to try of so many.
    [[nodiscard]] int PartOf(int interrupts) const {
        return all_ ? interrupts : std::max(interrupts / 10, 1);
    }
    // Brings the faults into the order in which they are to be tried.
    void Order(std::vector<Fault>& faults) { std::shuffle(faults.begin(), faults.end(), random_); }
    // One of these, each as likely as any other.
    const Fault& OneOf(const std::vector<Fault>& faults) {
        return faults[random_() % faults.size()];
    }

private:
    static constexpr std::size_t kOfEachKind = 8;

    bool all_ = false;
    std::mt19937 random_;
};

struct Ended {
    int status = 0;
    std::string out;
    std::string err;

    // What was printed, whatever the time was, however long it took, and however much a profiler
    // saw meanwhile.
    [[nodiscard]] std::string Words() const {
        static const std::regex times(
            "[0-9]{17}|cost time: [0-9.e-]+s|wrote [0-9.]+ MB|[(][0-9]+ samples[)]");
        return std::regex_replace(out + err, times, "<time>");
    }
};

// A call that was broken off or did half of its work is taken up again, and nothing shows.
bool IsToHaveNoConsequence(const Fault& fault) {
    return fault.how == "short" || (fault.how == "EINTR" && fault.call != "open");
}

std::string TextOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The walk over one configuration, with its scratch folder for what the runs print.
class Walk {
public:
    Walk(std::string zarn, std::string preload, const std::string& judge, std::string config)
        : zarn_(std::move(zarn)),
          preload_(std::move(preload)),
          config_(std::move(config)),
          judge_(judge) {
        std::string scratch = (fs::temp_directory_path() / "zarn-faults-XXXXXX").string();
        scratch_ = ::mkdtemp(scratch.data()) == nullptr ? "" : scratch;
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;
    ~Walk() {
        std::error_code ignored;
        fs::remove_all(scratch_, ignored);
    }

    // How often each call was made in a run without a fault; nothing if even that run failed.
    std::optional<std::map<std::string, long>> CountCalls() {
        // The first run of all may find a device that nobody has set yet, and say so.
        (void)RunOnce("");
        RemoveRuns();
        const Ended clean = RunOnce("");
        if (!WIFEXITED(clean.status) || clean.err.find("[ZarnManager] Some") != std::string::npos) {
            std::printf("the run without a fault failed:\n%s%s", clean.out.c_str(),
                        clean.err.c_str());
            return std::nullopt;
        }
        RemoveRuns();
        cleanWords_ = clean.Words();
        return Counts();
    }

    // Lets every call fail with each of its errors, or those of the sample.
    void FailEach(const std::map<std::string, long>& counts) {
        for (const auto& [call, errors] : kErrors) {
            std::vector<Fault> faults;
            for (long at = 1; at <= CountOf(counts, call); ++at) {
                for (const std::string& how : errors) {
                    faults.push_back({call, at, how});
                }
            }
            TryEnough(std::move(faults), call);
        }
        std::vector<Fault> truncations;
        for (long at = 1; at <= CountOf(counts, "write"); ++at) {
            truncations.push_back({"write", at, std::string("ENOSPC") + kTruncateError});
        }
        TryEnough(std::move(truncations), "truncate");
    }

    // Interrupts the program at calls drawn at random, each as likely as any other.
    void Interrupt(const std::map<std::string, long>& counts, int interrupts) {
        std::vector<Fault> instants;
        for (const auto& [call, last] : counts) {
            for (long at = 1; at <= last; ++at) {
                instants.push_back({call, at, "interrupt"});
            }
        }
        for (int i = 0; i < sample_.PartOf(interrupts); ++i) {
            Try(sample_.OneOf(instants));
        }
    }

    // Prints how many faults of each kind happened, and in all. True if there were some of each of
    // these kinds and no run was at fault.
    [[nodiscard]] bool Report(const std::vector<std::string>& expected) const {
        const std::map<std::string, long> hits = Hits();
        long sum = 0;
        for (const auto& [call, count] : hits) {
            std::printf("%-12s %5ld faults\n", call.c_str(), count);
            sum += count;
        }
        bool complete = sum > 0;
        for (const std::string& call : expected) {
            if (CountOf(hits, call) == 0) {
                std::printf("no fault of the kind %s\n", call.c_str());
                complete = false;
            }
        }
        std::printf("%ld faults injected, %d runs at fault\n", sum, faulty_);
        return complete && faulty_ == 0;
    }

private:
    static long CountOf(const std::map<std::string, long>& counts, const std::string& call) {
        const auto count = counts.find(call);
        return count == counts.end() ? 0 : count->second;
    }

    // How many faults of each kind happened so far.
    [[nodiscard]] std::map<std::string, long> Hits() const {
        std::istringstream lines(TextOf(scratch_ + "/hits"));
        std::map<std::string, long> hits;
        for (std::string call; std::getline(lines, call);) {
            ++hits[call];
        }
        return hits;
    }

    // Tries these faults of a kind until there were enough of them and one of them happened.
    void TryEnough(std::vector<Fault> faults, const std::string& kind) {
        sample_.Order(faults);
        std::size_t tried = 0;
        for (const Fault& fault : faults) {
            if (sample_.IsEnough(tried) && CountOf(Hits(), kind) > 0) {
                return;
            }
            Try(fault);
            ++tried;
        }
    }

    Ended RunOnce(const std::string& fault) {
        const std::string out = scratch_ + "/out";
        const std::string err = scratch_ + "/err";
        const pid_t child = ::fork();
        if (child == 0) {
            Become(fault, out, err);
        }
        Ended ended;
        ::waitpid(child, &ended.status, 0);
        ended.out = TextOf(out);
        ended.err = TextOf(err);
        return ended;
    }

    [[noreturn]] void Become(const std::string& fault, const std::string& out,
                             const std::string& err) {
        const char* sanitizer = std::getenv("ASAN_OPTIONS");
        const std::string options = sanitizer == nullptr ? "" : std::string(sanitizer) + ":";
        // Otherwise the address sanitizer wants to be the first of all libraries.
        ::setenv("ASAN_OPTIONS", (options + "verify_asan_link_order=0").c_str(), 1);
        ::setenv("LD_PRELOAD", preload_.c_str(), 1);
        ::setenv("ZARN_FAULT", fault.c_str(), 1);
        ::setenv("ZARN_FAULT_COUNTS", (scratch_ + "/counts").c_str(), 1);
        ::setenv("ZARN_FAULT_HITS", (scratch_ + "/hits").c_str(), 1);
        // A tool that an earlier run has left may still write to the files of that one.
        ::unlink(out.c_str());
        ::unlink(err.c_str());
        ::dup2(::open(out.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600), STDOUT_FILENO);
        ::dup2(::open(err.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600), STDERR_FILENO);
        ::alarm(kHangSeconds);  // outlives the exec: a run that hangs is killed by it
        ::execl(zarn_.c_str(), "zarn", config_.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }

    [[nodiscard]] std::map<std::string, long> Counts() const {
        std::istringstream lines(TextOf(scratch_ + "/counts"));
        std::map<std::string, long> counts;
        std::string call;
        long count = 0;
        while (lines >> call >> count) {
            counts[call] = count;
        }
        return counts;
    }

    void Try(const Fault& fault) {
        const Ended ended = RunOnce(fault.Text());
        std::string complaint = JudgeEnd(fault, ended);
        if (complaint.empty()) {
            complaint = JudgeTree();
        }
        if (complaint.empty() && IsToHaveNoConsequence(fault) && ended.Words() != cleanWords_) {
            complaint = "other words than without a fault, which were\n" + cleanWords_ + "but";
        }
        if (complaint.empty() && fault.how == "interrupt" && !HasTimestamps()) {
            complaint = "the file of start and end is missing";
        }
        if (!complaint.empty()) {
            ++faulty_;
            std::printf("FAULT %s: %s\n%s%s", fault.Text().c_str(), complaint.c_str(),
                        ended.out.c_str(), ended.err.c_str());
        }
        RemoveRuns();
    }

    // Ends that are meant: the ordinary one, and the abnormal ones of a thread that cannot be
    // started, of one that waits for a valgrind which cannot be looked up to be interrupted, and of
    // a copy into env_info that fails.
    static std::string JudgeEnd(const Fault& fault, const Ended& ended) {
        if (WIFSIGNALED(ended.status)) {
            const bool copyFailed = ended.err.find("cannot copy") != std::string::npos;
            const bool leftWaiting = ended.err.find("process id of valgrind!") != std::string::npos;
            const bool meant = WTERMSIG(ended.status) == SIGABRT &&
                               (fault.call == "thread" || copyFailed || leftWaiting);
            return meant ? "" : "killed by signal " + std::to_string(WTERMSIG(ended.status));
        }
        if (WEXITSTATUS(ended.status) != 0) {
            return "status " + std::to_string(WEXITSTATUS(ended.status));
        }
        const std::string_view last = kLastLine;
        const bool complete =
            ended.out.size() >= last.size() &&
            ended.out.compare(ended.out.size() - last.size(), last.size(), last) == 0;
        return complete || fault.call == "write" ? "" : "the last line is missing";
    }

    std::string JudgeTree() {
        std::error_code ignored;
        for (const auto& entry : fs::recursive_directory_iterator(zarn::run_tree::kRoot, ignored)) {
            const std::string name = entry.path().filename().string();
            // What perf recorded is no document.
            if (entry.path().extension() != ".data" ||
                name.rfind(zarn::hot_fun_files::kRawPrefix, 0) == 0 ||
                name.rfind(zarn::lib_files::kRawPrefix, 0) == 0 ||
                name.rfind(zarn::cpu_peak_files::kRawPrefix, 0) == 0) {
                continue;
            }
            // Nor is what is recorded of call chains.
            if (name.rfind(zarn::valgrind_files::kCallGrind.prefix, 0) == 0) {
                continue;
            }
            const std::string complaint = judge_.Complaint(entry.path().string());
            if (!complaint.empty()) {
                return name + ": " + complaint;
            }
        }
        return "";
    }

    static bool HasTimestamps() {
        std::error_code ignored;
        for (const auto& run : fs::directory_iterator(zarn::run_tree::kRoot, ignored)) {
            const std::string json = run.path().string() + "/" + zarn::run_tree::kJsonDir;
            if (fs::exists(json + zarn::run_tree::kCollectorTimes)) {
                return true;
            }
        }
        return false;
    }

    static void RemoveRuns() {
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(zarn::run_tree::kRoot, ignored)) {
            fs::remove_all(entry.path(), ignored);
        }
    }

    std::string zarn_;
    std::string preload_;
    std::string config_;
    std::string scratch_;
    zarn::test::DocumentJudge judge_;
    std::string cleanWords_;
    Sample sample_;
    int faulty_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 6) {
        std::fprintf(stderr,
                     "usage: fault_walk ZARN PRELOAD JUDGE CONFIGURATION {CALL... | "
                     "INTERRUPTS}\n");
        return 2;
    }
    Walk walk(argv[1], argv[2], argv[3], argv[4]);
    const auto counts = walk.CountCalls();
    if (!counts) {
        return 2;
    }
    std::vector<std::string> expected;
    const int interrupts = std::atoi(argv[5]);
    if (interrupts > 0) {
        walk.Interrupt(*counts, interrupts);
    } else {
        expected.assign(argv + 5, argv + argc);
        walk.FailEach(*counts);
    }
    return walk.Report(expected) ? 0 : 1;
}
