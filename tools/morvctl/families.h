// The command families, in the order of the help: one line each, and a file FAMILY.cpp that defines its
// function add_FAMILY_commands.
#pragma once

#include "morvctl/command.h"

#define MORVCTL_FAMILIES(FAMILY)                                      \
    FAMILY(conf, "Files of key=value lines")                          \
    FAMILY(section, "Files divided by [section] lines")               \
    FAMILY(line, "Single lines of any text file")                     \
    FAMILY(store, "The records of a record file")                     \
    FAMILY(lock, "The locks around the system's files")               \
    FAMILY(user, "Who has an account")                                \
    FAMILY(group, "Which users belong together")                      \
    FAMILY(share, "Which folders are shared, and with whom")          \
    FAMILY(mirror, "The record files that accounts are read through") \
    FAMILY(raid, "The arrays that disks are joined to")               \
    FAMILY(volume, "The file systems that hold people's data")        \
    FAMILY(log, "The event logs, and who is connected")               \
    FAMILY(block, "Which addresses may not log in")                   \
    FAMILY(net, "The addresses of the appliance, and its names")      \
    FAMILY(service, "The network services, and their settings")       \
    FAMILY(backup, "All settings in one file, and back")

namespace morvctl {

#define DECLARE(name, description) void add_##name##_commands(CLI::App &family, Session &session);
MORVCTL_FAMILIES(DECLARE)
#undef DECLARE

}  // namespace morvctl
