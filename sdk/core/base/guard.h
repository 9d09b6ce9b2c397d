// Owners of one resource each. They release silently; where the result of a release matters (close before a
// rename), the code calls it itself on the released resource.
#pragma once

#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <memory>
#include <utility>

namespace morv {

template <auto Release>
struct Releaser {
    template <class T>
    void operator()(T *p) const noexcept {
        Release(p);
    }
};

// A block from malloc.
template <class T>
using MallocPtr = std::unique_ptr<T, Releaser<::free>>;

using FilePtr = std::unique_ptr<FILE, Releaser<::fclose>>;
using DirPtr = std::unique_ptr<DIR, Releaser<::closedir>>;

class UniqueFd {
  public:
    UniqueFd() noexcept = default;
    explicit UniqueFd(int fd) noexcept : fd_(fd) {}
    UniqueFd(UniqueFd &&other) noexcept : fd_(other.release()) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept {
        reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;
    ~UniqueFd() { reset(); }

    explicit operator bool() const noexcept { return fd_ >= 0; }
    int get() const noexcept { return fd_; }
    int release() noexcept { return std::exchange(fd_, -1); }
    void reset(int fd = -1) noexcept {
        if (fd_ >= 0) ::close(fd_);
        fd_ = fd;
    }

  private:
    int fd_ = -1;
};

}  // namespace morv
