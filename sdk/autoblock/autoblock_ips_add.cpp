#include <morvsdk/log.h>
#include <stdio.h>
#include <time.h>

#include "autoblock/deny_list.h"
#include "autoblock/settings.h"
#include "core/base/fail.h"

using namespace morv;

// The addresses that are to be blocked, each once and in their order. Answers their number, or -1 on lack of
// memory.
static ptrdiff_t choose(const uint32_t *addresses, const BlockSettings &settings, AddressSet &set,
                        MallocPtr<uint32_t> &chosen) noexcept {
    size_t count = 0;
    while (addresses[count] != 0)
        ++count;
    chosen.reset(static_cast<uint32_t *>(calloc(count + 1, sizeof(uint32_t))));
    if (!chosen || !set.allocate(count)) return -1;
    ptrdiff_t kept = 0;
    for (size_t i = 0; i < count; ++i) {
        if (!settings.allows(addresses[i]) && set.add(addresses[i])) chosen.get()[kept++] = addresses[i];
    }
    return kept;
}

extern "C" int MORVAutoBlockIPsAdd(const uint32_t *addresses) noexcept {
    if (!addresses) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    BlockSettings settings;
    if (int code = settings.load()) return MORV_FAIL(code, -1);
    AddressSet set;
    MallocPtr<uint32_t> chosen;
    const ptrdiff_t count = choose(addresses, settings, set, chosen);
    if (count < 0) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    if (count == 0) return 0;

    DenyChange change{.leaving = set,
                      .lifetime = settings.lifetime(),
                      .added = {chosen.get(), size_t(count)},
                      .now = time(nullptr)};
    if (int code = change_deny_list(change)) return MORV_FAIL(code, -1);
    report_damage(change);
    const int fresh = int(size_t(count) - set.met());
    if (fresh > 0) {
        char number[16];
        snprintf(number, sizeof number, "%d", fresh);
        MORVLogSet1(MORV_LOG_SYSTEM, MORV_LOG_WARNING, MORV_EVENT_ADDRESSES_BLOCKED, number, nullptr, nullptr,
                    nullptr);
    }
    return fresh;
}
