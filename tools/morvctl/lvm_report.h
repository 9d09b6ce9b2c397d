// What LVM says of its physical volumes.
#pragma once

#include <string>
#include <vector>

namespace morvctl {

struct PhysicalVolume {
    std::string path;   // "/dev/md2"; "" when LVM does not know where it was
    std::string group;  // "/dev/vg1"
    bool missing = false;
};

struct LvmReport {
    std::vector<PhysicalVolume> volumes;
    std::vector<std::string> foreign;  // groups that are none of the appliance's, "/dev/vg" and a number
};

// Reads the JSON report of `pvs -o pv_name,vg_name,pv_missing`. `name` is where it is from, for messages.
// What is anything else is refused.
LvmReport parse_lvm_report(const std::string &text, const std::string &name);

}  // namespace morvctl
