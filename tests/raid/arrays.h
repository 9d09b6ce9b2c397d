// A machine with arrays in a scratch root: its "/sys", its devices, and tools that write down how they were called.
#pragma once

#include <morvsdk/disk.h>
#include <morvsdk/error.h>
#include <morvsdk/list.h>
#include <morvsdk/raid.h>

#include <memory>
#include <string>
#include <vector>

#include "support/fake_md.h"
#include "support/outcome.h"
#include "support/scratch.h"

namespace testing_support {

template <auto Free>
struct FreeWith {
    template <class T>
    void operator()(T *p) const {
        Free(p);
    }
};
using Info = std::unique_ptr<RAID_INFO, FreeWith<RAIDInfoFree>>;
using Superblocks = std::unique_ptr<RAID_SB_LIST, FreeWith<RAIDScanFree>>;
using Names = std::unique_ptr<MLIBSZLIST, FreeWith<MLIBSzListFree>>;

inline Names names_of(const std::vector<std::string> &names) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(0);
    for (const std::string &name : names)
        EXPECT_GE(MLIBSzListPush(&list, name.c_str()), 0);
    return Names(list);
}

inline std::vector<std::string> texts_of(const Names &list) {
    return {list->pszItem, list->pszItem + list->nItem};
}

struct Member {
    std::string name, state = "in_sync", slot = "0";
};

struct Machine : ScratchRoot {
    Machine() {
        fail_ioctl(0, 0);
        MLIBErrSet(ERR_SUCCESS);
        tool("sbin/mdadm", "");
    }

    // `script` runs after the call was written down, the root taken out of the arguments.
    void tool(const std::string &name, const std::string &script) const {
        write(name,
              "#!/bin/sh\necho \"" + name + " $*\" | sed \"s,$MORV_ROOT,,g\" >>\"$MORV_ROOT/calls\"\n" +
                  script + "\n",
              0755);
    }

    // What the tools were called with since the last time.
    std::string calls() const {
        const std::string text = stat_of(path("calls")).st_mode ? read("calls") : "";
        write("calls", "");
        return text;
    }

    void array(int number, const std::string &level, int slots, const std::vector<Member> &members,
               long long component_kib = 1000) const {
        const std::string name = "md" + std::to_string(number), md = "sys/block/" + name + "/md/";
        write("dev/" + name, "");
        write("sys/block/" + name + "/size", "8000\n");
        write("sys/block/" + name + "/queue/read_ahead_kb", "");
        write(md + "level", level + "\n");
        write(md + "raid_disks", std::to_string(slots) + "\n");
        write(md + "component_size", std::to_string(component_kib) + "\n");
        for (const Member &member : members) {
            write(md + "dev-" + member.name + "/state", member.state + "\n");
            write(md + "dev-" + member.name + "/slot", member.slot + "\n");
        }
    }

    void disk(const std::string &name, uint64_t sectors) const {
        write("dev/" + name, "");
        write("sys/block/" + name + "/size", std::to_string(sectors) + "\n");
    }

    void partition(const std::string &disk_name, int number, uint64_t start, uint64_t sectors) const {
        const std::string name = disk_name + std::to_string(number),
                          folder = "sys/block/" + disk_name + "/" + name;
        write("dev/" + name, "");
        write(folder + "/partition", std::to_string(number) + "\n");
        write(folder + "/start", std::to_string(start) + "\n");
        write(folder + "/size", std::to_string(sectors) + "\n");
    }
};

inline Info info_of(const char *path) {
    RAID_INFO *info = nullptr;
    EXPECT_EQ(RAIDInfoGet(path, &info), 1) << path << std::hex << MLIBErrGet();
    return Info(info);
}

}  // namespace testing_support
