// The text of "/etc/hosts": lines of an address and the names of a host.
#pragma once

#include <stdint.h>

#include <span>
#include <string>
#include <string_view>

namespace morv {

// Appends `hosts` to `out` with the appliance's own line brought to its name and to one of its addresses
// (host byte order, `own`): that which it has, else the first. Its line is the first that begins with
// `old_name`, "nas" or "nas.lan"; else one of its addresses that has the name; else one of its addresses;
// never one of the loopback network. Other names, comments and lines stay as they are. Without such a line
// one is added, if there is an address. May throw std::bad_alloc.
void set_own_host(std::string_view hosts, std::string_view old_name, std::string_view name,
                  std::span<const uint32_t> own, std::string &out);

}  // namespace morv
