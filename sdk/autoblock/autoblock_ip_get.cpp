#include <time.h>

#include <algorithm>
#include <memory>

#include "autoblock/deny_list.h"
#include "autoblock/settings.h"
#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "core/store/address_list.h"

using namespace morv;

// Fills `room` from where the list has the record `index`; `count` tells how many there are in it.
static int fill(int list, int64_t size, int64_t index, const RecordAge &age, std::span<AddressRecord> room,
                size_t &count) noexcept {
    const auto begin = index * int64_t{sizeof(AddressRecord)};
    if (begin >= size) return 0;
    RecordWindow window;
    if (int code = window.map()) return code;
    const int result =
        for_each_window(list, window, begin, size, [&](std::span<AddressRecord> records, int64_t) {
            for (const AddressRecord &record : records) {
                if (count == room.size()) return 1;
                if (!is_empty(record) && !age.has_passed(record.time)) room[count++] = record;
            }
            return 0;
        });
    return result == 1 ? 0 : result;
}

extern "C" int MORVAutoBlockIPGet(MORV_AUTOBLOCK_IP **ppList, int index, int limit) noexcept {
    if (!ppList || index < 0 || limit < 1) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    BlockSettings settings;
    if (int code = settings.load()) return MORV_FAIL(code, -1);
    UniqueFd list;
    int code = open_to_read(SysPath(kDenyList).c_str(), 0, list);
    int64_t size = 0;
    if (code == 0) code = size_of(list.get(), size);
    if (code != 0 && code != ERR_FILE_NOT_FOUND) return MORV_FAIL(code, -1);

    // No more than there can be: a limit is often given as a number too large for any list.
    const int64_t there = size / int64_t{sizeof(AddressRecord)} - index;
    const int room = int(std::clamp<int64_t>(there, 1, limit));
    std::unique_ptr<AddressRecord, Releaser<MORVAutoBlockFree>> found(MORVAutoBlockAlloc(room));
    if (!found) {
        MORV_LOG(LOG_DEBUG, "MORVAutoBlockAlloc() failed!! limit=%d, morverr=[0x%04X]", limit,
                 unsigned(MLIBErrGet()));
        return -1;
    }
    size_t count = 0;
    const RecordAge age = RecordAge::limit(time(nullptr), settings.lifetime());
    if (int failed = fill(list.get(), size, index, age, {found.get(), size_t(room)}, count))
        return MORV_FAIL(failed, -1);
    *ppList = found.release();
    return int(count);
}
