#include "morvctl/command.h"

namespace morvctl {

namespace {

constexpr char kMark = '\x01';

std::string without_mark(std::string text) {
    if (!text.empty() && text[0] == kMark) text.erase(0, 1);
    return text;
}

void add_common_options(CLI::App &app, Session &session) {
    app.add_option("--root", session.root, "Work on the system below this folder (else $MORV_ROOT)")
        ->type_name("DIR");
    app.add_flag("--json", session.json, "Print one JSON document");
}

}  // namespace

std::string mark_list_like(std::string argument) {
    const bool list_like = !argument.empty() && ((argument.front() == '[' && argument.back() == ']') ||
                                                 argument == "{}" || argument.front() == kMark);
    if (list_like) argument.insert(0, 1, kMark);
    return argument;
}

CLI::App &add_family(CLI::App &app, Session &session, const std::string &name,
                     const std::string &description) {
    CLI::App *family = app.add_subcommand(name, description);
    family->require_subcommand(1);
    add_common_options(*family, session);
    return *family;
}

CLI::App &add_command(CLI::App &family, Session &session, Kind kind, const std::string &name,
                      const std::string &description) {
    CLI::App *command = family.add_subcommand(name, description);
    add_common_options(*command, session);
    if (kind == Kind::kWrites) {
        command->add_flag("--dry-run", session.dry_run, "Print the change as a diff and write nothing");
    }
    if (kind != Kind::kReads) {
        command->add_option("--timeout", session.timeout, "Wait so long for the lock (default 5)")
            ->type_name("SECONDS")
            ->check(CLI::Range(0U, 1000000U).description(""));
    }
    return *command;
}

CLI::Option *add_text(CLI::App &command, const std::string &name, std::string &value,
                      const std::string &description) {
    return command.add_option(name, value, description)->transform(without_mark, "")->type_name("");
}

CLI::Option *add_text(CLI::App &command, const std::string &name, std::optional<std::string> &value,
                      const std::string &description) {
    return command
        .add_option_function<std::string>(
            name, [&value](const std::string &text) { value = text; }, description)
        ->transform(without_mark, "")
        ->type_name("");
}

CLI::Option *add_texts(CLI::App &command, const std::string &name, std::vector<std::string> &values,
                       const std::string &description) {
    return command.add_option(name, values, description)->transform(without_mark, "")->type_name("");
}

void exclude(bool one, bool other, const char *options) {
    if (one && other) throw Failure(Exit::kUsage, std::string(options) + " exclude each other");
}

}  // namespace morvctl
