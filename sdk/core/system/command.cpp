#include "core/system/command.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <morvsdk/errcodes.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "core/base/guard.h"
#include "core/base/no_throw.h"
#include "core/file/lock_table.h"
#include "core/file/replacement_file.h"
#include "core/file/sys_path.h"
#include "core/text/name_rule.h"

namespace morv {

namespace {

// The machine's own: a system root may be of another machine, or hold a few tools only.
constexpr char kShell[] = "/bin/sh";

bool is_plain(char c) noexcept {
    return is_letter_or_digit(c) || (c != '\0' && strchr("_-./:,=+@%", c));
}

void append_word(std::string &command, std::string_view text) {
    if (!text.empty() && std::all_of(text.begin(), text.end(), is_plain)) {
        command.append(text);
        return;
    }
    command.push_back('\'');
    for (const char c : text) {
        if (c == '\'')
            command.append("'\\''");
        else
            command.push_back(c);
    }
    command.push_back('\'');
}

// The signals while a tool runs: interrupts from the terminal go to the tool alone, and its end is not
// taken for that of one of the caller's own children.
class ToolSignals {
  public:
    ToolSignals() noexcept {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGINT, &ignore, &interrupt_);
        sigaction(SIGQUIT, &ignore, &quit_);
        sigset_t ended;
        sigemptyset(&ended);
        sigaddset(&ended, SIGCHLD);
        sigprocmask(SIG_BLOCK, &ended, &mask_);
        sigaction(SIGCHLD, nullptr, &ended_);
        // A caller that has its children discarded would lose the tool's exit status, too.
        if (discards()) {
            struct sigaction standard = {};
            standard.sa_handler = SIG_DFL;
            sigaction(SIGCHLD, &standard, nullptr);
        }
    }
    ~ToolSignals() {
        const int saved = errno;
        if (discards()) {
            sigaction(SIGCHLD, &ended_, nullptr);
            // Of the caller's children that ended meanwhile.
            while (waitpid(-1, nullptr, WNOHANG) > 0) {
            }
        }
        sigaction(SIGINT, &interrupt_, nullptr);
        sigaction(SIGQUIT, &quit_, nullptr);
        sigprocmask(SIG_SETMASK, &mask_, nullptr);
        errno = saved;
    }
    ToolSignals(const ToolSignals &) = delete;
    ToolSignals &operator=(const ToolSignals &) = delete;

    // What the tool is to have its standard action for.
    sigset_t defaults() const noexcept {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGPIPE);
        sigaddset(&set, SIGXFSZ);
        if (interrupt_.sa_handler != SIG_IGN) sigaddset(&set, SIGINT);
        if (quit_.sa_handler != SIG_IGN) sigaddset(&set, SIGQUIT);
        return set;
    }

  private:
    bool discards() const noexcept {
        return ended_.sa_handler == SIG_IGN || (ended_.sa_flags & SA_NOCLDWAIT) != 0;
    }

    struct sigaction interrupt_, quit_, ended_;
    sigset_t mask_;
};

// What the start of a process is told, freed at the end.
class SpawnPlan {
  public:
    SpawnPlan() noexcept
        : has_actions_(posix_spawn_file_actions_init(&actions) == 0),
          has_attributes_(posix_spawnattr_init(&attributes) == 0) {}
    ~SpawnPlan() {
        if (has_actions_) posix_spawn_file_actions_destroy(&actions);
        if (has_attributes_) posix_spawnattr_destroy(&attributes);
    }
    SpawnPlan(const SpawnPlan &) = delete;
    SpawnPlan &operator=(const SpawnPlan &) = delete;
    explicit operator bool() const noexcept { return has_actions_ && has_attributes_; }

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;

  private:
    bool has_actions_;
    bool has_attributes_;
};

// Starts the shell; what is not -1 of `input` and `output` becomes its standard input and output, and is
// none of the standard descriptors.
int spawn_shell(const std::string &command, int input, int output, const ToolSignals &signals, pid_t &pid) {
    SpawnPlan plan;
    // A daemon that is started has them as long as it lives.
    const sigset_t defaults = signals.defaults();
    sigset_t none;
    sigemptyset(&none);
    if (!plan ||
        (input >= 0 ? posix_spawn_file_actions_adddup2(&plan.actions, input, 0)
                    : posix_spawn_file_actions_addopen(&plan.actions, 0, "/dev/null", O_RDONLY, 0)) != 0 ||
        (output >= 0 ? posix_spawn_file_actions_adddup2(&plan.actions, output, 1)
                     : posix_spawn_file_actions_addopen(&plan.actions, 1, "/dev/null", O_WRONLY, 0)) != 0 ||
        posix_spawn_file_actions_addopen(&plan.actions, 2, "/dev/null", O_WRONLY, 0) != 0 ||
        posix_spawn_file_actions_addclosefrom_np(&plan.actions, 3) != 0) {
        return ERR_OUT_OF_MEMORY;
    }
    if (posix_spawnattr_setflags(&plan.attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF) != 0 ||
        posix_spawnattr_setsigmask(&plan.attributes, &none) != 0 ||
        posix_spawnattr_setsigdefault(&plan.attributes, &defaults) != 0) {
        return ERR_SYS_UNKNOWN;
    }

    const SysPath root("");
    std::string root_variable = std::string("MORV_ROOT=") + root.c_str();
    std::string text = "umask 022; " + command;
    char shell[] = "sh", option[] = "-c", path[] = "PATH=/sbin:/bin:/usr/sbin:/usr/bin",
         locale[] = "LC_ALL=C";
    char *const arguments[] = {shell, option, text.data(), nullptr};
    char *const environment[] = {path, locale, *root.c_str() ? root_variable.data() : nullptr, nullptr};
    errno = posix_spawn(&pid, kShell, &plan.actions, &plan.attributes, arguments, environment);
    if (errno == 0) return 0;
    return errno == ENOMEM ? ERR_OUT_OF_MEMORY : ERR_SYS_UNKNOWN;
}

// Waits for the shell's end.
int wait_for_tool(pid_t pid, int *status) noexcept {
    int word;
    pid_t ended;
    do {
        ended = waitpid(pid, &word, 0);
    } while (ended < 0 && errno == EINTR);
    if (ended != pid) return ERR_SYS_UNKNOWN;
    const int result = WIFEXITED(word) ? WEXITSTATUS(word) : 128 + WTERMSIG(word);
    if (status) *status = result;
    return result == 0 ? 0 : ERR_SYS_UNKNOWN;
}

constexpr time_t kMostSeconds = 30;

time_t seconds_now() noexcept {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec;
}

// Ends a shell that runs for too long, and answers whether it did not. A kernel that cannot tell of the
// end of a process is asked for it again and again.
bool ends_in_time(pid_t pid) noexcept {
    constexpr int kNap = 50;  // milliseconds
    const UniqueFd process(int(syscall(SYS_pidfd_open, pid, 0)));
    const time_t end = seconds_now() + kMostSeconds;
    for (;;) {
        siginfo_t ended = {};
        if (!process &&
            (waitid(P_PID, id_t(pid), &ended, WEXITED | WNOHANG | WNOWAIT) != 0 || ended.si_pid != 0))
            return true;
        pollfd waiting = {process.get(), POLLIN, 0};  // of no descriptor: waits the time
        const time_t left = end - seconds_now();
        if (left <= 0) break;
        const int ready = poll(&waiting, 1, process ? static_cast<int>(left * 1000) : kNap);
        if (ready > 0 || (ready < 0 && errno != EINTR)) return true;
    }
    kill(pid, SIGKILL);
    return false;
}

// A file without a name.
UniqueFd make_nameless() noexcept {
    UniqueFd file(memfd_create("input", MFD_CLOEXEC));
    if (file || errno != ENOSYS) return file;
    const SysPath pattern("/tmp/input.XXXXXX");
    char path[PATH_MAX];
    memcpy(path, pattern.c_str(), strlen(pattern.c_str()) + 1);
    file.reset(mkostemp(path, O_CLOEXEC));
    if (file) unlink(path);
    return file;
}

// What is written is read from its beginning, and is nowhere when nobody has it open any more. A pipe would
// have the writer wait for its reader.
UniqueFd make_input(std::string_view content) noexcept {
    const UniqueFd low = make_nameless();
    UniqueFd file(low ? fcntl(low.get(), F_DUPFD_CLOEXEC, 3) : -1);
    if (!file || !write_all(file.get(), content) || lseek(file.get(), 0, SEEK_SET) != 0) file.reset();
    return file;
}

// Reads to the end of a pipe.
int read_output(int fd, std::string &output, size_t limit) {
    char piece[16 * 1024];
    const time_t end = seconds_now() + kMostSeconds;
    for (;;) {
        pollfd waiting = {fd, POLLIN, 0};
        const time_t left = end - seconds_now();
        const int ready = left > 0 ? poll(&waiting, 1, static_cast<int>(left * 1000)) : 0;
        if (ready < 0 && errno != EINTR) return ERR_READ_FAILED;
        if (ready < 0) continue;
        if (ready == 0) return ERR_TIMER_EXPIRED;
        const ssize_t got = read(fd, piece, sizeof piece);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return ERR_READ_FAILED;
        if (got == 0) return 0;
        if (size_t(got) > limit - output.size()) return ERR_READ_FAILED;
        output.append(piece, size_t(got));
    }
}

// A pipe whose ends are none of the standard descriptors, which the child opens anew.
bool open_pipe(UniqueFd &reader, UniqueFd &writer) noexcept {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    const UniqueFd low_reader(ends[0]), low_writer(ends[1]);
    reader.reset(fcntl(ends[0], F_DUPFD_CLOEXEC, 3));
    writer.reset(fcntl(ends[1], F_DUPFD_CLOEXEC, 3));
    return reader && writer;
}

void close_range_of(unsigned first, unsigned last) noexcept {
    if (first > last || syscall(SYS_close_range, first, last, 0) == 0) return;
    rlimit limit;
    const rlim_t most = getrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_max : 0;
    const rlim_t end = most == RLIM_INFINITY || most > (1 << 20) ? 1 << 20 : most;
    for (rlim_t fd = first; fd <= last && fd < end; ++fd)
        close(int(fd));
}

// Gives up what a forked process has from its parent.
void become_background(int report, std::initializer_list<int> keep) noexcept {
    struct sigaction action = {};
    for (int signal = 1; signal < NSIG; ++signal) {
        action.sa_handler = signal == SIGPIPE ? SIG_IGN : SIG_DFL;
        sigaction(signal, &action, nullptr);
    }
    // These know their descriptors by number.
    closelog();
    for (LockEntry &entry : lock_table()) {
        if (entry.fd >= 0) close_lock(entry);
    }

    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int fd = 0; fd < 3; ++fd) {
        if (null < 0 || dup2(null, fd) < 0) _exit(1);
    }
    int first = 3;
    for (;;) {
        int next = report >= first ? report : -1;
        for (const int fd : keep) {
            if (fd >= first && (next < 0 || fd < next)) next = fd;
        }
        close_range_of(unsigned(first), next < 0 ? ~0U : unsigned(next) - 1);
        if (next < 0) break;
        first = next + 1;
    }
    if (chdir("/") != 0) _exit(1);

    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

void report_code(int fd, int code) noexcept {
    ssize_t done;
    do {
        done = write(fd, &code, sizeof code);
    } while (done < 0 && errno == EINTR);
}

[[noreturn]] void run_background(const BackgroundJob &job, int report,
                                 std::initializer_list<int> keep) noexcept {
    setpgid(0, 0);
    become_background(report, keep);
    const int code = job.prepare ? job.prepare(job.context) : 0;
    report_code(report, code);
    close(report);
    if (code == 0) job.work(job.context);
    _exit(code == 0 ? 0 : 1);
}

constexpr const char *kToolFolders[] = {"/sbin/", "/bin/", "/usr/sbin/", "/usr/bin/"};

// The folder below the system root that a tool named without one is taken from. The machine's own tools are
// no stand-in: they would work on the machine.
std::string folder_of_tool(const char *name) {
    const std::string_view tool(name, strcspn(name, " \t|&;(<>`\n"));
    for (const char *const folder : kToolFolders) {
        std::string path = SysPath(folder).c_str();
        const size_t folder_size = path.size();
        path.append(tool);
        if (access(path.c_str(), X_OK) != 0) continue;
        path.resize(folder_size);
        return path;
    }
    return SysPath(kToolFolders[0]).c_str();
}

}  // namespace

int command_detail::fill(std::string &command, const char *format, CommandValues values) {
    const SysPath root("");
    const CommandValue *value = values.begin();
    bool at_tool = true;  // a tool's name is to come
    bool at_word = true;  // nothing of the current word is there yet
    char quote = '\0';
    bool in_backticks = false;
    for (const char *at = format; *at; ++at) {
        if (quote || strchr("'\"", *at)) {
            // In here a value would not be a word of its own.
            if (strchr("%\\`", *at)) return ERR_BAD_PARAMETERS;
            quote = !quote ? *at : *at == quote ? '\0' : quote;
            command.push_back(*at);
            at_tool = at_word = false;
            continue;
        }
        if (strchr("\\#", *at) || (in_backticks && *at == '%')) return ERR_BAD_PARAMETERS;
        if (*at == '`') {
            in_backticks = !in_backticks;
            at_tool = in_backticks;
            at_word = false;
            command.push_back(*at);
            // There a quoted one would not be one word any more.
            if (in_backticks && strpbrk(root.c_str(), "`\\")) return ERR_BAD_PARAMETERS;
            continue;
        }
        if (strchr(" \t|&;(\n", *at)) {
            command.push_back(*at);
            at_word = true;
            const bool is_redirection = *at == '&' && at > format && at[-1] == '>';
            if (*at != ' ' && *at != '\t' && !is_redirection) at_tool = true;
            continue;
        }
        if (at_tool && *root.c_str() && *at != '%')
            append_word(command, *at == '/' ? root.c_str() : folder_of_tool(at).c_str());
        at_tool = false;
        if (*at != '%') {
            command.push_back(*at);
            at_word = false;
            continue;
        }
        if (at[1] == '%') {
            command.push_back(*++at);
            at_word = false;
            continue;
        }
        do {
            ++at;
        } while (*at == 'l');
        const bool number = *at == 'd' || *at == 'u';
        if ((!number && *at != 's') || (*at == 's' && at[-1] == 'l')) return ERR_BAD_PARAMETERS;
        if (value == values.end() || value->is_number() != number) return ERR_BAD_PARAMETERS;
        const std::string text = value++->text();
        if (text.find('\0') != text.npos || (at_word && text.starts_with('-'))) return ERR_BAD_PARAMETERS;
        append_word(command, text);
        at_word = false;
    }
    return !quote && !in_backticks && value == values.end() ? 0 : ERR_BAD_PARAMETERS;
}

std::string command_text(const char *format, CommandValues values) {
    std::string command;
    return command_detail::fill(command, format, values) == 0 ? command : format;
}

int run_tool(const char *format, CommandValues values, int *status) noexcept {
    return no_throw([&] {
        std::string command;
        if (int code = command_detail::fill(command, format, values)) return code;
        const ToolSignals signals;
        pid_t pid;
        if (int code = spawn_shell(command, -1, -1, signals, pid)) return code;
        return wait_for_tool(pid, status);
    });
}

int capture_tool(std::string &output, const char *format, CommandValues values, int *status,
                 size_t limit) noexcept {
    return no_throw([&] {
        std::string command;
        if (int code = command_detail::fill(command, format, values)) return code;
        UniqueFd reader, writer;
        if (!open_pipe(reader, writer)) return int(ERR_SYS_UNKNOWN);
        const ToolSignals signals;
        pid_t pid;
        if (int code = spawn_shell(command, -1, writer.get(), signals, pid)) return code;
        writer.reset();
        std::string text;
        const int read_code = no_throw([&] { return read_output(reader.get(), text, limit); });
        // What the shell has started itself ends with its next write.
        reader.reset();
        if (read_code != 0) kill(pid, SIGKILL);
        const int code = wait_for_tool(pid, status);
        if (read_code != 0) return read_code;
        if (code == 0) output = std::move(text);
        return code;
    });
}

int feed_tool(std::string_view input, const char *format, CommandValues values, int *status) noexcept {
    return no_throw([&] {
        std::string command;
        if (int code = command_detail::fill(command, format, values)) return code;
        const UniqueFd file = make_input(input);
        if (!file) return int(ERR_SYS_UNKNOWN);
        const ToolSignals signals;
        pid_t pid;
        if (int code = spawn_shell(command, file.get(), -1, signals, pid)) return code;
        const bool in_time = ends_in_time(pid);
        const int code = wait_for_tool(pid, status);
        return in_time ? code : int(ERR_TIMER_EXPIRED);
    });
}

int start_background(const BackgroundJob &job, std::initializer_list<int> keep) noexcept {
    UniqueFd reader, writer;
    if (!open_pipe(reader, writer)) return ERR_SYS_UNKNOWN;
    // No handler of the caller's may run in the new process.
    sigset_t all, mask;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &mask);
    const pid_t between = fork();
    if (between == 0) {
        // Its only work is to end, which leaves the process to init.
        setsid();
        const pid_t background = fork();
        if (background == 0) run_background(job, writer.get(), keep);
        if (background < 0) report_code(writer.get(), ERR_SYS_UNKNOWN);
        _exit(0);
    }
    const int reason = errno;
    writer.reset();
    int code = ERR_SYS_UNKNOWN;
    if (between > 0) {
        // Gone already where the caller has its children discarded.
        while (waitpid(between, nullptr, 0) < 0 && errno == EINTR) {
        }
        int reported;
        ssize_t got;
        do {
            got = read(reader.get(), &reported, sizeof reported);
        } while (got < 0 && errno == EINTR);
        if (got == sizeof reported) code = reported;
    }
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    errno = reason;
    return code;
}

}  // namespace morv
