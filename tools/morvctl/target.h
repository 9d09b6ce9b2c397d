// The file that a command works on.
#pragma once

#include <string>
#include <string_view>

#include "morvctl/command.h"
#include "morvctl/fd.h"

namespace morvctl {

struct Target {
    std::string name;  // as typed, for messages
    std::string path;  // where it is: below the system root, symbolic links followed, so that all names of a
                       // file have one path. The file itself need not exist
};

// Makes --root or MORV_ROOT the system root of this process and of the library.
void set_root(Session &session);

// Finds the file behind a name: an absolute name is one below the system root, and so are the links on its
// way.
Target find_target(const Session &session, const std::string &name);

// The same for a path of the system's own, as "/tmp/lock".
std::string system_path(const Session &session, const std::string &path);

bool exists(const Target &target);

// The folder that the file of an absolute path lies in.
std::string folder_of(const std::string &path);

// Opens a file for reading. Fails for what is no regular file, and for a missing one unless that may be: it
// answers no descriptor then.
Fd open_file(const Target &target, bool may_be_missing = false);

// The whole content of the file.
std::string read_content(const Target &target, const Fd &fd);
std::string read_content(const Target &target);

}  // namespace morvctl
