#include "morvctl/scratch_folder.h"

#include <fcntl.h>
#include <stdlib.h>

#include <filesystem>
#include <string_view>

#include "morvctl/failure.h"
#include "morvctl/fd.h"

namespace morvctl {

namespace {

bool write_all(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t done = write(fd, content.data(), content.size());
        if (done >= 0) {
            content.remove_prefix(size_t(done));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

}  // namespace

ScratchFolder::ScratchFolder() {
    const char *place = secure_getenv("TMPDIR");
    folder_ = std::string(place && *place == '/' ? place : "/tmp") + "/morvctl.XXXXXX";
    if (!mkdtemp(folder_.data())) fail_system("make a temporary folder " + folder_);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string ScratchFolder::write(const char *name, const std::string &content) const {
    std::string file = path(name);
    const Fd fd(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!fd || !write_all(fd.get(), content)) fail_system("write " + file);
    return file;
}

}  // namespace morvctl
