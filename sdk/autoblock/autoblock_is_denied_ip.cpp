#include <time.h>

#include "autoblock/client_address.h"
#include "autoblock/deny_list.h"
#include "autoblock/settings.h"
#include "core/base/fail.h"
#include "core/file/sys_path.h"
#include "core/store/address_list.h"

using namespace morv;

static int find_in_list(uint32_t address, const RecordAge &age) noexcept {
    UniqueFd list;
    if (int code = open_to_read(SysPath(kDenyList).c_str(), 0, list)) return code;
    int64_t size;
    if (int code = size_of(list.get(), size)) return code;
    if (size == 0) return 0;
    RecordWindow window;
    if (int code = window.map()) return code;
    return for_each_window(list.get(), window, 0, size, [&](std::span<AddressRecord> records, int64_t) {
        return has_address(records, address, age) ? 1 : 0;
    });
}

extern "C" int MORVAutoBlockIsDeniedIP(const char *client) noexcept {
    if (!client) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    BlockSettings settings;
    if (int code = settings.load()) return MORV_FAIL(code, -1);
    if (!settings.is_enabled()) return 0;
    uint32_t address;
    if (!address_of_client(client, address)) return -1;
    if (settings.allows(address)) return 0;
    const int result = find_in_list(address, RecordAge::limit(time(nullptr), settings.lifetime()));
    if (result == ERR_FILE_NOT_FOUND) return 0;
    return result > 1 ? MORV_FAIL(result, -1) : result;
}
