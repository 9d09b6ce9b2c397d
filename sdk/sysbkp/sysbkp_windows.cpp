#include <arpa/inet.h>
#include <morvsdk/internal/sysbkp.h>
#include <string.h>

#include <string>

#include "core/account/reserved_change.h"
#include "core/account/reserved_section.h"
#include "core/text/ipv4.h"
#include "sysbkp/block.h"

using namespace morv;

namespace {

constexpr char kSection[] = "global";
constexpr char kWorkgroup[] = "workgroup";
constexpr char kWins[] = "wins server";
constexpr size_t kMostWorkgroup = 15;  // bytes of a NetBIOS name
constexpr int32_t kNoAddress = -1;     // what inet_addr answers for none

// The bytes of the address stand in the file as they go over the network: as the number is big-endian there,
// it is that of the appliance, whatever machine this is.
int32_t address_of(const std::string &wins) noexcept {
    uint32_t address;
    return parse_ipv4(wins, address) ? static_cast<int32_t>(ntohl(address)) : kNoAddress;
}

}  // namespace

extern "C" int MORVSysbkpWindowsExport(int fd) noexcept {
    return EXPORT_BLOCK(fd, MORV_SYSBKP_WINDOWS, "windows networking", [](ItemWriter &items) {
        std::string workgroup;
        std::string wins;
        const int code = for_each_pair(kSection, [&](const char *key, const char *value) {
            if (strcmp(key, kWorkgroup) == 0) workgroup = value;
            if (strcmp(key, kWins) == 0) wins = value;
            return 0;
        });
        if (code && code != ERR_KEY_NOT_FOUND) {
            tell_problem("workgroup and WINS server: %s", code_text(code));
            return -1;
        }
        const int32_t address = address_of(wins);
        if (address == kNoAddress && !wins.empty())
            tell_note("WINS server %s: no single address, and only such a one can be in the file",
                      wins.c_str());
        items.put_string(workgroup);
        items.put_long(address);
        return 0;
    });
}

extern "C" int MORVSysbkpWindowsImport(int fd, int version, int) noexcept {
    return import_block(fd, MORV_SYSBKP_WINDOWS, version, [](ItemReader &items) {
        const char *const workgroup = items.take_string();
        const int32_t address = items.take_long();
        if (check_items(items) != 0) return -1;
        if (strlen(workgroup) > kMostWorkgroup) {
            tell_problem("workgroup %s: longer than %zu bytes", workgroup, kMostWorkgroup);
            return -1;
        }
        const Ipv4Text wins(htonl(static_cast<uint32_t>(address)));
        const ReservedKey keys[] = {{kWorkgroup, *workgroup ? workgroup : nullptr},
                                    {kWins, address == 0 || address == kNoAddress ? nullptr : wins.text}};
        const int code = change_reserved_keys(kSection, keys);
        if (code == ERR_BAD_PARAMETERS)
            tell_problem("workgroup %s: %s", workgroup, code_text(code));
        else if (code)
            tell_problem("workgroup and WINS server: %s", code_text(code));
        return code ? -1 : 0;
    });
}
