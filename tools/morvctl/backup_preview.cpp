#include "morvctl/backup_preview.h"

#include <morvsdk/service.h>
#include <unistd.h>

#include <set>

#include "morvctl/network.h"
#include "morvctl/target.h"

namespace morvctl {

namespace {

// Files that the settings are in, beside those of the accounts.
std::vector<std::string> changed_files() {
    std::set<std::string> files = {kNetworkFile, kHostsFile, "/etc/morvinfo.conf", "/etc/TZ"};
    for (int setting = 0; setting < MORV_SETTING_COUNT; ++setting) {
        if (const MORVSETTING *info = MORVSettingInfo(setting)) files.insert(info->szFile);
    }
    return {files.begin(), files.end()};
}

// What the host name's address is looked up in.
std::vector<std::string> read_files(const Session &session) {
    std::vector<std::string> files = {"/proc/net/dev", "/proc/net/route", "/proc/mounts"};
    // An image has no interfaces.
    if (access(system_path(session, files[0]).c_str(), R_OK) != 0) return files;
    for (const std::string &name : interface_names(session))
        files.insert(files.end(), {lease_file(name), config_file(name)});
    return files;
}

// Those of the shares; and that of the services, which is empty in the copy, so that none is stopped.
std::vector<std::string> folders_of(const Backup &backup) {
    std::vector<std::string> folders = {"/usr/morv/etc/rc.d"};
    for (const BackupBlock &block : backup.blocks) {
        if (block.head.id != MORV_SYSBKP_SHARE) continue;
        for (const BackupRecord &share : block.records)
            folders.push_back(share.text("path"));
    }
    return folders;
}

}  // namespace

BackupPreview::BackupPreview(const Session &session, const Backup &backup)
    : preview_(session, folders_of(backup), changed_files(), read_files(session)) {}

}  // namespace morvctl
