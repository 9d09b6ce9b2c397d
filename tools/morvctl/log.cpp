// morvctl log: the event logs.
#include "morvctl/log.h"

#include <errno.h>
#include <morvsdk/error.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <memory>

#include "log_words.h"
#include "morvctl/families.h"
#include "morvctl/scratch_folder.h"
#include "morvctl/signals.h"
#include "morvctl/target.h"

namespace morvctl {

namespace {

struct Args {
    std::optional<std::string> log, file, output, language;
    std::string type, event;
    std::vector<std::string> arguments;
    std::optional<std::string> size;
    bool names = false;
};

// What log says of itself.
struct State {
    bool is_there = false;
    bool is_log = true;
    MORV_LOG_STATE ring = {};
    std::vector<Event> events;

    bool is_sound() const { return is_log && ring.damage == 0; }
    std::string text() const {
        if (!is_there) return "not there yet";
        if (!is_log) return "no event log";
        return ring.damage == 0 ? "sound" : "damaged";
    }
};

State read_state(const LogFile &log) {
    State state;
    try {
        state.is_there = read_log(log, state.events, state.ring);
    } catch (const Failure &) {
        if (MLIBErrGet() != ERR_FORMAT_ERROR) throw;
        state.is_there = true;
        state.is_log = false;
    }
    return state;
}

int size_setting(int log) {
    char path[64];
    int size = 0;
    clear_errors();
    if (MORVLogPathGet(log, MORV_LOG_FOR_READING, path, sizeof path, &size) != 0)
        fail_library("find the log");
    return size;
}

int list(const Session &session, const Args &args) {
    if (args.names) {
        for (const auto &entry : log_words::kLogs)
            print_line(entry.name);
        return int(Exit::kDone);
    }
    Json documents = Json::array();
    Rows rows = {{"LOG", "NUMBER", "FILE", "SIZE", "MOST", "EVENTS", "OLDEST", "NEWEST", "STATE"}};
    for (const auto &entry : log_words::kLogs) {
        char path[64];
        int most = 0;
        clear_errors();
        if (MORVLogPathGet(entry.number, MORV_LOG_FOR_READING, path, sizeof path, &most) != 0)
            fail_library("find the log " + std::string(entry.name));
        const State state = read_state(find_log(session, entry.name, {}));
        const auto &events = state.events;
        const auto time_of = [](const Event &event) { return std::string(MORVLogConvertTime1(event.time)); };
        documents.push_back(
            {{"log", entry.name},
             {"number", entry.number},
             {"file", path},
             {"size_bytes", state.is_there && state.is_log ? Json(state.ring.size) : Json(nullptr)},
             {"most_bytes", most},
             {"events", events.size()},
             {"oldest", events.empty() ? Json(nullptr) : Json(events.front().time)},
             {"newest", events.empty() ? Json(nullptr) : Json(events.back().time)},
             {"state", state.text()}});
        rows.push_back({entry.name, std::to_string(entry.number), escape(path),
                        state.is_there && state.is_log ? std::to_string(state.ring.size) : "-",
                        std::to_string(most), std::to_string(events.size()),
                        events.empty() ? "-" : time_of(events.front()),
                        events.empty() ? "-" : time_of(events.back()), state.text()});
    }
    if (session.json) {
        print_json({{"logs", documents}});
    } else {
        print_table(rows);
    }
    return int(Exit::kDone);
}

// Says of a named log that nobody has written to it, as its file may be missing for that alone.
[[noreturn]] void fail_missing(const LogFile &log) {
    throw Failure(Exit::kNotFound, log.number == 0
                                       ? "there is no such file: " + log.name
                                       : log.name + " has no file yet: no event has been written to it");
}

int verify(const Session &session, const Args &args) {
    const LogFile log = find_log(session, args.log, args.file);
    const State state = read_state(log);
    if (!state.is_there) fail_missing(log);
    const MORV_LOG_STATE &ring = state.ring;
    // The two ends are kept in the header.
    const std::string place = ring.damage == 8    ? "its beginning (head) lies outside"
                              : ring.damage == 12 ? "its end (tail) lies outside"
                                                  : "from offset " + std::to_string(ring.damage) + " on";
    if (session.json) {
        Json document = {{"path", log.path}, {"healthy", state.is_sound()}, {"state", state.text()}};
        if (state.is_log) {
            document.update({{"size_bytes", ring.size},
                             {"head", ring.head},
                             {"tail", ring.tail},
                             {"events", ring.records},
                             {"damage", ring.damage == 0 ? Json(nullptr) : Json(ring.damage)}});
        }
        print_json(document);
    } else if (!state.is_log) {
        print_line(printable(log.name) + " is no event log");
    } else {
        print_table({{"file", escape(log.path)},
                     {"size", std::to_string(ring.size) + " bytes"},
                     {"oldest event", "at offset " + std::to_string(ring.head)},
                     {"newest event", "ends at offset " + std::to_string(ring.tail)},
                     {"sound events", std::to_string(ring.records)},
                     {"state", state.text() + (ring.damage == 0 ? "" : ": " + place)}});
        if (ring.damage != 0)
            print_line("'morvctl log export' reads what is sound, and sets the end of the log there.");
    }
    return int(state.is_sound() ? Exit::kDone : Exit::kNotHealthy);
}

int export_log(const Session &session, const Args &args) {
    // The file of the log stands for its name.
    const bool shifted = args.file && args.log && !args.output;
    const std::optional<std::string> name = shifted ? std::nullopt : args.log;
    const std::optional<std::string> output = shifted ? args.log : args.output;
    if (!output) throw Failure(Exit::kUsage, "the file to write is missing; - is standard output");
    const LogFile log = find_log(session, name, args.file);
    const std::string language = parse_language(session, args.language);
    const State state = read_state(log);
    if (!state.is_there) fail_missing(log);
    if (!state.is_log) refuse(log.name + " is no event log");
    const auto write_to = [&](const std::string &path) {
        clear_errors();
        if (MORVLogGet1a(log.path.c_str(), path.c_str(), language.c_str()) != 0)
            fail_system("write " + log.name + " to " + escape(*output));
    };
    if (*output == "-") {
        const ScratchFolder scratch;
        const std::string path = scratch.path("events");
        write_to(path);
        print_raw(read_content({path, path}));
        return int(Exit::kDone);
    }
    if (!state.is_sound()) {
        fprintf(stderr,
                "morvctl: note: %s is damaged, and its end is set to where it is sound; as it was, it is "
                "kept as %s\n",
                printable(log.name).c_str(), printable(log.path + ".damaged").c_str());
    }
    const std::string path = find_target(session, *output).path;
    if (path == log.path) refuse("the log would be written over");
    write_to(path);
    if (session.json) print_json({{"path", log.path}, {"output", *output}, {"language", language}});
    return int(Exit::kDone);
}

const log_words::Log &parse_log(const Session &session, const Args &args) {
    find_log(session, args.log, {});
    return *log_words::find_log(*args.log);
}

int add(const Session &session, const Args &args) {
    const auto &log = parse_log(session, args);
    const int64_t type = log_words::find_type(args.type);
    if (type < 0)
        throw Failure(Exit::kUsage, "the type is info, warn or error, not '" + escape(args.type) + "'");
    const int64_t number = log_words::parse_number(args.event, UINT32_MAX);
    if (number < 0) {
        throw Failure(Exit::kUsage, "the event is a number, as 0x12B00001, not '" + escape(args.event) + "'");
    }
    if (args.arguments.size() > 4) throw Failure(Exit::kUsage, "an event has 4 arguments at most");
    const char *arguments[4] = {};
    Event event = {time(nullptr),
                   uint32_t(number),
                   uint16_t(type),
                   0,
                   program_invocation_short_name,
                   MORVLogObtainUser(),
                   {}};
    for (size_t i = 0; i < args.arguments.size(); ++i) {
        event.arguments[i] = args.arguments[i];
        arguments[i] = args.arguments[i].c_str();
    }
    if (!session.dry_run) {
        const HeldSignals held;
        clear_errors();
        if (MORVLogSet1(log.number, event.type, event.number, arguments[0], arguments[1], arguments[2],
                        arguments[3]) != 0) {
            if (errno == 0) {
                throw Failure(Exit::kFailed, "cannot write to the log " + std::string(log.name) +
                                                 ": the event is too long for it, or it is damaged");
            }
            fail_system("write to the log " + std::string(log.name));
        }
    }
    if (session.json) {
        print_json({{"log", log.name}, {"event", event_json(event, "enu")}, {"dry_run", session.dry_run}});
    } else if (session.dry_run) {
        print_table({kEventColumns, event_row(event, "enu")});
    }
    return int(Exit::kDone);
}

// "65536", "64K", "1M"
int parse_size(const std::string &text) {
    std::string_view digits = text;
    int64_t unit = 1;
    if (digits.ends_with('K')) unit = 1024;
    if (digits.ends_with('M')) unit = int64_t{1024} * 1024;
    if (unit > 1) digits.remove_suffix(1);
    const int64_t number = log_words::parse_number(digits, INT32_MAX);
    if (number < 0 || number > INT32_MAX / unit) {
        throw Failure(Exit::kUsage,
                      "the size is a number of bytes, as 65536, 64K or 1M, not '" + escape(text) + "'");
    }
    if (number * unit < MORV_LOG_SIZE_MIN)
        refuse("a log has " + std::to_string(MORV_LOG_SIZE_MIN) + " bytes at least");
    return int(number * unit);
}

int size(const Session &session, const Args &args) {
    const auto &log = parse_log(session, args);
    const int before = size_setting(log.number);
    if (!args.size) {
        if (session.json) {
            print_json({{"log", log.name}, {"most_bytes", before}});
        } else {
            print_line(std::to_string(before));
        }
        return int(Exit::kDone);
    }
    const int after = parse_size(*args.size);
    if (log.number > MORV_LOG_COPY) {
        refuse("the size of the log " + std::string(log.name) +
               " is set by its key in /etc/morvlog.conf: " + "'morvctl conf set --quote /etc/morvlog.conf " +
               std::string(log.brief) + "logfilesize_MAX=" + std::to_string(after) + "'");
    }
    if (!session.dry_run) {
        const HeldSignals held;
        clear_errors();
        if (MORVLogSetSize(after, log.number) != 0)
            fail_library("set the size of the log " + std::string(log.name));
    }
    if (session.json) {
        print_json({{"log", log.name},
                    {"most_bytes", after},
                    {"former_bytes", before},
                    {"dry_run", session.dry_run}});
    } else if (session.dry_run) {
        const State state = read_state(find_log(session, args.log, {}));
        print_line("the log " + std::string(log.name) + ": " + std::to_string(before) + " -> " +
                   std::to_string(after) + " bytes" +
                   (state.ring.size > after ? "; its oldest events would go" : ""));
    }
    return int(Exit::kDone);
}

int connections(const Session &session, const Args &) {
    constexpr struct {
        std::string_view number;
        const char *name;
    } kKinds[] = {{"4", "file sharing"}, {"5", "apple file sharing"}, {"7", "ftp"}};
    char *text = nullptr;
    clear_errors();
    const int count = MORVLogGet(MORV_LOG_REPORT, MORV_LOG_CONNECTIONS, MORV_LOG_TO_MEMORY, &text);
    if (count < 0) fail_library("find out who is connected");
    const std::unique_ptr<char, decltype(&free)> owner(text, free);
    Json documents = Json::array();
    Rows rows = {{"SINCE", "USER", "CLIENT", "SERVICE", "KIND"}};
    std::string_view rest = text ? text : "";
    for (int i = 0; i < count; ++i) {
        std::vector<std::string> fields;
        for (int field = 0; field < 5; ++field) {
            const size_t end = std::min(rest.find('\t'), rest.size());
            fields.emplace_back(rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        for (const auto &kind : kKinds) {
            if (fields[4] == kind.number) fields[4] = kind.name;
        }
        documents.push_back({{"since", fields[0]},
                             {"user", fields[1]},
                             {"client", fields[2]},
                             {"service", fields[3]},
                             {"kind", fields[4]}});
        for (std::string &field : fields)
            field = escape(field);
        rows.push_back(fields);
    }
    if (session.json) {
        print_json({{"connections", documents}});
    } else {
        print_table(rows);
    }
    return int(Exit::kDone);
}

constexpr char kLogHelp[] =
    "system, admin, connection, backup, copy, netbackup or surveillance, or its number";
constexpr char kFileHelp[] = "A file that holds a log, instead of LOG";
constexpr char kLanguageHelp[] = "The language of the sentences: enu, ger, fre, jpn, cht, ... (default enu)";

}  // namespace

void add_log_commands(CLI::App &family, Session &session) {
    const auto add_one =
        [&](const char *name, const char *description,
            int (*work)(const Session &session, const Args &args)) -> std::pair<CLI::App &, Args &> {
        CLI::App &command = add_command(family, session, Kind::kReads, name, description);
        auto args = std::make_shared<Args>();
        run_with(command, session, [args, work](Session &s) { return work(s, *args); });
        return {command, *args};
    };
    const auto add_dry_run = [&](CLI::App &command) {
        command.add_flag("--dry-run", session.dry_run, "Print what would be done, and write nothing");
    };
    {
        auto [command, args] = add_one("list", "List the logs", list);
        command.add_flag("--names", args.names, "The names alone, one a line");
    }
    {
        CLI::App &command = add_command(family, session, Kind::kReads, "show", "Show the events of a log");
        auto args = std::make_shared<ShowArgs>();
        run_with(command, session, [args](Session &s) { return show_log(s, *args); });
        add_text(command, "LOG", args->log, kLogHelp);
        add_text(command, "--file", args->file, kFileHelp)->type_name("FILE");
        command.add_flag("--follow,-f", args->follow, "Go on with the events that come, until interrupted");
        add_text(command, "--since", args->since,
                 "Not those before: 2026-11-22, '2026-11-22 13:00', or 2h, 3d ago")
            ->type_name("TIME");
        add_text(command, "--until", args->until, "Not those after")->type_name("TIME");
        add_text(command, "--type", args->type, "Only info, warn or error")->type_name("TYPE");
        add_text(command, "--user", args->user, "Only those of this user")->type_name("USER");
        add_text(command, "--event", args->event, "Only this event, as 12B00001")->type_name("HEX");
        command
            .add_option_function<size_t>(
                "--last", [args](size_t last) { args->last = last; }, "Only so many, the newest")
            ->type_name("N");
        add_text(command, "--language", args->language, kLanguageHelp)->type_name("LANG");
    }
    {
        auto [command, args] = add_one("export", "Write the events of a log to a text file", export_log);
        add_text(command, "LOG", args.log, kLogHelp);
        add_text(command, "OUTPUT", args.output, "The file to write; - for standard output");
        add_text(command, "--file", args.file, kFileHelp)->type_name("FILE");
        add_text(command, "--language", args.language, kLanguageHelp)->type_name("LANG");
    }
    {
        auto [command, args] = add_one("add", "Add an event to a log", add);
        add_text(command, "LOG", args.log, kLogHelp)->required();
        add_text(command, "TYPE", args.type, "info, warn or error")->required();
        add_text(command, "EVENT", args.event, "Its number, as 0x12B00001")->required();
        add_texts(command, "ARGUMENT", args.arguments, "What the sentence has in the place of @1 to @4");
        add_dry_run(command);
    }
    {
        auto [command, args] = add_one("size", "Print or set the most bytes that a log may have", size);
        add_text(command, "LOG", args.log, kLogHelp)->required();
        add_text(command, "BYTES", args.size, "As 65536, 64K or 1M; without it the size is printed");
        add_dry_run(command);
    }
    add_one("connections", "List who is connected to the services for files", connections);
    {
        auto [command, args] =
            add_one("verify", "Tell whether a log is sound, which exit code 0 says, too", verify);
        add_text(command, "LOG", args.log, kLogHelp);
        add_text(command, "--file", args.file, kFileHelp)->type_name("FILE");
    }
}

}  // namespace morvctl
