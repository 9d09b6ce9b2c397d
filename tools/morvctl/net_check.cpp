// morvctl net check: what of the network's files does not fit the kernel, or each other.
#include <errno.h>
#include <morvsdk/error.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "morvctl/net_text.h"
#include "morvctl/network.h"
#include "morvctl/target.h"

namespace morvctl {

namespace {

struct Finding {
    std::string subject;
    std::string text;
    std::string remedy;
};
using Findings = std::vector<Finding>;

std::string command(const std::string &words) {
    return "'morvctl net " + words + "'";
}

// What the kernel has.
struct Kernel {
    std::map<std::string, NET_INTERFACE> interfaces;  // that are up
    std::vector<Network> networks;

    bool is_up(const std::string &name) const { return interfaces.contains(name); }
    const Network *network_of(const std::string &name) const {
        const auto found = std::find_if(networks.begin(), networks.end(),
                                        [&](const Network &network) { return network.interface == name; });
        return found == networks.end() ? nullptr : &*found;
    }
};

// Files in the folder of the configuration, by name: those of interfaces, and what a change has left there.
struct ConfigFiles {
    std::vector<std::string> interfaces;
    std::vector<std::string> backups;
};

ConfigFiles config_files(const Session &session) {
    ConfigFiles files;
    std::error_code ignored;
    for (const auto &entry :
         std::filesystem::directory_iterator(system_path(session, kConfigFolder), ignored)) {
        std::string name = entry.path().filename().string();
        if (!name.starts_with("ifcfg-")) continue;
        const size_t mark = name.rfind(".tmp");
        if (mark != name.npos && mark + 4 < name.size() &&
            name.find_first_not_of("0123456789", mark + 4) == name.npos) {
            files.backups.push_back(name);
        } else {
            files.interfaces.push_back(name.substr(strlen("ifcfg-")));
        }
    }
    std::sort(files.interfaces.begin(), files.interfaces.end());
    std::sort(files.backups.begin(), files.backups.end());
    return files;
}

std::string set_again(const std::string &name, const std::string &address, const std::string &netmask) {
    return command("set-static " + name + " " + address + " " + netmask) + " sets it anew, in both";
}

void check_static(const Session &session, const std::string &name, const Kernel &kernel, Findings &findings) {
    const std::string file = config_file(name);
    const std::string address = read_key(session, file, "IPADDR");
    const std::string netmask = read_key(session, file, "NETMASK");
    const std::string remedy = command("set-static " + name + " ADDRESS NETMASK") + " sets both";
    const auto usable = [&](const char *key, const std::string &value, Judge judge, uint32_t &number) {
        const Verdict verdict = judge(value);
        if (value.empty()) {
            findings.push_back({name, file + " has no " + key, remedy});
        } else if (!verdict.is_valid()) {
            findings.push_back({name, std::string(key) + " in " + file + ": " + verdict.reason, remedy});
        }
        number = parse_ipv4(verdict.normal);
        return verdict.is_valid();
    };
    Network stored{name};
    const bool has_address = usable("IPADDR", address, judge_address, stored.address);
    const bool has_netmask = usable("NETMASK", netmask, judge_netmask, stored.netmask);
    if (!has_address || !has_netmask) return;
    if (!stored.has_host(stored.address)) {
        findings.push_back(
            {name, address + " in " + file + " is no host in its network " + stored.text(), remedy});
    }
    if (!kernel.is_up(name)) return;
    const Network *current = kernel.network_of(name);
    const std::string again = set_again(name, address, netmask);
    if (!current) {
        findings.push_back(
            {name, name + " is to have the address " + address + ", and in the kernel has none", again});
    } else if (current->address != stored.address) {
        findings.push_back({name,
                            name + " is to have the address " + address + ", and in the kernel has " +
                                ipv4_text(current->address),
                            again});
    } else if (current->netmask != stored.netmask) {
        findings.push_back({name,
                            name + " is to have the netmask " + netmask + ", and in the kernel has " +
                                ipv4_text(current->netmask),
                            again});
    }
}

void check_dhcp(const Session &session, const std::string &name, const Kernel &kernel, Findings &findings) {
    const std::string anew = command("set-dhcp " + name) + " starts its client anew";
    const std::string leased = read_key(session, lease_file(name), "IPADDR");
    if (leased.empty() || read_key(session, lease_file(name), "NETMASK").empty()) {
        findings.push_back(
            {name, name + " gets its address by DHCP, and " + lease_file(name) + " has no lease", anew});
    }
    if (!kernel.is_up(name)) return;
    if (dhcp_client(session, name) == 0)
        findings.push_back({name, name + " gets its address by DHCP, and no DHCP client runs for it", anew});
    const Network *current = kernel.network_of(name);
    const std::string has = current ? ipv4_text(current->address) : "none";
    if (!leased.empty() && has != leased) {
        findings.push_back(
            {name, name + " has a lease of the address " + leased + ", and in the kernel has " + has, anew});
    }
}

void check_interface(const Session &session, const std::string &name, const Kernel &kernel,
                     Findings &findings) {
    const std::string file = config_file(name);
    const std::string assignment = read_key(session, file, "BOOTPROTO");
    if (assignment != "static" && assignment != "dhcp") {
        findings.push_back(
            {name,
             assignment.empty()
                 ? file + " does not say how " + name + " gets its address, which counts as static"
                 : "BOOTPROTO in " + file + " is '" + escape(assignment) + "', which counts as static",
             command("set-static " + name + " ADDRESS NETMASK") + " or " + command("set-dhcp " + name) +
                 " settles it"});
    }
    if (assignment == "dhcp") {
        check_dhcp(session, name, kernel, findings);
    } else {
        check_static(session, name, kernel, findings);
    }
    if (!kernel.is_up(name) && read_key(session, file, "ONBOOT") == "yes") {
        findings.push_back(
            {name, name + " is configured, and not up",
             "look whether the system log names a reason; if it is not used any more, remove " + file});
    }
}

void check_interfaces(const Session &session, const ConfigFiles &files, const Kernel &kernel,
                      Findings &findings) {
    for (const auto &[name, entry] : kernel.interfaces) {
        if (std::binary_search(files.interfaces.begin(), files.interfaces.end(), name)) continue;
        findings.push_back({name, name + " is up, and has no file " + config_file(name),
                            command("set-static " + name + " ADDRESS NETMASK") + " or " +
                                command("set-dhcp " + name) + " makes it"});
    }
    for (const std::string &name : files.interfaces) {
        if (name == "lo") continue;
        // What is bonded has no address of its own.
        if (read_key(session, config_file(name), "SLAVE") == "yes") continue;
        check_interface(session, name, kernel, findings);
    }
    for (auto one = kernel.networks.begin(); one != kernel.networks.end(); ++one) {
        for (auto other = one + 1; other != kernel.networks.end(); ++other) {
            if (!one->holds(other->address) && !other->holds(one->address)) continue;
            findings.push_back({other->interface,
                                one->interface + " (" + ipv4_text(one->address) + ") and " +
                                    other->interface + " (" + ipv4_text(other->address) +
                                    ") are in one network, " + one->text() +
                                    ": which of the two answers is not certain",
                                "put one of them into another network, or pull its cable"});
        }
    }
    for (const std::string &name : files.backups) {
        const std::string folder = std::string(kConfigFolder) + "/";
        const std::string file = folder + name.substr(0, name.rfind(".tmp"));
        findings.push_back(
            {name.substr(strlen("ifcfg-"), name.rfind(".tmp") - strlen("ifcfg-")),
             folder + name + " was left behind by a change that was interrupted",
             "compare it with " + file + "; remove it when that is right, else move it back there"});
    }
}

void check_gateway(const Session &session, const Kernel &kernel, const ConfigFiles &files,
                   Findings &findings) {
    const std::string stored = read_gateway();
    const std::string route = read_default_route();
    const std::string remedy = command("gateway ADDRESS") + " sets another";
    if (stored.empty()) {
        const bool by_dhcp = std::any_of(
            files.interfaces.begin(), files.interfaces.end(),
            [&](const auto &name) { return read_key(session, config_file(name), "BOOTPROTO") == "dhcp"; });
        if (!route.empty() && !by_dhcp) {
            findings.push_back({"gateway",
                                "the default route by " + route + " is not stored, and gone after a restart",
                                command("gateway " + route) + " stores it"});
        }
        return;
    }
    const Verdict verdict = judge_address(stored);
    if (!verdict.is_valid()) {
        findings.push_back({"gateway", "the stored gateway: " + verdict.reason, remedy});
        return;
    }
    const uint32_t address = parse_ipv4(verdict.normal);
    const bool is_near = std::any_of(
        kernel.networks.begin(), kernel.networks.end(),
        [&](const Network &network) { return network.has_host(address) && network.address != address; });
    if (!is_near) {
        findings.push_back({"gateway",
                            "the stored gateway " + stored + " lies in no network of an interface that is up",
                            remedy});
    }
    if (address == parse_ipv4(route)) return;
    findings.push_back({"gateway",
                        "the stored gateway is " + stored + ", and the default route in the kernel is " +
                            (route.empty() ? "none" : route),
                        is_near ? command("gateway " + stored) + " makes it the default route" : remedy});
}

void check_name_server(Findings &findings) {
    const std::string server = read_name_server();
    const std::string remedy = command("dns ADDRESS") + " sets one";
    if (server.empty()) {
        findings.push_back(
            {"name server", std::string(kResolvFile) + " names no name server: names are not found", remedy});
        return;
    }
    const Verdict verdict = judge_address(server);
    // One on the appliance itself is a name server like others.
    if (!verdict.is_valid() && !server.starts_with("127.")) {
        findings.push_back({"name server",
                            "the name server in " + std::string(kResolvFile) + ": " + verdict.reason,
                            remedy});
    }
}

void check_host_name(const Session &session, const Kernel &kernel, Findings &findings) {
    const std::string name = read_host_name();
    const std::string stored = read_key(session, kNetworkFile, "HOSTNAME");
    const Verdict verdict = judge_host(name);
    if (name.empty() || !verdict.is_valid()) {
        findings.push_back(
            {"host name",
             name.empty() ? "there is no host name" : verdict.reason + ", and no address can be set with it",
             command("hostname NAME") + " sets one"});
        return;
    }
    const std::string remedy = command("hostname " + name) + " brings all to that name";
    if (stored != name) {
        findings.push_back({"host name",
                            "the host name in the kernel is " + name + ", and in " + kNetworkFile +
                                " it is " + (stored.empty() ? "none" : "'" + escape(stored) + "'"),
                            remedy});
    }
    const Target file{kHostsFile, system_path(session, kHostsFile)};
    const Fd fd = open_file(file, true);
    const std::string hosts = fd ? read_content(file, fd) : "";
    const std::string address = find_host(hosts, name).address;
    const bool is_own =
        std::any_of(kernel.networks.begin(), kernel.networks.end(),
                    [&](const Network &network) { return network.address == parse_ipv4(address); });
    if (address.empty()) {
        findings.push_back({"host name", std::string(kHostsFile) + " has no line for " + name, remedy});
    } else if (!is_own && !kernel.networks.empty()) {
        findings.push_back({"host name",
                            name + " has the address " + escape(address) + " in " + kHostsFile +
                                ", which is none of the appliance",
                            remedy});
    }
}

// What cannot be found out is found, too.
template <class Check>
void attempt(const char *subject, Findings &findings, Check check) {
    try {
        check();
    } catch (const Failure &failure) {
        findings.push_back({subject, failure.what(), "see to that first"});
    }
}

}  // namespace

int check_network(const Session &session, const NetArgs &) {
    Kernel kernel;
    for (const NET_INTERFACE &entry : read_interfaces(MORV_NET_BUT_SLAVES))
        kernel.interfaces[entry.name] = entry;
    kernel.networks = read_networks();
    const ConfigFiles files = config_files(session);
    Findings findings;
    attempt("interfaces", findings, [&] { check_interfaces(session, files, kernel, findings); });
    attempt("gateway", findings, [&] { check_gateway(session, kernel, files, findings); });
    attempt("name server", findings, [&] { check_name_server(findings); });
    attempt("host name", findings, [&] { check_host_name(session, kernel, findings); });
    if (session.json) {
        Json documents = Json::array();
        for (const Finding &finding : findings) {
            documents.push_back(
                {{"subject", finding.subject}, {"text", finding.text}, {"remedy", finding.remedy}});
        }
        print_json({{"consistent", findings.empty()}, {"findings", documents}});
    } else if (findings.empty()) {
        print_line("the network's files agree with each other and with the kernel");
    }
    for (const Finding &finding : findings) {
        if (!session.json) print_line(printable(finding.text + "; " + finding.remedy));
    }
    return int(findings.empty() ? Exit::kDone : Exit::kNotFound);
}

}  // namespace morvctl
