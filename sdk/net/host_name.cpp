#include "net/host_name.h"

#include <errno.h>
#include <morvsdk/net.h>
#include <net/if.h>
#include <string.h>
#include <unistd.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/base/kept_error.h"
#include "core/base/no_throw.h"
#include "core/file/file_edit.h"
#include "core/file/key_value.h"
#include "core/file/sys_path.h"
#include "core/system/interfaces.h"
#include "core/system/sysfs.h"
#include "core/text/hosts_text.h"
#include "core/text/ipv4.h"
#include "core/text/key_lines.h"
#include "net/interface_file.h"

namespace morv {

namespace {

// Addresses by the names of their interfaces, of which one comes first.
using Addresses = std::map<std::pair<bool, std::string>, uint32_t>;

int find_in_kernel(const char *first, Addresses &found) {
    InterfaceNames names;
    InterfaceSocket kernel;
    if (int code = names.load()) return code;
    if (!kernel.open()) return ERR_OPEN_FAILED;
    while (const char *const name = names.next()) {
        constexpr int kExcluded = IFF_LOOPBACK | IFF_POINTOPOINT | IFF_SLAVE;
        int16_t flags;
        uint32_t address;
        if (kernel.flags(name, flags) && (flags & IFF_UP) && !(flags & kExcluded) &&
            kernel.address(name, address))
            found[{!first || strcmp(name, first) != 0, name}] = address;
    }
    return 0;
}

int find_in_files(const char *first, Addresses &found) {
    constexpr std::string_view kPrefix = "ifcfg-";
    std::vector<std::string> files;
    if (int code = list_names("/etc/sysconfig/network-scripts", kPrefix, files)) return code;
    for (const std::string &file : files) {
        const std::string name = file.substr(kPrefix.size());
        if (!is_interface_name(name) || name == "lo") continue;
        const InterfaceFile settings = InterfaceFile::settings(name.c_str());
        char text[32];
        const bool is_leased = read_key_value(SysPath(settings.path()).c_str(), "BOOTPROTO", text) == 0 &&
                               std::string_view(text) == "dhcp";
        const InterfaceFile source = is_leased ? InterfaceFile::lease(name.c_str()) : settings;
        uint32_t address;
        if (read_key_value(SysPath(source.path()).c_str(), "IPADDR", text) == 0 &&
            parse_dotted(text, address) && address != 0) {
            found[{!first || name != first, name}] = address;
        }
    }
    return 0;
}

// The addresses by which others reach the appliance, that of the interface `first` in front of those of
// the others by name. An image has those of its files: the kernel's are this machine's. Answers an error
// code.
int find_own_addresses(const char *first, std::vector<uint32_t> &own) {
    Addresses found;
    if (int code = has_system_root() ? find_in_files(first, found) : find_in_kernel(first, found))
        return code;
    for (const auto &[key, address] : found)
        own.push_back(address);
    return 0;
}

// A file that gets its new content together with others.
class SharedChange {
  public:
    int open(const char *path) noexcept {
        return edit_.open(SysPath(path).c_str(), FileEdit::kMayCreate, ERR_READ_FAILED);
    }
    std::string_view text() const noexcept { return edit_.text(); }
    std::string &content() noexcept { return content_; }

    // What holds the text already is not written.
    int prepare() noexcept {
        is_changed_ = content_ != edit_.text();
        return is_changed_ ? edit_.prepare(replacement_, content_, FileEdit::kOwn) : 0;
    }
    int put() noexcept { return is_changed_ ? replacement_.rename_over() : 0; }
    void take_back() const noexcept {
        if (!is_changed_) return;
        const int saved = errno;
        if (edit_.exists()) {
            edit_.commit(edit_.text());
        } else {
            unlink(edit_.target());
        }
        errno = saved;
    }

  private:
    FileEdit edit_;
    ReplacementFile replacement_{edit_.target()};
    std::string content_;
    bool is_changed_ = false;
};

// The kernel's name; below a system root it is another machine's.
int set_kernel_name(const char *name) noexcept {
    if (has_system_root() || sethostname(name, strlen(name)) == 0) return 0;
    return errno == EPERM ? ERR_ACCESS_DENIED : ERR_OP_FAILURE;
}

// Empty when there is none. Answers an error code.
int read_old_name(char (&name)[256]) noexcept {
    name[0] = '\0';
    const KeptError before;
    if (MORVLnxGetHostname(name, sizeof name) == 0) return 0;
    const int code = MLIBErrGet();
    // One that is longer than any name is none.
    if (!is_not_stored(code) && code != ERR_NOT_ENOUGH_MEMORY) return code;
    before.restore();
    return 0;
}

int change(const char *name, const char *first) {
    char old_name[256];
    if (int code = read_old_name(old_name)) return code;
    std::vector<uint32_t> own;
    if (int code = find_own_addresses(first, own)) return code;

    SharedChange network, hosts;
    if (int code = network.open("/etc/sysconfig/network")) return code;
    if (int code = hosts.open("/etc/hosts")) return code;
    std::string lines(network.text());
    if (!lines.empty() && lines.back() != '\n') lines += '\n';
    if (int code = set_key(lines, "HOSTNAME", name, "%s=%s\n", network.content())) return code;
    set_own_host(hosts.text(), old_name, name, own, hosts.content());

    // All that can fail for want of room or rights comes first.
    if (int code = network.prepare()) return code;
    if (int code = hosts.prepare()) return code;
    const bool is_other = strcmp(name, old_name) != 0;
    if (is_other) {
        if (int code = set_kernel_name(name)) return code;
    }
    // A folder that could not be synced does not undo what is in place.
    const int first_code = network.put(), second_code = first_code == ERR_RENAME_FAILED ? 0 : hosts.put();
    if (first_code != ERR_RENAME_FAILED && second_code != ERR_RENAME_FAILED)
        return first_code ? first_code : second_code;
    if (first_code != ERR_RENAME_FAILED) network.take_back();
    if (is_other) set_kernel_name(old_name);
    return ERR_RENAME_FAILED;
}

}  // namespace

int set_host_name(const char *name, const char *first) noexcept {
    if (!BlMLIBIsHostname(name)) return ERR_INVALID_NETNAME;
    return no_throw([&] { return change(name, first); });
}

}  // namespace morv
