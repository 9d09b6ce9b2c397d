#include "core/system/services.h"

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

bool is_script(const std::string &name, const char *path) noexcept {
    struct stat st;
    return name.size() > 3 && is_digit(name[1]) && is_digit(name[2]) && stat(path, &st) == 0 &&
           S_ISREG(st.st_mode) && access(path, X_OK) == 0;
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
        if (const int code = call(*script, argument)) result = code;
    }
    return result;
}

}  // namespace

int Services::load() {
    std::vector<std::string> names, scripts;
    if (const int code = list_names(kFolder, "S", names)) return code;
    for (const std::string &name : names) {
        const SysPath script((std::string(kFolder) + "/" + name).c_str());
        if (is_script(name, script.c_str())) scripts.emplace_back(script.c_str());
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
