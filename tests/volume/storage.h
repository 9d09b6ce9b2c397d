// A scratch root with arrays, mounted file systems and tools that write down how they were called.
#pragma once

#include <stdlib.h>

#include <string>
#include <vector>

#include "support/fake_md.h"
#include "support/scratch.h"
#include "support/tool_root.h"

namespace testing_support {

template <class Base = ScratchRoot>
class StorageRoot : public ToolRoot<Base> {
  public:
    using Base::path;
    using Base::read;
    using Base::write;
    using ToolRoot<Base>::tool;

    StorageRoot() {
        path("sys/block/x");
        path("tmp/x");
        write("proc/mounts", "rootfs / rootfs rw 0 0\n");
        tool("bin/grep", "exec grep \"$@\"");
    }

    // An array of partitions 3 of the disks "sda", "sdb"..., one for each state: "in_sync", "faulty",
    // "error"...
    void array(int number, const std::string &level, const std::vector<std::string> &states,
               int partition = 3) const {
        const std::string name = "md" + std::to_string(number), md = "sys/block/" + name + "/md/";
        write("dev/" + name, "");
        write("sys/block/" + name + "/size", "4096\n");
        write(md + "level", level + "\n");
        write(md + "raid_disks", std::to_string(states.size()) + "\n");
        write(md + "component_size", "1024\n");
        write(md + "sync_status", "0 0 0\n");
        char disk = 'a';
        for (const std::string &state : states) {
            const std::string member = md + "dev-sd" + disk++ + std::to_string(partition) + "/";
            write(member + "state", state + "\n");
            write(member + "slot", "0\n");
        }
    }

    void mounts(const std::string &lines) const { write("proc/mounts", "rootfs / rootfs rw 0 0\n" + lines); }

    // An empty ext4 file system with this state word.
    void superblock(const std::string &device, int state) const {
        std::string bytes(2048, '\0');
        bytes[1024 + 56] = '\x53';
        bytes[1024 + 57] = '\xEF';
        bytes[1024 + 58] = static_cast<char>(state);
        write(device, bytes);
    }

    // An umount that works: what was mounted last goes.
    void real_umount(const std::string &then = "") const {
        tool("bin/umount",
             "line=$(grep -n \" ${2#$MORV_ROOT} \" \"$MORV_ROOT/proc/mounts\" | tail -n 1)\n"
             "sed \"${line%%:*}d\" \"$MORV_ROOT/proc/mounts\" >\"$MORV_ROOT/rest\"\n"
             "cat \"$MORV_ROOT/rest\" >\"$MORV_ROOT/proc/mounts\"\n" +
                 then);
    }
};

}  // namespace testing_support
