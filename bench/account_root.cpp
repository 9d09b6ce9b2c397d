// The system roots of the comparisons on accounts.
#include <morvsdk/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "account_bench.h"

namespace bench {

namespace {

constexpr char kHash[] = "$1$abcdefgh$0123456789abcdefghijkl";
constexpr unsigned kFirstUid = 1024;

// Different also without regard to letter case.
std::vector<std::string> account_names(size_t count) {
    std::set<std::string> known;
    std::vector<std::string> all;
    for (const std::string &name : names(count + count / 4)) {
        if (all.size() < count && known.insert(upper(name)).second) all.push_back(name);
    }
    return all;
}

const std::vector<Person> &people() {
    static const std::vector<Person> all = [] {
        std::vector<Person> made;
        for (const std::string &name : account_names(kUsers)) {
            const auto uid = static_cast<unsigned>(kFirstUid + made.size());
            made.push_back({name, kHash, "/var/services/homes/" + name, uid});
        }
        return made;
    }();
    return all;
}

std::string passwd_line(const Person &p) {
    return p.name + ":x:" + std::to_string(p.uid) + ":100:Somebody of the house:" + p.home + ":/bin/sh\n";
}

std::string smbpasswd_line(const Person &p) {
    const std::string hash(32, 'A');
    return p.name + ":" + std::to_string(p.uid) + ":" + hash + ":" + hash + ":[U          ]:LCT-5F000000:\n";
}

std::string members_from(size_t first, size_t count) {
    std::string list;
    for (size_t i = 0; i < count; ++i)
        list.append(i ? "," : "").append(people()[(first + i) % kUsers].name);
    return list;
}

void write_users(const AccountRoot &root) {
    std::string passwd = "root:x:0:0:root:/root:/bin/sh\ndaemon:x:1:1:daemon:/usr/sbin:/usr/sbin/nologin\n";
    std::string shadow = "root:*:19000:0:99999:7:::\ndaemon:*:19000:0:99999:7:::\n";
    std::string misc = "#$_@UID__INDEX@_$3071$\n";
    std::string smbpasswd;
    for (const Person &p : people()) {
        passwd += passwd_line(p);
        shadow += p.name + ":" + p.hash + ":19000:0:99999:7:::\n";
        misc += p.name + ":3:\n";
        smbpasswd += smbpasswd_line(p);
    }
    write_file(root.path("/etc/passwd"), passwd);
    write_file(root.path("/etc/shadow"), shadow);
    write_file(root.path("/etc/morvuser.conf"), misc);
    write_file(root.path("/usr/morv/etc/private/smbpasswd"), smbpasswd);
}

void write_groups(const AccountRoot &root) {
    std::string group = "root:x:0:\nusers:x:100:" + members_from(0, kUsers) + "\n";
    std::string descriptions;
    for (size_t i = 0; i < kGroups; ++i) {
        const std::string name = "team" + std::to_string(i);
        group += name + ":x:" + std::to_string(65536 + i) + ":" + members_from(i * 7, kMembers) + "\n";
        descriptions += name + ":The people of team " + std::to_string(i) + "\n";
    }
    write_file(root.path("/etc/group"), group);
    write_file(root.path("/etc/group_desc"), descriptions);
    write_file(root.path("/usr/morv/etc/private/domain_group"), "");
}

void write_shares(const AccountRoot &root) {
    std::string text = "[global]\n\tworkgroup=HOUSE\n\tsecurity=user\n";
    for (size_t i = 0; i < kShares; ++i) {
        const std::string name = "share" + std::to_string(i);
        text +=
            "[" + name + "]\n\tcomment=Files of share " + std::to_string(i) + "\n\tpath=/volume1/" + name +
            "\n\tbrowseable=yes\n\twriteable=yes\n\tguest ok=no\n\tinvalid users=\n\tvalid users=" +
            members_from(i * 5, 4) + ",@team" + std::to_string(i) +
            "\n\twrite list=" + members_from(i * 5, 3) + "\n\tread list=" + members_from(i * 5 + 3, 1) + "\n";
    }
    write_file(root.path("/usr/morv/etc/smb.conf"), text);
}

void write_domain(const AccountRoot &root, size_t count) {
    if (count == 0) return;
    std::string text;
    size_t uid = 100000;
    for (const std::string &name : account_names(count)) {
        text += "HOUSE\\" + name + ":*:" + std::to_string(uid++) + ":100000:Somebody else:/home/HOUSE/" +
                name + ":/bin/sh\n";
    }
    write_file(root.path("/etc/domain_users"), text);
    std::filesystem::create_directories(root.path("/usr/bin"));
    const std::string tool = root.path("/usr/bin/getent");
    write_file(tool, "#!/bin/sh\nexec cat " + root.path("/etc/domain_users") + "\n");
    if (chmod(tool.c_str(), 0755) != 0) give_up("cannot make " + tool);
}

const Place &place_of(bool in_memory) {
    for (const Place &place : places()) {
        if (place.in_memory() == in_memory) return place;
    }
    return places().front();
}

}  // namespace

std::string text_of(const Person &p) {
    return p.name + ":" + p.hash + ":" + p.home + ":" + std::to_string(p.uid);
}

AccountRoot::AccountRoot(const char *name, Mirrors mirrors, size_t domain_users)
    : folder_(place_of(false).folder + "/" + name) {
    for (const char *folder : {"/etc", "/etc.defaults", "/usr/morv/etc/private"})
        std::filesystem::create_directories(path(folder));
    const Place &for_mirrors = place_of(mirrors == Mirrors::kInMemory);
    const std::string tmp = for_mirrors.folder + "/tmp-" + name;
    std::filesystem::create_directories(tmp);
    std::filesystem::create_directory_symlink(tmp, path("/tmp"));
    write_file(path("/etc.defaults/morvinfo.conf"), "guestsupport=\"yes\"\n");
    write_users(*this);
    write_groups(*this);
    write_shares(*this);
    write_domain(*this, domain_users);
}

void AccountRoot::use() const {
    use_root(folder_);
}

const AccountRoot &accounts() {
    static const AccountRoot root("accounts", Mirrors::kInMemory, 0);
    return root;
}

const Person &someone() {
    return people()[kUsers / 2];
}

std::string upper(std::string_view ascii) {
    std::string text(ascii);
    for (char &c : text) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
}

std::string read_file(const std::string &path) {
    const Stream file(fopen(path.c_str(), "re"));
    struct stat st;
    if (!file || fstat(fileno(file.get()), &st) != 0) give_up("cannot read " + path);
    std::string text(static_cast<size_t>(st.st_size), '\0');
    if (read(fileno(file.get()), text.data(), text.size()) != st.st_size) give_up("cannot read " + path);
    return text;
}

}  // namespace bench
