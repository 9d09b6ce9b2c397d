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

// A process that holds a lock until it is destroyed or killed.
class Holder {
  public:
    Holder(const ScratchRoot &, uint32_t request) {
        int ready[2];
        if (pipe(ready) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            close(ready[0]);
            if (ErrMLIBFileLock(request, 0) == 0 && write(ready[1], "x", 1) == 1) {
                for (;;)
                    pause();
            }
            _exit(1);
        }
        close(ready[1]);
        char byte;
        held_ = read(ready[0], &byte, 1) == 1;
        close(ready[0]);
    }
    ~Holder() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    Holder(const Holder &) = delete;
    Holder &operator=(const Holder &) = delete;
    pid_t pid() const { return pid_; }
    bool held() const { return held_; }

  private:
    pid_t pid_ = -1;
    bool held_ = false;
};

// A process that reads a file over and over, and counts how often `good` was false of what it saw.
class Reader {
  public:
    Reader(const std::string &path, const std::function<bool(const std::string &)> &good) {
        shared_ = static_cast<volatile int *>(
            mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        pid_ = fork();
        if (pid_ == 0) {
            for (;;) {
                if (!good(read_file(path))) shared_[1] = shared_[1] + 1;
                shared_[0] = shared_[0] + 1;
            }
        }
    }
    ~Reader() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        munmap(const_cast<int *>(shared_), 4096);
    }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;
    int looks() const { return shared_[0]; }
    int bad() const { return shared_[1]; }

  private:
    volatile int *shared_;
    pid_t pid_;
};

}  // namespace testing_support
