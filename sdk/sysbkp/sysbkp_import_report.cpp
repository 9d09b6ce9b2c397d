#include <errno.h>
#include <fcntl.h>
#include <morvsdk/internal/sysbkp.h>
#include <morvsdk/log.h>
#include <morvsdk/service.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "core/base/guard.h"
#include "core/base/kept_error.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "sysbkp/preamble.h"
#include "sysbkp/report.h"

using namespace morv;

namespace {

constexpr char kMarker[] = "/tmp/importprocess";
constexpr mode_t kMode = 0600;  // hashes of passwords pass through it
constexpr size_t kChunk = 1024;
constexpr int kServices = MORV_SERVICES_BUT_MANAGEMENT;

// The services are stopped from begin() to end(), or to the end of the object.
class ServiceStop {
  public:
    ServiceStop() noexcept = default;
    ServiceStop(const ServiceStop &) = delete;
    ServiceStop &operator=(const ServiceStop &) = delete;
    ~ServiceStop() { end(); }

    // Some may be stopped also when not all could be.
    void begin() noexcept {
        is_on_ = true;
        change(MORV_SERVICES_STOP, "ACTION_STOP");
    }

    void end() noexcept {
        if (std::exchange(is_on_, false)) change(MORV_SERVICES_START, "ACTION_START");
    }

  private:
    static void change(int action, const char *name) noexcept {
        if (MORVNetService(kServices, action) != 0) {
            MORV_LOG(LOG_ERR, "MORVNetService() failed!! services=[%d], action=[%s]", kServices, name);
            tell_note(action == MORV_SERVICES_STOP ? "not all services could be stopped"
                                                   : "not all services could be started again");
            return;
        }
        MORVNetServiceLog(kServices, action);
    }

    bool is_on_ = false;
};

// What importers kept for each other, also when the import ended before the last of them.
struct KeptUsers {
    KeptUsers() noexcept { MORVSysbkpFinishImport(-1, 0, 0); }
    ~KeptUsers() { MORVSysbkpFinishImport(-1, 0, 0); }
};

class Import {
  public:
    Import(int mask, int option, ServiceStop &stop, Telling &telling) noexcept
        : mask_(mask), option_(option), stop_(stop), telling_(telling) {}

    int run(const char *path) noexcept {
        if (open_files(path) != 0 || check_magic() != 0) return -1;
        stop_.begin();
        const KeptUsers kept;
        if (read_preamble() != 0) return -1;
        return restore_blocks() == 0 && gimp_status == MORV_SYSBKP_ALL ? 0 : -1;
    }

  private:
    int open_files(const char *path) noexcept {
        // Not to wait for a writer where there is a pipe by that name.
        in_.reset(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        struct stat st;
        if (in_ && (fstat(in_.get(), &st) != 0 || !S_ISREG(st.st_mode))) {
            errno = EINVAL;
            in_.reset();
        }
        if (!in_) {
            tell_problem("the file cannot be opened: %m");
            BACKUP_LOG("fail to open import file [%s], errno = %d ", path, errno);
            return -1;
        }
        size_ = st.st_size;
        // Made by this very call: what somebody else has put there is neither followed nor used.
        handle_.reset(
            open(SysPath(kMarker).c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kMode));
        if (!handle_) {
            tell_problem("%s cannot be made: %m", kMarker);
            BACKUP_LOG("fail to open handle file [%s], errno = %d ", kMarker, errno);
            return -1;
        }
        return 0;
    }

    int check_magic() noexcept {
        char magic[sizeof kBackupMagic + 1] = {};
        if (read(in_.get(), magic, sizeof kBackupMagic) != sizeof kBackupMagic) {
            tell_problem("this is no backup file: it is too short");
            BACKUP_LOG("fail to read magic %d", errno);
            return -1;
        }
        if (memcmp(magic, kBackupMagic, sizeof kBackupMagic) != 0) {
            tell_problem("this is no backup file: it does not begin with \"MORV\"");
            BACKUP_LOG("wrong magic [%s]", magic);
            return -1;
        }
        return 0;
    }

    int read_preamble() noexcept {
        int32_t category;
        int32_t content;
        if (MORVSysbkpRawIntRead(in_.get(), &category, sizeof category) != sizeof category) {
            tell_problem("the file is cut off");
            BACKUP_LOG("fail to read category %d", errno);
            return -1;
        }
        if (category != kBackupCategory) {
            tell_problem("the file is of category %d, not a configuration backup", category);
            BACKUP_LOG("wrong category [%ld]", static_cast<long>(category));
            return -1;
        }
        if (MORVSysbkpRawIntRead(in_.get(), &content, sizeof content) != sizeof content) {
            tell_problem("the file is cut off");
            BACKUP_LOG("fail to read option %d", errno);
            return -1;
        }
        return 0;
    }

    // Answers 0 at the end of the file; -1 for what makes it impossible to tell where the next block begins.
    int restore_blocks() noexcept {
        for (;;) {
            int32_t header[3];
            static_assert(sizeof header == kBlockHeader);
            const int64_t at = lseek(in_.get(), 0, SEEK_CUR);
            if (MORVSysbkpRawIntRead(in_.get(), header, sizeof header) != sizeof header) {
                // Less than a header is the end of the file.
                if (at >= 0 && size_ - at < kBlockHeader) return 0;
                tell_problem("the file cannot be read: %m");
                return -1;
            }
            const auto [id, version, size] = header;
            const int row = MORVSysbkpIGetIdx(id);
            if (row < 0) {
                tell_problem("there is a block of an unknown kind, 0x%X: nothing behind it is restored",
                             static_cast<unsigned>(id));
                BACKUP_LOG("unknown command [%ld]", static_cast<long>(id));
                return -1;
            }
            if ((id & mask_) == 0) {
                if (skip(size) != 0) return -1;
                telling_.skip(id);
                continue;
            }
            telling_.begin(id);
            if (copy_body(size) != 0) {
                gimp_status &= ~id;
                telling_.end(-1);
                return -1;
            }
            const int result = grgSysRoutine[row].pfImport(handle_.get(), version, option_);
            if (result != 0) {
                BACKUP_LOG("Failed to restore %s\n", grgSysRoutine[row].szDescription);
                gimp_status &= ~id;
            }
            telling_.end(result);
        }
    }

    int skip(int32_t size) noexcept {
        const int64_t at = lseek(in_.get(), 0, SEEK_CUR);
        if (at < 0 || size < 0 || size > size_ - at || lseek(in_.get(), size, SEEK_CUR) < 0) {
            tell_problem("a block is cut off");
            BACKUP_LOG("fail to skip ");
            return -1;
        }
        return 0;
    }

    // Puts the body into the scratch file, which then holds nothing else: what a longer one has left is not
    // this one's.
    int copy_body(int32_t size) noexcept {
        const int out = handle_.get();
        if (size < 0) {
            tell_problem("the block has a size below zero");
            BACKUP_LOG("read fdin failed 1");
            return -1;
        }
        if (lseek(out, 0, SEEK_SET) < 0 || ftruncate(out, 0) != 0) {
            tell_problem("%s cannot be written: %m", kMarker);
            BACKUP_LOG("seek fdHandle to begining error.");
            return -1;
        }
        char chunk[kChunk];
        for (auto left = static_cast<size_t>(size); left > 0;) {
            const size_t part = std::min(left, sizeof chunk);
            const int step = part == sizeof chunk ? 1 : 2;
            const ssize_t got = read(in_.get(), chunk, part);
            if (got != static_cast<ssize_t>(part)) {
                tell_problem(got < 0 ? "the file cannot be read: %m" : "the block is cut off");
                BACKUP_LOG("read fdin failed %d", step);
                return -1;
            }
            if (write(out, chunk, part) != got) {
                tell_problem("%s cannot be written: %m", kMarker);
                BACKUP_LOG("write fdHandle failed %d", step);
                return -1;
            }
            left -= part;
        }
        if (lseek(out, 0, SEEK_SET) < 0) {
            tell_problem("%s cannot be written: %m", kMarker);
            BACKUP_LOG("seek fdHandle to begining error.");
            return -1;
        }
        return 0;
    }

    const int mask_;
    const int option_;
    ServiceStop &stop_;
    Telling &telling_;
    UniqueFd in_;
    UniqueFd handle_;
    int64_t size_ = 0;
};

bool is_running() noexcept {
    struct stat st;
    return lstat(SysPath(kMarker).c_str(), &st) == 0;
}

void remove_marker() noexcept {
    if (unlink(SysPath(kMarker).c_str()) != 0 && errno != ENOENT) log_text("unlink %s failed", kMarker);
}

}  // namespace

extern "C" int MORVSysbkpImportReport(const char *path, int mask, int option, MORVSYSBKPREPORT report,
                                      void *context) noexcept {
    Telling telling(report, context);
    if (!path) {
        BACKUP_LOG("parameter error");
        return -1;
    }
    const KeptError before;
    int result = -1;
    ServiceStop stop;
    if (is_running()) {
        MORV_LOG(LOG_ERR, "Another system configuration import task is running.");
        tell_problem("another import is running, or one was killed");
    } else {
        gimp_status = MORV_SYSBKP_ALL;
        result = Import(mask, option, stop, telling).run(path);
    }
    // Also that of the other import: the one who calls again decides.
    remove_marker();
    stop.end();
    const uint32_t event = option == 0 ? MORV_EVENT_CONFIG_IMPORTED : MORV_EVENT_CONFIG_IMPORTED_PARTLY;
    if (result == 0 &&
        MORVLogSet1(MORV_LOG_SYSTEM, MORV_LOG_INFO, event, nullptr, nullptr, nullptr, nullptr) != 0) {
        MORV_LOG(LOG_ERR, "the restored settings could not be recorded in the event log");
    }
    before.restore();
    return result;
}
