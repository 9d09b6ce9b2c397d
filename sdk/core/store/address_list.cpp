#include "core/store/address_list.h"

#include <errno.h>
#include <morvsdk/errcodes.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/file/patience.h"
#include "core/file/tree.h"

namespace morv {

namespace {

// Records are compared two at a time, without a branch for each, in blocks: what has something of interest
// in it is then looked at record by record.
using Lanes = uint32_t __attribute__((vector_size(16)));
constexpr size_t kBlock = 64;

// By reference: without vector instructions, no two compilers agree on how such a value is returned.
void load(Lanes &lanes, const AddressRecord *records) noexcept {
    memcpy(&lanes, records, sizeof lanes);
}

void fill(Lanes &lanes, uint32_t value) noexcept {
    lanes = Lanes{value, value, value, value};
}

bool any_lane(const Lanes &lanes) noexcept {
    return (lanes[0] | lanes[1] | lanes[2] | lanes[3]) != 0;
}

constexpr Lanes kTimes = {~0U, 0, ~0U, 0};
constexpr Lanes kAddresses = {0, ~0U, 0, ~0U};

bool block_has_address(const AddressRecord *records, const Lanes &wanted) noexcept {
    Lanes first = {}, second = {}, lanes;
    for (size_t i = 0; i < kBlock; i += 4) {
        load(lanes, records + i);
        first |= Lanes(lanes == wanted);
        load(lanes, records + i + 2);
        second |= Lanes(lanes == wanted);
    }
    return any_lane((first | second) & kAddresses);
}

}  // namespace

AddressRecord record_of(uint32_t address, int64_t now) noexcept {
    const auto time = int32_t(uint32_t(now));
    return {time != 0 ? time : 1, address};
}

RecordAge::RecordAge(int64_t now, int64_t seconds) noexcept {
    // From 2038 to 2106 the field has the times of then, as no record of before 1970 can be meant.
    const bool as_unsigned = now > INT32_MAX;
    bias_ = as_unsigned ? 0 : 0x80000000U;
    const int64_t first = as_unsigned ? 0 : INT32_MIN;
    int64_t passed;
    if (__builtin_sub_overflow(now, seconds, &passed)) passed = seconds > 0 ? INT64_MIN : INT64_MAX;
    last_ = passed < first ? -1 : std::min<int64_t>(passed, first + int64_t{UINT32_MAX}) - first;
}

bool has_address(std::span<const AddressRecord> records, uint32_t address, const RecordAge &age) noexcept {
    Lanes wanted;
    fill(wanted, address);
    size_t at = 0;
    for (size_t end = 0; at < records.size(); at = end) {
        end = std::min(at + kBlock, records.size());
        if (end - at == kBlock && !block_has_address(&records[at], wanted)) continue;
        for (size_t i = at; i < end; ++i) {
            if (records[i].address == address && !is_empty(records[i]) && !age.has_passed(records[i].time))
                return true;
        }
    }
    return false;
}

size_t keep_others(std::span<AddressRecord> records, AddressSet &set, const RecordAge &age) noexcept {
    size_t kept = 0;
    for (const AddressRecord record : records) {
        if (is_empty(record) || age.has_passed(record.time) || set.meet(record.address)) continue;
        records[kept++] = record;
    }
    return kept;
}

Changed clear_address(std::span<AddressRecord> records, uint32_t address, const RecordAge &age) noexcept {
    Lanes wanted;
    fill(wanted, address);
    Changed changed;
    for (size_t at = 0, end = 0; at < records.size(); at = end) {
        end = std::min(at + kBlock, records.size());
        if (end - at == kBlock && !block_has_address(&records[at], wanted)) continue;
        for (size_t i = at; i < end; ++i) {
            if (records[i].address != address || is_empty(records[i]) || age.has_passed(records[i].time))
                continue;
            records[i] = {};
            changed.add(i);
        }
    }
    return changed;
}

Changed FailureCount::look(std::span<AddressRecord> records) noexcept {
    Lanes wanted, bias, last;
    fill(wanted, new_.address);
    fill(bias, age_.bias());
    fill(last, age_.last());
    const Lanes times = age_.any() ? kTimes : Lanes{};
    Changed changed;
    for (size_t at = 0, end = 0; at < records.size(); at = end) {
        end = std::min(at + kBlock, records.size());
        if (end - at == kBlock) {
            Lanes address = {}, passed = {}, empty = {};
            for (size_t i = at; i < end; i += 2) {
                Lanes lanes;
                load(lanes, &records[i]);
                const auto zero = Lanes(lanes == 0);
                address |= Lanes(lanes == wanted);
                passed |= Lanes((lanes ^ bias) <= last) & ~zero;
                empty |= zero;
            }
            // Once the new record has its place, empty slots are of no interest.
            Lanes odd = (address & kAddresses) | (passed & times);
            if (!placed_) odd |= empty;
            if (!any_lane(odd)) continue;
        }
        changed = look_at_each(records, at, end, changed);
    }
    return changed;
}

Changed FailureCount::look_at_each(std::span<AddressRecord> records, size_t from, size_t to,
                                   Changed changed) noexcept {
    for (size_t i = from; i < to; ++i) {
        AddressRecord &record = records[i];
        const bool empty = is_empty(record);
        if (!empty && !age_.has_passed(record.time)) {
            if (record.address == new_.address) ++count_;
            continue;
        }
        if (empty && placed_) continue;
        record = placed_ ? AddressRecord{} : new_;
        placed_ = true;
        changed.add(i);
    }
    return changed;
}

// A window that was used before and is free: making one anew would cost a small list more than its search.
static void *spare_window = MAP_FAILED;

RecordWindow::~RecordWindow() {
    if (at_ == MAP_FAILED) return;
    if (spare_window == MAP_FAILED && is_common_)
        spare_window = at_;
    else
        munmap(at_, kWindowBytes);
}

int RecordWindow::map(int protection, int flags) noexcept {
    constexpr int kCommon = PROT_READ | PROT_WRITE;
    is_common_ = (protection | kCommon) == kCommon && (flags & (MAP_SHARED | MAP_PRIVATE)) != 0;
    if (is_common_ && spare_window != MAP_FAILED) {
        at_ = std::exchange(spare_window, MAP_FAILED);
        return 0;
    }
    // Without a kind of sharing the kernel refuses it, as it would for the file.
    const int kind = flags & (MAP_SHARED | MAP_PRIVATE) ? MAP_PRIVATE : 0;
    at_ = mmap(nullptr, kWindowBytes, protection | kCommon, kind | MAP_ANONYMOUS, -1, 0);
    return at_ == MAP_FAILED ? ERR_MAP_FAILED : 0;
}

int RecordWindow::read(int fd, int64_t limit, std::span<AddressRecord> &records) noexcept {
    auto *const bytes = static_cast<char *>(at_);
    size_t wanted = size_t(std::min<int64_t>(limit, kWindowBytes));
    wanted -= wanted % sizeof(AddressRecord);
    size_t size = 0;
    while (size < wanted) {
        const ssize_t got = ::read(fd, bytes + size, wanted - size);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return ERR_READ_FAILED;
        if (got == 0) break;
        size += size_t(got);
    }
    records = {static_cast<AddressRecord *>(at_), size / sizeof(AddressRecord)};
    return 0;
}

int write_changed(int fd, int64_t offset, std::span<const AddressRecord> records,
                  const Changed &changed) noexcept {
    std::string_view bytes = bytes_of(records.subspan(changed.begin, changed.end - changed.begin));
    offset += int64_t(changed.begin * sizeof(AddressRecord));
    while (!bytes.empty()) {
        const ssize_t done = pwrite(fd, bytes.data(), bytes.size(), off_t(offset));
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return ERR_WRITE_FAILED;
        bytes.remove_prefix(size_t(done));
        offset += done;
    }
    return 0;
}

int size_of(int fd, int64_t &size) noexcept {
    struct stat st;
    if (fstat(fd, &st) != 0) return ERR_STAT_FAILED;
    size = st.st_size;
    return 0;
}

namespace {

constexpr unsigned kTryingSeconds = 1;

// Only what is asked for as such waits on a pipe or becomes a terminal; and tools get none of it.
constexpr int kSafe = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// For MORVAutoBlockFileOpen, whose mode does not depend on the umask. It is the process's, threads and all:
// what the library opens for itself goes without.
UniqueFd open_unmasked(const char *path, int flags, mode_t mode) noexcept {
    if (!(flags & O_CREAT)) return UniqueFd(open(path, flags | kSafe));
    const mode_t mask = umask(0);
    UniqueFd fd(open(path, flags | kSafe, mode));
    const int reason = errno;
    umask(mask);
    errno = reason;
    return fd;
}

UniqueFd make_file(const char *path, int flags, mode_t mode) noexcept {
    UniqueFd fd(open(path, flags | kSafe | O_CREAT | O_EXCL, mode));
    if (fd && fchmod(fd.get(), mode) != 0) fd.reset();
    return fd;
}

// 0, or ERR_OPEN_FAILED: waiting makes nothing else of it.
int check_kind(const UniqueFd &fd) noexcept {
    struct stat st;
    if (!fd) return errno == ELOOP || errno == EISDIR || errno == ENXIO ? ERR_OPEN_FAILED : 0;
    if (fstat(fd.get(), &st) != 0) return ERR_STAT_FAILED;
    if (S_ISREG(st.st_mode)) return 0;
    errno = EINVAL;
    return ERR_OPEN_FAILED;
}

bool lock_file(int fd, int lock) noexcept {
    int result;
    do {
        result = flock(fd, lock);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

bool is_still_there(int fd, const char *path) noexcept {
    struct stat open_st, path_st;
    return fstat(fd, &open_st) == 0 && stat(path, &path_st) == 0 && same_file(open_st, path_st);
}

}  // namespace

int open_locked(const char *path, int flags, int lock, UniqueFd &fd) noexcept {
    Patience patience(kOpenTries);
    do {
        UniqueFd file = open_unmasked(path, flags, 0666);
        if (!file && errno == ENOENT) return ERR_FILE_NOT_FOUND;
        if (int code = check_kind(file)) return code;
        if (file && lock_file(file.get(), lock)) {
            fd = std::move(file);
            return 0;
        }
    } while (patience.wait());
    return ERR_LOCK_FAILED;
}

int open_to_read(const char *path, int flags, UniqueFd &fd) noexcept {
    Patience patience(kTryingSeconds);
    UniqueFd file;
    do {
        file.reset(open(path, O_RDONLY | flags | kSafe));
        if (!file && errno == ENOENT) return ERR_FILE_NOT_FOUND;
        if (!file && !may_pass(errno)) return ERR_OPEN_FAILED;
        if (int code = check_kind(file)) return code;
        if (file && lock_file(file.get(), LOCK_SH | LOCK_NB)) break;
    } while (patience.wait());
    if (!file) return ERR_OPEN_FAILED;
    fd = std::move(file);
    return 0;
}

int open_current(const char *path, int flags, Lock lock, Missing missing, mode_t mode,
                 UniqueFd &fd) noexcept {
    Patience patience(lock == Lock::kIsNeeded ? kOpenTries : kTryingSeconds);
    UniqueFd file;
    do {
        file.reset(open(path, flags | kSafe));
        if (!file && errno == ENOENT) {
            if (missing == Missing::kIsFine) return ERR_FILE_NOT_FOUND;
            // Not over one that another process makes at this moment: what is in it already would be lost.
            file = make_file(path, flags, mode);
            if (!file && errno == EEXIST) continue;
        }
        if (!file && !may_pass(errno)) return ERR_OPEN_FAILED;
        if (int code = check_kind(file)) return code;
        if (!file || !lock_file(file.get(), LOCK_EX | LOCK_NB)) continue;
        if (!is_still_there(file.get(), path)) continue;
        fd = std::move(file);
        return 0;
    } while (patience.wait());
    if (!file) return ERR_OPEN_FAILED;
    if (lock == Lock::kIsNeeded || !is_still_there(file.get(), path)) return ERR_LOCK_FAILED;
    fd = std::move(file);
    return 0;
}

}  // namespace morv
