// What the commands of the blocking of addresses have in common.
#pragma once

#include <morvsdk/autoblock.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "morvctl/command.h"

namespace morvctl {

inline constexpr char kSettings[] = "/etc/morvinfo.conf";
inline constexpr char kAllowKey[] = "autoblock_allow";

// Throws for the library's call that has just failed.
[[noreturn]] void fail_block(const std::string &what);

using Address = uint32_t;  // in network byte order; never 0, which ends lists

// 0 for what is no address.
Address parse_address(const std::string &text);

MORV_AUTOBLOCK_CONF read_conf();

// Shows the settings, or changes those of these "NAME=VALUE". Answers the exit code.
int config_blocking(const Session &session, const std::vector<std::string> &pairs);

}  // namespace morvctl
