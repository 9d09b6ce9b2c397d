// The commands of `morvctl net` that change an address.
#include <morvsdk/error.h>
#include <morvsdk/internal/net.h>
#include <net/if.h>
#include <string.h>

#include <algorithm>

#include "morvctl/net_change.h"
#include "morvctl/record_event.h"
#include "morvctl/target.h"

namespace morvctl {

namespace {

// Throws for the library's call that has just failed, and says what the interface has now.
[[noreturn]] void fail_address(const std::string &what, const std::string &interface,
                               const std::string &former) {
    try {
        fail_net(what);
    } catch (const Failure &failure) {
        char now[MORV_IP_TEXT_SIZE];
        const bool has_one = MORVILnxGetIP(interface.c_str(), now, sizeof now) == 0;
        std::string text = failure.what();
        text += "; its configuration file is as it was, and in the kernel it has " +
                (has_one ? std::string(now) : "no address");
        if (!former.empty() && (!has_one || former != now)) text += " instead of " + former;
        throw Failure(failure.code, text);
    }
}

// What follows on another change that has been made.
void follow_up(const std::string &done, const std::function<void()> &work) {
    try {
        work();
    } catch (const Failure &failure) {
        throw Failure(failure.code, done + ", but: " + failure.what());
    }
}

void check_not_bonded(const std::string &name, bool force) {
    for (const NET_INTERFACE &entry : read_interfaces(MORV_NET_ALL)) {
        if (force || name != entry.name || (entry.flags & IFF_SLAVE) == 0) continue;
        refuse(name + " is bonded into another interface, and this would take it out: --force does it");
    }
}

// The networks of the others, when an interface gets an address.
std::vector<Network> networks_beside(const std::string &name) {
    auto networks = read_networks();
    std::erase_if(networks, [&](const Network &network) { return network.interface == name; });
    return networks;
}

void tell_card(const Session &session, const std::string &name, Report &report) {
    const Card card = read_card(session, name);
    report.document["interface"] = card_json(card);
    report.lines.push_back(card.fault.empty() ? name + " has the address " + card.address + ", netmask " +
                                                    card.netmask + (card.by_dhcp ? ", by DHCP" : ", static")
                                              : card.fault);
}

void note_client(const Session &session, const std::string &name, Report &report) {
    const int client = dhcp_client(session, name);
    if (client == 0 || !session.dry_run) return;
    report.document["ended_process"] = client;
    report.notes.push_back("the DHCP client of " + name + ", process " + std::to_string(client) +
                           ", would be ended");
}

// ---- a static address ----

// "192.168.1.10/24"; or the address, and "255.255.255.0", "/24" or "24".
Network parse_network(const NetArgs &args, Report &report) {
    std::string address = args.address;
    std::string netmask = args.netmask.value_or("");
    if (const size_t slash = address.find('/'); slash != address.npos && netmask.empty()) {
        netmask = address.substr(slash + 1);
        address.resize(slash);
    }
    if (netmask.empty()) throw Failure(Exit::kUsage, "NETMASK is missing, as 255.255.255.0 or /24");
    const std::string given = need(judge_address, address, report);
    const std::string prefix = netmask_of_prefix(netmask);
    if (prefix.empty() && netmask.find('.') == netmask.npos) {
        refuse("'" + escape(netmask) +
               "' is no netmask, as 255.255.255.0, and no prefix length from /1 to /32");
    }
    return {args.name, parse_ipv4(given),
            parse_ipv4(prefix.empty() ? need(judge_netmask, netmask, report) : prefix)};
}

// Refuses an address that no host can have, or that another interface has.
void check_address(const Network &network, const std::vector<Network> &others, Report &report) {
    const std::string address = ipv4_text(network.address);
    if (!network.has_host(network.address)) {
        refuse(address + " is " + (network.address == network.first() ? "the network" : "the broadcast") +
               " address of " + network.text() + ", and no host's");
    }
    for (const Network &other : others) {
        if (other.address == network.address)
            refuse(other.interface + " has the address " + address + " already");
        if (network.holds(other.address) || other.holds(network.address)) {
            report.notes.push_back(other.interface + " is in the network " + other.text() +
                                   ", too: which of the two answers is not certain");
        }
    }
}

// The library sets the host name again with the address, and undoes the file when it cannot.
void check_host_name(const Session &session) {
    const std::string name = read_host_name();
    const Verdict verdict = judge_host(name);
    if (name.empty() ? !session.root.empty() : verdict.is_valid()) return;
    refuse((name.empty() ? "there is no host name" : verdict.reason) +
           ", and without a valid one no address can be set: 'morvctl net hostname NAME' sets it first");
}

// Refuses to lose the way out that there is: the stored gateway, which is to be another host of a network
// then, too; or a default route that is stored nowhere, as a DHCP client sets it, and goes with the
// address.
void check_way_out(const std::string &name, const std::string &stored, const std::vector<Network> &after,
                   bool force) {
    if (force) return;
    const auto before = read_networks();
    if (const uint32_t address = parse_ipv4(stored); address != 0) {
        if (!can_reach(before, address) || can_reach(after, address)) return;
        refuse(
            "the gateway " + stored +
            " would lie in no network any more, and nothing beyond could be reached: --gateway ADDRESS sets "
            "another, --force goes on without");
    }
    const std::string route = read_default_route();
    const uint32_t address = parse_ipv4(route);
    const bool goes = address != 0 && std::any_of(before.begin(), before.end(), [&](const Network &network) {
                          return network.interface == name && network.has_host(address);
                      });
    if (!goes) return;
    refuse("the default route by " + route + " is not stored, and would go with the old address: --gateway " +
           (can_reach(after, address) ? route + " keeps it" : "ADDRESS sets another") +
           ", --force goes on without");
}

// What the address cannot be set without, looked at before the kernel has it.
void check_files(const Session &session) {
    for (const char *file : {kHostsFile, kNetworkFile})
        open_file({file, system_path(session, file)}, true);
}

}  // namespace

int set_static(const Session &session, const NetArgs &args) {
    const std::string name = need_interface(session, args.name);
    const auto apply = [&](Report &report, NetPreview *preview) {
        const Network network = parse_network(args, report);
        const std::string new_gateway = args.gateway ? need(judge_address, *args.gateway, report) : "";
        const std::string new_server = args.name_server ? need(judge_address, *args.name_server, report) : "";
        check_not_bonded(name, args.force);
        auto networks = networks_beside(name);
        check_address(network, networks, report);
        networks.push_back(network);
        const std::string old_gateway = read_gateway();
        if (args.gateway) {
            check_gateway(new_gateway, networks, args.force);
        } else {
            check_way_out(name, old_gateway, networks, args.force);
        }
        check_host_name(session);
        check_files(session);

        const Card former = read_card(session, name);
        NET_CARD old = {};
        NET_CARD card = {};
        card.isStatic = 1;
        memcpy(card.name, name.c_str(), std::min(name.size() + 1, sizeof card.name));
        const auto put = [](char(&field)[20], const std::string &text) {
            memcpy(field, text.c_str(), std::min(text.size() + 1, sizeof field));
        };
        put(card.address, ipv4_text(network.address));
        put(card.netmask, ipv4_text(network.netmask));
        const bool is_known = former.fault.empty() && former.address.size() < sizeof old.address &&
                              former.netmask.size() < sizeof old.netmask;
        if (is_known) {
            put(old.address, former.address);
            put(old.netmask, former.netmask);
        }
        const bool is_near = can_reach({network}, parse_ipv4(old_gateway));
        if (preview && is_near) preview->lose_routes(name);
        note_client(session, name, report);
        clear_errors();
        if (MORVNetSetCard1(&card, is_known ? &old : nullptr) != 0) {
            fail_address("give " + name + " the address " + card.address, name, former.current);
        }
        record_event(session, MORV_EVENT_ADDRESS_SET, {name, card.address, card.netmask});
        if (preview && is_near && !args.gateway) preview->settle_route(old_gateway);
        follow_up(name + " has the address " + card.address, [&] {
            if (args.gateway) store_gateway(session, new_gateway);
            if (args.name_server) store_name_server(session, new_server, report);
        });
    };
    const auto tell = [&](Report &report) {
        tell_card(session, name, report);
        if (args.gateway) tell_gateway(report);
        if (args.name_server) tell_name_server(report);
    };
    return change_net(session, {kHostLocks, name, true}, apply, tell);
}

// The library brings the host name's line in "/etc/hosts" to a static address, but not to a leased one.
static void follow_address() {
    const std::string name = read_host_name();
    if (!judge_host(name).is_valid()) return;
    clear_errors();
    if (MORVLnxSetHostname(name.c_str()) != 0) fail_net("bring the host name to the new address");
}

int set_dhcp(const Session &session, const NetArgs &args) {
    const std::string name = need_interface(session, args.name);
    const auto apply = [&](Report &report, NetPreview *) {
        check_not_bonded(name, args.force);
        const Card former = read_card(session, name);
        NET_CARD card = {};
        memcpy(card.name, name.c_str(), std::min(name.size() + 1, sizeof card.name));
        note_client(session, name, report);
        clear_errors();
        const int answer = MORVNetSetCard1(&card, nullptr);
        if (answer == -2) {
            try {
                fail_net("write " + config_file(name));
            } catch (const Failure &failure) {
                throw Failure(failure.code, name +
                                                " has got an address by DHCP, but will not when it is next "
                                                "brought up: " +
                                                failure.what());
            }
        }
        if (answer != 0) fail_address("get an address for " + name + " by DHCP", name, former.current);
        record_event(session, MORV_EVENT_ADDRESS_BY_DHCP, {name});
        follow_up(name + " has an address by DHCP", follow_address);
        if (session.dry_run) {
            report.notes.push_back("the host name's line in " + std::string(kHostsFile) +
                                   " would get the leased address, if its address is that of " + name);
        }
    };
    return change_net(session, {kHostLocks, name, true}, apply,
                      [&](Report &report) { tell_card(session, name, report); });
}

}  // namespace morvctl
