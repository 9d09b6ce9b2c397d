#include "sysbkp/block_info.h"

namespace morv {

namespace {

constexpr int32_t kText = MORV_SYSBKP_STRING;
constexpr int32_t kLong = MORV_SYSBKP_LONG;

constexpr FieldInfo kTime[] = {{"time", kText},
                               {"runntp", kLong, false, MORV_SETTING_RUN_NTP},
                               {"ntpperiod", kText, false, MORV_SETTING_NTP_PERIOD},
                               {"ntpserver", kText, false, MORV_SETTING_NTP_SERVER},
                               {"ntpserver2", kText, false, MORV_SETTING_NTP_BACKUP_SERVER},
                               {"timezone", kText},
                               {"daylightsaving", kLong, false, MORV_SETTING_DAYLIGHT_SAVING}};
constexpr FieldInfo kHostname[] = {{"hostname", kText}};
constexpr FieldInfo kMail[] = {{"szSmtp", kText, false, MORV_SETTING_MAIL_SMTP},
                               {"szMail1", kText, false, MORV_SETTING_MAIL_TO1},
                               {"szMail2", kText, false, MORV_SETTING_MAIL_TO2}};
constexpr FieldInfo kApple[] = {{"applenetwork", kLong, false, MORV_SETTING_APPLE_NETWORK}};
constexpr FieldInfo kWindows[] = {{"workgroup", kText}, {"wins", kLong}};
constexpr FieldInfo kUsers[] = {{"users", kLong}};
constexpr FieldInfo kUser[] = {{"name", kText},
                               {"password", kText, true},
                               {"fullname", kText},
                               {"smbpassword1", kText, true},
                               {"smbpassword2", kText, true},
                               {"expires", kLong},
                               {"privilege", kLong},
                               {"mail", kText},
                               {"maychangepassword", kLong}};
constexpr FieldInfo kGroups[] = {{"groups", kLong}};
constexpr FieldInfo kGroup[] = {
    {"type", kLong}, {"name", kText}, {"gid", kLong}, {"description", kText}, {"members", kLong}};
constexpr FieldInfo kMember[] = {{"member", kText}};
constexpr FieldInfo kShares[] = {{"shares", kLong}};
constexpr FieldInfo kShare[] = {{"name", kText},      {"path", kText},        {"comment", kText},
                                {"readwrite", kText}, {"readonly", kText},    {"denied", kText},
                                {"fType", kLong},     {"fBrowseable", kLong}, {"fFTPPrivilege", kLong}};
constexpr FieldInfo kSleep[] = {{"hdsleeptime", kLong, false, MORV_SETTING_DISK_SLEEP}};
constexpr FieldInfo kFtp[] = {{"runftpd", kLong, false, MORV_SETTING_RUN_FTP},
                              {"ftpcharset", kText, false, MORV_SETTING_FTP_CHARSET},
                              {"ftpport", kLong, false, MORV_SETTING_FTP_PORT},
                              {"ftppasvmin", kLong, false, MORV_SETTING_FTP_PASSIVE_FIRST},
                              {"ftppasvmax", kLong, false, MORV_SETTING_FTP_PASSIVE_LAST},
                              {"ftpmaxrate", kLong, false, MORV_SETTING_FTP_RATE}};
constexpr FieldInfo kPppoe[] = {{"runpppoe", kLong, false, MORV_SETTING_RUN_PPPOE},
                                {"pppoeuser", kText, false, MORV_SETTING_PPPOE_USER},
                                {"pppoepassword", kText, true, MORV_SETTING_PPPOE_PASSWORD}};
constexpr FieldInfo kPhoto[] = {{"runphoto", kLong, false, MORV_SETTING_RUN_PHOTO},
                                {"albumdefpublic", kLong, false, MORV_SETTING_ALBUM_PUBLIC}};
constexpr FieldInfo kHttpPort[] = {{"addport", kText, false, MORV_SETTING_ADD_PORT},
                                   {"httpport", kText, false, MORV_SETTING_HTTP_PORT}};
constexpr FieldInfo kMtu[] = {{"mtu", kText}};
constexpr FieldInfo kRcPower[] = {{"enableRCPower", kText, false, MORV_SETTING_RC_POWER}};
constexpr FieldInfo kUsbCopy[] = {{"usbcopyfolder", kText, false, MORV_SETTING_USB_COPY_FOLDER}};
constexpr FieldInfo kWeb[] = {{"runweb", kLong, false, MORV_SETTING_RUN_WEB}};
constexpr FieldInfo kDCache[] = {{"writecache", kLong, false, MORV_SETTING_WRITE_CACHE}};
constexpr FieldInfo kDownloads[] = {{"DLEnabled", kLong, false, MORV_SETTING_DL_ENABLED},
                                    {"szDLTime", kText, false, MORV_SETTING_DL_TIME},
                                    {"DLOrder", kLong, false, MORV_SETTING_DL_ORDER},
                                    {"DLUploadRate", kLong, false, MORV_SETTING_DL_UPLOAD_RATE},
                                    {"DLDownloadRate", kLong, false, MORV_SETTING_DL_DOWNLOAD_RATE},
                                    {"DLStartPort", kLong, false, MORV_SETTING_DL_START_PORT},
                                    {"DLEndPort", kLong, false, MORV_SETTING_DL_END_PORT},
                                    {"DLPortMapEnabled", kLong, false, MORV_SETTING_DL_PORT_MAP}};
constexpr FieldInfo kMySql[] = {{"runmysql", kLong, false, MORV_SETTING_RUN_MYSQL}};
constexpr FieldInfo kQuotaUsers[] = {{"users", kLong}};
constexpr FieldInfo kQuotaUser[] = {{"name", kText}, {"volumes", kLong}};
constexpr FieldInfo kQuotaVolume[] = {{"path", kText}, {"soft", kLong}, {"hard", kLong}};

constexpr BlockInfo kBlocks[] = {
    {MORV_SYSBKP_TIME, "time", kTime, {}, {}},
    {MORV_SYSBKP_HOSTNAME, "hostname", kHostname, {}, {}},
    {MORV_SYSBKP_LANG, "lang", {}, {}, {}},
    {MORV_SYSBKP_MAIL, "mail", kMail, {}, {}},
    {MORV_SYSBKP_APPLE, "apple", kApple, {}, {}},
    {MORV_SYSBKP_WINDOWS, "windows", kWindows, {}, {}},
    {MORV_SYSBKP_USER, "user", kUsers, kUser, {}},
    {MORV_SYSBKP_GROUP, "group", kGroups, kGroup, kMember},
    {MORV_SYSBKP_SHARE, "share", kShares, kShare, {}},
    {MORV_SYSBKP_HDSLEEPTIME, "hdsleeptime", kSleep, {}, {}},
    {MORV_SYSBKP_RUNFTPD, "runftpd", kFtp, {}, {}},
    {MORV_SYSBKP_PPPOE, "pppoe", kPppoe, {}, {}},
    {MORV_SYSBKP_PHOTO, "photo", kPhoto, {}, {}},
    {MORV_SYSBKP_HTTPPORT, "httpport", kHttpPort, {}, {}},
    {MORV_SYSBKP_MTU, "mtu", kMtu, {}, {}},
    {MORV_SYSBKP_RCPOWER, "rcpower", kRcPower, {}, {}},
    {MORV_SYSBKP_USBCOPYSET, "usbcopyset", kUsbCopy, {}, {}},
    {MORV_SYSBKP_WEB, "web", kWeb, {}, {}},
    {MORV_SYSBKP_DCACHE, "dcache", kDCache, {}, {}},
    {MORV_SYSBKP_FETCHDESK, "fetchdesk", kDownloads, {}, {}},
    {MORV_SYSBKP_MYSQL, "mysql", kMySql, {}, {}},
    {MORV_SYSBKP_USERQUOTA, "userquota", kQuotaUsers, kQuotaUser, kQuotaVolume},
    {MORV_SYSBKP_FINISH, "finish", {}, {}, {}},
};

}  // namespace

const BlockInfo *block_info(int id) noexcept {
    for (const BlockInfo &info : kBlocks) {
        if (info.id == id) return &info;
    }
    return nullptr;
}

}  // namespace morv
