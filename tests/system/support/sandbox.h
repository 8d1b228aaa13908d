#pragma once

#include <gmock/gmock.h>
#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/run_tree.h"
#include "tests/support/temp_dir.h"
#include "tests/system/support/private_usr.h"

namespace zarn::test {

// How a sandbox gives the program its own /opt/usr. Auto: Namespace where this user may have one
// (root, or anyone where user namespaces are allowed), else Proot; the environment variable
// ZARN_SANDBOX=proot makes Auto mean Proot everywhere.
enum class SandboxKind { Auto, Namespace, Proot };

// One finished run of the program.
struct RunResult {
    std::string out;      // standard output; of both streams after MergeStreams
    std::string err;      // the error stream
    int waitStatus = -1;  // as waitpid gives it

    // True for exit status 0.
    [[nodiscard]] bool Succeeded() const { return waitStatus == 0; }
    // True if the program was ended by abort().
    [[nodiscard]] bool Aborted() const;
    // The last line of standard output.
    [[nodiscard]] std::string LastLine() const;
};

// A private /opt/usr for the built program, with fake tools in front of PATH. The machine's own
// /opt/usr is neither used nor made. Everything is removed at the end.
//
//     Sandbox sandbox;
//     sandbox.ToolPrinting("top", ReadText(DataPath("top-4.0.2/plain.txt")));
//     sandbox.Tool("ps", "echo \"$@\" >> $ZARN_SANDBOX_DIR/ps.calls\nsandbox-event interrupt\n");
//     const RunResult run = sandbox.Run(R"({"ManagerParam": ...})");
//     EXPECT_TRUE(run.Succeeded());
//     EXPECT_EQ(sandbox.Read("json/zarn_collector_start_end_timestamp.data"), ...);
//     EXPECT_THAT(run.err, HasSubstr(sandbox.RunDirInside()));
//
// A fake tool meets the test by calling `sandbox-event WORD`: the test runs the action given by
// On(WORD, ...) while tool and program wait, and the call returns afterwards. The word "interrupt"
// is known: it sends SIGINT to the program and returns when the program has said that it received
// it, each time. A program that has dealt with the signal and said nothing fails the test. So
// nothing depends on time.
//
// A fresh sandbox has a `rungate` that prints a version and succeeds; the version files of /etc are
// missing unless BindVersionFiles is called.
class Sandbox {
public:
    explicit Sandbox(SandboxKind kind = SandboxKind::Auto);
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;
    ~Sandbox();

    // ---- Before a run

    // Puts an executable into the folder that is first in PATH: a shell script of `body`, which may
    // use $ZARN_SANDBOX_DIR, a scratch folder, for counters and records.
    void Tool(const std::string& name, std::string_view body);
    // A tool that ignores its arguments and prints `text` of any bytes.
    void ToolPrinting(const std::string& name, std::string_view text);
    void RemoveTool(const std::string& name);
    // From now on PATH is only the folder of fake tools and, in it, links to these tools of the
    // machine. The shell itself needs none.
    void OnlyTools(const std::vector<std::string>& names);
    void SetEnvironment(const std::string& name, const std::string& value);
    // What `sandbox-event word` does. `zarn` is the program's pid.
    void On(const std::string& word, std::function<void(pid_t zarn)> action);
    // The file or folder `host` appears at `inside`, which need not exist and lies in a folder
    // directly below "/", such as /etc. With "" for `host` nothing is there.
    void Bind(const std::string& host, const std::string& inside);
    // The three version files of /etc exist and hold their own name and a newline.
    void BindVersionFiles();
    // Both streams go to RunResult::out, in their true order.
    void MergeStreams() { mergeStreams_ = true; }
    // Makes /opt/usr a file system of `bytes` (and so many inodes, if not 0), which is to be called
    // first. False where that is not possible: the test then skips with kNeedsRoot.
    [[nodiscard]] bool LimitSpace(std::size_t bytes, std::size_t inodes = 0);
    static constexpr const char* kNeedsRoot = "a small file system needs root or a user namespace";

    // Writes a file below /opt/usr with missing parents and returns its path inside.
    std::string Write(const std::string& name, std::string_view text);

    // Writes a file into the scratch folder, outside /opt/usr, and returns its path.
    std::string WriteScratch(const std::string& name, std::string_view text);

    // ---- A run

    // Runs the program on /opt/usr/config.json with this text.
    RunResult Run(std::string_view config);
    // Runs the program with these arguments, in the scratch folder.
    RunResult RunWith(const std::vector<std::string>& arguments);
    // Runs any other command in the same surroundings, found in PATH unless it has a slash.
    RunResult RunCommand(const std::vector<std::string>& command);

    // ---- After a run

    // The one run directory, or the last one by name, with its final slash: on this machine, and as
    // the program calls it. Fails the test if there is none.
    [[nodiscard]] std::string RunDir() const;
    [[nodiscard]] std::string RunDirInside() const;
    // The names of all run directories, in increasing order.
    [[nodiscard]] std::vector<std::string> RunNames() const;
    // What it holds.
    [[nodiscard]] RunTree Tree() const { return RunTree(RunDir()); }
    [[nodiscard]] std::string Read(const std::string& name) const { return Tree().Read(name); }
    [[nodiscard]] std::vector<std::string> Files(const std::string& folder) const {
        return Tree().NamesIn(folder);
    }
    [[nodiscard]] std::string OnlyFile(const std::string& folder, std::string_view prefix) const {
        return Tree().OnlyFile(folder, prefix);
    }
    // What a fake tool left in $ZARN_SANDBOX_DIR.
    [[nodiscard]] std::string ReadScratch(const std::string& name) const;

    // /opt/usr on this machine, with its final slash.
    [[nodiscard]] const std::string& UsrDir() const { return usr_; }

private:
    // What is known of the program that runs below proot.
    struct Witness {
        pid_t pid = -1;
        int status = -1;
    };

    [[nodiscard]] Witness ReadWitness() const;
    [[nodiscard]] std::vector<std::string> WholeCommand(
        const std::vector<std::string>& command) const;
    [[nodiscard]] std::vector<std::string> Environment() const;
    // Deals with an event; false while the program has not taken notice of its interrupt.
    bool Deal(const std::string& word, pid_t program, const std::string& out);
    bool Interrupt(pid_t program, const std::string& out);

    SandboxKind kind_;
    TempDir dir_;
    std::string usr_;
    std::string tools_;
    std::string scratch_;
    std::string path_;
    std::map<std::string, std::string> environment_;
    std::map<std::string, std::function<void(pid_t)>> actions_;
    Additions additions_;
    bool mergeStreams_ = false;
    bool limited_ = false;
    std::size_t interruptsTold_ = 0;  // once the one that was sent has been told
    bool interruptSent_ = false;
    bool interruptDealtWith_ = false;
};

}  // namespace zarn::test
