// The one way in which commands change a file: on a private copy of its text, which then takes the place of
// the file in one step, or of which a diff is shown.
#pragma once

#include <functional>
#include <string>

#include "morvctl/target.h"

namespace morvctl {

enum class Missing { kFails, kIsMade };

// Holds the lock of the file, lets `edit` change its text, and writes the file if the text is another one;
// with --dry-run it prints the difference. `edit` answers how many things it changed, and throws a Failure
// when it cannot; the file is then as it was. Prints what there is to print. Answers the exit code.
int change_text(const Session &session, const std::string &name, Missing missing,
                const std::function<int(std::string &text)> &edit);

// The same for the library's functions: calls `apply` with the path of a copy of the file. There is none when
// the file is missing.
int change_file(const Session &session, const std::string &name, Missing missing,
                const std::function<int(const std::string &path)> &apply);

// What `diff -u` says of a file; null for a text that there is not.
std::string show_change(const std::string &name, const std::string *before, const std::string *after);

}  // namespace morvctl
