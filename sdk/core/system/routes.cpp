#include "core/system/routes.h"

#include <arpa/inet.h>
#include <morvsdk/errcodes.h>
#include <net/route.h>
#include <stdio.h>

#include "core/file/file_text.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/text/ipv4.h"
#include "core/text/lines.h"

namespace morv {

int find_default_gateway(uint32_t &gateway) noexcept {
    FileText text;
    // 128 bytes a route: what is longer is no such file.
    constexpr size_t kMost = size_t{64} << 20;
    if (int code = text.load_bounded(SysPath("/proc/net/route").c_str(), kMost)) return code;
    uint32_t found = 0, least = UINT32_MAX;
    for (const std::string_view line : Lines(text.view())) {
        // Addresses are written as the kernel's numbers, the bytes of which are in network order.
        uint32_t destination, hop, flags, metric, mask;
        char word[256];
        word[without_line_feed(line).copy(word, sizeof word - 1)] = '\0';
        if (sscanf(word, "%*s %8x %8x %4x %*s %*s %u %8x", &destination, &hop, &flags, &metric, &mask) != 5)
            continue;
        constexpr uint32_t kWanted = RTF_UP | RTF_GATEWAY;
        if (destination != 0 || mask != 0 || (flags & kWanted) != kWanted || (flags & RTF_REJECT)) continue;
        if (found != 0 && metric >= least) continue;
        least = metric;
        found = ntohl(hop);
    }
    gateway = found;
    return 0;
}

int remove_default_route() noexcept {
    return run_tool("/sbin/route delete default > /dev/null 2>&1", {});
}

static int add_default_route(const char *gateway) noexcept {
    return run_tool("/sbin/route add default gw %s > /dev/null 2>&1", {gateway});
}

int set_default_route(const char *gateway) noexcept {
    uint32_t former;
    if (find_default_gateway(former) != 0) former = 0;
    // There need not be one to delete.
    remove_default_route();
    const int code = add_default_route(gateway);
    if (code != 0 && former != 0) {
        char text[16];
        write_dotted(text, former);
        add_default_route(text);
    }
    return code;
}

}  // namespace morv
