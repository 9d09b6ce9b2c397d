#include <morvsdk/error.h>
#include <string.h>

#include <string>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/volume_name.h"
#include "core/text/list_guard.h"
#include "volume/volume_info.h"

using namespace morv;

namespace {

class Enumeration {
  public:
    ~Enumeration() { VolumeInfoListFree(list_); }

    int run() {
        if (const int code = view_.load()) return code;
        int code = add_mounted();
        if (code == 0) code = add_groups();
        if (code == 0) code = add_arrays();
        return code;
    }

    int count() const noexcept { return count_; }
    VOLUME_INFO_LIST *release() noexcept { return std::exchange(list_, nullptr); }

  private:
    int add_mounted() {
        for (const Mount &mount : view_.mounts().all()) {
            if (!is_fixed_volume(mount.point)) continue;
            if (const int code = add(std::string(mount.point).c_str())) return code;
        }
        return 0;
    }

    int add_groups() {
        const LvmStatus *lvm;
        if (const int code = view_.lvm(lvm)) return code;
        for (const std::string_view group : lvm->groups()) {
            if (const int code = add_by(VOLUME_SEARCH_VG, std::string(group).c_str(), VG_TO_VOLUME))
                return code;
        }
        return 0;
    }

    int add_arrays() {
        ListPtr arrays(PslMLIBSzListAlloc(1024));
        if (!arrays) return ERR_OUT_OF_MEMORY;
        MLIBSZLIST *list = arrays.release();
        const int code = RAIDPathEnum(&list);
        arrays.reset(list);
        if (code != 0) return kErrorIsSet;
        for (int i = 0; i < list->nItem; ++i) {
            const char *const array = SzMLIBSzListGet(list, i);
            if (strcmp(array, "/dev/md0") == 0 || strcmp(array, "/dev/md1") == 0) continue;
            if (const int failed = add_by(VOLUME_SEARCH_RAID, array, RAID_TO_VOLUME)) return failed;
        }
        return 0;
    }

    // The volume of what lies under it, unless a volume on it is there already.
    int add_by(int mode, const char *key, int option) {
        const VOLUME_CRITERIA criteria = {mode, key};
        if (VolumeInfoListSearch(list_, &criteria, nullptr) == 1) return 0;
        MappedPath path;
        if (map_path(key, option, path)) return add(path);
        MORV_LOG(LOG_DEBUG, "No volume has %s", key);
        return ERR_BAD_PARAMETERS;
    }

    int add(const char *path) {
        for (const VOLUME_INFO_LIST *node = list_; node; node = node->pNext) {
            if (strcmp(node->pInfo->szPath, path) == 0) return 0;
        }
        VolumePtr info;
        if (const int code = return_volume(view_, path, info)) return code;
        if (!info) {
            MORV_LOG(LOG_DEBUG, "Found nothing of %s", path);
            return ERR_PATH_NOT_FOUND;
        }
        if (VolumeInfoListPush(&list_, info.get()) != 0) return kErrorIsSet;
        static_cast<void>(info.release());
        ++count_;
        return 0;
    }

    StorageView view_;
    VOLUME_INFO_LIST *list_ = nullptr;
    int count_ = 0;
};

}  // namespace

extern "C" int VolumeInfoEnum(VOLUME_INFO_LIST **list) noexcept {
    if (!list) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    Enumeration enumeration;
    const int code = no_throw([&] { return enumeration.run(); });
    if (code == kErrorIsSet) return -1;
    if (code) return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to list volumes, errno=0X%X", unsigned(code));
    *list = enumeration.release();
    return enumeration.count();
}
