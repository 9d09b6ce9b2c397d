#include "morvctl/private_root.h"

#include <morvsdk/file.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <filesystem>

#include "morvctl/change.h"

namespace morvctl {

namespace {

// The files of one change are renamed one after the other. Copies made meanwhile would not belong together.
constexpr int kTries = 20;

std::string state_of(const std::string &path) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0) return "";
    return std::to_string(st.st_dev) + ":" + std::to_string(st.st_ino) + ":" + std::to_string(st.st_size) +
           ":" + std::to_string(st.st_mtim.tv_sec) + "." + std::to_string(st.st_mtim.tv_nsec);
}

}  // namespace

PrivateRoot::PrivateRoot(const Session &session, std::vector<std::string> changed,
                         const std::vector<std::string> &read)
    : session_(session), changed_(std::move(changed)), root_(scratch_.path("root")) {
    copy_files(read);
    std::filesystem::create_directories(root_ + "/tmp");
    if (MORVSysRootSet(root_.c_str()) != 0) fail_library("make a private copy");
    // What goes wrong here, nobody needs to look for.
    log_mask_ = setlogmask(LOG_MASK(LOG_EMERG));
}

PrivateRoot::~PrivateRoot() {
    setlogmask(log_mask_);
    ErrMLIBFileCloseLock();
    MORVSysRootSet(session_.root.c_str());
    // A process in the background may still be at work on folders that were removed.
    std::error_code failed;
    for (int tries = 0; tries < kTries && (std::filesystem::remove_all(root_, failed), failed); ++tries)
        usleep(50000);
}

void PrivateRoot::copy_files(const std::vector<std::string> &read) {
    const auto states = [&] {
        std::string all;
        for (const std::string &file : changed_)
            all.append(state_of(system_path(session_, file))).append(" ");
        return all;
    };
    for (int tries = 0;; ++tries) {
        const std::string state = states();
        before_.clear();
        for (const std::string &file : changed_) {
            const Target target{file, system_path(session_, file)};
            if (const Fd fd = open_file(target, true)) before_[file] = read_content(target, fd);
        }
        if (state == states()) break;
        if (tries == kTries) throw Failure(Exit::kLocked, "cannot copy the files: they keep changing");
        usleep(50000);
    }
    for (const std::string &file : changed_) {
        std::error_code ignored;
        if (std::filesystem::is_directory(folder_of(system_path(session_, file)), ignored))
            std::filesystem::create_directories(folder_of(root_ + file));
    }
    for (const auto &[file, content] : before_)
        write(file, content);
    for (const std::string &file : read) {
        const Target target{file, system_path(session_, file)};
        if (access(target.path.c_str(), R_OK) != 0) continue;
        if (const Fd fd = open_file(target, true)) write(file, read_content(target, fd));
    }
}

void PrivateRoot::write(const std::string &file, const std::string &content, mode_t mode) const {
    const std::string path = root_ + file;
    std::filesystem::create_directories(folder_of(path));
    unlink(path.c_str());
    scratch_.write(("root" + file).c_str(), content);
    if (chmod(path.c_str(), mode) != 0) fail_system("write " + path);
}

// What is to come into a file may be anybody's: nothing of it is for the terminal, but for tabs.
static void print_diff(std::string_view diff) {
    std::string shown;
    for (size_t at = 0; at < diff.size();) {
        const size_t end = std::min(diff.find_first_of("\t\n", at), diff.size());
        shown += printable(diff.substr(at, end - at));
        if (end < diff.size()) shown += diff[end];
        at = end + 1;
    }
    print_raw(shown);
}

void PrivateRoot::show(const Session &session, Json &document, const Mask &mask) const {
    Json files = Json::array();
    for (const std::string &file : changed_) {
        const Target target{file, root_ + file};
        const auto was = before_.find(file);
        const bool existed = was != before_.end();
        const Fd fd = open_file(target, true);
        std::string before = existed ? was->second : "";
        std::string after = fd ? read_content(target, fd) : "";
        if (existed == bool(fd) && before == after) continue;
        if (mask) mask(file, before, after);
        const std::string diff = show_change(file, existed ? &before : nullptr, fd ? &after : nullptr);
        files.push_back({{"file", file}, {"diff", diff}});
        if (!session.json) print_diff(diff);
    }
    document["files"] = files;
}

}  // namespace morvctl
