// morvctl net: the addresses of the appliance, and how others find it.
#include <morvsdk/file.h>
#include <net/if.h>
#include <stdio.h>

#include <algorithm>

#include "morvctl/net_text.h"
#include "morvctl/network.h"
#include "morvctl/write_lock.h"

namespace morvctl {

namespace {

constexpr struct {
    int flag;
    const char *word;
} kFlags[] = {{IFF_UP, "up"},
              {IFF_RUNNING, "running"},
              {IFF_BROADCAST, "broadcast"},
              {IFF_MULTICAST, "multicast"},
              {IFF_MASTER, "master"},
              {IFF_SLAVE, "slave"},
              {IFF_NOARP, "noarp"},
              {IFF_PROMISC, "promiscuous"},
              {IFF_ALLMULTI, "allmulti"}};

std::vector<std::string> flag_words(int flags) {
    std::vector<std::string> words;
    for (const auto &known : kFlags) {
        if (flags & known.flag) words.push_back(known.word);
    }
    return words;
}

std::string joined(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words)
        text.append(text.empty() ? "" : ", ").append(word);
    return text;
}

std::string or_none(const std::string &text, const char *none = "none") {
    return text.empty() ? none : text;
}

int interfaces(const Session &session, const NetArgs &args) {
    Json documents = Json::array();
    Rows rows = {{"NAME", "LINK", "HARDWARE", "ADDRESS", "FLAGS"}};
    for (const NET_INTERFACE &entry : read_interfaces(MORV_NET_ALL)) {
        const std::string hardware = hardware_text(entry.hardware);
        const auto words = flag_words(entry.flags);
        documents.push_back({{"name", entry.name},
                             {"link", entry.link == 2},
                             {"hardware", text_json(hardware)},
                             {"address", text_json(entry.address)},
                             {"flags", words}});
        rows.push_back({entry.name, entry.link == 2 ? "yes" : "no", or_none(hardware, "-"),
                        or_none(entry.address, "-"), joined(words)});
    }
    if (session.json) {
        print_json({{"interfaces", documents}});
    } else if (args.names) {
        for (size_t i = 1; i < rows.size(); ++i)
            print_line(printable(rows[i][0]));
    } else {
        print_table(rows);
    }
    return int(Exit::kDone);
}

Rows card_rows(const Card &card) {
    std::string address = or_none(card.address);
    if (card.current != card.address) address += " (in the kernel: " + or_none(card.current) + ")";
    return {{"interface", card.name},
            {"assignment", card.by_dhcp ? "DHCP" : "static"},
            {"link", card.has_link ? "yes"
                     : card.is_up  ? "no"
                                   : "no, it is down"},
            {"address", address},
            {"netmask", or_none(card.netmask)},
            {"hardware", or_none(card.hardware)},
            {"mtu", card.mtu}};
}

// What is not known of one keeps nothing else back.
template <class Read>
auto attempt(std::vector<std::string> &faults, Read read) -> decltype(read()) {
    try {
        return read();
    } catch (const Failure &failure) {
        faults.push_back(failure.what());
        return {};
    }
}

int show(const Session &session, const NetArgs &args) {
    std::vector<std::string> faults;
    std::vector<Card> cards;
    if (args.value) {
        cards.push_back(read_card(session, need_interface(session, *args.value)));
    } else {
        cards = read_cards(session);
    }
    Json documents = Json::array();
    for (const Card &card : cards) {
        documents.push_back(card_json(card));
        if (card.fault.empty()) continue;
        documents.back()["error"] = card.fault;
        faults.push_back(card.fault);
    }
    Json document = args.value ? Json{{"interface", documents[0]}} : Json{{"interfaces", documents}};
    if (!session.json) {
        for (const Card &card : cards) {
            if (&card != &cards[0]) print_line("");
            print_table(card_rows(card));
        }
    }
    if (!args.value) {
        const std::string dns = attempt(faults, read_name_server);
        const std::string stored = attempt(faults, read_gateway);
        const std::string route = attempt(faults, read_default_route);
        const std::string name = attempt(faults, read_host_name);
        document.update({{"name_server", text_json(dns)},
                         {"gateway", text_json(stored)},
                         {"default_route", text_json(route)},
                         {"host_name", text_json(name)}});
        if (!session.json) {
            if (!cards.empty()) print_line("");
            print_table(
                {{"name server", or_none(dns)},
                 {"gateway",
                  or_none(stored) + (route == stored ? "" : " (the default route: " + or_none(route) + ")")},
                 {"host name", or_none(name)}});
        }
    }
    if (session.json) print_json(document);
    fflush(stdout);
    for (const std::string &fault : faults)
        fprintf(stderr, "morvctl: %s\n", printable(fault).c_str());
    return int(faults.empty() ? Exit::kDone : Exit::kNotFound);
}

int validate(const Session &session, const NetArgs &args) {
    const auto *kind = std::find_if(std::begin(kTextKinds), std::end(kTextKinds),
                                    [&](const TextKind &known) { return args.kind == known.name; });
    if (kind == std::end(kTextKinds)) {
        throw Failure(Exit::kUsage,
                      "the kind is ip, mask, subnet, host, domain or mail, not '" + escape(args.kind) + "'");
    }
    const Verdict verdict = kind->judge(*args.value);
    if (session.json) {
        print_json({{"kind", kind->name},
                    {"text", *args.value},
                    {"valid", verdict.is_valid()},
                    {"normal", text_json(verdict.normal)},
                    {"reason", text_json(verdict.reason)}});
    } else if (verdict.is_valid()) {
        print_line(verdict.normal.empty() ? "valid" : "valid: " + verdict.normal);
    } else {
        print_line(printable("not valid: " + verdict.reason));
    }
    return int(verdict.is_valid() ? Exit::kDone : Exit::kNotFound);
}

}  // namespace

void add_net_commands(CLI::App &family, Session &session) {
    constexpr uint32_t kLocks = MORV_LOCK_HOST | MORV_LOCK_NW | MORV_LOCK_MORVINFO;
    const auto add = [&](const char *name, const char *description,
                         int (*work)(const Session &session, const NetArgs &args),
                         Kind kind = Kind::kReads) -> std::pair<CLI::App &, NetArgs &> {
        CLI::App &command = add_command(family, session, kind, name, description);
        auto args = std::make_shared<NetArgs>();
        run_with(command, session, [args, work](Session &s) {
            if (work != interfaces && work != validate && !s.dry_run) prepare_locks(s, kLocks);
            return work(s, *args);
        });
        return {command, *args};
    };
    const auto add_change =
        [&](const char *name, const char *description,
            int (*work)(const Session &session, const NetArgs &args)) -> std::pair<CLI::App &, NetArgs &> {
        auto [command, args] = add(name, description, work, Kind::kLocks);
        command.add_flag("--dry-run", session.dry_run, "Print the diffs and commands, and change nothing");
        return {command, args};
    };
    const auto add_force = [](CLI::App &command, NetArgs &args, const char *description) {
        command.add_flag("--force", args.force, description);
    };
    const char *const interface_help = "The interface, as eth0";
    {
        auto [command, args] =
            add("interfaces", "List the interfaces that are up, as the kernel has them", interfaces);
        command.add_flag("--names", args.names, "The names alone, one a line");
    }
    {
        auto [command, args] =
            add("show", "Show how interfaces are set, the name server, gateway and host name", show);
        add_text(command, "INTERFACE", args.value, "The interface, as eth0; all without it");
    }
    {
        auto [command, args] = add_change("set-static", "Give an interface a static address", set_static);
        add_text(command, "INTERFACE", args.name, interface_help)->required();
        add_text(command, "ADDRESS", args.address, "Its address, as 192.168.1.10 or 192.168.1.10/24")
            ->required();
        add_text(command, "NETMASK", args.netmask, "Its netmask, as 255.255.255.0 or /24");
        add_text(command, "--gateway", args.gateway, "The default gateway from then on")
            ->type_name("ADDRESS");
        add_text(command, "--dns", args.name_server, "The name server from then on")->type_name("ADDRESS");
        add_force(command, args, "Also when no gateway can be reached then");
    }
    {
        auto [command, args] = add_change("set-dhcp", "Have an interface get its address by DHCP", set_dhcp);
        add_text(command, "INTERFACE", args.name, interface_help)->required();
        add_force(command, args, "Also when it is bonded into another");
    }
    {
        auto [command, args] = add_change("dns", "Print the name server, or set it", name_server);
        add_text(command, "ADDRESS", args.value, "The only one from then on");
        command.add_flag("--clear", args.clear, "Have none");
    }
    {
        auto [command, args] = add_change("gateway", "Print the default gateway, or set it", gateway);
        add_text(command, "ADDRESS", args.value, "Its address");
        add_force(command, args, "Also one in no network of the appliance");
        command.add_flag("--clear", args.clear, "Have none");
    }
    {
        auto [command, args] = add_change("mtu", "Print the MTU of an interface, or set it", mtu);
        add_text(command, "INTERFACE", args.name, interface_help)->required();
        add_text(command, "BYTES", args.value, "68 to 65535; holds when it is next brought up");
    }
    {
        auto [command, args] = add_change("hostname", "Print the host name, or set it", host_name);
        add_text(command, "NAME", args.value, "1 to 15 letters, digits, '-' and '_'");
    }
    add("check", "Compare the files with each other and with the kernel", check_network);
    {
        auto [command, args] = add("validate", "Tell whether a text is good for what it is to be", validate);
        add_text(command, "KIND", args.kind, "ip, mask, subnet, host, domain or mail")->required();
        add_text(command, "TEXT", args.value, "The text; a subnet as 10.0.0.0/8 or 10.0.0.0/255.0.0.0")
            ->required();
    }
}

}  // namespace morvctl
