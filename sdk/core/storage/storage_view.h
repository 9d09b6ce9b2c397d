// What a lookup of volumes needs of the system's files, each read once and not before it is needed, so that
// many volumes cost little more than one, and all of them are judged by the same state.
#pragma once

#include <optional>

#include "core/storage/lvm_status.h"
#include "core/system/mounts.h"

namespace morv {

class StorageView {
  public:
    // Reads "/proc/mounts". Answers the codes of Mounts::load. May throw std::bad_alloc.
    int load(int priority = LOG_DEBUG) { return mounts_.load(priority); }

    const Mounts &mounts() const noexcept { return mounts_; }

    // Answers the codes of LvmStatus::load. May throw std::bad_alloc.
    int lvm(const LvmStatus *&status);

    // Whether the appliance's model has arrays.
    bool supports_raid() noexcept;

  private:
    Mounts mounts_;
    std::optional<LvmStatus> lvm_;
    std::optional<bool> supports_raid_;
};

}  // namespace morv
