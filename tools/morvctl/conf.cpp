// morvctl conf: files of "key=value" lines.
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <unistd.h>

#include <memory>

#include "morvctl/change.h"
#include "morvctl/containers.h"
#include "morvctl/families.h"
#include "morvctl/output.h"
#include "morvctl/pairs.h"
#include "morvctl/scratch_folder.h"

namespace morvctl {

namespace {

struct Args {
    std::string file;
    std::vector<std::string> items;
    std::string fallback;
    bool has_fallback = false;
    bool last = false;
    bool quote = false;
};

// Answers whether the file has the key.
bool get_value(const Target &target, const std::string &key, int flags, std::string &value) {
    for (;;) {
        clear_errors();
        int size = MLIBFileGetKeyValue(target.path.c_str(), key.c_str(), nullptr, 0, flags);
        if (size > 0) {
            value.resize(size_t(size));
            size = MLIBFileGetKeyValue(target.path.c_str(), key.c_str(), value.data(), size, flags);
            // A longer value has been set in the meantime.
            if (size < 0 && MLIBErrGet() == ERR_NOT_ENOUGH_MEMORY) continue;
        }
        if (size < 0) fail_library("read " + target.name);
        value.resize(size > 0 ? size_t(size) - 1 : 0);
        return size > 0;
    }
}

Pairs get_pairs(const Target &target) {
    Hash hash;
    clear_errors();
    if (MLIBFileGetPair(target.path.c_str(), hash.address()) < 0) fail_library("read " + target.name);
    return hash.pairs();
}

[[noreturn]] void fail_not_found(const std::string &key, const std::string &file) {
    throw Failure(Exit::kNotFound, "cannot find the key " + escape(key) + " in " + file + " (" +
                                       error_name(ERR_KEY_NOT_FOUND) + ")");
}

int get(const Session &session, const Args &args) {
    for (const std::string &key : args.items)
        check_not_empty(key);
    const Target target = find_target(session, args.file);
    Pairs pairs;
    if (args.items.empty()) pairs = get_pairs(target);
    for (const std::string &key : args.items) {
        std::string value;
        if (!get_value(target, key, args.last ? MORV_KEY_LAST : 0, value)) {
            if (!args.has_fallback) fail_not_found(key, args.file);
            value = args.fallback;
        }
        pairs.emplace_back(key, value);
    }
    if (session.json) {
        print_json({{"file", args.file}, {"pairs", pairs_json(pairs)}});
    } else if (args.items.size() == 1) {
        print_line(pairs.front().second);
    } else {
        print_pairs(pairs);
    }
    return int(Exit::kDone);
}

// The library adds a key directly behind the last byte. If a last line has no line feed, and a key is to be
// added, the line gets one first: a key that the file does not hold is appended in a format that shows
// nothing of it.
void end_last_line(const Target &target, const Pairs &pairs) {
    if (!exists(target)) return;
    const std::string content = read_content(target);
    if (content.empty() || content.back() == '\n') return;
    for (const auto &pair : pairs) {
        clear_errors();
        const int added = MLIBFileAppendKey(target.path.c_str(), pair.first.c_str(), "", "%.0s%.0s\n");
        if (added < 0) fail_library("write " + target.name);
        if (added > 0) return;
    }
}

// The quotes keep what would be trimmed; and a line that ends at its "=" reads as if the key were missing.
const char *format_for(const std::string &value, bool quote) {
    return quote || value.empty() || trim(value) != value ? kQuotedFormat : kPlainFormat;
}

// Sets the pairs: one as MLIBFileSetKeyValue does, more in a rewrite for all. That one leaves further lines
// of a key as they are; where they would say otherwise, they go as well.
int set_pairs(const Target &target, const Pairs &pairs, bool quote) {
    end_last_line(target, pairs);
    const auto set_one = [&](const std::string &key, const std::string &value) {
        clear_errors();
        if (MLIBFileSetKeyValue(target.path.c_str(), key.c_str(), value.c_str(), format_for(value, quote)) <
            0)
            fail_library("write " + target.name);
    };
    Hash hash;
    bool several = false;
    for (const auto &[key, value] : pairs) {
        if (pairs.size() == 1 || format_for(value, quote) != format_for("x", quote)) {
            set_one(key, value);
        } else {
            hash.set(key, value);
            several = true;
        }
    }
    if (!several) return int(pairs.size());
    clear_errors();
    if (MLIBFileSetKeys(target.path.c_str(), hash.get(), nullptr, format_for("x", quote)) < 0)
        fail_library("write " + target.name);
    for (const auto &[key, value] : pairs) {
        std::string first;
        std::string last;
        const bool first_found = get_value(target, key, 0, first);
        const bool last_found = get_value(target, key, MORV_KEY_LAST, last);
        if (first_found != last_found || first != last) set_one(key, value);
    }
    return int(pairs.size());
}

int set(const Session &session, const Args &args) {
    const Pairs pairs = parse_pairs(args.items);
    return change_file(session, args.file, Missing::kIsMade, [&](const std::string &path) {
        return set_pairs({args.file, path}, pairs, args.quote);
    });
}

int unset(const Session &session, const Args &args) {
    for (const std::string &key : args.items)
        check_not_empty(key);
    std::string missing;
    const int code = change_file(session, args.file, Missing::kFails, [&](const std::string &path) {
        int dropped = 0;
        for (const std::string &key : args.items) {
            clear_errors();
            const int lines = MLIBFileRemoveKey(path.c_str(), key.c_str());
            if (lines < 0) fail_library("write " + args.file);
            if (lines == 0 && missing.empty()) missing = key;
            dropped += lines;
        }
        return dropped;
    });
    if (!missing.empty()) fail_not_found(missing, args.file);
    return code;
}

int keys(const Session &session, const Args &args) {
    Json names = Json::array();
    for (const auto &pair : get_pairs(find_target(session, args.file))) {
        names.push_back(pair.first);
        if (!session.json) print_line(escape(pair.first));
    }
    if (session.json) print_json({{"file", args.file}, {"keys", names}});
    return int(Exit::kDone);
}

std::string read_standard_input() {
    std::string content;
    if (!read_all(STDIN_FILENO, content)) fail_system("read standard input");
    return content;
}

Pairs pairs_to_merge(const Session &session, const std::string &from) {
    if (from != "-") return get_pairs(find_target(session, from));
    const std::string content = read_standard_input();
    const ScratchFolder scratch;
    return get_pairs({"standard input", scratch.write("input", content)});
}

int merge(const Session &session, const Args &args) {
    const Pairs pairs = pairs_to_merge(session, args.items.at(0));
    for (const auto &pair : pairs)
        check_key(pair.first);
    return change_file(session, args.file, Missing::kIsMade, [&](const std::string &path) {
        return pairs.empty() ? 0 : set_pairs({args.file, path}, pairs, args.quote);
    });
}

}  // namespace

void add_conf_commands(CLI::App &conf, Session &session) {
    const auto add = [&](Kind kind, const char *name, const char *description,
                         auto work) -> std::pair<CLI::App &, Args &> {
        CLI::App &command = add_command(conf, session, kind, name, description);
        auto args = std::make_shared<Args>();
        add_text(command, "FILE", args->file, "The file")->required();
        run_with(command, session, [args, work](Session &s) { return work(s, *args); });
        return {command, *args};
    };
    const auto add_quote = [](CLI::App &command, Args &args) {
        command.add_flag("--quote", args.quote, "Write values in double quotes");
    };
    {
        auto [command, args] =
            add(Kind::kReads, "get", "Print the value of a key, or all keys and values", get);
        add_texts(command, "KEY", args.items, "The keys; a single one prints its value alone");
        command.add_flag("--last", args.last, "Of several lines with the key the last one counts");
        add_text(command, "--default", args.fallback, "Print this when the key is missing")
            ->type_name("VALUE")
            ->each([&flag = args.has_fallback](const std::string &) { flag = true; });
    }
    {
        auto [command, args] =
            add(Kind::kWrites, "set", "Set keys; several are set together or not at all", set);
        add_texts(command, "KEY=VALUE", args.items, "What to set")->required();
        add_quote(command, args);
    }
    {
        auto [command, args] = add(Kind::kWrites, "unset", "Drop every line of the keys", unset);
        add_texts(command, "KEY", args.items, "The keys")->required();
    }
    add(Kind::kReads, "keys", "List the keys", keys);
    {
        auto [command, args] = add(Kind::kWrites, "merge", "Set all pairs of another file", merge);
        add_texts(command, "FROM", args.items, "The other file, - for standard input")
            ->required()
            ->expected(1);
        add_quote(command, args);
    }
}

}  // namespace morvctl
