#include "group/unix_group.h"

#include <limits.h>
#include <morvsdk/errcodes.h>
#include <string.h>

#include <algorithm>

#include "core/account/line_record.h"

namespace morv {

// Cuts the next member that is not empty off a list; empty at the end.
static std::string_view take_member(std::string_view &list) noexcept {
    list.remove_prefix(std::min(list.find_first_not_of(','), list.size()));
    const std::string_view member = list.substr(0, list.find(','));
    list.remove_prefix(member.size());
    return member;
}

static char *put(char *&at, std::string_view text) noexcept {
    char *const begin = at;
    memcpy(begin, text.data(), text.size());
    begin[text.size()] = '\0';
    at += text.size() + 1;
    return begin;
}

int make_unix_group(std::string_view name, std::string_view password, gid_t gid, std::string_view members,
                    void **buffer, int *size, struct group **group) noexcept {
    size_t count = 0;
    for (std::string_view rest = members; !take_member(rest).empty();)
        ++count;
    const uint64_t texts = uint64_t{name.size()} + password.size() + members.size() + 3;
    const uint64_t pointers = uint64_t{count + 1} * sizeof(char *);
    if (sizeof(struct group) + pointers + texts > INT_MAX) return ERR_OUT_OF_MEMORY;
    const auto header = static_cast<size_t>(sizeof(struct group) + pointers);
    if (int code = lend_buffer(buffer, size, header + size_t(texts))) return code;

    auto *const made = static_cast<struct group *>(*buffer);
    char *at = static_cast<char *>(*buffer) + header;
    made->gr_name = put(at, name);
    made->gr_passwd = put(at, password);
    made->gr_gid = gid;
    made->gr_mem = reinterpret_cast<char **>(made + 1);
    for (size_t i = 0; i < count; ++i)
        made->gr_mem[i] = put(at, take_member(members));
    made->gr_mem[count] = nullptr;
    *group = made;
    return 0;
}

}  // namespace morv
