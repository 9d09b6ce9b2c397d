// Processes by number.
#pragma once

#include <signal.h>

#include <span>
#include <string_view>
#include <vector>

#include "core/base/guard.h"

namespace morv {

// Whether a process runs: one that has ended and is not waited for yet does not.
bool is_running(int pid) noexcept;

// The numbers of the processes with a name, in their order; those that have ended and are not waited for yet
// are left out. The kernel keeps 15 bytes of a name; the first of a longer one count.
// Answers 0, ERR_OPEN_FAILED ("/proc" cannot be read) or ERR_OUT_OF_MEMORY. May throw std::bad_alloc.
int find_processes(std::string_view name, std::vector<int> &pids);

// Has a daemon read its settings again (SIGHUP). It is the process of the pid file (a path of the system) if
// that has `name` in its own: the number may be another program's by now, which the signal would end.
// Answers 1; 0 when it does not run; -1 when it could not be signalled.
int reload_daemon(const char *pid_file, std::string_view name) noexcept;

// The number in a pid file (a path of the system); 0 when there is none above 1.
int read_pid_file(const char *path) noexcept;

// A process that is held on to: no other that gets its number meanwhile is taken for it.
class Process {
  public:
    // False when there is no such process, or when there is a system root: the numbers in there are not
    // those of this machine's processes.
    bool open(int pid) noexcept;

    // Its name, and its arguments, each with a zero byte behind it; empty when they cannot be read.
    std::string_view name(std::span<char> room) const noexcept;
    std::string_view arguments(std::span<char> room) const noexcept;

    // The file of the program that it runs, as the kernel names it: with " (deleted)" behind it where there
    // is another by that name by now. Empty when it cannot be read, or does not fit.
    std::string_view program(std::span<char> room) const noexcept;

    // Answers whether it worked, or the process has ended.
    bool signal(int number) const noexcept;

    // Waits for its end, and answers whether it came.
    bool wait(int milliseconds) const noexcept;

  private:
    int pid_ = 0;
    UniqueFd fd_;  // where the kernel gives none, the number alone must do
};

}  // namespace morv
