// morvctl lock: run a program while holding the locks of the library.
#include <ctype.h>
#include <errno.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "morvctl/families.h"
#include "morvctl/output.h"
#include "morvctl/signals.h"
#include "morvctl/write_lock.h"

namespace morvctl {

namespace {

struct Args {
    std::string bits;
    std::vector<std::string> command;
    bool shared = false;
};

// As a shell has it.
enum { kCannotRun = 126, kNoSuchProgram = 127, kKilled = 128 };

uint32_t parse_bit(const std::string &text) {
    for (const LockName &lock : lock_names()) {
        if (text == lock.name) return lock.bit;
    }
    char *end = nullptr;
    errno = 0;
    const unsigned long number = strtoul(text.c_str(), &end, 0);
    uint32_t known = 0;
    for (const LockName &lock : lock_names())
        known |= lock.bit;
    const bool is_number = !text.empty() && isdigit(static_cast<unsigned char>(text[0])) && *end == '\0';
    if (!is_number || errno != 0 || number == 0 || (number & ~static_cast<unsigned long>(known)) != 0) {
        throw Failure(Exit::kUsage, "'morvctl lock list' names no lock '" + escape(text) + "'");
    }
    return uint32_t(number);
}

uint32_t parse_bits(const std::string &text) {
    uint32_t bits = 0;
    for (size_t start = 0;;) {
        const size_t end = text.find(',', start);
        bits |= parse_bit(text.substr(start, end - start));
        if (end == text.npos) return bits;
        start = end + 1;
    }
}

[[noreturn]] void become(const std::vector<std::string> &command, const sigset_t &mask) {
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    restore_signals();
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    execvp(arguments[0], arguments.data());
    const int reason = errno;
    fprintf(stderr, "morvctl: cannot run %s: %s\n", printable(command[0]).c_str(),
            reason_text(reason).c_str());
    _exit(reason == ENOENT ? kNoSuchProgram : kCannotRun);
}

// Waits for the program and passes on the signals that come for it meanwhile.
int wait_for(pid_t child, const sigset_t &signals) {
    for (;;) {
        siginfo_t info;
        const int signal = sigwaitinfo(&signals, &info);
        if (signal < 0) continue;
        if (signal != SIGCHLD) {
            // What is typed at a terminal goes to the program as well; that the terminal is gone may be
            // told to us alone.
            if (signal == SIGHUP || info.si_code != SI_KERNEL) kill(child, signal);
            continue;
        }
        int status;
        const pid_t ended = waitpid(child, &status, WNOHANG);
        if (ended < 0 && errno == ECHILD) return int(Exit::kFailed);
        if (ended != child) continue;
        if (WIFEXITED(status)) return WEXITSTATUS(status);
        if (WIFSIGNALED(status)) return kKilled + WTERMSIG(status);
    }
}

int run(const Session &session, const Args &args) {
    const uint32_t bits = parse_bits(args.bits);
    make_lock_folder(session);
    clear_errors();
    if (ErrMLIBFileLock(bits | (args.shared ? MORV_LOCK_READ : MORV_LOCK_WRITE), session.timeout) != 0) {
        fail_library("take the lock " + args.bits);
    }
    if (!args.shared) tell_held_locks(session, bits);
    sigset_t signals;
    sigset_t former;
    sigemptyset(&signals);
    for (const int signal : {SIGCHLD, SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2})
        sigaddset(&signals, signal);
    // Blocked before the fork, so that none is lost in between.
    sigprocmask(SIG_BLOCK, &signals, &former);
    fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) fail_system("run " + args.command[0]);
    if (child == 0) become(args.command, former);
    const int code = wait_for(child, signals);
    ErrMLIBFileUnlock(bits);
    return code;
}

int list(const Session &session, const Args &) {
    Json locks = Json::array();
    for (const LockName &lock : lock_names()) {
        if (session.json) {
            locks.push_back({{"name", lock.name}, {"bit", lock.bit}, {"guards", lock.guards}});
        } else {
            printf("%-10s 0x%06x  %s\n", lock.name, lock.bit, lock.guards);
        }
    }
    if (session.json) print_json({{"locks", locks}});
    return int(Exit::kDone);
}

}  // namespace

void add_lock_commands(CLI::App &family, Session &session) {
    auto args = std::make_shared<Args>();
    CLI::App &command = add_command(family, session, Kind::kLocks, "run",
                                    "Run a program while holding locks, and exit as it does");
    add_text(command, "LOCKS", args->bits, "Names with commas between, as morvinfo,pw, or a number, as 0x810")
        ->required();
    add_texts(command, "COMMAND", args->command, "The program and its arguments, after --")->required();
    command.add_flag("--shared", args->shared, "Let other readers in");
    run_with(command, session, [args](Session &s) { return run(s, *args); });
    CLI::App &listing = add_command(family, session, Kind::kReads, "list", "List the locks");
    run_with(listing, session, [args](Session &s) { return list(s, *args); });
}

}  // namespace morvctl
