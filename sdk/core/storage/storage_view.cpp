#include "core/storage/storage_view.h"

#include <morvsdk/file.h>

#include "core/file/sys_path.h"

namespace morv {

int StorageView::lvm(const LvmStatus *&status) {
    if (!lvm_) {
        LvmStatus read;
        if (const int code = read.load()) return code;
        lvm_ = std::move(read);
    }
    status = &*lvm_;
    return 0;
}

bool StorageView::supports_raid() noexcept {
    if (!supports_raid_) {
        const SysPath model("/etc.defaults/morvinfo.conf");
        supports_raid_ = BlMORVFileCheckKeyValue(model.c_str(), "supportraid", "no", 0) != 1;
    }
    return *supports_raid_;
}

}  // namespace morv
