// The command families, in the order of the help: one line each, and a file FAMILY.cpp that defines its
// function add_FAMILY_commands.
#pragma once

#include "morvctl/command.h"

#define MORVCTL_FAMILIES(FAMILY) \
    FAMILY(conf)                 \
    FAMILY(section)              \
    FAMILY(line)                 \
    FAMILY(store)                \
    FAMILY(lock)                 \
    FAMILY(user)                 \
    FAMILY(group)                \
    FAMILY(share)                \
    FAMILY(mirror)               \
    FAMILY(raid)                 \
    FAMILY(volume)               \
    FAMILY(log)                  \
    FAMILY(block)                \
    FAMILY(net)

namespace morvctl {

#define DECLARE(family) void add_##family##_commands(CLI::App &app, Session &session);
MORVCTL_FAMILIES(DECLARE)
#undef DECLARE

}  // namespace morvctl
