#include <time.h>

#include <algorithm>

#include "autoblock/client_address.h"
#include "autoblock/failure_list.h"
#include "autoblock/settings.h"
#include "core/base/fail.h"

using namespace morv;

static int count_failures(uint32_t address, const RecordAge &age, int64_t &count) noexcept {
    UniqueFd list;
    int64_t size = 0;
    if (int code = open_failure_list_to_read(list, size)) return code;
    RecordWindow window;
    if (int code = window.map()) return code;
    return for_each_window(list.get(), window, 0, size, [&](std::span<AddressRecord> records, int64_t) {
        count += std::count_if(records.begin(), records.end(), [&](const AddressRecord &record) {
            return record.address == address && !is_empty(record) && !age.has_passed(record.time);
        });
        return 0;
    });
}

extern "C" int MORVAutoBlockFailCountGet(const char *client) noexcept {
    if (!client) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t address;
    if (!address_of_client(client, address)) return -1;
    BlockSettings settings;
    if (int code = settings.load()) return MORV_FAIL(code, -1);
    int64_t count = 0;
    const int code = count_failures(address, RecordAge::period(time(nullptr), settings.period()), count);
    return code == 0 || code == ERR_FILE_NOT_FOUND ? int(count) : MORV_FAIL(code, -1);
}
