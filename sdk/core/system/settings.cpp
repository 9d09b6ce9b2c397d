#include "core/system/settings.h"

#include <errno.h>
#include <morvsdk/error.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <optional>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/family_lock.h"
#include "core/file/file_edit.h"
#include "core/file/file_text.h"
#include "core/file/key_value.h"
#include "core/file/sys_path.h"
#include "core/text/case.h"
#include "core/text/key_lines.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

namespace morv {

namespace {

constexpr char kMain[] = "/etc/morvinfo.conf";
constexpr char kPppoe[] = "/etc/pppoe.conf";  // holds a password: readable for its owner alone
constexpr char kModel[] = "/etc.defaults/morvinfo.conf";
constexpr size_t kMostBytes = size_t{1} << 20;

constexpr int32_t kFlag = MORV_SETTING_FLAG;
constexpr int32_t kNumber = MORV_SETTING_NUMBER;
constexpr int32_t kText = MORV_SETTING_TEXT;
constexpr int32_t kMostNumber = INT32_MAX;
constexpr int32_t kHost = 255, kAddress = 512, kWord = 255, kPath = 4095;  // bytes of texts

// In the order of MORV_SETTING_...
constexpr MORVSETTING kSettings[] = {
    {"runntp", kMain, kFlag, 0, 1, "no", nullptr, 0, "the clock follows a time server"},
    {"ntpperiod", kMain, kText, 0, kWord, "", nullptr, 0, "how often the time server is asked"},
    {"ntpserver", kMain, kText, 0, kHost, "", nullptr, 0, "time server"},
    {"ntpserver2", kMain, kText, 0, kHost, "", nullptr, 0, "time server when the first does not answer"},
    {"daylightsaving", kMain, kFlag, 0, 1, "no", nullptr, 0, "the clock goes by daylight saving time"},
    {"mail_smtp", kMain, kText, 0, kHost, "", nullptr, 0, "server that sends mails"},
    {"mail_to1", kMain, kText, 0, kAddress, "", nullptr, 0, "first address that is told of events"},
    {"mail_to2", kMain, kText, 0, kAddress, "", nullptr, 0, "second address that is told of events"},
    {"applenetwork", kMain, kNumber, 0, 255, "0", nullptr, 0, "Apple file service, as a mask"},
    {"runftpd", kMain, kFlag, 0, 1, "no", nullptr, 0, "FTP service"},
    {"ftpcharset", kMain, kText, 0, kWord, "UTF-8", nullptr, 0, "character set of names in FTP"},
    {"ftpport", kMain, kNumber, 1, 65535, "21", nullptr, 0, "port of the FTP service"},
    {"ftppasvmin", kMain, kNumber, 0, 65535, "0", nullptr, 0, "lowest port of passive FTP; 0: any"},
    {"ftppasvmax", kMain, kNumber, 0, 65535, "0", nullptr, 0, "highest port of passive FTP; 0: any"},
    {"ftpmaxrate", kMain, kNumber, 0, kMostNumber, "0", nullptr, 0, "FTP transfer limit, KiB/s; 0: none"},
    {"runpppoe", kPppoe, kFlag, 0, 1, "no", nullptr, 0, "connection by PPPoE"},
    {"pppoeuser", kPppoe, kText, 0, kWord, "", nullptr, 0, "user name for PPPoE"},
    {"pppoepassword", kPppoe, kText, 0, kWord, "", nullptr, 1, "password for PPPoE"},
    {"runweb", kMain, kFlag, 0, 1, "no", "supportweb", 0, "people's own web pages"},
    {"runphoto", kMain, kFlag, 0, 1, "no", "supportphoto", 0, "photo albums"},
    {"albumdefpublic", kMain, kFlag, 0, 1, "no", "supportphoto", 0, "new albums are public"},
    {"addport", kMain, kText, 0, kWord, "", "supportweb", 0, "further ports of the web service"},
    {"httpport", kMain, kNumber, 1, 65535, "80", "supportweb", 0, "port of the web service"},
    {"runmysql", kMain, kFlag, 0, 1, "no", "supportmysql", 0, "database service"},
    {"hdsleeptime", kMain, kNumber, 0, kMostNumber, "0", nullptr, 0,
     "minutes until disks sleep; 0: they never do"},
    {"writecache", kMain, kFlag, 0, 1, "yes", nullptr, 0, "disks cache what is written"},
    {"enableRCPower", kMain, kFlag, 0, 1, "no", "supportrcpower", 0, "power by remote control"},
    {"usbcopyfolder", kMain, kText, 0, kPath, "", "usbcopy", 0, "folder that USB disks are copied to"},
    {"DLEnabled", kMain, kFlag, 0, 1, "no", nullptr, 0, "download service"},
    {"szDLTime", kMain, kText, 0, kPath, "", nullptr, 0, "when downloads run"},
    {"DLOrder", kMain, kNumber, 0, kMostNumber, "0", nullptr, 0, "order in which downloads run"},
    {"DLUploadRate", kMain, kNumber, 0, kMostNumber, "0", nullptr, 0, "upload limit, KiB/s; 0: none"},
    {"DLDownloadRate", kMain, kNumber, 0, kMostNumber, "0", nullptr, 0, "download limit, KiB/s; 0: none"},
    {"DLStartPort", kMain, kNumber, 0, 65535, "6881", nullptr, 0, "lowest port of downloads"},
    {"DLEndPort", kMain, kNumber, 0, 65535, "6890", nullptr, 0, "highest port of downloads"},
    {"DLPortMapEnabled", kMain, kFlag, 0, 1, "no", nullptr, 0, "the router is asked to forward the ports"},
};
static_assert(std::size(kSettings) == MORV_SETTING_COUNT);

bool is_flag_on(std::string_view value) noexcept {
    return ascii_equal(value, "yes");
}

// Strict: digits alone, one of them at least.
bool parse_decimal(std::string_view text, int32_t &number) noexcept {
    if (text.empty() || text[0] == '-') return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

bool is_control(char c) noexcept {
    return static_cast<unsigned char>(c) < ' ' || c == 0x7F;
}

bool has_control(std::string_view text) noexcept {
    return std::any_of(text.begin(), text.end(), is_control);
}

// The value that a file's text gives a setting; false when it gives none, or one that makes no sense.
bool value_in(std::string_view text, const MORVSETTING &info, std::string &value) {
    const KeyLine line = parse_key_line(find_key_line(text, info.szName));
    return line.has_value && normalize_setting(info, trim(up_to_nul(line.value)), value);
}

// Whether it must be written for the setting to have this value: also in the place of one that makes no
// sense, but not in that of none when it is the default.
bool is_change(std::string_view text, const MORVSETTING &info, const std::string &value) {
    if (!parse_key_line(find_key_line(text, info.szName)).has_value) return value != info.szDefault;
    std::string now;
    return !value_in(text, info, now) || now != value;
}

int check_values(std::span<const SettingValue> values) {
    for (const SettingValue &value : values) {
        const MORVSETTING *const info = setting_info(value.setting);
        std::string normal;
        if (!info || !normalize_setting(*info, value.text, normal)) return ERR_BAD_PARAMETERS;
    }
    return 0;
}

// A file that somebody has made for all to read is nothing for a password: it becomes one for its owner.
class Privacy {
  public:
    explicit Privacy(const char *name) noexcept : path_(name) {
        struct stat st;
        if (stat(path_.c_str(), &st) != 0) {
            is_given_ = errno == ENOENT;
            return;
        }
        mode_ = st.st_mode & 07777;
        is_given_ = (mode_ & 077) == 0 || chmod(path_.c_str(), mode_ & 0700) == 0;
    }
    bool is_given() const noexcept { return is_given_; }
    void take_back() const noexcept {
        if ((mode_ & 077) && chmod(path_.c_str(), mode_) != 0)
            MORV_LOG(LOG_ERR, "the mode of %s stays changed: %m", path_.c_str());
    }

  private:
    const SysPath path_;
    mode_t mode_ = 0;
    bool is_given_ = false;
};

int write_file(const char *name, std::span<const SettingValue> values) {
    FileEdit file;
    if (int code = file.open(SysPath(name).c_str(), FileEdit::kMayCreate, ERR_READ_FAILED)) return code;
    std::string text(file.text());
    bool is_changed = false;
    bool holds_secret = false;
    for (const SettingValue &value : values) {
        const MORVSETTING &info = *setting_info(value.setting);
        std::string normal;
        if (info.szFile != name || !normalize_setting(info, value.text, normal) ||
            !is_change(text, info, normal))
            continue;
        if (!text.empty() && text.back() != '\n') text += '\n';
        std::string next;
        if (int code = set_key(text, info.szName, normal, "%s=\"%s\"\n", next)) return code;
        text = std::move(next);
        is_changed = true;
        holds_secret |= info.isSecret == 1 && !normal.empty();
    }
    if (!is_changed) return 0;
    if (!holds_secret) return file.commit(text, name == kPppoe ? FileEdit::kPrivate : FileEdit::kOwn);
    const Privacy privacy(name);
    const int code = privacy.is_given() ? file.commit(text, FileEdit::kPrivate) : ERR_ACCESS_DENIED;
    if (code) privacy.take_back();
    return code;
}

}  // namespace

const MORVSETTING *setting_info(int setting) noexcept {
    return setting >= 0 && setting < MORV_SETTING_COUNT ? &kSettings[setting] : nullptr;
}

int find_setting(std::string_view name) noexcept {
    const auto *const found = std::find_if(std::begin(kSettings), std::end(kSettings),
                                           [&](const MORVSETTING &info) { return name == info.szName; });
    return found == std::end(kSettings) ? -1 : static_cast<int>(found - kSettings);
}

int read_support(const char *key, bool *has) noexcept {
    *has = true;
    if (!key) return 0;
    FileText file;
    const int code = file.load_bounded(SysPath(kModel).c_str(), kMostBytes);
    if (code && !is_not_stored(code)) return code;
    const KeyLine line = parse_key_line(find_key_line(code ? std::string_view() : file.view(), key));
    *has = line.has_value && ascii_equal(trim(line.value), "yes");
    return 0;
}

bool normalize_setting(const MORVSETTING &info, std::string_view value, std::string &normal) {
    if (info.kind == MORV_SETTING_TEXT) {
        if (value.size() > static_cast<size_t>(info.maximum) || has_control(value) ||
            value.find('"') != value.npos)
            return false;
        normal = value;
        return true;
    }
    if (info.kind == MORV_SETTING_FLAG) {
        if (!is_flag_on(value) && !ascii_equal(value, "no")) return false;
        normal = is_flag_on(value) ? "yes" : "no";
        return true;
    }
    int32_t number;
    if (!parse_decimal(value, number) || number < info.minimum || number > info.maximum) return false;
    normal = std::to_string(number);
    return true;
}

std::string setting_problem(const MORVSETTING &info, std::string_view value) {
    if (info.kind == MORV_SETTING_FLAG) return "it is neither yes nor no";
    if (info.kind == MORV_SETTING_TEXT) {
        if (value.size() > static_cast<size_t>(info.maximum))
            return "it has more than " + std::to_string(info.maximum) + " bytes";
        return has_control(value) ? "it has a control character" : "it has a double quote";
    }
    const bool is_number =
        !value.empty() && value.size() <= 20 && value.find_first_not_of("-0123456789") == value.npos;
    if (!is_number) return "it is no number";
    return std::string(value) + " is not between " + std::to_string(info.minimum) + " and " +
           std::to_string(info.maximum);
}

int32_t SettingValue::number() const noexcept {
    const MORVSETTING *const info = setting_info(setting);
    int32_t number = 0;
    if (info && info->kind == MORV_SETTING_FLAG) return is_flag_on(text) ? 1 : 0;
    return info && info->kind == MORV_SETTING_NUMBER && parse_decimal(text, number) ? number : 0;
}

int read_settings(std::span<SettingValue> values) noexcept {
    return no_throw([&]() -> int {
        std::optional<FileText> file;
        const char *name = nullptr;
        for (SettingValue &value : values) {
            const MORVSETTING *const info = setting_info(value.setting);
            if (!info) return ERR_BAD_PARAMETERS;
            if (name != info->szFile) {
                name = info->szFile;
                const int code = file.emplace().load_bounded(SysPath(name).c_str(), kMostBytes);
                if (code == ERR_OPEN_FAILED && errno == ENOENT) {
                    file.emplace();
                } else if (code) {
                    return code;
                }
            }
            if (!value_in(file->view(), *info, value.text)) value.text = info->szDefault;
        }
        return 0;
    });
}

int write_settings(std::span<const SettingValue> values) noexcept {
    return no_throw([&]() -> int {
        if (int code = check_values(values)) return code;
        FamilyLock lock(MORV_LOCK_MORVINFO | MORV_LOCK_WRITE);
        if (!lock.is_held()) return MLIBErrGet();
        for (const char *name : {kMain, kPppoe}) {
            const bool is_in_it = std::any_of(values.begin(), values.end(), [&](const SettingValue &value) {
                return setting_info(value.setting)->szFile == name;
            });
            if (!is_in_it) continue;
            if (int code = write_file(name, values)) return code;
        }
        return lock.release() ? 0 : MLIBErrGet();
    });
}

}  // namespace morv
