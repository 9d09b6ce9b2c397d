#include <errno.h>
#include <fcntl.h>
#include <morvsdk/internal/log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "core/base/fail.h"
#include "core/base/kept_error.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/aside.h"
#include "core/file/family_lock.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/text/list_guard.h"
#include "log/session_list.h"

using namespace morv;

namespace {

// A file of this process alone, in a folder in which everybody may have put something by its name.
class OwnFile {
  public:
    explicit OwnFile(const char *path) noexcept : path_(path) {}
    ~OwnFile() {
        if (fd_) unlink(path_);
    }
    OwnFile(const OwnFile &) = delete;
    OwnFile &operator=(const OwnFile &) = delete;

    bool make() noexcept {
        if (unlink(path_) != 0 && errno != ENOENT) move_aside(path_);
        fd_.reset(open(path_, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        return bool(fd_);
    }

  private:
    const char *path_;
    UniqueFd fd_;
};

struct SessionList {
    const char *path;
    const char *temporary;
    const char *program;
    int (*process)(const char *line, char *report, int size);
};

constexpr SessionList kSessionLists[] = {
    {"/tmp/apple/AT_LOG", "/tmp/apple/AT_LOG_TMP", "afpd", MORVLogIProcApp},
    {"/var/tmp/ftp_cur_con.log", "/var/tmp/ftp_cur_con.log.tmp", "ftpd", MORVLogIProcFTP},
};

bool add_lines(const char *path, int (*process)(const char *line, char *report, int size),
               ListPtr &list) noexcept {
    MLIBSZLIST *moving = list.release();
    const int found = MORVLogIGetLineByKey(path, process, &moving);
    list.reset(moving);
    return found >= 0;
}

bool add_file_sharing(ListPtr &list) noexcept {
    const SysPath status("/tmp/smbstatus.tmp");
    OwnFile file(status.c_str());
    if (!file.make()) return MORV_FAIL(ERR_OPEN_FAILED, false);
    std::string nothing;
    const int code = no_throw(
        [&] { return capture_tool(nothing, "/usr/morv/bin/smbstatus -S > %s 2>&1", {status.c_str()}); });
    if (code == ERR_OUT_OF_MEMORY) return MORV_FAIL(code, false);
    // Where nothing is shared it fails; there are other services.
    if (code != 0) MORV_LOG(LOG_DEBUG, "smbstatus failed");
    return add_lines(status.c_str(), MORVLogIProcSmb, list);
}

bool add_sessions(const SessionList &sessions, ListPtr &list) noexcept {
    const SysPath path(sessions.path);
    // What anybody has put there instead of a list must not keep the report from being made.
    move_aside_unless_regular(path.c_str());
    struct stat st;
    if (lstat(path.c_str(), &st) == 0 && st.st_size > off_t{kMostSessionBytes}) move_aside(path.c_str());
    return MORVLogICheckLog(path.c_str(), SysPath(sessions.temporary).c_str(), sessions.program) == 0 &&
           add_lines(path.c_str(), sessions.process, list);
}

// A service whose sessions cannot be read is no reason not to tell of the others.
bool is_passed_over(const char *path) noexcept {
    if (MLIBErrGet() == ERR_OUT_OF_MEMORY) return false;
    MORV_LOG(LOG_ERR, "cannot read the sessions of %s, morverr=[0x%04X]", path, MLIBErrGet());
    return true;
}

bool add_all(ListPtr &list) noexcept {
    // Two reports at once would share their temporary files.
    const FamilyLock lock(MORV_LOCK_CONNECT | MORV_LOCK_WRITE);
    if (!lock.is_held()) return false;
    const KeptError error;
    if (!add_file_sharing(list) && !is_passed_over("smbstatus")) return false;
    for (const SessionList &sessions : kSessionLists) {
        if (!add_sessions(sessions, list) && !is_passed_over(sessions.path)) return false;
    }
    error.restore();
    return true;
}

}  // namespace

extern "C" int MORVLogICurCon(int mode, void *output) noexcept {
    if (!output || (mode != MORV_LOG_TO_FILE && mode != MORV_LOG_TO_MEMORY)) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    ListPtr list(PslMLIBSzListAlloc(4096));
    if (!list || !add_all(list)) return -1;
    return mode == MORV_LOG_TO_FILE ? MORVLogISave2File(list.get(), static_cast<const char *>(output))
                                    : MORVLogIWrite2Mem(list.get(), static_cast<char **>(output));
}
