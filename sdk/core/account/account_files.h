// The files that make up the accounts, changed together: all of them or none.
//
//     FileChanges files;
//     if (int code = files.load(AccountFile::kPasswd)) return code;
//     files.set(AccountFile::kPasswd, new_text);
//     ...others...
//     return files.commit(Record::kUser);
//
// Every new version is written beside its file under a known name and synced. Then a record says that the
// renames are decided; it goes when they are done. A process killed before the record is complete has changed
// nothing. One killed after it is finished by finish_interrupted, in any process that gets the locks.
#pragma once

#include <stdint.h>
#include <sys/stat.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace morv {

// In the order in which they are renamed.
enum class AccountFile {
    kSmbpasswd,
    kShadow,
    kPasswd,
    kMisc,
    kGroup,
    kGroupDesc,
    kSmbConf,
    kAfp,
    kExports,
    kCount
};

inline constexpr char kSmbpasswdPath[] = "/usr/morv/etc/private/smbpasswd";
inline constexpr char kShadowPath[] = "/etc/shadow";
inline constexpr char kPasswdPath[] = "/etc/passwd";
inline constexpr char kMiscPath[] = "/etc/morvuser.conf";
inline constexpr char kGroupPath[] = "/etc/group";
inline constexpr char kGroupDescPath[] = "/etc/group_desc";
inline constexpr char kSmbConfPath[] = "/usr/morv/etc/smb.conf";

// Which record a change leaves while it renames: the one of the first lock that it holds, so that no two
// changes use one at a time.
enum class Record { kUser, kGroup, kShare };

class FileChanges {
  public:
    FileChanges() noexcept;
    ~FileChanges();  // removes new versions that were not committed
    FileChanges(const FileChanges &) = delete;
    FileChanges &operator=(const FileChanges &) = delete;

    // Reads a file, once. Answers 0, ERR_OPEN_FAILED, ERR_READ_FAILED or ERR_OUT_OF_MEMORY. "afpd.conf" and
    // "exports" may be missing: they are then empty and stay so.
    int load(AccountFile file) noexcept;
    std::string_view text(AccountFile file) const noexcept;

    // What the file was when it was read.
    const struct stat &read_state(AccountFile file) const noexcept;

    // The new text; none is written when it is the old one. The file must be loaded.
    void set(AccountFile file, std::string text) noexcept;
    bool changes(AccountFile file) const noexcept;

    // Writes the new versions and puts them in place. A failure before the first rename leaves every file
    // as it was; after that, ERR_RENAME_FAILED says that finish_interrupted has to do the rest.
    int commit(Record record) noexcept;

    // Whether a commit has put the first new version in place: the others follow, whatever it answered.
    bool is_decided() const noexcept { return decided_; }

    // Writes the new versions, complete and synced, and leaves them for rename_versions. Old versions of
    // the other files that were loaded go.
    int write_versions() noexcept;

    // What the file is after a commit: what a mirror is to be marked with.
    const struct stat &new_state(AccountFile file) const noexcept;

  private:
    struct File;
    int prepare() noexcept;

    bool decided_ = false;
    std::unique_ptr<File> files_[static_cast<int>(AccountFile::kCount)];
};

// Finishes what a killed process has decided and not done, and drops what it had not decided. The locks of
// all account families must be held exclusively. Answers 0 or an error code.
int finish_interrupted() noexcept;

// Removes new versions that nobody decided on, of the files under these locks, which must be held
// exclusively.
void drop_undecided(uint32_t locks) noexcept;

// Whether there is something to finish that concerns the files under these locks.
bool is_interrupted(uint32_t locks) noexcept;

// Renames the new versions that exist over their files, in the order given. Answers 0 or ERR_RENAME_FAILED,
// and then which file it was.
int rename_versions(std::span<const AccountFile> files, AccountFile *failed) noexcept;

// Removes the new versions that exist. Answers 0 or ERR_ACCESS_DENIED, and then the last file it failed on.
int remove_versions(std::span<const AccountFile> files, AccountFile *failed) noexcept;

// "/etc/passwd", and what its new version has behind that: ".tmp"
const char *path_of(AccountFile file) noexcept;
const char *suffix_of(AccountFile file) noexcept;

}  // namespace morv
