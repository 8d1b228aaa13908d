#include "board/server/server_process.h"

#include <csignal>

#include "foundation/console.h"

namespace zarn::board {
namespace {

volatile std::sig_atomic_t stopped = 0;

}  // namespace

int Fail(const std::string& text) {
    PrintError("zarn-board-server: " + text);
    return 1;
}

BoardState* OpenState(const std::string& path) {
    BoardState* state = MapBoardState(path.c_str());
    if (state == nullptr) {
        (void)Fail("no board state: " + path);
    }
    return state;
}

void SetSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { stopped = 1; };
    ::sigaction(SIGTERM, &action, nullptr);
    action.sa_handler = SIG_IGN;
    for (const int signal : {SIGINT, SIGQUIT, SIGHUP, SIGPIPE}) {
        ::sigaction(signal, &action, nullptr);
    }
}

bool IsToldToEnd() {
    return stopped != 0;
}

}  // namespace zarn::board
