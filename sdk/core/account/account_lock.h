// The locks of the account families, and what a killed process left behind them.
#pragma once

#include <stdint.h>

namespace morv {

class AccountLock {
  public:
    AccountLock() noexcept = default;
    ~AccountLock();
    AccountLock(const AccountLock &) = delete;
    AccountLock &operator=(const AccountLock &) = delete;

    // Takes the locks of `bits` (MORV_LOCK_PW, MORV_LOCK_GR, MORV_LOCK_SMB), waiting up to 5 seconds. What a
    // process that was killed in the middle of a change has left is finished first, where this process may.
    // Answer 0 or ERR_LOCK_FAILED or the code of what could not be finished.
    int read(uint32_t bits) noexcept;
    int write(uint32_t bits) noexcept;

    // Gives the locks up. Answers 0 or ERR_UNLOCK_FAILED.
    int release() noexcept;

  private:
    uint32_t held_ = 0;
};

}  // namespace morv
