// One of the processes of the scheduler's plan, by the name that it is called by. Its threads are
// set up as the plan has it, as far as this user and this machine let them, and wait: what they do
// on the board's cores is the model's. Started by the board's server.

#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>

#include "board/program/read_order.h"
#include "board/program/sched_order.h"

namespace zarn::board {
namespace {

constexpr std::size_t kThreadStack = 65536;

SchedOrder order;
std::array<std::int32_t, kMaxSchedTasks> tids{};
sem_t ready;

int KernelPolicy(SchedPolicy policy) {
    switch (policy) {
        case SchedPolicy::kBatch:
            return SCHED_BATCH;
        case SchedPolicy::kIdle:
            return SCHED_IDLE;
        case SchedPolicy::kFifo:
            return SCHED_FIFO;
        case SchedPolicy::kRoundRobin:
            return SCHED_RR;
        default:
            return SCHED_OTHER;
    }
}

// Sets this thread up. What is refused stays as the server has it.
void SetUp(std::uint32_t index) {
    const SchedTask& plan = order.threads[index];
    ::prctl(PR_SET_NAME, plan.name.data());
    cpu_set_t cores;
    CPU_ZERO(&cores);
    for (std::uint32_t core = 0; core < order.cores; ++core) {
        if ((plan.affinity & (1U << core)) != 0) {
            CPU_SET(core, &cores);
        }
    }
    ::sched_setaffinity(0, sizeof(cores), &cores);
    sched_param parameters{};
    parameters.sched_priority = static_cast<int>(plan.priority);
    ::sched_setscheduler(0, KernelPolicy(plan.policy), &parameters);
    ::setpriority(PRIO_PROCESS, 0, plan.nice);
    tids[index] = static_cast<std::int32_t>(::syscall(SYS_gettid));
}

[[noreturn]] void Wait() {
    while (true) {
        ::pause();
    }
}

void* Thread(void* index) {
    SetUp(*static_cast<std::uint32_t*>(index));
    ::sem_post(&ready);
    Wait();
}

// Starts a thread and waits until it is set up.
bool StartThread(const pthread_attr_t& attributes, std::uint32_t index) {
    pthread_t thread{};
    if (::pthread_create(&thread, &attributes, Thread, &index) != 0) {
        return false;
    }
    while (::sem_wait(&ready) != 0 && errno == EINTR) {
    }
    return true;
}

bool StartThreads() {
    pthread_attr_t attributes;
    if (::sem_init(&ready, 0, 0) != 0 || ::pthread_attr_init(&attributes) != 0 ||
        ::pthread_attr_setstacksize(&attributes, kThreadStack) != 0) {
        return false;
    }
    for (std::uint32_t i = 1; i < order.count; ++i) {
        if (!StartThread(attributes, i)) {
            return false;
        }
    }
    return true;
}

int Run() {
    if (!ReadOrder(order)) {
        return 2;
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != order.server) {
        return 1;
    }
    // The main thread is set up last: the others would start as it is.
    if (!StartThreads()) {
        return 1;
    }
    SetUp(0);
    const std::size_t size = order.count * sizeof(tids[0]);
    if (::write(STDOUT_FILENO, tids.data(), size) != static_cast<ssize_t>(size)) {
        return 1;
    }
    Wait();
}

}  // namespace
}  // namespace zarn::board

int main() {
    return zarn::board::Run();
}
