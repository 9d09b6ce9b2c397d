/* What the configuration backup is made of. Exported, but without a promise of stability.
 *
 * None sets the error state, but for MORVSysbkpIFreeShareString; what fails is told in the system log. */
#ifndef MORVSDK_INTERNAL_SYSBKP_H
#define MORVSDK_INTERNAL_SYSBKP_H

#include <morvsdk/share.h>
#include <morvsdk/sysbkp.h>
#include <morvsdk/user.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* What importers of users and shares keep for each other until the last importer, MORVSysbkpFinishImport: the
 * names of users, and of groups behind "@", that are not here, and why; "" when that was told. Some thousand at most. Null
 * when there is nothing. */
extern MORV_API MLIBSZHASH *gpshUser;

/* ---- Integers and items, at the current position of a descriptor --------------------------------------- */

/* Write or read 32-bit integers, big-endian in the file.
 * bytes: a multiple of 4, above 0
 * Return bytes; Read 0 at the end of the file; or -1, also when fewer bytes moved. */
MORV_API int MORVSysbkpRawIntWrite(int fd, const void *words, int bytes) MORV_NOEXCEPT;
MORV_API int MORVSysbkpRawIntRead(int fd, void *words, int bytes) MORV_NOEXCEPT;

/* The row of a kind in grgSysRoutine, or -1. */
MORV_API int MORVSysbkpIGetIdx(int id) MORV_NOEXCEPT;

/* A block's header with size 0; and the size, when the block is written: at bodyStart - 4, the position is
 * bodyEnd afterwards. Return 0 or -1. */
MORV_API int MORVSysbkpIWriteHeader(int fd, int id) MORV_NOEXCEPT;
MORV_API int MORVSysbkpIWriteBlkSize(int fd, int64_t bodyStart, int64_t bodyEnd) MORV_NOEXCEPT;

/* One item. A string that is read is a new allocation for free(); it ends with a zero, at its length.
 * Reading a string needs a regular file, which bounds its length. Return 0 or -1; nothing is written to value
 * and string then. */
MORV_API int MORVSysbkpIWriteLong(int fd, int value) MORV_NOEXCEPT;
MORV_API int MORVSysbkpIWriteString(int fd, const char *string) MORV_NOEXCEPT;
MORV_API int MORVSysbkpIReadLong(int fd, int *value) MORV_NOEXCEPT;
MORV_API int MORVSysbkpIReadString(int fd, char **string) MORV_NOEXCEPT;

/* ---- Shares and users -------------------------------------------------------------------------------- */

/* A share as it is in a file. */
typedef struct MORVSYSBKPSHARE {
    char *szName; /* the texts: from malloc, each */
    char *szPath;
    char *szComment;
    char *szReadWrite; /* users and groups, separated by "," */
    char *szReadOnly;
    char *szDenied;
    int32_t fType; /* MORV_SHARE_READ_ONLY... */
    int32_t fBrowseable;
    int32_t fFTPPrivilege; /* mask of MORV_SHARE_FTP_... */
} MORVSYSBKPSHARE;

/* Write and read the items of one share. Return 0 or -1; *share is written on success only. */
MORV_API int MORVSysbkpIWriteShare(const MORVSHARE *share, int fd) MORV_NOEXCEPT;
MORV_API int MORVSysbkpIReadShare(int fd, MORVSYSBKPSHARE *share) MORV_NOEXCEPT;

/* Frees the texts of a share, and makes them null. Null sets ERR_BAD_PARAMETERS. */
MORV_API void MORVSysbkpIFreeShareString(MORVSYSBKPSHARE *share) MORV_NOEXCEPT;

/* A user as it is in a file. */
typedef struct MORVSYSBKPUSER {
    char *szName;     /* the texts: from malloc, each */
    char *szPassword; /* the stored hash */
    char *szFullName;
    char *szSmbPassword1; /* third and fourth field of the user's line of the samba password file; "" for */
    char *szSmbPassword2; /* none */
    char *szMail;         /* the further text of "/etc/morvuser.conf" */
    int32_t expireDay;
    int32_t privilege;
    int32_t mayChangePassword; /* 1 or 0 */
} MORVSYSBKPUSER;

/* Write and read the items of one user. The fields of the samba password file are looked up by the name.
 * Return 0 or -1; *user is written on success only. */
MORV_API int MORVSysbkpIWriteUserData(const MORVUSER *user, int fd) MORV_NOEXCEPT;
MORV_API int MORVSysbkpIGetUserSetting(int fd, MORVSYSBKPUSER *user) MORV_NOEXCEPT;

/* Frees the texts of a user, overwritten for the hashes in them, and makes them null. Null is ignored. */
MORV_API void MORVSysbkpIFreeUserSetting(MORVSYSBKPUSER *user) MORV_NOEXCEPT;

/* ---- Exporters and importers ---------------------------------------------------------------------------
 *
 * An exporter writes one whole block at the current position. An importer reads a block's body, all that fd
 * holds from its start, and applies it; version is the block's, option what MORVSysbkpImport was given.
 * Return 0 or -1. Those of Lang do nothing; nor does MORVSysbkpFinishExport, and MORVSysbkpFinishImport frees
 * gpshUser. */
#define MORV_SYSBKP_PAIR(KIND)                                   \
    MORV_API int MORVSysbkp##KIND##Export(int fd) MORV_NOEXCEPT; \
    MORV_API int MORVSysbkp##KIND##Import(int fd, int version, int option) MORV_NOEXCEPT
MORV_SYSBKP_PAIR(Time);
MORV_SYSBKP_PAIR(Hostname);
MORV_SYSBKP_PAIR(Lang);
MORV_SYSBKP_PAIR(Mail);
MORV_SYSBKP_PAIR(Apple);
MORV_SYSBKP_PAIR(Windows);
MORV_SYSBKP_PAIR(User);
MORV_SYSBKP_PAIR(Group);
MORV_SYSBKP_PAIR(Share);
MORV_SYSBKP_PAIR(HDSleepTime);
MORV_SYSBKP_PAIR(RunFtpd);
MORV_SYSBKP_PAIR(PPPoE);
MORV_SYSBKP_PAIR(Photo);
MORV_SYSBKP_PAIR(HttpPort);
MORV_SYSBKP_PAIR(MTU);
MORV_SYSBKP_PAIR(RCPower);
MORV_SYSBKP_PAIR(USBCopySet);
MORV_SYSBKP_PAIR(Web);
MORV_SYSBKP_PAIR(DCache);
MORV_SYSBKP_PAIR(FetchDesk);
MORV_SYSBKP_PAIR(MySQL);
MORV_SYSBKP_PAIR(UserQuota);
MORV_SYSBKP_PAIR(Finish);

/* The settings of the first wired interface: a block of id 0x4 with one text,
 * "N:NAME:ADDRESSX:NETMASKX:GATEWAYX:BOOT:LINK:HH:HH:HH:HH:HH:HH:\n", the addresses as decimal numbers of at least
 * eight digits, BOOT "S" (static) or "D" (DHCP), LINK "1" or "0", and the hardware address. It is in no file that
 * MORVSysbkpExport writes, and unknown to MORVSysbkpImport: an address is a matter of one appliance. */
MORV_SYSBKP_PAIR(Interface);
#undef MORV_SYSBKP_PAIR

MORV_END_DECLS

#endif
