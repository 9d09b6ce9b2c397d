#include <morvsdk/file.h>
#include <morvsdk/log.h>
#include <stdio.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/file/sys_path.h"
#include "log/log_file.h"

using namespace morv;

extern "C" int MORVLogSetSize(int size, int log) noexcept {
    const SysPath conf(kLogConf);
    if (!BlMLIBFileExist(conf.c_str())) {
        if (make_log_settings(kIfMissing) != 0) {
            syslog(LOG_ERR, "logconf file created error while set size coz the logconf not exist!");
            return MORV_FAIL(ERR_OPEN_FAILED, -1);
        }
        syslog(LOG_INFO, "logconf file not exist! created one!");
    }
    const char *const key = log_size_key(log);
    if (!key) syslog(LOG_ERR, "logclass error!");
    if (!key || size < MORV_LOG_SIZE_MIN) return -1;
    char value[12];
    snprintf(value, sizeof value, "%d", size);
    if (MLIBFileSetKeyValue(conf.c_str(), key, value, "%s=\t\"%s\"\n") < 0) {
        syslog(LOG_ERR, "error occured in setkeyvalue in %s.", conf.c_str());
        return -1;
    }
    return MORVLogChangeSize(size, log);
}
