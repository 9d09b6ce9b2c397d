#include "morvctl/change.h"

#include <errno.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "morvctl/fd.h"
#include "morvctl/output.h"
#include "morvctl/scratch_folder.h"
#include "morvctl/write_lock.h"

namespace morvctl {

namespace {

// Runs diff and answers what it prints.
std::string diff(const std::string &before, const std::string &after, const char *old_label,
                 const std::string &new_label) {
    const char *arguments[] = {
        "diff", "-a",           "-u",          "--label", old_label, "--label", new_label.c_str(),
        "--",   before.c_str(), after.c_str(), nullptr};
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) fail_system("run diff");
    Fd reading(ends[0]);
    Fd writing(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, writing.get(), STDOUT_FILENO);
    pid_t child;
    errno = posix_spawnp(&child, "diff", &actions, nullptr, const_cast<char **>(arguments), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (errno != 0) fail_system("run diff");
    writing.reset();
    std::string output;
    char buffer[4096];
    for (;;) {
        const ssize_t got = read(reading.get(), buffer, sizeof buffer);
        if (got <= 0) break;
        output.append(buffer, size_t(got));
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) > 1) {
        throw Failure(Exit::kFailed, "cannot show the change: diff failed");
    }
    return output;
}

std::string show_change(const Target &target, const std::function<int(const std::string &)> &apply,
                        int &changed) {
    const ScratchFolder scratch;
    const std::string after = scratch.path("after");
    std::string before = "/dev/null";
    struct stat st;
    if (stat(target.path.c_str(), &st) == 0) {
        const std::string content = read_content(target);
        before = scratch.write("before", content, 0600);
        scratch.write("after", content, st.st_mode & 07777);
    } else if (errno != ENOENT) {
        fail_system("read " + target.name);
    }
    changed = apply(after);
    const bool is_new = before == "/dev/null";
    return diff(before, access(after.c_str(), F_OK) == 0 ? after : "/dev/null",
                is_new ? "/dev/null" : target.name.c_str(), target.name);
}

}  // namespace

int change_file(const Session &session, const std::string &name,
                const std::function<int(const std::string &path)> &apply) {
    const Target target = find_target(session, name);
    int changed = 0;
    std::string shown;
    if (session.dry_run) {
        shown = show_change(target, apply, changed);
    } else {
        const WriteLock lock(session, target);
        changed = apply(target.path);
    }
    if (session.json) {
        Json document{{"file", name}, {"changed", changed}, {"dry_run", session.dry_run}};
        if (session.dry_run) document["diff"] = shown;
        print_json(document);
    } else {
        print_raw(shown);
    }
    return int(Exit::kDone);
}

}  // namespace morvctl
