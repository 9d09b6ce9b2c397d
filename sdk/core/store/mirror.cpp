#include "core/store/mirror.h"

#include <db_185.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <morvsdk/error.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/random.h>
#include <unistd.h>

#include <new>

#include "core/base/bytes.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/file/aside.h"
#include "core/file/lock_table.h"
#include "core/file/sys_path.h"
#include "core/store/mirror_mode.h"
#include "core/store/native_db.h"
#include "core/store/records.h"
#include "core/store/store_handle.h"

namespace morv {

namespace {

constexpr uint64_t kLeastSize = 8192;  // two pages: a smaller file is no whole btree
constexpr int kRounds = 8;
constexpr int kBuilderWait = 1200;  // for another builder: 60 s in steps of 50 ms
constexpr std::string_view kStateKey = "#MORV@SOURCES";
constexpr std::string_view kSyncKey(MORV_BDB_SYNC_TIME, MORV_BDB_SYNC_TIME_LENGTH);
constexpr char kDeprecatedText[] = MORV_BDB_DEPRECATED;  // its NUL is a part of the key
constexpr std::string_view kDeprecatedKey = {kDeprecatedText, sizeof kDeprecatedText};
static_assert(sizeof kDeprecatedText == MORV_BDB_DEPRECATED_LENGTH);

// What becomes of an attempt to open: besides 0 and error codes.
constexpr int kIncomplete = -1;  // to be built
constexpr int kMixed = -2;       // stores of two buildings: another process is at work

enum class Standing { kCurrent, kReplaced, kStale };

struct StorePath {
    char text[PATH_MAX];
    StorePath(const char *prefix, const MirrorStore &store) noexcept {
        const int length = snprintf(text, sizeof text, "%s%s", prefix, store.suffix);
        if (length < 0 || size_t(length) >= sizeof text) text[0] = '\0';
    }
};

// ---- The record of the files' state ---------------------------------------------------------------------

struct StateRecord {
    uint64_t building;
    FileState source[kMostSources];
};

StateRecord state_of_mirror(const Mirror &mirror) noexcept {
    StateRecord record = {};
    record.building = mirror.building;
    memcpy(record.source, mirror.source, sizeof record.source);
    return record;
}

std::string_view bytes_of(const StateRecord &record) noexcept {
    return {reinterpret_cast<const char *>(&record), sizeof record};
}

// 0, kIncomplete when the store holds none, or an error code.
int read_state(MORVBDB *db, StateRecord *record) noexcept {
    std::string_view bytes;
    const int code = find_record(db, kStateKey, &bytes);
    if (code == ERR_KEY_NOT_FOUND) return kIncomplete;
    if (code) return code;
    if (bytes.size() != sizeof *record) return kIncomplete;
    memcpy(record, bytes.data(), sizeof *record);
    return 0;
}

int read_number(MORVBDB *db, std::string_view key, int32_t *number) noexcept {
    std::string_view bytes;
    if (const int code = find_record(db, key, &bytes)) return code;
    if (bytes.size() != sizeof *number) return ERR_KEY_NOT_FOUND;
    *number = static_cast<int32_t>(load_native32(bytes.data()));
    return 0;
}

// ---- Opening --------------------------------------------------------------------------------------------

// A store that somebody else put there, or a link, is not used.
bool trustworthy(const struct stat &st) noexcept {
    return S_ISREG(st.st_mode) && (st.st_uid == 0 || st.st_uid == geteuid());
}

bool is_too_small(const StorePath &path, const struct stat &st) noexcept {
    if (uint64_t(st.st_size) >= kLeastSize) return false;
    MORV_LOG(LOG_NOTICE, "st_size(%s)=%llu, so rebuild db.", path.text,
             static_cast<unsigned long long>(st.st_size));
    return true;
}

bool is_same_file(const Mirror &mirror, int slot, const struct stat &st) noexcept {
    return mirror.file[slot].device == st.st_dev && mirror.file[slot].inode == st.st_ino;
}

int open_one(Mirror &mirror, const MirrorStore &store, const char *prefix) noexcept {
    const StorePath path(prefix, store);
    struct stat st;
    if (lstat(path.text, &st) != 0) return errno == ENOENT ? kIncomplete : ERR_OPEN_FAILED;
    if (!trustworthy(st) || is_too_small(path, st)) return kIncomplete;
    MORVBDB *db;
    const int code = open_store(path.text, O_RDWR, store.duplicates, kModeAsItIs, &db);
    if (code == ERR_STORE_INVALID || code == ERR_FILE_NOT_FOUND) return kIncomplete;
    if (code) {
        MORV_LOG(LOG_ERR, "MORVBDbOpen [%s] failed. morverr=0x%04X", path.text, unsigned(code));
        return code;
    }
    mirror.store[store.slot] = db;
    // A store of the other kind would collect records where one is to be replaced.
    if (btree_has_duplicates(db->pDb->internal) != store.duplicates) return kIncomplete;
    struct stat opened;
    if (fstat(db->pDb->fd(db->pDb), &opened) != 0) return ERR_STAT_FAILED;
    mirror.file[store.slot] = {opened.st_dev, opened.st_ino};
    if (!is_same_file(mirror, store.slot, st)) return kMixed;

    StateRecord state;
    if (const int missing = read_state(db, &state)) return missing;
    if (mirror.building == 0) {
        mirror.building = state.building;
        memcpy(mirror.source, state.source, sizeof state.source);
    }
    const StateRecord others = state_of_mirror(mirror);
    return memcmp(&state, &others, sizeof state) == 0 ? 0 : kMixed;
}

Mirror *new_mirror(const MirrorKind &kind) noexcept {
    Mirror *const mirror = new (std::nothrow) Mirror();
    if (mirror) mirror->kind = &kind;
    return mirror;
}

int open_stores(const MirrorKind &kind, const char *prefix, bool all, MirrorPtr *mirror) noexcept {
    MirrorPtr opened(new_mirror(kind));
    if (!opened) return ERR_OUT_OF_MEMORY;
    for (const MirrorStore &store : kind.stores) {
        if (const int code = open_one(*opened, store, prefix)) return code;
        if (!all) break;
    }
    *mirror = std::move(opened);
    return 0;
}

// ---- Looking whether it is current ----------------------------------------------------------------------

int stat_error(int error) noexcept {
    switch (error) {
        case EACCES:
            return ERR_ACCESS_DENIED;
        case ENOMEM:
            return ERR_OUT_OF_MEMORY;
        case ENOENT:
            return ERR_PATH_NOT_FOUND;
        default:
            return ERR_STAT_FAILED;
    }
}

// What the files of an open mirror look like: the stores first, then the sources. No page is read that the
// opening has not read.
int look(const Mirror &mirror, Standing *standing) noexcept {
    const MirrorKind &kind = *mirror.kind;
    const SysPath prefix(kind.prefix);
    for (const MirrorStore &store : kind.stores) {
        const StorePath path(prefix.c_str(), store);
        struct stat st;
        *standing = Standing::kStale;
        if (lstat(path.text, &st) != 0) {
            MORV_LOG(LOG_NOTICE, "stat(%s) failed, so rebuild db. (errno=%s)", path.text, strerror(errno));
            return 0;
        }
        if (is_too_small(path, st)) return 0;
        if (!trustworthy(st)) {
            MORV_LOG(LOG_NOTICE, "%s is not root's, so rebuild db.", path.text);
            return 0;
        }
        MORVBDB *const db = mirror.store[store.slot];
        if (!db) continue;
        *standing = Standing::kReplaced;
        if (!is_same_file(mirror, store.slot, st)) return 0;
        int32_t deprecated;
        if (const int code = read_number(db, kDeprecatedKey, &deprecated)) return code;
        if (deprecated == 1) return 0;
    }
    for (size_t i = 0; i < kind.sources.size(); ++i) {
        struct stat st;
        if (stat(SysPath(kind.sources[i]).c_str(), &st) != 0) return stat_error(errno);
        *standing = Standing::kStale;
        for (const MirrorStore &store : kind.stores) {
            MORVBDB *const db = mirror.store[store.slot];
            if (!db || store.source != int(i)) continue;
            int32_t sync_time;
            if (const int code = read_number(db, kSyncKey, &sync_time)) return code;
            if (sync_time != static_cast<int32_t>(st.st_mtime)) return 0;
        }
        if (mirror.source[i] != state_of(st)) return 0;
    }
    *standing = Standing::kCurrent;
    return 0;
}

// ---- Building -------------------------------------------------------------------------------------------

// The lock of the builders; given up when the descriptor is closed. Its file is not removed.
int lock_builders(const MirrorKind &kind, UniqueFd *lock) noexcept {
    const SysPath path(kind.lock);
    constexpr int kFlags = O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    lock->reset(open(path.c_str(), kFlags, 0600));
    if (!*lock) {
        move_aside_unless_regular(path.c_str());
        if (const int code = make_lock_files()) return code;
        lock->reset(open(path.c_str(), kFlags, 0600));
    }
    if (!*lock) return errno == EACCES ? ERR_ACCESS_DENIED : ERR_OPEN_FAILED;
    for (int waited = 0; flock(lock->get(), LOCK_EX | LOCK_NB) != 0; ++waited) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || waited == kBuilderWait) return ERR_LOCK_FAILED;
        usleep(50000);
    }
    return 0;
}

void remove_stores(const MirrorKind &kind, const char *prefix) noexcept {
    for (const MirrorStore &store : kind.stores) {
        const StorePath path(prefix, store);
        if (unlink(path.text) != 0) move_aside_unless_regular(path.text);
    }
}

int create_stores(const MirrorKind &kind, const char *prefix, MirrorPtr *mirror) noexcept {
    MirrorPtr made(new_mirror(kind));
    if (!made) return ERR_OUT_OF_MEMORY;
    const mode_t mode = mirror_mode();
    for (const MirrorStore &store : kind.stores) {
        const StorePath path(prefix, store);
        if (const int code = open_store(path.text, O_RDWR | O_CREAT | O_EXCL, store.duplicates, mode,
                                        &made->store[store.slot])) {
            MORV_LOG(LOG_ERR, "MORVBDbOpen [%s] failed. morverr=0x%04X", path.text, unsigned(code));
            return code;
        }
    }
    *mirror = std::move(made);
    return 0;
}

// Closing does not say whether everything could be written out; this does.
int write_out(const Mirror &mirror) noexcept {
    for (MORVBDB *db : mirror.store) {
        if (db && db->pDb->sync(db->pDb, 0) != 0)
            return errno == ENOSPC ? int{ERR_NOT_ENOUGH_SPACE} : int{ERR_STORE_WRITE_FAILED};
    }
    return 0;
}

int rename_stores(const MirrorKind &kind, const char *from, const char *to) noexcept {
    for (const MirrorStore &store : kind.stores) {
        const StorePath old_path(from, store);
        const StorePath new_path(to, store);
        move_aside_unless_regular(new_path.text);
        if (rename(old_path.text, new_path.text) == 0) continue;
        const int error = errno;
        MORV_LOG(LOG_ERR, "rename(%s, %s) = (%d)/%s", old_path.text, new_path.text, -1, strerror(error));
        return error == EACCES ? ERR_ACCESS_DENIED : ERR_RENAME_FAILED;
    }
    return 0;
}

// Whether there was a mirror before. Then what cannot be built anew is one that cannot be opened.
enum class Building { kFirst, kAgain };

// With the builders' lock held: builds below a temporary prefix and puts the stores in place below `prefix`.
int build_at(const MirrorKind &kind, const char *prefix, const char *temporary, Building building) noexcept {
    remove_stores(kind, temporary);  // of a builder that was killed
    MirrorPtr fresh;
    int code = create_stores(kind, temporary, &fresh);
    if (code == 0) code = build_stores(*fresh);
    if (code == 0) code = write_out(*fresh);
    fresh.reset();
    if (code && code != ERR_OUT_OF_MEMORY && building == Building::kAgain) {
        MORV_LOG(LOG_ERR, "%s failed, morverr=0x%04X", kind.rebuild_name, unsigned(code));
        code = ERR_OPEN_FAILED;
    }
    if (code == 0) {
        MirrorPtr old;
        open_stores(kind, prefix, false, &old);
        code = rename_stores(kind, temporary, prefix);
        // Who has the old stores open finds this mark.
        if (code == 0 && old) MORVBDbDeprecatedSet(old->store[kind.stores[0].slot], 1);
    }
    if (code) remove_stores(kind, temporary);
    return code;
}

// Builds the stores below `prefix` unless, once it is our turn, another process has done it.
int build_missing(const MirrorKind &kind, const char *prefix, bool anyway, Building building) noexcept {
    const bool live = strcmp(prefix, SysPath(kind.prefix).c_str()) == 0;
    char temporary[PATH_MAX];
    const int length = live ? snprintf(temporary, sizeof temporary, "%s", SysPath(kind.temporary).c_str())
                            : snprintf(temporary, sizeof temporary, "%s.tmp", prefix);
    if (length <= 0 || size_t(length) >= sizeof temporary) return ERR_OPEN_FAILED;
    UniqueFd lock;
    if (const int code = lock_builders(kind, &lock)) return code;
    if (!anyway) {
        MirrorPtr there;
        Standing standing = Standing::kStale;
        if (open_stores(kind, prefix, true, &there) == 0 &&
            (!live || (look(*there, &standing) == 0 && standing == Standing::kCurrent))) {
            return 0;
        }
    }
    return build_at(kind, prefix, temporary, building);
}

// Tells other holders of the same old stores. A store that is still the live one was changed in place, and
// must not be written to from a handle that has old pages in memory.
void mark_replaced(const Mirror &mirror, const char *prefix) noexcept {
    for (const MirrorStore &store : mirror.kind->stores) {
        struct stat st;
        if (mirror.store[store.slot] && lstat(StorePath(prefix, store).text, &st) == 0 &&
            !is_same_file(mirror, store.slot, st)) {
            MORVBDbDeprecatedSet(mirror.store[store.slot], 1);
        }
    }
}

}  // namespace

// ---- The engine's functions -----------------------------------------------------------------------------

FileState state_of(const struct stat &st) noexcept {
    return {uint64_t(st.st_dev), uint64_t(st.st_ino), uint64_t(st.st_size), uint64_t(st.st_mtim.tv_sec),
            uint64_t(st.st_mtim.tv_nsec)};
}

void MirrorCloser::operator()(Mirror *mirror) const noexcept {
    for (MORVBDB *db : mirror->store) {
        if (db) MORVBDbClose(db);
    }
    delete mirror;
}

int open_mirror(const MirrorKind &kind, Extent extent, MirrorPtr *mirror) noexcept {
    const SysPath prefix(kind.prefix);
    for (int round = 0; round < kRounds; ++round) {
        MirrorPtr opened;
        Standing standing = Standing::kStale;
        int code = open_stores(kind, prefix.c_str(), extent == Extent::kWhole, &opened);
        if (code == 0) code = look(*opened, &standing);
        if (code > 0) return code;
        if (code == 0 && standing == Standing::kCurrent) {
            *mirror = std::move(opened);
            return 0;
        }
        if (code == kMixed || standing == Standing::kReplaced) {
            // Another process is putting new stores in place; one that was killed at it never ends.
            usleep(1000);
            if (round < kRounds / 2) continue;
        }
        const Building building = code == kIncomplete ? Building::kFirst : Building::kAgain;
        if ((code = build_missing(kind, prefix.c_str(), code == kMixed, building))) return code;
    }
    return ERR_OPEN_FAILED;
}

int open_mirror_at(const MirrorKind &kind, const char *prefix, MirrorPtr *mirror, bool *built) noexcept {
    *built = false;
    for (int round = 0; round < kRounds; ++round) {
        const int code = open_stores(kind, prefix, true, mirror);
        if (code >= 0) return code;
        if (code == kMixed) {
            usleep(1000);
            if (round < kRounds / 2) continue;
        }
        if (const int failed = build_missing(kind, prefix, code == kMixed, Building::kFirst)) return failed;
        *built = true;
    }
    return ERR_OPEN_FAILED;
}

int need_store(Mirror &mirror, int slot) noexcept {
    if (mirror.store[slot]) return 0;
    for (const MirrorStore &store : mirror.kind->stores) {
        if (store.slot != slot) continue;
        const int code = open_one(mirror, store, SysPath(mirror.kind->prefix).c_str());
        if (code == 0) {
            int32_t sync_time;
            int32_t deprecated;
            if (const int missing = read_number(mirror.store[slot], kSyncKey, &sync_time)) return missing;
            return read_number(mirror.store[slot], kDeprecatedKey, &deprecated);
        }
        if (mirror.store[slot]) MORVBDbClose(mirror.store[slot]);
        mirror.store[slot] = nullptr;
        return code < 0 ? ERR_STORE_INVALID : code;
    }
    return ERR_BAD_PARAMETERS;
}

int need_all_stores(Mirror &mirror) noexcept {
    for (const MirrorStore &store : mirror.kind->stores) {
        if (const int code = need_store(mirror, store.slot)) return code;
    }
    return 0;
}

int refresh_mirror(MirrorPtr *mirror, bool *replaced) noexcept {
    const MirrorKind &kind = *(*mirror)->kind;
    const SysPath prefix(kind.prefix);
    Standing standing;
    if (const int code = look(**mirror, &standing)) return code;
    *replaced = standing != Standing::kCurrent;
    if (!*replaced) return 0;
    if (standing == Standing::kStale) {
        if (const int code = build_missing(kind, prefix.c_str(), false, Building::kAgain)) return code;
        mark_replaced(**mirror, prefix.c_str());
    }
    MirrorPtr fresh;
    bool built;
    if (const int code = open_mirror_at(kind, prefix.c_str(), &fresh, &built)) return code;
    *mirror = std::move(fresh);
    return 0;
}

int rebuild_mirror(const MirrorKind &kind) noexcept {
    return build_missing(kind, SysPath(kind.prefix).c_str(), true, Building::kAgain);
}

int build_stores(Mirror &mirror) noexcept {
    for (const MirrorStore &store : mirror.kind->stores) {
        if (const int code = clear_store(mirror.store[store.slot])) return code;
    }
    if (const int code = mirror.kind->build(mirror)) return code;
    if (getrandom(&mirror.building, sizeof mirror.building, 0) != sizeof mirror.building)
        return ERR_SYS_UNKNOWN;
    mirror.building |= 1;
    return mark_stores(mirror);
}

int mark_stores(Mirror &mirror) noexcept {
    const StateRecord state = state_of_mirror(mirror);
    for (const MirrorStore &store : mirror.kind->stores) {
        MORVBDB *const db = mirror.store[store.slot];
        const auto seconds = static_cast<int32_t>(mirror.source[store.source].seconds);
        if (MORVBDbConfSyncTimeSet(db, seconds) != 0 || MORVBDbDeprecatedSet(db, 0) != 0) return MLIBErrGet();
        if (const int code = put_record(db, kStateKey, bytes_of(state))) return code;
    }
    return 0;
}

int publish_stores(Mirror &mirror) noexcept {
    if (const int code = write_out(mirror)) return code;
    if (const int code = mark_stores(mirror)) return code;
    return write_out(mirror);
}

int publish_mirror(MirrorPtr mirror) noexcept {
    return publish_stores(*mirror);
}

void forget_mirror(const MirrorKind &kind) noexcept {
    const SysPath prefix(kind.prefix);
    MirrorPtr live;
    if (open_stores(kind, prefix.c_str(), false, &live) == 0)
        erase_record(live->store[kind.stores[0].slot], kStateKey);
}

MirrorPtr current_mirror(const MirrorKind &kind) noexcept {
    MirrorPtr mirror;
    Standing standing;
    if (open_stores(kind, SysPath(kind.prefix).c_str(), true, &mirror) == 0 &&
        look(*mirror, &standing) == 0 && standing == Standing::kCurrent) {
        return mirror;
    }
    return nullptr;
}

}  // namespace morv
