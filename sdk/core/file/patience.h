// Waiting for what another process holds:
//
//     Patience patience(10);
//     while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
//         if (!patience.wait()) return ERR_LOCK_FAILED;
//     }
#pragma once

#include <stdint.h>
#include <unistd.h>

#include <algorithm>

namespace morv {

class Patience {
  public:
    explicit Patience(unsigned seconds) noexcept : left_(int64_t{seconds} * 1000 * 1000) {}

    // Waits a moment, and answers whether there is time to try again. The moments are short: who holds a lock
    // often and only just lets go of it would be missed by those who look once a second.
    bool wait() noexcept {
        if (left_ <= 0) return false;
        usleep(step_);
        left_ -= step_;
        step_ = std::min(step_ * 2, 2000U);
        return true;
    }

  private:
    int64_t left_;  // microseconds
    unsigned step_ = 250;
};

}  // namespace morv
