#include "core/account/share_folders.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <unordered_set>

#include "core/account/named_lines.h"
#include "core/account/share_list.h"
#include "core/account/share_text.h"
#include "core/file/sys_path.h"
#include "core/file/tree_walk.h"
#include "core/text/lines.h"

namespace morv {

namespace {

constexpr std::string_view kSystemFolders[] = {
    "/bin",    "/boot", "/dev",  "/etc", "/etc.defaults", "/lib", "/lib32", "/lib64", "/libexec",
    "/libx32", "/proc", "/root", "/run", "/sbin",         "/sys", "/tmp",   "/usr",   "/var"};
constexpr std::string_view kServices = "/var/services";  // folders in it may be shared
constexpr std::string_view kHomes = "/var/services/homes";

std::string full_path(std::string_view path) {
    return SysPath(plain_path(path).c_str()).c_str();
}

// Without links as far as the path exists; empty for the root of everything.
std::string resolve(std::string_view path) {
    std::string full = full_path(path);
    char real[PATH_MAX];
    for (size_t end = full.size(); end > 0 && end != full.npos; end = full.rfind('/', end - 1)) {
        if (!realpath(full.substr(0, end).c_str(), real)) continue;
        return plain_path(std::string(real).append(full, end));
    }
    return full;
}

bool is_mount_point(std::string_view path) {
    PathPlace place;
    if (place.open(full_path(path).c_str()) != 0) return false;
    const UniqueFd folder = open_folder(place.folder.get(), place.name);
    struct stat st, above;
    if (!folder || fstat(folder.get(), &st) != 0 || fstat(place.folder.get(), &above) != 0) return false;
    const MountId mount = mount_of(folder.get(), st), around = mount_of(place.folder.get(), above);
    // Parts of a volume have devices of their own: those count only where nothing better is known.
    return mount.mount ? mount.mount != around.mount : mount.device != around.device;
}

// A folder, and which paths have been found not to need it.
class FolderUse {
  public:
    explicit FolderUse(std::string_view path)
        : folder_(resolve(path)), exists_(stat(full_path(path).c_str(), &st_) == 0) {}

    // Looks at every folder on the way: a link in the folder leads out of it, and may be mounted elsewhere.
    bool is_on_way(std::string_view path) {
        const std::string plain = plain_path(path);
        for (size_t end = 1; end != plain.npos;) {
            end = plain.find('/', end + 1);
            const std::string way = plain.substr(0, end);
            if (!apart_.insert(way).second) continue;
            struct stat st;
            if (exists_ && stat(full_path(way).c_str(), &st) == 0 && same_file(st, st_)) return true;
            if (lies_below(resolve(way), folder_)) return true;
        }
        return false;
    }

  private:
    std::string folder_;
    struct stat st_;
    bool exists_;
    std::unordered_set<std::string> apart_;
};

}  // namespace

bool is_same_place(std::string_view a, std::string_view b) {
    return resolve(a) == resolve(b);
}

SystemFolders::SystemFolders() : root_(resolve({})), services_(resolve(kServices)) {
    for (const std::string_view name : kSystemFolders)
        folders_.push_back(resolve(name));
}

bool SystemFolders::admit(std::string_view path) const {
    const std::string folder = resolve(path);
    // A link may lead out of the system root.
    if (folder == root_ || !lies_below(folder, root_)) return false;
    if (folder != services_ && lies_below(folder, services_)) return true;
    return std::none_of(folders_.begin(), folders_.end(), [&](const std::string &system) {
        return lies_below(folder, system) || lies_below(system, folder);
    });
}

bool may_be_taken_away(std::string_view path) {
    return SystemFolders().admit(path) && !lies_below(resolve(kHomes), resolve(path)) &&
           !is_mount_point(path);
}

namespace {

// Whether the path of a section that is not the share's is such a one.
template <class F>
bool has_other_path(std::string_view conf, std::string_view own_key, F &&is_one) {
    std::string name;
    std::string_view key;
    std::string_view value;
    for (ConfSections sections(conf); sections.next();) {
        if (upper_name(sections.section.name, name) && name == own_key) continue;
        for (const std::string_view line : Lines(sections.section.body())) {
            if (read_conf_line(line, &key, &value) != ConfLine::kPair || !is_same_setting(key, "path"))
                continue;
            if (value.starts_with('/') && is_one(value)) return true;
        }
    }
    return false;
}

}  // namespace

bool is_needed_by_others(std::string_view path, std::string_view conf, std::string_view own_key) {
    FolderUse folder(path);
    return has_other_path(conf, own_key, [&](std::string_view other) { return folder.is_on_way(other); });
}

bool is_path_of_others(std::string_view path, std::string_view conf, std::string_view own_key) {
    const std::string plain = plain_path(path);
    return has_other_path(conf, own_key, [&](std::string_view other) { return plain_path(other) == plain; });
}

}  // namespace morv
