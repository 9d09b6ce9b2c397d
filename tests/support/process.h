// Other processes for tests: one that runs a function, one that holds a lock, one that keeps reading a file.
#pragma once

#include <fcntl.h>
#include <morvsdk/file.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "support/scratch.h"

namespace testing_support {

// The exit code of a child; -1 when a signal ended it.
inline int wait_for(pid_t child) {
    int status;
    if (waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs `body` in a child and answers what it does, as an exit code.
inline int in_child(const std::function<int()> &body) {
    const pid_t child = fork();
    if (child == 0) _exit(body());
    return wait_for(child);
}

inline timespec now() {
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t;
}

inline double seconds_since(const timespec &start) {
    const timespec t = now();
    return double(t.tv_sec - start.tv_sec) + double(t.tv_nsec - start.tv_nsec) / 1e9;
}

// A process that is killed at the end.
class Child {
  public:
    explicit Child(const std::function<void()> &body) : pid_(fork()) {
        if (pid_ == 0) {
            body();
            _exit(1);
        }
    }
    ~Child() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    pid_t pid() const { return pid_; }

  private:
    pid_t pid_;
};

// What processes can count in together.
struct SharedCounts {
    volatile int *const at =
        static_cast<int *>(mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ~SharedCounts() { munmap(const_cast<int *>(at), 4096); }
};

// A process that holds a lock.
struct Holder {
    SharedCounts counts;
    Child child;

    explicit Holder(uint32_t request)
        : child([&] {
              if (ErrMLIBFileLock(request, 0) == 0) counts.at[0] = 1;
              for (;;)
                  pause();
          }) {
        for (int i = 0; i < 10000 && counts.at[0] == 0; ++i)
            usleep(1000);
    }
};

// A process that reads a file over and over, and counts how often `good` was false of what it saw.
struct Reader {
    SharedCounts counts;
    Child child;

    Reader(const std::string &path, const std::function<bool(const std::string &)> &good)
        : child([&] {
              for (;;) {
                  if (!good(read_file(path))) counts.at[1] = counts.at[1] + 1;
                  counts.at[0] = counts.at[0] + 1;
              }
          }) {}
    int looks() const { return counts.at[0]; }
    int bad() const { return counts.at[1]; }
};

}  // namespace testing_support
