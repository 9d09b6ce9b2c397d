// The ring file: writing, and its size.
#include <errno.h>
#include <fcntl.h>
#include <morvsdk/file.h>
#include <morvsdk/internal/file.h>
#include <morvsdk/log.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "core/base/bytes.h"
#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/patience.h"
#include "core/file/replacement_file.h"
#include "core/file/sys_path.h"
#include "core/store/ring.h"
#include "log/log_file.h"

using namespace morv;

int glogsizeMax = 0x20000;

namespace {

constexpr size_t kTimeAt = 4;  // in a record

// What has kept a record from being written, in a line of the log that names the caller's line.
int not_written(const char *path, int code, int line = __builtin_LINE()) noexcept {
    const char *const why = code == ERR_NOT_ENOUGH_SPACE ? "the event is too long for it"
                            : code == ERR_FORMAT_ERROR   ? "it is damaged"
                                                         : strerror(errno);
    log_line(LOG_ERR, MORV_STEM, line, "cannot write to the log %s: %s", path, why);
    return -1;
}

// The records of a log that stay when it is made smaller, as the file that they make.
int smaller_ring(int fd, int64_t excess, std::string &file) {
    // What other programs that change sizes copy records through.
    constexpr size_t kCopyBuffer = 256;
    RingSnapshot ring;
    if (int code = ring.load(fd)) return code;
    RingWalk walk(ring, RingWalk::kGoOn);
    int64_t skipped = 0;
    while (skipped < excess && walk.next())
        skipped += int64_t(walk.record().size());
    file.assign("MORV", 4);
    file.resize(size_t{kRingFirst});
    while (walk.next()) {
        if (walk.record().size() < kCopyBuffer) {
            file.append(walk.record());
        } else if (!walk.wrapped()) {
            break;
        }
    }
    store_be32(file.data() + kRingHeadAt, uint32_t(kRingFirst));
    store_be32(file.data() + kRingTailAt, uint32_t(file.size()));
    return 0;
}

// Puts a file in the place of the log at `path`.
int replace_log(const char *path, const std::string &content) noexcept {
    char target[PATH_MAX], temporary[1024];
    if (!follow_links(path, target)) return ERR_OPEN_FAILED;
    if (MLIBFileITmpName(target, temporary, sizeof temporary) != 0) return ERR_OPEN_FAILED;
    ReplacementFile file(target, temporary + strlen(target));
    Patience patience(10);
    while (int code = file.create_own(0600)) {
        if (!may_pass(errno) || !patience.wait()) return code;
    }
    if (int code = file.write(content)) return code;
    return file.commit();
}

struct NewEvent {
    uint16_t type;
    uint32_t event;
    const char *arguments[4];
};

// Whether a log that is larger than glogsizeMax is made smaller first.
enum Size { kAsItIs, kWithinSize };

// How many bytes of a log go. Of several processes that find it too large at once, one makes it smaller.
struct Excess {
    int64_t bytes;
    int64_t beyond;  // or all that the file has beyond these, if it is not -1

    int64_t of(const OpenLog &log) const noexcept { return beyond < 0 ? bytes : log.size() - beyond; }
};

int shrink(const char *path, const Excess &excess) noexcept {
    OpenLog log;
    if (int code = log.open(path, O_RDWR)) {
        if (code != ERR_FILE_NOT_FOUND) MORV_LOG(LOG_ERR, "cannot open the log %s: %m", path);
        return -1;
    }
    const int code = no_throw([&] {
        // Others would write on into the file that is no longer there.
        if (!log.is_locked()) return int{ERR_LOCK_FAILED};
        const int64_t bytes = excess.of(log);
        if (excess.beyond >= 0 && bytes <= 0) return 0;
        std::string content;
        const int failed = smaller_ring(log.fd(), bytes, content);
        return failed ? failed : replace_log(path, content);
    });
    if (code == 0) return 0;
    MORV_LOG(LOG_ERR, "cannot make the log %s smaller: %s", path,
             code == ERR_FORMAT_ERROR ? "it is none" : strerror(errno));
    return -1;
}

int open_for_event(const char *path, Size size, OpenLog &log) noexcept {
    if (int code = log.open(path, O_RDWR | O_CREAT)) return code;
    if (size == kAsItIs || log.size() <= glogsizeMax || !log.is_locked()) return 0;
    log.close();
    shrink(path, {0, glogsizeMax});
    return log.open(path, O_RDWR | O_CREAT);
}

int write_event(const char *path, Size size, const NewEvent &event) noexcept {
    // Finding the user may take long: not while others wait for the log.
    char *record = nullptr;
    const int length = MORVLogInitEventBuffer(&record, event.type, event.event, event.arguments[0],
                                              event.arguments[1], event.arguments[2], event.arguments[3]);
    const MallocPtr<char> owner(record);
    if (length == 0) return not_written(path, errno == ENOMEM ? ERR_OUT_OF_MEMORY : ERR_NOT_ENOUGH_SPACE);
    OpenLog log;
    if (open_for_event(path, size, log) != 0) {
        syslog(LOG_ERR, "logfile %s open error while writing!", path);
        return -1;
    }
    // Those who have waited come in the order of their records.
    store_be32(record + kTimeAt, uint32_t(time(nullptr)));
    if (int code = ring_append(log.fd(), {record, size_t(length)}, glogsizeMax))
        return not_written(path, code);
    // The event is there by now: who heard of a failure would write it once more.
    if (log.size() == 0 && !sync_folder(path))
        MORV_LOG(LOG_ERR, "cannot sync the folder of the log %s: %m", path);
    if (log.mode() != 0600 && fchmod(log.fd(), 0600) != 0)
        MORV_LOG(LOG_ERR, "cannot set the mode of the log %s: %m", path);
    return 0;
}

}  // namespace

extern "C" int MORVLogInit(int fd) noexcept {
    return ring_init(fd);
}

extern "C" int MORVLogGetHead(int fd) noexcept {
    return ring_load_offset(fd, kRingHeadAt);
}

extern "C" int MORVLogGetTail(int fd) noexcept {
    return ring_load_offset(fd, kRingTailAt);
}

extern "C" int MORVLogSetHead(int fd, int offset) noexcept {
    return ring_store_offset(fd, kRingHeadAt, offset);
}

extern "C" int MORVLogSetTail(int fd, int offset) noexcept {
    return ring_store_offset(fd, kRingTailAt, offset);
}

extern "C" int MORVLogReadByte(int fd, void *buffer, int count) noexcept {
    if (!buffer || count < 0) return -1;
    for (int done = 0; done < count;) {
        const ssize_t got = read(fd, static_cast<char *>(buffer) + done, size_t(count - done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return -1;
        done += int(got);
    }
    return count;
}

extern "C" int MORVLogWriteByte(int fd, const void *buffer, int count) noexcept {
    if (buffer && count >= 0 && write_all(fd, {static_cast<const char *>(buffer), size_t(count)}))
        return count;
    syslog(LOG_ERR, "MORVLogWriteByte(): write() error!, input count is [%d]", count);
    return -1;
}

extern "C" int64_t MORVLogTell(int fd) noexcept {
    return lseek(fd, 0, SEEK_CUR);
}

extern "C" int MORVLogInitEventBuffer(char **ppBuffer, uint16_t type, uint32_t event, const char *argument1,
                                      const char *argument2, const char *argument3,
                                      const char *argument4) noexcept {
    if (!ppBuffer) return 0;
    const char *const given[] = {
        program_invocation_short_name, MORVLogObtainUser(), argument1, argument2, argument3, argument4};
    // Where a record has the lengths of its texts.
    constexpr size_t kLengthAt[] = {8, 10, 16, 18, 20, 22};
    std::string_view texts[std::size(given)];
    size_t length = kRingRecordFixed;
    for (size_t i = 0; i < std::size(given); ++i) {
        if (given[i]) texts[i] = given[i];
        length += texts[i].size();
        if (length > kRingRecordMost) {
            errno = EMSGSIZE;
            return 0;
        }
    }
    char *const record = static_cast<char *>(malloc(length));
    if (!record) return 0;
    store_be16(record, uint16_t(length));
    store_be16(record + 2, type);
    store_be32(record + kTimeAt, uint32_t(time(nullptr)));
    store_be32(record + 12, event);
    char *at = record + kRingRecordFixed;
    for (size_t i = 0; i < std::size(given); ++i) {
        store_be16(record + kLengthAt[i], uint16_t(texts[i].size()));
        at = std::copy(texts[i].begin(), texts[i].end(), at);
    }
    *ppBuffer = record;
    return int(length);
}

extern "C" int MORVLogSet1a(const char *path, uint16_t type, uint32_t event, const char *argument1,
                            const char *argument2, const char *argument3, const char *argument4) noexcept {
    if (!path) return -1;
    return write_event(path, kAsItIs, {type, event, {argument1, argument2, argument3, argument4}});
}

extern "C" int MORVLogSet1(int log, uint16_t type, uint32_t event, const char *argument1,
                           const char *argument2, const char *argument3, const char *argument4) noexcept {
    LogPlace place;
    if (!find_known_log(log, MORV_LOG_FOR_WRITING, place)) return -1;
    if (!place.has_settings) {
        if (make_log_settings(kIfMissing) != 0) return MORV_FAIL(ERR_OPEN_FAILED, -1);
    } else if (log >= MORV_LOG_CONNECTION) {
        syslog(LOG_INFO, "MORV : log file %s opened", kLogConf);
    }
    glogsizeMax = place.size;
    // So that an argument that is there, but empty, takes a byte.
    const auto stored = [](const char *text) { return text && !*text ? " " : text; };
    // The default is no reason to drop what somebody has made room for.
    const bool shrinks = place.size_is_set || !place.has_settings;
    return write_event(
        SysPath(place.path).c_str(), shrinks ? kWithinSize : kAsItIs,
        {type, event, {stored(argument1), stored(argument2), stored(argument3), stored(argument4)}});
}

extern "C" int MORVLogChangeSize_a(int excess, const char *path) noexcept {
    if (!path) return -1;
    return shrink(path, {excess, -1});
}

extern "C" int MORVLogChangeSize(int size, int log) noexcept {
    LogPlace place;
    if (!find_known_log(log, MORV_LOG_FOR_READING, place) || size < 0) return -1;
    const SysPath path(place.path);
    struct stat st;
    if (stat(path.c_str(), &st) != 0) return errno == ENOENT ? 0 : -1;
    return st.st_size <= size ? 0 : shrink(path.c_str(), {0, size});
}
