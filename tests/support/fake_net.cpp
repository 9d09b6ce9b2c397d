#include "support/fake_net.h"

#include <arpa/inet.h>
#include <errno.h>
#include <net/if.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <new>

namespace {

char chosen_root[4096];

int answer(int error) {
    errno = error;
    return error ? -1 : 0;
}

bool read_text(const std::string &path, std::string &text) {
    FILE *const file = fopen(path.c_str(), "re");
    if (!file) return false;
    char room[256];
    text.assign(room, fread(room, 1, sizeof room, file));
    fclose(file);
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return true;
}

int give_hardware(const std::string &folder, sockaddr &hardware) {
    std::string text;
    if (!read_text(folder + "/address", text)) return answer(EADDRNOTAVAIL);
    unsigned byte[6];
    if (sscanf(text.c_str(), "%x:%x:%x:%x:%x:%x", byte, byte + 1, byte + 2, byte + 3, byte + 4, byte + 5) !=
        6)
        return answer(EIO);
    for (int i = 0; i < 6; ++i)
        hardware.sa_data[i] = char(byte[i]);
    return answer(0);
}

int give_address(const std::string &folder, bool wants_netmask, sockaddr &address) {
    std::string text;
    if (!read_text(folder + "/ipv4", text)) return answer(EADDRNOTAVAIL);
    const size_t slash = text.find('/');
    sockaddr_in in = {};
    in.sin_family = AF_INET;
    const std::string part = wants_netmask ? text.substr(slash + 1) : text.substr(0, slash);
    if (slash == text.npos || inet_pton(AF_INET, part.c_str(), &in.sin_addr) != 1) return answer(EIO);
    memcpy(&address, &in, sizeof address);
    return answer(0);
}

int play(int fd, unsigned long request, void *argument) {
    const bool is_played = request == SIOCGIFFLAGS || request == SIOCGIFADDR || request == SIOCGIFNETMASK ||
                           request == SIOCGIFHWADDR;
    const char *const env = getenv("MORV_ROOT");
    const std::string interfaces = std::string(*chosen_root ? chosen_root
                                               : env        ? env
                                                            : "") +
                                   "/sys/class/net";
    const bool has_root = *chosen_root || (env && *env);
    if (!is_played || !has_root || access(interfaces.c_str(), F_OK) != 0)
        return int(syscall(SYS_ioctl, fd, request, argument));
    ifreq &asked = *static_cast<ifreq *>(argument);
    const std::string folder =
        interfaces + "/" + std::string(asked.ifr_name, strnlen(asked.ifr_name, IFNAMSIZ));
    std::string flags;
    if (!read_text(folder + "/flags", flags)) return answer(ENODEV);
    switch (request) {
        case SIOCGIFFLAGS:
            asked.ifr_flags = short(strtoul(flags.c_str(), nullptr, 16));
            return answer(0);
        case SIOCGIFHWADDR:
            return give_hardware(folder, asked.ifr_hwaddr);
        default:
            return give_address(folder, request == SIOCGIFNETMASK, asked.ifr_addr);
    }
}

bool write_text(const std::string &path, const std::string &text) {
    FILE *const file = fopen(path.c_str(), "we");
    if (!file) return false;
    const bool done = fwrite(text.data(), 1, text.size(), file) == text.size();
    return fclose(file) == 0 && done;
}

}  // namespace

void testing_support::play_interfaces(const std::string &root) {
    snprintf(chosen_root, sizeof chosen_root, "%s", root.c_str());
}

void testing_support::make_interface(const std::string &root, const std::string &name, unsigned flags,
                                     const std::string &ipv4) {
    std::string folder = root;
    for (const std::string &part :
         {std::string("/sys"), std::string("/class"), std::string("/net"), "/" + name}) {
        folder += part;
        mkdir(folder.c_str(), 0755);
    }
    char text[16];
    snprintf(text, sizeof text, "0x%x\n", flags);
    write_text(folder + "/flags", text);
    write_text(folder + "/address", "52:54:00:12:34:56\n");
    if (ipv4.empty()) {
        unlink((folder + "/ipv4").c_str());
    } else {
        write_text(folder + "/ipv4", ipv4 + "\n");
    }
}

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void *const argument = va_arg(arguments, void *);
    va_end(arguments);
    try {
        return play(fd, request, argument);
    } catch (const std::bad_alloc &) {
        return answer(ENOMEM);
    }
}
