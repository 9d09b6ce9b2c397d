// An appliance with network interfaces, the kernel of which is played.
#pragma once

#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/net.h>
#include <net/if.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/fake_net.h"
#include "support/process.h"
#include "support/scratch.h"
#include "support/tool_root.h"

namespace testing_support {

// Waiting is over at once, and this is done meanwhile.
extern std::function<void()> while_waiting;

inline constexpr unsigned kUp = IFF_UP | IFF_RUNNING | IFF_BROADCAST;

struct NetRoot : ToolRoot<> {
    NetRoot() {
        while_waiting = nullptr;
        play_interfaces(dir());
        interface("lo", IFF_UP | IFF_RUNNING | IFF_LOOPBACK, "127.0.0.1/255.0.0.0");
        for (const char *folder : {"etc/sysconfig/network-scripts/x", "etc/dhcpc/x", "etc/ppp/x", "tmp/x"})
            path(folder);
        tool("bin/cp", "exec /bin/cp \"$@\"");
        tool("sbin/ifconfig", "echo \"$2/$4\" >\"$MORV_ROOT/sys/class/net/$1/ipv4\"");
        tool("sbin/route");
        tool("sbin/dhcpcd",
             "printf 'IPADDR=10.1.0.7\\nNETMASK=255.255.0.0\\n' >\"$MORV_ROOT/etc/dhcpc/dhcpcd-$2.info\"");
    }

    ~NetRoot() { MLIBErrSet(ERR_SUCCESS); }

    // As the kernel has it, and lists it.
    void interface(const std::string &name, unsigned flags, const std::string &ipv4 = "") {
        make_interface(dir(), name, flags, ipv4);
        list_ += (name.size() < 6 ? std::string(6 - name.size(), ' ') : "") + name + ":  1300   12    0\n";
        write("proc/net/dev", "Inter-|   Receive\n face |bytes    packets errs\n" + list_);
    }

    static std::string settings_of(const std::string &name) {
        return "etc/sysconfig/network-scripts/ifcfg-" + name;
    }

    // An interface that is up, with this in its configuration file.
    void card(const std::string &name, const std::string &settings, const std::string &ipv4 = "") {
        interface(name, kUp, ipv4);
        write(settings_of(name), settings);
    }

    void routes(const std::string &lines) const {
        write("proc/net/route", "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\n" + lines);
    }

    bool has(const std::string &name) const { return access(path(name).c_str(), F_OK) == 0; }

    std::vector<std::string> settings_files() const { return names("etc/sysconfig/network-scripts"); }

  private:
    std::string list_;
};

inline NET_CARD static_card(const char *name, const char *address, const char *netmask) {
    NET_CARD card = {};
    card.isStatic = 1;
    strcpy(card.name, name);
    strcpy(card.address, address);
    strcpy(card.netmask, netmask);
    return card;
}

inline NET_CARD dhcp_card(const char *name) {
    NET_CARD card = {};
    strcpy(card.name, name);
    return card;
}

// Whether another process can have the locks: none was kept.
inline bool locks_are_free() {
    return in_child([] {
               ErrMLIBFileResetLock(0);
               const uint32_t all = MORV_LOCK_HOST | MORV_LOCK_NW | MORV_LOCK_MORVINFO;
               return ErrMLIBFileLock(all | MORV_LOCK_WRITE, 0) == 0 ? 0 : 1;
           }) == 0;
}

}  // namespace testing_support
