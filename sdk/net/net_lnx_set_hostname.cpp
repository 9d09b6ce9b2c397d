#include <errno.h>
#include <morvsdk/net.h>
#include <net/if.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "core/base/fail.h"
#include "core/base/kept_error.h"
#include "core/base/no_throw.h"
#include "core/file/family_lock.h"
#include "core/file/file_edit.h"
#include "core/file/sys_path.h"
#include "core/system/interfaces.h"
#include "core/text/hosts_text.h"
#include "core/text/key_lines.h"

using namespace morv;

namespace {

// The addresses by which others reach the appliance.
void find_own_addresses(std::vector<uint32_t> &own) {
    InterfaceNames names;
    InterfaceSocket kernel;
    if (names.load() != 0 || !kernel.open()) return;
    while (const char *const name = names.next()) {
        int16_t flags;
        uint32_t address;
        if (kernel.flags(name, flags) && (flags & IFF_UP) && !(flags & IFF_LOOPBACK) &&
            kernel.address(name, address)) {
            own.push_back(address);
        }
    }
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
    if (code != ERR_KEY_NOT_FOUND && !(code == ERR_OPEN_FAILED && errno == ENOENT)) return code;
    before.restore();
    return 0;
}

int set_name(const char *name) {
    char old_name[256];
    if (int code = read_old_name(old_name)) return code;
    std::vector<uint32_t> own;
    find_own_addresses(own);

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
    int code = network.put();
    if (code == 0) {
        code = hosts.put();
        if (code != 0) network.take_back();
    }
    if (code != 0 && is_other) set_kernel_name(old_name);
    return code;
}

}  // namespace

extern "C" int MORVLnxSetHostname(const char *name) noexcept {
    if (!name) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (!BlMLIBIsHostname(name)) return MORV_FAIL(ERR_INVALID_NETNAME, -1);
    const FamilyLock lock(MORV_LOCK_HOST | MORV_LOCK_NW | MORV_LOCK_WRITE);
    if (!lock.is_held()) return -1;
    if (int code = no_throw([name] { return set_name(name); })) return MORV_FAIL(code, -1);
    return 0;
}
