#include <errno.h>
#include <morvsdk/internal/net.h>
#include <string.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "core/base/fail.h"
#include "core/base/kept_error.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/system/interfaces.h"
#include "core/system/sysfs.h"
#include "net/dhcp_client.h"
#include "net/interface_file.h"
#include "net/settings_change.h"

using namespace morv;

namespace {

constexpr std::string_view kSuffix = ".tmp";

// Removes the backups of changes that were interrupted: what they hold is older than the change that has
// succeeded now.
int remove_backups(const char *name) {
    const InterfaceFile settings = InterfaceFile::settings(name);
    const std::string_view path = settings.path();
    const std::string folder(path.substr(0, path.rfind('/')));
    const std::string prefix(std::string(path.substr(folder.size() + 1)) += kSuffix);
    std::vector<std::string> names;
    if (int code = list_names(folder.c_str(), prefix, names)) return code;
    for (const std::string &file : names) {
        if (file.find_first_not_of("0123456789", prefix.size()) != file.npos) continue;
        if (unlink(SysPath((std::string(folder) += "/" + file).c_str()).c_str()) != 0)
            syslog(LOG_ERR, "%s(%d): unlink fail.", MORV_STEM, __LINE__);
    }
    return 0;
}

// The configuration file as it was before a change: it comes back unless the change is kept.
class Backup {
  public:
    explicit Backup(const char *path) noexcept : path_(path), exists_(access(path, F_OK) == 0) {
        if (!exists_) return;
        snprintf(backup_, sizeof backup_, "%s%s%ld", path, kSuffix.data(), static_cast<long>(time(nullptr)));
        is_made_ = run_tool("/bin/cp -f %s %s", {path, backup_}) == 0;
        if (!is_made_) {
            syslog(LOG_ERR, "%s(%d): copy (%s, %s) failed.(strerror=%s)", MORV_STEM, __LINE__, path, backup_,
                   strerror(errno));
        }
    }
    ~Backup() {
        const int saved = errno;
        if (is_made_) {
            if (rename(backup_, path_) != 0) syslog(LOG_ERR, "%s(%d): rename fail.", MORV_STEM, __LINE__);
        } else if (!exists_ && !is_kept_) {
            unlink(path_);
        }
        errno = saved;
    }
    Backup(const Backup &) = delete;
    Backup &operator=(const Backup &) = delete;

    void keep_change(const char *name) noexcept {
        is_kept_ = true;
        if (is_made_ && unlink(backup_) != 0) syslog(LOG_ERR, "%s(%d): unlink fail.", MORV_STEM, __LINE__);
        is_made_ = false;
        no_throw([name] { return remove_backups(name); });
    }

  private:
    const char *path_;
    bool exists_;
    bool is_made_ = false;
    bool is_kept_ = false;
    char backup_[PATH_MAX + 32] = "";
};

// The name's line in "/etc/hosts" is to have the new address. Answers an error code.
int apply_host_name() noexcept {
    char name[64];
    const KeptError before;
    if (MORVLnxGetHostname(name, sizeof name) != 0) {
        const int code = MLIBErrGet();
        if (has_system_root() && (code == ERR_KEY_NOT_FOUND || errno == ENOENT)) {
            before.restore();
            return 0;  // no name is stored that the address could follow
        }
        syslog(LOG_ERR, "%s(%d): gethostname failed.(errno_str=%s)", MORV_STEM, __LINE__, strerror(errno));
        return code;
    }
    if (MORVLnxSetHostname(name) == 0) return 0;
    const int code = MLIBErrGet();
    syslog(LOG_ERR, "%s(%d): MORVLnxSetHostname failed.(%X)", MORV_STEM, __LINE__, unsigned(code));
    return code;
}

int apply(const char *name, const char *address, const char *netmask, const char *broadcast) noexcept {
    end_dhcp_clients(name);
    constexpr const char *kCommand = "/sbin/ifconfig %s %s netmask %s broadcast %s > /dev/null 2>&1";
    if (run_tool(kCommand, {name, address, netmask, broadcast}) != 0) {
        syslog(LOG_ERR, "%s(%d): system(/sbin/ifconfig %s %s netmask %s broadcast %s) failed.(strerror=%s)",
               MORV_STEM, __LINE__, name, address, netmask, broadcast, strerror(errno));
        return ERR_OP_FAILURE;
    }
    return apply_host_name();
}

}  // namespace

extern "C" int MORVILnxSetIPNetmask(const char *name, const char *address, const char *netmask) noexcept {
    if (!name || !is_interface_name(name) || !address || !netmask) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    // Before anything is changed: what cannot be used must not cost the address that there is.
    char broadcast[MORV_IP_TEXT_SIZE];
    if (MORVILnxGetBCast(address, netmask, broadcast, sizeof broadcast) != 0) {
        syslog(LOG_ERR, "%s(%d): MORVILnxGetBCast failed.(strerror=%s)", MORV_STEM, __LINE__,
               strerror(errno));
        return -1;
    }
    SettingsChange change;
    if (!change.set({{"DEVICE", name},
                     {"ONBOOT", "yes"},
                     {"IPADDR", address},
                     {"NETMASK", netmask},
                     {"BOOTPROTO", "static"}}) ||
        !change.remove({"MASTER", "SLAVE"})) {
        return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    }
    const SysPath path(InterfaceFile::settings(name).path());
    Backup backup(path.c_str());
    if (int code = change.write(path.c_str())) {
        MORV_LOG(LOG_ERR, "Set %s error.", path.c_str());
        return MORV_FAIL(code, -1);
    }
    if (int code = apply(name, address, netmask, broadcast)) return MORV_FAIL(code, -1);
    backup.keep_change(name);
    return 0;
}
