#include "tests/system/support/on_board.h"

#include <filesystem>

#include "tests/system/support/programs.h"

namespace zarn::test {
namespace {

// What is waited for comes after a moment, or never: the tries take many times as long.
constexpr const char* kAwait = R"sh(
await() {
    tries=0
    until "$@"; do
        test $((tries += 1)) -lt 12000 || { echo "does not come: $*"; return 1; }
        test $tries -lt 1000 || sleep 0.01
    done
}
)sh";

// A board that dies before its command speaks must fail a test, not hang it. A word to `go` stays
// there until the command comes to read it, since the test holds it open too.
constexpr const char* kInBackground = R"sh(
in_background() {
    test -p up || { mkfifo up go && exec 9<> go; }
    { env --default-signal=INT,QUIT,HUP sh -c 'echo $$ > board; exec "$@"' sh $BOARD "$@"
      status=$?
      echo ended 1<> up
      exit $status; } 9<&- & running=$!
    read x < up
    board=$(cat board)
}
)sh";

}  // namespace

bool operator==(const Result& a, const Result& b) {
    return a.text == b.text && a.status == b.status;
}

std::ostream& operator<<(std::ostream& out, const Result& result) {
    return out << "status " << result.status << ", text:\n" << result.text;
}

std::string WayName(const testing::TestParamInfo<const char*>& info) {
    return info.param;
}

void Board::SetUp() {
#if defined(__SANITIZE_THREAD__)
    if (std::string(GetParam()) == "proot") {
        GTEST_SKIP() << "proot maps memory where the thread sanitizer wants none";
    }
#endif
    const Result doctor = Shell("$ANYWAY --doctor | grep '^" + std::string(GetParam()) + "'");
    if (doctor.text.find(" works\n") == std::string::npos) {
        GTEST_SKIP() << doctor.text;
    }
}

Result Board::Shell(const std::string& script) const {
    const std::string bin = std::string(ZARN_BUILD_DIR) + "/bin/";
    const int status = runner_.Shell(
        "export ANYWAY='" + BoardLauncher() + "' BOARD='" + BoardLauncher() + " --paths " +
        GetParam() + "' WITHOUT='" + bin + "board_without' PROBE='" + bin +
        "board_probe' SERVER='" + ProgramPath("zarn-board-server") + "' OPTIMUM='" +
        ProgramPath("zarn-board-optimum") + "' DATA='" ZARN_SOURCE_DIR "/board'\n" + kInBackground +
        kAwait + "{ " + script + "\n} >shell.out 2>&1");
    return {directory_.Read("shell.out"), status};
}

Result Board::OnBoard(const std::string& script, const std::string& options) const {
    directory_.Write("script", kAwait + script);
    return Shell("$BOARD " + options + " -- sh ./script");
}

void Board::ExpectTidy() const {
    EXPECT_TRUE(std::filesystem::is_empty(directory_.Path() + "tmp"));
}

}  // namespace zarn::test
