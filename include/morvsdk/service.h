/* The appliance's network services: scripts in "/usr/morv/etc/rc.d", "S" and two digits and a name, each
 * called with "start" or "stop". One that is not executable is switched off. */
#ifndef MORVSDK_SERVICE_H
#define MORVSDK_SERVICE_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>

MORV_BEGIN_DECLS

/* Stops all services, the last by name first, or starts all, the first by name first.
 *
 * action: MORV_SERVICES_STOP or MORV_SERVICES_START
 *
 * Every script is called, whether others failed or not; lack of memory is waited out for some seconds.
 * Returns 0, also when there are none; or -1 with ERR_BAD_PARAMETERS, ERR_UNKNOWN (the folder cannot be
 * listed), ERR_SYS_UNKNOWN (a script failed) or ERR_OUT_OF_MEMORY. */
enum { MORV_SERVICES_STOP = 1, MORV_SERVICES_START = 2 };
MORV_API int MORVServiceOnOffALL(int action) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
