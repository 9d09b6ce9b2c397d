// morvctl block: which addresses may not log in.
#include <arpa/inet.h>
#include <errno.h>
#include <morvsdk/autoblock.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/net.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>
#include <utmpx.h>

#include <algorithm>
#include <memory>
#include <set>

#include "morvctl/accounts.h"
#include "morvctl/block.h"
#include "morvctl/pairs.h"
#include "morvctl/record_event.h"
#include "morvctl/signals.h"
#include "morvctl/target.h"
#include "morvctl/text_lines.h"
#include "morvctl/write_lock.h"

namespace morvctl {

namespace {

constexpr CodeText kTexts[] = {
    {ERR_INVALID_NETNAME, true, "it is no IPv4 address, and no name of one"},
    {ERR_SERVER_UNREACHABLE, true, "no name server answers"},
    {ERR_ACCESS_DENIED, true, "autoblock_allow in /etc/morvinfo.conf has it, which is never blocked"},
};

struct Args {
    std::string client;
    std::vector<std::string> addresses;
    std::string file;
    std::vector<std::string> settings;
    bool all = false;
    bool force = false;
    bool skip_wrong = false;
};

}  // namespace

void fail_block(const std::string &what) {
    fail_library(what, kTexts);
}

Address parse_address(const std::string &text) {
    in_addr address;
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ? address.s_addr : 0;
}

MORV_AUTOBLOCK_CONF read_conf() {
    MORV_AUTOBLOCK_CONF conf = {};
    clear_errors();
    if (MORVAutoBlockConfGet(&conf) != 0) fail_block("read the settings in /etc/morvinfo.conf");
    return conf;
}

namespace {

// ---- addresses ----

std::string address_text(Address address) {
    char text[INET_ADDRSTRLEN];
    const in_addr in{address};
    return inet_ntop(AF_INET, &in, text, sizeof text);
}

Address need_address(const std::string &text) {
    const Address address = parse_address(text);
    if (address == 0) refuse("'" + escape(text) + "' is no IPv4 address that can be blocked");
    return address;
}

bool is_allowed(Address address) {
    clear_errors();
    const int answer = MORVAutoBlockIsAllowedIP(address_text(address).c_str());
    if (answer < 0) fail_block("read which addresses are never blocked");
    return answer == 1;
}

// Where the session comes from that this runs in: sshd's variables say it, and where sudo has dropped them
// the record of the terminal.
std::set<Address> own_addresses() {
    std::set<Address> own;
    const auto add = [&](std::string text) {
        if (text.starts_with("::ffff:")) text.erase(0, strlen("::ffff:"));
        if (const Address address = parse_address(text)) own.insert(address);
    };
    for (const char *name : {"SSH_CONNECTION", "SSH_CLIENT"}) {
        if (const char *value = getenv(name)) add(std::string(value, strcspn(value, " ")));
    }
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        char terminal[64];
        if (ttyname_r(fd, terminal, sizeof terminal) != 0) continue;
        utmpx wanted = {};
        strncpy(wanted.ut_line, terminal + strlen("/dev/"), sizeof wanted.ut_line - 1);
        setutxent();
        const utmpx *found = getutxline(&wanted);
        if (found) add(std::string(found->ut_host, strnlen(found->ut_host, sizeof found->ut_host)));
        endutxent();
    }
    return own;
}

const char kOwn[] = " is where you are logged in from: --force blocks it all the same";

// ---- the list ----

struct ListFree {
    void operator()(MORV_AUTOBLOCK_IP *list) const { MORVAutoBlockFree(list); }
};
using Blocks = std::vector<MORV_AUTOBLOCK_IP>;

Blocks read_blocks() {
    for (int limit = 1024;; limit *= 2) {
        MORV_AUTOBLOCK_IP *list = nullptr;
        clear_errors();
        const int count = MORVAutoBlockIPGet(&list, 0, limit);
        if (count < 0) fail_block("read the blocked addresses");
        const std::unique_ptr<MORV_AUTOBLOCK_IP, ListFree> freed(list);
        if (count < limit || limit > INT32_MAX / 2) return Blocks(list, list + count);
    }
}

std::set<Address> addresses_of(const Blocks &blocks) {
    std::set<Address> found;
    for (const MORV_AUTOBLOCK_IP &block : blocks)
        found.insert(block.address);
    return found;
}

// As the library reads it: what does not fit the field any more is meant once the clock has come that far.
int64_t begin_of(const MORV_AUTOBLOCK_IP &block) {
    return int64_t{time(nullptr)} > INT32_MAX ? int64_t{uint32_t(block.time)} : block.time;
}

// When a block ends; 0: never.
int64_t end_of(const MORV_AUTOBLOCK_IP &block, const MORV_AUTOBLOCK_CONF &conf) {
    return conf.expiredDay > 0 ? begin_of(block) + int64_t{conf.expiredDay} * 86400 : 0;
}

std::string time_text(int64_t at) {
    return at == 0 ? "for ever" : MORVLogConvertTime1(at);
}

Json block_json(const MORV_AUTOBLOCK_IP &block, const MORV_AUTOBLOCK_CONF &conf) {
    const int64_t end = end_of(block, conf);
    return {{"address", address_text(block.address)},
            {"since", begin_of(block)},
            {"until", end == 0 ? Json(nullptr) : Json(end)}};
}

bool is_off() {
    return MORVAutoBlockIsEnabled() != 1;
}

void note_if_off() {
    if (!is_off()) return;
    fprintf(stderr,
            "morvctl: note: blocking is off, nobody is refused; 'morvctl block config attempts=N "
            "minutes=N' turns it on\n");
}

// Nobody need wait for the FTP server, and there may be none. The tools of an image would find that of this machine.
void tell_services(const Session &session) {
    if (session.root.empty()) MORVAutoBlockServicesHup();
}

std::vector<Address> as_array(const std::vector<Address> &addresses) {
    std::vector<Address> array = addresses;
    array.push_back(0);
    return array;
}

int list(const Session &session, const Args &) {
    const MORV_AUTOBLOCK_CONF conf = read_conf();
    Json documents = Json::array();
    Rows rows = {{"ADDRESS", "SINCE", "UNTIL"}};
    for (const MORV_AUTOBLOCK_IP &block : read_blocks()) {
        if (session.json) {
            documents.push_back(block_json(block, conf));
        } else {
            rows.push_back(
                {address_text(block.address), time_text(begin_of(block)), time_text(end_of(block, conf))});
        }
    }
    if (session.json) {
        print_json({{"enabled", !is_off()}, {"blocks", documents}});
    } else {
        print_table(rows);
        note_if_off();
    }
    return int(Exit::kDone);
}

// ---- changing the list ----

// What a change of the list did, or would do.
int print_change(const Session &session, const char *what, const std::vector<Address> &addresses,
                 Json document = Json::object()) {
    if (session.json) {
        Json texts = Json::array();
        for (const Address address : addresses)
            texts.push_back(address_text(address));
        document[what] = texts;
        document["dry_run"] = session.dry_run;
        print_json(document);
    } else if (session.dry_run) {
        for (const Address address : addresses)
            print_line(address_text(address) + ": " + what);
    }
    return int(Exit::kDone);
}

void write_many(const std::vector<Address> &addresses) {
    const HeldSignals held;
    MORVFileDurabilitySet(MORV_DURABLE);
    clear_errors();
    if (MORVAutoBlockIPsAdd(as_array(addresses).data()) < 0) fail_block("write the blocked addresses");
}

// In the event log it is named.
void write_one(Address address) {
    const HeldSignals held;
    MORVFileDurabilitySet(MORV_DURABLE);
    clear_errors();
    const std::string text = address_text(address);
    if (MORVAutoBlockIPAdd(text.c_str()) != 0) fail_block("block " + text);
}

// Each once, in the order given.
void push_once(std::vector<Address> &addresses, std::set<Address> &seen, Address address) {
    if (seen.insert(address).second) addresses.push_back(address);
}

int add(const Session &session, const Args &args) {
    const auto own = own_addresses();
    std::vector<Address> addresses;
    std::set<Address> seen;
    for (const std::string &text : args.addresses) {
        const Address address = need_address(text);
        if (!args.force && own.contains(address)) refuse(text + kOwn);
        if (is_allowed(address))
            refuse(text + " is never blocked: " + kAllowKey + " in " + kSettings + " has it");
        push_once(addresses, seen, address);
    }
    if (!session.dry_run) {
        addresses.size() == 1 ? write_one(addresses[0]) : write_many(addresses);
        tell_services(session);
    }
    const int code = print_change(session, "blocked", addresses);
    note_if_off();
    return code;
}

int remove(const Session &session, const Args &args) {
    if (args.all != args.addresses.empty()) {
        throw Failure(Exit::kUsage, "ADDRESS or --all is required, and not both");
    }
    const Blocks blocks = read_blocks();
    const auto blocked = addresses_of(blocks);
    std::vector<Address> addresses;
    std::string missing;
    std::set<Address> seen;
    for (const MORV_AUTOBLOCK_IP &block : blocks) {
        if (args.all) push_once(addresses, seen, block.address);
    }
    for (const std::string &text : args.addresses) {
        const Address address = need_address(text);
        if (blocked.contains(address)) {
            push_once(addresses, seen, address);
        } else {
            missing.append(missing.empty() ? "" : ", ").append(text);
        }
    }
    if (!session.dry_run && !addresses.empty()) {
        const HeldSignals held;
        MORVFileDurabilitySet(MORV_DURABLE);
        clear_errors();
        if (MORVAutoBlockIPsDel(as_array(addresses).data()) != 0) fail_block("change the blocked addresses");
        tell_services(session);
    }
    const int code = print_change(session, "removed", addresses);
    if (addresses.size() == 1) {
        record_event(session, MORV_EVENT_ADDRESS_UNBLOCKED, {address_text(addresses[0])});
    } else if (!addresses.empty()) {
        record_event(session, MORV_EVENT_BLOCKS_REMOVED, {std::to_string(addresses.size())});
    }
    if (!missing.empty()) throw Failure(Exit::kNotFound, "not blocked: " + missing);
    return code;
}

// The addresses of a text, and what is wrong with which line.
struct Import {
    std::vector<Address> addresses;
    std::vector<std::pair<int, std::string>> faults;
};

Import read_import(const std::string &text, bool force) {
    Import import;
    const auto own = own_addresses();
    std::set<Address> seen;
    int number = 0;
    for (size_t at = 0; at < text.size(); at = next_line(text, at)) {
        ++number;
        std::string_view line = line_at(text, at);
        line = line.substr(0, line.find('#'));
        if (line.ends_with('\r')) line.remove_suffix(1);
        const std::string word(trim_blanks(line));
        if (word.empty()) continue;
        const Address address = word.find('\0') == word.npos ? parse_address(word) : 0;
        if (address == 0) {
            import.faults.emplace_back(number,
                                       "'" + escape(word) + "' is no IPv4 address that can be blocked");
        } else if (!force && own.contains(address)) {
            import.faults.emplace_back(number, word + kOwn);
        } else {
            push_once(import.addresses, seen, address);
        }
    }
    return import;
}

int import_list(const Session &session, const Args &args) {
    std::string text;
    if (args.file != "-") {
        text = read_content(find_target(session, args.file));
    } else if (!read_all(STDIN_FILENO, text)) {
        fail_system("read standard input");
    }
    Import import = read_import(text, args.force);
    const size_t found = import.addresses.size();
    Json errors = Json::array();
    for (const auto &[line, reason] : import.faults) {
        errors.push_back({{"line", line}, {"reason", reason}});
        fprintf(stderr, "morvctl: line %d: %s\n", line, printable(reason).c_str());
    }
    if (!import.faults.empty() && !args.skip_wrong) {
        if (session.json) print_json({{"blocked", 0}, {"errors", errors}});
        refuse("cannot import " + args.file + ": nothing has been changed");
    }
    const auto before = addresses_of(read_blocks());
    std::set<Address> after = before;
    if (session.dry_run) {
        std::erase_if(import.addresses, is_allowed);
        after.insert(import.addresses.begin(), import.addresses.end());
    } else if (!import.addresses.empty()) {
        write_many(import.addresses);
        tell_services(session);
        after = addresses_of(read_blocks());
    }
    const auto is_in = [&](const std::set<Address> &list) {
        return std::count_if(import.addresses.begin(), import.addresses.end(),
                             [&](Address address) { return list.contains(address); });
    };
    const auto renewed = is_in(before);
    const auto count = is_in(after) - renewed;
    const auto allowed = int64_t(found) - count - renewed;
    if (session.json) {
        print_json({{"blocked", count},
                    {"renewed", renewed},
                    {"allowed", allowed},
                    {"errors", errors},
                    {"dry_run", session.dry_run}});
    } else if (session.dry_run) {
        for (const Address address : import.addresses)
            print_line(address_text(address) + ": blocked");
    }
    if (allowed > 0) {
        fprintf(stderr, "morvctl: note: passed over, as %s has them: %lld\n", kAllowKey, (long long)allowed);
    }
    note_if_off();
    return int(Exit::kDone);
}

// ---- one client ----

// The dotted address of a client.
std::string look_up(const std::string &client) {
    char text[MORV_IP_TEXT_SIZE];
    clear_errors();
    if (MORVNetBkpLookupIP(client.c_str(), text, sizeof text) != 0) {
        fail_block("find the address of " + escape(client));
    }
    return text;
}

int count_failures(const std::string &address) {
    clear_errors();
    const int count = MORVAutoBlockFailCountGet(address.c_str());
    if (count < 0) fail_block("count the failures of " + address);
    return count;
}

bool is_denied(const std::string &address) {
    clear_errors();
    const int answer = MORVAutoBlockIsDeniedIP(address.c_str());
    if (answer < 0) fail_block("find out whether " + address + " is blocked");
    return answer == 1;
}

struct State {
    std::string address;
    bool blocked = false;
    bool allowed = false;
    int failures = 0;
    Json document = Json::object();
    std::string sentence;
};

State state_of(const std::string &client) {
    State state;
    state.address = look_up(client);
    const Address address = parse_address(state.address);
    const MORV_AUTOBLOCK_CONF conf = read_conf();
    state.blocked = is_denied(state.address);
    state.allowed = address != 0 && is_allowed(address);
    state.failures = count_failures(state.address);
    state.document = {{"client", client},           {"address", state.address},  {"blocked", state.blocked},
                      {"since", nullptr},           {"until", nullptr},          {"allowed", state.allowed},
                      {"failures", state.failures}, {"attempts", conf.attempts}, {"enabled", !is_off()}};
    state.sentence = state.address + " is " + (state.blocked ? "" : "not ") + "blocked";
    for (const MORV_AUTOBLOCK_IP &block : state.blocked ? read_blocks() : Blocks()) {
        if (block.address != address) continue;
        state.document.update(block_json(block, conf));
        const int64_t end = end_of(block, conf);
        state.sentence += " since " + time_text(begin_of(block)) + (end ? ", until " : ", ") + time_text(end);
        break;
    }
    if (state.allowed) state.sentence += ", nor ever will be";
    if (!state.blocked && state.failures > 0) {
        state.sentence += "; failed logins: " + std::to_string(state.failures);
        if (conf.attempts > 0) state.sentence += " of " + std::to_string(conf.attempts);
    }
    return state;
}

int show_state(const Session &session, const State &state) {
    if (session.json) {
        print_json(state.document);
    } else {
        print_line(printable(state.sentence));
    }
    return int(Exit::kDone);
}

int check(const Session &session, const Args &args) {
    const State state = state_of(args.client);
    show_state(session, state);
    return int(state.blocked ? Exit::kNotHealthy : Exit::kDone);
}

int fail(const Session &session, const Args &args) {
    const std::string address = look_up(args.client);
    if (!session.dry_run) {
        const bool was_blocked = is_denied(address);
        const HeldSignals held;
        clear_errors();
        if (MORVAutoBlockFailLoginSet(address.c_str()) != 0) fail_block("count a failure of " + address);
        if (!was_blocked && is_denied(address)) tell_services(session);
    }
    const int code = show_state(session, state_of(address));
    note_if_off();
    return code;
}

int reset(const Session &session, const Args &args) {
    const std::string address = look_up(args.client);
    if (!session.dry_run) {
        const HeldSignals held;
        clear_errors();
        if (MORVAutoBlockResetByIP(address.c_str()) != 0) fail_block("forget the failures of " + address);
    }
    return show_state(session, state_of(address));
}

int config(const Session &session, const Args &args) {
    return config_blocking(session, args.settings);
}

}  // namespace

void add_block_commands(CLI::App &family, Session &session) {
    const auto add_one = [&](const char *name, const char *description,
                             int (*work)(const Session &session, const Args &args),
                             const char *dry_run) -> std::pair<CLI::App &, Args &> {
        CLI::App &command = add_command(family, session, Kind::kReads, name, description);
        if (dry_run) command.add_flag("--dry-run", session.dry_run, dry_run);
        auto args = std::make_shared<Args>();
        run_with(command, session, [args, work](Session &s) {
            // The library needs "/tmp" for locks and failures, which a new system root may lack.
            if (!s.dry_run) make_lock_folder(s);
            return work(s, *args);
        });
        return {command, *args};
    };
    const char *const plain_dry_run = "Say what would be done, and do nothing";
    const auto add_client = [](CLI::App &command, Args &args) {
        add_text(command, "CLIENT", args.client, "An IPv4 address or the name of a host")->required();
    };
    const auto add_force = [](CLI::App &command, Args &args) {
        command.add_flag("--force", args.force, "Also the address that you are logged in from");
    };
    add_one("list", "List the blocked addresses", list, nullptr);
    {
        auto [command, args] = add_one("add", "Block addresses from now on", add, plain_dry_run);
        add_texts(command, "ADDRESS", args.addresses, "An IPv4 address")->required();
        add_force(command, args);
    }
    {
        auto [command, args] = add_one("remove", "Let blocked addresses in again", remove, plain_dry_run);
        add_texts(command, "ADDRESS", args.addresses, "An IPv4 address");
        command.add_flag("--all", args.all, "All that are blocked");
    }
    {
        auto [command, args] =
            add_one("import", "Block the addresses of a list, all or none", import_list, plain_dry_run);
        add_text(command, "FILE", args.file, "An address a line, - for standard input")->required();
        command.add_flag("--skip-wrong", args.skip_wrong, "Pass over wrong lines");
        add_force(command, args);
    }
    {
        auto [command, args] =
            add_one("check", "Tell whether a client is blocked, which exit code 7 says, too", check, nullptr);
        add_client(command, args);
    }
    {
        auto [command, args] = add_one("fail", "Report a failed login", fail, plain_dry_run);
        add_client(command, args);
    }
    {
        auto [command, args] = add_one("reset", "Forget the failed logins of a client", reset, plain_dry_run);
        add_client(command, args);
    }
    {
        auto [command, args] = add_one("config", "Show the settings, or change them", config, plain_dry_run);
        add_texts(command, "NAME=VALUE", args.settings,
                  "attempts, minutes, days, notify, allow; or default alone");
    }
}

}  // namespace morvctl
