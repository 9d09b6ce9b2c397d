// morvctl: the settings of the appliance from the command line. docs/man/morvctl.1
#include <errno.h>
#include <morvsdk/file.h>
#include <stdio.h>

#include <algorithm>

#include "morvctl/families.h"
#include "morvctl/target.h"

using namespace morvctl;

namespace {

std::string exit_code_help() {
    std::string text = "Exit codes:\n";
    for (const auto &exit : kExits) {
        char line[128];
        snprintf(line, sizeof line, "  %d  %-10s %s\n", int(exit.code), exit.name, exit.meaning);
        text += line;
    }
    return text + "Commands that write take the lock of the file. 'morvctl COMMAND --help' tells more.";
}

// What is wrong with the command line, as one sentence.
std::string usage_error(const CLI::App &app, const CLI::ParseError &error) {
    // The innermost command that the parser understood, as "morvctl conf set".
    const CLI::App *innermost = &app;
    std::string name = app.get_name();
    for (auto chosen = app.get_subcommands(); !chosen.empty(); chosen = innermost->get_subcommands()) {
        innermost = chosen.front();
        name.append(" ").append(innermost->get_name());
    }
    std::string what = error.what();
    if (!innermost->get_subcommands([](const CLI::App *) { return true; }).empty()) {
        const auto unknown = innermost->remaining();
        what = unknown.empty() ? "a command is missing" : "there is no command '" + unknown.front() + "'";
    }
    std::replace(what.begin(), what.end(), '\n', ' ');
    return what + " (try '" + name + " --help')";
}

void describe(CLI::App &app, Session &session) {
    app.set_version_flag("--version", "morvctl " MORV_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.require_subcommand(1);
    app.footer(exit_code_help());
    app.get_formatter()->column_width(30);
    app.add_option("--root", session.root, "Work on the system below this folder (else $MORV_ROOT)")
        ->type_name("DIR");
    app.add_flag("--json", session.json, "Print one JSON document");
#define ADD(family) add_##family##_commands(app, session);
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
        fprintf(stderr, "morvctl: %s\n", usage_error(app, error).c_str());
        return int(Exit::kUsage);
    }
}

}  // namespace

int main(int argc, char **argv) {
    try {
        Session session;
        CLI::App app("Read and change the settings of the appliance.", "morvctl");
        describe(app, session);
        if (const int code = parse(app, argc, argv); code >= 0) return code;
        set_root(session);
        MORVFileDurabilitySet(MORV_DURABLE);
        const int code = session.command(session);
        if (fflush(stdout) != 0 || ferror(stdout)) fail_system("write to standard output");
        return code;
    } catch (const Failure &failure) {
        fflush(stdout);
        fprintf(stderr, "morvctl: %s\n", failure.what());
        return int(failure.code);
    } catch (const std::exception &error) {
        fprintf(stderr, "morvctl: %s\n", error.what());
        return int(Exit::kFailed);
    }
}
