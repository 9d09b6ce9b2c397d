#include "core/account/account_files.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <morvsdk/file.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <charconv>
#include <iterator>
#include <new>
#include <optional>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/aside.h"
#include "core/file/file_text.h"
#include "core/file/replacement_file.h"
#include "core/file/sys_path.h"
#include "core/text/fields.h"
#include "core/text/lines.h"

namespace morv {

namespace {

constexpr int kFiles = static_cast<int>(AccountFile::kCount);

struct FileEntry {
    const char *path;
    const char *suffix;  // of its new version
    uint32_t lock;
    bool may_be_missing;
};

constexpr FileEntry kTable[kFiles] = {
    {kSmbpasswdPath, ".tmp", MORV_LOCK_PW, false}, {kShadowPath, ".tmp", MORV_LOCK_PW, false},
    {kPasswdPath, ".tmp", MORV_LOCK_PW, false},    {kMiscPath, ".tmp", MORV_LOCK_PW, false},
    {kGroupPath, "_tmp", MORV_LOCK_GR, false},     {kGroupDescPath, ".tmp", MORV_LOCK_GR, false},
    {kSmbConfPath, ".tmp", MORV_LOCK_SMB, false},  {"/usr/morv/etc/afpd.conf", ".tmp", MORV_LOCK_SMB, true},
    {"/etc/exports", ".tmp", MORV_LOCK_SMB, true},
};

struct RecordEntry {
    const char *path;
    uint32_t locks;  // of the files that it may name
};

constexpr RecordEntry kRecords[] = {
    {"/etc/accounts_user.commit", MORV_LOCK_PW | MORV_LOCK_GR | MORV_LOCK_SMB},
    {"/etc/accounts_group.commit", MORV_LOCK_GR | MORV_LOCK_SMB},
    {"/etc/accounts_share.commit", MORV_LOCK_SMB},
};

constexpr std::string_view kRecordEnd = "end";
constexpr off_t kMostRecord = off_t{64} * 1024;

const FileEntry &entry_of(AccountFile file) noexcept {
    return kTable[static_cast<int>(file)];
}

// The file behind the links of its path, and its new version.
struct VersionPaths {
    char file[PATH_MAX];
    char version[PATH_MAX];
    bool find(AccountFile which) noexcept {
        const FileEntry &entry = entry_of(which);
        if (!follow_links(SysPath(entry.path).c_str(), file)) return false;
        const int length = snprintf(version, sizeof version, "%s%s", file, entry.suffix);
        return length > 0 && size_t(length) < sizeof version;
    }
};

bool parse_number(std::string_view text, unsigned long long *number) noexcept {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    return error == std::errc() && end == text.data() + text.size();
}

// A record's line: the path, then inode and size of the new version, inode, seconds and nanoseconds of the
// old file.
constexpr size_t kNumbers = 5;

void append_line(std::string &out, const char *path, const struct stat &fresh, const struct stat &old) {
    const unsigned long long numbers[kNumbers] = {fresh.st_ino,
                                                  static_cast<unsigned long long>(fresh.st_size), old.st_ino,
                                                  static_cast<unsigned long long>(old.st_mtim.tv_sec),
                                                  static_cast<unsigned long long>(old.st_mtim.tv_nsec)};
    out.append(path);
    for (const unsigned long long number : numbers)
        out.append(" ").append(std::to_string(number));
    out.append("\n");
}

// Renames the version that a line of a record names, if it is the one that was decided on and nobody else
// has changed the file since.
bool finish_line(std::string_view line) noexcept {
    std::string_view fields[kNumbers + 1];
    unsigned long long numbers[kNumbers];
    if (split_fields(line, ' ', fields) != kNumbers + 1) return true;
    for (size_t i = 0; i < kNumbers; ++i) {
        if (!parse_number(fields[i + 1], &numbers[i])) return true;
    }
    for (int i = 0; i < kFiles; ++i) {
        if (fields[0] != kTable[i].path) continue;
        VersionPaths paths;
        struct stat st;
        if (!paths.find(AccountFile(i)) || lstat(paths.version, &st) != 0) return true;  // done already
        if (!S_ISREG(st.st_mode) || st.st_ino != numbers[0] || uint64_t(st.st_size) != numbers[1])
            return true;
        if (lstat(paths.file, &st) != 0 || st.st_ino != numbers[2] ||
            uint64_t(st.st_mtim.tv_sec) != numbers[3] || uint64_t(st.st_mtim.tv_nsec) != numbers[4]) {
            return true;  // what another tool has written there stays
        }
        return rename(paths.version, paths.file) == 0;
    }
    return true;
}

// Whether the record was written to its end: only then the renames were decided.
bool is_complete(std::string_view record) noexcept {
    return record.size() >= kRecordEnd.size() + 1 && record.back() == '\n' &&
           without_line_feed(line_around(record, record.size() - 1)) == kRecordEnd;
}

int finish_record(const char *path) noexcept {
    FileText text;
    const UniqueFd fd(open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat st;
    if (!fd && errno == ENOENT) return 0;
    // What is no record of ours says nothing.
    if (!fd || fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode) || st.st_size > kMostRecord)
        return move_aside(path) ? 0 : ERR_ACCESS_DENIED;
    if (const int code = text.load(fd.get())) return code;
    if (is_complete(text.view())) {
        for (std::string_view line : Lines(text.view())) {
            if (!finish_line(without_line_feed(line))) return ERR_RENAME_FAILED;
        }
    }
    return unlink(path) == 0 ? 0 : ERR_ACCESS_DENIED;
}

}  // namespace

struct FileChanges::File {
    VersionPaths paths;
    UniqueFd fd;
    struct stat st = {};
    struct stat new_st = {};
    FileText text;
    std::string changed;
    bool changes = false;
    std::optional<ReplacementFile> version;
};

FileChanges::FileChanges() noexcept = default;
FileChanges::~FileChanges() = default;

int FileChanges::load(AccountFile which) noexcept {
    std::unique_ptr<File> &slot = files_[static_cast<int>(which)];
    if (slot) return 0;
    std::unique_ptr<File> file(new (std::nothrow) File);
    if (!file) return ERR_OUT_OF_MEMORY;
    if (!file->paths.find(which)) return ERR_OPEN_FAILED;
    file->fd.reset(::open(file->paths.file, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file->fd) {
        if (errno != ENOENT || !entry_of(which).may_be_missing) return ERR_OPEN_FAILED;
    } else {
        if (const int code = check_regular(file->fd.get())) return code;
        if (fstat(file->fd.get(), &file->st) != 0) return ERR_STAT_FAILED;
        if (const int code = file->text.load(file->fd.get())) return code;
    }
    slot = std::move(file);
    return 0;
}

std::string_view FileChanges::text(AccountFile file) const noexcept {
    const File &f = *files_[static_cast<int>(file)];
    return f.changes ? std::string_view(f.changed) : f.text.view();
}

const struct stat &FileChanges::read_state(AccountFile file) const noexcept {
    return files_[static_cast<int>(file)]->st;
}

void FileChanges::set(AccountFile file, std::string text) noexcept {
    File &f = *files_[static_cast<int>(file)];
    f.changes = f.fd && text != f.text.view();
    f.changed = f.changes ? std::move(text) : std::string();
}

bool FileChanges::changes(AccountFile file) const noexcept {
    const File *f = files_[static_cast<int>(file)].get();
    return f && f->changes;
}

// All are on their way to the disk before the first is waited for.
int FileChanges::prepare() noexcept {
    for (int i = 0; i < kFiles; ++i) {
        File *f = files_[i].get();
        if (!f || !f->changes) continue;
        f->version.emplace(f->paths.file, kTable[i].suffix);
        if (const int code = f->version->create_like(f->fd.get())) return code;
        if (const int code = f->version->write(f->changed)) return code;
        f->version->start_sync();
    }
    for (auto &f : files_) {
        if (f && f->version) {
            if (const int code = f->version->complete()) return code;
        }
    }
    return 0;
}

int FileChanges::write_versions() noexcept {
    // Whatever somebody left there must not be renamed as if it were ours.
    for (auto &f : files_) {
        if (f && unlink(f->paths.version) != 0 && errno != ENOENT) return ERR_WRITE_FAILED;
    }
    if (const int code = prepare()) return code;
    for (auto &f : files_) {
        if (f && f->version) f->version->keep();
    }
    return 0;
}

namespace {

int write_record(const char *path, std::string_view text) noexcept {
    if (unlink(path) != 0 && errno != ENOENT) return ERR_WRITE_FAILED;
    UniqueFd fd(open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!fd) return ERR_WRITE_FAILED;
    const bool written = write_all(fd.get(), text) && fsync(fd.get()) == 0;
    const bool closed = close(fd.release()) == 0;
    if (written && closed && (file_durability != MORV_DURABLE || sync_folder(path))) return 0;
    unlink(path);
    return ERR_WRITE_FAILED;
}

}  // namespace

int FileChanges::commit(Record record) noexcept {
    if (const int code = prepare()) return code;
    int count = 0;
    std::string text;
    const int failed = no_throw([&] {
        for (int i = 0; i < kFiles; ++i) {
            if (!files_[i] || !files_[i]->version) continue;
            struct stat &st = files_[i]->new_st;
            if (lstat(files_[i]->version->temporary(), &st) != 0) return int{ERR_STAT_FAILED};
            append_line(text, kTable[i].path, st, files_[i]->st);
            ++count;
        }
        text.append(kRecordEnd).append("\n");
        return 0;
    });
    if (failed) return failed;

    const SysPath path(kRecords[static_cast<int>(record)].path);
    const bool recorded = count > 1;  // a single rename needs no record
    if (recorded) {
        if (const int code = write_record(path.c_str(), text)) return code;
    }
    int unsynced = 0;
    for (auto &f : files_) {
        if (!f || !f->version) continue;
        const int code = f->version->rename_over();
        if (code == ERR_RENAME_FAILED) {
            MORV_LOG(LOG_ERR, "Rename [%s]->[%s] fail, errno=%d/%s", f->version->temporary(), f->paths.file,
                     errno, strerror(errno));
            if (decided_) {
                for (auto &rest : files_) {
                    if (rest && rest->version) rest->version->keep();
                }
            } else if (recorded) {
                unlink(path.c_str());
            }
            return code;
        }
        // The file is in its place all the same, and the others belong to it.
        if (code) unsynced = code;
        decided_ = true;
    }
    if (recorded) unlink(path.c_str());
    return unsynced;
}

const struct stat &FileChanges::new_state(AccountFile file) const noexcept {
    const File &f = *files_[static_cast<int>(file)];
    return f.version ? f.new_st : f.st;
}

void drop_undecided(uint32_t locks) noexcept {
    for (int i = 0; i < kFiles; ++i) {
        const AccountFile file = AccountFile(i);
        AccountFile failed;
        if (kTable[i].lock & locks) remove_versions({&file, 1}, &failed);
    }
}

bool is_interrupted(uint32_t locks) noexcept {
    for (const RecordEntry &record : kRecords) {
        if ((record.locks & locks) && access(SysPath(record.path).c_str(), F_OK) == 0) return true;
    }
    return false;
}

int finish_interrupted() noexcept {
    for (const RecordEntry &record : kRecords) {
        if (const int code = finish_record(SysPath(record.path).c_str())) return code;
    }
    AccountFile all[kFiles];
    for (int i = 0; i < kFiles; ++i)
        all[i] = AccountFile(i);
    AccountFile failed;
    return remove_versions(all, &failed);
}

int rename_versions(std::span<const AccountFile> files, AccountFile *failed) noexcept {
    for (const AccountFile file : files) {
        VersionPaths paths;
        struct stat st;
        *failed = file;
        if (!paths.find(file)) return ERR_RENAME_FAILED;
        if (lstat(paths.version, &st) != 0) {
            if (errno == ENOENT) continue;
            return ERR_RENAME_FAILED;
        }
        if (rename(paths.version, paths.file) != 0) return ERR_RENAME_FAILED;
    }
    return 0;
}

int remove_versions(std::span<const AccountFile> files, AccountFile *failed) noexcept {
    int code = 0;
    for (const AccountFile file : files) {
        VersionPaths paths;
        if (paths.find(file) && (unlink(paths.version) == 0 || errno == ENOENT)) continue;
        *failed = file;
        code = ERR_ACCESS_DENIED;
    }
    return code;
}

const char *path_of(AccountFile file) noexcept {
    return entry_of(file).path;
}

const char *suffix_of(AccountFile file) noexcept {
    return entry_of(file).suffix;
}

}  // namespace morv
