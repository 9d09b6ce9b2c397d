/* Disks and their partitions.
 *
 * A disk of the appliance has three partitions: 1 and 2 belong to the system arrays, 3 to a data array. There
 * are two layouts, told apart by where partition 3 starts.
 *
 * Devices are named as the system names them: "/dev/sda", "/dev/sda3". With a system root (file.h) they,
 * "/sys" and the tools are looked for below it. */
#ifndef MORVSDK_DISK_H
#define MORVSDK_DISK_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <stdint.h>

MORV_BEGIN_DECLS

/* Sectors of 512 bytes in front of the data partition, in the two layouts. */
enum { DISK_LAYOUT_SMALL = 1, DISK_LAYOUT_LARGE = 2 };
#define DISK_RESERVE_SMALL 2634660
#define DISK_RESERVE_LARGE 6281415

/* Kinds of partitions, also as a mask for PartitionClean. */
enum { PARTITION_SYSTEM = 1, PARTITION_DATA = 2, PARTITION_ALL = 3 };

/* Reads the size of a disk or partition, in sectors of 512 bytes.
 * Returns 1, 0 when the kernel has no such device, or -1 with ERR_BAD_PARAMETERS (null, a path that is not
 * "/dev/" and a name), ERR_OPEN_FAILED, ERR_READ_FAILED or ERR_FORMAT_ERROR. */
MORV_API int DiskSizeGet(const char *device, uint64_t *pSectors) MORV_NOEXCEPT;

/* Reads the layout of the disk that `device`, a disk or one of its partitions, is or lies on.
 * Returns 0, or -1 with ERR_PATH_NOT_FOUND (no such disk, or no partition 3) or the codes of DiskSizeGet. */
MORV_API int PartitionLayoutGet(const char *device, int *pLayout) MORV_NOEXCEPT;

/* Creates partitions on a disk, in the layout of the disks that serve "/dev/md0"; in the large one where
 * there is none. What lay in their place is wiped.
 *
 * kind: PARTITION_SYSTEM creates partitions 1 and 2, on a disk without any after making a partition table
 * (DOS, or
 *       GPT for disks beyond 2 TiB). PARTITION_DATA creates partition 3, from where the disk's layout has
 *       it, or behind the system's on a disk without one, to the end of the disk.
 *
 * Returns 0, also when the partitions are there already; or -1 with ERR_BAD_PARAMETERS, ERR_PATH_NOT_FOUND
 * (no such disk; or partition 3 is asked for, and the system's are missing), ERR_DISK_TOO_SMALL,
 * ERR_DEVICE_BUSY (the disk is in use, or its table has partitions that the kernel does not know),
 * ERR_SYS_UNKNOWN (sfdisk, wipefs or the kernel failed), or the codes of DiskSizeGet. */
MORV_API int PartitionCreate(const char *disk, int kind) MORV_NOEXCEPT;

/* Removes partitions of a disk: those of the kinds in the mask, with PARTITION_ALL all that it has. What
 * they hold stays on the disk until something is made in their place.
 *
 * Returns 0; or -1 with ERR_BAD_PARAMETERS, ERR_PATH_NOT_FOUND (no such disk), ERR_DEVICE_BUSY (a
 * partition, or with PARTITION_ALL the disk itself, is mounted, member of a running array, or open),
 * ERR_SYS_UNKNOWN (sfdisk failed), or the codes of DiskSizeGet: nothing was changed then. */
MORV_API int PartitionClean(const char *disk, int kinds) MORV_NOEXCEPT;

/* Sets the read-ahead of a block device, in sectors of 512 bytes.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED or ERR_UNKNOWN (the kernel refused). */
MORV_API int MORVSysBlkDevReadAheadSet(const char *device, int sectors) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
