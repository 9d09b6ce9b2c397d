// Shares and open mirrors for tests, given back at the end.
#pragma once

#include <morvsdk/bdb.h>
#include <morvsdk/internal/share.h>

#include <memory>
#include <string>

#include "support/accounts.h"
#include "support/hashes.h"

namespace share_test {

inline constexpr char kConf[] = "usr/morv/etc/smb.conf";
inline constexpr char kExports[] = "etc/exports";

// A record in the order of its fields.
struct Spec {
    const char *name, *path;
    const char *comment = "", *invalid = "", *write = "", *read = "";
    int access = MORV_SHARE_READ_ONLY, browseable = 1, ftp = 0;

    MORVSHARE record() const {
        const auto text = [](const char *t) { return const_cast<char *>(t); };
        return {text(name), text(comment), text(path), text(invalid), text(write),
                text(read), access,        browseable, ftp,           0,
                0};
    }
};

inline int set(const char *old_name, const Spec &spec) {
    const MORVSHARE share = spec.record();
    return MORVShareSet(old_name, &share);
}

inline std::string text_of(const MORVSHARE &s) {
    return std::string(s.szName) + "|" + s.szPath + "|" + s.szComment + "|" + s.szInvalidUsers + "|" +
           s.szWriteList + "|" + s.szReadList + "|" + std::to_string(s.accessType) + "|" +
           std::to_string(s.browseable) + "|" + std::to_string(s.ftpFlags);
}
inline std::string text_of(const Spec &spec) {
    return text_of(spec.record());
}

// A share as callers read it; "-" when there is none.
inline std::string seen(const char *name) {
    MORVSHARE *found = nullptr;
    if (MORVShareGet(name, &found) != 0) return "-";
    const std::string text = text_of(*found);
    MORVShareFree(found);
    return text;
}

struct CloseMirror {
    void operator()(MORVSHAREDB *db) const { MORVShareDBClose(db); }
};
using Mirror = std::unique_ptr<MORVSHAREDB, CloseMirror>;

inline Mirror open_mirror() {
    return Mirror(MORVShareDBOpen());
}

inline std::vector<std::string> all_shares() {
    testing_support::List list;
    MORVShareEnum(list.address(), 0);
    return list.items();
}

// Everything that readers can see: all shares, and the reserved sections.
inline std::string all_seen() {
    std::string text;
    for (const std::string &name : all_shares())
        text += seen(name.c_str()) + "\n";
    for (const char *section : {"global", "home", "printers"}) {
        testing_support::Hash hash;
        if (MORVShareRSectionGet(section, hash.address()) != 0) continue;
        text += std::string("[") + section + "]\n";
        for (const auto &[key, value] : hash.pairs())
            text.append(key).append("=").append(value).append("\n");
    }
    return text;
}

// The mirror's live store, to see whether it was built anew.
inline ino_t store_inode(const testing_support::ScratchRoot &root) {
    return testing_support::stat_of(root.dir() + "/tmp/.db.morvshare.0957").st_ino;
}

}  // namespace share_test
