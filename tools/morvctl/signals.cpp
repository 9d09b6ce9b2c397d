#include "morvctl/signals.h"

#include <errno.h>

#include <initializer_list>

namespace morvctl {

namespace {

struct sigaction former_child;
struct sigaction former_size;

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

}  // namespace morvctl
