// What the commands of `morvctl net` have in common: the network's files, and what the kernel makes of them.
#pragma once

#include <morvsdk/net.h>

#include <optional>
#include <string>
#include <vector>

#include "morvctl/families.h"
#include "morvctl/output.h"

namespace morvctl {

inline constexpr char kNetworkFile[] = "/etc/sysconfig/network";
inline constexpr char kResolvFile[] = "/etc/resolv.conf";
inline constexpr char kHostsFile[] = "/etc/hosts";
inline constexpr char kConfigFolder[] = "/etc/sysconfig/network-scripts";
std::string config_file(const std::string &interface);
std::string lease_file(const std::string &interface);

// Throws for the library's call that has just failed.
[[noreturn]] void fail_net(const std::string &what);

// An address of an interface in the kernel, and the network around it.
struct Network {
    std::string interface;
    uint32_t address = 0;
    uint32_t netmask = 0;

    uint32_t first() const { return address & netmask; }
    uint32_t last() const { return address | ~netmask; }
    bool holds(uint32_t other) const { return (other & netmask) == first(); }
    // Not those of the network itself and of its broadcasts.
    bool has_host(uint32_t other) const;
    std::string text() const;  // "192.168.1.0/24"
};

// The interfaces that are up, by name. selection: MORV_NET_...
std::vector<NET_INTERFACE> read_interfaces(int selection);
std::vector<Network> read_networks();

// All that the kernel has, in its order, but the loopback; also those that are down.
std::vector<std::string> interface_names(const Session &session);

// The name of one of them; another is refused, naming those that there are.
std::string need_interface(const Session &session, const std::string &name);

// "00:11:32:aa:bb:cc"; "" when it has none.
std::string hardware_text(const uint8_t (&hardware)[6]);

// The value of a key; "" when there is none. `name` is a file of the system.
std::string read_key(const Session &session, const std::string &name, const char *key);

// An interface as its files have it, and its address in the kernel.
struct Card {
    std::string name;
    bool is_up = false;
    bool has_link = false;
    bool by_dhcp = false;
    std::string hardware, address, netmask, mtu;
    std::string current;  // the kernel's address
    std::string fault;    // why address or netmask is not known; "" when both are
};

// All that are up and no slaves, or the one of that name, also when it is down.
std::vector<Card> read_cards(const Session &session);
Card read_card(const Session &session, const std::string &name);
Json card_json(const Card &card);

// "" for none.
std::string read_name_server();
std::string read_gateway();
std::string read_default_route();
std::string read_host_name();
std::string read_mtu(const std::string &interface);

// The number of the DHCP client of an interface, if its pid file names a process that runs; else 0.
int dhcp_client(const Session &session, const std::string &interface);

// The line of a host in the text of "/etc/hosts", but none of the loopback network: where it begins with its
// address; "" when there is none.
struct HostLine {
    size_t at = 0;
    std::string address;
};
HostLine find_host(const std::string &text, const std::string &name);

Json text_json(const std::string &text);  // null for ""

// ---- the commands ----

struct NetArgs {
    std::string name, address, kind;
    std::optional<std::string> netmask, value, gateway, name_server;
    bool names = false;
    bool clear = false;
    bool force = false;
};

int set_static(const Session &session, const NetArgs &args);
int set_dhcp(const Session &session, const NetArgs &args);
int name_server(const Session &session, const NetArgs &args);
int gateway(const Session &session, const NetArgs &args);
int mtu(const Session &session, const NetArgs &args);
int host_name(const Session &session, const NetArgs &args);
int check_network(const Session &session, const NetArgs &args);

}  // namespace morvctl
