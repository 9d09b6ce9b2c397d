#include <morvsdk/lvm.h>
#include <stdlib.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/system/command.h"

using namespace morv;

static int ask(char **text) {
    std::string report;
    if (const int code = capture_tool(
            report, "/sbin/lvm pvs --reportformat json -o pv_name,vg_name,pv_missing 2>/dev/null", {}))
        return code;
    if (report.find('\0') != report.npos) return ERR_READ_FAILED;
    *text = strdup(report.c_str());
    return *text ? 0 : ERR_OUT_OF_MEMORY;
}

extern "C" int LVMReportGet(char **text) noexcept {
    if (!text) return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = no_throw([&] { return ask(text); });
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to ask LVM for its volumes, errno=0X%X", unsigned(code));
}
