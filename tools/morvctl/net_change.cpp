// The commands of `morvctl net` that change something.
#include <errno.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/internal/net.h>
#include <net/if.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "morvctl/net_preview.h"
#include "morvctl/net_text.h"
#include "morvctl/network.h"
#include "morvctl/record_event.h"
#include "morvctl/signals.h"
#include "morvctl/target.h"
#include "morvctl/text_lines.h"

namespace morvctl {

namespace {

// The library takes these locks itself, and takes them again where they are held: held from before the
// settings are read until they are changed, no other change comes between.
class NetLock {
  public:
    NetLock(const Session &session, uint32_t bits) : bits_(bits) {
        clear_errors();
        if (ErrMLIBFileLock(bits | MORV_LOCK_WRITE, session.timeout) != 0) fail_net("lock the settings");
    }
    ~NetLock() { ErrMLIBFileUnlock(bits_); }
    NetLock(const NetLock &) = delete;
    NetLock &operator=(const NetLock &) = delete;

  private:
    uint32_t bits_;
};

// The host name is kept beside the gateway.
constexpr uint32_t kHostLocks = MORV_LOCK_HOST | MORV_LOCK_NW;

// What a change did, or would do.
struct Report {
    Json document = Json::object();
    std::vector<std::string> lines;  // what holds now
    std::vector<std::string> notes;  // what else there is to know
};

struct Change {
    uint32_t locks = 0;
    std::string interface;
    bool with_host_name = false;
};

// Makes a change; with --dry-run in a private copy, of which the differences are printed. `apply` makes it,
// and `tell` says what holds then.
int change_net(const Session &session, const Change &change,
               const std::function<void(Report &report, const NetPreview *preview)> &apply,
               const std::function<void(Report &report)> &tell) {
    Report report;
    if (session.dry_run) {
        const NetPreview preview(session, change.interface, change.with_host_name);
        apply(report, &preview);
        preview.show(session, report.document);
    } else {
        const NetLock lock(session, change.locks);
        const HeldSignals held;
        MORVFileDurabilitySet(MORV_DURABLE);
        apply(report, nullptr);
        tell(report);
    }
    report.document["notes"] = report.notes;
    report.document["dry_run"] = session.dry_run;
    if (session.json) {
        print_json(report.document);
    } else {
        for (const std::string &line : report.lines)
            print_line(printable(line));
        fflush(stdout);
        for (const std::string &note : report.notes)
            fprintf(stderr, "morvctl: note: %s\n", printable(note).c_str());
    }
    return int(Exit::kDone);
}

// The normal form of a text.
std::string need(Judge judge, const std::string &text, Report &report) {
    const Verdict verdict = judge(text);
    if (!verdict.is_valid()) refuse(verdict.reason);
    if (verdict.normal != text) report.notes.push_back("'" + escape(text) + "' is " + verdict.normal);
    return verdict.normal;
}

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

bool has_host(const std::vector<Network> &networks, uint32_t address) {
    return std::any_of(networks.begin(), networks.end(),
                       [&](const Network &network) { return network.has_host(address); });
}

std::string networks_text(const std::vector<Network> &networks) {
    std::string text;
    for (const Network &network : networks)
        text.append(text.empty() ? "" : ", ").append(network.interface + " is in " + network.text());
    return text.empty() ? "no interface has an address" : text;
}

// Refuses a gateway that could not be one.
void check_gateway(const std::string &text, const std::vector<Network> &networks, bool force) {
    const uint32_t address = parse_ipv4(text);
    for (const Network &network : networks) {
        if (network.address == address) refuse(text + " is the address of " + network.interface + " itself");
    }
    if (force || has_host(networks, address)) return;
    refuse("the gateway " + text + " is no host in a network of the appliance (" + networks_text(networks) +
           "), and nothing beyond could be reached; --force sets it all the same");
}

void store_gateway(const Session &session, const std::string &address) {
    clear_errors();
    if (MORVNetDefaultGatewaySet(address.c_str()) != 0) {
        if (MLIBErrGet() == ERR_OP_FAILURE) {
            throw Failure(Exit::kFailed,
                          "the gateway " + address +
                              " is stored, but it is not the default route: the kernel refuses "
                              "it, or /sbin/route is missing (ERR_OP_FAILURE)");
        }
        fail_net(address.empty() ? "remove the gateway" : "set the gateway " + address);
    }
    record_event(session, MORV_EVENT_GATEWAY_SET, {address.empty() ? "none" : address});
}

void tell_gateway(Report &report) {
    const std::string now = read_gateway();
    report.document["gateway"] = text_json(now);
    report.lines.push_back(now.empty() ? "there is no default gateway" : "the default gateway is " + now);
}

// The lines that go with the file: all but those of the first name server, comments and blank ones.
std::string lost_lines(const Session &session) {
    const Target file{kResolvFile, system_path(session, kResolvFile)};
    const Fd fd = open_file(file, true);
    const std::string text = fd ? read_content(file, fd) : "";
    std::string lost;
    bool is_first = true;
    for (size_t at = 0; at < text.size(); at = next_line(text, at)) {
        std::string_view line = line_at(text, at);
        if (line.ends_with('\r')) line.remove_suffix(1);
        const bool is_server = line.starts_with("nameserver");
        if (line.find_first_not_of(" \t") == line.npos || is_comment(line) ||
            (is_server && std::exchange(is_first, false))) {
            continue;
        }
        lost.append(lost.empty() ? "'" : ", '").append(line).append("'");
    }
    return lost;
}

void store_name_server(const Session &session, const std::string &address, Report &report) {
    const std::string lost = lost_lines(session);
    clear_errors();
    if (MORVNetDNSSet(address.c_str()) != 0)
        fail_net(address.empty() ? "remove the name server" : "set the name server " + address);
    if (!lost.empty()) report.notes.push_back(std::string(kResolvFile) + " had lines that are gone: " + lost);
    record_event(session, MORV_EVENT_NAME_SERVER_SET, {address.empty() ? "none" : address});
}

void tell_name_server(Report &report) {
    const std::string now = read_name_server();
    report.document["name_server"] = text_json(now);
    report.lines.push_back(now.empty() ? "there is no name server" : "the name server is " + now);
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

// What is printed when there is nothing to change.
int print_setting(const Session &session, const char *key, const std::string &value, const char *none) {
    if (session.json) print_json({{key, text_json(value)}});
    if (value.empty()) throw Failure(Exit::kNotFound, none);
    if (!session.json) print_line(printable(value));
    return int(Exit::kDone);
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
void check_stored_host_name() {
    const std::string name = read_host_name();
    const Verdict verdict = judge_host(name);
    if (!name.empty() && verdict.is_valid()) return;
    refuse((name.empty() ? "there is no host name" : verdict.reason) +
           ", and without a valid one no address can be set: 'morvctl net hostname NAME' sets it first");
}

// Refuses to leave the stored gateway in no network when it is in one now.
void check_old_gateway(const std::string &stored, const std::vector<Network> &after, bool force) {
    const uint32_t address = parse_ipv4(stored);
    if (force || address == 0 || !has_host(read_networks(), address) || has_host(after, address)) return;
    refuse("the gateway " + stored +
           " would lie in no network any more, and nothing beyond could be reached: --gateway ADDRESS sets "
           "another, --force goes on without");
}

}  // namespace

int set_static(const Session &session, const NetArgs &args) {
    const std::string name = need_interface(session, args.name);
    const auto apply = [&](Report &report, const NetPreview *preview) {
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
            check_old_gateway(old_gateway, networks, args.force);
        }
        check_stored_host_name();

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
        if (preview && network.holds(parse_ipv4(old_gateway))) preview->lose_routes(name);
        note_client(session, name, report);
        clear_errors();
        if (MORVNetSetCard1(&card, is_known ? &old : nullptr) != 0) {
            fail_address("give " + name + " the address " + card.address, name, former.current);
        }
        record_event(session, MORV_EVENT_ADDRESS_SET, {name, card.address, card.netmask});
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

int set_dhcp(const Session &session, const NetArgs &args) {
    const std::string name = need_interface(session, args.name);
    const auto apply = [&](Report &report, const NetPreview *) {
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
    };
    return change_net(session, {kHostLocks, name, false}, apply,
                      [&](Report &report) { tell_card(session, name, report); });
}

// ---- the other settings ----

int name_server(const Session &session, const NetArgs &args) {
    exclude(args.value.has_value(), args.clear, "ADDRESS and --clear");
    if (!args.value && !args.clear)
        return print_setting(session, "name_server", read_name_server(), "there is no name server");
    return change_net(
        session, {MORV_LOCK_NW, "", false},
        [&](Report &report, const NetPreview *) {
            store_name_server(session, args.clear ? "" : need(judge_address, *args.value, report), report);
        },
        tell_name_server);
}

int gateway(const Session &session, const NetArgs &args) {
    exclude(args.value.has_value(), args.clear, "ADDRESS and --clear");
    if (!args.value && !args.clear) {
        const std::string stored = read_gateway();
        const std::string route = read_default_route();
        if (stored != route) {
            fprintf(stderr, "morvctl: note: the default route in the kernel is %s\n",
                    route.empty() ? "none" : printable(route).c_str());
        }
        return print_setting(session, "gateway", stored, "no default gateway is stored");
    }
    return change_net(
        session, {MORV_LOCK_NW, "", false},
        [&](Report &report, const NetPreview *) {
            const std::string address = args.clear ? "" : need(judge_address, *args.value, report);
            if (!args.clear) check_gateway(address, read_networks(), args.force);
            store_gateway(session, address);
        },
        tell_gateway);
}

int mtu(const Session &session, const NetArgs &args) {
    const std::string name = need_interface(session, args.name);
    if (!args.value) return print_setting(session, "mtu", read_mtu(name), "no MTU is stored");
    const std::string &text = *args.value;
    const bool is_number =
        !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == text.npos;
    const int bytes = is_number ? std::stoi(text) : 0;
    if (bytes < 68 || bytes > 65535)
        refuse("'" + escape(text) + "' is no MTU: that is a number of bytes from 68 to 65535");
    const std::string value = std::to_string(bytes);
    return change_net(
        session, {MORV_LOCK_MORVINFO, "", false},
        [&](Report &, const NetPreview *) {
            clear_errors();
            if (MORVConfSetMTUValue(value.c_str(), name.c_str()) != 0) fail_net("set the MTU of " + name);
            record_event(session, MORV_EVENT_MTU_SET, {name, value});
        },
        [&](Report &report) {
            report.document["mtu"] = read_mtu(name);
            report.lines.push_back("the MTU of " + name + " is " + value +
                                   " bytes from when it is next brought up");
        });
}

int host_name(const Session &session, const NetArgs &args) {
    if (!args.value) return print_setting(session, "host_name", read_host_name(), "no host name is stored");
    const std::string &name = *args.value;
    const Verdict verdict = judge_host(name);
    if (!verdict.is_valid()) refuse(verdict.reason);
    return change_net(
        session, {kHostLocks, "", false},
        [&](Report &report, const NetPreview *) {
            clear_errors();
            if (MORVLnxSetHostname(name.c_str()) != 0) fail_net("set the host name " + name);
            if (session.dry_run && session.root.empty())
                report.notes.push_back("the kernel's host name would be " + name);
            record_event(session, MORV_EVENT_HOST_NAME_SET, {name});
        },
        [&](Report &report) {
            const std::string now = read_host_name();
            report.document["host_name"] = text_json(now);
            report.lines.push_back("the host name is " + now);
        });
}

}  // namespace morvctl
