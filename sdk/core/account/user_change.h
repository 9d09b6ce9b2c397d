// Changes of users: in the mirror, in the files, and in all that names users.
#pragma once

#include <morvsdk/user.h>

#include <span>
#include <string>

#include "core/account/user_mirror.h"

namespace morv {

// What is to become of one user.
struct UserChange {
    const char *old_name;  // null: add
    const MORVUSER *user;  // what it is to be; null: see password
    const char *password;  // the new password; null with a null user: the user goes
    bool may_add;          // when there is no user of the old name

    // Not null: `user` is as a backup has it, with the stored hash as its password, and with these hashes. One
    // who is there keeps the spelling of the name, uid, gid, home and shell, and all else that it does not
    // say; the system's own accounts are ERR_NO_SUCH_USER.
    const SmbFields *stored = nullptr;
};

// Makes all changes, or none. failed: null, or receives the index of the change that was refused, -1 for
// none in particular. Takes the locks. Answers 0 or an error code.
int change_users(std::span<const UserChange> changes, int *failed) noexcept;

// Makes those changes that can be made, together. codes: receives 0 for each of them, and for the others why
// not; of new users as many are added as the model takes. Answers 0, or a code when none is made.
int change_users_if_possible(std::span<const UserChange> changes, int *codes) noexcept;

// Writes a user into the stores of an open mirror. old_key: upper-cased; empty for a new user. May throw
// std::bad_alloc.
int put_user(Mirror &mirror, const std::string &old_key, const MORVUSER &user);

// Writes the stores out as new versions of the files. May throw std::bad_alloc.
int dump_users(Mirror &mirror);

}  // namespace morv
