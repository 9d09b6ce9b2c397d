#include <errno.h>
#include <fcntl.h>
#include <morvsdk/internal/net.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/base/kept_error.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/attributes.h"
#include "core/file/family_lock.h"
#include "core/file/file_edit.h"
#include "core/file/key_value.h"
#include "core/file/replacement_file.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/system/interfaces.h"
#include "core/system/sysfs.h"
#include "core/text/ipv4.h"
#include "net/dhcp_client.h"
#include "net/host_name.h"
#include "net/interface_file.h"
#include "net/settings_change.h"

using namespace morv;

namespace {

constexpr std::string_view kSuffix = ".tmp";

// Removes the backups of changes that were interrupted: what they hold is older than the change that has
// succeeded now. A number of seconds is longer than any that belongs to the name of another interface.
int remove_backups(const char *name) {
    constexpr size_t kFewestDigits = 9;
    const InterfaceFile settings = InterfaceFile::settings(name);
    const std::string_view path = settings.path();
    const std::string folder(path.substr(0, path.rfind('/')));
    const std::string prefix(std::string(path.substr(folder.size() + 1)) += kSuffix);
    std::vector<std::string> names;
    if (int code = list_names(folder.c_str(), prefix, names)) return code;
    for (const std::string &file : names) {
        const std::string_view digits = std::string_view(file).substr(prefix.size());
        if (digits.size() < kFewestDigits || digits.find_first_not_of("0123456789") != digits.npos) continue;
        if (unlink(SysPath((std::string(folder) += "/" + file).c_str()).c_str()) != 0)
            syslog(LOG_ERR, "%s(%d): unlink fail.", MORV_STEM, __LINE__);
    }
    return 0;
}

// The configuration file as it was before a change: it comes back unless the change is kept.
class Backup {
  public:
    explicit Backup(const char *path) noexcept
        : path_(path), exists_(access(path, F_OK) == 0 || errno != ENOENT) {
        if (!exists_) return;
        snprintf(backup_, sizeof backup_, "%s%s%ld", path, kSuffix.data(), static_cast<long>(time(nullptr)));
        is_made_ = run_tool("/bin/cp -f %s %s", {path, backup_}) == 0 && is_alike();
        if (is_made_) return;
        syslog(LOG_ERR, "%s(%d): copy (%s, %s) failed.(strerror=%s)", MORV_STEM, __LINE__, path, backup_,
               strerror(errno));
        unlink(backup_);  // it may be a part of a copy
        is_held_ = original_.open(path, FileEdit::kMustExist, ERR_READ_FAILED) == 0;
    }
    ~Backup() {
        const int saved = errno;
        if (is_made_) {
            if (rename(backup_, path_) != 0) syslog(LOG_ERR, "%s(%d): rename fail.", MORV_STEM, __LINE__);
        } else if (!is_kept_ && is_held_) {
            original_.commit(original_.text());
        } else if (!is_kept_ && !exists_) {
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
    // A copy has the content alone.
    bool is_alike() const noexcept {
        const UniqueFd original(open(path_, O_RDONLY | O_CLOEXEC)), copy(open(backup_, O_RDONLY | O_CLOEXEC));
        struct stat st;
        return original && copy && fstat(original.get(), &st) == 0 &&
               make_alike(original.get(), st, copy.get());
    }

    const char *path_;
    bool exists_;
    bool is_made_ = false;
    bool is_held_ = false;  // in memory, as no copy could be made
    bool is_kept_ = false;
    FileEdit original_;
    char backup_[PATH_MAX + 32] = "";
};

// The name's line in "/etc/hosts" is to have the new address. Answers an error code.
int apply_host_name(const char *interface) noexcept {
    char name[64];
    const KeptError before;
    if (MORVLnxGetHostname(name, sizeof name) != 0) {
        const int code = MLIBErrGet();
        if (has_system_root() && is_not_stored(code)) {
            before.restore();
            return 0;  // no name is stored that the address could follow
        }
        syslog(LOG_ERR, "%s(%d): gethostname failed.(errno_str=%s)", MORV_STEM, __LINE__, strerror(errno));
        return code;
    }
    const FamilyLock lock(MORV_LOCK_HOST | MORV_LOCK_NW | MORV_LOCK_WRITE);
    const int code = lock.is_held() ? set_host_name(name, interface) : MLIBErrGet();
    if (code != 0)
        syslog(LOG_ERR, "%s(%d): MORVLnxSetHostname failed.(%X)", MORV_STEM, __LINE__, unsigned(code));
    return code;
}

void log_command(const char *format, CommandValues values) noexcept {
    const char *const reason = strerror(errno);
    no_throw([&] {
        syslog(LOG_ERR, "%s(%d): system(%s) failed.(strerror=%s)", MORV_STEM, __LINE__,
               command_text(format, values).c_str(), reason);
        return 0;
    });
}

int apply(const char *name, const char *address, const char *netmask, const char *broadcast) noexcept {
    if (int code = end_dhcp_clients(name)) {
        MORV_LOG(LOG_ERR, "A DHCP client of %s does not end", name);
        return code;
    }
    constexpr const char *kCommand = "/sbin/ifconfig %s %s netmask %s broadcast %s > /dev/null 2>&1";
    if (run_tool(kCommand, {name, address, netmask, broadcast}) != 0) {
        log_command(kCommand, {name, address, netmask, broadcast});
        return ERR_OP_FAILURE;
    }
    return apply_host_name(name);
}

// The texts in normal form, with the broadcast address.
struct NormalTexts {
    char address[MORV_IP_TEXT_SIZE], netmask[MORV_IP_TEXT_SIZE], broadcast[MORV_IP_TEXT_SIZE];

    bool make(const char *address_text, const char *netmask_text) noexcept {
        uint32_t number;
        if (MORVILnxGetBCast(address_text, netmask_text, broadcast, sizeof broadcast) != 0) return false;
        if (parse_dotted(address_text, number)) write_dotted(address, number);
        if (parse_dotted(netmask_text, number)) write_dotted(netmask, number);
        return true;
    }
};

}  // namespace

extern "C" int MORVILnxSetIPNetmask(const char *name, const char *address, const char *netmask) noexcept {
    if (!name || !is_interface_name(name) || !address || !netmask)
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    // Before anything is changed: what cannot be used must not cost the address that there is.
    NormalTexts texts;
    if (!texts.make(address, netmask)) {
        syslog(LOG_ERR, "%s(%d): MORVILnxGetBCast failed.(strerror=%s)", MORV_STEM, __LINE__,
               strerror(errno));
        return -1;
    }
    SettingsChange change;
    if (!change.set({{"DEVICE", name},
                     {"ONBOOT", "yes"},
                     {"IPADDR", texts.address},
                     {"NETMASK", texts.netmask},
                     {"BOOTPROTO", "static"}}) ||
        !change.remove({"MASTER", "SLAVE"})) {
        return MORV_LOG_FAIL(LOG_ERR, ERR_OUT_OF_MEMORY, -1, "Out of memory");
    }
    // Where the file is: a link to it stays one, whatever becomes of the change.
    char path[PATH_MAX];
    if (!follow_links(SysPath(InterfaceFile::settings(name).path()).c_str(), path))
        return MORV_LOG_FAIL(LOG_ERR, ERR_OPEN_FAILED, -1, "Cannot find the settings of %s", name);
    Backup backup(path);
    int code = change.write(path);
    if (code != 0) {
        MORV_LOG(LOG_ERR, "Set %s error.", path);
    } else {
        code = apply(name, texts.address, texts.netmask, texts.broadcast);
    }
    if (code != 0) return MORV_FAIL(code, -1);
    backup.keep_change(name);
    return 0;
}
