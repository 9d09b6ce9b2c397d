/* LVM volume groups, as "/tmp/lvm.status" tells of them: asking LVM itself takes long and wakes disks, so
 * one program writes down what it said (LVMStatusSet), and all others read that. A file that neither root
 * nor the reader's user has written, or that is no regular one, counts as missing: everybody may write in
 * "/tmp".
 *
 * A group is named "/dev/vg" and a number. */
#ifndef MORVSDK_LVM_H
#define MORVSDK_LVM_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/list.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* Status of a physical volume. */
enum { LVM_PV_NORMAL = 0, LVM_PV_MISSING = 1 };

/* A physical volume. */
typedef struct LVM_PV {
    char szPath[128]; /* "/dev/md2" */
    int32_t status;   /* LVM_PV_... */
    struct LVM_PV *pNext;
} LVM_PV;

/* A volume group. */
typedef struct LVM_VG_INFO {
    char szPath[128]; /* "/dev/vg1" */
    LVM_PV *pPvs;     /* in the order of the file */
    struct LVM_VG_INFO *pNext;
} LVM_VG_INFO;

/* Reads a group.
 *
 * ppInfo: gets one record (pNext is null); free it with LVMVgInfoFree.
 *
 * Returns 1; 0 when the file has no such group, or there is no file; or -1 with ERR_BAD_PARAMETERS,
 * ERR_OPEN_FAILED, ERR_FORMAT_ERROR (the section cannot be understood, or the file is longer than 1 MiB) or
 * ERR_OUT_OF_MEMORY. */
MORV_API int LVMVgInfoGet(const char *path, LVM_VG_INFO **ppInfo) MORV_NOEXCEPT;

/* Frees groups and their physical volumes; null is ignored. */
MORV_API void LVMVgInfoFree(LVM_VG_INFO *pInfo) MORV_NOEXCEPT;

/* Pushes the paths of the group's physical volumes with a status onto a list, which may move.
 * Returns how many, or -1 with ERR_BAD_PARAMETERS or ERR_OUT_OF_MEMORY. */
MORV_API int LVMVgInfoEnumPv(const LVM_VG_INFO *pInfo, int status, MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* Pushes the paths of all groups onto a list, which may move, in the order of the file.
 * Returns 0, also without a file, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED, ERR_FORMAT_ERROR (longer
 * than 1 MiB) or ERR_OUT_OF_MEMORY. */
MORV_API int LVMVgPathEnum(MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* Maps the device of a logical volume to its group.
 *
 * device: "/dev/vg1/lv" or "/dev/mapper/vg1-lv"
 * option: LVM_DEVICE_TO_VG
 * buffer: gets "/dev/vg1", of size bytes
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null, another option, no logical volume) or
 * ERR_NOT_ENOUGH_MEMORY (buffer too small). */
enum { LVM_DEVICE_TO_VG = 1 };
MORV_API int LVMPathSwitch(const char *device, int option, char *buffer, int size) MORV_NOEXCEPT;

/* Writes "/tmp/lvm.status" anew, all groups of a list (null: none); readers see the old file or the new
 * one, also after a crash.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (what could not be read back: a path that is not absolute, with
 * a line feed, bracket, "=" or blanks around it, a group that is there twice, more than 1 MiB),
 * ERR_OPEN_FAILED, ERR_WRITE_FAILED, ERR_RENAME_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int LVMStatusSet(const LVM_VG_INFO *pGroups) MORV_NOEXCEPT;

/* Asks LVM itself: its JSON report of all physical volumes with the fields pv_name, vg_name and pv_missing.
 * *ppText gets it, to be freed with free().
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_SYS_UNKNOWN (LVM failed or is missing), ERR_TIMER_EXPIRED,
 * ERR_READ_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int LVMReportGet(char **ppText) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
