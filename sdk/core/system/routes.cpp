#include "core/system/routes.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <net/route.h>
#include <stdio.h>

#include "core/base/guard.h"
#include "core/file/file_text.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/text/lines.h"

namespace morv {

int find_default_gateway(uint32_t &gateway) noexcept {
    const UniqueFd fd(open(SysPath("/proc/net/route").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd) return ERR_OPEN_FAILED;
    FileText text;
    // 128 bytes a route: what is longer is no such file.
    constexpr size_t kMost = size_t{64} << 20;
    const int code = text.load(fd.get(), kMost);
    if (code != 0) return code == ERR_FORMAT_ERROR ? ERR_READ_FAILED : code;
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

int set_default_route(const char *gateway) noexcept {
    // There need not be one to delete.
    remove_default_route();
    return run_tool("/sbin/route add default gw %s > /dev/null 2>&1", {gateway});
}

}  // namespace morv
