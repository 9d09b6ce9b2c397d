#include "net_root.h"

#include <time.h>

std::function<void()> testing_support::while_waiting;

// The library's waiting: a short nap, so that other processes get on.
extern "C" int usleep(useconds_t) {
    if (testing_support::while_waiting) testing_support::while_waiting();
    const timespec nap = {0, 50000};
    return nanosleep(&nap, nullptr);
}
