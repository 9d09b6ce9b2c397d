/* Calls the storage functions of the library, one per run, and prints what they answer as one line a thing, for
 * a script to compare. A failure is printed as its number and the name of its code: "-1 ERR_DEVICE_BUSY". */
#include <fcntl.h>
#include <morvsdk/disk.h>
#include <morvsdk/error.h>
#include <morvsdk/raid.h>
#include <morvsdk/volume.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char **environ;

static const char *const kTypes[] = {"unknown", "raid0", "raid1", "raid5", "raid6", "linear"};
static const char *const kStatus[] = {"?", "normal", "degraded", "crashed"};
static const char *const kMember[] = {"sync", "faulty", "error", "rebuilding", "spare"};
static const char *const kRebuild[] = {"none", "running", "pending"};

static const char *error_name(void) {
    const int index = MLIBErrGet() >> 8;
    if (MLIBErrGet() == ERR_INVALID_ARRAY) return "ERR_INVALID_ARRAY";
    return index >= 0 && index < errNum && rgszErrMsg[index] ? rgszErrMsg[index] : "unnamed";
}

/* Prints a result that nothing belongs to. */
static int plain(int result) {
    if (result < 0) {
        printf("%d %s\n", result, error_name());
    } else {
        printf("%d\n", result);
    }
    return 0;
}

static MLIBSZLIST *list_of(char **words) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(512);
    for (; list && *words; ++words) {
        if (MLIBSzListPush(&list, *words) < 0) exit(2);
    }
    if (!list) exit(2);
    return list;
}

/* ---- Arrays ---------------------------------------------------------------------------------------- */

/* "raid5 degraded 3 slots, rebuild none: sdc3=sync sdb3=sync" */
static void print_array(const RAID_INFO *info) {
    printf("%s %s %d slots, rebuild %s:", kTypes[info->type], kStatus[info->status], info->raidDisks,
           kRebuild[info->rebuild.state]);
    for (const RAID_DISK *disk = info->pDisks; disk; disk = disk->pNext) {
        printf(" %s=%s", disk->szPath + strlen("/dev/"), kMember[disk->status]);
    }
    printf("\n");
}

/* A failed or empty look for an array has been printed when null is answered. */
static RAID_INFO *read_array(const char *path) {
    RAID_INFO *info = NULL;
    const int result = RAIDInfoGet(path, &info);
    if (result == 0) puts("absent");
    if (result < 0) plain(result);
    return info;
}

static int show_array(char **args) {
    RAID_INFO *info = read_array(args[0]);
    if (info) print_array(info);
    RAIDInfoFree(info);
    return 0;
}

/* Number, bytes, KiB of each member, first disk. */
static int show_sizes(char **args) {
    RAID_INFO *info = read_array(args[0]);
    if (info) {
        printf("%d %llu %llu %d\n", info->number, (unsigned long long)info->deviceSize,
               (unsigned long long)info->componentSize / 1024, info->firstDisk);
    }
    RAIDInfoFree(info);
    return 0;
}

/* "running 512 of 204672" */
static int show_progress(char **args) {
    RAID_INFO *info = read_array(args[0]);
    if (info)
        printf("%s %d of %d\n", kRebuild[info->rebuild.state], info->rebuild.progress[0],
               info->rebuild.progress[1]);
    RAIDInfoFree(info);
    return 0;
}

static int list_arrays(char **args) {
    (void)args;
    MLIBSZLIST *list = PslMLIBSzListAlloc(512);
    const int result = RAIDPathEnum(&list);
    if (result < 0) plain(result);
    for (int i = 0; i < list->nItem; ++i) {
        printf("%s%s", i ? " " : "", list->pszItem[i]);
    }
    puts("");
    MLIBSzListFree(list);
    return 0;
}

static int create_array(char **args) {
    int type = 1;
    while (type < RAID_TYPE_LINEAR && strcmp(kTypes[type], args[1]) != 0)
        ++type;
    MLIBSZLIST *members = list_of(args + 4);
    const int result = RAIDCreate(args[0], type, atoi(args[2]), atoi(args[3]), members);
    MLIBSzListFree(members);
    return plain(result);
}

static int remove_array(char **args) {
    RAID_INFO *info = read_array(args[0]);
    if (info) plain(RAIDRemove(info));
    RAIDInfoFree(info);
    return 0;
}

static int clean_superblocks(char **args) {
    RAID_INFO *info = read_array(args[0]);
    if (info) plain(RAIDCleanSuperblock(info, args[1]));
    RAIDInfoFree(info);
    return 0;
}

static int assemble(char **args) {
    RAID_SB sb = {0};
    snprintf(sb.szPath, sizeof sb.szPath, "%s", args[0]);
    snprintf(sb.szUUID, sizeof sb.szUUID, "%s", args[1]);
    MLIBSZLIST *members = list_of(args + 2);
    const int result = RAIDAssemble(&sb, members);
    MLIBSzListFree(members);
    return plain(result);
}

/* The count, then "/dev/md2 raid5 3 UUID" each. */
static int scan(char **args) {
    MLIBSZLIST *devices = list_of(args + 1);
    RAID_SB_LIST *found = NULL;
    plain(RAIDScan(devices, atoi(args[0]), &found));
    for (const RAID_SB_LIST *node = found; node; node = node->pNext) {
        const RAID_SB *sb = node->pSB;
        printf("%s %s %d %s\n", sb->szPath, kTypes[sb->type], sb->devices, sb->szUUID);
    }
    RAIDScanFree(found);
    MLIBSzListFree(devices);
    return 0;
}

static int superblock(char **args) {
    RAID_SB sb = {0};
    const int result = RAIDSBGet(args[0], &sb);
    if (result == 1) {
        printf("%s %s\n", sb.szPath, sb.szUUID);
        return 0;
    }
    return plain(result);
}

static int uuid(char **args) {
    char text[128];
    const int result = RAIDUUIDGet(args[0], text, sizeof text);
    if (result != 1) return plain(result);
    puts(text);
    return 0;
}

static int expansible(char **args) {
    RAID_INFO *info = read_array(args[0]);
    uint64_t kib = 0;
    if (info) {
        const int result = RAIDExpansible(info, &kib);
        if (result == 1) {
            printf("to %llu\n", (unsigned long long)kib);
        } else {
            plain(result);
        }
    }
    RAIDInfoFree(info);
    return 0;
}

static int required(char **args) {
    RAID_INFO *info = read_array(args[0]);
    uint64_t bytes = 0;
    if (info) {
        const int result = RAIDRequireDevSizeGet(info, &bytes);
        if (result == 0) {
            printf("%llu\n", (unsigned long long)bytes);
        } else {
            plain(result);
        }
    }
    RAIDInfoFree(info);
    return 0;
}

static int limit(char **args) {
    (void)args;
    uint32_t kib = 0;
    const int result = RAIDSizeLimitGet(&kib);
    printf("%d %u\n", result, kib);
    return 0;
}

static int member_of(char **args) {
    char path[128] = "";
    int number = -1;
    const int result = RAIDDevRAIDGet(args[0], path, sizeof path, &number);
    if (result != 1) return plain(result);
    printf("%s %d\n", path, number);
    return 0;
}

static int system_disk(char **args) {
    RAID_SYSTEM pair = {NULL, NULL};
    int repair = 0;
    int result = RAIDSystemGet(&pair);
    if (result < 0) return plain(result);
    result = RAIDSystemDiskStatusGet(&pair, args[0], &repair);
    RAIDSystemFree(&pair);
    if (result != 1) return plain(result);
    puts(repair ? "needs repair" : "healthy");
    return 0;
}

static int detected(char **args) {
    return plain(RAIDIsDetected(args[0]));
}
static int add(char **args) {
    return plain(RAIDAdd(args[0], args[1]));
}
static int add_checked(char **args) {
    return plain(RAIDAddRobustCheck(args[0], args[1]));
}
static int stop(char **args) {
    return plain(RAIDStop(args[0]));
}
static int expand(char **args) {
    return plain(RAIDExpand(args[0], strtoull(args[1], NULL, 10)));
}
static int change_count(char **args) {
    return plain(RAIDDevCountChange(args[0], atoi(args[1])));
}
static int stripe(char **args) {
    return plain(RAIDMdStripeSizeGet(args[0]));
}
static int stripe_cache(char **args) {
    return plain(MORVRAIDMdStripeCacheSizeSet(args[0], atoi(args[1])));
}
static int system_add(char **args) {
    return plain(RAIDSystemAdd(args[0]));
}
static int used_disk(char **args) {
    return plain(RAIDDiskIsUsedByInternalRAID(args[0]));
}
static int disk_init(char **args) {
    return plain(RAIDDiskInit(args[0], atoi(args[1])));
}
static int slots(char **args) {
    (void)args;
    return plain(MORVMaxDiskGet());
}

/* ---- Disks ----------------------------------------------------------------------------------------- */

static int sectors(char **args) {
    uint64_t size = 0;
    const int result = DiskSizeGet(args[0], &size);
    if (result != 1) return plain(result);
    printf("%llu\n", (unsigned long long)size);
    return 0;
}

static int layout(char **args) {
    int which = 0;
    const int result = PartitionLayoutGet(args[0], &which);
    return plain(result < 0 ? result : which);
}

static int partition_create(char **args) {
    return plain(PartitionCreate(args[0], atoi(args[1])));
}
static int partition_clean(char **args) {
    return plain(PartitionClean(args[0], atoi(args[1])));
}

/* ---- Volumes --------------------------------------------------------------------------------------- */

/* "/volume1 raid on /dev/md2 state 1, flags 0, writable, arrays md2 md3, group vg1 md2=0" */
static void print_volume(const VOLUME_INFO *info) {
    const char *kind = info->kind == VOLUME_ON_LVM    ? "lvm"
                       : info->kind == VOLUME_ON_RAID ? "raid"
                       : info->kind == VOLUME_ON_DISK ? "disk"
                                                      : "unknown";
    int32_t flags = -1;
    const int writable = VolumeIsWritable(info, &flags);
    printf("%s %s", info->szPath, kind);
    if (info->pFs) printf(" on %s state %d", info->pFs->szDevice, info->pFs->state);
    printf(", flags %d, %s", flags,
           writable == 1   ? "writable"
           : writable == 0 ? "not writable"
                           : error_name());
    if (VolumeIsBasic(info)) printf(", basic");
    if (info->pRaids) printf(", arrays");
    for (const RAID_LIST *node = info->pRaids; node; node = node->pNext) {
        printf(" %s", node->pInfo->szPath + strlen("/dev/"));
    }
    if (info->pVg) printf(", group %s", info->pVg->szPath);
    for (const LVM_PV *pv = info->pVg ? info->pVg->pPvs : NULL; pv; pv = pv->pNext) {
        printf(" %s=%d", pv->szPath, pv->status);
    }
    printf("\n");
}

static int volume(char **args) {
    VOLUME_INFO *info = NULL;
    const int result = VolumeInfoGet(args[0], &info);
    if (result != 1) return plain(result);
    print_volume(info);
    VolumeInfoFree(info);
    return 0;
}

static int volumes(char **args) {
    (void)args;
    VOLUME_INFO_LIST *list = NULL;
    const int result = VolumeInfoEnum(&list);
    if (result < 0) return plain(result);
    list = VolumeInfoListSort(list);
    for (const VOLUME_INFO_LIST *node = list; node; node = node->pNext)
        print_volume(node->pInfo);
    printf("%d volumes, %d internal\n", result, VolumeCount(list, VOLUME_INTERNAL));
    VolumeInfoListFree(list);
    return 0;
}

/* "/dev/md2 /volume1 writable with room" */
static int mounted(char **args) {
    VOLUME_MOUNT mount;
    const int result = MORVVolInfoGet(atoi(args[0]), &mount);
    if (result < 0) return plain(result);
    if (!mount.mounted) {
        puts("not mounted");
    } else {
        printf(
            "%s %s %s %s\n", mount.szDevice, mount.szMountPoint, mount.writable ? "writable" : "read-only",
            mount.totalBytes > 0 && mount.availableBytes <= mount.totalBytes ? "with room" : "without room");
    }
    return 0;
}

static int first_writable(char **args) {
    VOLUME_MOUNT *list = NULL;
    int result = MORVMountVolInfoEnum(&list);
    if (result < 0) return plain(result);
    list = MORVMountVolInfoSort(list);
    char path[64];
    result = VolumeWritableGetFirst(list, atoi(args[0]), path, sizeof path, NULL);
    MORVMountVolInfoFree(list);
    if (result != 1) return plain(result);
    puts(path);
    return 0;
}

static int acting(char **args) {
    return plain(VolumeIsActioning(args[0], NULL));
}
static int mount_volume(char **args) {
    return plain(VolumeMount(args[0], args[1]));
}
static int unmount_volume(char **args) {
    return plain(VolumeUnmount(args[0]));
}
static int remount(char **args) {
    return plain(MORVRemountCrashRaidRo(args[0]));
}
static int unexport(char **args) {
    return plain(VolumeUnExport(args[0]));
}
static int remove_stale(char **args) {
    (void)args;
    return plain(MORVVolRemoveStaleVolumes());
}

/* ---- Speed ----------------------------------------------------------------------------------------- */

static double now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec * 1e6 + (double)t.tv_nsec / 1e3;
}

static int read_all_arrays(void) {
    MLIBSZLIST *paths = PslMLIBSzListAlloc(512);
    int result = RAIDPathEnum(&paths);
    for (int i = 0; result == 0 && i < paths->nItem; ++i) {
        RAID_INFO *info = NULL;
        if (RAIDInfoGet(paths->pszItem[i], &info) != 1) result = -1;
        RAIDInfoFree(info);
    }
    MLIBSzListFree(paths);
    return result;
}

static int read_all_volumes(void) {
    VOLUME_INFO_LIST *list = NULL;
    const int result = VolumeInfoEnum(&list);
    VolumeInfoListFree(list);
    return result < 0 ? -1 : 0;
}

static int run(char **command) {
    posix_spawn_file_actions_t streams;
    pid_t pid;
    int status = -1;
    posix_spawn_file_actions_init(&streams);
    posix_spawn_file_actions_addopen(&streams, 1, "/dev/null", O_WRONLY, 0);
    if (posix_spawnp(&pid, command[0], &streams, NULL, command, environ) == 0) waitpid(pid, &status, 0);
    posix_spawn_file_actions_destroy(&streams);
    return status == 0 ? 0 : -1;
}

static int by_size(const void *a, const void *b) {
    const double x = *(const double *)a, y = *(const double *)b;
    return (x > y) - (x < y);
}

/* The median of many in microseconds; both the call and the command, by turns, as the machine's speed varies. */
static int compare(const char *what, int (*call)(void), char **command, int times) {
    double *ours = malloc(2 * sizeof *ours * (size_t)times);
    double *theirs = ours + times;
    if (!ours) return 2;
    for (int i = 0; i < times; ++i) {
        const double begin = now();
        if (call() != 0) return plain(-1) + 1;
        const double middle = now();
        if (run(command) != 0) {
            printf("%s failed\n", command[0]);
            return 1;
        }
        ours[i] = middle - begin;
        theirs[i] = now() - middle;
    }
    qsort(ours, (size_t)times, sizeof *ours, by_size);
    qsort(theirs, (size_t)times, sizeof *theirs, by_size);
    const double a = ours[times / 2], b = theirs[times / 2];
    printf("%-16s %8.0f us, %s %s %8.0f us: %.1f times as fast\n", what, a, command[0], command[1], b, b / a);
    free(ours);
    return 0;
}

static int speed(char **args) {
    static char mdadm[] = "mdadm", detail[] = "--detail", every[] = "--scan", lsblk[] = "lsblk",
                json[] = "--json";
    char *scan_command[] = {mdadm, detail, every, NULL}, *list_command[] = {lsblk, json, NULL};
    const int times = atoi(args[0]);
    int failed = 0;
    failed += compare("all arrays", read_all_arrays, scan_command, times);
    failed += compare("all arrays", read_all_arrays, list_command, times);
    failed += compare("all volumes", read_all_volumes, scan_command, times);
    failed += compare("all volumes", read_all_volumes, list_command, times);
    return failed;
}

static const struct {
    const char *name;
    int arguments; /* at least */
    int (*call)(char **args);
} kCalls[] = {
    {"array", 1, show_array},
    {"sizes", 1, show_sizes},
    {"progress", 1, show_progress},
    {"arrays", 0, list_arrays},
    {"detected", 1, detected},
    {"create", 5, create_array},
    {"add", 2, add},
    {"add-checked", 2, add_checked},
    {"stop", 1, stop},
    {"remove", 1, remove_array},
    {"clean-superblocks", 2, clean_superblocks},
    {"assemble", 3, assemble},
    {"scan", 2, scan},
    {"superblock", 1, superblock},
    {"uuid", 1, uuid},
    {"count", 2, change_count},
    {"expansible", 1, expansible},
    {"expand", 2, expand},
    {"required", 1, required},
    {"limit", 0, limit},
    {"stripe", 1, stripe},
    {"stripe-cache", 2, stripe_cache},
    {"slots", 0, slots},
    {"member-of", 1, member_of},
    {"used-disk", 1, used_disk},
    {"system-disk", 1, system_disk},
    {"system-add", 1, system_add},
    {"disk-init", 2, disk_init},
    {"sectors", 1, sectors},
    {"layout", 1, layout},
    {"partition-create", 2, partition_create},
    {"partition-clean", 2, partition_clean},
    {"volume", 1, volume},
    {"volumes", 0, volumes},
    {"mounted", 1, mounted},
    {"first-writable", 1, first_writable},
    {"acting", 1, acting},
    {"mount", 2, mount_volume},
    {"unmount", 1, unmount_volume},
    {"remount-crashed", 1, remount},
    {"unexport", 1, unexport},
    {"remove-stale", 0, remove_stale},
    {"speed", 1, speed},
};

int main(int argc, char **argv) {
    for (size_t i = 0; argc > 1 && i < sizeof kCalls / sizeof *kCalls; ++i) {
        if (strcmp(argv[1], kCalls[i].name) == 0 && argc - 2 >= kCalls[i].arguments)
            return kCalls[i].call(argv + 2);
    }
    fprintf(stderr, "usage: probe CALL [ARGUMENT ...]\n");
    return 2;
}
