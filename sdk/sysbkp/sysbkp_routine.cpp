#include <morvsdk/internal/sysbkp.h>

// The order is that of the blocks in a file: shares name users and groups, and these name users.
#define ROW(KIND, DESCRIPTION, ID) \
    { MORVSysbkp##KIND##Export, MORVSysbkp##KIND##Import, DESCRIPTION, ID, 7 }

const MORVSYSROUTINE grgSysRoutine[24] = {
    ROW(Time, "time_desc", MORV_SYSBKP_TIME),
    ROW(Hostname, "hostname_desc", MORV_SYSBKP_HOSTNAME),
    ROW(Lang, "language_desc", MORV_SYSBKP_LANG),
    ROW(Mail, "mail_desc", MORV_SYSBKP_MAIL),
    ROW(Apple, "apple_desc", MORV_SYSBKP_APPLE),
    ROW(Windows, "windows_desc", MORV_SYSBKP_WINDOWS),
    ROW(User, "user_desc", MORV_SYSBKP_USER),
    ROW(Group, "group_desc", MORV_SYSBKP_GROUP),
    ROW(Share, "share_desc", MORV_SYSBKP_SHARE),
    ROW(HDSleepTime, "hddsleep_desc", MORV_SYSBKP_HDSLEEPTIME),
    ROW(RunFtpd, "runftpd_desc", MORV_SYSBKP_RUNFTPD),
    ROW(PPPoE, "pppoe_desc", MORV_SYSBKP_PPPOE),
    ROW(Photo, "runphoto_desc", MORV_SYSBKP_PHOTO),
    ROW(HttpPort, "httpport_desc", MORV_SYSBKP_HTTPPORT),
    ROW(MTU, "MTU_desc", MORV_SYSBKP_MTU),
    ROW(RCPower, "rcpower_desc", MORV_SYSBKP_RCPOWER),
    ROW(USBCopySet, "usbcopyset_desc", MORV_SYSBKP_USBCOPYSET),
    ROW(Web, "runweb_desc", MORV_SYSBKP_WEB),
    ROW(DCache, "dcache_desc", MORV_SYSBKP_DCACHE),
    ROW(FetchDesk, "fetch_desk_desc", MORV_SYSBKP_FETCHDESK),
    ROW(MySQL, "runmysql_desc", MORV_SYSBKP_MYSQL),
    ROW(UserQuota, "user_quota_desc", MORV_SYSBKP_USERQUOTA),
    ROW(Finish, "", MORV_SYSBKP_FINISH),
    {},
};

int32_t gimp_status;
MLIBSZHASH *gpshUser;
