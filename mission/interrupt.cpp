#include "mission/interrupt.h"

#include <csignal>

#include "foundation/console.h"

namespace zarn {
namespace {

StopFlag stopFlag{0};

extern "C" void HandleInterrupt(int /*signal*/) {
    stopFlag = 1;
    PrintFromSignalHandler(
        "[ZarnManager] Signal Interactive attention received.\n"
        "[ZarnManager] Wait until the execution is complete.\n");
}

}  // namespace

const StopFlag& ProcessStopFlag() {
    return stopFlag;
}

void InstallInterruptHandler() {
    struct sigaction action {};
    action.sa_handler = HandleInterrupt;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    (void)sigaction(SIGINT, &action, nullptr);
}

}  // namespace zarn
