#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/proc.h>
#include <morvsdk/service.h>
#include <morvsdk/share.h>
#include <morvsdk/volume.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <vector>

#include "support/accounts.h"
#include "support/alloc_fault.h"
#include "support/outcome.h"
#include "support/process.h"
#include "volume/storage.h"

namespace {

using namespace testing_support;

TEST(Processes, OneThatWaitsToBeBuriedDoesNotRun) {
    MORVSysRootSet("");
    EXPECT_EQ(BlMLIBProcAlive(getpid()), 1);
    EXPECT_EQ(BlMLIBProcAlive(1), 1);
    for (const int none : {0, -1, -getpid(), 2147483647})
        EXPECT_EQ(BlMLIBProcAlive(none), 0) << none;
    const pid_t child = fork();
    if (child == 0) _exit(0);
    siginfo_t info;
    waitid(P_PID, id_t(child), &info, WEXITED | WNOWAIT);
    EXPECT_EQ(BlMLIBProcAlive(child), 0);
    waitpid(child, nullptr, 0);

    // Numbers in a system root are not this machine's.
    const ScratchRoot root;
    EXPECT_EQ(BlMLIBProcAlive(getpid()), 0);
    root.write("proc/77/stat", "77 (a) Z (b) S 1 77\n");
    EXPECT_EQ(BlMLIBProcAlive(77), 1);
    root.write("proc/78/stat", "78 (a) S ) Z 1 78\n");
    EXPECT_EQ(BlMLIBProcAlive(78), 0);
}

TEST(Services, EveryScriptIsCalledInItsOrder) {
    const StorageRoot<> root;
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_EQ(MORVServiceOnOffALL(MORV_SERVICES_STOP), 0);
    for (const char *name : {"S20a", "S10b", "S99c d"})
        root.tool(std::string("usr/morv/etc/rc.d/") + name);
    for (const char *name : {"K10x", "S1x", "S10", "Sxxx", ".S10x"})
        root.tool(std::string("usr/morv/etc/rc.d/") + name);
    root.write("usr/morv/etc/rc.d/S50off", "#!/bin/sh\n", 0644);
    root.path("usr/morv/etc/rc.d/S60folder/x");
    EXPECT_EQ(MORVServiceOnOffALL(MORV_SERVICES_START), 0);
    EXPECT_EQ(root.calls(), "S10b start\nS20a start\nS99c d start\n");
    root.tool("usr/morv/etc/rc.d/S20a", "exit 3");
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, MORVServiceOnOffALL(MORV_SERVICES_STOP)));
    EXPECT_EQ(root.calls(), "S99c d stop\nS20a stop\nS10b stop\n");
    EXPECT_TRUE(refuses(-1, MORVServiceOnOffALL(0)));
}

TEST(BusyVolumes, AreThoseOfARunningProcess) {
    const ScratchRoot root;
    root.write("proc/77/stat", "77 (mke2fs) D 1 77\n");
    const std::string too_long =
        "pid=77\naction=create\nstep=mkfs\nvol_path=\"/volume2\"\n" + std::string(65536, '\n');
    const struct {
        const char *text;
        int busy;
    } cases[] = {
        {"pid=77\naction=create\nstep=mkfs\nvol_path=\"/volume2\"\n", 1},
        {" vol_path = \"/volume2\" \n step = mkfs\naction=\"create\"\n\npid = 77", 1},
        {"pid=78\naction=create\nstep=mkfs\nvol_path=\"/volume2\"\n", 0},
        {"pid=-77\naction=create\nstep=mkfs\nvol_path=\"/volume2\"\n", 0},
        {"pid=77\naction=create\nstep=mkfs\nvol_path=\"/volume20\"\n", 0},
        {"action=create\nstep=mkfs\nvol_path=\"/volume2\"\n", 0},
        {"pid=77\n", 0},
        {"", 0},
        {too_long.c_str(), 0},
    };
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_TRUE(gives(0, ERR_SUCCESS, VolumeIsActioning("/volume2", nullptr)));
    for (const auto &[text, busy] : cases) {
        root.write("tmp/webman/modules/volume", text);
        VOLUME_PROGRESS progress = {};
        EXPECT_EQ(VolumeIsActioning("/volume2", &progress), busy) << text;
        EXPECT_STREQ(progress.szAction, busy ? "create" : "") << text;
        EXPECT_STREQ(progress.szStep, busy ? "mkfs" : "") << text;
        EXPECT_EQ(progress.pid, busy ? 77 : 0) << text;
    }
    EXPECT_TRUE(refuses(-1, VolumeIsActioning("", nullptr)));
    // What is no regular file.
    const std::string file = root.path("tmp/webman/modules/volume");
    sockaddr_un name = {AF_UNIX, {}};
    snprintf(name.sun_path, sizeof name.sun_path, "%s", file.c_str());
    const std::function<int()> others[] = {
        [&] { return symlink("/proc/version", file.c_str()); },
        [&] { return mkfifo(file.c_str(), 0666); },
        [&] {
            const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
            const int bound = bind(fd, reinterpret_cast<sockaddr *>(&name), sizeof name);
            return close(fd) == 0 ? bound : -1;
        },
        [&] { return mkdir(file.c_str(), 0777); },
    };
    for (const auto &make : others) {
        remove(file.c_str());
        ASSERT_EQ(make(), 0);
        EXPECT_TRUE(gives(0, ERR_SUCCESS, VolumeIsActioning("/volume2", nullptr))) << mode_of(file);
    }
    root.write("tmp/other/webman", "no folder");
    rename(root.path("tmp/webman").c_str(), root.path("tmp/away").c_str());
    rename(root.path("tmp/other/webman").c_str(), root.path("tmp/webman").c_str());
    EXPECT_TRUE(gives(0, ERR_SUCCESS, VolumeIsActioning("/volume2", nullptr)));
}

struct Export : testing::Test {
    Export() {
        MLIBErrSet(ERR_SUCCESS);
        fail_ioctl(0, 0);
        root.real_umount();
        root.write("volume1/plans/kept", "by hand");  // lies where the volume was mounted over it
        root.write("etc/fstab",
                   "# /dev/md2 /volume1 ext4\n"
                   "/dev/md2  /volume1\text4 defaults 0 0\n"
                   "/dev/md11 /volume10 ext4 defaults 0 0\n"
                   "LABEL=z /volume1/ ext4 defaults 0 0\n"
                   "LABEL=x\t/volume\\0611 ext4 defaults 0 0\n"
                   " LABEL=y\t/volume\\061 ext4 defaults 0 0\n"
                   "/volume1 /mnt none bind");
        mount();
    }
    void mount() const { root.mounts("/dev/md2 /volume1 ext4 rw 0 0\n/dev/md11 /volume10 ext4 rw 0 0\n"); }
    StorageRoot<AccountRoot> root;
};

constexpr char kRestOfFstab[] =
    "# /dev/md2 /volume1 ext4\n"
    "/dev/md11 /volume10 ext4 defaults 0 0\n"
    "LABEL=x\t/volume\\0611 ext4 defaults 0 0\n"
    "/volume1 /mnt none bind";

TEST_F(Export, AVolumeGoesWithItsSharesButNotTheirFiles) {
    // The second one lies under the first.
    root.mounts("/dev/md2 /volume1 ext4 rw 0 0\n/dev/md3 /volume1 ext4 rw 0 0\n");
    EXPECT_EQ(VolumeUnExport("/volume1"), 0);
    EXPECT_EQ(root.calls(), "umount -f ROOT/volume1\numount -f ROOT/volume1\n");
    EXPECT_EQ(root.read("etc/fstab"), kRestOfFstab);
    EXPECT_EQ(root.read("usr/morv/etc/smb.conf").find("/volume1"), std::string::npos);
    EXPECT_EQ(root.read("etc/exports"), "");
    EXPECT_EQ(root.read("volume1/plans/kept"), "by hand");
    EXPECT_EQ(stat_of(root.dir() + "/@tmp").st_ino, 0U);
    MORVSHARE *share = nullptr;
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_SHARE, MORVShareGet("plans", &share)));
    // Again, with nothing left to do.
    EXPECT_EQ(VolumeUnExport("/volume1"), 0);
    EXPECT_EQ(root.calls(), "");
}

TEST_F(Export, WhatIsMountedInAVolumeGoesFirstAndWhatHoldsItStops) {
    const std::string other = "/dev/md11 /volume10 ext4 rw 0 0\n";
    const std::string unmounted =
        "umount -f ROOT/volume1/plans/a\numount -f ROOT/volume1/plans\numount -f ROOT/volume1\n";
    root.real_umount();
    const std::string umount = root.read("bin/umount");
    root.tool("usr/morv/etc/rc.d/S20samba", "rm -f \"$MORV_ROOT/held\"");
    for (const bool is_held : {false, true}) {
        root.mounts("/dev/md2 /volume1 ext4 rw 0 0\n" + other +
                    "/dev/sdq1 /volume1/plans vfat rw 0 0\n/dev/sdr1 /volume1/plans/a vfat rw 0 0\n");
        if (is_held) root.write("held", "");
        root.tool("bin/umount",
                  "[ ! -e \"$MORV_ROOT/held\" ] || exit 1\n" + umount.substr(umount.find("line=")));
        EXPECT_EQ(VolumeUnExport("/volume1"), 0);
        EXPECT_EQ(root.calls(),
                  is_held ? "umount -f ROOT/volume1/plans/a\nS20samba stop\n" + unmounted + "S20samba start\n"
                          : unmounted);
        EXPECT_EQ(root.read("proc/mounts"), "rootfs / rootfs rw 0 0\n" + other);
    }
}

TEST_F(Export, SharesInOneAnotherLeaveNoExports) {
    root.write("usr/morv/etc/smb.conf", root.read("usr/morv/etc/smb.conf") +
                                            "[within]\n\tpath = /volume1/plans/in\n"
                                            "[same]\n\tpath = /volume1/plans/in/\n");
    root.write("etc/exports", "/volume1/plans *(rw)\n/volume1/plans/in *(ro)\n/volume10/plans *(rw)\n");
    EXPECT_EQ(VolumeUnExport("/volume1"), 0);
    EXPECT_EQ(root.read("etc/exports"), "/volume10/plans *(rw)\n");
}

TEST_F(Export, NothingIsDeletedFromAVolumeThatIsStillMounted) {
    const auto files = root.files();
    root.tool("usr/morv/etc/rc.d/S20samba");
    for (const char *script : {"exit 1", "exit 0"}) {
        root.tool("bin/umount", script);
        EXPECT_TRUE(gives(-1, ERR_DEVICE_BUSY, VolumeUnExport("/volume1"))) << script;
        EXPECT_EQ(root.calls(),
                  "umount -f ROOT/volume1\nS20samba stop\numount -f ROOT/volume1\nS20samba start\n");
    }
    root.mounts("/dev/sdq1 /volume1/plans vfat rw 0 0\n");
    EXPECT_TRUE(gives(-1, ERR_DEVICE_BUSY, VolumeUnExport("/volume1")));
    root.calls();
    remove(root.path("proc/mounts").c_str());
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, VolumeUnExport("/volume1")));
    EXPECT_EQ(root.calls(), "");
    EXPECT_EQ(root.files(), files);
    EXPECT_NE(root.read("etc/fstab"), kRestOfFstab);
    mount();
    for (const char *path :
         {"/music", "", "/volume1/plans", "/volumeUSB1/", "/volumeUSB1/a", "/volumeUSB1/.."})
        EXPECT_TRUE(refuses(-1, VolumeUnExport(path))) << path;
    EXPECT_TRUE(refuses(-1, VolumeUnExport(nullptr)));
}

TEST_F(Export, VolumesWhoseArraysAreGoneAreRemoved) {
    const auto is_exported = [&] { return root.read("etc/fstab") != kRestOfFstab; };
    // Not one that runs, or cannot be asked.
    root.array(2, "raid1", {"in_sync", "in_sync"});
    root.array(11, "raid1", {"in_sync", "in_sync"});
    EXPECT_EQ(MORVVolRemoveStaleVolumes(), 0);
    remove(root.path("dev/md2").c_str());
    EXPECT_EQ(MORVVolRemoveStaleVolumes(), 0);
    root.mounts("/dev/md002 /volume1 ext4 rw 0 0\n");
    EXPECT_EQ(MORVVolRemoveStaleVolumes(), 0);
    EXPECT_EQ(root.calls(), "");
    // Not one of a group of which one array runs, or of which nothing is known.
    root.mounts("/dev/mapper/vg1-lv /volume1 ext4 rw 0 0\n/dev/md9 /mnt ext4 rw 0 0\n");
    root.write("tmp/lvm.status", "[/dev/vg1]\n/dev/md7=1\n/dev/md11=0\n");
    EXPECT_EQ(MORVVolRemoveStaleVolumes(), 0);
    root.write("tmp/lvm.status", "[/dev/vg1]\n[/dev/vg2]\n/dev/md7=0\n");
    EXPECT_EQ(MORVVolRemoveStaleVolumes(), 0);
    EXPECT_TRUE(is_exported());
    EXPECT_EQ(root.calls(), "");
    // None of the group runs: one array has its device still, the other has nothing left.
    root.write("dev/md7", "");
    root.write("tmp/lvm.status", "[/dev/vg1]\n/dev/md7=1\n/dev/md8=0\n");
    EXPECT_EQ(MORVVolRemoveStaleVolumes(), 0);
    EXPECT_FALSE(is_exported());
    EXPECT_EQ(root.calls(), "umount -f ROOT/volume1\n");
    // One that cannot be removed does not keep the others.
    mount();
    remove(root.path("sys/block/md2/md/level").c_str());
    remove(root.path("sys/block/md11/md/level").c_str());
    root.write("dev/md2", "");
    root.tool("bin/umount", "exit 1");
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_TRUE(gives(-1, ERR_DEVICE_BUSY, MORVVolRemoveStaleVolumes()));
    EXPECT_EQ(root.calls(),
              "umount -f ROOT/volume1\numount -f ROOT/volume1\n"
              "umount -f ROOT/volume10\numount -f ROOT/volume10\n");
}

TEST_F(Export, WhatLivesOutlastsWhatIsGone) {
    const AccountRoot::Files files = root.files();
    root.array(2, "raid1", {"in_sync", "in_sync"});
    const std::string fstab = root.read("etc/fstab"), live = "/dev/md2 /volume1 ext4 rw 0 0\n",
                      within = "/dev/sdq1 /volume1/plans vfat rw 0 0\n";
    const std::string unmount = "umount -f ROOT/volume1\n";
    const struct {
        std::string mounts;
        const char *then;  // what an umount is followed by
        std::string calls, left;
    } cases[] = {
        {live + within + "/dev/md6 /volume1 ext4 rw 0 0\n", "", unmount, live + within},
        {live + "/dev/md6 /volume1 ext4 rw 0 0\n" + within, "", "umount -f ROOT/volume1/plans\n" + unmount,
         live},
        {within + "/dev/md6 /volume1 ext4 rw 0 0\n", "", unmount, within},
        // Mounted anew while another is taken down.
        {"/dev/md6 /volume0 ext4 rw 0 0\n/dev/md7 /volume1 ext4 rw 0 0\n", "sed -i 's/md7/md2/' ",
         "umount -f ROOT/volume0\n", live},
    };
    for (const auto &[mounts, then, calls, left] : cases) {
        root.mounts(mounts);
        root.real_umount(*then ? then + std::string("\"$MORV_ROOT/proc/mounts\"") : "");
        EXPECT_EQ(MORVVolRemoveStaleVolumes(), 0);
        EXPECT_EQ(root.calls(), calls) << mounts;
        EXPECT_EQ(root.read("proc/mounts"), "rootfs / rootfs rw 0 0\n" + left);
        EXPECT_EQ(root.read("etc/fstab"), fstab) << mounts;
        EXPECT_EQ(root.files(), files) << mounts;
    }
}

TEST_F(Export, ALackOfMemoryLeavesNoLockAndNoServiceStopped) {
    root.real_umount();
    const std::string umount = root.read("bin/umount"), fstab = root.read("etc/fstab");
    root.tool("usr/morv/etc/rc.d/S20samba", "rm -f \"$MORV_ROOT/held\"");
    root.tool("bin/umount", "[ ! -e \"$MORV_ROOT/held\" ] || exit 1\n" + umount.substr(umount.find("line=")));
    const auto call = [&](int nth) {
        const int result = VolumeUnExport("/volume10");
        const bool reached = AllocFault::disarm();
        const std::string calls = root.calls();
        EXPECT_EQ(calls.find(" stop\n") != calls.npos, calls.ends_with("S20samba start\n")) << nth << calls;
        EXPECT_EQ(in_child([] {
                      ErrMLIBFileResetLock(0);
                      return ErrMLIBFileLock(MORV_LOCK_FSTAB | MORV_LOCK_WRITE, 0);
                  }),
                  0)
            << nth << " is still locked";
        EXPECT_TRUE(result != 0 || root.read("etc/fstab").find("/volume10") == std::string::npos) << nth;
        root.write("held", "");
        root.write("etc/fstab", fstab);
        mount();
        return reached;
    };
    root.write("held", "");
    EXPECT_GT(for_each_alloc_fault(call, true), 20);
}

TEST(TargetPrograms, AreEndedWhereTheyServeTheVolume) {
    const ScratchRoot root;
    const std::string program =
        root.write("iscsi_target.cgi", "#!/bin/sh\ntrap '' HUP\nwhile :; do sleep 1; done\n", 0755);
    const std::string other = root.write("other.cgi", "#!/bin/sh\nwhile :; do sleep 1; done\n", 0755);
    const auto start = [](const std::vector<const char *> &arguments, const char *file = nullptr) {
        const pid_t child = fork();
        if (child == 0) {
            std::vector<const char *> all = arguments;
            all.push_back(nullptr);
            execv(file ? file : all[0], const_cast<char *const *>(all.data()));
            _exit(127);
        }
        // Until it is the program, not a copy of this one.
        const std::string name = "/proc/" + std::to_string(child) + "/cmdline";
        for (int i = 0; i < 5000 && read_file(name).find(".cgi") == std::string::npos; ++i)
            usleep(1000);
        return child;
    };
    // The last one as an editor that is the same file as the shell would be called.
    const pid_t served = start({program.c_str(), "-t", "/volume987654"}),
                another = start({program.c_str(), "-t", "/volume9876"}),
                stranger = start({other.c_str(), "-t", "/volume987654"}),
                editor = start({"vi", program.c_str(), "/volume987654"}, "/bin/sh");
    EXPECT_EQ(MORVVolStopCGI("/volume987654"), 0);
    EXPECT_EQ(kill(served, 0), 0) << "ended in spite of the system root";
    MORVSysRootSet("");
    EXPECT_EQ(MORVVolStopCGI("/volume987654"), 0);
    int status = 0;
    EXPECT_EQ(waitpid(served, &status, WNOHANG), served);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    for (const pid_t left : {another, stranger, editor}) {
        EXPECT_EQ(waitpid(left, nullptr, WNOHANG), 0);
        kill(left, SIGKILL);
        waitpid(left, nullptr, 0);
    }
    EXPECT_TRUE(refuses(-1, MORVVolStopCGI("/music")));
    EXPECT_TRUE(refuses(-1, MORVVolStopCGI(nullptr)));
}

}  // namespace
