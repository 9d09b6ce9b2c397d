#include "morvctl/scratch_folder.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>

#include "morvctl/failure.h"
#include "morvctl/fd.h"

namespace morvctl {

ScratchFolder::ScratchFolder() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE})
        sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, &former_);
    const char *place = secure_getenv("TMPDIR");
    folder_ = std::string(place && *place == '/' ? place : "/tmp") + "/morvctl.XXXXXX";
    if (!mkdtemp(folder_.data())) {
        const int reason = errno;
        sigprocmask(SIG_SETMASK, &former_, nullptr);
        errno = reason;
        fail_system("make a temporary folder " + folder_);
    }
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
    sigprocmask(SIG_SETMASK, &former_, nullptr);
}

std::string ScratchFolder::write(const char *name, const std::string &content, mode_t mode) const {
    std::string file = path(name);
    const Fd fd(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    for (size_t done = 0; fd && done < content.size();) {
        const ssize_t written = ::write(fd.get(), content.data() + done, content.size() - done);
        if (written < 0) fail_system("write " + file);
        done += size_t(written);
    }
    if (!fd || fchmod(fd.get(), mode) != 0) fail_system("write " + file);
    return file;
}

}  // namespace morvctl
