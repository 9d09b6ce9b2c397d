// morvctl block config: when an address is blocked, for how long, and which never is.
#include <arpa/inet.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <stdio.h>
#include <stdlib.h>

#include <optional>

#include "morvctl/accounts.h"
#include "morvctl/block.h"
#include "morvctl/pairs.h"
#include "morvctl/record_event.h"
#include "morvctl/signals.h"
#include "morvctl/target.h"
#include "morvctl/write_lock.h"

namespace morvctl {

namespace {

std::string read_allow(const Session &session) {
    const std::string path = system_path(session, kSettings);
    std::string value(65536, '\0');
    clear_errors();
    const int size = MLIBFileGetKeyValue(path.c_str(), kAllowKey, value.data(), int(value.size()), 0);
    if (size < 0 && MLIBErrGet() != ERR_OPEN_FAILED) fail_block(std::string("read ") + kSettings);
    value.resize(size > 0 ? size_t(size) - 1 : 0);
    return value;
}

// "192.0.2.7", "192.0.2.16-192.0.2.31" or "198.51.100.0/24".
bool is_range(const std::string &text) {
    if (const size_t dash = text.find('-'); dash != text.npos) {
        const Address first = parse_address(text.substr(0, dash));
        const Address last = parse_address(text.substr(dash + 1));
        return first != 0 && last != 0 && ntohl(first) <= ntohl(last);
    }
    const size_t slash = text.find('/');
    const std::string bits = slash == text.npos ? "32" : text.substr(slash + 1);
    in_addr address;
    return inet_pton(AF_INET, text.substr(0, slash).c_str(), &address) == 1 && !bits.empty() &&
           bits.size() <= 2 && bits.find_first_not_of("0123456789") == bits.npos && atoi(bits.c_str()) <= 32;
}

std::string parse_allow(const std::string &text) {
    const auto entries = split_list(text);
    for (const std::string &entry : entries) {
        if (is_range(entry)) continue;
        refuse("'" + escape(entry) +
               "' is no IPv4 address, and no range of them like 192.0.2.16-192.0.2.31 or 198.51.100.0/24");
    }
    return join_list(entries);
}

int32_t parse_count(const std::string &name, const std::string &text) {
    return int32_t(parse_number(name, text, 1000000));
}

void parse_setting(const std::string &name, const std::string &value, MORV_AUTOBLOCK_CONF &conf,
                   std::optional<std::string> &allow) {
    if (name == "attempts") {
        conf.attempts = parse_count(name, value);
    } else if (name == "minutes") {
        conf.attemptMin = parse_count(name, value);
    } else if (name == "days") {
        conf.expiredDay = parse_count(name, value);
    } else if (name == "notify") {
        if (value != "yes" && value != "no") refuse("notify is yes or no, not '" + escape(value) + "'");
        conf.notify = value == "yes";
    } else if (name == "allow") {
        allow = parse_allow(value);
    } else {
        throw Failure(Exit::kUsage, "'" + escape(name) +
                                        "' is none of attempts, minutes, days, notify and allow; 'default' "
                                        "alone sets all but allow to their default");
    }
}

// Rewrites the settings. Who is never blocked is written first: the owner is let in before blocking begins.
void write_settings(const Target &target, const MORV_AUTOBLOCK_CONF *conf,
                    const std::optional<std::string> &allow) {
    const HeldSignals held;
    MORVFileDurabilitySet(MORV_DURABLE);
    clear_errors();
    if (allow && MLIBFileSetKeyValue(target.path.c_str(), kAllowKey, allow->c_str(), kQuotedFormat) < 0) {
        fail_block(std::string("write ") + kSettings);
    }
    clear_errors();
    if ((conf ? MORVAutoBlockConfSet(conf) : MORVAutoBlockResetDefault()) != 0) {
        fail_block(std::string("write ") + kSettings);
    }
}

Pairs setting_pairs(const MORV_AUTOBLOCK_CONF &conf, const std::string &allow) {
    return {{"attempts", std::to_string(conf.attempts)},
            {"minutes", std::to_string(conf.attemptMin)},
            {"days", std::to_string(conf.expiredDay)},
            {"notify", conf.notify ? "yes" : "no"},
            {"allow", allow}};
}

}  // namespace

int config_blocking(const Session &session, const std::vector<std::string> &pairs) {
    const bool to_default = pairs.size() == 1 && pairs[0] == "default";
    const bool changes = !pairs.empty();
    const Target target = find_target(session, kSettings);
    std::optional<WriteLock> lock;
    if (changes && !session.dry_run) lock.emplace(session, target);
    MORV_AUTOBLOCK_CONF conf = read_conf();
    std::optional<std::string> allow;
    if (to_default) {
        conf = {};
    } else {
        for (const auto &[name, value] : parse_pairs(pairs))
            parse_setting(name, value, conf, allow);
    }
    if (lock) write_settings(target, to_default ? nullptr : &conf, allow);
    lock.reset();
    const bool enabled = conf.attempts != 0 || conf.attemptMin != 0;
    const std::string allowed = allow ? *allow : read_allow(session);
    if (session.json) {
        Json document = {{"enabled", enabled},         {"attempts", conf.attempts},
                         {"minutes", conf.attemptMin}, {"days", conf.expiredDay},
                         {"notify", conf.notify != 0}, {"allow", split_list(allowed)}};
        if (changes) document["dry_run"] = session.dry_run;
        print_json({{"config", document}});
    } else if (!changes || session.dry_run) {
        print_pairs(setting_pairs(conf, allowed));
    }
    if (changes) record_event(session, MORV_EVENT_BLOCK_SETTINGS_CHANGED);
    if (enabled && (conf.attempts == 0 || (conf.attemptMin == 0 && conf.attempts > 1))) {
        fprintf(stderr, "morvctl: note: no failed login blocks while %s is 0\n",
                conf.attempts == 0 ? "attempts" : "minutes");
    }
    return int(Exit::kDone);
}

}  // namespace morvctl
