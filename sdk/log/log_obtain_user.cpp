#include <morvsdk/log.h>
#include <morvsdk/user.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/kept_error.h"
#include "core/file/sys_path.h"
#include "core/text/field_text.h"

using namespace morv;

namespace {

// What the name of a user was read from.
struct Source {
    uid_t uid;
    dev_t device;
    ino_t inode;
    off_t size;
    timespec changed;
};

char user_name[256];
Source known;
bool is_known;

Source source_of_now() noexcept {
    struct stat st = {};
    stat(SysPath("/etc/passwd").c_str(), &st);
    return {geteuid(), st.st_dev, st.st_ino, st.st_size, st.st_mtim};
}

bool is_same(const Source &a, const Source &b) noexcept {
    return a.uid == b.uid && a.device == b.device && a.inode == b.inode && a.size == b.size &&
           a.changed.tv_sec == b.changed.tv_sec && a.changed.tv_nsec == b.changed.tv_nsec;
}

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
        is_known = false;
    } else if (const Source now = source_of_now(); !is_known || !is_same(now, known)) {
        // Kept for the next event: looking an account up takes longer than writing the record.
        read_name();
        known = now;
        is_known = true;
    }
    if (strcmp(user_name, "root") == 0) copy_text(user_name, "admin");
    return user_name;
}
