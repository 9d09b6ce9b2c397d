/* The steps that the network's functions are made of. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_NET_H
#define MORVSDK_INTERNAL_NET_H

#include <morvsdk/net.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* Takes a dotted text apart. Only the first 31 characters are looked at. The numbers are not checked for
 * their range.
 * Returns 4, or -1 with ERR_BAD_PARAMETERS (null) or ERR_INVALID_NETNAME; numbers is untouched then. */
MORV_API int cMLIBISepIP(const char *text, int32_t numbers[4]) MORV_NOEXCEPT;

/* The prefix length of a netmask. Returns 1 to 32, or 0 with ERR_INVALID_NETNAME when it is none. */
MORV_API int cMLIBICalMask(int32_t a, int32_t b, int32_t c, int32_t d) MORV_NOEXCEPT;

/* The address and the netmask that the kernel has for an interface, as dotted texts.
 * Return 0, or -1 with ERR_BAD_PARAMETERS, ERR_INVALID_NETNAME (no such interface, or it has none),
 * ERR_OPEN_FAILED (no socket) or ERR_NOT_ENOUGH_MEMORY (it does not fit). */
MORV_API int MORVILnxGetIP(const char *name, char *buffer, int size) MORV_NOEXCEPT;
MORV_API int MORVILnxGetNetmask(const char *name, char *buffer, int size) MORV_NOEXCEPT;

/* The broadcast address of a network. The netmask may be any dotted text.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_INVALID_NETNAME (a text is no dotted text with numbers of
 * 0 to 255) or ERR_NOT_ENOUGH_MEMORY (it does not fit). */
MORV_API int MORVILnxGetBCast(const char *address, const char *netmask, char *buffer, int size) MORV_NOEXCEPT;

/* The two ways of MORVNetSetCard1, for who holds MORV_LOCK_HOST exclusively. Address and netmask may be
 * any dotted texts with numbers of 0 to 255, and are applied and written in normal form. */
MORV_API int MORVILnxSetIPNetmask(const char *name, const char *address, const char *netmask) MORV_NOEXCEPT;
MORV_API int MORVILnxSetDHCP(const char *name) MORV_NOEXCEPT;

/* Makes the stored gateway the default route, if it is not, when it lies in the network of an interface
 * that is up; else the routes stay as they are, which is logged.
 * Returns 1 when the route was set; 0 when there was nothing to do; -1 with ERR_LOCK_FAILED, ERR_OP_FAILURE
 * ("/sbin/route" failed) or a code of MLIBFileGetKeyValue or MLIBNetGetInterfaceInfo. */
MORV_API int MORVILnxCheckRoute(void) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
