#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <morvsdk/errcodes.h>
#include <signal.h>
#include <stddef.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "core/base/guard.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "support/alloc_fault.h"
#include "support/process.h"
#include "support/scratch.h"

namespace {

using namespace morv;
using namespace testing_support;

std::string every_byte() {
    std::string text;
    for (int byte = 1; byte < 256; ++byte)
        text.push_back(char(byte));
    return text;
}

// A system root with tools in it; its name has what a shell would take apart.
struct ToolRoot : ScratchRoot {
    ToolRoot() {
        tool("show", "printf '%s|' \"$@\"");
        set_system_root(path("a root's $(name)").c_str());
        tool("quit", "exit $1");
        tool("die", "kill -9 $$");
    }
    void tool(const std::string &name, const std::string &script) {
        write("a root's $(name)/bin/" + name, "#!/bin/sh\n" + script + "\n", 0755);
    }
};

TEST(Command, PassesEveryValueAsOneWordWhateverIsInIt) {
    ToolRoot root;
    const std::string values[] = {every_byte(), "",     " ",  "'",  "''",       "a'b'c", "$(id)",
                                  "`id`",       "a\nb", "~",  "*",  "!x",       "\\",    "x-y_z%@",
                                  "#",          "a;b",  "&1", "\"", "\xff\xfe", "{a,b}", "\x81'"};
    for (const std::string &value : values) {
        std::string out;
        EXPECT_EQ(capture_tool(out, "/bin/show %s x%s", {value, value}), 0) << value;
        EXPECT_EQ(out, value + "|x" + value + "|");
    }
    std::string out;
    EXPECT_EQ(capture_tool(out, "/bin/show %d %lu %%s '%s' --to=%s | /bin/show \"a  b\"", {-1, 2, "3"}),
              ERR_BAD_PARAMETERS);
    EXPECT_EQ(
        capture_tool(out, "/bin/show =%d %llu %% --to=%s && /bin/show 'a  b'", {INT64_MIN, UINT64_MAX, "-3"}),
        0);
    EXPECT_EQ(out, "=-9223372036854775808|18446744073709551615|%|--to=-3|a  b|");
    EXPECT_EQ(run_tool("/bin/show %u >%s", {7, root.path("a & b")}), 0);
    EXPECT_EQ(root.read("a & b"), "7|");
}

TEST(Command, TakesToolsWithoutAFolderFromBelowTheRootOnly) {
    ToolRoot root;
    std::string out;
    root.write("a root's $(name)/usr/sbin/echo", "#!/bin/sh\nexec printf 'ours %s' \"$*\"\n", 0755);
    EXPECT_EQ(capture_tool(out, "echo %s 2>&1 | show a", {"x"}), 0);
    EXPECT_EQ(out, "a|");
    EXPECT_EQ(capture_tool(out, "echo %s >&1;show b", {"x"}), 0);
    EXPECT_EQ(out, "ours xb|");
    int status = 0;
    EXPECT_EQ(run_tool("true", {}, &status), ERR_SYS_UNKNOWN) << "the machine has one, the root has none";
    EXPECT_EQ(status, 127);
    const std::vector<CommandValue> values = {"x", 7};
    EXPECT_EQ(capture_tool(out, "/bin/show %s %d", values), 0);
    EXPECT_EQ(out, "x|7|");
}

TEST(Command, TakesToolsBehindABacktickFromBelowTheRootToo) {
    ToolRoot root;
    std::string out;
    root.tool("names", "echo \"$1\" b");
    EXPECT_EQ(capture_tool(out, "/bin/show %s `/bin/names a` `names c | cat`x", {"1 2"}), 0);
    EXPECT_EQ(out, "1 2|a|b|x|") << "the machine's cat is none of this root";
    for (const char *format : {"/bin/show `/bin/names %s`", "/bin/show `/bin/names", "/bin/show \"`names`\""})
        EXPECT_EQ(capture_tool(out, format, {"a"}), ERR_BAD_PARAMETERS) << format;
    set_system_root(root.path("a`b").c_str());
    EXPECT_EQ(run_tool("show `names`", {}), ERR_BAD_PARAMETERS);
}

TEST(Command, FeedsAToolHoweverLittleItReads) {
    ToolRoot root;
    root.tool("keep", "cat >\"$MORV_ROOT/kept\"");
    std::string input = every_byte() + '\0';
    while (input.size() < 3'000'000)
        input += input;
    EXPECT_EQ(feed_tool(input, "/bin/keep", {}), 0);
    EXPECT_EQ(root.read("a root's $(name)/kept"), input);
    int status = -1;
    EXPECT_EQ(feed_tool(input, "/bin/quit %d", {3}, &status), ERR_SYS_UNKNOWN);
    EXPECT_EQ(status, 3);
    EXPECT_EQ(feed_tool(input, "/bin/quit 0", {}), 0) << "nothing of it was read";
    EXPECT_EQ(feed_tool("", "/bin/keep", {}), 0);
    EXPECT_EQ(root.read("a root's $(name)/kept"), "");
}

// Has two system calls fail as on a kernel that has neither.
bool make_kernel_old() {
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_memfd_create, 1, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_open, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {std::size(filter), filter};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST(Command, FeedsAToolOnAnOldKernel) {
    ToolRoot root;
    root.tool("keep", "cat >\"$MORV_ROOT/kept\"; exit 5");
    root.write("a root's $(name)/tmp/x", "");
    enum { kNotHere = 9 };
    const int result = in_child([] {
        if (!make_kernel_old()) return int(kNotHere);
        int status = 0;
        return feed_tool("a line\n", "/bin/keep", {}, &status) == ERR_SYS_UNKNOWN && status == 5 ? 0 : 1;
    });
    if (result == kNotHere) GTEST_SKIP() << "no system call can be taken away here";
    EXPECT_EQ(result, 0);
    EXPECT_EQ(root.read("a root's $(name)/kept"), "a line\n");
    EXPECT_EQ(root.names("a root's $(name)/tmp"), std::vector<std::string>{"x"});
}

TEST(Command, RefusesWhatCouldBeReadAsSomethingElse) {
    ToolRoot root;
    const struct {
        const char *format;
        CommandValue value;
    } cases[] = {{"/bin/show %s", "-rf"},  {"/bin/show a\t%s", "-"},
                 {"/bin/show %d", -1},     {"/bin/show %s", std::string_view("a\0b", 3)},
                 {"/bin/show '%s'", "a"},  {"/bin/show \"%s\"", "a"},
                 {"/bin/show \\%s", "a"},  {"/bin/show # %s", "a"},
                 {"/bin/show 'a %s", "a"}, {"/bin/show %s %s", "a"},
                 {"/bin/show", "a"},       {"/bin/show %s", 1},
                 {"/bin/show %d", "1"},    {"/bin/show %ls", "1"},
                 {"/bin/show %x", 1},      {"/bin/show %", "a"}};
    for (const auto &c : cases) {
        int status = -1;
        EXPECT_EQ(run_tool(c.format, {c.value}, &status), ERR_BAD_PARAMETERS) << c.format;
        EXPECT_EQ(status, -1) << c.format;
    }
}

TEST(Command, TellsHowAToolEnded) {
    ToolRoot root;
    for (const int expected : {0, 1, 77, 255}) {
        int status = -1;
        EXPECT_EQ(run_tool("/bin/quit %d", {expected}, &status), expected == 0 ? 0 : ERR_SYS_UNKNOWN);
        EXPECT_EQ(status, expected);
    }
    int status = -1;
    EXPECT_EQ(run_tool("/bin/missing", {}, &status), ERR_SYS_UNKNOWN);
    EXPECT_EQ(status, 127);
    EXPECT_EQ(run_tool("/bin/die", {}, &status), ERR_SYS_UNKNOWN);
    EXPECT_EQ(status, 137);
    EXPECT_EQ(run_tool("/bin/show %s", {std::string(1 << 20, 'x')}), ERR_SYS_UNKNOWN)
        << "longer than exec takes";
}

TEST(Command, CapturesEveryByteUpToTheLimit) {
    ToolRoot root;
    const std::string bytes = every_byte() + std::string(3, '\0') + "\n\n";
    std::string large;
    while (large.size() < 300000)
        large += bytes;
    const std::string file = root.write("bytes", large);
    root.tool("cat", "cat \"$1\"; echo unseen >&2");
    root.tool("flood", "cat /dev/zero");
    std::string out;
    EXPECT_EQ(capture_tool(out, "/bin/cat %s", {file}, nullptr, large.size()), 0);
    EXPECT_EQ(out, large);
    EXPECT_EQ(capture_tool(out, "/bin/cat %s", {file}, nullptr, large.size() - 1), ERR_READ_FAILED);
    EXPECT_EQ(capture_tool(out, "/bin/flood", {}, nullptr, 100000), ERR_READ_FAILED);
    EXPECT_EQ(out, large) << "as it was";
}

TEST(Command, GivesToolsNothingOfTheCaller) {
    ToolRoot root;
    root.tool("spy", "cat; echo $LEAK/$LC_ALL/$(umask); ls /proc/$$/fd; echo $MORV_ROOT");
    setenv("LEAK", "secret", 1);
    setenv("LC_ALL", "tr_TR.UTF-8", 1);
    const UniqueFd inherited(open("/dev/null", O_RDONLY));
    const int before = open_descriptors();
    std::string out;
    const mode_t old_mask = umask(077);
    EXPECT_EQ(capture_tool(out, "/bin/spy", {}), 0);
    umask(old_mask);
    // Where some shells keep their script.
    for (const char *script : {"\n10\n", "\n255\n"}) {
        const size_t at = out.find(script);
        if (at != out.npos) out.erase(at, strlen(script) - 1);
    }
    EXPECT_EQ(out, "/C/0022\n0\n1\n2\n" + std::string(SysPath("").c_str()) + "\n");
    EXPECT_EQ(open_descriptors(), before);
    unsetenv("LEAK");
    unsetenv("LC_ALL");
}

int reaped;

TEST(Command, LeavesTheSignalsAndChildrenOfTheCallerAlone) {
    ToolRoot root;
    root.tool("signals", "kill -PIPE $$; exit 3");
    const struct {
        const char *what;
        void (*handler)(int);
    } cases[] = {{"default", SIG_DFL}, {"ignoring", SIG_IGN}, {"reaping", [](int) {
                                                                   while (waitpid(-1, nullptr, WNOHANG) > 0)
                                                                       ++reaped;
                                                               }}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        struct sigaction action = {}, old_child, after;
        action.sa_handler = c.handler;
        sigaction(SIGCHLD, &action, &old_child);
        signal(SIGPIPE, SIG_IGN);
        reaped = 0;
        int status = -1;
        EXPECT_EQ(run_tool("/bin/quit %d", {9}, &status), ERR_SYS_UNKNOWN);
        EXPECT_EQ(status, 9);
        EXPECT_EQ(run_tool("/bin/signals", {}, &status), ERR_SYS_UNKNOWN);
        EXPECT_EQ(status, 128 + SIGPIPE) << "although the caller ignores it";
        EXPECT_EQ(start_background({nullptr, [](void *) noexcept {}, nullptr}), 0);
        EXPECT_EQ(reaped, 0);
        sigaction(SIGCHLD, nullptr, &after);
        EXPECT_EQ(after.sa_handler, c.handler);
        sigaction(SIGINT, nullptr, &after);
        EXPECT_EQ(after.sa_handler, SIG_DFL);
        sigset_t mask;
        sigprocmask(SIG_BLOCK, nullptr, &mask);
        EXPECT_FALSE(sigismember(&mask, SIGCHLD));
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
        EXPECT_EQ(errno, ECHILD);
        sigaction(SIGCHLD, &old_child, nullptr);
        signal(SIGPIPE, SIG_DFL);
    }
}

TEST(Command, AnswersFailedAllocations) {
    ToolRoot root;
    const int faults = for_each_alloc_fault([&](int) {
        std::string out;
        const int code = capture_tool(out, "/bin/show %s", {"a text that is longer than a short string"});
        const bool reached = AllocFault::disarm();
        EXPECT_EQ(code, reached ? ERR_OUT_OF_MEMORY : 0);
        return reached;
    });
    EXPECT_GT(faults, 0);
}

struct Job {
    SharedCounts counts;
    int kept, other;
    pid_t starter;
};

TEST(Background, OutlivesItsStarterAndHasNothingOfItButWhatIsKept) {
    ScratchRoot root;
    const UniqueFd other(open(root.write("other", "").c_str(), O_RDONLY));
    const UniqueFd kept(open(root.write("kept", "").c_str(), O_WRONLY));
    Job job = {{}, kept.get(), other.get(), 0};
    EXPECT_EQ(in_child([&] {
                  job.starter = getpid();
                  signal(SIGTERM, SIG_IGN);
                  return start_background({nullptr,
                                           [](void *context) noexcept {
                                               Job &of = *static_cast<Job *>(context);
                                               while (kill(of.starter, 0) == 0)
                                                   usleep(1000);
                                               struct sigaction action;
                                               sigaction(SIGTERM, nullptr, &action);
                                               char cwd[PATH_MAX];
                                               const bool free =
                                                   fcntl(of.other, F_GETFD) < 0 &&
                                                   fcntl(of.kept, F_GETFD) >= 0 && getsid(0) != getpid() &&
                                                   getpgid(0) == getpid() && action.sa_handler == SIG_DFL &&
                                                   getcwd(cwd, sizeof cwd) && std::string(cwd) == "/";
                                               if (write(of.kept, free ? "free" : "held", 4) != 4) _exit(1);
                                               of.counts.at[0] = 1;
                                           },
                                           &job},
                                          {kept.get()});
              }),
              0);
    for (int i = 0; i < 10000 && job.counts.at[0] == 0; ++i)
        usleep(1000);
    EXPECT_EQ(root.read("kept"), "free");
}

TEST(Background, TellsWhatItsPreparationAnswers) {
    SharedCounts counts;
    const BackgroundJob failing = {[](void *) noexcept -> int { return ERR_LOCK_FAILED; },
                                   [](void *at) noexcept { *static_cast<volatile int *>(at) = 1; },
                                   const_cast<int *>(counts.at)};
    EXPECT_EQ(start_background(failing), ERR_LOCK_FAILED);
    const BackgroundJob dying = {[](void *) noexcept -> int { _exit(0); }, failing.work, failing.context};
    EXPECT_EQ(start_background(dying), ERR_SYS_UNKNOWN);
    EXPECT_EQ(counts.at[0], 0) << "the work was done all the same";
}

}  // namespace
