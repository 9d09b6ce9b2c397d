/* Software RAID arrays: the state of the kernel's md arrays, and their making, growing, assembling and
 * dissolving by mdadm.
 *
 *     RAID_INFO *info = NULL;
 *     if (RAIDInfoGet("/dev/md2", &info) == 1)
 *         printf("%d of %d members in sync\n", RAIDDiskCount(info->pDisks, RAID_DISK_IN_SYNC),
 *                info->raidDisks);
 *     RAIDInfoFree(info);
 *
 * Arrays are named "/dev/md" and a number. "/dev/md0" and "/dev/md1" are the appliance's own, of partitions 1
 * and 2 of every disk. Data arrays are made of partition 3 of the disks; those with a number above 100
 * belong to expansion enclosures.
 *
 * Devices are named as the system names them. With a system root (file.h) they are looked for below it, and
 * so are "/sys", "/proc" and the tools; commands then get the paths below the root.
 *
 * "The codes of mdadm", of functions that ask it, are ERR_SYS_UNKNOWN (it failed, or could not be run),
 * ERR_TIMER_EXPIRED (it took longer than 30 seconds), ERR_READ_FAILED (it printed without end) and
 * ERR_OUT_OF_MEMORY.
 *
 * Every function logs its failures, those that read at LOG_DEBUG, those that run commands at LOG_ERR. A
 * command that failed is not tried again, and a value that mdadm would take for an option is refused.
 *
 * Sizes are bytes unless stated: the tools work with KiB, the disks with sectors of 512 bytes. */
#ifndef MORVSDK_RAID_H
#define MORVSDK_RAID_H

#include <linux/raid/md_u.h>
#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/list.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* ---- Records --------------------------------------------------------------------------------------- */

/* RAID types. 0 is a level that is not supported. */
enum {
    RAID_TYPE_RAID0 = 1,
    RAID_TYPE_RAID1 = 2,
    RAID_TYPE_RAID5 = 3,
    RAID_TYPE_RAID6 = 4,
    RAID_TYPE_LINEAR = 5
};

/* Status of an array. */
enum { RAID_NORMAL = 1, RAID_DEGRADED = 2, RAID_CRASHED = 3 };

/* Status of a member. */
enum {
    RAID_DISK_IN_SYNC = 0,
    RAID_DISK_FAULTY = 1,
    RAID_DISK_ERROR = 2,
    RAID_DISK_REBUILDING = 3, /* a spare that holds a slot */
    RAID_DISK_SPARE = 4       /* a hot spare */
};

/* Rebuild states. */
enum { RAID_REBUILD_NONE = 0, RAID_REBUILD_RUNNING = 1, RAID_REBUILD_PENDING = 2 };

/* A member of an array. */
typedef struct RAID_DISK {
    char szPath[128]; /* "/dev/sda3" */
    int32_t status;   /* RAID_DISK_... */
    struct RAID_DISK *pNext;
} RAID_DISK;

/* Whether an array is being resynchronised. */
typedef struct RAID_REBUILD {
    int32_t state;       /* RAID_REBUILD_...; PENDING: asked for, but without progress yet */
    int32_t progress[2]; /* with RUNNING, the two words of the kernel: done, and of how many */
} RAID_REBUILD;

/* An array. */
typedef struct RAID_INFO {
    int32_t number; /* the N of "/dev/mdN" */
    int32_t
        firstDisk; /* the letter of the first disk, from 0, when that is "/dev/sd" and two letters; else -1 */
    char szPath[128];
    int32_t type;   /* RAID_TYPE_... */
    int32_t status; /* RAID_NORMAL, ... */
    RAID_REBUILD rebuild;
    uint64_t deviceSize;    /* bytes of the array */
    uint64_t componentSize; /* bytes used of each member */
    int32_t raidDisks;      /* member slots */
    RAID_DISK *pDisks;      /* members, null for none */
} RAID_INFO;

/* A list of arrays; null is the empty list. */
typedef struct RAID_LIST {
    RAID_INFO *pInfo;
    struct RAID_LIST *pNext;
} RAID_LIST;

/* What the superblock of a member says of its array. */
typedef struct RAID_SB {
    char szUUID[128];
    char szPath[64]; /* "/dev/mdN" */
    int32_t type;    /* RAID_TYPE_... */
    int32_t devices; /* member slots */
} RAID_SB;

/* A list of superblocks; null is the empty list. */
typedef struct RAID_SB_LIST {
    RAID_SB *pSB;
    struct RAID_SB_LIST *pNext;
} RAID_SB_LIST;

/* What RAIDListSearch looks for. */
enum { RAID_SEARCH_ARRAY = 1, RAID_SEARCH_MEMBER = 2 };
typedef struct RAID_CRITERIA {
    const char *szKey; /* the path of an array or of a member; null for none */
    const int32_t
        *pRebuilding; /* null, or: 0 finds arrays without a resync, 1 those of raid1, raid5 and raid6
                                   with one */
    int32_t mode;     /* RAID_SEARCH_... */
} RAID_CRITERIA;

/* The two system arrays, "/dev/md0" and "/dev/md1". */
typedef struct RAID_SYSTEM {
    RAID_INFO *pMd0;
    RAID_INFO *pMd1;
} RAID_SYSTEM;

/* ---- Reading --------------------------------------------------------------------------------------- */

/* Reads an array.
 *
 * ppInfo: gets the record; free it with RAIDInfoFree.
 *
 * Returns 1; 0 when the device is there, but no such array runs; or -1 with
 *   ERR_BAD_PARAMETERS     a null argument, a path longer than 127 bytes
 *   ERR_INVALID_ARRAY      the path is not "/dev/md" and a number
 *   ERR_OPEN_FAILED        the device (systems that make devices by themselves have none for an array that
 *                          does not run), or a member's file below "/sys", does not open
 *   ERR_INVALID_PATH       the name of a member is too long
 *   ERR_READ_FAILED        a member's file is empty
 *   ERR_PATH_NOT_FOUND     the array went away meanwhile
 *   ERR_UNKNOWN            another answer of the kernel
 *   ERR_OUT_OF_MEMORY */
MORV_API int RAIDInfoGet(const char *path, RAID_INFO **ppInfo) MORV_NOEXCEPT;

/* Frees a record and its members; null is ignored. */
MORV_API void RAIDInfoFree(RAID_INFO *pInfo) MORV_NOEXCEPT;

/* Asks the kernel for an open array's description, its size in bytes, and its resync. A kernel that cannot
 * tell of the resync is asked through "/sys/block/mdN/md/sync_action" and "sync_completed": progress is in
 * sectors then, both numbers halved until they fit.
 *
 * Return 0, or -1 with ERR_BAD_PARAMETERS, ERR_PATH_NOT_FOUND (there is no such array any more),
 * ERR_UNKNOWN. */
MORV_API int RAIDIoctlInfo(int fd, mdu_array_info_t *pArray) MORV_NOEXCEPT;
MORV_API int RAIDIoctlSize(int fd, uint64_t *pBytes) MORV_NOEXCEPT;
MORV_API int RAIDRebuildStatusGet(int fd, RAID_REBUILD *pRebuild) MORV_NOEXCEPT;

/* Reads the members of an array, the last by name first. One that leaves the array meanwhile is left out.
 *
 * ppDisks: gets the list, null for none; free it with RAIDDiskListFree.
 *
 * Returns 0, or -1 with the codes of RAIDInfoGet. */
MORV_API int RAIDDiskListGet(const char *path, RAID_DISK **ppDisks) MORV_NOEXCEPT;

/* Reads one member.
 *
 * entry: its folder, "/sys/block/md2/md/dev-sda3".
 *
 * Returns a record for RAIDDiskListPush or RAIDDiskListFree; or null with ERR_BAD_PARAMETERS,
 * ERR_INVALID_PATH (no "dev-" in the name, or a name that is too long), ERR_OPEN_FAILED, ERR_READ_FAILED or
 * ERR_OUT_OF_MEMORY. */
MORV_API RAID_DISK *RAIDDiskCreate(const char *entry) MORV_NOEXCEPT;

/* Puts a member in front of a list, which owns it then. Returns 0, or -1 with ERR_BAD_PARAMETERS. */
MORV_API int RAIDDiskListPush(RAID_DISK **ppDisks, RAID_DISK *pDisk) MORV_NOEXCEPT;

/* Frees members; null is ignored. */
MORV_API void RAIDDiskListFree(RAID_DISK *pDisks) MORV_NOEXCEPT;

/* The number of members with a status, or -1 with ERR_BAD_PARAMETERS (a null list). */
MORV_API int RAIDDiskCount(const RAID_DISK *pDisks, int status) MORV_NOEXCEPT;

/* Finds a member by path. ppDisk: null, or what gets the member, which stays the list's.
 * Returns 1, or 0 when there is none; no error is set but for a null path (ERR_BAD_PARAMETERS). */
MORV_API int RAIDDiskListSearch(RAID_DISK *pDisks, const char *path, RAID_DISK **ppDisk) MORV_NOEXCEPT;

/* Decides the status of an array from level, raid_disks and the members. Members that are faulty or spare are
 * missing ones; one that reports an error, or none at all, is a crash.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null; no members is a null list, not an error). */
MORV_API int RAIDStatusDecide(const mdu_array_info_t *pArray, const RAID_DISK *pDisks,
                              int32_t *pStatus) MORV_NOEXCEPT;

/* Pushes the paths of all arrays that run, as RAIDIsDetected tells, onto a list, which may move; sorted by
 * bytes. Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_UNKNOWN ("/sys/block" cannot be listed) or
 * ERR_OUT_OF_MEMORY. */
MORV_API int RAIDPathEnum(MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* Answers 1 when an array runs, 0 when its device is there but it does not, -1 with ERR_BAD_PARAMETERS,
 * ERR_OPEN_FAILED (there is no such device, for one) or ERR_UNKNOWN. */
MORV_API int RAIDIsDetected(const char *path) MORV_NOEXCEPT;

/* Lists of arrays. RAIDListPush puts a record behind the first one (into an empty list: as the first); the
 * list owns it then. Returns 0, or -1 with ERR_BAD_PARAMETERS or ERR_OUT_OF_MEMORY, the record staying the
 * caller's. RAIDListFree frees list and records. */
MORV_API int RAIDListPush(RAID_LIST **ppList, RAID_INFO *pInfo) MORV_NOEXCEPT;
MORV_API void RAIDListFree(RAID_LIST *pList) MORV_NOEXCEPT;

/* Finds the first array that the key or the flag of the criteria matches.
 * ppInfo: null, or what gets the record, which stays the list's.
 * Returns 1, 0 when there is none, or -1 with ERR_BAD_PARAMETERS (null criteria, a mode that is none). */
MORV_API int RAIDListSearch(const RAID_LIST *pList, const RAID_CRITERIA *pCriteria,
                            RAID_INFO **ppInfo) MORV_NOEXCEPT;

/* ---- Making and changing --------------------------------------------------------------------------- */

/* Creates and starts an array, without asking: what the members hold is lost.
 *
 * path:    "/dev/md2"
 * type:    RAID_TYPE_...
 * count:   member slots, 1 or more
 * spares:  hot spares, 0 or more and less than the members; raid0 and linear have none
 * members: devices; where fewer than count + spares are listed, "missing" stands for the others
 *
 * mdadm takes the metadata that "/etc/mdadm.conf" names; with 0.90 it makes no raid0. Missing members stand
 * behind the listed ones, so that with spares mdadm takes the missing ones for those.
 *
 * The size limit (RAIDSizeLimitGet) is kept to. Returns 0, or -1: ERR_SYS_UNKNOWN when mdadm failed or could
 * not be run, ERR_OUT_OF_MEMORY; for arguments that cannot be used only a log line says so. */
MORV_API int RAIDCreate(const char *path, int type, int count, int spares,
                        const MLIBSZLIST *members) MORV_NOEXCEPT;

/* Adds a member, a spare until the array needs it. RAIDAddRobustCheck looks first whether it is large enough.
 * Return 0, or -1; RAIDAdd with ERR_SYS_UNKNOWN (mdadm failed) or no code (bad arguments), RAIDAddRobustCheck
 * with ERR_PATH_NOT_FOUND (no such device, or an array that does not run), ERR_SYS_UNKNOWN
 * (either cannot be read, or mdadm failed), ERR_NOT_ENOUGH_SPACE,
 * ERR_BAD_PARAMETERS. */
MORV_API int RAIDAdd(const char *path, const char *device) MORV_NOEXCEPT;
MORV_API int RAIDAddRobustCheck(const char *path, const char *device) MORV_NOEXCEPT;

/* Stops an array; its members keep it. Returns 0, or -1 as RAIDAdd. */
MORV_API int RAIDStop(const char *path) MORV_NOEXCEPT;

/* Dissolves an array for ever: stops it, and wipes the superblocks of its members; of none of them where
 * its UUID could not be read before. Returns 0 when it was stopped, also when members could not be wiped
 * (the log tells which); or -1 as RAIDStop. */
MORV_API int RAIDRemove(const RAID_INFO *pInfo) MORV_NOEXCEPT;

/* Wipes the superblocks of all partitions in "/proc/partitions" (those of disks "sd...") that carry this
 * array's path and UUID. What stands behind a blank in uuid, as in "a:b:c:d (local to host nas)", does not
 * count.
 * Returns 0 when the last wipe that was tried succeeded, or -1, also when no partition carries them
 * (ERR_PATH_NOT_FOUND); ERR_BAD_PARAMETERS, or the codes of mdadm. */
MORV_API int RAIDCleanSuperblock(const RAID_INFO *pInfo, const char *uuid) MORV_NOEXCEPT;

/* Assembles the array pSB->szPath with pSB->szUUID of members and runs it, also degraded. Whether mdadm
 * succeeded is not looked at: ask with RAIDInfoGet.
 * Returns 0; or -1 for arguments that cannot be used, with a log line only, and when no command could be run
 * (ERR_OUT_OF_MEMORY, ERR_SYS_UNKNOWN). */
MORV_API int RAIDAssemble(const RAID_SB *pSB, const MLIBSZLIST *members) MORV_NOEXCEPT;

/* ---- Superblocks ----------------------------------------------------------------------------------- */

/* Reads the superblocks of devices. "/dev/md/N" counts as "/dev/mdN"; superblocks of arrays that are named
 * otherwise are left out.
 *
 * devices: which ones
 * mode:    2 keeps arrays numbered above 100, those of expansion enclosures; any other mode keeps all
 * ppList:  address of a list, null at first, to the end of which is added what was found; free it with RAIDScanFree
 *
 * Returns the number found. A device that mdadm could not be asked about sets the error state; when nothing
 * was found beside it, and for ERR_BAD_PARAMETERS and ERR_OUT_OF_MEMORY, the result is -1. The codes of
 * mdadm. */
MORV_API int RAIDScan(const MLIBSZLIST *devices, int mode, RAID_SB_LIST **ppList) MORV_NOEXCEPT;
enum { RAID_SCAN_ALL = 1, RAID_SCAN_EXPANSION = 2 };

/* Frees superblocks; null is ignored. The two are the same. */
MORV_API void RAIDScanFree(RAID_SB_LIST *pList) MORV_NOEXCEPT;
MORV_API void RAIDSBEnumFree(RAID_SB_LIST *pList) MORV_NOEXCEPT;

/* Adds a superblock (from malloc) to the end of a list, which owns it then.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS or ERR_OUT_OF_MEMORY, the record staying the caller's. */
MORV_API int RAIDSBPush(RAID_SB_LIST **ppList, RAID_SB *pSB) MORV_NOEXCEPT;

/* Reads szUUID and szPath of one device's superblock; the other fields stay as they are.
 * Returns 1; 0 when the device has none, or mdadm cannot read it; or -1 with ERR_BAD_PARAMETERS,
 * ERR_FORMAT_ERROR (the answer was not understood), or the codes of mdadm. */
MORV_API int RAIDSBGet(const char *device, RAID_SB *pSB) MORV_NOEXCEPT;

/* Reads the UUID of a running array as mdadm prints it, into buffer of size bytes.
 * Returns 1, or -1 with ERR_BAD_PARAMETERS, ERR_FORMAT_ERROR, ERR_NOT_ENOUGH_MEMORY (buffer too small), or
 * the codes of mdadm. */
MORV_API int RAIDUUIDGet(const char *path, char *buffer, int size) MORV_NOEXCEPT;

/* ---- Growing --------------------------------------------------------------------------------------- */

/* Changes the number of member slots; the members that are to fill them must be spares already.
 * Returns 0, or -1 as RAIDAdd. */
MORV_API int RAIDDevCountChange(const char *path, int count) MORV_NOEXCEPT;

/* Whether the array could use more of its members: 1 with *pKiB set to the size that each could give, 0, or
 * -1 (no member could be measured; ERR_BAD_PARAMETERS for a null argument). */
MORV_API int RAIDExpansible(const RAID_INFO *pInfo, uint64_t *pKiB) MORV_NOEXCEPT;

/* Grows an array to kib KiB of each member. A size below the present one, which mdadm would cut the data to,
 * is refused with ERR_BAD_PARAMETERS. Returns 0, or -1 as RAIDAdd. */
MORV_API int RAIDExpand(const char *path, uint64_t kib) MORV_NOEXCEPT;

/* How large, in bytes, a disk must be to become a member: 0 for raid0 and linear; otherwise what the array
 * uses, and for arrays up to number 100 the room that the layout of its disks (disk.h) keeps for the system.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS or the codes of PartitionLayoutGet. */
MORV_API int RAIDRequireDevSizeGet(const RAID_INFO *pInfo, uint64_t *pBytes) MORV_NOEXCEPT;

/* Reads the limit of what a new array uses of each member: a file "/tmp/volume.N" of root or of the caller's
 * user sets it to N GiB. Limits beyond 32 bits of KiB count as the largest one. Returns 1 with *pKiB set,
 * or 0 with *pKiB 0 when there is none, or when that cannot be told (the error state tells). */
MORV_API int RAIDSizeLimitGet(uint32_t *pKiB) MORV_NOEXCEPT;

/* ---- Tuning ---------------------------------------------------------------------------------------- */

/* The width of a stripe in KiB, of the data without parity; 0 for raid1 and linear. Or -1 with the codes of
 * RAIDInfoGet, ERR_PATH_NOT_FOUND (no such array), ERR_UNKNOWN (another type). */
MORV_API int RAIDMdStripeSizeGet(const char *path) MORV_NOEXCEPT;

/* Sets the stripe cache, in pages of each member; arrays without one are left alone.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS or ERR_SYS_UNKNOWN. */
MORV_API int MORVRAIDMdStripeCacheSizeSet(const char *path, int size) MORV_NOEXCEPT;

/* Sets what suits the type: raid1 a read-ahead of 1024 sectors, raid5 a stripe cache of 1024 pages.
 * Returns 0, or -1 with the codes of RAIDInfoGet, ERR_PATH_NOT_FOUND (no such array), ERR_SYS_UNKNOWN. */
MORV_API int MORVRAIDMdTuningPerformance(const char *path) MORV_NOEXCEPT;

/* ---- The appliance --------------------------------------------------------------------------------- */

/* The number of disk slots ("maxdisks" of "/etc.defaults/morvinfo.conf", asked for with get_key_value), or
 * -1 with ERR_FORMAT_ERROR, or the codes of mdadm. */
MORV_API int MORVMaxDiskGet(void) MORV_NOEXCEPT;

/* Reads both system arrays. Returns 0, both to be freed with RAIDSystemFree, or -1 with the codes of
 * RAIDInfoGet, ERR_PATH_NOT_FOUND when one does not run. */
MORV_API int RAIDSystemGet(RAID_SYSTEM *pSystem) MORV_NOEXCEPT;

/* Frees both records and sets the pointers to null; null is ignored. */
MORV_API void RAIDSystemFree(RAID_SYSTEM *pSystem) MORV_NOEXCEPT;

/* Whether a disk ("/dev/sda", or one of its partitions) serves the system arrays: 1 with *pRepair 0 when both
 * have it as a healthy member, 1 with *pRepair 1 when not both have, 0 when none has it, -1 with
 * ERR_BAD_PARAMETERS. */
MORV_API int RAIDSystemDiskStatusGet(const RAID_SYSTEM *pSystem, const char *disk,
                                     int *pRepair) MORV_NOEXCEPT;

/* Adds partition 1 of a disk to "/dev/md0" and partition 2 to "/dev/md1". Returns 0, or -1 as RAIDAdd. */
MORV_API int RAIDSystemAdd(const char *disk) MORV_NOEXCEPT;

/* Which running array a device is a member of.
 *
 * buffer: gets its path, of size bytes
 *
 * Returns 1, or 0 when it is in none, cannot be read (the error state tells), or the buffer is too small
 * (ERR_NOT_ENOUGH_MEMORY). */
MORV_API int RAIDDevRAIDGet(const char *device, char *buffer, int size, int *pNumber) MORV_NOEXCEPT;

/* Answers 1 when partition 3 of a disk is a member of a running array numbered at most 99, 0 when not, -1
 * with the codes of RAIDSBGet and RAIDInfoGet when that cannot be told. */
MORV_API int RAIDDiskIsUsedByInternalRAID(const char *disk) MORV_NOEXCEPT;

/* Prepares a disk. What its partitions hold is lost.
 *
 * mode: RAID_INIT_CLEAN removes all partitions. RAID_INIT_MEMBER makes it one of the appliance's: a disk that
 *       serves no system array is cleaned, gets the system partitions and joins the system arrays; every disk
 *       then gets the data partition.
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS or the codes of PartitionClean, PartitionCreate (disk.h),
 * RAIDSystemGet and RAIDSystemAdd. */
enum { RAID_INIT_MEMBER = 1, RAID_INIT_CLEAN = 2 };
MORV_API int RAIDDiskInit(const char *disk, int mode) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
