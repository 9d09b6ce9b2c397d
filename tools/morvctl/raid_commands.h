// The commands of `morvctl raid`.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "morvctl/command.h"

namespace morvctl {

struct RaidArgs {
    std::string array;
    std::vector<std::string> devices;
    std::optional<std::string> level;
    std::optional<std::string> size;
    std::optional<std::string> uuid;
    int slots = 0;  // 0 for not given
    int spares = 0;
    bool names = false;
    bool watch = false;
    bool expansion = false;
    bool force = false;
    bool yes = false;
};

// Each answers the exit code.
int create_array(const Session &session, const RaidArgs &args);
int add_member(const Session &session, const RaidArgs &args);
int stop_array(const Session &session, const RaidArgs &args);
int remove_array(const Session &session, const RaidArgs &args);
int expand_array(const Session &session, const RaidArgs &args);
int assemble_array(const Session &session, const RaidArgs &args);

// Follows the resync of an array until none runs.
int watch_array(const Session &session, const std::string &path);

}  // namespace morvctl
