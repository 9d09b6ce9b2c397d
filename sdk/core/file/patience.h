// Waiting for what another process holds:
//
//     Patience patience(10);
//     while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
//         if (!patience.wait()) return ERR_LOCK_FAILED;
//     }
#pragma once

#include <errno.h>
#include <stdint.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace morv {

// Whether a file that could not be opened may open a moment later: others let go of what it takes.
inline bool may_pass(int reason) noexcept {
    constexpr int kPassing[] = {EINTR, EAGAIN, EBUSY, ETXTBSY, EMFILE, ENFILE, ENOMEM};
    return std::find(std::begin(kPassing), std::end(kPassing), reason) != std::end(kPassing);
}

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
