// morvctl section: files divided by lines "[name]".
#include <morvsdk/error.h>
#include <morvsdk/file.h>

#include <memory>
#include <optional>

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
    bool has_key = false;
    std::vector<std::string> items;
    bool quote = false;
};

// A section as it stands in a text: where its header is, and where the first line behind it.
struct Place {
    size_t header;
    size_t end;
};

bool opens_section(std::string_view line, const std::string &name) {
    const std::string header = "[" + name + "]";
    line = up_to_nul(line);
    return line.starts_with(header) && line.find_first_not_of(" \t\v\f\r", header.size()) == line.npos;
}

// Finds the next section of that name from the line on that begins at `from`.
std::optional<Place> find_section(std::string_view text, const std::string &name, size_t from = 0) {
    for (size_t at = from; at < text.size(); at = next_line(text, at)) {
        if (text[at] != '[' || !opens_section(line_at(text, at), name)) continue;
        size_t end = next_line(text, at);
        while (end < text.size() && text[end] != '[')
            end = next_line(text, end);
        return Place{at, end};
    }
    return {};
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
        // The quotes keep what would be trimmed.
        return indent + key + sign + (quote || trim(value) != value ? "\"" + value + "\"" : value);
    }
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

// Changes just the line of the key, or adds one behind the section's last pair, which looks like that.
void set_key(std::string &text, const Place &place, const std::string &key, const std::string &value,
             bool quote) {
    size_t last_pair = place.header;
    size_t found = place.header;
    for (size_t at = next_line(text, place.header); at < place.end; at = next_line(text, at)) {
        const std::string_view line = line_at(text, at);
        if (!is_pair(line)) continue;
        // Of several lines with the key the last one counts.
        if (trim(line.substr(0, line.find('='))) == key) found = at;
        last_pair = at;
    }
    const size_t at = found != place.header ? found : last_pair;
    std::string_view model = line_at(text, at);
    const size_t length = model.size();
    const std::string_view end = model.ends_with('\r') ? "\r" : "";
    model.remove_suffix(end.size());
    const Style style = last_pair != place.header ? style_of(model) : Style();
    const std::string line = style.line(key, value, quote).append(end);
    if (found != place.header) {
        text.replace(at, length, line);
    } else if (at + length == text.size()) {
        text.append("\n").append(line).append("\n");
    } else {
        text.insert(at + length + 1, line + "\n");
    }
}

void add_section(std::string &text, const std::string &section, const Pairs &pairs, bool quote) {
    const char *end = text.ends_with("\r\n") ? "\r\n" : "\n";
    if (!text.empty() && text.back() != '\n') text += '\n';
    text.append("[").append(section).append("]").append(end);
    for (const auto &[key, value] : pairs)
        text.append(Style().line(key, value, quote)).append(end);
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
    if (args.has_key) check_not_empty(args.key);
    const Target target = find_target(session, args.file);
    const auto names = section_names(target);
    if (std::find(names.begin(), names.end(), args.section) == names.end())
        fail_not_found(args.section, args.file);
    Hash hash;
    get_pairs(target, args.section, hash);
    Pairs pairs = hash.pairs();
    if (args.has_key) {
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
    return change_text(session, args.file, Missing::kIsMade, [&](std::string &text) {
        if (!find_section(text, args.section)) {
            add_section(text, args.section, pairs, args.quote);
        } else {
            for (const auto &[key, value] : pairs)
                set_key(text, *find_section(text, args.section), key, value, args.quote);
        }
        return int(pairs.size());
    });
}

int rename(const Session &session, const Args &args) {
    check_section(args.section);
    check_section(args.new_name);
    return change_text(session, args.file, Missing::kFails, [&](std::string &text) {
        if (find_section(text, args.new_name)) {
            refuse(args.file + " has a section " + escape(args.new_name) + " already (" +
                   error_name(ERR_SECTION_EXISTS) + ")");
        }
        std::string renamed;
        size_t done = 0;
        int count = 0;
        for (auto place = find_section(text, args.section); place;
             place = find_section(text, args.section, place->end)) {
            renamed.append(text, done, place->header - done).append("[").append(args.new_name).append("]");
            done = place->header + args.section.size() + 2;
            ++count;
        }
        if (count == 0) fail_not_found(args.section, args.file);
        text = renamed.append(text, done);
        return count;
    });
}

int remove(const Session &session, const Args &args) {
    check_section(args.section);
    return change_file(session, args.file, Missing::kFails, [&](const std::string &path) {
        clear_errors();
        const int removed = ErrMLIBFileRemoveSection(path.c_str(), args.section.c_str());
        if (removed < 0) fail_library("write " + args.file);
        if (removed == 0) fail_not_found(args.section, args.file);
        return removed;
    });
}

}  // namespace

void add_section_commands(CLI::App &family, Session &session) {
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
        add_text(command, "KEY", args.key, "Print the value of this key alone")
            ->each([&flag = args.has_key](const std::string &) { flag = true; });
    }
    {
        auto [command, args] =
            add(Kind::kWrites, "set", "Set keys of a section, which is made if need be", set);
        add_name(command, args);
        add_texts(command, "KEY=VALUE", args.items, "What to set")->required();
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
