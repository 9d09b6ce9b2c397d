#include <morvsdk/internal/net.h>
#include <syslog.h>
#include <unistd.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/system/interfaces.h"
#include "net/dhcp_client.h"
#include "net/interface_file.h"
#include "net/settings_change.h"

using namespace morv;

namespace {

constexpr int kPatience = 30;  // seconds

// Answers an error code.
int end_client(const char *name) noexcept {
    const SysPath pid_file(InterfaceFile::client_pid(name).path());
    const ClientEnd end = kill_dhcp_client(name);
    if (end == ClientEnd::kStays) return ERR_OP_FAILURE;
    if (end == ClientEnd::kEnded) {
        // It had no time to take its address away.
        if (run_tool("/sbin/ifconfig %s 0.0.0.0 > /dev/null 2>&1", {name}) != 0)
            MORV_LOG(LOG_ERR, "Initial setting interface [%s] error %m", name);
        sleep(1);
    }
    unlink(pid_file.c_str());
    return 0;
}

}  // namespace

extern "C" int MORVILnxSetDHCP(const char *name) noexcept {
    if (!name || !is_interface_name(name))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    SettingsChange change;
    if (!change.set({{"DEVICE", name}, {"ONBOOT", "yes"}, {"BOOTPROTO", "dhcp"}}) ||
        !change.remove({"IPADDR", "NETMASK", "MASTER", "SLAVE"})) {
        return MORV_LOG_FAIL(LOG_ERR, ERR_OUT_OF_MEMORY, -1, "Out of memory");
    }
    if (int code = end_client(name))
        return MORV_LOG_FAIL(LOG_ERR, code, -1, "The DHCP client of %s does not end", name);
    if (run_tool("/sbin/dhcpcd -n %s -t %d > /dev/null 2>&1", {name, kPatience}) != 0) {
        syslog(LOG_ERR, "%s(%d) run dhcpcd error %m", MORV_STEM, __LINE__);
        return MORV_FAIL(ERR_OP_FAILURE, -1);
    }
    const SysPath path(InterfaceFile::settings(name).path());
    if (int code = change.write(path.c_str())) {
        MORV_LOG(LOG_ERR, "Set %s error.", path.c_str());
        return MORV_FAIL(code, -2);
    }
    return 0;
}
