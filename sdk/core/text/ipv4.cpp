#include "core/text/ipv4.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string.h>

#include "core/text/field_text.h"

namespace morv {

bool parse_ipv4(std::string_view text, uint32_t &address) noexcept {
    char word[INET6_ADDRSTRLEN];
    if (!copy_text(word, text)) return false;
    in_addr plain;
    if (inet_pton(AF_INET, word, &plain) == 1) {
        address = plain.s_addr;
        return true;
    }
    in6_addr wide;
    if (inet_pton(AF_INET6, word, &wide) != 1 || !IN6_IS_ADDR_V4MAPPED(&wide)) return false;
    memcpy(&address, wide.s6_addr + 12, sizeof address);
    return true;
}

Ipv4Text::Ipv4Text(uint32_t address) noexcept {
    const in_addr plain = {address};
    inet_ntop(AF_INET, &plain, text, sizeof text);
}

}  // namespace morv
