#include <errno.h>
#include <morvsdk/internal/autoblock.h>
#include <string.h>

#include <algorithm>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/replacement_file.h"
#include "core/store/address_list.h"

using namespace morv;

namespace {

// A file that was opened with MORVAutoBlockFileOpen.
class OpenList {
  public:
    explicit OpenList(const AUTOBLOCK_SCAN &request) noexcept
        // What is changed in place is not to be written at the end.
        : fd_(MORVAutoBlockFileOpen(request.path, request.openFlags & ~O_APPEND, request.lock)) {}
    ~OpenList() {
        if (fd_ >= 0) MORVAutoBlockFileClose(fd_);
    }
    OpenList(const OpenList &) = delete;
    OpenList &operator=(const OpenList &) = delete;
    int fd() const noexcept { return fd_; }

  private:
    int fd_;
};

constexpr int kEnded = 1;

// As a mapping would have it: what is changed in a private one, or one for reading, stays in memory.
bool writes_back(const AUTOBLOCK_SCAN &request) noexcept {
    return (request.protection & PROT_WRITE) && (request.mapFlags & MAP_SHARED);
}

struct Walk {
    const AUTOBLOCK_SCAN &request;
    int list;
    int fd;
    void *argument;
    RecordAge age;

    int write_back(std::span<const AddressRecord> records, int64_t offset,
                   const Changed &changed) const noexcept {
        return writes_back(request) ? write_changed(list, offset, records, changed) : 0;
    }

    int call(std::span<AddressRecord> records, int64_t offset) const noexcept {
        for (size_t i = 0; i < records.size(); ++i) {
            AddressRecord &record = records[i];
            if (is_empty(record) || age.has_passed(record.time)) continue;
            const AddressRecord before = record;
            const int result = request.each(&record, fd, argument);
            if (memcmp(&before, &record, sizeof before) != 0) {
                if (int code = write_back(records, offset, {i, i + 1})) return code;
            }
            if (result == 1) return kEnded;
        }
        return 0;
    }

    int copy(std::span<AddressRecord> records, AddressSet &set) const noexcept {
        const size_t kept = keep_others(records, set, age);
        return write_all(fd, bytes_of(records.first(kept))) ? 0 : ERR_WRITE_FAILED;
    }

    // Answers kEnded, 0 or an error code.
    int run(RecordWindow &window, int64_t from, AddressSet &set) const noexcept {
        const uint32_t wanted =
            request.operation == AUTOBLOCK_CALL ? 0 : *static_cast<const uint32_t *>(argument);
        return for_each_window(
            list, window, from, request.size, [&](std::span<AddressRecord> records, int64_t offset) {
                switch (request.operation) {
                    case AUTOBLOCK_CALL:
                        return call(records, offset);
                    case AUTOBLOCK_CLEAR:
                        return write_back(records, offset, clear_address(records, wanted, age));
                    case AUTOBLOCK_FIND:
                        return has_address(records, wanted, age) ? kEnded : 0;
                    default:
                        return copy(records, set);
                }
            });
    }
};

bool is_sound(const AUTOBLOCK_SCAN *request, const void *argument) noexcept {
    if (!request || !request->path || request->offset < 0) return false;
    if (request->operation < AUTOBLOCK_CALL || request->operation > AUTOBLOCK_FIND) return false;
    if (request->operation == AUTOBLOCK_CALL) return request->each != nullptr;
    // Clearing records of a copy in memory would be no work at all.
    return argument && (request->operation != AUTOBLOCK_CLEAR || writes_back(*request));
}

bool make_set(const AUTOBLOCK_SCAN &request, const uint32_t *argument, AddressSet &set) noexcept {
    if (request.operation == AUTOBLOCK_COPY_BUT_ALL) return set.fill(argument);
    if (request.operation != AUTOBLOCK_COPY_BUT) return true;
    const uint32_t one[] = {*argument, 0};
    return set.fill(one);
}

}  // namespace

extern "C" int AutoBlockIMmapProcess(const AUTOBLOCK_SCAN *request, int fd, void *argument) noexcept {
    if (!is_sound(request, argument)) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    AddressSet set;
    if (!make_set(*request, static_cast<const uint32_t *>(argument), set))
        return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    const OpenList list(*request);
    if (list.fd() < 0) return -1;
    const auto size = int64_t{sizeof(AddressRecord)};
    const int64_t from = request->offset / size * size + (request->offset % size ? size : 0);
    int result = 0;
    if (request->size - from >= size) {
        RecordWindow window;
        if (int code = window.map(request->protection, request->mapFlags))
            return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "mmap() failed!! errno=[%d/%m]", errno);
        const RecordAge age = RecordAge::limit(request->now, request->maxAge);
        result = Walk{*request, list.fd(), fd, argument, age}.run(window, from, set);
    }
    if (result > kEnded) return MORV_FAIL(result, -1);
    return request->operation == AUTOBLOCK_COPY_BUT ? (set.met() == 0 ? 1 : 0) : result;
}
