#include "morvctl/record_event.h"

#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "morvctl/output.h"
#include "morvctl/signals.h"
#include "morvctl/target.h"

namespace morvctl {

namespace {

// What would keep the library from writing, so that it need not say so in the system log. Answers 0 or an errno.
int reason_against(const std::string &log) {
    // It is replaced, or made, in its folder.
    if (access(folder_of(log).c_str(), W_OK | X_OK) != 0) return errno;
    struct stat st;
    if (stat(log.c_str(), &st) != 0) return errno == ENOENT ? 0 : errno;
    if (!S_ISREG(st.st_mode)) return S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
    return access(log.c_str(), R_OK | W_OK) == 0 ? 0 : errno;
}

}  // namespace

void record_event(const Session &session, uint32_t event, std::initializer_list<std::string> arguments) {
    if (session.dry_run) return;
    char path[256];
    clear_errors();
    int reason = EINVAL;
    if (MORVLogPathGet(MORV_LOG_SYSTEM, MORV_LOG_FOR_WRITING, path, sizeof path, nullptr) == 0) {
        reason = reason_against(system_path(session, path));
        if (reason == ENOENT || reason == ENOTDIR) return;
    }
    const char *texts[4] = {};
    std::transform(arguments.begin(), arguments.begin() + std::min<ptrdiff_t>(ptrdiff_t(arguments.size()), 4),
                   texts, [](const std::string &argument) { return argument.c_str(); });
    if (reason == 0) {
        const HeldSignals held;
        errno = 0;
        if (MORVLogSet1(MORV_LOG_SYSTEM, MORV_LOG_INFO, event, texts[0], texts[1], texts[2], texts[3]) == 0)
            return;
        reason = errno;
    }
    fprintf(stderr, "morvctl: note: this is not in the event log%s%s\n", reason ? ": " : "",
            reason ? reason_text(reason).c_str() : "");
}

std::string renamed_text(const std::string &old_name, const std::string &name) {
    return old_name == name ? name : old_name + " -> " + name;
}

}  // namespace morvctl
