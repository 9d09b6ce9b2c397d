// Files of records {time, address}: the failed logins, and the addresses that are blocked. A record without
// a time or an address is an empty slot.
//
// A file is read a window at a time. It is not mapped itself: who may write it may also cut it, and a
// mapping of what is no more there ends the process that looks at it.
#pragma once

#include <fcntl.h>
#include <morvsdk/autoblock.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/mman.h>

#include <span>
#include <string_view>

#include "core/base/guard.h"
#include "core/store/address_set.h"

namespace morv {

using AddressRecord = MORV_AUTOBLOCK_IP;
static_assert(sizeof(AddressRecord) == 8);

inline bool is_empty(const AddressRecord &record) noexcept {
    return record.time == 0 || record.address == 0;
}

// A record of this moment.
AddressRecord record_of(uint32_t address, int64_t now) noexcept;

// Which times have passed. A record of a time to come has not, however far away it is.
class RecordAge {
  public:
    // Records as old as `most` seconds have passed; 0 or less: none has.
    static RecordAge limit(int64_t now, int64_t most) noexcept {
        return most > 0 ? RecordAge(now, most) : RecordAge();
    }
    // The same, but with 0 all have that are not of a time to come.
    static RecordAge period(int64_t now, int64_t seconds) noexcept { return RecordAge(now, seconds); }

    bool has_passed(int32_t time) const noexcept { return key(time) <= last_; }

    // The same as an unsigned comparison, for those who compare many at once; without `any` none has passed.
    bool any() const noexcept { return last_ >= 0; }
    uint32_t bias() const noexcept { return bias_; }
    uint32_t last() const noexcept { return uint32_t(last_); }

  private:
    RecordAge() noexcept : bias_(0), last_(-1) {}
    RecordAge(int64_t now, int64_t seconds) noexcept;
    int64_t key(int32_t time) const noexcept { return int64_t{uint32_t(time) ^ bias_}; }

    uint32_t bias_;
    int64_t last_;  // the key of the last time that has passed; -1: none
};

// ---- records in memory -----------------------------------------------------------------------------------

// Whether one of the records has the address and has not passed.
bool has_address(std::span<const AddressRecord> records, uint32_t address, const RecordAge &age) noexcept;

// Moves the records that are neither empty, nor have passed, nor are of the set to the front, and answers how
// many there are. The set keeps count of those that it met.
size_t keep_others(std::span<AddressRecord> records, AddressSet &set, const RecordAge &age) noexcept;

// The part of a window that was changed.
struct Changed {
    size_t begin = 0, end = 0;
    void add(size_t at) noexcept {
        if (begin == end) begin = at;
        end = at + 1;
    }
};

// Makes the records of the address that have not passed empty.
Changed clear_address(std::span<AddressRecord> records, uint32_t address, const RecordAge &age) noexcept;

// Counts the failures of an address, and finds a place for a new one.
class FailureCount {
  public:
    FailureCount(const AddressRecord &record, const RecordAge &age) noexcept : new_(record), age_(age) {}
    Changed look(std::span<AddressRecord> records) noexcept;
    int64_t count() const noexcept { return count_; }  // with the new one
    bool is_placed() const noexcept { return placed_; }

  private:
    Changed look_at_each(std::span<AddressRecord> records, size_t from, size_t to, Changed changed) noexcept;

    AddressRecord new_;
    RecordAge age_;
    int64_t count_ = 1;
    bool placed_ = false;
};

// ---- files -----------------------------------------------------------------------------------------------

inline constexpr size_t kWindowBytes = 65536;

// Memory for a part of a file.
class RecordWindow {
  public:
    RecordWindow() noexcept = default;
    ~RecordWindow();
    RecordWindow(const RecordWindow &) = delete;
    RecordWindow &operator=(const RecordWindow &) = delete;

    // Answers 0 or ERR_MAP_FAILED. protection: what is asked for beyond reading and writing
    int map(int protection = 0, int flags = MAP_PRIVATE) noexcept;

    std::span<AddressRecord> records() const noexcept {
        return {static_cast<AddressRecord *>(at_), kWindowBytes / sizeof(AddressRecord)};
    }

    // Reads the records from where `fd` stands, of at most `limit` bytes; none at the end of the file.
    int read(int fd, int64_t limit, std::span<AddressRecord> &records) noexcept;

  private:
    void *at_ = MAP_FAILED;
    bool is_common_ = false;
};

// Writes the changed ones of records that lie at `offset`.
int write_changed(int fd, int64_t offset, std::span<const AddressRecord> records,
                  const Changed &changed) noexcept;

inline std::string_view bytes_of(std::span<const AddressRecord> records) noexcept {
    return {reinterpret_cast<const char *>(records.data()), records.size_bytes()};
}

// Calls `each` with the records of every window of a file and their offset, until it answers something else
// than 0. Answers that, or 0 or ERR_READ_FAILED.
template <class F>
int for_each_window(int fd, RecordWindow &window, int64_t from, int64_t end, F each) noexcept {
    if (from > 0 && lseek(fd, off_t(from), SEEK_SET) < 0) return ERR_READ_FAILED;
    while (end - from >= int64_t{sizeof(AddressRecord)}) {
        std::span<AddressRecord> records;
        if (int code = window.read(fd, end - from, records)) return code;
        if (records.empty()) break;
        if (int result = each(records, from)) return result;
        from += int64_t(records.size_bytes());
    }
    return 0;
}

int size_of(int fd, int64_t &size) noexcept;

inline constexpr int kOpenTries = 30;  // one for each second that there is patience

// Opens and locks a file as MORVAutoBlockFileOpen does: a new one has mode 0666. Answers 0,
// ERR_FILE_NOT_FOUND, ERR_OPEN_FAILED (no regular file) or ERR_LOCK_FAILED.
int open_locked(const char *path, int flags, int lock, UniqueFd &fd) noexcept;

// Opens a file for reading, with a shared lock if there is one to be had within a second, and without it else:
// anybody who may read a file may hold a lock on it for ever. For lists that are replaced as a whole, and where
// a record that is just being written may be missed. Answers 0, ERR_FILE_NOT_FOUND or ERR_OPEN_FAILED.
int open_to_read(const char *path, int flags, UniqueFd &fd) noexcept;

// How a file is made that others may have made at the same moment.
enum class Missing { kIsFine, kIsMade };

// How long an exclusive lock is waited for. One that all writers must have is not to be done without; one that
// only some ask for is, after a second.
enum class Lock { kIsNeeded, kIsTried };

// The same as open_locked for a list that is replaced or moved away: the file is still the one that the path
// names when it is locked. Errors of opening that waiting does not cure are ERR_OPEN_FAILED at once. `mode`: of
// a new file, whatever the umask
int open_current(const char *path, int flags, Lock lock, Missing missing, mode_t mode, UniqueFd &fd) noexcept;

}  // namespace morv
