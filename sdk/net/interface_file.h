// The files of an interface.
#pragma once

#include <stddef.h>
#include <stdio.h>

namespace morv {

// What is longer, in bytes, is no such file.
inline constexpr size_t kInterfaceFileMost = size_t{1} << 20;

// "/etc/sysconfig/network-scripts/ifcfg-eth0" and its like, for a name that is_interface_name takes. A path
// of the system: SysPath puts the root in front.
class InterfaceFile {
  public:
    static InterfaceFile settings(const char *name) noexcept {
        return InterfaceFile("/etc/sysconfig/network-scripts/ifcfg-", name, "");
    }
    static InterfaceFile lease(const char *name) noexcept {
        return InterfaceFile("/etc/dhcpc/dhcpcd-", name, ".info");
    }
    static InterfaceFile client_pid(const char *name) noexcept {
        return InterfaceFile("/etc/dhcpc/dhcpcd-", name, ".pid");
    }
    const char *path() const noexcept { return path_; }

  private:
    InterfaceFile(const char *prefix, const char *name, const char *suffix) noexcept {
        snprintf(path_, sizeof path_, "%s%s%s", prefix, name, suffix);
    }

    char path_[64];
};

}  // namespace morv
