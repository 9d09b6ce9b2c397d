// A line of an account file that somebody else wrote: whatever is in it, an unpacked record is made of the
// line's own fields, and a user's record packs to a line that unpacks to the same.
#include <morvsdk/internal/group.h>
#include <morvsdk/internal/user.h>
#include <morvsdk/string.h>
#include <string.h>

#include <algorithm>

#include "input.h"

namespace {

struct Buffer {
    void *at = nullptr;
    int size = 0;
    Buffer() = default;
    ~Buffer() { free(at); }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
};

size_t colons_in(const std::string &line) {
    return size_t(std::count(line.begin(), line.end(), ':'));
}

void check_passwd(const std::string &line, Buffer &buffer) {
    struct passwd *entry = nullptr;
    const int result = MORVUserDBPasswdUnpack(line.c_str(), &buffer.at, &buffer.size, &entry);
    expect((result == 0) == (colons_in(line) == 6));
    if (result != 0) return;
    expect(line.starts_with(std::string(entry->pw_name) + ":" + entry->pw_passwd + ":"));
    expect(line.ends_with(std::string(":") + entry->pw_gecos + ":" + entry->pw_dir + ":" + entry->pw_shell));

    std::string description(line.size() + 1, '\0');
    expect(MLIBStrDecodeColon(entry->pw_gecos, description.data(), int(line.size())) >= 0);
    MORVUSER *user = nullptr;
    const int made = MORVUserAlloc(&user, entry->pw_name, entry->pw_passwd, entry->pw_uid, entry->pw_gid,
                                   description.c_str(), entry->pw_dir, entry->pw_shell, -1, 0, nullptr, 0);
    expect((made == 0) == (*entry->pw_name != '\0'));
    if (made != 0) return;
    std::string packed(2 * line.size() + 64, '#');
    const int length = MORVUserDBPack(user, packed.data(), int(packed.size()));
    expect(length > 0 && packed[size_t(length) - 1] == '\0' && strlen(packed.c_str()) + 1 == size_t(length));
    Buffer second;
    struct passwd *again = nullptr;
    expect(MORVUserDBPasswdUnpack(packed.c_str(), &second.at, &second.size, &again) == 0);
    expect(strcmp(again->pw_name, user->szName) == 0 && strcmp(again->pw_shell, user->szShell) == 0);
    expect(again->pw_uid == user->uid && again->pw_gid == user->gid);
    MORVUserFree(user);
}

void check_shadow(const std::string &line, Buffer &buffer) {
    struct spwd *entry = nullptr;
    const int result = MORVUserDBShadowUnpack(line.c_str(), &buffer.at, &buffer.size, &entry);
    expect((result == 0) == (colons_in(line) == 8));
    if (result == 0) expect(line.starts_with(std::string(entry->sp_namp) + ":" + entry->sp_pwdp + ":"));
}

void check_group(const std::string &line, Buffer &buffer) {
    struct group *entry = nullptr;
    const int result = MORVGroupDBUnpack(line.c_str(), &buffer.at, &buffer.size, &entry);
    expect((result == 0) == (colons_in(line) >= 3));
    if (result != 0) return;
    expect(line.starts_with(std::string(entry->gr_name) + ":" + entry->gr_passwd + ":"));
    std::string members;
    for (char **member = entry->gr_mem; *member; ++member) {
        expect(**member != '\0' && !strpbrk(*member, ",:"));
        expect(line.find(*member) != line.npos);
        members += std::string(members.empty() ? "" : ",") + *member;
    }

    MORVGROUP *group = nullptr;
    if (MORVGroupAlloc(&group, entry->gr_name, entry->gr_gid, members.c_str()) != 0) return;
    Buffer second;
    struct group *again = nullptr;
    if (MORVGroupToUnixGroup(group, &second.at, &second.size, &again) == 0) {
        expect(strcmp(again->gr_name, entry->gr_name) == 0 && again->gr_gid == entry->gr_gid);
        char **member = entry->gr_mem;
        for (char **copy = again->gr_mem; *copy; ++copy)
            expect(strcmp(*copy, *member++) == 0);
        expect(!*member);
    }
    MORVGroupFree(group);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view text(reinterpret_cast<const char *>(data), size);
    Buffer buffer;  // one for all lines, as callers use it
    while (!text.empty()) {
        const std::string line = take_line(text);
        check_passwd(line, buffer);
        check_shadow(line, buffer);
        check_group(line, buffer);
    }
    return 0;
}
