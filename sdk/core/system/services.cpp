#include "core/system/services.h"

#include <morvsdk/service.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/system/sysfs.h"

namespace morv {

namespace {

constexpr char kFolder[] = "/usr/morv/etc/rc.d";
constexpr int kTries = 30;
constexpr int kLongerEachTime = 10;  // milliseconds

bool is_digit(char c) noexcept {
    return c >= '0' && c <= '9';
}

constexpr struct {
    const char *name;
    uint32_t service;
} kNames[] = {
    {"web", MORV_SERVICE_WEB},
    {"photo", MORV_SERVICE_PHOTO},
    {"media", MORV_SERVICE_MEDIA},
    {"netbackup", MORV_SERVICE_NETBACKUP},
    {"surveillance", MORV_SERVICE_SURVEILLANCE},
    {"audio", MORV_SERVICE_AUDIO},
    {"ftp", MORV_SERVICE_FTP},
    {"smb", MORV_SERVICE_WINDOWS},
    {"afp", MORV_SERVICE_APPLE},
    {"nfs", MORV_SERVICE_NFS},
    {"mysql", MORV_SERVICE_MYSQL},
    {"download", MORV_SERVICE_DOWNLOAD},
    {"printer", MORV_SERVICE_PRINTER},
    {"ssh", MORV_SERVICE_SSH},
    {"management", MORV_SERVICE_MANAGEMENT},
};

uint32_t service_of(std::string_view name) noexcept {
    for (const auto &known : kNames) {
        if (name == known.name) return known.service;
    }
    return MORV_SERVICE_OTHER;
}

// "S20ftp" or "S20ftp.sh" is "ftp"; empty for what is no script's name.
std::string_view name_of(std::string_view file) noexcept {
    if (file.size() <= 3 || !is_digit(file[1]) || !is_digit(file[2])) return {};
    file.remove_prefix(3);
    constexpr std::string_view kSuffix = ".sh";
    if (file.size() > kSuffix.size() && file.ends_with(kSuffix)) file.remove_suffix(kSuffix.size());
    return file;
}

bool is_file(const char *path) noexcept {
    struct stat st;
    return stat(path, &st) == 0 && S_ISREG(st.st_mode);
}

int call(const std::string &script, const char *argument) noexcept {
    int code = ERR_OUT_OF_MEMORY;
    for (int tries = 0; code == ERR_OUT_OF_MEMORY && tries < kTries; ++tries) {
        poll(nullptr, 0, tries * kLongerEachTime);
        code = run_tool("%s %s > /dev/null 2>&1", {script, argument});
    }
    if (code) MORV_LOG(LOG_ERR, "Failed to do '%s %s'", script.c_str(), argument);
    return code;
}

template <class Iterator>
int call_all(Iterator script, Iterator end, const char *argument) noexcept {
    int result = 0;
    for (; script != end; ++script) {
        if (!script->is_on) continue;
        if (const int code = call(script->path, argument)) result = code;
    }
    return result;
}

}  // namespace

int Services::load(uint32_t services, Which which) {
    std::vector<std::string> files;
    std::vector<ServiceScript> scripts;
    if (const int code = list_names(kFolder, "S", files)) return code;
    for (const std::string &file : files) {
        const std::string_view name = name_of(file);
        const uint32_t service = service_of(name);
        if (name.empty() || (services & service) == 0) continue;
        const SysPath path((std::string(kFolder) + "/" + file).c_str());
        const std::string text = path.c_str();
        if (text.empty() || !is_file(text.c_str())) continue;
        const bool is_on = access(text.c_str(), X_OK) == 0;
        if (is_on || which == kAlsoOff)
            scripts.push_back({text, text.size() - file.size(), std::string(name), service, is_on});
    }
    scripts_ = std::move(scripts);
    return 0;
}

int Services::stop() const noexcept {
    return call_all(scripts_.rbegin(), scripts_.rend(), "stop");
}

int Services::start() const noexcept {
    return call_all(scripts_.begin(), scripts_.end(), "start");
}

int ServicePause::begin() noexcept {
    if (is_on_) return 0;
    if (const int code = no_throw([&] { return services_.load(); })) {
        MORV_LOG(LOG_ERR, "Failed to list the services, errno=0X%X", unsigned(code));
        return code;
    }
    is_on_ = true;
    services_.stop();
    return 0;
}

int ServicePause::end() noexcept {
    if (!is_on_) return 0;
    is_on_ = false;
    return services_.start() == 0 ? 0 : ERR_SYS_UNKNOWN;
}

}  // namespace morv
