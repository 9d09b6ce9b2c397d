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

// Opens the file for nobody but its owner, also one that is there.
int open_file(const char *path, UniqueFd &fd) noexcept {
    fd.reset(open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, kMode));
    struct stat st;
    return fd && fstat(fd.get(), &st) == 0 &&
                   (!S_ISREG(st.st_mode) || (st.st_mode & 07777) == kMode || fchmod(fd.get(), kMode) == 0)
               ? 0
               : -1;
}

int write_preamble(int fd, int mask) noexcept {
    if (write(fd, kBackupMagic, sizeof kBackupMagic) != sizeof kBackupMagic) {
        tell_problem("the file cannot be written: %m");
        BACKUP_LOG("write magic fail, errno = %d", errno);
        return -1;
    }
    if (MORVSysbkpRawIntWrite(fd, &kBackupCategory, sizeof kBackupCategory) < 0) {
        BACKUP_LOG("write category fail, errno = %d", errno);
        return -1;
    }
    const int32_t word = mask;
    if (MORVSysbkpRawIntWrite(fd, &word, sizeof word) < 0) {
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
int finish(UniqueFd fd) noexcept {
    // What is no file on a disk cannot be synced.
    int result = fsync(fd.get()) == 0 || errno == EINVAL || errno == EROFS ? 0 : -1;
    if (close(fd.release()) != 0) result = -1;
    if (result != 0) {
        tell_problem("the file cannot be written: %m");
        BACKUP_LOG("fail to write to the disk, errno = %d", errno);
    }
    return result;
}

// What is no regular file, as a device, is nobody's partial backup.
void remove_file(const char *path) noexcept {
    struct stat st;
    if (stat(path, &st) == 0 && !S_ISREG(st.st_mode)) return;
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
    if (result == 0) result = finish(std::move(fd));
    fd.reset();
    if (result != 0) remove_file(path);
    return result;
}
