#include <errno.h>
#include <fcntl.h>
#include <morvsdk/internal/sysbkp.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/guard.h"
#include "sysbkp/preamble.h"
#include "sysbkp/report.h"

using namespace morv;

namespace {

constexpr mode_t kMode = 0600;  // hashes of passwords are in it

bool is_wanted(const MORVSYSROUTINE &row, int mask) noexcept {
    return mask == MORV_SYSBKP_ALL || (row.id & mask) != 0;
}

// Makes an open file one for its owner alone, and empty.
int empty_file(int fd) noexcept {
    struct stat st;
    if (fstat(fd, &st) != 0) return -1;
    if (!S_ISREG(st.st_mode)) return 0;
    if ((st.st_mode & 07777) != kMode && fchmod(fd, kMode) == 0 && fstat(fd, &st) != 0) return -1;
    // Some disks that backups go to, as those of FAT, have one mode for all files.
    if (st.st_mode & 077) tell_note("its file system does not keep others from reading the file");
    return ftruncate(fd, 0);
}

// Whether somebody else could have opened a file that was there already: he could go on reading it.
bool is_anothers(int fd) noexcept {
    struct stat st;
    return fstat(fd, &st) != 0 || (S_ISREG(st.st_mode) && st.st_nlink > 0 && st.st_uid != geteuid());
}

int open_file(const char *path, UniqueFd &fd) noexcept {
    const auto make = [&] { fd.reset(open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kMode)); };
    make();
    bool is_new = bool(fd);
    if (!is_new && errno == EEXIST) {
        fd.reset(open(path, O_RDWR | O_CREAT | O_CLOEXEC, kMode));
        if (fd && is_anothers(fd.get())) {
            if (unlink(path) != 0) return -1;
            make();
            is_new = bool(fd);
        }
    }
    if (!fd) return -1;
    if (empty_file(fd.get()) == 0) return 0;
    const int reason = errno;
    if (is_new) unlink(path);
    errno = reason;
    return -1;
}

int write_preamble(int fd, int mask) noexcept {
    if (write(fd, kBackupMagic, sizeof kBackupMagic) != sizeof kBackupMagic) {
        tell_problem("the file cannot be written: %m");
        BACKUP_LOG("write magic fail, errno = %d", errno);
        return -1;
    }
    if (MORVSysbkpRawIntWrite(fd, &kBackupCategory, sizeof kBackupCategory) < 0) {
        tell_problem("the file cannot be written: %m");
        BACKUP_LOG("write category fail, errno = %d", errno);
        return -1;
    }
    const int32_t word = mask;
    if (MORVSysbkpRawIntWrite(fd, &word, sizeof word) < 0) {
        tell_problem("the file cannot be written: %m");
        BACKUP_LOG("write content type fail, errno = %d", errno);
        return -1;
    }
    return 0;
}

int write_blocks(int fd, int mask, Telling &telling) noexcept {
    for (const MORVSYSROUTINE *row = grgSysRoutine; row->id != 0; ++row) {
        if (!is_wanted(*row, mask)) continue;
        telling.begin(row->id);
        const int result = row->pfExport(fd);
        telling.end(result);
        if (result == 0) continue;
        log_text("%s:Fail to export %s\n", MORV_STEM, row->szDescription);
        return -1;
    }
    return 0;
}

// A backup that is gone after a power loss is none.
int finish(const UniqueFd &fd) noexcept {
    // What is no file on a disk cannot be synced.
    if (fsync(fd.get()) == 0 || errno == EINVAL || errno == EROFS) return 0;
    tell_problem("the file cannot be written: %m");
    BACKUP_LOG("fail to write to the disk, errno = %d", errno);
    return -1;
}

// What is no regular file, as a device, is nobody's partial backup. Where the path is a link, the file that it leads
// to is emptied.
void remove_file(const char *path, int fd) noexcept {
    struct stat st;
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) return;
    if (ftruncate(fd, 0) != 0) BACKUP_LOG("fail to empty %s: %m", path);
    if (unlink(path) != 0) BACKUP_LOG("fail to remove %s", path);
}

}  // namespace

extern "C" int MORVSysbkpExportReport(const char *path, int mask, MORVSYSBKPREPORT report,
                                      void *context) noexcept {
    Telling telling(report, context);
    if (!path) {
        BACKUP_LOG("parameter error");
        return -1;
    }
    UniqueFd fd;
    if (open_file(path, fd) != 0) {
        tell_problem("the file cannot be made: %m");
        BACKUP_LOG("fail to open %s(%d)", path, errno);
        return -1;
    }
    int result = write_preamble(fd.get(), mask);
    if (result == 0) result = write_blocks(fd.get(), mask, telling);
    if (result == 0) result = finish(fd);
    if (result != 0) remove_file(path, fd.get());
    return result;
}
