// The lock of a configuration family, held for a scope.
#pragma once

#include <morvsdk/file.h>
#include <stdint.h>

#include <utility>

namespace morv {

class FamilyLock {
  public:
    // Takes it, waiting up to five seconds; the error state holds the code when it cannot be had.
    explicit FamilyLock(uint32_t request) noexcept
        : bits_(ErrMLIBFileLock(request, kSeconds) == 0 ? request & ~uint32_t{0xF} : 0) {}
    ~FamilyLock() { release(); }
    FamilyLock(const FamilyLock &) = delete;
    FamilyLock &operator=(const FamilyLock &) = delete;

    bool is_held() const noexcept { return bits_ != 0; }

    // Answers whether it was given up properly.
    bool release() noexcept { return bits_ == 0 || ErrMLIBFileUnlock(std::exchange(bits_, 0)) == 0; }

  private:
    static constexpr unsigned kSeconds = 5;
    uint32_t bits_;
};

}  // namespace morv
