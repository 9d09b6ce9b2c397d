/* Volumes: the mounted data file systems of the appliance, and what lies under them.
 *
 *     VOLUME_INFO *info = NULL;
 *     int32_t flags;
 *     if (VolumeInfoGet("/volume1", &info) == 1 && VolumeIsWritable(info, &flags) == 1)
 *         ...
 *     VolumeInfoFree(info);
 *
 * A volume is named by its mount point: "/volume" and a number is an internal one, "/volumeX" and a number
 * one of an expansion enclosure, "/volumeUSB" and "/volumeSATA" with a number are external disks. Under it
 * lies a partition of a disk, an array (raid.h), or an LVM volume group (lvm.h) on arrays. Without further
 * notice internal volume N belongs to the group "/dev/vgN" or the array "/dev/md(N+1)", volume N of an
 * enclosure to the array "/dev/md(100+N)".
 *
 * Volumes and devices are named as the system names them; with a system root (file.h) all of them are
 * looked for below it, and commands get the paths below it.
 *
 * Every function logs its failures, those that read at LOG_DEBUG, those that run commands at LOG_ERR. */
#ifndef MORVSDK_VOLUME_H
#define MORVSDK_VOLUME_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/fs.h>
#include <morvsdk/list.h>
#include <morvsdk/lvm.h>
#include <morvsdk/raid.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* ---- Records --------------------------------------------------------------------------------------- */

/* Where a volume is; also as a mask. */
enum { VOLUME_INTERNAL = 1, VOLUME_EXPANSION = 2, VOLUME_USB = 4, VOLUME_SATA = 8 };

/* What a volume lies on. */
enum { VOLUME_ON_UNKNOWN = 0, VOLUME_ON_LVM = 2, VOLUME_ON_RAID = 4, VOLUME_ON_DISK = 8 };

/* Health flags. */
enum {
    VOLUME_NOT_MOUNTED = 1,          /* there is no file system */
    VOLUME_FS_ERRORS = 2,            /* errors were found in the file system */
    VOLUME_PV_MISSING = 4,           /* a physical volume on an array up to number 100 is missing */
    VOLUME_PV_MISSING_ENCLOSURE = 8, /* one on an array above is */
    VOLUME_RAID_DEGRADED = 16,       /* an array is degraded */
    VOLUME_RAID_CRASHED = 32,        /* an array is crashed */
    VOLUME_SYSTEM_DEGRADED = 64 /* a disk of an internal array is no healthy member of both system arrays */
};

/* Number and place of a volume. */
typedef struct VOLUME_ID {
    int32_t number;
    int32_t location; /* VOLUME_INTERNAL, ... */
} VOLUME_ID;

/* A volume and what lies under it. */
typedef struct VOLUME_INFO {
    int32_t number;
    int32_t location;  /* VOLUME_INTERNAL, ... */
    int32_t kind;      /* VOLUME_ON_... */
    char szPath[128];  /* "/volume1" */
    FS_INFO *pFs;      /* null when it is not mounted */
    LVM_VG_INFO *pVg;  /* null when there is no group */
    RAID_LIST *pRaids; /* arrays, null for none */
} VOLUME_INFO;

/* A list of volumes; null is the empty list. */
typedef struct VOLUME_INFO_LIST {
    VOLUME_INFO *pInfo;
    struct VOLUME_INFO_LIST *pNext;
} VOLUME_INFO_LIST;

/* What VolumeInfoListSearch looks for. */
enum {
    VOLUME_SEARCH_DEVICE = 1, /* the mounted device */
    VOLUME_SEARCH_VG = 2,     /* the volume group */
    VOLUME_SEARCH_RAID = 4,   /* an array under it */
    VOLUME_SEARCH_MEMBER = 8  /* the mounted device, or a member of an array under it */
};
typedef struct VOLUME_CRITERIA {
    int32_t mode; /* VOLUME_SEARCH_... */
    const char *szKey;
} VOLUME_CRITERIA;

/* A mounted volume, and its room. */
typedef struct VOLUME_MOUNT {
    int32_t number;
    int32_t location;        /* VOLUME_INTERNAL, ... */
    char szDevice[32];       /* "" for one of more than 31 bytes */
    int32_t mounted;         /* 1, or 0: then only number and location hold something */
    char szMountPoint[36];   /* at most 31 bytes */
    uint64_t availableBytes; /* for users */
    uint64_t totalBytes;
    int32_t writable; /* 0 when mounted read-only, else 1 */
    int32_t reserved; /* the caller's */
    struct VOLUME_MOUNT *pNext;
} VOLUME_MOUNT;

/* What is being done to a volume. */
typedef struct VOLUME_PROGRESS {
    int32_t pid;      /* of the process that does it */
    char szPath[128]; /* of the volume */
    char szAction[128];
    char szStep[128];
} VOLUME_PROGRESS;

/* ---- Names ----------------------------------------------------------------------------------------- */

/* Takes the path of a volume apart. Behind "/volume" and "/volumeX" only digits may stand (none counts as
 * 0), behind the others anything may.
 * Returns 1, or -1 with ERR_BAD_PARAMETERS (also for a number beyond 2147483647). */
MORV_API int VolumePathParse(const char *path, VOLUME_ID *pId) MORV_NOEXCEPT;

/* The number of the volume that a path in it begins with: "/volume2/photo", and "/volume2.snap_5/photo" for
 * a snapshot.
 *
 * Returns it, or -1 with ERR_BAD_PARAMETERS (null, not "/volume", 7 bytes or less, 486 or more) or
 * ERR_INVALID_PATH (no number of a volume). */
MORV_API int MORVVolIDParse(const char *path) MORV_NOEXCEPT;

/* Maps the paths of volumes, groups and arrays to each other, as the top of this header says.
 *
 * option: VOLUME_TO_VG (internal volumes only), VOLUME_TO_RAID, RAID_TO_VOLUME or VG_TO_VOLUME
 * buffer: gets the path, of size bytes
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null, a path that the option does not map) or
 * ERR_NOT_ENOUGH_MEMORY (buffer too small). */
enum { VOLUME_TO_VG = 1, VOLUME_TO_RAID = 2, RAID_TO_VOLUME = 3, VG_TO_VOLUME = 4 };
MORV_API int VolumePathSwitch(const char *path, int option, char *buffer, int size) MORV_NOEXCEPT;

/* ---- Volumes and what lies under them -------------------------------------------------------------- */

/* Reads a volume.
 *
 * ppInfo: gets the record; free it with VolumeInfoFree.
 *
 * A mounted volume lies on what its device says: VOLUME_ON_DISK for "/dev/sd...", VOLUME_ON_RAID for
 * "/dev/md...", VOLUME_ON_LVM for a logical volume (lvm.h). Anything else gives VOLUME_ON_UNKNOWN and no
 * arrays: the health flags then speak of the file system alone. One that is not mounted lies on its group
 * when "/tmp/lvm.status" has that (VOLUME_ON_LVM), or else on its array (VOLUME_ON_RAID). A mounted logical
 * volume of a group that is not in there stays VOLUME_ON_LVM without a group, and gets the array of its
 * number, which nothing but the number ties to it.
 *
 * The arrays of a group are its physical volumes that are not missing, in the order of RAIDListPush. An
 * array that is not there, or whose device does not open, is left out; one that is there but cannot be read
 * is a failure, for it may be crashed. An appliance without RAID ("supportraid" in
 * "/etc.defaults/morvinfo.conf" is "no") has no internal volumes that are not mounted.
 *
 * Returns 1; 0 when there is neither a file system, nor a group, nor an array; or -1 with
 * ERR_BAD_PARAMETERS (null, no path of a volume, longer than 127 bytes), ERR_UNKNOWN (the file system cannot
 * be looked up), ERR_OUT_OF_MEMORY, or the codes of LVMVgInfoGet and RAIDInfoGet. */
MORV_API int VolumeInfoGet(const char *path, VOLUME_INFO **ppInfo) MORV_NOEXCEPT;

/* Frees a record and all under it; null is ignored. */
MORV_API void VolumeInfoFree(VOLUME_INFO *pInfo) MORV_NOEXCEPT;

/* Reads all internal volumes and those of enclosures: the mounted ones, then those of further volume
 * groups, then those of further arrays but the two of the system. No volume is listed twice.
 *
 * ppList: gets the list, null for none; free it with VolumeInfoListFree.
 *
 * Returns how many; or -1, and no list, when a volume cannot be read or turns out not to be there: the
 * codes of VolumeInfoGet, FSPathEnum, LVMVgPathEnum, RAIDPathEnum; ERR_PATH_NOT_FOUND for a volume that is
 * not there; ERR_BAD_PARAMETERS also for a group or an array that no volume has. */
MORV_API int VolumeInfoEnum(VOLUME_INFO_LIST **ppList) MORV_NOEXCEPT;

/* Lists of volumes. VolumeInfoListPush adds a record to the end; the list owns it then. Returns 0, or -1
 * with ERR_BAD_PARAMETERS or ERR_OUT_OF_MEMORY, the record staying the caller's. VolumeInfoListFree frees
 * list and records. */
MORV_API int VolumeInfoListPush(VOLUME_INFO_LIST **ppList, VOLUME_INFO *pInfo) MORV_NOEXCEPT;
MORV_API void VolumeInfoListFree(VOLUME_INFO_LIST *pList) MORV_NOEXCEPT;

/* Finds the first volume that the criteria match. ppInfo: null, or what gets the record, which stays the
 * list's.
 * Returns 1, or 0 when there is none; null criteria, key, or a mode that is none set ERR_BAD_PARAMETERS. */
MORV_API int VolumeInfoListSearch(const VOLUME_INFO_LIST *pList, const VOLUME_CRITERIA *pCriteria,
                                  VOLUME_INFO **ppInfo) MORV_NOEXCEPT;

/* Sorts by location, then by number; equal ones keep their order, nodes without a record come last. Returns
 * the first node. */
MORV_API VOLUME_INFO_LIST *VolumeInfoListSort(VOLUME_INFO_LIST *pList) MORV_NOEXCEPT;

/* The health flags of a volume; 0 is a healthy one.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, or ERR_SYS_UNKNOWN (a node of the arrays without a record). */
MORV_API int VolumeHealthyCheck(const VOLUME_INFO *pInfo, int32_t *pFlags) MORV_NOEXCEPT;

/* Whether a volume may be written to: none of the flags but VOLUME_RAID_DEGRADED and VOLUME_SYSTEM_DEGRADED
 * is set. pFlags: null, or what gets the flags.
 * Returns 1, 0, or -1 with the codes of VolumeHealthyCheck. */
MORV_API int VolumeIsWritable(const VOLUME_INFO *pInfo, int32_t *pFlags) MORV_NOEXCEPT;

/* Whether a volume is a basic one, of one disk that could be widened to a RAID: a partition of a disk, a
 * raid0 or raid1 of one slot, or a raid1 that "md%d_level" of "/etc/morvinfo.conf" says 99 of. Returns 1,
 * or 0; no error is set. */
MORV_API int VolumeIsBasic(const VOLUME_INFO *pInfo) MORV_NOEXCEPT;

/* How many volumes a list has: of VOLUME_INTERNAL, VOLUME_EXPANSION, or all (0).
 * Returns the count, or -1 with ERR_BAD_PARAMETERS (another filter). */
MORV_API int VolumeCount(const VOLUME_INFO_LIST *pList, int location) MORV_NOEXCEPT;

/* ---- Mounting -------------------------------------------------------------------------------------- */

/* Mounts a device with quotas, after making the mount point, where it is missing, with mode 0777 (it goes
 * again when nothing was mounted). The device is one below "/dev/", the mount point an absolute path; none
 * of their names is empty, "." or "..". Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_CREATE_FAILED (the
 * mount point), ERR_SYS_UNKNOWN (mount failed) or ERR_OUT_OF_MEMORY. */
MORV_API int VolumeMount(const char *device, const char *mountPoint) MORV_NOEXCEPT;

/* Unmounts, by force. mountPoint: as VolumeMount takes it. Returns 0, or -1 with ERR_BAD_PARAMETERS,
 * ERR_SYS_UNKNOWN (umount failed) or ERR_OUT_OF_MEMORY. */
MORV_API int VolumeUnmount(const char *mountPoint) MORV_NOEXCEPT;

/* Mounts the file system of a crashed array read-only, while all services are stopped
 * (MORVServiceOnOffALL).
 *
 * device: as "/proc/mounts" names it, below "/dev/"
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_PATH_NOT_FOUND (it is not mounted), ERR_READ_ONLY_FS (it is
 * read-only already), ERR_OPEN_FAILED ("/proc/mounts"), ERR_UNKNOWN (the services cannot be listed, and
 * nothing was done), ERR_SYS_UNKNOWN (mount failed, and the services are started again; or one of them did
 * not start) or ERR_OUT_OF_MEMORY. */
MORV_API int MORVRemountCrashRaidRo(const char *device) MORV_NOEXCEPT;

/* ---- Mounted volumes ------------------------------------------------------------------------------- */

/* Reads internal volume `number`, or the volume with that path: what was mounted there last. One that is
 * not mounted is a success, with `mounted` 0. pMount->pNext is set to null.
 *
 * Return 0, or -1 with ERR_BAD_PARAMETERS (also: a mounted path of more than 31 bytes), ERR_OPEN_FAILED
 * ("/proc/mounts") or ERR_OUT_OF_MEMORY, MORVVolInfoGet also with ERR_SYS_UNKNOWN, ERR_TIMER_EXPIRED or
 * ERR_READ_FAILED (grep, which it runs, is missing or fails, does not end, or tells too much); a volume
 * whose room cannot be told has 0 bytes, and ERR_READ_FAILED is set although 0 is returned. */
MORV_API int MORVVolInfoGet(int number, VOLUME_MOUNT *pMount) MORV_NOEXCEPT;
MORV_API int MORVMountVolInfoGet(const char *path, VOLUME_MOUNT *pMount) MORV_NOEXCEPT;

/* Reads the mounted internal volumes and those of enclosures; AllEnum those on external disks, too. Mount
 * points of more than 31 bytes are left out.
 *
 * ppList: gets the list in the order of mounting, null for none; free it with MORVMountVolInfoFree.
 *
 * Return how many (ERR_READ_FAILED is set when the room of one cannot be told), or -1 with
 * ERR_BAD_PARAMETERS, ERR_OPEN_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int MORVMountVolInfoEnum(VOLUME_MOUNT **ppList) MORV_NOEXCEPT;
MORV_API int MORVMountVolAllEnum(VOLUME_MOUNT **ppList) MORV_NOEXCEPT;

/* Sorts by number; equal ones keep their order. Returns the first record. */
MORV_API VOLUME_MOUNT *MORVMountVolInfoSort(VOLUME_MOUNT *pList) MORV_NOEXCEPT;

/* Frees a list; null is ignored. */
MORV_API void MORVMountVolInfoFree(VOLUME_MOUNT *pList) MORV_NOEXCEPT;

/* Finds the first volume of a list that is mounted, writable and in one of the locations.
 *
 * mask:   of VOLUME_INTERNAL and VOLUME_EXPANSION
 * buffer: gets its mount point, of size bytes
 * pId:    null, or what gets its number and location
 *
 * Returns 1, or 0 when there is none; ERR_BAD_PARAMETERS is set for a null buffer, ERR_NOT_ENOUGH_MEMORY
 * for one that is too small. */
MORV_API int VolumeWritableGetFirst(const VOLUME_MOUNT *pList, int mask, char *buffer, int size,
                                    VOLUME_ID *pId) MORV_NOEXCEPT;

/* ---- Work on volumes ------------------------------------------------------------------------------- */

/* Whether a running process works on a volume, as it says in "/tmp/webman/modules/volume"; what is
 * no regular file or has more than 64 KiB counts as missing. pProgress: null, or what gets what it does,
 * when it does. Returns 1, 0, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int VolumeIsActioning(const char *path, VOLUME_PROGRESS *pProgress) MORV_NOEXCEPT;

/* Takes a volume out of service, mounted or not:
 *   1. ends what serves iSCSI targets from it (MORVVolStopCGI)
 *   2. unmounts all that is mounted at its path and below, the last one mounted first. Where that does not
 *      do, all services are stopped (MORVServiceOnOffALL) and it is tried again; they are started again at
 *      the end, whatever came of it. "/proc/mounts" has to say that all is unmounted, or no further step is
 *      taken
 *   3. removes the shares in it from the file-sharing configuration and from "/etc/exports". Their folders
 *      stay, on the volume and under its mount point; MORVShareDelete would remove them
 *   4. removes its lines from "/etc/fstab", under MORV_LOCK_FSTAB
 *   5. has smbd, nmbd, afpd and ftpd read their configuration again, as far as their pid files in
 *      "/var/run" name processes of these names; not with a system root
 *
 * path: "/" and one component; "/volumeUSB1/share" is taken out with "/volumeUSB1"
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED ("/proc/mounts"), ERR_DEVICE_BUSY (something is
 * still mounted), ERR_UNKNOWN (the services cannot be listed), ERR_OUT_OF_MEMORY; or, when steps 3 and 4
 * were done as far as they could be, ERR_SYS_UNKNOWN (a service did not start), the codes of
 * MORVShareEnumByMntPath and MORVShareSet, ERR_LOCK_FAILED, ERR_OPEN_FAILED, ERR_WRITE_FAILED or
 * ERR_RENAME_FAILED ("/etc/fstab"). After a crash it can be called again. */
MORV_API int VolumeUnExport(const char *path) MORV_NOEXCEPT;

/* Does the same for every mounted internal volume, and those of enclosures, whose arrays are gone: on
 * "/dev/md..." that the kernel does not run, or on a group that has physical volumes, all of them such
 * arrays. An array that merely cannot be asked is not gone. What is mounted is looked at anew before each is
 * unmounted, and only what lies on arrays that are gone goes, with what is mounted in it; where something
 * else is mounted under it, shares and lines of "/etc/fstab" stay. Goes on after a failure. Returns 0,
 * also when a volume stays for that (the log tells), or -1 with the code of the last failure. */
MORV_API int MORVVolRemoveStaleVolumes(void) MORV_NOEXCEPT;

/* Ends the processes that serve an iSCSI target from a volume: those that run "iscsi_target.cgi",
 * themselves or as the script of an interpreter, with the volume's path as an argument, by SIGTERM, and
 * after 5 seconds by SIGKILL; not the caller itself. With a system root nothing is ended: the machine's
 * processes are not the image's.
 *
 * target: the path of the volume
 *
 * Returns 0, also when there are none, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED ("/proc"),
 * ERR_SYS_UNKNOWN (one could not be ended) or ERR_OUT_OF_MEMORY. */
MORV_API int MORVVolStopCGI(const char *target) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
