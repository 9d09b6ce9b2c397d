#include "core/account/account_lock.h"

#include <morvsdk/error.h>
#include <morvsdk/file.h>

#include <utility>

#include "core/account/account_files.h"

namespace morv {

namespace {

constexpr unsigned kSeconds = 5;
constexpr uint32_t kAll = MORV_LOCK_PW | MORV_LOCK_GR | MORV_LOCK_SMB;

int lock(uint32_t bits, uint32_t mode) noexcept {
    if (ErrMLIBFileLock(bits | mode, kSeconds) == 0) return 0;
    return MLIBErrGet() == ERR_CREATE_FAILED || MLIBErrGet() == ERR_OPEN_FAILED ? MLIBErrGet()
                                                                                : int{ERR_LOCK_FAILED};
}

// Nothing may be held: the locks are taken together, in their one order.
int finish() noexcept {
    if (const int code = lock(kAll, MORV_LOCK_WRITE)) return code;
    const int code = finish_interrupted();
    ErrMLIBFileUnlock(kAll);
    return code;
}

}  // namespace

AccountLock::~AccountLock() {
    release();
}

int AccountLock::read(uint32_t bits) noexcept {
    if (const int code = lock(bits, MORV_LOCK_READ)) return code;
    held_ = bits;
    if (!is_interrupted(bits)) return 0;
    release();
    // Who may not write the files reads them as they are.
    finish();
    if (const int code = lock(bits, MORV_LOCK_READ)) return code;
    held_ = bits;
    return 0;
}

int AccountLock::write(uint32_t bits) noexcept {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (const int code = lock(bits, MORV_LOCK_WRITE)) return code;
        held_ = bits;
        if (!is_interrupted(bits)) {
            drop_undecided(bits);
            return 0;
        }
        release();
        if (const int code = finish()) return code;
    }
    return ERR_LOCK_FAILED;
}

int AccountLock::release() noexcept {
    const uint32_t bits = std::exchange(held_, 0);
    return bits == 0 || ErrMLIBFileUnlock(bits) == 0 ? 0 : ERR_UNLOCK_FAILED;
}

}  // namespace morv
