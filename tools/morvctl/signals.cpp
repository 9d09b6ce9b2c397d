#include "morvctl/signals.h"

#include <errno.h>
#include <poll.h>
#include <unistd.h>

#include <initializer_list>
#include <iterator>
#include <type_traits>

namespace morvctl {

namespace {

struct sigaction former_child;
struct sigaction former_size;

constexpr int kEnding[] = {SIGINT, SIGTERM, SIGHUP};
volatile sig_atomic_t caught;

}  // namespace

void set_up_signals() {
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &action, &former_child);
    action.sa_handler = SIG_IGN;
    sigaction(SIGXFSZ, &action, &former_size);
}

void restore_signals() {
    sigaction(SIGCHLD, &former_child, nullptr);
    sigaction(SIGXFSZ, &former_size, nullptr);
}

HeldSignals::HeldSignals() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2, SIGXCPU})
        sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, &former_);
}

HeldSignals::~HeldSignals() {
    const int saved = errno;
    sigprocmask(SIG_SETMASK, &former_, nullptr);
    errno = saved;
}

CaughtSignals::CaughtSignals() {
    static_assert(std::size(kEnding) == std::extent_v<decltype(actions_)>);
    caught = 0;
    sigset_t ending;
    sigemptyset(&ending);
    struct sigaction action = {};
    action.sa_handler = [](int signal) { caught = signal; };
    for (size_t i = 0; i < std::size(kEnding); ++i) {
        sigaction(kEnding[i], nullptr, &actions_[i]);
        if (actions_[i].sa_handler == SIG_IGN) continue;
        sigaction(kEnding[i], &action, nullptr);
        sigaddset(&ending, kEnding[i]);
    }
    sigprocmask(SIG_BLOCK, &ending, &former_);
}

CaughtSignals::~CaughtSignals() {
    for (size_t i = 0; i < std::size(kEnding); ++i)
        sigaction(kEnding[i], &actions_[i], nullptr);
    sigprocmask(SIG_SETMASK, &former_, nullptr);
    if (caught) raise(caught);
}

bool CaughtSignals::wait(unsigned seconds) const {
    const struct timespec pause = {time_t(seconds), 0};
    struct pollfd output = {STDOUT_FILENO, 0, 0};
    const int ready = ppoll(&output, 1, &pause, &former_);
    return caught == 0 && ready <= 0;
}

}  // namespace morvctl
