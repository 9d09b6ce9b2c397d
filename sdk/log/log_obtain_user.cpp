#include <morvsdk/log.h>
#include <morvsdk/user.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <iterator>

#include "core/base/kept_error.h"
#include "core/file/file_stamp.h"
#include "core/file/file_text.h"
#include "core/file/sys_path.h"
#include "core/text/field_text.h"
#include "core/text/fields.h"
#include "core/text/lines.h"

using namespace morv;

namespace {

constexpr char kAccounts[] = "/etc/passwd";

char user_name[256];

// What the name was read from.
struct {
    bool is_known;
    uid_t uid;
    FileStamp accounts;
} source;

// The name in the file itself, which is never waited for: the record may tell of the building of the mirror.
bool read_local_name(uid_t uid) noexcept {
    FileText accounts;
    if (accounts.load(SysPath(kAccounts).c_str()) != 0) return false;
    for (const std::string_view line : Lines(accounts.view())) {
        std::string_view fields[3];
        if (split_fields(without_line_feed(line), ':', fields) < std::size(fields)) continue;
        const std::string_view number = fields[2];
        const bool is_number = !number.empty() && number.find_first_not_of("0123456789") == number.npos;
        if (is_number && leading_number(number) == int64_t{uid} && copy_text(user_name, fields[0]))
            return true;
    }
    return false;
}

// Answers whether the name was found.
bool read_name() noexcept {
    if (read_local_name(geteuid())) return true;
    const KeptError error;
    MORVUSER *user = nullptr;
    const bool found = MORVUserGetByUID(geteuid(), &user) == 0 && copy_text(user_name, user->szName);
    MORVUserFree(user);
    if (found) return true;
    user_name[0] = '\0';
    error.restore();
    return false;
}

}  // namespace

extern "C" const char *MORVLogObtainUser(void) noexcept {
    const char *const named = secure_getenv("USERNAME");
    if (named && copy_text(user_name, named)) {
        source.is_known = false;
    } else {
        struct stat st = {};
        stat(SysPath(kAccounts).c_str(), &st);
        const FileStamp accounts(st);
        // Kept for the next event: looking an account up takes longer than writing the record.
        if (!source.is_known || source.uid != geteuid() || !(source.accounts == accounts)) {
            const bool found = read_name();
            source = {found && accounts.is_settled(), geteuid(), accounts};
        }
    }
    if (strcmp(user_name, "root") == 0) copy_text(user_name, "admin");
    return user_name;
}
