// morvctl service: the network services, and the settings that they go by.
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/service.h>
#include <stdio.h>

#include <algorithm>
#include <memory>

#include "morvctl/private_root.h"
#include "morvctl/record_event.h"
#include "morvctl/secret.h"
#include "morvctl/signals.h"
#include "morvctl/target.h"
#include "morvctl/write_lock.h"

namespace morvctl {

namespace {

struct Args {
    std::vector<std::string> names;
    std::string name;
    std::optional<std::string> value;
    bool show_secrets = false;
};

constexpr CodeText kTexts[] = {
    {ERR_SYS_UNKNOWN, true, "a script failed; the system log says which"},
    {ERR_UNKNOWN, false, "/usr/morv/etc/rc.d cannot be listed"},
};

[[noreturn]] void fail_service(const std::string &what) {
    fail_library(what, kTexts);
}

// ---- services ----

struct Service {
    std::string script, name;
    uint32_t bit;
    bool is_on;
    bool is_other() const { return bit == MORV_SERVICE_OTHER; }
};

std::vector<Service> read_services() {
    std::vector<Service> services;
    const auto push = [](const MORVSERVICE *service, void *context) {
        static_cast<std::vector<Service> *>(context)->push_back(
            {service->szScript, service->szName, uint32_t(service->service), service->isOn != 0});
        return 0;
    };
    clear_errors();
    if (MORVServiceEnum(push, &services) < 0) fail_service("list the services");
    return services;
}

int list(const Session &session, const Args &) {
    Json documents = Json::array();
    Rows rows = {{"SCRIPT", "SERVICE", "STATE"}};
    for (const Service &service : read_services()) {
        documents.push_back({{"script", service.script},
                             {"name", service.name},
                             {"service", service.is_other() ? "other" : service.name},
                             {"on", service.is_on}});
        rows.push_back(
            {service.script, service.is_other() ? "other" : service.name, service.is_on ? "on" : "off"});
    }
    if (session.json) {
        print_json({{"services", documents}});
    } else {
        print_table(rows);
    }
    return int(Exit::kDone);
}

// The bits of names, each of which has a script here.
uint32_t need_services(const std::vector<std::string> &names) {
    if (names.empty()) return MORV_SERVICES_BUT_MANAGEMENT;
    const auto services = read_services();
    uint32_t mask = 0;
    for (const std::string &name : names) {
        const auto found = std::find_if(services.begin(), services.end(), [&](const Service &service) {
            return name == (service.is_other() ? "other" : service.name);
        });
        if (found != services.end()) {
            mask |= found->bit;
            continue;
        }
        const bool is_other = std::any_of(services.begin(), services.end(), [&](const Service &service) {
            return service.is_other() && service.name == name;
        });
        if (is_other) refuse("'" + escape(name) + "' is one of several services that are called 'other'");
        throw Failure(Exit::kNotFound, "there is no service '" + escape(name) + "' here");
    }
    return mask;
}

int act(const Session &session, const Args &args, int action) {
    const uint32_t mask = need_services(args.names);
    const bool stops = action == MORV_SERVICES_STOP;
    Json names = Json::array();
    for (const Service &service : read_services()) {
        if ((service.bit & mask) == 0 || !service.is_on) continue;
        names.push_back(service.name);
        if (session.dry_run && !session.json)
            print_line(printable(service.script) + (stops ? ": stopped" : ": started"));
    }
    if (!session.dry_run) {
        const HeldSignals held;
        clear_errors();
        const int result = MORVNetService(int(mask), action);
        if (result != 0) fail_service(stops ? "stop all of the services" : "start all of the services");
        if (!names.empty()) {
            std::string text = "all";
            if (!args.names.empty()) {
                text.clear();
                for (const auto &name : names)
                    text.append(text.empty() ? "" : ", ").append(name.get<std::string>());
            }
            record_event(session, stops ? MORV_EVENT_SERVICES_STOPPED : MORV_EVENT_SERVICES_STARTED, {text});
        }
    }
    if (session.json) print_json({{stops ? "stopped" : "started", names}, {"dry_run", session.dry_run}});
    return int(Exit::kDone);
}

int stop(const Session &session, const Args &args) {
    return act(session, args, MORV_SERVICES_STOP);
}

int start(const Session &session, const Args &args) {
    return act(session, args, MORV_SERVICES_START);
}

// ---- settings ----

int need_setting(const std::string &name) {
    const int setting = MORVSettingFind(name.c_str());
    if (setting < 0)
        throw Failure(Exit::kNotFound,
                      "there is no setting '" + escape(name) + "'; 'morvctl service settings' lists them");
    return setting;
}

std::string read_setting(int setting) {
    std::string value(65536, '\0');  // more than any has
    clear_errors();
    if (MORVSettingGetText(setting, value.data(), int(value.size())) != 0)
        fail_service(std::string("read ") + MORVSettingInfo(setting)->szName);
    value.resize(value.find('\0'));
    return value;
}

const char *kind_word(int32_t kind) {
    return kind == MORV_SETTING_FLAG ? "flag" : kind == MORV_SETTING_NUMBER ? "number" : "text";
}

// What a setting is in the document: a number or a flag as such.
Json value_json(const MORVSETTING &info, const std::string &value) {
    if (info.kind == MORV_SETTING_FLAG) return value == "yes";
    if (info.kind == MORV_SETTING_NUMBER) return std::stoll(value);
    return value;
}

int settings(const Session &session, const Args &args) {
    const int first = args.name.empty() ? 0 : need_setting(args.name);
    const int behind = args.name.empty() ? MORV_SETTING_COUNT : first + 1;
    Json documents = Json::array();
    Rows rows = {{"NAME", "VALUE", "DEFAULT", "SUPPORTED", "MEANING"}};
    for (int setting = first; setting < behind; ++setting) {
        const MORVSETTING &info = *MORVSettingInfo(setting);
        const std::string value = read_setting(setting);
        const bool is_hidden = info.isSecret && !args.show_secrets;
        const bool is_supported = BlMORVSettingIsSupported(setting) == 1;
        documents.push_back({{"name", info.szName},
                             {"value", is_hidden ? Json(nullptr) : value_json(info, value)},
                             {"default", value_json(info, info.szDefault)},
                             {"kind", kind_word(info.kind)},
                             {"file", info.szFile},
                             {"supported", is_supported},
                             {"secret", info.isSecret != 0},
                             {"meaning", info.szMeaning}});
        rows.push_back({info.szName, is_hidden && !value.empty() ? "********" : value, info.szDefault,
                        is_supported ? "yes" : "no", info.szMeaning});
    }
    if (session.json) {
        print_json({{"settings", documents}});
    } else {
        print_table(rows);
    }
    return int(Exit::kDone);
}

std::string range_text(const MORVSETTING &info) {
    if (info.kind == MORV_SETTING_FLAG) return "yes or no";
    if (info.kind == MORV_SETTING_NUMBER)
        return "a number from " + std::to_string(info.minimum) + " to " + std::to_string(info.maximum);
    return "a text of at most " + std::to_string(info.maximum) +
           " bytes without control characters and double quotes";
}

void write_setting(int setting, const char *value) {
    const MORVSETTING &info = *MORVSettingInfo(setting);
    clear_errors();
    if (MORVSettingSetText(setting, value) == 0) return;
    if (MLIBErrGet() == ERR_BAD_PARAMETERS)
        refuse(std::string(info.szName) + " is " + range_text(info) +
               (info.isSecret ? "" : ", not '" + escape(value) + "'"));
    fail_service(std::string("set ") + info.szName);
}

// Takes the value of a secret from the lines of a file.
void hide(const char *name, std::string &text) {
    const std::string key = std::string(name) + "=";
    for (size_t at = text.find(key); at != text.npos; at = text.find(key, at)) {
        at += key.size();
        text.replace(at, std::min(text.find('\n', at), text.size()) - at, "********");
    }
}

int set(const Session &session, const Args &args) {
    const int setting = need_setting(args.name);
    const MORVSETTING &info = *MORVSettingInfo(setting);
    Secret secret;
    if (info.isSecret) {
        // The arguments of a program are for everybody to see.
        if (args.value)
            throw Failure(Exit::kUsage, args.name + " is a secret: it is read from standard input");
        secret = read_password(args.name);
    } else if (!args.value) {
        throw Failure(Exit::kUsage, "VALUE is missing");
    }
    const char *const value = info.isSecret ? secret.c_str() : args.value->c_str();
    Json document = Json::object();
    if (session.dry_run) {
        const PrivateRoot root(session, {info.szFile}, {});
        write_setting(setting, value);
        root.show(session, document, [&](const std::string &, std::string &before, std::string &after) {
            if (!info.isSecret) return;
            const bool differ = before != after;
            hide(info.szName, before);
            hide(info.szName, after);
            if (differ && before == after) after += "# another value\n";
        });
    } else {
        const std::string former = read_setting(setting);
        {
            const HeldSignals held;
            MORVFileDurabilitySet(MORV_DURABLE);
            write_setting(setting, value);
        }
        if (read_setting(setting) != former) record_event(session, MORV_EVENT_SETTING_CHANGED, {args.name});
    }
    if (BlMORVSettingIsSupported(setting) != 1)
        fprintf(stderr, "morvctl: note: this model has nothing that %s is for\n", info.szName);
    if (!session.json) return int(Exit::kDone);
    if (!session.dry_run && !info.isSecret) document["value"] = value_json(info, read_setting(setting));
    document["name"] = info.szName;
    document["dry_run"] = session.dry_run;
    print_json(document);
    return int(Exit::kDone);
}

}  // namespace

void add_service_commands(CLI::App &family, Session &session) {
    const auto add = [&](const char *name, const char *description,
                         int (*work)(const Session &session, const Args &args),
                         const char *dry_run) -> std::pair<CLI::App &, Args &> {
        CLI::App &command = add_command(family, session, Kind::kReads, name, description);
        if (dry_run) command.add_flag("--dry-run", session.dry_run, dry_run);
        auto args = std::make_shared<Args>();
        run_with(command, session, [args, work](Session &s) {
            if (work == set && !s.dry_run) prepare_locks(s, MORV_LOCK_MORVINFO);
            return work(s, *args);
        });
        return {command, *args};
    };
    const auto add_names = [](CLI::App &command, Args &args) {
        add_texts(command, "SERVICE", args.names, "As 'service list' calls them; all but management without");
    };
    add("list", "List the scripts of the services, and which are on", list, nullptr);
    {
        auto [command, args] = add("stop", "Stop services", stop, "Say what would be done, and do nothing");
        add_names(command, args);
    }
    {
        auto [command, args] = add("start", "Start services, but none that is off", start,
                                   "Say what would be done, and do nothing");
        add_names(command, args);
    }
    {
        auto [command, args] = add("settings", "Show the settings, or one of them", settings, nullptr);
        add_text(command, "SETTING", args.name, "The name of one");
        command.add_flag("--show-secrets", args.show_secrets, "Passwords as well");
    }
    {
        auto [command, args] = add("set", "Change a setting", set, "Print the diff, and change nothing");
        add_text(command, "SETTING", args.name, "Its name")->required();
        add_text(command, "VALUE", args.value, "Its value; without it that of a password is asked for");
    }
}

}  // namespace morvctl
