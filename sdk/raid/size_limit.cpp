#include "raid/size_limit.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "core/file/sys_path.h"
#include "core/system/sysfs.h"
#include "core/text/fields.h"

namespace morv {

namespace {

// Everybody may make files in "/tmp".
bool is_trusted(const std::string &name) {
    struct stat st;
    const SysPath path(("/tmp/" + name).c_str());
    return lstat(path.c_str(), &st) == 0 && (st.st_uid == 0 || st.st_uid == geteuid());
}

}  // namespace

int read_size_limit(uint32_t &kib) {
    std::vector<std::string> names;
    kib = 0;
    if (const int code = list_names("/tmp", "volume.", names)) return code;
    const auto first = std::find_if(names.begin(), names.end(), is_trusted);
    if (first == names.end()) return 0;
    const int64_t gib =
        std::max<int64_t>(0, leading_number(std::string_view(*first).substr(first->rfind('.') + 1)));
    kib = static_cast<uint32_t>(std::min<int64_t>(gib << 20, UINT32_MAX));
    return 0;
}

}  // namespace morv
