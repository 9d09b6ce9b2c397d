// What a command has done, as an event in the system log of the appliance.
#pragma once

#include <morvsdk/log.h>

#include <initializer_list>
#include <string>

#include "morvctl/command.h"

namespace morvctl {

// Records it; not with --dry-run, nor in a system root without a folder for the log, as that of an image.
// That it cannot be recorded is told on standard error: what has been done is done.
void record_event(const Session &session, uint32_t event, std::initializer_list<std::string> arguments = {});

// The name for an event that may have changed it: "alice", or "alice -> alicia".
std::string renamed_text(const std::string &old_name, const std::string &name);

}  // namespace morvctl
