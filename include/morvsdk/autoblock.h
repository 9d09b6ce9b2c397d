/* Blocking of addresses from which too many logins failed.
 *
 *     if (MORVAutoBlockIsDeniedIP(client) == 1) refuse();
 *     else if (!password_is_right()) MORVAutoBlockFailLoginSet(client);
 *
 * Failures are counted in "/tmp/login_fail.list", which everybody may write and which is lost at the next
 * start; "/etc/morvIPs.deny" has the blocked addresses. Settings are keys of "/etc/morvinfo.conf". Only IPv4
 * addresses are blocked.
 *
 * Addresses of the setting "autoblock_allow" are never counted, blocked or denied, so that the owner cannot
 * be locked out: a list of addresses and ranges, separated by commas, as
 * "192.0.2.7,192.0.2.16-192.0.2.31,198.51.100.0/24".
 *
 * The deny list is replaced as a whole: readers see the old one or the new one, also after a crash. One that
 * is damaged (its length is no multiple of 8) counts as far as it is sound; who rewrites it next keeps it as
 * "/etc/morvIPs.deny.damaged" and logs an event, or says in the system log why it cannot be kept.
 *
 * Writers of the deny list come one after the other by "/etc/morvIPs.deny.lock", which only root can open.
 * Anybody can read the list and hold a lock on it: that of the list itself is tried for about a second, and
 * then done without, by writers, too.
 *
 * Where a client is asked for, a name is looked up, which may take seconds. Locks of the failures and of the
 * writers are waited for up to about 30 seconds; the list of failures is then moved aside and begun anew, since
 * everybody can lock it, so that a report may take a minute. Codes that several functions have:
 *
 *   ERR_BAD_PARAMETERS      a null argument
 *   ERR_INVALID_NETNAME     no address, and no name of one
 *   ERR_SERVER_UNREACHABLE  no name server answers
 *   ERR_LOCK_FAILED         others have held a lock for too long
 *   ERR_OPEN_FAILED, ERR_READ_FAILED, ERR_WRITE_FAILED, ERR_RENAME_FAILED, ERR_STAT_FAILED
 *   ERR_MAP_FAILED, ERR_OUT_OF_MEMORY */
#ifndef MORVSDK_AUTOBLOCK_H
#define MORVSDK_AUTOBLOCK_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* The settings. */
typedef struct MORV_AUTOBLOCK_CONF {
    int32_t attempts;   /* failures that block; 0: none do */
    int32_t attemptMin; /* the minutes in which they are counted */
    int32_t expiredDay; /* days that a block lasts; 0: for ever */
    int32_t notify;     /* 1: a mail tells of each block; 0: none does */
} MORV_AUTOBLOCK_CONF;

/* A record of both files. */
typedef struct MORV_AUTOBLOCK_IP {
    int32_t time;     /* seconds since the epoch; once the clock is past January 19, 2038, read as unsigned */
    uint32_t address; /* in network byte order, as inet_aton stores it */
} MORV_AUTOBLOCK_IP;

/* Reads and writes the settings; missing ones are 0. Both return 0, or -1 with one of the codes above.
 * MORVAutoBlockConfSet refuses numbers below 0 with ERR_BAD_PARAMETERS. */
MORV_API int MORVAutoBlockConfGet(MORV_AUTOBLOCK_CONF *conf) MORV_NOEXCEPT;
MORV_API int MORVAutoBlockConfSet(const MORV_AUTOBLOCK_CONF *conf) MORV_NOEXCEPT;

/* Sets all settings to 0: nothing is blocked. Returns as MORVAutoBlockConfSet. */
MORV_API int MORVAutoBlockResetDefault(void) MORV_NOEXCEPT;

/* Answers 1 when attempts or attemptMin is not 0, else 0, also when the settings cannot be read. */
MORV_API int MORVAutoBlockIsEnabled(void) MORV_NOEXCEPT;

/* Answers 1 when an address (dotted) is one of the setting "autoblock_allow", 0 when not, or -1 with a
 * code. */
MORV_API int MORVAutoBlockIsAllowedIP(const char *address) MORV_NOEXCEPT;

/* Counts a failed login. The one that reaches the setting's number blocks the address, as
 * MORVAutoBlockIPAdd does.
 *
 * client: address or host name
 *
 * Returns 0, also when there was nothing to count, as for an allowed address; or -1 with one of the codes
 * above. */
MORV_API int MORVAutoBlockFailLoginSet(const char *client) MORV_NOEXCEPT;

/* Forgets the failures of a client that are still counted, as after a login. Returns 0 or -1. */
MORV_API int MORVAutoBlockResetByIP(const char *client) MORV_NOEXCEPT;

/* Tells how many failures of a client are counted at this moment, or -1. */
MORV_API int MORVAutoBlockFailCountGet(const char *client) MORV_NOEXCEPT;

/* Whether a client is blocked. Returns 1; 0, also when blocking is off; or -1. */
MORV_API int MORVAutoBlockIsDeniedIP(const char *client) MORV_NOEXCEPT;

/* Blocks an address from now on, or anew when it is blocked. Blocks that have expired leave the list. When
 * the address was not blocked before, an event is logged, and a mail sent if the settings want it; failing
 * to do that does not undo the block.
 *
 * address: dotted
 *
 * Returns 0, or -1; with ERR_ACCESS_DENIED for an allowed address. */
MORV_API int MORVAutoBlockIPAdd(const char *address) MORV_NOEXCEPT;

/* Blocks many addresses in one rewrite, with one event and no mail; those that are allowed are passed over.
 *
 * addresses: in network byte order, ended by 0
 *
 * Returns how many of them were not blocked before, or -1. */
MORV_API int MORVAutoBlockIPsAdd(const uint32_t *addresses) MORV_NOEXCEPT;

/* Takes addresses from the list. addresses: as above. Returns 0, also when they are not in it, or -1. */
MORV_API int MORVAutoBlockIPsDel(const uint32_t *addresses) MORV_NOEXCEPT;

/* Lists blocked addresses, in the order of the list, without blocks that have expired.
 *
 * ppList: gets the list, to be freed with MORVAutoBlockFree
 * index:  the record of the file to begin with, from 0; empty and expired ones count
 * limit:  the most records to return, 1 or more
 *
 * Returns how many there are in *ppList, or -1; *ppList is then unchanged. */
MORV_API int MORVAutoBlockIPGet(MORV_AUTOBLOCK_IP **ppList, int index, int limit) MORV_NOEXCEPT;

/* Makes room for `limit` records, all zero; null with ERR_BAD_PARAMETERS (below 1) or ERR_OUT_OF_MEMORY. */
MORV_API MORV_AUTOBLOCK_IP *MORVAutoBlockAlloc(int limit) MORV_NOEXCEPT;
MORV_API void MORVAutoBlockFree(MORV_AUTOBLOCK_IP *list) MORV_NOEXCEPT; /* null is ignored */

/* Has the FTP server read the deny list again. Returns 0, or -1 with ERR_SYS_UNKNOWN, also when none runs. */
MORV_API int MORVAutoBlockServicesHup(void) MORV_NOEXCEPT;

/* Opens and locks one of the files; a new one has mode 0666 whatever the umask, which is 0 meanwhile, in all
 * threads of the process.
 *
 * path:  in the system
 * flags: as for open(2); what is no regular file is refused
 * lock:  as for flock(2); with LOCK_NB tried again for about 30 seconds, as is opening but for a missing file
 *
 * Returns a descriptor, to be closed with MORVAutoBlockFileClose, or -1 with ERR_BAD_PARAMETERS,
 * ERR_FILE_NOT_FOUND, ERR_OPEN_FAILED (no regular file), ERR_STAT_FAILED or ERR_LOCK_FAILED. */
MORV_API int MORVAutoBlockFileOpen(const char *path, int flags, int lock) MORV_NOEXCEPT;
MORV_API void MORVAutoBlockFileClose(int fd) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
