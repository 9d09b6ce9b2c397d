// What the commands share: the options that all of them have, and how a command is described.
//
//     auto &get = add_command(family, session, "get", "Print the value of a key");
//     auto args = std::make_shared<Args>();
//     add_text(get, "FILE", args->file, "The file to read")->required();
//     run_with(get, session, [args](Session &s) { ... });
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "morvctl/failure.h"

namespace morvctl {

// The options of all commands, and the command that was chosen.
struct Session {
    std::string root;  // resolved, "" for none
    bool json = false;
    bool dry_run = false;
    unsigned timeout = 5;
    std::function<int(Session &)> command;  // answers the exit code
};

// A folder of commands, as "conf".
CLI::App &add_family(CLI::App &app, Session &session, const std::string &name,
                     const std::string &description);

// A command; `writes` when it changes files, which gives it --dry-run and --timeout.
enum class Kind { kReads, kWrites, kLocks };
CLI::App &add_command(CLI::App &family, Session &session, Kind kind, const std::string &name,
                      const std::string &description);

// An argument or option that holds text, taken as it is given.
CLI::Option *add_text(CLI::App &command, const std::string &name, std::string &value,
                      const std::string &description);
CLI::Option *add_text(CLI::App &command, const std::string &name, std::optional<std::string> &value,
                      const std::string &description);
CLI::Option *add_texts(CLI::App &command, const std::string &name, std::vector<std::string> &values,
                       const std::string &description);

// Wrong usage when both options are given.
void exclude(bool one, bool other, const char *options);

// The command-line parser reads texts like "[a,b]" and "{}" as lists. Arguments of that kind get a mark in
// front, which add_text and add_texts take away again.
std::string mark_list_like(std::string argument);

template <class F>
void run_with(CLI::App &command, Session &session, F work) {
    command.callback([&session, work] { session.command = work; });
}

}  // namespace morvctl
