// The kernel's network interfaces: which there are, and what it says of each.
#pragma once

#include <stdint.h>

#include <string_view>

#include "core/base/guard.h"
#include "core/file/file_text.h"

namespace morv {

// Whether a text can be an interface's name that may become a part of a path, of a key or of a command.
bool is_interface_name(std::string_view name) noexcept;

// The names in "/proc/net/dev", in the kernel's order:
//
//     InterfaceNames names;
//     if (int code = names.load()) return code;
//     while (const char *name = names.next()) ...
class InterfaceNames {
  public:
    // Answers 0, ERR_OPEN_FAILED, ERR_READ_FAILED or ERR_OUT_OF_MEMORY.
    int load() noexcept;

    // Null at the end. What does not fit is left out: cut, it would be the name of another. Valid until the
    // next call.
    const char *next() noexcept;

  private:
    FileText text_;
    size_t at_ = 0;
    char name_[16];
};

// Asks the kernel. Addresses are in host byte order.
class InterfaceSocket {
  public:
    // Answers whether it could be opened.
    bool open() noexcept;

    // False when there is no such interface, or it has none.
    bool flags(const char *name, int16_t &flags) const noexcept;
    bool hardware(const char *name, uint8_t (&address)[6]) const noexcept;
    bool address(const char *name, uint32_t &address) const noexcept;
    bool netmask(const char *name, uint32_t &netmask) const noexcept;

  private:
    UniqueFd fd_;
};

}  // namespace morv
