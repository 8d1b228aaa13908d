#include "tests/system/support/sandbox.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "formats/run_tree.h"
#include "tests/support/signal_state.h"
#include "tests/system/support/private_usr.h"
#include "tests/system/support/programs.h"
#include "tests/system/support/tracked_process.h"

namespace zarn::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kInterruptSeen = "[ZarnManager] Signal Interactive attention received.\n";
constexpr std::array kVersionFiles{"qvt_version", "orlo-latest", "sys_version_tepa.conf"};
constexpr const char* kConfigName = "config.json";

// What fake tools call to meet the test.
constexpr const char* kEventTool =
    "printf '%s\\n' \"$1\" > \"$ZARN_SANDBOX_DIR/.requests\"\n"
    "read -r answer < \"$ZARN_SANDBOX_DIR/.answers\"\n";

// The thread sanitizer holds a signal back as long as its thread waits for a child: there the
// program has it as soon as the tool that asked for it has ended.
#ifdef __SANITIZE_THREAD__
constexpr bool kInterruptMayWait = true;
#else
constexpr bool kInterruptMayWait = false;
#endif

std::string GetEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

SandboxKind Choose(SandboxKind kind) {
    if (kind != SandboxKind::Auto) {
        return kind;
    }
    static const bool canMount = GetEnvironment("ZARN_SANDBOX") != "proot" && CanMount();
    return canMount ? SandboxKind::Namespace : SandboxKind::Proot;
}

void WriteExecutable(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
    EXPECT_EQ(::chmod(path.c_str(), 0755), 0) << path;
}

std::size_t CountOf(const std::string& text, const std::string& piece) {
    std::size_t count = 0;
    for (std::size_t at = text.find(piece); at != std::string::npos; ++count) {
        at = text.find(piece, at + piece.size());
    }
    return count;
}

std::string MachinePath() {
    return GetEnvironment("PATH") + ":/usr/bin:/usr/sbin:/bin:/sbin";
}

// Where a list of folders has a tool; empty if it has not.
std::string FindTool(const std::string& name, const std::string& list = MachinePath()) {
    std::istringstream folders(list);
    std::string folder;
    while (std::getline(folders, folder, ':')) {
        std::string path = folder;
        path.append("/").append(name);
        if (::access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    return "";
}

}  // namespace

bool RunResult::Aborted() const {
    return WIFSIGNALED(waitStatus) && WTERMSIG(waitStatus) == SIGABRT;
}

std::string RunResult::LastLine() const {
    std::istringstream lines(out);
    std::string last;
    for (std::string line; std::getline(lines, line);) {
        last = line;
    }
    return last;
}

Sandbox::Sandbox(SandboxKind kind)
    : kind_(Choose(kind)),
      usr_(dir_.Path() + "usr/"),
      tools_(dir_.Path() + "tools"),
      scratch_(dir_.Path() + "scratch") {
    for (const std::string& folder : {usr_, tools_, scratch_, dir_.Path() + "staging"}) {
        fs::create_directory(folder);
    }
    EXPECT_EQ(::mkfifo((scratch_ + "/.requests").c_str(), 0600), 0);
    EXPECT_EQ(::mkfifo((scratch_ + "/.answers").c_str(), 0600), 0);
    path_ = tools_ + ":" + MachinePath();
    Bind(usr_, "/opt/usr");
    for (const char* name : kVersionFiles) {
        Bind("", std::string("/etc/") + name);
    }
    Tool("sandbox-event", kEventTool);
    Tool("rungate", "echo '{\"version\": \"sandbox\"}'\n");
}

Sandbox::~Sandbox() {
    if (limited_) {
        Unmount(usr_);
    }
}

void Sandbox::Tool(const std::string& name, std::string_view body) {
    WriteExecutable(tools_ + "/" + name, "#!/bin/sh\n" + std::string(body));
}

void Sandbox::ToolPrinting(const std::string& name, std::string_view text) {
    const std::string file = tools_ + "/." + name + ".txt";
    std::ofstream(file, std::ios::binary) << text;
    Tool(name, "exec " + FindTool("cat") + " '" + file + "'\n");
}

void Sandbox::RemoveTool(const std::string& name) {
    fs::remove(tools_ + "/" + name);
}

void Sandbox::OnlyTools(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        fs::create_symlink(FindTool(name), tools_ + "/" + name);
    }
    path_ = tools_;
}

void Sandbox::SetEnvironment(const std::string& name, const std::string& value) {
    environment_[name] = value;
}

void Sandbox::On(const std::string& word, std::function<void(pid_t)> action) {
    actions_[word] = std::move(action);
}

void Sandbox::Bind(const std::string& host, const std::string& inside) {
    const fs::path path(inside);
    additions_[path.parent_path().string()][path.filename().string()] = host;
}

void Sandbox::BindVersionFiles() {
    for (const char* name : kVersionFiles) {
        Bind(dir_.Write(std::string("etc/") + name, std::string(name) + "\n"),
             std::string("/etc/") + name);
    }
}

bool Sandbox::LimitSpace(std::size_t bytes, std::size_t inodes) {
    limited_ = CanMount() && MountSmall(usr_, bytes, inodes);
    return limited_;
}

std::string Sandbox::Write(const std::string& name, std::string_view text) {
    (void)dir_.Write("usr/" + name, text);
    return "/opt/usr/" + name;
}

std::string Sandbox::WriteScratch(const std::string& name, std::string_view text) {
    return dir_.Write("scratch/" + name, text);
}

RunResult Sandbox::Run(std::string_view config) {
    return RunWith({Write(kConfigName, config)});
}

RunResult Sandbox::RunWith(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = ProgramStart();
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunCommand(command);
}

std::vector<std::string> Sandbox::WholeCommand(const std::vector<std::string>& command) const {
    std::vector<std::string> whole;
    if (kind_ == SandboxKind::Proot) {
        const std::string root = dir_.Path() + "root";
        fs::remove_all(root);
        fs::create_directory(root);
        whole = ProotOptions(additions_, root);
        whole.insert(whole.begin(), {FindTool("proot"), "-v", "-1"});
        whole.insert(whole.end(), {"-w", scratch_, std::string(ZARN_BUILD_DIR) + "/bin/witness",
                                   scratch_ + "/.witness"});
    }
    const std::string& program = command.front();
    whole.push_back(program.find('/') == std::string::npos ? FindTool(program, path_) : program);
    whole.insert(whole.end(), command.begin() + 1, command.end());
    return whole;
}

std::vector<std::string> Sandbox::Environment() const {
    std::map<std::string, std::string> values;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const std::size_t equals = text.find('=');
        values[text.substr(0, equals)] = equals == std::string::npos ? "" : text.substr(equals + 1);
    }
    values["PATH"] = path_;
    values["ZARN_SANDBOX_DIR"] = scratch_;
    if (kind_ == SandboxKind::Proot) {
        // The leak check needs to trace its own process, which is traced already.
        values["ASAN_OPTIONS"] = GetEnvironment("ASAN_OPTIONS") + ":detect_leaks=0";
    }
    for (const auto& [name, value] : environment_) {
        values[name] = value;
    }
    std::vector<std::string> list;
    list.reserve(values.size());
    for (const auto& [name, value] : values) {
        list.emplace_back(name).append("=").append(value);
    }
    return list;
}

bool Sandbox::Deal(const std::string& word, pid_t program, const std::string& out) {
    const auto action = actions_.find(word);
    if (action != actions_.end()) {
        action->second(program);
        return true;
    }
    EXPECT_EQ(word, "interrupt") << "no action for this event";
    return Interrupt(program, out);
}

// The handler prints after it has set the flag, so from its line on the flag is seen by all.
bool Sandbox::Interrupt(pid_t program, const std::string& out) {
    if (!interruptSent_) {
        interruptsTold_ = CountOf(out, kInterruptSeen) + 1;
        EXPECT_EQ(::kill(program, SIGINT), 0);
    }
    const bool told = kInterruptMayWait || CountOf(out, kInterruptSeen) >= interruptsTold_;
    // What was printed meanwhile is in `out` at the next call only.
    const bool silent = interruptDealtWith_ && !told;
    EXPECT_FALSE(silent) << "the program does not tell of its interrupt";
    interruptDealtWith_ = !told && !silent && IsDoneWith(SIGINT, program);
    interruptSent_ = !told && !silent;
    return !interruptSent_;
}

Sandbox::Witness Sandbox::ReadWitness() const {
    Witness witness;
    std::istringstream(ReadScratch(".witness")) >> witness.pid >> witness.status;
    EXPECT_GT(witness.pid, 0);
    return witness;
}

RunResult Sandbox::RunCommand(const std::vector<std::string>& command) {
    TrackedProcess process;
    process.command = WholeCommand(command);
    process.environment = Environment();
    process.workingDirectory = scratch_;
    process.mergeStreams = mergeStreams_;
    process.requests = scratch_ + "/.requests";
    process.answers = scratch_ + "/.answers";
    if (kind_ != SandboxKind::Proot) {
        process.prepare = [this] { return EnterPrivateView(additions_, dir_.Path() + "staging"); };
    }
    process.onRequest = [this](const std::string& word, pid_t pid, const std::string& out) {
        return Deal(word, kind_ == SandboxKind::Proot ? ReadWitness().pid : pid, out);
    };
    TrackedResult tracked = RunTracked(process);
    if (kind_ == SandboxKind::Proot) {
        tracked.waitStatus = ReadWitness().status;
    }
    return {std::move(tracked.out), std::move(tracked.err), tracked.waitStatus};
}

std::vector<std::string> Sandbox::RunNames() const {
    return RunTree(usr_).NamesIn("mnt/zarn");
}

std::string Sandbox::RunDir() const {
    const std::vector<std::string> names = RunNames();
    EXPECT_FALSE(names.empty()) << "no run directory";
    return names.empty() ? usr_ : usr_ + "mnt/zarn/" + names.back() + "/";
}

std::string Sandbox::RunDirInside() const {
    return "/opt/usr/" + RunDir().substr(usr_.size());
}

std::string Sandbox::ReadScratch(const std::string& name) const {
    return ReadText(scratch_ + "/" + name);
}

}  // namespace zarn::test
