// The files of the network's settings: whatever they hold, readers answer what fits their buffers, and writers
// change the line that is theirs and no other.
#include <morvsdk/net.h>
#include <string.h>

#include <algorithm>
#include <vector>

#include "core/text/hosts_text.h"
#include "core/text/lines.h"
#include "input.h"

namespace {

std::vector<std::string_view> lines_of(std::string_view text) {
    std::vector<std::string_view> lines;
    for (const std::string_view line : morv::Lines(text))
        lines.push_back(morv::without_line_feed(line));
    return lines;
}

void try_hosts(std::string_view text) {
    const uint32_t own[] = {0xC0A8010A, 0x0A000001};
    std::string once, twice;
    morv::set_own_host(text, "nas", "box", own, once);
    morv::set_own_host(once, "box", "box", own, twice);
    expect(once == twice);
    const auto before = lines_of(text), after = lines_of(once);
    expect(after.size() == before.size() || after.size() == before.size() + 1);
    size_t others = 0;
    for (size_t i = 0; i < before.size(); ++i)
        others += before[i] != after[i];
    expect(others + (after.size() - before.size()) <= 1);
}

void try_readers(const MemoryRoot &root, std::string_view text) {
    for (const char *file : {"/etc/resolv.conf", "/etc/sysconfig/network", "/proc/net/dev", "/proc/net/route",
                             "/etc/sysconfig/network-scripts/ifcfg-lo"})
        root.write(file, text);
    char buffer[32];
    memset(buffer, 'x', sizeof buffer);
    for (const auto read : {MORVNetDNSGet, MORVNetDefaultGatewayGetConf, MORVNetDefaultRouteGet}) {
        if (read(buffer, int(sizeof buffer) - 1) == 0) expect(strlen(buffer) < sizeof buffer - 1);
        expect(buffer[sizeof buffer - 1] == 'x');
    }
    NET_INTERFACE entries[4];
    expect(MLIBNetGetInterfaceInfo(entries, 4, MORV_NET_ALL) <= 4);
    const int is_dhcp = BlMORVLnxIsDHCP("lo");
    expect(BlMORVLnxIsDHCP("lo") == is_dhcp);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MemoryRoot root{"/etc",  "/etc/sysconfig", "/etc/sysconfig/network-scripts",
                                 "/proc", "/proc/net",      "/tmp"};
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    try_hosts(text);
    try_readers(root, text);
    return 0;
}
