#include <errno.h>
#include <fcntl.h>
#include <morvsdk/net.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/base/kept_error.h"
#include "core/base/log.h"
#include "core/file/family_lock.h"
#include "core/file/replacement_file.h"
#include "core/file/sys_path.h"
#include "core/text/ipv4.h"

using namespace morv;

// Answers an error code, and whether the new file is in place.
static int replace(std::string_view content, bool &is_new) noexcept {
    // A link gives way to a file: what it leads to belongs to another resolver.
    const SysPath path("/etc/resolv.conf");
    ReplacementFile file(path.c_str(), ".tmp");
    const UniqueFd old(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (int code = old ? file.create_like(old.get()) : file.create_own(0644)) return code;
    if (int code = file.write(content)) {
        syslog(LOG_ERR, "%s (%d) fflush failed.(%s)", MORV_STEM, __LINE__, strerror(errno));
        return code;
    }
    if (int code = file.complete()) {
        syslog(LOG_ERR, "%s(%d) fsync failed.(%s)", MORV_STEM, __LINE__, strerror(errno));
        return code;
    }
    const int code = file.rename_over();
    is_new = code != ERR_RENAME_FAILED;
    return code;
}

// The new name server is in effect whatever the daemon says.
static void tell_ddns() noexcept {
    const KeptError before;
    const int result = MORVDDNSDaemonAction(MORV_DDNS_RELOAD);
    if (result == 0) return;
    MORV_LOG(result > 0 ? LOG_INFO : LOG_ERR, "HUP ddnsd result: %s%s%s ", result > 0 ? "success" : "",
             result < 0 ? "failed" : "", "");
    before.restore();
}

extern "C" int MORVNetDNSSet(const char *address) noexcept {
    if (!address) return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    if (*address && !BlMLIBIsIpAddr(address)) {
        syslog(LOG_ERR, "%s (%d) Bad DNS %s", MORV_STEM, __LINE__, address);
        return -1;
    }
    // In normal form: white space in it would tear the line.
    char line[64] = "", normal[MORV_IP_TEXT_SIZE];
    if (uint32_t number; parse_dotted(address, number)) {
        write_dotted(normal, number);
        snprintf(line, sizeof line, "nameserver\t%s\n", normal);
    }
    FamilyLock lock(MORV_LOCK_NW | MORV_LOCK_WRITE);
    bool is_new = false;
    const int code = lock.is_held() ? replace(line, is_new) : MLIBErrGet();
    lock.release();
    if (is_new) tell_ddns();
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to set the name server, morverr=[0x%04X]",
                         unsigned(code));
}
