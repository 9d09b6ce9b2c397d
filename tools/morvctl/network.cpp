#include "morvctl/network.h"

#include <errno.h>
#include <limits.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/internal/net.h>
#include <net/if.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "morvctl/net_text.h"
#include "morvctl/target.h"
#include "morvctl/text_lines.h"

namespace morvctl {

namespace {

constexpr CodeText kTexts[] = {
    {ERR_OP_FAILURE, true, "the command for it failed or is missing; the system log names it"},
    {ERR_INVALID_NETNAME, true, "the library takes it for no valid one"},
    {ERR_ACCESS_DENIED, true, "the kernel allows it to root alone"},
};

// A text that the library reads into a buffer; "" when it fails with `none`, or for want of the file.
template <class Read>
std::string read_text(const char *what, int none, Read read) {
    char buffer[1024];
    clear_errors();
    if (read(buffer, int(sizeof buffer)) == 0) return buffer;
    if (MLIBErrGet() == none || (MLIBErrGet() == ERR_OPEN_FAILED && errno == ENOENT)) return "";
    fail_net(what);
}

Card card_of_files(const Session &session, const std::string &name) {
    Card card;
    card.name = name;
    const std::string config = config_file(name);
    std::string source = config;
    try {
        card.by_dhcp = read_key(session, config, "BOOTPROTO") == "dhcp";
        if (card.by_dhcp) source = lease_file(name);
        card.address = read_key(session, source, "IPADDR");
        card.netmask = read_key(session, source, "NETMASK");
    } catch (const Failure &failure) {
        card.fault = failure.what();
        return card;
    }
    if (!card.address.empty() && !card.netmask.empty()) return card;
    const std::string path = system_path(session, source);
    const bool is_missing = access(path.c_str(), F_OK) != 0;
    if (card.by_dhcp) {
        card.fault = name + " has no lease: " + source +
                     (is_missing ? " is not there" : " lacks the address or the netmask");
    } else {
        card.fault = name + " has no address: " + source +
                     (is_missing             ? " is not there"
                      : card.address.empty() ? " has no IPADDR"
                                             : " has no NETMASK");
    }
    return card;
}

void add_mtu(Card &card) {
    try {
        card.mtu = read_mtu(card.name);
    } catch (const Failure &failure) {
        if (card.fault.empty()) card.fault = failure.what();
    }
}

void add_entry(Card &card, const NET_INTERFACE &entry) {
    card.is_up = true;
    card.has_link = entry.link == 2;
    card.hardware = hardware_text(entry.hardware);
    card.current = entry.address;
}

// The interface of that index as the library has it; as its files have it when it has not.
Card card_of_index(const Session &session, int index, const NET_INTERFACE &entry) {
    NET_CARD record;
    clear_errors();
    const int answer = MORVNetGetCard1(index, nullptr, &record);
    const std::string cause = answer < 0 ? error_name(MLIBErrGet()) : "";
    Card card;
    // Interfaces come and go.
    if (answer == 1 && strcmp(record.name, entry.name) == 0) {
        card.name = record.name;
        card.by_dhcp = record.isStatic == 0;
        card.address = record.address;
        card.netmask = record.netmask;
    } else {
        card = card_of_files(session, entry.name);
        if (card.fault.empty() && answer < 0) card.fault = card.name + " cannot be read (" + cause + ")";
    }
    add_entry(card, entry);
    return card;
}

// Those that have an index, in its order.
std::vector<NET_INTERFACE> indexed_interfaces() {
    std::vector<NET_INTERFACE> entries(MORV_NET_MAX_CARDS);
    clear_errors();
    const int count = MLIBNetGetInterfaceInfo(entries.data(), MORV_NET_MAX_CARDS, MORV_NET_BUT_SLAVES);
    if (count < 0) fail_net("list the network interfaces");
    entries.resize(size_t(count));
    return entries;
}

}  // namespace

std::string config_file(const std::string &interface) {
    return std::string(kConfigFolder) + "/ifcfg-" + interface;
}

std::string lease_file(const std::string &interface) {
    return "/etc/dhcpc/dhcpcd-" + interface + ".info";
}

void fail_net(const std::string &what) {
    fail_library(what, kTexts);
}

bool Network::has_host(uint32_t other) const {
    // A network of one or two addresses has no others.
    return holds(other) && (prefix_of(netmask) > 30 || (other != first() && other != last()));
}

std::string Network::text() const {
    return ipv4_text(first()) + "/" + std::to_string(prefix_of(netmask));
}

std::vector<NET_INTERFACE> read_interfaces(int selection) {
    for (int room = 32;; room *= 2) {
        std::vector<NET_INTERFACE> entries{size_t(room)};
        clear_errors();
        const int count = MLIBNetGetInterfaceInfo(entries.data(), room, selection);
        if (count < 0) fail_net("list the network interfaces");
        entries.resize(size_t(count));
        if (count < room || room > INT_MAX / 2) return entries;
    }
}

std::vector<Network> read_networks() {
    std::vector<Network> networks;
    for (const NET_INTERFACE &entry : read_interfaces(MORV_NET_BUT_SLAVES)) {
        char netmask[MORV_IP_TEXT_SIZE];
        const uint32_t address = parse_ipv4(entry.address);
        if (address == 0 || MORVILnxGetNetmask(entry.name, netmask, sizeof netmask) != 0) continue;
        networks.push_back({entry.name, address, parse_ipv4(netmask)});
    }
    return networks;
}

std::vector<std::string> interface_names(const Session &session) {
    constexpr char kDevices[] = "/proc/net/dev";
    const std::string text = read_content({kDevices, system_path(session, kDevices)});
    std::vector<std::string> names;
    int number = 0;
    for (size_t at = 0; at < text.size(); at = next_line(text, at)) {
        if (++number <= 2) continue;  // headings
        const std::string_view line = line_at(text, at);
        const size_t start = line.find_first_not_of(" \t");
        const size_t end = line.find(':');
        if (end == line.npos || start >= end) continue;
        const std::string name(line.substr(start, end - start));
        if (name != "lo") names.push_back(name);
    }
    return names;
}

std::string need_interface(const Session &session, const std::string &name) {
    auto names = interface_names(session);
    std::sort(names.begin(), names.end());
    if (std::find(names.begin(), names.end(), name) != names.end()) return name;
    std::string known;
    for (const std::string &other : names)
        known.append(known.empty() ? "; there are: " : ", ").append(other);
    throw Failure(Exit::kNotFound, "there is no network interface '" + escape(name) + "'" +
                                       (known.empty() ? ", nor any other" : known));
}

std::string hardware_text(const uint8_t (&hardware)[6]) {
    if (std::all_of(std::begin(hardware), std::end(hardware), [](uint8_t byte) { return byte == 0; }))
        return "";
    std::string text;
    for (const uint8_t byte : hardware) {
        char part[4];
        snprintf(part, sizeof part, "%02x:", byte);
        text += part;
    }
    text.pop_back();
    return text;
}

std::string read_key(const Session &session, const std::string &name, const char *key) {
    const std::string path = system_path(session, name);
    char value[1024];
    clear_errors();
    const int size = MLIBFileGetKeyValue(path.c_str(), key, value, sizeof value, 0);
    if (size > 0) return value;
    if (size < 0 && (MLIBErrGet() != ERR_OPEN_FAILED || errno != ENOENT)) fail_net("read " + name);
    return "";
}

std::vector<Card> read_cards(const Session &session) {
    std::vector<Card> cards;
    const auto indexed = indexed_interfaces();
    for (size_t i = 0; i < indexed.size(); ++i)
        cards.push_back(card_of_index(session, int(i), indexed[i]));
    // The library gives an index to the first few only.
    for (const NET_INTERFACE &entry : read_interfaces(MORV_NET_BUT_SLAVES)) {
        const auto has_name = [&](const Card &card) { return card.name == entry.name; };
        if (std::any_of(cards.begin(), cards.end(), has_name)) continue;
        cards.push_back(card_of_files(session, entry.name));
        add_entry(cards.back(), entry);
    }
    for (Card &card : cards)
        add_mtu(card);
    return cards;
}

Card read_card(const Session &session, const std::string &name) {
    const auto indexed = indexed_interfaces();
    const auto has_name = [&](const NET_INTERFACE &entry) { return name == entry.name; };
    const auto found = std::find_if(indexed.begin(), indexed.end(), has_name);
    Card card;
    if (found != indexed.end()) {
        card = card_of_index(session, int(found - indexed.begin()), *found);
    } else {
        card = card_of_files(session, name);
        const auto all = read_interfaces(MORV_NET_ALL);
        const auto entry = std::find_if(all.begin(), all.end(), has_name);
        if (entry != all.end()) add_entry(card, *entry);
    }
    add_mtu(card);
    return card;
}

Json card_json(const Card &card) {
    return {{"name", card.name},
            {"up", card.is_up},
            {"link", card.has_link},
            {"assignment", card.by_dhcp ? "dhcp" : "static"},
            {"address", text_json(card.address)},
            {"netmask", text_json(card.netmask)},
            {"current_address", text_json(card.current)},
            {"hardware", text_json(card.hardware)},
            {"mtu", text_json(card.mtu)}};
}

std::string read_name_server() {
    return read_text("read the name server", ERR_SUCCESS, MORVNetDNSGet);
}

std::string read_gateway() {
    return read_text("read the gateway", ERR_KEY_NOT_FOUND, MORVNetDefaultGatewayGetConf);
}

std::string read_default_route() {
    return read_text("read the default route", ERR_KEY_NOT_FOUND, MORVNetDefaultRouteGet);
}

std::string read_host_name() {
    return read_text("read the host name", ERR_KEY_NOT_FOUND, MORVLnxGetHostname);
}

std::string read_mtu(const std::string &interface) {
    return read_text("read the MTU", ERR_KEY_NOT_FOUND, [&](char *buffer, int size) {
        return MORVConfGetMTUValue(interface.c_str(), buffer, size);
    });
}

int dhcp_client(const Session &session, const std::string &interface) {
    const std::string name = "/etc/dhcpc/dhcpcd-" + interface + ".pid";
    const Target file{name, system_path(session, name)};
    if (access(file.path.c_str(), R_OK) != 0) return 0;
    const int pid = atoi(read_content(file).c_str());
    const std::string process = system_path(session, "/proc/" + std::to_string(pid));
    // The number may be another program's by now.
    const auto read = [&](const char *what) {
        const Target target{what, process + what};
        const Fd fd = open_file(target, true);
        return fd ? read_content(target, fd) : std::string();
    };
    if (pid <= 1 || read("/comm") != "dhcpcd\n") return 0;
    return ('\0' + read("/cmdline")).find('\0' + interface + '\0') == std::string::npos ? 0 : pid;
}

HostLine find_host(const std::string &text, const std::string &name) {
    for (size_t at = 0; at < text.size(); at = next_line(text, at)) {
        std::string_view line = line_at(text, at);
        line = line.substr(0, line.find('#'));
        HostLine found;
        for (size_t start = 0; (start = line.find_first_not_of(" \t\r", start)) != line.npos;) {
            const size_t end = std::min(line.find_first_of(" \t\r", start), line.size());
            const std::string word(line.substr(start, end - start));
            if (found.address.empty()) {
                found = {at + start, word};
            } else if (strcasecmp(word.c_str(), name.c_str()) == 0 &&
                       parse_ipv4(found.address) >> 24 != 127 && parse_ipv4(found.address) != 0) {
                return found;
            }
            start = end;
        }
    }
    return {};
}

Json text_json(const std::string &text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

}  // namespace morvctl
