/* The appliance's network services, and the settings that no other family owns.
 *
 * Services are scripts in "/usr/morv/etc/rc.d", "S" and two digits and a name, with or without ".sh", each
 * called with "start" or "stop". One that is not executable is switched off. */
#ifndef MORVSDK_SERVICE_H
#define MORVSDK_SERVICE_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/share.h> /* MORV_SERVICE_WEB to MORV_SERVICE_AUDIO */
#include <stdint.h>

MORV_BEGIN_DECLS

/* ---- Services ---------------------------------------------------------------------------------------- */

enum { MORV_SERVICES_STOP = 1, MORV_SERVICES_START = 2 };

/* Services by their bits, beyond those that own folders (share.h), and the names of their scripts. The others'
 * are "web", "photo", "media", "netbackup", "surveillance" and "audio". */
enum {
    MORV_SERVICE_FTP = 0x40,           /* ftp */
    MORV_SERVICE_WINDOWS = 0x80,       /* smb */
    MORV_SERVICE_APPLE = 0x100,        /* afp */
    MORV_SERVICE_NFS = 0x200,          /* nfs */
    MORV_SERVICE_MYSQL = 0x400,        /* mysql */
    MORV_SERVICE_DOWNLOAD = 0x800,     /* download */
    MORV_SERVICE_PRINTER = 0x1000,     /* printer */
    MORV_SERVICE_SSH = 0x2000,         /* ssh */
    MORV_SERVICE_MANAGEMENT = 0x10000, /* management: the web pages that the appliance is managed by */
    MORV_SERVICE_OTHER = 0x40000000    /* every other script */
};

/* All but the management, whose program may be the one that calls. */
enum { MORV_SERVICES_BUT_MANAGEMENT = 0x7FFEFFFF };

/* Stops all services, the last by name first, or starts all, the first by name first.
 *
 * action: MORV_SERVICES_STOP or MORV_SERVICES_START
 *
 * Every script is called, whether others failed or not; lack of memory is waited out for some seconds.
 * Returns 0, also when there are none; or -1 with ERR_BAD_PARAMETERS, ERR_UNKNOWN (the folder cannot be
 * listed), ERR_SYS_UNKNOWN (a script failed) or ERR_OUT_OF_MEMORY. */
MORV_API int MORVServiceOnOffALL(int action) MORV_NOEXCEPT;

/* The same for the services of a mask of MORV_SERVICE_...; bits that no service has do not matter. */
MORV_API int MORVNetService(int services, int action) MORV_NOEXCEPT;

/* Records in the system's event log that services of a mask were stopped or started, by their names, or as
 * "all" for MORV_SERVICES_BUT_MANAGEMENT and more. Services that are switched off, or not there, do not
 * count, and when there are no others nothing is recorded.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_UNKNOWN, ERR_OUT_OF_MEMORY or a code of MORVLogSet1. */
MORV_API int MORVNetServiceLog(int services, int action) MORV_NOEXCEPT;

/* A script of a service. */
typedef struct MORVSERVICE {
    const char *szScript; /* the name of its file, "S20ftp.sh" */
    const char *szName;   /* "ftp" */
    int32_t service;      /* MORV_SERVICE_... */
    int32_t isOn;         /* 1: it is executable, 0: it is switched off */
} MORVSERVICE;

/* Calls a function for every script in the order of starting, until it answers other than 0. The texts are
 * good for the time of the call.
 * Returns how often it was called, or -1 with ERR_BAD_PARAMETERS, ERR_UNKNOWN or ERR_OUT_OF_MEMORY. */
MORV_API int MORVServiceEnum(int (*each)(const MORVSERVICE *service, void *context),
                             void *context) MORV_NOEXCEPT;

/* ---- Settings ------------------------------------------------------------------------------------------
 *
 *     int32_t port;
 *     if (MORVSettingGetNumber(MORV_SETTING_FTP_PORT, &port) == 0) ...
 *     if (MORVSettingSetNumber(MORV_SETTING_RUN_FTP, 1) != 0) ...MLIBErrGet()
 *
 * A setting is a key of a configuration file, mostly "/etc/morvinfo.conf"; the services read it when they
 * start. Changes take MORV_LOCK_MORVINFO, and leave the file as it was when they fail; nothing is written
 * when the setting has the value already, be it by its default. */

enum {
    /* time */
    MORV_SETTING_RUN_NTP,
    MORV_SETTING_NTP_PERIOD,
    MORV_SETTING_NTP_SERVER,
    MORV_SETTING_NTP_BACKUP_SERVER,
    MORV_SETTING_DAYLIGHT_SAVING,
    /* mail */
    MORV_SETTING_MAIL_SMTP,
    MORV_SETTING_MAIL_TO1,
    MORV_SETTING_MAIL_TO2,
    /* file services */
    MORV_SETTING_APPLE_NETWORK,
    MORV_SETTING_RUN_FTP,
    MORV_SETTING_FTP_CHARSET,
    MORV_SETTING_FTP_PORT,
    MORV_SETTING_FTP_PASSIVE_FIRST,
    MORV_SETTING_FTP_PASSIVE_LAST,
    MORV_SETTING_FTP_RATE,
    /* network */
    MORV_SETTING_RUN_PPPOE,
    MORV_SETTING_PPPOE_USER,
    MORV_SETTING_PPPOE_PASSWORD,
    /* web */
    MORV_SETTING_RUN_WEB,
    MORV_SETTING_RUN_PHOTO,
    MORV_SETTING_ALBUM_PUBLIC,
    MORV_SETTING_ADD_PORT,
    MORV_SETTING_HTTP_PORT,
    MORV_SETTING_RUN_MYSQL,
    /* hardware */
    MORV_SETTING_DISK_SLEEP,
    MORV_SETTING_WRITE_CACHE,
    MORV_SETTING_RC_POWER,
    MORV_SETTING_USB_COPY_FOLDER,
    /* downloads */
    MORV_SETTING_DL_ENABLED,
    MORV_SETTING_DL_TIME,
    MORV_SETTING_DL_ORDER,
    MORV_SETTING_DL_UPLOAD_RATE,
    MORV_SETTING_DL_DOWNLOAD_RATE,
    MORV_SETTING_DL_START_PORT,
    MORV_SETTING_DL_END_PORT,
    MORV_SETTING_DL_PORT_MAP,
    MORV_SETTING_COUNT
};

/* How a setting is written. */
enum {
    MORV_SETTING_FLAG = 1,   /* "yes" or "no" in any case; as a number 1 or 0 */
    MORV_SETTING_NUMBER = 2, /* a decimal number */
    MORV_SETTING_TEXT = 3    /* at most `maximum` bytes without control characters and double quotes */
};

/* What is known of a setting. */
typedef struct MORVSETTING {
    const char *szName;    /* its key */
    const char *szFile;    /* the file that the key is in */
    int32_t kind;          /* MORV_SETTING_FLAG... */
    int32_t minimum;       /* of a number */
    int32_t maximum;       /* of a number; of a text its bytes */
    const char *szDefault; /* its value when there is none, as it would be written */
    const char *szSupport; /* null, or the key of "/etc.defaults/morvinfo.conf" that is "yes" where the model
                               has what the setting is for */
    int32_t isSecret;      /* 1: not to be shown */
    const char *szMeaning; /* a few words, in English */
} MORVSETTING;

/* What is known of a setting, by its MORV_SETTING_... or by its key; null when there is none. */
MORV_API const MORVSETTING *MORVSettingInfo(int setting) MORV_NOEXCEPT;
MORV_API int MORVSettingFind(const char *name) MORV_NOEXCEPT; /* MORV_SETTING_..., or -1 */

/* Whether this model has what a setting is for: 1 or 0, also 0 for no setting. */
MORV_API int BlMORVSettingIsSupported(int setting) MORV_NOEXCEPT;

/* Read a setting: a flag or number; any as it is written, into a buffer of size bytes. What is missing or
 * makes no sense counts as the default.
 * Return 0, or -1 with ERR_BAD_PARAMETERS (no such setting; a text is no number), ERR_NOT_ENOUGH_MEMORY (the
 * buffer is too small), ERR_OPEN_FAILED, ERR_READ_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int MORVSettingGetNumber(int setting, int32_t *pValue) MORV_NOEXCEPT;
MORV_API int MORVSettingGetText(int setting, char *buffer, int size) MORV_NOEXCEPT;

/* Change a setting: a flag or number; any from how it is written.
 * Return 0, or -1 with ERR_BAD_PARAMETERS (no such setting, or a value that it cannot have),
 * ERR_LOCK_FAILED, ERR_UNLOCK_FAILED or a code of MLIBFileSetKeyValue. */
MORV_API int MORVSettingSetNumber(int setting, int32_t value) MORV_NOEXCEPT;
MORV_API int MORVSettingSetText(int setting, const char *value) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
