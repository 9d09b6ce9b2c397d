#include <morvsdk/net.h>
#include <net/if.h>
#include <string.h>

#include <algorithm>

#include "core/base/fail.h"
#include "core/system/interfaces.h"
#include "core/text/field_text.h"
#include "core/text/ipv4.h"

using namespace morv;

// Flags that keep an interface out of a selection.
static int excluded_flags(int selection) noexcept {
    constexpr int kNever = IFF_LOOPBACK | IFF_POINTOPOINT;
    if (selection == MORV_NET_BUT_MASTERS) return kNever | IFF_MASTER;
    if (selection == MORV_NET_BUT_SLAVES) return kNever | IFF_SLAVE;
    return kNever;
}

static void fill(NET_INTERFACE &entry, const char *name, int16_t flags,
                 const InterfaceSocket &kernel) noexcept {
    memset(&entry, 0, sizeof entry);
    copy_text(entry.name, name);
    entry.flags = flags;
    entry.link = (flags & IFF_RUNNING) ? 2 : 0;
    kernel.hardware(name, entry.hardware);
    uint32_t address;
    if (kernel.address(name, address)) write_dotted(entry.address, address);
}

extern "C" int MLIBNetGetInterfaceInfo(NET_INTERFACE *entries, int maximum, int selection) noexcept {
    // No selection is the sum of two others.
    if (maximum < 0 || selection < 1 || selection == 4) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    InterfaceNames names;
    if (int code = names.load()) return MORV_FAIL(code, -1);
    InterfaceSocket kernel;
    if (!kernel.open()) return MORV_FAIL(ERR_OPEN_FAILED, -1);

    int count = 0;
    while (count < maximum) {
        const char *const name = names.next();
        if (!name) break;
        int16_t flags;
        if (!kernel.flags(name, flags) || !(flags & IFF_UP) || (flags & excluded_flags(selection))) continue;
        if (entries) fill(entries[count], name, flags, kernel);
        ++count;
    }
    if (entries) {
        std::sort(entries, entries + count,
                  [](const NET_INTERFACE &a, const NET_INTERFACE &b) { return strcmp(a.name, b.name) < 0; });
    }
    return count;
}
