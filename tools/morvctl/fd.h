// A file descriptor that closes itself, and reading from one.
#pragma once

#include <errno.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace morvctl {

class Fd {
  public:
    explicit Fd(int fd = -1) : fd_(fd) {}
    Fd(Fd &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Fd &operator=(Fd &&other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Fd() { reset(); }

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }
    void reset() {
        if (fd_ >= 0) close(std::exchange(fd_, -1));
    }

  private:
    int fd_;
};

// Appends all that is left to read, and answers whether it came to the end.
inline bool read_all(int fd, std::string &content) {
    char buffer[65536];
    for (;;) {
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got == 0) return true;
        if (got > 0) {
            content.append(buffer, size_t(got));
        } else if (errno != EINTR) {
            return false;
        }
    }
}

}  // namespace morvctl
