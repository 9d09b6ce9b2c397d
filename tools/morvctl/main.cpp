// morvctl: the settings of the appliance from the command line. docs/man/morvctl.1
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <span>
#include <string_view>

#include "morvctl/families.h"
#include "morvctl/output.h"
#include "morvctl/signals.h"
#include "morvctl/target.h"

using namespace morvctl;

namespace {

std::string exit_code_help() {
    std::string text = "Exit codes:\n";
    for (const auto &exit : kExits) {
        char line[128];
        snprintf(line, sizeof line, "  %d  %-11s %s\n", int(exit.code), exit.name, exit.meaning);
        text += line;
    }
    return text + "Commands that write take the lock of the file. 'morvctl COMMAND --help' tells more.";
}

// The innermost command that the parser understood, and its name, as "morvctl conf set".
const CLI::App *innermost(const CLI::App &app, std::string &name) {
    const CLI::App *command = &app;
    name = app.get_name();
    for (auto chosen = app.get_subcommands(); !chosen.empty(); chosen = command->get_subcommands()) {
        command = chosen.front();
        name.append(" ").append(command->get_name());
    }
    return command;
}

std::string with_hint(const CLI::App &app, const std::string &what) {
    std::string name;
    innermost(app, name);
    return what + " (try '" + name + " --help')";
}

// What is wrong with the command line, as one sentence.
std::string usage_error(const CLI::App &app, const CLI::ParseError &error) {
    std::string name;
    const CLI::App *command = innermost(app, name);
    const auto unknown = command->remaining();
    if (!unknown.empty() && unknown.front().starts_with('-'))
        return "there is no option '" + unknown.front() + "'";
    if (!command->get_subcommands([](const CLI::App *) { return true; }).empty()) {
        return unknown.empty() ? "a command is missing" : "there is no command '" + unknown.front() + "'";
    }
    if (!unknown.empty()) return "'" + unknown.front() + "' is an argument too many";
    std::string what = error.what();
    // "--timeout: 1 required SECONDS missing"
    if (const size_t end = what.find(": 1 required "); end != what.npos && what.ends_with(" missing")) {
        what.replace(end, strlen(": 1 required "), " needs ");
        what.resize(what.size() - strlen(" missing"));
    }
    return what;
}

// One line, whatever the names in it hold.
int complain(const std::string &sentence, Exit code) {
    fprintf(stderr, "morvctl: %s\n", printable(sentence).c_str());
    return int(code);
}

// The commands are described to the parser as far as they can be meant: those of all families would take longer
// than most commands.
void describe(CLI::App &app, Session &session, std::span<char *const> arguments) {
    const auto may_be_meant = [&](std::string_view family) {
        return std::find(arguments.begin(), arguments.end(), family) != arguments.end();
    };
    app.set_version_flag("--version", "morvctl " MORV_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.require_subcommand(1);
    app.footer(exit_code_help());
    app.get_formatter()->column_width(30);
    app.add_option("--root", session.root, "Work on the system below this folder (else $MORV_ROOT)")
        ->type_name("DIR");
    app.add_flag("--json", session.json, "Print one JSON document");
#define ADD(name, description)                                                                  \
    if (CLI::App &family = add_family(app, session, #name, description); may_be_meant(#name)) { \
        add_##name##_commands(family, session);                                                 \
    }
    MORVCTL_FAMILIES(ADD)
#undef ADD
}

int parse(CLI::App &app, int argc, char **argv) {
    // The parser takes them from the back.
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i)
        arguments.push_back(mark_list_like(argv[i]));
    try {
        app.parse(std::move(arguments));
        return -1;
    } catch (const CLI::Success &asked) {
        // --help and --version
        return app.exit(asked);
    } catch (const CLI::ParseError &error) {
        return complain(with_hint(app, usage_error(app, error)), Exit::kUsage);
    }
}

// Usage errors that the command itself finds get the same hint as the parser's.
int run(const CLI::App &app, Session &session) {
    try {
        return session.command(session);
    } catch (const Failure &failure) {
        if (failure.code != Exit::kUsage) throw;
        throw Failure(Exit::kUsage, with_hint(app, failure.what()));
    }
}

}  // namespace

int main(int argc, char **argv) {
    set_up_signals();
    try {
        Session session;
        // Never taken down, which would take as long as setting it up.
        static CLI::App &app = *new CLI::App("Read and change the settings of the appliance.", "morvctl");
        describe(app, session, {argv, size_t(argc)});
        if (const int code = parse(app, argc, argv); code >= 0) return code;
        set_root(session);
        const int code = run(app, session);
        if (fflush(stdout) != 0 || ferror(stdout)) fail_system("write to standard output");
        return code;
    } catch (const Failure &failure) {
        fflush(stdout);
        return complain(failure.what(), failure.code);
    } catch (const std::exception &error) {
        return complain(error.what(), Exit::kFailed);
    }
}
