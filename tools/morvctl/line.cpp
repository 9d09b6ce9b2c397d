// morvctl line: single lines of any text file, chosen by a pattern or by fields.
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/internal/file.h>

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
    std::vector<std::string> texts;  // PATTERN and LINE, as far as the command has them
    std::string old_text;
    std::string new_text;
    std::string fields;
    std::string separator = ":";
    bool by_fields = false;
    bool prefix = false;
    bool suffix = false;
    bool ignore_case = false;
    bool last = false;
    bool before = false;
    bool after = false;  // which is so without it, too

    int flags() const {
        return (prefix ? MORV_LINE_PREFIX : 0) | (suffix ? MORV_LINE_SUFFIX : 0) |
               (ignore_case ? MORV_LINE_NOCASE : 0) | (last ? MORV_LINE_LAST : 0) |
               (before ? 0 : MORV_LINE_AFTER);
    }
};

[[noreturn]] void fail_not_found(const Args &args, const std::string &pattern) {
    const std::string wanted = args.by_fields ? "the fields '" + escape(args.fields) : "'" + escape(pattern);
    throw Failure(Exit::kNotFound, "cannot find a line with " + wanted + "' in " + args.file + " (" +
                                       error_name(ERR_KEY_NOT_FOUND) + ")");
}

[[noreturn]] void fail_usage(const char *sentence) {
    throw Failure(Exit::kUsage, sentence);
}

void check_flags(const Args &args) {
    if (args.prefix && args.suffix) fail_usage("--prefix and --suffix exclude each other");
    if (args.before && args.after) fail_usage("--before and --after exclude each other");
    if (args.by_fields && (args.prefix || args.suffix || args.ignore_case)) {
        fail_usage("--prefix, --suffix and --ignore-case are for a PATTERN, not for --fields");
    }
}

// The fields asked for: "a::c" leaves the second one open.
void fill_fields(const Args &args, List &fields) {
    if (args.separator.empty()) fail_usage("--separator needs a character");
    std::string_view rest = args.fields;
    for (;;) {
        const size_t end = rest.find_first_of(args.separator);
        fields.push(std::string(rest.substr(0, end)));
        if (end == rest.npos) return;
        rest.remove_prefix(end + 1);
    }
}

// The texts that follow FILE: the pattern, unless fields take its place, and the line, if the command has
// one. Answers the line.
std::string check_texts(const Args &args, bool has_line) {
    check_flags(args);
    const size_t wanted = (args.by_fields ? 0U : 1U) + (has_line ? 1U : 0U);
    if (args.texts.size() < wanted) {
        fail_usage(args.texts.empty() && !args.by_fields ? "PATTERN or --fields is required"
                                                         : "LINE is required");
    }
    if (args.texts.size() > wanted)
        fail_usage("there are too many arguments: --fields takes the place of PATTERN");
    if (!args.by_fields && args.texts[0].empty()) refuse("an empty pattern would match any line");
    if (!has_line) return {};
    check_one_line("the line", args.texts.back());
    return args.texts.back();
}

// Where in a text the line with the fields begins; fails when there is none.
size_t find_by_fields(const Args &args, std::string_view text) {
    List fields;
    fill_fields(args, fields);
    size_t found = text.npos;
    for (size_t at = 0; at < text.size(); at = next_line(text, at)) {
        if (is_comment(text.substr(at, 1))) continue;
        // The line feed may be one of the separators.
        const std::string line(up_to_nul(text.substr(at, next_line(text, at) - at)));
        clear_errors();
        const int match = MLIBIFileMatch(line.c_str(), fields.get(), args.separator.c_str());
        if (match < 0) fail_library("read " + args.file);
        if (match == 0) continue;
        found = at;
        if (!args.last) break;
    }
    if (found == text.npos) fail_not_found(args, "");
    return found;
}

// The line without its line feed.
std::string find_line(const Target &target, const Args &args) {
    if (args.by_fields) {
        const std::string text = read_content(target);
        return std::string(line_at(text, find_by_fields(args, text)));
    }
    clear_errors();
    std::string line(4096, '\0');
    for (;;) {
        const int result = MLIBFileGetLine(target.path.c_str(), args.texts[0].c_str(), line.data(),
                                           int(line.size()), args.flags() & ~MORV_LINE_AFTER);
        if (result > 0) {
            line.resize(size_t(result) - 1);
            return line;
        }
        if (result == 0) fail_not_found(args, args.texts[0]);
        if (MLIBErrGet() != ERR_NOT_ENOUGH_MEMORY || line.size() > (1U << 30))
            fail_library("read " + target.name);
        line.resize(line.size() * 2);
        clear_errors();
    }
}

int find(const Session &session, const Args &args) {
    check_texts(args, false);
    const std::string line = find_line(find_target(session, args.file), args);
    if (session.json) {
        print_json({{"file", args.file}, {"line", line}});
    } else {
        print_line(line);
    }
    return int(Exit::kDone);
}

int checked(int result, const Args &args, const std::string &pattern = "") {
    if (result < 0) fail_library("write " + args.file);
    if (result == 0) fail_not_found(args, pattern);
    return result;
}

int add(const Session &session, const Args &args) {
    check_flags(args);
    const std::string &line = args.texts.at(0);
    check_one_line("the line", line);
    if (args.texts.size() > 2 || (args.by_fields && args.texts.size() > 1)) {
        fail_usage("there are too many arguments: --fields takes the place of PATTERN");
    }
    const char *pattern = args.texts.size() > 1 ? args.texts[1].c_str() : nullptr;
    if (pattern && *pattern == '\0') refuse("an empty pattern would match any line");
    return change_file(session, args.file, Missing::kIsMade, [&](const std::string &path) {
        clear_errors();
        if (!args.by_fields)
            return checked(MLIBFileAddLine(path.c_str(), pattern, line.c_str(), args.flags()), args,
                           pattern ? pattern : "");
        List fields;
        fill_fields(args, fields);
        return checked(
            MLIBFileAddLineByKey(path.c_str(), fields.get(), line.c_str(),
                                 args.flags() & (MORV_LINE_LAST | MORV_LINE_AFTER), args.separator.c_str()),
            args);
    });
}

int set(const Session &session, const Args &args) {
    const std::string line = check_texts(args, true);
    if (args.by_fields && args.last)
        fail_usage("--last is not for --fields here: all lines that match are set");
    return change_file(session, args.file, Missing::kFails, [&](const std::string &path) {
        clear_errors();
        if (!args.by_fields) {
            return checked(MLIBFileSetLine(path.c_str(), args.texts[0].c_str(), line.c_str(),
                                           args.flags() & ~MORV_LINE_AFTER),
                           args, args.texts[0]);
        }
        List fields;
        fill_fields(args, fields);
        return checked(MLIBFileSetLineByKey(path.c_str(), fields.get(), line.c_str(), args.separator.c_str()),
                       args);
    });
}

int remove(const Session &session, const Args &args) {
    check_texts(args, false);
    if (args.by_fields) {
        return change_text(session, args.file, Missing::kFails, [&](std::string &text) {
            const size_t at = find_by_fields(args, text);
            text.erase(at, next_line(text, at) - at);
            return 1;
        });
    }
    const std::string &pattern = args.texts[0];
    return change_file(session, args.file, Missing::kFails, [&](const std::string &path) {
        clear_errors();
        return checked(
            MLIBFileSetLine(path.c_str(), pattern.c_str(), nullptr, args.flags() & ~MORV_LINE_AFTER), args,
            pattern);
    });
}

int replace(const Session &session, const Args &args) {
    const std::string &old_text = args.old_text;
    const std::string &new_text = args.new_text;
    if (old_text.empty()) refuse("the text to replace is empty");
    check_one_line("the text to replace", old_text);
    check_one_line("the new text", new_text);
    return change_file(session, args.file, Missing::kFails, [&](const std::string &path) {
        clear_errors();
        const int replaced = MLIBFileReplaceSubStr(path.c_str(), old_text.c_str(), new_text.c_str());
        if (replaced < 0) fail_library("write " + args.file);
        if (replaced == 0) {
            throw Failure(Exit::kNotFound, "cannot find '" + escape(old_text) + "' in " + args.file);
        }
        return replaced;
    });
}

}  // namespace

void add_line_commands(CLI::App &family, Session &session) {
    const auto add_one = [&](Kind kind, const char *name, const char *description,
                             auto work) -> std::pair<CLI::App &, Args &> {
        CLI::App &command = add_command(family, session, kind, name, description);
        auto args = std::make_shared<Args>();
        add_text(command, "FILE", args->file, "The file")->required();
        run_with(command, session, [args, work](Session &s) { return work(s, *args); });
        return {command, *args};
    };
    const auto add_choice = [](CLI::App &command, Args &args) {
        command.add_flag("--prefix", args.prefix, "PATTERN stands at the start of the line");
        command.add_flag("--suffix", args.suffix, "PATTERN stands at the end of the line");
        command.add_flag("--ignore-case", args.ignore_case, "Upper and lower case are the same");
        command.add_flag("--last", args.last, "The last line that matches, not the first");
        add_text(command, "--fields", args.fields, "Lines with these fields; an empty one stands for any")
            ->type_name("A:B:...")
            ->each([&flag = args.by_fields](const std::string &) { flag = true; });
        add_text(command, "--separator", args.separator, "What separates fields (default :)")
            ->type_name("CHARS");
    };
    constexpr const char *kPattern = "A text in the line (or use --fields). Comments never match";
    {
        auto [command, args] = add_one(Kind::kReads, "find", "Print the first line that matches", find);
        add_texts(command, "PATTERN", args.texts, kPattern);
        add_choice(command, args);
    }
    {
        auto [command, args] =
            add_one(Kind::kWrites, "add", "Add a line at the end, or beside one that matches", add);
        add_texts(command, "LINE", args.texts, "The line to add, and the PATTERN of the one it stands beside")
            ->required()
            ->option_text("[PATTERN] REQUIRED");
        add_choice(command, args);

        command.add_flag("--after", args.after, "Behind that line or at the end (default)");
        command.add_flag("--before", args.before, "Before that line or at the top");
    }
    {
        auto [command, args] = add_one(Kind::kWrites, "set", "Replace the line that matches", set);
        add_texts(command, "PATTERN", args.texts, std::string(kPattern) + "; then the new LINE")
            ->option_text("LINE REQUIRED");
        add_choice(command, args);
    }
    {
        auto [command, args] = add_one(Kind::kWrites, "delete", "Delete the line that matches", remove);
        add_texts(command, "PATTERN", args.texts, kPattern);
        add_choice(command, args);
    }
    {
        auto [command, args] = add_one(Kind::kWrites, "replace", "Replace a text everywhere", replace);
        add_text(command, "OLD", args.old_text, "The text")->required();
        add_text(command, "NEW", args.new_text, "What is to stand in its place")->required();
    }
}

}  // namespace morvctl
