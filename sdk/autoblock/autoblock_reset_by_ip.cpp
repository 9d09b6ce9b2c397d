#include <time.h>

#include "autoblock/client_address.h"
#include "autoblock/failure_list.h"
#include "autoblock/settings.h"
#include "core/base/fail.h"

using namespace morv;

static int clear_failures(uint32_t address, const RecordAge &age) noexcept {
    UniqueFd list;
    int64_t size = 0;
    if (int code = open_failure_list(Missing::kIsFine, list, size)) return code;
    if (size == 0) return 0;
    RecordWindow window;
    if (int code = window.map()) return code;
    return for_each_window(
        list.get(), window, 0, size, [&](std::span<AddressRecord> records, int64_t offset) {
            return write_changed(list.get(), offset, records, clear_address(records, address, age));
        });
}

extern "C" int MORVAutoBlockResetByIP(const char *client) noexcept {
    if (!client) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t address;
    if (!address_of_client(client, address)) return -1;
    BlockSettings settings;
    if (int code = settings.load()) return MORV_FAIL(code, -1);
    const int code = clear_failures(address, RecordAge::limit(time(nullptr), settings.period()));
    return code == 0 || code == ERR_FILE_NOT_FOUND ? 0 : MORV_FAIL(code, -1);
}
