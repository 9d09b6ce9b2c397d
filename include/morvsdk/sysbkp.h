/* All settings of the appliance in one file, and back.
 *
 *     if (MORVSysbkpExport("/volume1/backup/box.morv", MORV_SYSBKP_ALL) != 0) ...
 *     if (MORVSysbkpImport("/volume1/backup/box.morv", MORV_SYSBKP_USER | MORV_SYSBKP_GROUP, 0) != 0)
 *         ...which of them failed: bits missing in gimp_status
 *
 * A file holds blocks, one for each kind of setting, in the order of grgSysRoutine; docs/formats.md
 * describes it byte by byte. It is the same whatever machine wrote it. Volumes, arrays and addresses of
 * interfaces are not in it, nor what is in the shares.
 *
 * A file holds hashes of passwords, which are as good as the passwords for many a purpose: it is made with
 * mode 0600, and belongs where only the administrator can read it.
 *
 * Failures are told in the system log, and not by the error state (error.h), but for MORVSysbkpEnum. Who
 * wants to tell a person what happened uses MORVSysbkpExportReport and MORVSysbkpImportReport. */
#ifndef MORVSDK_SYSBKP_H
#define MORVSDK_SYSBKP_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/hash.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* ---- Blocks ------------------------------------------------------------------------------------------ */

/* Kinds of settings, as bits. */
enum {
    MORV_SYSBKP_TIME = 0x1,
    MORV_SYSBKP_HOSTNAME = 0x2,
    MORV_SYSBKP_LANG = 0x8, /* holds nothing */
    MORV_SYSBKP_MAIL = 0x10,
    MORV_SYSBKP_SHARE = 0x20,
    MORV_SYSBKP_APPLE = 0x40,
    MORV_SYSBKP_WINDOWS = 0x80,
    MORV_SYSBKP_USER = 0x100,
    MORV_SYSBKP_GROUP = 0x200,
    MORV_SYSBKP_HDSLEEPTIME = 0x400,
    MORV_SYSBKP_RUNFTPD = 0x800,
    MORV_SYSBKP_PPPOE = 0x2000,
    MORV_SYSBKP_PHOTO = 0x8000,
    MORV_SYSBKP_WEB = 0x10000,
    MORV_SYSBKP_MTU = 0x20000,
    MORV_SYSBKP_RCPOWER = 0x40000,
    MORV_SYSBKP_USBCOPYSET = 0x80000,
    MORV_SYSBKP_HTTPPORT = 0x100000,
    MORV_SYSBKP_DCACHE = 0x200000,
    MORV_SYSBKP_FETCHDESK = 0x400000,
    MORV_SYSBKP_MYSQL = 0x800000,
    MORV_SYSBKP_USERQUOTA = 0x1000000,
    MORV_SYSBKP_FINISH = 0x2000000, /* holds nothing */

    /* As a mask for the export: every kind. It lacks the bit of MySQL, which is exported all the same; as a
     * mask for the import it leaves MySQL out: MORV_SYSBKP_ALL | MORV_SYSBKP_MYSQL takes that as well. */
    MORV_SYSBKP_ALL = 0x37FFFFB
};

/* A kind of settings: how it is written and read, and its version. */
typedef struct MORVSYSROUTINE {
    int (*pfExport)(int fd);
    int (*pfImport)(int fd, int version, int option);
    const char *szDescription; /* key of its description among the texts of the management pages */
    int32_t id;                /* MORV_SYSBKP_... */
    int32_t version;
} MORVSYSROUTINE;

/* All kinds in the order of the file; the last row is all zero. */
extern MORV_API const MORVSYSROUTINE grgSysRoutine[24];

/* ---- Writing and restoring --------------------------------------------------------------------------- */

/* Writes the settings of the kinds in `mask` to a file, which is made or written over, with mode 0600, and
 * on disk when the call returns 0.
 *
 * path: used as it is given. A file that somebody else owns is removed, and a new one made; a failure
 *       removes the file
 *
 * Returns 0 or -1. */
MORV_API int MORVSysbkpExport(const char *path, int mask) MORV_NOEXCEPT;

/* Restores from a file the kinds in `mask`.
 *
 * option: handed to every importer; 0 when everything is to be restored, else the event log says that it was
 *         a part
 *
 * Network services (but for the management pages) are stopped meanwhile. "/tmp/importprocess" exists as long
 * as an import runs: while it does another one is refused, and removes it. An import that was killed leaves
 * it, and the services stopped (MORVServiceOnOffALL).
 *
 * The clock is only set where it is before the year 2026 and behind the file's time, without a system root.
 *
 * Each kind is restored as far as it can be, and a failure does not keep the others from it; but what
 * follows a block that is unknown or cut off is not read. Of a kind with several settings all are restored or
 * none. Users, groups and shares that exist are changed, others are added, none is removed; those that
 * cannot be restored are told in the log, and the kind then counts as failed:
 *   users   "admin" is left as it is. The hashes are restored, not uid, gid, home and shell.
 *   groups  A gid that another group has becomes a free one.
 *   shares  One whose volume is not there, or that has another folder here, is not restored.
 * A kind that this model does not support is passed over. Files of an earlier call that was killed are whole.
 *
 * Returns 0 when all in `mask` that the file has is restored, else -1. gimp_status says what failed; that
 * MySQL's settings could not be restored shows nowhere but in the log. */
MORV_API int MORVSysbkpImport(const char *path, int mask, int option) MORV_NOEXCEPT;

/* The result of the last import: MORV_SYSBKP_ALL without the kinds that failed. */
extern MORV_API int32_t gimp_status;

/* ---- Telling about it -------------------------------------------------------------------------------- */

/* What a report is told. */
enum {
    MORV_SYSBKP_BEGINS = 1, /* a kind is begun */
    MORV_SYSBKP_DONE,       /* it is written, or restored */
    MORV_SYSBKP_FAILED,     /* it is not, or not all of it */
    MORV_SYSBKP_SKIPPED,    /* it is not in the mask, or not supported by this model */
    MORV_SYSBKP_PROBLEM,    /* one thing that failed: szText */
    MORV_SYSBKP_NOTE,       /* one thing to know: szText */
    MORV_SYSBKP_MISSING     /* what the settings name is not here, and is left out: szText */
};

typedef struct MORVSYSBKPEVENT {
    int32_t what;       /* MORV_SYSBKP_BEGINS... */
    int32_t id;         /* of the kind; 0 for what concerns the whole file */
    const char *szText; /* English, one line, good for the time of the call; "" for none */
} MORVSYSBKPEVENT;

/* Must not throw, and not call a function that writes or restores a file. */
typedef void (*MORVSYSBKPREPORT)(const MORVSYSBKPEVENT *event, void *context);

/* MORVSysbkpExport and MORVSysbkpImport with a report of what happens; null for none. */
MORV_API int MORVSysbkpExportReport(const char *path, int mask, MORVSYSBKPREPORT report,
                                    void *context) MORV_NOEXCEPT;
MORV_API int MORVSysbkpImportReport(const char *path, int mask, int option, MORVSYSBKPREPORT report,
                                    void *context) MORV_NOEXCEPT;

/* ---- Looking into a file ----------------------------------------------------------------------------- */

/* Types of items. */
enum { MORV_SYSBKP_STRING = 1, MORV_SYSBKP_LONG = 2 };

/* A block of a file. */
typedef struct MORVSYSBKPBLOCK {
    int32_t id; /* MORV_SYSBKP_..., or another number in a damaged or foreign file */
    int32_t version;
    uint32_t size;      /* of its body in bytes, as the file says */
    int64_t offset;     /* of its body in the file, in bytes */
    const char *szName; /* "user"; null for a kind that is not known */
} MORVSYSBKPBLOCK;

/* An item of a block. */
typedef struct MORVSYSBKPITEM {
    const char *szName; /* "password"; null for one that does not belong there */
    int32_t type;       /* MORV_SYSBKP_STRING or MORV_SYSBKP_LONG */
    int32_t value;      /* of a LONG */
    const char *szText; /* of a STRING: ends with a zero, good for the time of the call */
    int32_t length;     /* of the text in bytes, without the zero */
    int32_t record;     /* which user, group or share of the block it belongs to, from 0; else -1 */
    int32_t entry;      /* which member of a group, or volume of a user's quota, from 0; else -1 */
    int32_t isSecret;   /* 1: not to be shown */
} MORVSYSBKPITEM;

/* What is called for the parts of a file; each may be null. One that answers other than 0 ends the walk. They must
 * not throw. */
typedef struct MORVSYSBKPVISITOR {
    int (*begin)(const MORVSYSBKPBLOCK *block, void *context);
    int (*item)(const MORVSYSBKPBLOCK *block, const MORVSYSBKPITEM *item, void *context);
    /* szProblem: null for a block that is sound, else what is wrong with it; its items up to there have been
     * given. block is null for what is wrong with the file as a whole. */
    int (*end)(const MORVSYSBKPBLOCK *block, const char *szProblem, void *context);
    void *context;
} MORVSYSBKPVISITOR;

/* Walks over the blocks of a file and changes nothing.
 *
 * pMask: null, or gets the mask that the file was exported with
 *
 * Returns the number of blocks met; or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED (also for what is no
 * regular file), ERR_READ_FAILED, ERR_FORMAT_ERROR (no backup file) or ERR_OUT_OF_MEMORY. */
MORV_API int MORVSysbkpEnum(const char *path, const MORVSYSBKPVISITOR *visitor, int32_t *pMask) MORV_NOEXCEPT;

/* The short name of a kind, as "user"; null for no kind. */
MORV_API const char *MORVSysbkpName(int id) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
