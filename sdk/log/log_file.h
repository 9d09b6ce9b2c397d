// Where the logs are, and how they are opened.
#pragma once

#include <stdint.h>

#include <string_view>

#include "core/base/guard.h"

namespace morv {

inline constexpr char kLogConf[] = "/etc/morvlog.conf";

// The settings of a log.
struct LogPlace {
    char path[32];      // in the system
    int32_t size;       // the most bytes that it may have
    bool size_is_set;   // and not just the default
    bool has_settings;  // there is a settings file at all
};

// Answers 0, or ERR_BAD_PARAMETERS for a log that has no file. Settings that are missing or cannot be used are the
// defaults.
int find_log(int log, int access, LogPlace &place) noexcept;

// The same with a line of the system log for a number that stands for no log.
bool find_known_log(int log, int access, LogPlace &place) noexcept;

// The key of a log's size; null when it has none that can be set.
const char *log_size_key(int log) noexcept;

// Makes the settings file, with all that there is to set.
enum MakeSettings { kAlways, kIfMissing };
int make_log_settings(MakeSettings when) noexcept;

// A log that this process has locked, unless it could not be had for long.
class OpenLog {
  public:
    // flags: as for open(2); with O_CREAT a new file has mode 0600. Tries again for some ten seconds, but for a
    // file that is missing and for what waiting does not change. Answers 0, ERR_FILE_NOT_FOUND or ERR_OPEN_FAILED, also for what is no regular file.
    int open(const char *path, int flags) noexcept;

    void close() noexcept { fd_.reset(); }

    int fd() const noexcept { return fd_.get(); }
    bool is_locked() const noexcept { return is_locked_; }
    int64_t size() const noexcept { return size_; }  // when it was locked
    unsigned mode() const noexcept { return mode_; }

  private:
    UniqueFd fd_;
    bool is_locked_ = false;
    int64_t size_ = 0;
    unsigned mode_ = 0;
};

}  // namespace morv
