// The mirror of the users.
#pragma once

#include <morvsdk/user.h>

#include <optional>
#include <string>
#include <string_view>

#include "core/account/account_store.h"
#include "core/store/mirror.h"

namespace morv {

// Slots, in the order of MORVUSERDB.
enum UserSlot { kUserName, kUserUid, kUserSmb, kUserMisc, kUserShadow };

// Sources, in the order in which they are compared.
enum UserSource { kFromPasswd, kFromMisc, kFromShadow, kFromSmbpasswd };

extern const MirrorKind user_mirror_kind;

inline MORVUSERDB *user_handle(Mirror *mirror) noexcept {
    return reinterpret_cast<MORVUSERDB *>(mirror);
}
inline Mirror *mirror_of(MORVUSERDB *db) noexcept {
    return reinterpret_cast<Mirror *>(db);
}

inline bool is_domain_name(std::string_view name) noexcept {
    return name.find('\\') != name.npos;
}

// The steps of the building.
int build_local_users(Mirror &mirror) noexcept;
int build_domain_users(Mirror &mirror) noexcept;

// The lines of one user, as the stores and the files hold them; empty: none.
struct UserLines {
    std::string passwd, shadow, misc, smb;
    bool operator==(const UserLines &) const = default;
};

// The third and fourth field of a user's line of the samba password file: the hashes. Both empty: no line.
struct SmbFields {
    std::string_view lm, nt;
};

// The lines that make up a user's record; empty: none. Out of the stores they are good until the next call
// on these.
struct UserText {
    std::string_view passwd, shadow, misc;
};

// Finds the lines of a user by its upper-cased name. ERR_NO_SUCH_USER when there is no passwd line.
int find_user(Mirror &mirror, const char *key, UserText *text) noexcept;

// Finds the hashes of the samba password file. Good until the next call on its store.
int find_smb_fields(Mirror &mirror, const char *key, SmbFields *fields) noexcept;

// Makes a record of lines. Answers 0, ERR_FORMAT_ERROR or ERR_OUT_OF_MEMORY.
int make_user(const UserText &text, MORVUSER **user) noexcept;

// Makes the lines of a record. `old`: those that the user has; null for a new user. Answers 0,
// ERR_FORMAT_ERROR or the codes of hash_password. May throw std::bad_alloc.
int make_user_lines(const MORVUSER &user, const UserLines *old, UserLines *lines);

// The same with hashes in the place of a password: szPassword is what is to be stored. Of lines that the user has,
// nothing changes that the record does not say. ERR_BAD_PARAMETERS or ERR_FORMAT_ERROR.
int make_stored_lines(const MORVUSER &user, const SmbFields &smb, const UserLines *old, UserLines *lines);

// The passwd and the misc line alone. ERR_BAD_PARAMETERS.
int make_open_lines(const MORVUSER &user, UserLines *lines);

// Writes the lines of a user under its upper-cased name, and the name under its uid unless there is none.
// Answers 0 or a code of the store.
int store_user(Mirror &mirror, const std::string &key, std::optional<uint32_t> uid,
               const UserLines &lines) noexcept;

// Removes a user. ERR_NO_SUCH_USER, or ERR_ID_NOT_FOUND when the uid store does not have it: the others are
// then changed.
int erase_user(Mirror &mirror, const std::string &key) noexcept;

// The upper-cased name that has a uid; ERR_NO_SUCH_USER. May throw std::bad_alloc.
int find_uid(Mirror &mirror, uint32_t uid, std::string &key);

// Whether a user is one that MORVUserEnum lists, by its passwd line; `mask` as there.
bool is_listed_user(std::string_view passwd_line, int mask) noexcept;

}  // namespace morv
