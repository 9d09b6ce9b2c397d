#include "core/storage/storage_view.h"

#include "core/file/key_value.h"

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
    if (!supports_raid_) supports_raid_ = !has_key_value("/etc.defaults/morvinfo.conf", "supportraid", "no");
    return *supports_raid_;
}

}  // namespace morv
