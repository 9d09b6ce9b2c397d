// The commands of `morvctl net` that change a setting.
#include "morvctl/net_change.h"

#include <morvsdk/error.h>
#include <stdio.h>

#include <algorithm>
#include <utility>

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

std::string networks_text(const std::vector<Network> &networks) {
    std::string text;
    for (const Network &network : networks)
        text.append(text.empty() ? "" : ", ").append(network.interface + " is in " + network.text());
    return text.empty() ? "no interface has an address" : text;
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

// What is printed when there is nothing to change.
int print_setting(const Session &session, const char *key, const std::string &value, const char *none) {
    if (session.json) print_json({{key, text_json(value)}});
    if (value.empty()) throw Failure(Exit::kNotFound, none);
    if (!session.json) print_line(printable(value));
    return int(Exit::kDone);
}

}  // namespace

int change_net(const Session &session, const Change &change,
               const std::function<void(Report &report, NetPreview *preview)> &apply,
               const std::function<void(Report &report)> &tell) {
    Report report;
    if (session.dry_run) {
        NetPreview preview(session, change.interface, change.with_host_name);
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

std::string need(Judge judge, const std::string &text, Report &report) {
    const Verdict verdict = judge(text);
    if (!verdict.is_valid()) refuse(verdict.reason);
    if (verdict.normal != text) report.notes.push_back("'" + escape(text) + "' is " + verdict.normal);
    return verdict.normal;
}

bool can_reach(const std::vector<Network> &networks, uint32_t gateway) {
    return std::any_of(networks.begin(), networks.end(), [&](const Network &network) {
        return network.has_host(gateway) && network.address != gateway;
    });
}

void check_gateway(const std::string &text, const std::vector<Network> &networks, bool force) {
    const uint32_t address = parse_ipv4(text);
    for (const Network &network : networks) {
        if (network.address == address) refuse(text + " is the address of " + network.interface + " itself");
    }
    if (force || can_reach(networks, address)) return;
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
    report.lines.push_back(now.empty() ? "no default gateway is stored" : "the default gateway is " + now);
    const std::string route = now.empty() ? read_default_route() : "";
    if (!route.empty()) report.notes.push_back("the kernel still has a default route, by " + route);
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

int name_server(const Session &session, const NetArgs &args) {
    exclude(args.value.has_value(), args.clear, "ADDRESS and --clear");
    if (!args.value && !args.clear)
        return print_setting(session, "name_server", read_name_server(), "there is no name server");
    return change_net(
        session, {MORV_LOCK_NW, "", false},
        [&](Report &report, NetPreview *) {
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
        [&](Report &report, NetPreview *) {
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
        [&](Report &report, NetPreview *) {
            constexpr size_t kKeyed = 7;
            for (const std::string &other : interface_names(session)) {
                if (other != name && other.substr(0, kKeyed) == name.substr(0, kKeyed))
                    report.notes.push_back("it is that of " + other + ", too: their names begin alike");
            }
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
        session, {kHostLocks, "", true},
        [&](Report &report, NetPreview *) {
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
