// The processes of the DHCP client "/sbin/dhcpcd".
#pragma once

namespace morv {

// Ends the clients that were started for an interface, and waits for their end: a client that is asked to
// end takes its address away, which must not befall the next one. Answers an error code: ERR_OP_FAILURE
// when one stays.
int end_dhcp_clients(const char *name) noexcept;

enum class ClientEnd { kNone, kEnded, kStays };

// Ends the client of the pid file at once. The file stays. A number that has become another program's is
// not signalled.
ClientEnd kill_dhcp_client(const char *name) noexcept;

}  // namespace morv
