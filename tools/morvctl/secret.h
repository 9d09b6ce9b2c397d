// Text that is overwritten before its memory is given back: passwords, and files that hold them.
#pragma once

#include <stddef.h>

#include <string>
#include <utility>

namespace morvctl {

class Secret {
  public:
    Secret() = default;
    Secret(Secret &&other) noexcept
        : text_(std::exchange(other.text_, nullptr)),
          length_(std::exchange(other.length_, 0)),
          room_(std::exchange(other.room_, 0)) {}
    Secret &operator=(Secret &&other) noexcept {
        std::swap(text_, other.text_);
        std::swap(length_, other.length_);
        std::swap(room_, other.room_);
        return *this;
    }
    ~Secret();

    const char *c_str() const { return text_ ? text_ : ""; }
    char *data() { return text_; }
    size_t size() const { return length_; }
    void push_back(char c) {
        reserve(length_ + 1);
        text_[length_++] = c;
        text_[length_] = '\0';
    }

    // Reads to the end.
    void read_all(int fd, const std::string &name);

  private:
    void reserve(size_t length);

    char *text_ = nullptr;
    size_t length_ = 0;
    size_t room_ = 0;
};

// A new password: asked for twice without echo where standard input is a terminal, else its first line.
Secret read_password(const std::string &user);

// One that nobody knows.
Secret random_password();

}  // namespace morvctl
