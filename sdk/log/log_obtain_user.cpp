#include <morvsdk/log.h>
#include <morvsdk/user.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/kept_error.h"
#include "core/file/file_stamp.h"
#include "core/file/sys_path.h"
#include "core/text/field_text.h"

using namespace morv;

namespace {

char user_name[256];

// What the name was read from.
struct {
    bool is_known;
    uid_t uid;
    FileStamp accounts;
} source;

void read_name() noexcept {
    const KeptError error;
    MORVUSER *user = nullptr;
    if (MORVUserGetByUID(geteuid(), &user) != 0 || !copy_text(user_name, user->szName)) {
        user_name[0] = '\0';
        error.restore();
    }
    MORVUserFree(user);
}

}  // namespace

extern "C" const char *MORVLogObtainUser(void) noexcept {
    const char *const named = secure_getenv("USERNAME");
    if (named && copy_text(user_name, named)) {
        source.is_known = false;
    } else {
        struct stat st = {};
        stat(SysPath("/etc/passwd").c_str(), &st);
        const FileStamp accounts(st);
        // Kept for the next event: looking an account up takes longer than writing the record.
        if (!source.is_known || source.uid != geteuid() || !(source.accounts == accounts)) {
            read_name();
            source = {accounts.is_settled(), geteuid(), accounts};
        }
    }
    if (strcmp(user_name, "root") == 0) copy_text(user_name, "admin");
    return user_name;
}
