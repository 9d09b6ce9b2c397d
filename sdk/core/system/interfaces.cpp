#include "core/system/interfaces.h"

#include <errno.h>
#include <morvsdk/errcodes.h>
#include <net/if.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "core/file/sys_path.h"
#include "core/text/field_text.h"
#include "core/text/lines.h"
#include "core/text/name_rule.h"
#include "core/text/trim.h"

namespace morv {

namespace {

bool ask(int fd, unsigned long what, const char *name, ifreq &request) noexcept {
    memset(&request, 0, sizeof request);
    return copy_text(request.ifr_name, name) && ioctl(fd, what, &request) == 0;
}

bool ask_address(int fd, unsigned long what, const char *name, uint32_t &address) noexcept {
    ifreq request;
    if (!ask(fd, what, name, request) || request.ifr_addr.sa_family != AF_INET) return false;
    sockaddr_in in;
    memcpy(&in, &request.ifr_addr, sizeof in);
    address = ntohl(in.sin_addr.s_addr);
    return true;
}

}  // namespace

bool is_interface_name(std::string_view name) noexcept {
    if (name.empty() || name.size() >= IFNAMSIZ) return false;
    if (!is_letter_or_digit(name[0]) && name[0] != '_') return false;
    for (const char c : name) {
        if (!is_letter_or_digit(c) && !strchr("_-.:", c)) return false;
    }
    return name.find("..") == name.npos;
}

int InterfaceNames::load() noexcept {
    // Some 130 bytes an interface: what is longer is no such file.
    constexpr size_t kMost = size_t{16} << 20;
    if (int code = text_.load_bounded(SysPath("/proc/net/dev").c_str(), kMost)) return code;
    for (int heading = 0; heading < 2; ++heading)
        at_ += line_at(text_.view(), at_).size();
    return 0;
}

const char *InterfaceNames::next() noexcept {
    while (at_ < text_.view().size()) {
        const std::string_view line = line_at(text_.view(), at_);
        at_ += line.size();
        const size_t colon = line.find(':');
        if (colon == line.npos) continue;
        const std::string_view name = trim_blanks(line.substr(0, colon));
        if (!name.empty() && copy_text(name_, name)) return name_;
    }
    return nullptr;
}

bool InterfaceSocket::open() noexcept {
    fd_.reset(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return bool(fd_);
}

bool InterfaceSocket::flags(const char *name, int16_t &flags) const noexcept {
    ifreq request;
    if (!ask(fd_.get(), SIOCGIFFLAGS, name, request)) return false;
    flags = request.ifr_flags;
    return true;
}

bool InterfaceSocket::hardware(const char *name, uint8_t (&address)[6]) const noexcept {
    ifreq request;
    if (!ask(fd_.get(), SIOCGIFHWADDR, name, request)) return false;
    memcpy(address, request.ifr_hwaddr.sa_data, sizeof address);
    return true;
}

bool InterfaceSocket::address(const char *name, uint32_t &address) const noexcept {
    return ask_address(fd_.get(), SIOCGIFADDR, name, address);
}

bool InterfaceSocket::netmask(const char *name, uint32_t &netmask) const noexcept {
    return ask_address(fd_.get(), SIOCGIFNETMASK, name, netmask);
}

}  // namespace morv
