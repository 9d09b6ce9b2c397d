// morvctl section: files divided by lines "[name]".
#include <morvsdk/error.h>
#include <morvsdk/file.h>

#include <memory>

#include "morvctl/change.h"
#include "morvctl/containers.h"
#include "morvctl/families.h"
#include "morvctl/output.h"
#include "morvctl/pairs.h"
#include "morvctl/text_lines.h"

namespace morvctl {

namespace {

struct Args {
    std::string file;
    std::string section;
    std::string new_name;
    std::string key;
    std::vector<std::string> items;
    bool quote = false;
};

// A section as it stands in the file.
struct Place {
    std::vector<std::string> lines;
    size_t header = 0;
    size_t end = 0;  // behind its last line
};

bool is_comment(std::string_view line) {
    return !line.empty() && (line[0] == '#' || line[0] == ';');
}

bool opens_section(std::string_view line, const std::string &name) {
    const std::string header = "[" + name + "]";
    return line.starts_with(header) && line.find_first_not_of(" \t\v\f\r", header.size()) == line.npos;
}

// Answers whether the file has the section.
bool find_section(const Target &target, const std::string &name, Place &place) {
    place.lines = split_lines(read_content(target));
    const auto &lines = place.lines;
    for (place.header = 0; place.header < lines.size(); ++place.header) {
        if (!opens_section(lines[place.header], name)) continue;
        place.end = place.header + 1;
        while (place.end < lines.size() && !lines[place.end].starts_with('['))
            ++place.end;
        return true;
    }
    return false;
}

void check_section(const std::string &name) {
    const auto wrong = [&](const char *why) { refuse("the section name '" + escape(name) + "' " + why); };
    if (name.empty()) refuse("a section name is empty");
    check_one_line("a section name", name);
    if (name.find(']') != name.npos) wrong("holds a ']'");
    if (trim(name) != name) wrong("has blanks or quotes around it");
}

[[noreturn]] void fail_not_found(const std::string &section, const std::string &file) {
    throw Failure(Exit::kNotFound, "cannot find the section " + escape(section) + " in " + file + " (" +
                                       error_name(ERR_SECTION_NOT_FOUND) + ")");
}

std::vector<std::string> section_names(const Target &target) {
    List list;
    clear_errors();
    if (MLIBFileEnumSection(target.path.c_str(), list.address()) < 0) fail_library("read " + target.name);
    return list.items();
}

// The pairs, without the commented-out ones that the library reads along.
void get_pairs(const Target &target, const std::string &section, Hash &hash) {
    clear_errors();
    if (MLIBFileGetSection(target.path.c_str(), section.c_str(), hash.address()) < 0) {
        fail_library("read " + target.name);
    }
    for (const auto &pair : hash.pairs()) {
        if (is_comment(pair.first)) SzMLIBSzHashRemoveKey(hash.get(), pair.first.c_str());
    }
}

// How a section writes its pairs: the blanks before a key and around the "=".
struct Style {
    std::string indent;
    std::string sign = "=";

    std::string line(const std::string &key, const std::string &value, bool quote) const {
        return indent + key + sign + (quote ? "\"" + value + "\"" : value);
    }
    // The same as a print format.
    std::string format(bool quote) const { return line("%s", "%s", quote) + "\n"; }
};

// Where the key of a line ends and its value begins.
Style style_of(std::string_view line) {
    const size_t sign = line.find('=');
    const size_t key = line.find_first_not_of(" \t");
    const size_t key_end = line.find_last_not_of(" \t", sign - 1) + 1;
    const size_t value = std::min(line.find_first_not_of(" \t\r", sign + 1), line.size());
    Style style;
    style.indent = line.substr(0, key);
    style.sign = line.substr(key_end, std::max(value, sign + 1) - key_end);
    return style;
}

bool is_pair(std::string_view line) {
    const size_t sign = line.find('=');
    return !is_comment(line) && sign != line.npos && !trim(line.substr(0, sign)).empty();
}

void rewrite_section(const std::string &path, const Args &args, const std::string &key,
                     const std::string &value, const Style &style) {
    Hash hash;
    get_pairs({args.file, path}, args.section, hash);
    hash.set(key, value);
    clear_errors();
    if (ErrMLIBFileSetSection(path.c_str(), args.section.c_str(), nullptr, hash.get(),
                              style.format(args.quote).c_str()) < 0) {
        fail_library("write " + args.file);
    }
}

// Changes just the line of the key, or adds one behind the section's last pair. Where the library's line
// functions cannot tell that line from others, the section is written anew.
void set_key(const std::string &path, const Args &args, const std::string &key, const std::string &value) {
    Place place;
    find_section({args.file, path}, args.section, place);
    size_t last_pair = place.header;
    size_t found = 0;
    Style style;
    for (size_t i = place.header + 1; i < place.end; ++i) {
        const std::string_view line = place.lines[i];
        if (!is_pair(line)) continue;
        // Of several lines with the key the last one counts.
        if (trim(line.substr(0, line.find('='))) == key) found = i;
        last_pair = i;
    }
    if (last_pair != place.header) style = style_of(place.lines[found != 0 ? found : last_pair]);
    const std::string line = style.line(key, value, args.quote);
    const size_t at = found != 0 ? found : last_pair;
    const auto flags = flags_for(place.lines, at);
    if (!flags) return rewrite_section(path, args, key, value, style);
    const char *pattern = place.lines[at].c_str();
    clear_errors();
    const int done = found != 0
                         ? MLIBFileSetLine(path.c_str(), pattern, line.c_str(), *flags)
                         : MLIBFileAddLine(path.c_str(), pattern, line.c_str(), *flags | MORV_LINE_AFTER);
    if (done < 1) fail_library("write " + args.file);
}

void add_section(const std::string &path, const Args &args, const Pairs &pairs) {
    const auto check = [&](int result) {
        if (result < 0) fail_library("write " + args.file);
    };
    const Target target{args.file, path};
    clear_errors();
    if (!exists(target) || read_content(target).empty()) {
        // The library would begin an empty file with an empty line, and makes none.
        check(MLIBFileAddLine(path.c_str(), nullptr, ("[" + args.section + "]").c_str(), MORV_LINE_AFTER));
        for (const auto &[key, value] : pairs) {
            const std::string line = Style().line(key, value, args.quote);
            check(MLIBFileAddLine(path.c_str(), nullptr, line.c_str(), MORV_LINE_AFTER));
        }
        return;
    }
    Hash hash;
    for (const auto &[key, value] : pairs)
        hash.set(key, value);
    check(ErrMLIBFileAddSection(path.c_str(), args.section.c_str(), hash.get(),
                                args.quote ? kQuotedFormat : kPlainFormat));
}

int list(const Session &session, const Args &args) {
    const auto names = section_names(find_target(session, args.file));
    if (session.json) {
        print_json({{"file", args.file}, {"sections", names}});
    } else {
        for (const std::string &name : names)
            print_line(escape(name));
    }
    return int(Exit::kDone);
}

int get(const Session &session, const Args &args) {
    const Target target = find_target(session, args.file);
    const auto names = section_names(target);
    if (std::find(names.begin(), names.end(), args.section) == names.end())
        fail_not_found(args.section, args.file);
    Hash hash;
    get_pairs(target, args.section, hash);
    Pairs pairs = hash.pairs();
    if (!args.key.empty()) {
        const char *value = SzMLIBSzHashGetValue(hash.get(), args.key.c_str());
        if (!value) {
            throw Failure(Exit::kNotFound, "cannot find the key " + escape(args.key) + " in section " +
                                               args.section + " of " + args.file + " (" +
                                               error_name(ERR_KEY_NOT_FOUND) + ")");
        }
        if (!session.json) {
            print_line(value);
            return int(Exit::kDone);
        }
        pairs = {{args.key, value}};
    }
    if (session.json) {
        print_json({{"file", args.file}, {"section", args.section}, {"pairs", pairs_json(pairs)}});
    } else {
        print_pairs(pairs);
    }
    return int(Exit::kDone);
}

int set(const Session &session, const Args &args) {
    check_section(args.section);
    const Pairs pairs = parse_pairs(args.items);
    for (const auto &pair : pairs) {
        if (pair.first[0] == '[') refuse("the key '" + escape(pair.first) + "' would begin a section");
    }
    return change_file(session, args.file, [&](const std::string &path) {
        const Target target{args.file, path};
        Place place;
        if (!exists(target) || !find_section(target, args.section, place)) {
            add_section(path, args, pairs);
        } else {
            for (const auto &[key, value] : pairs)
                set_key(path, args, key, value);
        }
        return int(pairs.size());
    });
}

int rename(const Session &session, const Args &args) {
    check_section(args.section);
    check_section(args.new_name);
    return change_file(session, args.file, [&](const std::string &path) {
        const Target target{args.file, path};
        Place place;
        if (find_section(target, args.new_name, place)) {
            refuse(args.file + " has a section " + args.new_name + " already (" +
                   error_name(ERR_SECTION_EXISTS) + ")");
        }
        int renamed = 0;
        for (; find_section(target, args.section, place); ++renamed) {
            const std::string header = "[" + args.new_name + "]";
            const auto flags = flags_for(place.lines, place.header);
            if (!flags)
                refuse("the section " + args.section + " of " + args.file +
                       " stands among lines like its own");
            clear_errors();
            if (MLIBFileSetLine(path.c_str(), place.lines[place.header].c_str(), header.c_str(), *flags) <
                1) {
                fail_library("write " + args.file);
            }
        }
        if (renamed == 0) fail_not_found(args.section, args.file);
        return renamed;
    });
}

int remove(const Session &session, const Args &args) {
    check_section(args.section);
    return change_file(session, args.file, [&](const std::string &path) {
        check_readable({args.file, path});
        clear_errors();
        const int removed = ErrMLIBFileRemoveSection(path.c_str(), args.section.c_str());
        if (removed < 0) fail_library("write " + args.file);
        if (removed == 0) fail_not_found(args.section, args.file);
        return removed;
    });
}

}  // namespace

void add_section_commands(CLI::App &app, Session &session) {
    CLI::App &family = add_family(app, session, "section", "Files divided by [section] lines");
    const auto add = [&](Kind kind, const char *name, const char *description,
                         auto work) -> std::pair<CLI::App &, Args &> {
        CLI::App &command = add_command(family, session, kind, name, description);
        auto args = std::make_shared<Args>();
        add_text(command, "FILE", args->file, "The file")->required();
        run_with(command, session, [args, work](Session &s) { return work(s, *args); });
        return {command, *args};
    };
    const auto add_name = [](CLI::App &command, Args &args) {
        add_text(command, "SECTION", args.section, "Its name, without brackets")->required();
    };
    add(Kind::kReads, "list", "List the sections", list);
    {
        auto [command, args] = add(Kind::kReads, "get", "Print the pairs of a section, or one value", get);
        add_name(command, args);
        add_text(command, "KEY", args.key, "Print the value of this key alone");
    }
    {
        auto [command, args] =
            add(Kind::kWrites, "set", "Set keys of a section, which is made if need be", set);
        add_name(command, args);
        add_texts(command, "KEY=VALUE", args.items, "What to set, one after the other")->required();
        command.add_flag("--quote", args.quote, "Write values in double quotes");
    }
    {
        auto [command, args] =
            add(Kind::kWrites, "rename", "Rename a section, keeping what is in it", rename);
        add_name(command, args);
        add_text(command, "NEW", args.new_name, "The new name")->required();
    }
    {
        auto [command, args] = add(Kind::kWrites, "remove", "Remove a section; its comments stay", remove);
        add_name(command, args);
    }
}

}  // namespace morvctl
