// The accounts of the comparisons: 2,048 local users, 300 groups of 20 members and 256 shares in a system
// root of their own, written without the library.
#pragma once

#include <pwd.h>
#include <stdio.h>

#include <memory>

#include "bench.h"

namespace bench {

inline constexpr size_t kUsers = 2048;
inline constexpr size_t kDomainUsers = 20000;
inline constexpr size_t kGroups = 300;
inline constexpr size_t kMembers = 20;
inline constexpr size_t kShares = 256;

inline constexpr const char *kAccountFiles[] = {"/etc/passwd", "/etc/shadow", "/etc/morvuser.conf",
                                                "/usr/morv/etc/private/smbpasswd"};

// What the comparisons look at of a user.
struct Person {
    std::string name, hash, home;
    unsigned uid;
};
std::string text_of(const Person &person);

// Mirrors and locks lie in memory where there is some, as on an appliance, the files on a disk.
enum class Mirrors { kInMemory, kOnDisk };

class AccountRoot {
  public:
    // A new one; `domain_users` come from its getent tool.
    AccountRoot(const char *name, Mirrors mirrors, size_t domain_users);

    // Makes it the library's root.
    void use() const;

    const std::string &folder() const { return folder_; }
    std::string path(std::string_view system_path) const { return folder_ + std::string(system_path); }
    std::string store(std::string_view suffix) const { return path("/tmp/.db.user.") + std::string(suffix); }

  private:
    std::string folder_;
};

// The root for what reads, made at the first call.
const AccountRoot &accounts();

// One of its users, in the middle of all.
const Person &someone();

std::string upper(std::string_view ascii);
std::string read_file(const std::string &path);

// Calls `see` with each line, without the line feed.
template <class F>
void for_each_line(std::string_view text, F see) {
    for (size_t from = 0; from < text.size();) {
        const size_t feed = std::min(text.find('\n', from), text.size());
        see(text.substr(from, feed - from));
        from = feed + 1;
    }
}

inline std::string_view field(std::string_view line, int index) {
    for (; index > 0; --index)
        line.remove_prefix(std::min(line.find(':'), line.size() - 1) + 1);
    return line.substr(0, line.find(':'));
}

struct Closer {
    void operator()(FILE *file) const { fclose(file); }
};
using Stream = std::unique_ptr<FILE, Closer>;

}  // namespace bench
