// The host name and its line in "/etc/hosts".
#pragma once

namespace morv {

// Does what MORVLnxSetHostname does, but takes no lock. The line gets the address of the interface `first`
// if it has none of the appliance's; null: that of the first by name. Answers an error code.
int set_host_name(const char *name, const char *first) noexcept;

}  // namespace morv
