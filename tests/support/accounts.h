// A scratch root with the accounts of an appliance that has been in use: local users and groups among those
// of the system, comments, lines that call in other sources, lines that are no account's, and shares that
// name users and groups.
#pragma once

#include <sys/stat.h>

#include <map>
#include <string>
#include <string_view>

#include "support/scratch.h"

namespace testing_support {

struct AccountText {
    const char *name;  // below the root
    mode_t mode;
    const char *text;
};

inline constexpr AccountText kAccountTexts[] = {
    {"etc/passwd", 0644,
     "root:x:0:0:root:/root:/bin/sh\n"
     "daemon:x:1:1:daemon:/usr/sbin:/usr/sbin/nologin\n"
     "http:x:1023:1023::/var/services/web:/bin/false\n"
     "# people\n"
     "admin:x:1024:100:System default user:/var/services/homes/admin:/bin/sh\n"
     "guest:x:1025:100:Guest:/nonexist:/bin/csh\n"
     "alice:x:1026:100:Alice;, of accounting:/var/services/homes/alice:/bin/csh\n"
     "Bob Smith:x:1027:100::/var/services/homes/Bob Smith:/bin/csh\n"
     "broken:line\n"
     "zoë:x:1028:100:Zoë:/var/services/homes/zoë:/bin/csh\n"
     "+nis::::::\n"},
    {"etc/shadow", 0600,
     "root:$1$ab$0123456789abcdefghijkl:19000:0:99999:7:::\n"
     "daemon:*:19000:0:99999:7:::\n"
     "http:*:19000:0:99999:7:::\n"
     "admin:$1$cd$0123456789abcdefghijkl:19000:0:99999:7:::\n"
     "guest::19000:0:99999:7:::\n"
     "alice:$1$ef$0123456789abcdefghijkl:19000:0:99999:7::20000:\n"
     "Bob Smith:$1$gh$0123456789abcdefghijkl:19000:100000:99999:7:::\n"
     "# kept by hand\n"
     "zoë:!:19000:0:99999:7:::\n"},
    {"etc/morvuser.conf", 0600,
     "#$_@UID__INDEX@_$1028$\n"
     "admin:31:\n"
     "guest:0:\n"
     "alice:3:notes\n"
     "Bob Smith:1:\n"
     "zoë:0:\n"},
    {"usr/morv/etc/private/smbpasswd", 0600,
     "# NAME:UID:LM:NT:FLAGS:LCT\n"
     "admin:1024:AAD3B435B51404EEAAD3B435B51404EE:31D6CFE0D16AE931B73C59D7E0C089C0:[U          "
     "]:LCT-4D000000:\n"
     "guest:1025:AAD3B435B51404EEAAD3B435B51404EE:31D6CFE0D16AE931B73C59D7E0C089C0:[U          "
     "]:LCT-4D000000:\n"
     "alice:1026:E52CAC67419A9A224A3B108F3FA6CB6D:8846F7EAEE8FB117AD06BDD830B7586C:[U          "
     "]:LCT-4D000000:\n"
     "Bob Smith:1027:E52CAC67419A9A224A3B108F3FA6CB6D:8846F7EAEE8FB117AD06BDD830B7586C:[U          "
     "]:LCT-4D000000:\n"},
    {"etc/group", 0644,
     "root:x:0:\n"
     "daemon:!:1:\n"
     "users:x:100:admin,guest,alice,Bob Smith,gone\n"
     "administrators:x:101:admin\n"
     "# teams\n"
     "http:x:1023:\n"
     "staff:x:65536:alice,Bob Smith\n"
     "Größe:!:65537: zoë , gone,alice\n"
     "#$_@GID__INDEX@_$65537$\n"
     "+\n"},
    {"etc/group_desc", 0644,
     "# what they are for\n"
     "users:All people\n"
     "administrators:System default admin group\n"
     "staff:Who works here: by day\n"},
    {"usr/morv/etc/smb.conf", 0644,
     "[global]\n"
     "\tworkgroup = HOME\n"
     "\n"
     "; shared by the team\n"
     "[plans]\n"
     "\tpath = /volume1/plans\n"
     "\tcomment = Plans of the team\n"
     "\tvalid users = @staff, alice ,zoë\n"
     "\twrite list = @Staff\n"
     "\tunknown key = kept\n"
     "[public]\n"
     "\tpath = /volume1/public\n"
     "\tguest ok = yes\n"
     "\tinvalid users = Bob Smith\n"
     "\tread list = @users,@größe\n"},
    {"usr/morv/etc/afpd.conf", 0644, "uams = dhx2\nvalid users = alice,@staff\n"},
    {"etc/exports", 0644, "/volume1/plans 10.0.0.0/24(rw)\n"},
    {"etc.defaults/morvinfo.conf", 0644, "maxaccounts=\"64\"\nmaxgroups=\"32\"\nmaxshares=\"32\"\n"},
    {"etc/morvinfo.conf", 0644, "runweb=\"yes\"\n"},
};

class AccountRoot : public ScratchRoot {
  public:
    AccountRoot() {
        path("tmp/x");
        path("var/services/homes/x");
        path("volume1/x");
        reset();
    }

    // Puts the sample back; each file gets an inode of its own.
    void reset() const {
        for (const AccountText &file : kAccountTexts) {
            ::remove(path(file.name).c_str());
            write(file.name, file.text, file.mode);
        }
    }

    // What the files hold, by name; one that is missing is empty.
    using Files = std::map<std::string, std::string>;
    Files files() const {
        Files all;
        for (const AccountText &file : kAccountTexts)
            all[file.name] = read(file.name);
        return all;
    }

    // The sample's text with one piece of one file replaced.
    static Files with(Files all, const char *file, std::string_view old_piece, std::string_view piece) {
        std::string &text = all[file];
        const size_t at = text.find(old_piece);
        if (at == text.npos) return {};
        text.replace(at, old_piece.size(), piece);
        return all;
    }

    // Whether the files have the modes of the sample, and nothing is left beside them.
    bool is_tidy() const {
        for (const AccountText &file : kAccountTexts) {
            const std::string full = dir() + "/" + file.name;
            const struct stat st = stat_of(full);
            if ((st.st_mode & 07777) != file.mode) return false;
            for (const char *suffix : {".tmp", "_tmp"}) {
                if (stat_of(full + suffix).st_ino != 0) return false;
            }
        }
        for (const std::string &name : names("etc")) {
            if (name.ends_with(".commit")) return false;
        }
        return true;
    }
};

}  // namespace testing_support
