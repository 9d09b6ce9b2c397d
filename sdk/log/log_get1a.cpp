#include <errno.h>
#include <fcntl.h>
#include <morvsdk/log.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/replacement_file.h"
#include "core/file/tree.h"
#include "core/store/ring.h"
#include "log/event_texts.h"
#include "log/log_file.h"

using namespace morv;

namespace {

// Keeps a log as it is before its ends are set: what lies outside of them may still be records.
int keep_damaged(const char *path, int log) noexcept {
    char target[PATH_MAX];
    const int length = snprintf(target, sizeof target, "%s.damaged", path);
    if (length < 0 || size_t(length) >= sizeof target) return ERR_OPEN_FAILED;
    ReplacementFile file(target);
    if (int code = file.create_own(0600)) return code;
    char piece[16 * 1024];
    off_t at = 0;
    for (ssize_t got; (got = pread(log, piece, sizeof piece, at)) != 0; at += got) {
        if (got < 0) return ERR_READ_FAILED;
        if (int code = file.write({piece, size_t(got)})) return code;
    }
    return file.commit();
}

// Walks over the ring, and puts right what the header says of its ends where that does not agree.
void repair(const OpenLog &log, const char *path, const RingSnapshot &ring, bool writes) noexcept {
    RingWalk walk(ring);
    while (walk.next()) {
    }
    if (walk.damage() != 0) syslog(LOG_ERR, "Log format error line%d", __LINE__);
    if (walk.position() == ring.tail() && ring.head_is_sound()) return;
    // Without the lock, a writer may be at it.
    if (!writes || !log.is_locked()) return;
    if (keep_damaged(path, log.fd()) != 0)
        MORV_LOG(LOG_ERR, "cannot keep the damaged log as %s.damaged: %m", path);
    if ((!ring.head_is_sound() && MORVLogSetHead(log.fd(), kRingFirst) < 0) ||
        MORVLogSetTail(log.fd(), walk.position()) < 0) {
        MORV_LOG(LOG_ERR, "cannot repair the log %s: %m", path);
    }
}

// Empties the file for the output, unless it is the log itself.
bool make_empty(int output, const struct stat &log) noexcept {
    struct stat st;
    if (fstat(output, &st) != 0) return false;
    if (!same_file(st, log)) return !S_ISREG(st.st_mode) || ftruncate(output, 0) == 0;
    errno = EINVAL;
    return false;
}

int read_ring(const char *path, RingSnapshot &ring) noexcept {
    OpenLog log;
    const bool writes = access(path, W_OK) == 0;
    if (int code = log.open(path, writes ? O_RDWR : O_RDONLY)) return code;
    if (!log.is_locked()) syslog(LOG_ERR, "log file lock failed");
    if (int code = ring.load(log.fd())) return code;
    repair(log, path, ring, writes);
    return 0;
}

int write_lines(const RingSnapshot &ring, const char *language, int output) {
    constexpr size_t kPiece = size_t{48} * 1024;
    EventLines lines(language);
    std::string text;
    text.reserve(2 * kPiece);
    RingWalk walk(ring);
    while (walk.next()) {
        EventFields event;
        if (parse_event(walk.record().substr(2), event)) lines.append(event, text);
        if (text.size() < kPiece) continue;
        if (!write_all(output, text)) return ERR_WRITE_FAILED;
        text.clear();
    }
    return write_all(output, text) ? 0 : ERR_WRITE_FAILED;
}

}  // namespace

extern "C" int MORVLogGet1a(const char *path, const char *output, const char *language) noexcept {
    struct stat st;
    if (!path || stat(path, &st) != 0) {
        syslog(LOG_ERR, "log file %s does not exist", path ? path : "");
        return -1;
    }
    const UniqueFd file(open(output ? output : "./output", O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    if (!file || !make_empty(file.get(), st)) {
        syslog(LOG_ERR, "output log file open failed [%d].\n", errno);
        return -1;
    }
    RingSnapshot ring;
    if (int code = read_ring(path, ring)) {
        MORV_LOG(LOG_ERR, "cannot read the log %s: %s", path,
                 code == ERR_FORMAT_ERROR ? "it is none" : strerror(errno));
        return -1;
    }
    if (no_throw([&] { return write_lines(ring, language ? language : "enu", file.get()); }) == 0) return 0;
    MORV_LOG(LOG_ERR, "cannot write %s: %m", output ? output : "./output");
    return -1;
}
