// What texts of addresses and names are good for. The library has the last word on that; what is wrong with a
// text is said here.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>

namespace morvctl {

struct Verdict {
    std::string normal;  // of a valid text; "" where it has one form only
    std::string reason;  // what is wrong, as a sentence; "" for a valid text
    bool is_valid() const { return reason.empty(); }
};

using Judge = Verdict (*)(const std::string &text);

Verdict judge_address(const std::string &text);
Verdict judge_netmask(const std::string &text);
Verdict judge_subnet(const std::string &text);  // "10.0.0.0/8" or "10.0.0.0/255.0.0.0"
Verdict judge_host(const std::string &text);
Verdict judge_domain(const std::string &text);
Verdict judge_mail(const std::string &text);

struct TextKind {
    const char *name;
    Judge judge;
};
inline constexpr TextKind kTextKinds[] = {{"ip", judge_address},    {"mask", judge_netmask},
                                          {"subnet", judge_subnet}, {"host", judge_host},
                                          {"domain", judge_domain}, {"mail", judge_mail}};

// The netmask of a prefix length as "24" or "/24"; "" for another text.
std::string netmask_of_prefix(std::string_view text);

// Addresses in the machine's own byte order. A text is one in normal form; another is 0.
uint32_t parse_ipv4(const std::string &text);
std::string ipv4_text(uint32_t address);

int prefix_of(uint32_t netmask);

}  // namespace morvctl
