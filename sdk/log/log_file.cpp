#include "log/log_file.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/log.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <syslog.h>

#include <iterator>
#include <string>

#include "core/base/no_throw.h"
#include "core/file/file_edit.h"
#include "core/file/file_stamp.h"
#include "core/file/patience.h"
#include "core/file/replacement_file.h"
#include "core/file/sys_path.h"
#include "core/file/tree.h"
#include "core/text/field_text.h"
#include "core/text/fields.h"
#include "core/text/key_lines.h"

namespace morv {

namespace {

struct LogClass {
    int log;
    const char *file_key;
    const char *size_key;
    const char *file;
    int32_t size;
};

// In the order of the settings file.
constexpr LogClass kLogs[] = {
    {MORV_LOG_SYSTEM, "syslogfile", "syslogfilesize_MAX", "/var/log/morvsys.log", 0x20000},
    {MORV_LOG_ADMIN, "manlogfile", "manlogfilesize_MAX", "/var/log/morvman1.log", 0x20000},
    {MORV_LOG_CONNECTION, "connlogfile", "connlogfilesize_MAX", "/var/log/morvconn.log", 0x10000},
    {MORV_LOG_BACKUP, "bkplogfile", "bkplogfilesize_MAX", "/var/log/morvbackup.log", 0x10000},
    {MORV_LOG_COPY, "copylogfile", "copylogfilesize_MAX", "/var/log/morvcopy.log", 0x10000},
    {MORV_LOG_NETBACKUP, "netbkplogfile", "netbkplogfilesize_MAX", "/var/log/morvnetbkp.log", 0x10000},
    {MORV_LOG_SURVEILLANCE, "surlogfile", "surlogfilesize_MAX", "/var/log/morvsur.log", 0x10000},
};
constexpr int kNewSize = 65536;

const LogClass *class_of(int log) noexcept {
    for (const LogClass &entry : kLogs) {
        if (entry.log == log) return &entry;
    }
    return nullptr;
}

// A decimal number of at most ten digits that a ring can be of.
bool read_size(std::string_view text, int32_t &size) noexcept {
    if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != text.npos) return false;
    const int64_t number = leading_number(text);
    if (number < MORV_LOG_SIZE_MIN || number > INT32_MAX) return false;
    size = int32_t(number);
    return true;
}

// The settings of all logs, kept as long as their file stays: a program that logs reads them for each event.
struct LogSettings {
    bool exists;
    bool is_kept;
    FileStamp stamp;
    LogPlace places[std::size(kLogs)];

    void load() noexcept;
} settings;

void LogSettings::load() noexcept {
    const SysPath path(kLogConf);
    struct stat st = {};
    exists = stat(path.c_str(), &st) == 0 || errno != ENOENT;
    const FileStamp found(st);
    if (is_kept && found == stamp) return;
    FileText conf;
    // One that cannot be read has no settings, for this time.
    const bool is_read = conf.load(path.c_str()) == 0;
    for (size_t i = 0; i < std::size(kLogs); ++i) {
        const LogClass &log = kLogs[i];
        LogPlace &place = places[i];
        copy_text(place.path, log.file);
        const std::string_view file = find_key_value(conf.view(), log.file_key);
        if (leads_down(file)) copy_text(place.path, file);
        place.size = log.size;
        place.size_is_set = read_size(find_key_value(conf.view(), log.size_key), place.size);
    }
    stamp = found;
    is_kept = is_read && found.is_settled();
}

}  // namespace

int find_log(int log, int access, LogPlace &place) noexcept {
    if (log == MORV_LOG_ADMIN && access == MORV_LOG_FOR_WRITING) log = MORV_LOG_SYSTEM;
    const LogClass *const entry = class_of(log);
    if (!entry) return ERR_BAD_PARAMETERS;
    settings.load();
    place = settings.places[entry - kLogs];
    place.has_settings = settings.exists;
    return 0;
}

bool find_known_log(int log, int access, LogPlace &place) noexcept {
    if (find_log(log, access, place) == 0) return true;
    if (log != MORV_LOG_RESERVED) syslog(LOG_ERR, "logclass error!");
    return false;
}

const char *log_size_key(int log) noexcept {
    const LogClass *const entry = log <= 6 ? class_of(log) : nullptr;
    return entry ? entry->size_key : nullptr;
}

int make_log_settings(MakeSettings when) noexcept {
    return no_throw([when] {
        std::string text;
        for (const LogClass &entry : kLogs) {
            char lines[160];
            snprintf(lines, sizeof lines, "%s\t=\t\"%s\"\n%s\t=\t\"%d\"\n", entry.file_key, entry.file,
                     entry.size_key, kNewSize);
            text += lines;
        }
        const SysPath path(kLogConf);
        if (when == kAlways) {
            FileEdit file;
            if (int code = file.open_unread(path.c_str(), FileEdit::kMayCreate)) return code;
            return file.commit(text, FileEdit::kOwn);
        }
        // Another process may have made it by now, and somebody set a size in it.
        ReplacementFile file(path.c_str());
        if (int code = file.create_own(0644)) return code;
        if (int code = file.write(text)) return code;
        if (int code = file.complete()) return code;
        if (link(file.temporary(), path.c_str()) == 0 || errno == EEXIST) return 0;
        return file.rename_over();  // there are file systems without second names
    });
}

int OpenLog::open(const char *path, int flags) noexcept {
    Patience patience(10);
    for (;;) {
        fd_.reset(::open(path, flags | O_NONBLOCK | O_CLOEXEC, 0600));
        if (!fd_) {
            if (errno == ENOENT && !(flags & O_CREAT)) return ERR_FILE_NOT_FOUND;
            if (!may_pass(errno) || !patience.wait()) return ERR_OPEN_FAILED;
            continue;
        }
        struct stat st;
        if (fstat(fd_.get(), &st) != 0) return ERR_OPEN_FAILED;
        if (!S_ISREG(st.st_mode)) {
            errno = EINVAL;
            return ERR_OPEN_FAILED;
        }
        mode_ = st.st_mode & 07777;
        Patience holder(10);
        while (!(is_locked_ = flock(fd_.get(), LOCK_EX | LOCK_NB) == 0) && holder.wait()) {
        }
        // Whoever made the log smaller meanwhile has put another file in its place, or somebody has removed
        // it.
        struct stat now;
        const bool is_there = stat(path, &now) == 0 && same_file(now, st);
        size_ = is_there ? now.st_size : st.st_size;
        if (!is_locked_ || is_there || !patience.wait()) return 0;
    }
}

}  // namespace morv
