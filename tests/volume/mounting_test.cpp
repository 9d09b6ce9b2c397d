#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/volume.h>
#include <sys/stat.h>

#include <memory>

#include "support/alloc_fault.h"
#include "support/outcome.h"
#include "volume/storage.h"

namespace {

using namespace testing_support;

struct Freer {
    void operator()(VOLUME_MOUNT *list) const { MORVMountVolInfoFree(list); }
};
using Mounts = std::unique_ptr<VOLUME_MOUNT, Freer>;

struct Mounting : testing::Test {
    Mounting() { MLIBErrSet(ERR_SUCCESS); }
    StorageRoot<> root;
};

TEST_F(Mounting, MountsWithQuotasWhereNothingWas) {
    root.tool("sbin/mount");
    umask(077);
    EXPECT_EQ(VolumeMount("/dev/md2", "/volume1"), 0);
    umask(022);
    EXPECT_EQ(root.calls(), "mount -o usrquota,grpquota ROOT/dev/md2 ROOT/volume1\n");
    EXPECT_EQ(mode_of(root.path("volume1")), 0777U);
    chmod(root.path("volume1").c_str(), 0755);
    EXPECT_EQ(VolumeMount("/dev/mapper/a'b c", "/volume1"), 0);
    EXPECT_EQ(root.calls(), "mount -o usrquota,grpquota ROOT/dev/mapper/a'b c ROOT/volume1\n");
    EXPECT_EQ(mode_of(root.path("volume1")), 0755U);
    root.write("volume3", "no folder");
    EXPECT_TRUE(gives(-1, ERR_CREATE_FAILED, VolumeMount("/dev/md4", "/volume3")));
    for (const char *device : {"md4", "/tmp/md4", "/dev/../tmp/md4", "/dev/"}) {
        EXPECT_TRUE(refuses(-1, VolumeMount(device, "/volume1"))) << device;
        EXPECT_TRUE(refuses(-1, MORVRemountCrashRaidRo(device))) << device;
    }
    for (const char *point :
         {"-o", "volume1", "/", "/volume1/", "/../../tmp/x", "/volume1/..", "/./volume1", "//volume1"}) {
        EXPECT_TRUE(refuses(-1, VolumeMount("/dev/md4", point))) << point;
        EXPECT_TRUE(refuses(-1, VolumeUnmount(point))) << point;
    }
    EXPECT_TRUE(refuse_nulls(-1, VolumeMount, VolumeUnmount, MORVRemountCrashRaidRo));
    // The folder goes again when nothing was mounted on it.
    root.tool("sbin/mount", "exit 32");
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, VolumeMount("/dev/md3", "/volume2")));
    EXPECT_EQ(stat_of(root.dir() + "/volume2").st_ino, 0U);
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, VolumeMount("/dev/md2", "/volume1")));
    EXPECT_NE(stat_of(root.dir() + "/volume1").st_ino, 0U);
}

TEST_F(Mounting, ACrashedArrayBecomesReadOnlyWhileTheServicesRest) {
    root.tool("sbin/mount");
    root.tool("usr/morv/etc/rc.d/S20samba");
    root.tool("usr/morv/etc/rc.d/S80ftp", "[ $1 = start ]");
    const std::string expected =
        "S80ftp stop\nS20samba stop\nmount -o remount,ro ROOT/dev/md2 ROOT/volume1\nS20samba start\nS80ftp "
        "start\n";
    root.mounts("/dev/md20 /volume19 ext4 rw 0 0\n/dev/md2 /volume1 ext4 rw,errors=remount-ro,road 0 0\n");
    EXPECT_EQ(MORVRemountCrashRaidRo("/dev/md2"), 0);
    EXPECT_EQ(root.calls(), expected);
    root.tool("sbin/mount", "exit 32");
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, MORVRemountCrashRaidRo("/dev/md2")));
    EXPECT_EQ(root.calls(), expected);
    // One that stays stopped is no success.
    root.tool("sbin/mount");
    root.tool("usr/morv/etc/rc.d/S20samba", "[ $1 = stop ]");
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, MORVRemountCrashRaidRo("/dev/md2")));
    EXPECT_EQ(root.calls(), expected);
    root.mounts("/dev/md2 /../../tmp ext4 rw 0 0\n");
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, MORVRemountCrashRaidRo("/dev/md2")));
    root.mounts("/dev/md2 /volume1 ext4 relatime,ro 0 0\n");
    EXPECT_TRUE(gives(-1, ERR_READ_ONLY_FS, MORVRemountCrashRaidRo("/dev/md2")));
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, MORVRemountCrashRaidRo("/dev/md3")));
    EXPECT_EQ(root.calls(), "");
}

TEST_F(Mounting, ServicesThatWereStoppedAreStartedWithoutMemory) {
    root.tool("sbin/mount");
    root.tool("usr/morv/etc/rc.d/S20samba");
    root.mounts("/dev/md2 /volume1 ext4 rw 0 0\n");
    const int faults = for_each_alloc_fault(
        [&](int nth) {
            const int result = MORVRemountCrashRaidRo("/dev/md2");
            const bool reached = AllocFault::disarm();
            const std::string calls = root.calls();
            const bool is_stopped = calls.starts_with("S20samba stop\n");
            EXPECT_EQ(is_stopped, calls.ends_with("S20samba start\n")) << nth << calls;
            EXPECT_EQ(result == 0, calls.find("mount -o") != calls.npos) << nth << calls;
            return reached;
        },
        true);
    EXPECT_GT(faults, 10);
}

TEST_F(Mounting, AMountedVolumeIsTheOneWithExactlyItsName) {
    root.path("volume1/x");
    root.mounts(
        "/dev/md11 /volume10 ext4 rw 0 0\n"
        "/dev/md2 /volume1 ext4 rw,ro,relatime 0 0\n"
        "/dev/md9 /volume1/cache ext4 ro 0 0\n");
    VOLUME_MOUNT mount;
    EXPECT_EQ(MORVVolInfoGet(1, &mount), 0);
    EXPECT_EQ(root.calls(), "grep /volume1 ROOT/proc/mounts\n");
    EXPECT_STREQ(mount.szDevice, "/dev/md2");
    EXPECT_STREQ(mount.szMountPoint, "/volume1");
    EXPECT_EQ(mount.mounted, 1);
    EXPECT_EQ(mount.writable, 1);  // the first option tells
    EXPECT_GT(mount.totalBytes, mount.availableBytes);
    EXPECT_GT(mount.availableBytes, 0U);
    EXPECT_EQ(mount.pNext, nullptr);

    root.mounts("/dev/mapper/a-name-that-the-record-has-no-room-for /volume1 ext4 ro,relatime 0 0\n");
    EXPECT_EQ(MORVVolInfoGet(1, &mount), 0);
    EXPECT_STREQ(mount.szDevice, "");
    EXPECT_EQ(mount.writable, 0);
    root.mounts("/dev/md11 /volume10 ext4 rw 0 0\n");
    for (const int number : {1, 7}) {
        EXPECT_TRUE(gives(0, ERR_SUCCESS, MORVVolInfoGet(number, &mount)));
        EXPECT_EQ(mount.mounted, 0);
        EXPECT_EQ(mount.number, number);
        EXPECT_EQ(mount.totalBytes, 0U);
    }
    // A file system that does not answer.
    EXPECT_TRUE(gives(0, ERR_READ_FAILED, MORVVolInfoGet(10, &mount)));
    EXPECT_EQ(mount.mounted, 1);
    EXPECT_EQ(mount.totalBytes, 0U);
    remove(root.path("proc/mounts").c_str());
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVVolInfoGet(1, &mount)));
    EXPECT_EQ(mount.number, 10);
    EXPECT_TRUE(refuses(-1, MORVVolInfoGet(-1, &mount)));
    EXPECT_TRUE(refuses(-1, MORVVolInfoGet(1, nullptr)));
}

TEST_F(Mounting, MountedVolumesAreListedInTheirOrder) {
    for (const char *volume : {"volume3/x", "volume1/x", "volumeX3/x", "volumeUSB1/share/x", "volumeSATA2/x"})
        root.path(volume);
    root.mounts(
        "/dev/md4 /volume3 ext4 ro 0 0\n"
        "/dev/sdq1 /volumeUSB1/share vfat rw 0 0\n"
        "/dev/md103 /volumeX3 ext4 rw 0 0\n"
        "/dev/md2 /volume1 ext4 rw 0 0\n"
        "/dev/md5 /volume3 ext4 rw 0 0\n"
        "tmpfs /volume1/tmp tmpfs rw 0 0\n"
        "/dev/sdr1 /volumeSATA2 ext4 rw 0 0\n"
        "/dev/sds1 /volumeUSB1/a\\040name\\040that\\040is\\040far\\040too\\040long vfat rw 0 0\n");
    const auto show = [](const VOLUME_MOUNT *list) {
        std::string text;
        for (; list; list = list->pNext)
            text += std::string(list->szMountPoint) + "=" + list->szDevice + " ";
        return text;
    };
    VOLUME_MOUNT *list = nullptr;
    EXPECT_TRUE(gives(5, ERR_SUCCESS, MORVMountVolAllEnum(&list)));
    Mounts all(list);
    EXPECT_EQ(show(list),
              "/volume3=/dev/md5 /volumeUSB1/share=/dev/sdq1 /volumeX3=/dev/md103 /volume1=/dev/md2 "
              "/volumeSATA2=/dev/sdr1 ");
    EXPECT_EQ(MORVMountVolInfoEnum(&list), 3);
    Mounts fixed(MORVMountVolInfoSort(list));
    EXPECT_EQ(show(fixed.get()), "/volume1=/dev/md2 /volume3=/dev/md5 /volumeX3=/dev/md103 ");

    char path[32];
    VOLUME_ID id = {};
    EXPECT_EQ(VolumeWritableGetFirst(fixed.get(), VOLUME_INTERNAL | VOLUME_EXPANSION, path, sizeof path, &id),
              1);
    EXPECT_STREQ(path, "/volume1");
    fixed->writable = 0;
    fixed->pNext->mounted = 0;
    EXPECT_EQ(VolumeWritableGetFirst(fixed.get(), VOLUME_INTERNAL, path, sizeof path, nullptr), 0);
    EXPECT_EQ(VolumeWritableGetFirst(fixed.get(), VOLUME_EXPANSION, path, sizeof path, &id), 1);
    EXPECT_STREQ(path, "/volumeX3");
    EXPECT_EQ(id.number, 3);
    EXPECT_EQ(id.location, VOLUME_EXPANSION);
    EXPECT_EQ(VolumeWritableGetFirst(all.get(), VOLUME_USB, path, sizeof path, nullptr), 0);
    EXPECT_TRUE(gives(0, ERR_NOT_ENOUGH_MEMORY, VolumeWritableGetFirst(all.get(), 3, path, 8, nullptr)));
    EXPECT_TRUE(refuses(0, VolumeWritableGetFirst(all.get(), 3, nullptr, 8, nullptr)));

    VOLUME_MOUNT mount;
    EXPECT_EQ(MORVMountVolInfoGet("/volumeX3", &mount), 0);
    EXPECT_STREQ(mount.szDevice, "/dev/md103");
    EXPECT_EQ(MORVMountVolInfoGet("/volumeX4", &mount), 0);
    EXPECT_EQ(mount.mounted, 0);
    EXPECT_EQ(mount.location, VOLUME_EXPANSION);
    EXPECT_TRUE(refuses(-1, MORVMountVolInfoGet("/volumeUSB1/a name that is far too long", &mount)));
    remove(root.path("proc/mounts").c_str());
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVMountVolInfoGet("/volumeX3", &mount)));
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVMountVolInfoEnum(&list)));
    EXPECT_TRUE(refuse_nulls(-1, MORVMountVolInfoGet, MORVMountVolInfoEnum, MORVMountVolAllEnum));
}

}  // namespace
