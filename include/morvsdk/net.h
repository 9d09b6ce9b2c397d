/* The network. */
#ifndef MORVSDK_NET_H
#define MORVSDK_NET_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>

MORV_BEGIN_DECLS

/* Finds the IPv4 address of a host.
 *
 * host:   a name; a dotted address and its IPv6 form "::ffff:192.0.2.1" count as themselves and ask nobody
 * buffer: gets the dotted address, of size bytes (MORV_IP_TEXT_SIZE always is enough)
 *
 * A name is asked for as the system is set up, which may take many seconds: no lock is to be held.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_NOT_ENOUGH_MEMORY (buffer too small), ERR_INVALID_NETNAME (no
 * such name, or one without an IPv4 address), ERR_SERVER_UNREACHABLE (no name server answers) or
 * ERR_OUT_OF_MEMORY. */
enum { MORV_IP_TEXT_SIZE = 16 };
MORV_API int MORVNetBkpLookupIP(const char *host, char *buffer, int size) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
