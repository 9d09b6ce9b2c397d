#include <morvsdk/file.h>
#include <morvsdk/share.h>

#include <string_view>

#include "core/base/fail.h"
#include "core/file/sys_path.h"

using namespace std::string_view_literals;

namespace {

constexpr struct {
    int bit;
    const char *key;
} kServices[] = {
    {MORV_SERVICE_WEB, "runweb"},
    {MORV_SERVICE_PHOTO, "runphoto"},
    {MORV_SERVICE_MEDIA, "runmediaserver"},
    {MORV_SERVICE_NETBACKUP, "runnetbackup"},
    {MORV_SERVICE_SURVEILLANCE, "runsurveillance"},
    {MORV_SERVICE_AUDIO, "runaudio"},
};

constexpr struct {
    std::string_view name;
    int owners;
} kServiceFolders[] = {
    {"web"sv, MORV_SERVICE_WEB},
    {"music"sv, MORV_SERVICE_MEDIA | MORV_SERVICE_AUDIO},
    {"video"sv, MORV_SERVICE_MEDIA},
    {"photo"sv, MORV_SERVICE_PHOTO},
    {"NetBackup"sv, MORV_SERVICE_NETBACKUP},
    {"surveillance"sv, MORV_SERVICE_SURVEILLANCE},
};

constexpr std::string_view kSystemNames[] = {"home"sv, "homes"sv, "printers"sv, "global"sv, "lost+found"sv};

bool is_any_enabled(int services) noexcept {
    const morv::SysPath conf("/etc/morvinfo.conf");
    for (const auto &service : kServices) {
        if ((services & service.bit) && BlMORVFileCheckKeyValue(conf.c_str(), service.key, "yes", 0)) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int ShareNameCheck(const char *name) noexcept {
    if (!name) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view text(name);
    if (text == "satashare" || text == "satabackup") return MORV_SHARE_NAME_SATA;
    if (text.starts_with("usbshare") || text == "usbbackup") return MORV_SHARE_NAME_USB;
    for (const std::string_view system : kSystemNames) {
        if (text == system) return MORV_SHARE_NAME_SYSTEM;
    }
    if (text.find('@') != text.npos) return MORV_SHARE_NAME_SYSTEM;
    for (const auto &folder : kServiceFolders) {
        if (text == folder.name) {
            return is_any_enabled(folder.owners) ? MORV_SHARE_NAME_SERVICE : MORV_SHARE_NAME_FREE;
        }
    }
    return MORV_SHARE_NAME_FREE;
}
