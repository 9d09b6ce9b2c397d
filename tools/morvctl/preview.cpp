#include "morvctl/preview.h"

#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/service.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <span>

#include "morvctl/accounts.h"
#include "morvctl/change.h"
#include "morvctl/pairs.h"
#include "morvctl/text_lines.h"

namespace morvctl {

namespace {

// The files that a change of accounts may change, and those that it goes by.
constexpr const char *kChanged[] = {
    "/etc/passwd", "/etc/shadow",     "/etc/morvuser.conf",     "/usr/morv/etc/private/smbpasswd",
    "/etc/group",  "/etc/group_desc", "/usr/morv/etc/smb.conf", "/usr/morv/etc/afpd.conf",
    "/etc/exports"};
constexpr const char *kRead[] = {"/etc/morvinfo.conf", "/etc.defaults/morvinfo.conf", "/etc/TZ",
                                 "/usr/morv/etc/private/domain_group", "/proc/mounts"};
// Programs that the library asks.
constexpr const char *kPrograms[] = {"/usr/bin/getent"};

constexpr char kHomes[] = "/var/services/homes";

// Where a field holds nothing that has to be kept: no password, or a mark for that none is accepted.
bool is_secret(std::string_view field) {
    return field.find_first_not_of("!*") != field.npos && field != "x" && field != "X" && field != "NP" &&
           !field.starts_with("NO PASSWORD") && field.find_first_not_of('X') != field.npos;
}

// The key of a line is that of a setting which is secret.
bool is_secret_key(std::string_view key) {
    const int setting = MORVSettingFind(std::string(trim_blanks(key)).c_str());
    const MORVSETTING *info = setting < 0 ? nullptr : MORVSettingInfo(setting);
    return info && info->isSecret == 1;
}

// The text of key=value lines with the values of secret keys masked.
std::string masked_values(const std::string &text, std::set<std::string> &known, bool is_new) {
    std::string shown;
    for (size_t at = 0; at < text.size(); at = next_line(text, at)) {
        const std::string_view line = line_at(text, at);
        const size_t sign = line.find('=');
        const std::string value(trim(sign == line.npos ? "" : line.substr(sign + 1)));
        std::string_view key = line.substr(0, sign == line.npos ? 0 : sign);
        key.remove_prefix(std::min(key.find_first_not_of("#; \t"), key.size()));
        if (!value.empty() && is_secret_key(key)) {
            shown.append(line.substr(0, sign + 1));
            shown.append(is_new && !known.contains(value) ? "(new password)" : "(password)");
            if (!is_new) known.insert(value);
        } else {
            shown.append(line);
        }
        if (at + line.size() < text.size()) shown += '\n';
    }
    return shown;
}

// The text with its secrets masked: the second field, in smbpasswd the third and fourth, of every line,
// those that are comments included. `known` are the secrets of the text before the change.
std::string masked(const std::string &file, const std::string &text, std::set<std::string> &known,
                   bool is_new) {
    const bool is_samba = file.ends_with("smbpasswd");
    if (!is_samba && file != "/etc/shadow" && file != "/etc/passwd" && file != "/etc/group")
        return file.ends_with(".conf") ? masked_values(text, known, is_new) : text;
    std::string shown;
    for (size_t at = 0; at < text.size(); at = next_line(text, at)) {
        const std::string_view line = line_at(text, at);
        size_t start = 0;
        for (int field = 1; start <= line.size(); ++field) {
            const size_t end = std::min(line.find(':', start), line.size());
            const std::string_view value = line.substr(start, end - start);
            const bool holds = is_samba ? field == 3 || field == 4 : field == 2;
            if (field > 1) shown += ':';
            if (holds && is_secret(value)) {
                const std::string secret(value.substr(value.find_first_not_of("!*")));
                shown.append(value.substr(0, value.size() - secret.size()));
                shown.append(is_new && !known.contains(secret) ? "(new hash)" : "(hash)");
                if (!is_new) known.insert(secret);
            } else {
                shown.append(value);
            }
            start = end + 1;
        }
        if (at + line.size() < text.size()) shown += '\n';
    }
    return shown;
}

// Both, each once.
std::vector<std::string> all(std::span<const char *const> some, const std::vector<std::string> &others) {
    std::vector<std::string> files(some.begin(), some.end());
    for (const std::string &other : others) {
        if (std::find(files.begin(), files.end(), other) == files.end()) files.push_back(other);
    }
    return files;
}

}  // namespace

Preview::Preview(const Session &session, const std::vector<std::string> &folders,
                 const std::vector<std::string> &changed, const std::vector<std::string> &read)
    : session_(session), root_(session, all(kChanged, changed), all(kRead, read)) {
    for (const char *program : kPrograms) {
        const std::string real = system_path(session, program);
        if (access(real.c_str(), X_OK) != 0) continue;
        std::filesystem::create_directories(folder_of(root_.path() + program));
        std::filesystem::create_symlink(real, root_.path() + program);
    }
    mirror_folder(kHomes);
    for (const std::string &folder : folders)
        mirror_folder(folder);
    List shares;
    if (MORVShareEnum(shares.address(), 0) < 0) return;  // what is wrong, the change itself will say
    for (const std::string &name : shares.items()) {
        MORVSHARE *share = nullptr;
        if (MORVShareGet(name.c_str(), &share) != 0) continue;
        mirror_folder(share->szPath);
        MORVShareFree(share);
    }
}

bool Preview::has_folder(const std::string &folder) const {
    struct stat st;
    return lstat((root_.path() + folder).c_str(), &st) == 0;
}

void Preview::mirror_folder(const std::string &folder) {
    // What does not begin with a slash, or goes up, the library may refuse or not: nothing is made for it.
    if (folder.empty() || folder[0] != '/' || (folder + "/").find("/../") != folder.npos) return;
    for (size_t end = 0; end != folder.npos;) {
        end = folder.find('/', end + 1);
        const std::string part = folder.substr(0, end);
        struct stat st;
        if (stat(system_path(session_, part).c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) break;
        std::error_code ignored;
        std::filesystem::create_directory(root_.path() + part, ignored);
    }
    folders_[folder] = has_folder(folder);
}

void Preview::show(const Session &session, Json &document) const {
    Json folders = Json::array();
    for (const auto &[folder, existed] : folders_) {
        const bool exists = has_folder(folder);
        if (exists == existed) continue;
        const char *change = exists ? "made" : "removed";
        folders.push_back({{"folder", folder}, {"change", change}});
        if (!session.json) print_line("folder " + escape(folder) + ": " + change);
    }
    document["folders"] = folders;
    root_.show(session, document, [](const std::string &file, std::string &before, std::string &after) {
        std::set<std::string> known;
        before = masked(file, before, known, false);
        after = masked(file, after, known, true);
    });
}

}  // namespace morvctl
