// A file-sharing configuration somebody else wrote: it is always built, a dump right after that changes
// nothing, and what a dump writes is read back as it was stored.
#include <morvsdk/file.h>
#include <morvsdk/internal/share.h>
#include <stddef.h>
#include <string.h>
#include <sys/stat.h>

#include "input.h"

namespace {

class Root : public MemoryRoot {
  public:
    Root() : MemoryRoot({"/etc", "/tmp", "/usr", "/usr/morv", "/usr/morv/etc", "/usr/morv/etc/private"}) {
        write("/etc/passwd", "root:x:0:0:::\nalice:x:1026:100:::\nbob b:x:1027:100:::\n");
        write("/etc/group", "root:x:0:\nusers:x:100:alice\n");
        for (const char *file :
             {"/etc/shadow", "/etc/group_desc", "/etc/morvuser.conf", "/usr/morv/etc/private/smbpasswd"})
            write(file, "");
    }
};

constexpr char kConf[] = "/usr/morv/etc/smb.conf";

MORVSHAREDB *dump(MORVSHAREDB *db) {
    expect(MORVShareDBDump(db) == 0);
    MORVShareDBClose(db);
    MORVSHAREDB *const again = MORVShareDBOpen();
    expect(again);
    return again;
}

std::string stored(MORVSHAREDB *db, const char *key) {
    void *value = nullptr;
    int size = 0;
    std::string record;
    if (MORVShareDBGet(db, key, &value, &size) == 0) record.assign(static_cast<char *>(value), size_t(size));
    free(value);
    return record;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const Root root;
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    root.write(kConf, text);
    MORVSHAREDB *db = MORVShareDBOpen();
    expect(db);
    db = dump(db);
    expect(root.read(kConf) == text);

    // One record more, and one changed.
    char name[] = "alice", path[] = "/new path", comment[] = "\"a\\", list[] = "bob b,@users", empty[] = "";
    MORVSHARE share = {name, comment, path, empty, list, empty, MORV_SHARE_READ_WRITE, 0, 7, 0, 0};
    expect(MORVShareDBSet(db, stored(db, "ALICE").empty() ? nullptr : "ALICE", &share) == 0);
    MLIBSZLIST *names = PslMLIBSzListAlloc(512);
    expect(MORVShareDBEnumTypeMatched(db, 0, &names) > 0);
    std::string before = stored(db, "ALICE");
    const int count = names->nItem;
    db = dump(db);
    if (stored(db, "ALICE") != before) expect(false);
    MLIBSzListRemoveAll(names);
    expect(MORVShareDBEnumTypeMatched(db, 0, &names) == count);
    const std::string written = root.read(kConf);
    root.write(kConf, written + "\n");  // built anew from what was written
    MORVShareDBClose(db);
    db = MORVShareDBOpen();
    expect(db && stored(db, "ALICE") == before);
    MLIBSzListRemoveAll(names);
    expect(MORVShareDBEnumTypeMatched(db, 0, &names) == count);
    MLIBSzListFree(names);
    MORVShareDBClose(db);
    return 0;
}
