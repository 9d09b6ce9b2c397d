#include <morvsdk/error.h>
#include <morvsdk/internal/sysbkp.h>
#include <morvsdk/net.h>

#include "sysbkp/block.h"

using namespace morv;

static int read_host_name(char (&name)[256]) noexcept {
    if (MORVLnxGetHostname(name, sizeof name) == 0) return 0;
    BACKUP_LOG("MORVLnxGetHostname failed.(%X)", static_cast<unsigned>(MLIBErrGet()));
    return -1;
}

extern "C" int MORVSysbkpHostnameExport(int fd) noexcept {
    return EXPORT_BLOCK(fd, MORV_SYSBKP_HOSTNAME, "hostname", [](ItemWriter &items) {
        char name[256];
        if (read_host_name(name) != 0) {
            tell_problem("the host name cannot be read: %s", code_text(MLIBErrGet()));
            return -1;
        }
        items.put_string(name);
        return 0;
    });
}

extern "C" int MORVSysbkpHostnameImport(int fd, int version, int) noexcept {
    return import_block(fd, MORV_SYSBKP_HOSTNAME, version, [](ItemReader &items) {
        const char *const name = items.take_string();
        if (check_items(items) != 0) return -1;
        // An appliance whose name is lost needs this one all the more. One that has it already gets it again:
        // its line among the hosts may be another's.
        char current[256];
        read_host_name(current);
        const int result = MORVLnxSetHostname(name);
        if (result == 0) return 0;
        const int code = MLIBErrGet();
        BACKUP_LOG("call MORVLnxSetHostname and fail and return %d, errno=0x%04X\n", result,
                   static_cast<unsigned>(code));
        tell_problem("the host name %s cannot be set: %s", name, code_text(code));
        return -1;
    });
}
