// A backup file: whatever it holds, walking over it gives what lies in it, and restoring it leaves files that
// can be read, with the accounts that were there.
#include <morvsdk/sysbkp.h>
#include <morvsdk/user.h>
#include <string.h>

#include <filesystem>

#include "core/text/lines.h"
#include "input.h"

namespace {

constexpr int kAll = MORV_SYSBKP_ALL | MORV_SYSBKP_MYSQL;

struct File {
    const char *name, *text;
};
constexpr File kFiles[] = {
    {"/etc/passwd",
     "root:x:0:0:root:/root:/bin/sh\nalice:x:1026:100:Alice:/var/services/homes/alice:/bin/csh\n"},
    {"/etc/shadow", "root:*:19000:0:99999:7:::\nalice:$1$ef$0123456789abcdefghijkl:19000:0:99999:7:::\n"},
    {"/etc/morvuser.conf", "alice:3:\n"},
    {"/usr/morv/etc/private/smbpasswd", ""},
    {"/etc/group", "root:x:0:\nusers:x:100:alice\nteam:x:65536:alice\n"},
    {"/etc/group_desc", "team:The team\n"},
    {"/usr/morv/etc/smb.conf",
     "[global]\n\tworkgroup=HOUSE\n[music]\n\tpath=/volume1/music\n\tguest ok=no\n"},
    {"/etc/morvinfo.conf", "runweb=\"no\"\n"},
    {"/etc/sysconfig/network", "HOSTNAME=nas\n"},
    {"/etc/hosts", "127.0.0.1 localhost\n"},
    {"/etc.defaults/morvinfo.conf",
     "supportweb=\"yes\"\nsupportmysql=\"yes\"\nsupportphoto=\"yes\"\nsupportMTU=\"yes\"\n"
     "supportrcpower=\"yes\"\nusbcopy=\"yes\"\nmaxaccounts=\"8\"\nmaxgroups=\"8\"\nmaxshares=\"8\"\n"},
};

void walk(const char *path, size_t size) {
    size_t left = size;
    const auto item = [](const MORVSYSBKPBLOCK *block, const MORVSYSBKPITEM *seen, void *context) {
        auto &bytes = *static_cast<size_t *>(context);
        expect(block->szName && seen->szName && seen->length >= 0);
        expect(strlen(seen->szText) == static_cast<size_t>(seen->length));
        expect(bytes >= static_cast<size_t>(seen->length));
        bytes -= static_cast<size_t>(seen->length);
        return 0;
    };
    const MORVSYSBKPVISITOR visitor = {nullptr, item, nullptr, &left};
    MORVSysbkpEnum(path, &visitor, nullptr);
}

void check_lines(const std::string &text, size_t colons, std::string_view first) {
    expect(text.starts_with(first));
    for (const std::string_view line : morv::Lines(text)) {
        if (line.starts_with('#')) continue;
        size_t count = 0;
        for (const char c : line)
            count += c == ':';
        expect(count == colons && line.ends_with('\n'));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MemoryRoot root{
        "/etc",          "/etc/sysconfig",        "/etc.defaults", "/usr",     "/usr/morv",
        "/usr/morv/etc", "/usr/morv/etc/private", "/tmp",          "/volume1", "/var",
        "/var/log"};
    static const std::string input = root.dir() + "/input";
    for (const File &file : kFiles)
        root.write(file.name, file.text);
    root.write("/input", {reinterpret_cast<const char *>(data), size});
    walk(input.c_str(), size);

    MORVSysbkpImport(input.c_str(), kAll, 0);
    check_lines(root.read("/etc/passwd"), 6, "root:x:0:0:root:/root:/bin/sh\nalice:x:1026:100:");
    check_lines(root.read("/etc/shadow"), 8, "root:*:19000:0:99999:7:::\nalice:");
    check_lines(root.read("/etc/group"), 3, "root:x:0:\nusers:x:100:alice");
    MORVUSER *alice = nullptr;
    expect(MORVUserGet("alice", &alice) == 0 && alice->uid == 1026);
    MORVUserFree(alice);

    // What has been restored can be backed up, and that is a sound file.
    const std::string again = root.dir() + "/again";
    expect(MORVSysbkpExport(again.c_str(), MORV_SYSBKP_ALL) == 0);
    const auto end = [](const MORVSYSBKPBLOCK *, const char *problem, void *) {
        expect(!problem);
        return 0;
    };
    const MORVSYSBKPVISITOR sound = {nullptr, nullptr, end, nullptr};
    expect(MORVSysbkpEnum(again.c_str(), &sound, nullptr) > 0);
    for (const auto &entry : std::filesystem::directory_iterator(root.dir() + "/volume1"))
        std::filesystem::remove_all(entry.path());
    return 0;
}
