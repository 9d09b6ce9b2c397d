#include "morvctl/change.h"

#include <fcntl.h>
#include <morvsdk/file.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>

#include "morvctl/fd.h"
#include "morvctl/output.h"
#include "morvctl/scratch_folder.h"
#include "morvctl/signals.h"
#include "morvctl/write_lock.h"

namespace morvctl {

namespace {

// Runs diff and answers what it prints.
std::string diff(const std::string &before, const std::string &after, const std::string &old_label,
                 const std::string &new_label) {
    const char *arguments[] = {
        "diff", "-a",           "-u",          "--label", old_label.c_str(), "--label", new_label.c_str(),
        "--",   before.c_str(), after.c_str(), nullptr};
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) fail_system("run diff");
    const Fd reading(ends[0]);
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
    const bool all_read = read_all(reading.get(), output);
    int status = 0;
    pid_t ended;
    do {
        ended = waitpid(child, &status, 0);
    } while (ended < 0 && errno == EINTR);
    if (!all_read || ended != child || !WIFEXITED(status) || WEXITSTATUS(status) > 1) {
        throw Failure(Exit::kFailed, "cannot show the change: diff failed");
    }
    return output;
}

// `edit` gets to know whether the file exists.
int change(const Session &session, const std::string &name, Missing missing,
           const std::function<int(std::string &text, bool exists)> &edit) {
    const Target target = find_target(session, name);
    std::optional<WriteLock> lock;
    if (!session.dry_run) lock.emplace(session, target);
    const Fd old = open_file(target, missing == Missing::kIsMade);
    const std::string before = old ? read_content(target, old) : "";
    std::string after = before;
    const int changed = edit(after, bool(old));
    std::string shown;
    if (session.dry_run) {
        shown = show_change(name, old ? &before : nullptr, &after);
    } else if (after != before) {
        const HeldSignals held;
        // Only now: what is done to a private copy need not outlast a power loss.
        MORVFileDurabilitySet(MORV_DURABLE);
        clear_errors();
        if (MORVFileSetContent(target.path.c_str(), after.data(), after.size()) != 0)
            fail_library("write " + target.name);
    }
    lock.reset();
    if (session.json) {
        Json document{{"file", name}, {"changed", changed}, {"dry_run", session.dry_run}};
        if (session.dry_run) document["diff"] = shown;
        print_json(document);
    } else {
        print_raw(shown);
    }
    return int(Exit::kDone);
}

}  // namespace

std::string show_change(const std::string &name, const std::string *before, const std::string *after) {
    const ScratchFolder scratch;
    // The label is a line of its own.
    const std::string label = printable(name);
    const std::string none = "/dev/null";
    return diff(before ? scratch.write("before", *before) : none,
                after ? scratch.write("after", *after) : none, before ? label : none, after ? label : none);
}

int change_text(const Session &session, const std::string &name, Missing missing,
                const std::function<int(std::string &text)> &edit) {
    return change(session, name, missing, [&](std::string &text, bool) { return edit(text); });
}

int change_file(const Session &session, const std::string &name, Missing missing,
                const std::function<int(const std::string &path)> &apply) {
    return change(session, name, missing, [&](std::string &text, bool exists) {
        const ScratchFolder scratch;
        const Target copy{name, scratch.path("copy")};
        if (exists) scratch.write("copy", text);
        const int changed = apply(copy.path);
        if (const Fd fd = open_file(copy, true)) text = read_content(copy, fd);
        return changed;
    });
}

}  // namespace morvctl
