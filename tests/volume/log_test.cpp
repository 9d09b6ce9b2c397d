#include <gtest/gtest.h>
#include <morvsdk/fs.h>
#include <morvsdk/lvm.h>
#include <morvsdk/volume.h>
#include <syslog.h>

#include <functional>
#include <optional>

#include "support/alloc_fault.h"
#include "support/fake_syslog.h"
#include "volume/storage.h"

namespace {

using namespace testing_support;

TEST(TheLog, HasALineForEveryFailure) {
    const StorageRoot<> root;
    char small[4];
    VOLUME_INFO *info = nullptr;
    VOLUME_INFO_LIST *volumes = nullptr;
    VOLUME_MOUNT mount = {}, *mounts = nullptr;
    VOLUME_INFO record = {};
    mount.mounted = mount.writable = mount.location = 1;
    snprintf(mount.szMountPoint, sizeof mount.szMountPoint, "/volume1");
    const auto break_group = [&] {
        root.mounts("/dev/vg1/lv /volume1 ext4 rw 0 0\n");
        root.write("tmp/lvm.status", "[/dev/vg1]\nbroken\n");
    };
    const auto lose_room = [&] { root.mounts("/dev/md2 /volume9 ext4 rw 0 0\n"); };
    bool has_memory = true;
    const auto lose_memory = [&] { has_memory = false; };
    const auto nothing = [] {};
    // What goes wrong, what is called then, and the text of the line as far as it is certain.
    const struct {
        std::function<void()> prepare;
        std::function<void()> call;
        const char *line;
    } cases[] = {
        {nothing, [&] { MORVVolIDParse("/volumeX2/a"); }, "7 vol_id_parse:"},
        {nothing, [&] { VolumePathSwitch("/volume1", 1, small, 4); }, "7 volume_path_switch:"},
        {nothing, [&] { LVMPathSwitch("/dev/vg1/lv", 1, small, 4); }, "7 lvm_path_switch:"},
        {nothing, [&] { VolumeWritableGetFirst(&mount, 1, small, 4, nullptr); },
         "7 volume_writable_get_first:"},
        {lose_room, [&] { MORVVolInfoGet(9, &mount); }, "7 mount_record:"},
        {break_group, [&] { VolumeInfoGet("/volume1", &info); }, "7 volume_info_get:"},
        {break_group, [&] { VolumeInfoEnum(&volumes); }, "7 volume_info_list_enum:"},
        {break_group, [&] { MORVVolRemoveStaleVolumes(); }, "3 vol_remove_stale_volumes:"},
        {lose_memory, [&] { VolumeInfoListPush(&volumes, &record); }, "7 volume_info_list_push:"},
        {lose_memory, [&] { MORVMountVolInfoEnum(&mounts); }, "7 mount_vol_info_enum:"},
        {lose_memory, [&] { MORVMountVolAllEnum(&mounts); }, "7 mount_vol_all_enum:"},
        {nothing, [&] { VolumeMount("/dev/md2", "/volume2"); }, "errno=127\n"},
        {[&] { root.tool("sbin/mount", "exit 32"); }, [&] { VolumeMount("/dev/md2", "/volume2"); },
         "errno=32\n"},
        {[&] { root.tool("bin/umount", "exit 16"); }, [&] { VolumeUnmount("/volume2"); }, "errno=16\n"},
    };
    int nth = 0;
    for (const auto &[prepare, call, line] : cases) {
        root.mounts("");
        root.write("tmp/lvm.status", "");
        has_memory = true;
        prepare();
        logged.clear();
        {
            std::optional<AllocFault> fault;
            if (!has_memory) fault.emplace(1, true);
            call();
        }
        EXPECT_NE(logged.find(line), logged.npos) << nth << ": " << line << " is not in " << logged;
        ++nth;
    }
}

TEST(TheLog, SaysThatTheMountsDoNotOpenButNotThatTheyDoWithoutMemory) {
    const StorageRoot<> root;
    VOLUME_MOUNT mount, *mounts = nullptr;
    VOLUME_INFO_LIST *volumes = nullptr;
    FS_INFO *fs = nullptr;
    const std::function<void()> readers[] = {
        [&] { MORVVolInfoGet(1, &mount); },     [&] { MORVMountVolInfoGet("/volume1", &mount); },
        [&] { MORVMountVolInfoEnum(&mounts); }, [&] { MORVMountVolAllEnum(&mounts); },
        [&] { VolumeInfoEnum(&volumes); },      [&] { FSInfoGet("/volume1", &fs); },
    };
    const std::function<void()> commands[] = {
        [&] { MORVRemountCrashRaidRo("/dev/md2"); },
        [&] { VolumeUnExport("/volume1"); },
        [&] { MORVVolRemoveStaleVolumes(); },
    };
    const auto says = [&](const std::function<void()> &call, int priority) {
        char code[16];
        logged.clear();
        call();
        snprintf(code, sizeof code, "[%X]", unsigned(ERR_OPEN_FAILED));
        const size_t at = logged.find(std::string(")") + code + "Failed to open /proc/mounts\n");
        const size_t begin = at == logged.npos ? at : logged.rfind('\n', at) + 1;
        return at != logged.npos && logged.compare(begin, 2, std::to_string(priority) + " ") == 0;
    };
    for (const auto &call : commands) {
        logged.clear();
        {
            const AllocFault fault(1, true);
            call();
        }
        EXPECT_EQ(logged.find("Failed to open"), logged.npos) << logged;
        EXPECT_NE(logged, "");
    }
    remove(root.path("proc/mounts").c_str());
    for (const auto &call : readers)
        EXPECT_TRUE(says(call, LOG_DEBUG)) << logged;
    for (const auto &call : commands)
        EXPECT_TRUE(says(call, LOG_ERR)) << logged;
}

}  // namespace
