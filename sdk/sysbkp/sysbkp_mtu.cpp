#include <morvsdk/error.h>
#include <morvsdk/internal/sysbkp.h>
#include <morvsdk/net.h>
#include <stdio.h>
#include <string.h>

#include <charconv>

#include "sysbkp/setting_block.h"

using namespace morv;

namespace {

constexpr char kInterface[] = "eth0";
constexpr int kStandard = 1500;
// Less than the smallest that a network can have, or more than a packet, takes the appliance off it.
constexpr int kLeast = 68, kMost = 65535;

// False for what is no MTU.
bool parse_mtu(std::string_view text, int &mtu) noexcept {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), mtu);
    return error == std::errc() && end == text.data() + text.size() && mtu >= kLeast && mtu <= kMost;
}

// Answers 0 or -1, which is told.
int read_mtu(int &mtu) noexcept {
    char text[256];
    if (MORVConfGetMTUValue(kInterface, text, sizeof text) != 0) {
        tell_problem("the MTU of %s cannot be read: %s", kInterface, code_text(MLIBErrGet()));
        return -1;
    }
    if (!parse_mtu(text, mtu)) mtu = kStandard;
    return 0;
}

int set_mtu(int mtu) noexcept {
    int current;
    if (read_mtu(current) != 0) return -1;
    if (current == mtu) return 0;
    char digits[16];
    snprintf(digits, sizeof digits, "%d", mtu);
    if (MORVConfSetMTUValue(digits, kInterface) == 0) return 0;
    tell_problem("the MTU of %s cannot be set: %s", kInterface, code_text(MLIBErrGet()));
    return -1;
}

int apply(ItemReader &items) noexcept {
    const char *const text = items.take_string();
    if (check_items(items) != 0) return -1;
    int mtu;
    if (!parse_mtu(text, mtu)) {
        tell_problem("mtu: %s is not between %d and %d", text, kLeast, kMost);
        return -1;
    }
    return apply_if_supported("supportMTU", [&] { return set_mtu(mtu); });
}

}  // namespace

extern "C" int MORVSysbkpMTUExport(int fd) noexcept {
    return EXPORT_BLOCK(fd, MORV_SYSBKP_MTU, "mtu", [](ItemWriter &items) {
        int mtu;
        if (read_mtu(mtu) != 0) return -1;
        char text[16];
        snprintf(text, sizeof text, "%d", mtu);
        items.put_string(text);
        return 0;
    });
}

extern "C" int MORVSysbkpMTUImport(int fd, int version, int) noexcept {
    return import_block(fd, MORV_SYSBKP_MTU, version, apply);
}
