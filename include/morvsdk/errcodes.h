/* The error codes of the library.
 *
 * A code is a 32-bit signed integer: an index shifted left by 8, its low byte zero. Most indices
 * from 0 to 144 have their name in the table rgszErrMsg (error.h), too; the codes at the end of this header
 * lie in gaps of that table or beyond its end and have their name here only. */
#ifndef MORVSDK_ERRCODES_H
#define MORVSDK_ERRCODES_H

enum {
    ERR_SUCCESS = 0x0000,           /* no error has been set yet */
    ERR_NOT_ENOUGH_MEMORY = 0x0100, /* the caller's buffer is too small */
    ERR_OUT_OF_MEMORY = 0x0200,     /* an allocation failed */
    ERR_ACCESS_DENIED = 0x0300,
    ERR_LOCK_FAILED = 0x0400, /* a lock could not be taken in time */
    ERR_UNLOCK_FAILED = 0x0500,
    ERR_PATH_NOT_FOUND = 0x0600,
    ERR_FILE_NOT_FOUND = 0x0700,
    ERR_FILE_EXISTS = 0x0800,
    ERR_OPEN_FAILED = 0x0900, /* a file or device would not open */
    ERR_READ_FAILED = 0x0A00,
    ERR_WRITE_FAILED = 0x0B00, /* a write, flush, sync or close failed */
    ERR_CREATE_FAILED = 0x0C00,
    ERR_BAD_PARAMETERS = 0x0D00, /* a null, malformed or out-of-range argument */
    ERR_INVALID_SERVERNAME = 0x0E00,
    ERR_INVALID_DOMAINNAME = 0x0F00,
    ERR_INVALID_NETNAME = 0x1000,
    ERR_SERVER_UNREACHABLE = 0x1100,
    ERR_INVALID_SHARENAME = 0x1200,
    ERR_SHARE_EXISTS = 0x1300,
    ERR_NO_SUCH_SHARE = 0x1400,
    ERR_TOO_MANY_SHARES = 0x1500,
    ERR_INVALID_GROUPNAME = 0x1600,
    ERR_GROUP_EXISTS = 0x1700,
    ERR_NO_SUCH_GROUP = 0x1800,
    ERR_TOO_MANY_GROUPS = 0x1900,
    ERR_INVALID_USERNAME = 0x1A00,
    ERR_INVALID_PASSWORDNAME = 0x1B00,
    ERR_USER_EXISTS = 0x1C00,
    ERR_NO_SUCH_USER = 0x1D00,
    ERR_WRONG_PASSWORD = 0x1E00,
    ERR_TOO_MANY_USERS = 0x1F00,
    ERR_KEY_NOT_FOUND = 0x2000, /* no such key, line, section or record */
    ERR_KEY_EXISTS = 0x2100,
    ERR_SECTION_NOT_FOUND = 0x2200,
    ERR_SECTION_EXISTS = 0x2300,
    ERR_NOT_ENOUGH_QUOTA = 0x2400,
    ERR_NOT_ENOUGH_VOLUME_SPACE = 0x2500,
    ERR_SEEK_FAILED = 0x2600,
    ERR_STAT_FAILED = 0x2700,
    ERR_RENAME_FAILED = 0x2800,    /* the new file could not be put in place */
    ERR_NOT_ENOUGH_SPACE = 0x2900, /* the file system is full */
    ERR_OP_FAILURE = 0x2A00,       /* the operation as a whole failed */
    ERR_DEV_UNCONFIG = 0x2B00,
    ERR_DEV_UNMOUNTED = 0x2C00,
    ERR_OP_UNREGISTERED = 0x2D00,
    ERR_TIMER_EXPIRED = 0x2E00,
    ERR_READ_GEO = 0x3000,
    ERR_USAGE = 0x3100,
    ERR_UPDATE_OFFSET = 0x3200,
    ERR_CHECKSUM = 0x3300,
    ERR_OPEN_RAWDEVICE = 0x3400,
    ERR_OPEN_OPTFILE = 0x3500,
    ERR_READ_RAWDEVICE = 0x3600,
    ERR_WRITE_RAWDEVICE = 0x3700,
    ERR_BADPATCH = 0x3800,
    ERR_FORMAT_ERROR = 0x4000,
    ERR_NO_VOLUME_ID = 0x6000,
    ERR_NO_DISK_ID = 0x6100,
    ERR_NOT_ENOUGH_SD = 0x6200,
    ERR_SD_SIZE_NOT_ALIGN = 0x6300,
    ERR_DEVICE_BUSY = 0x6400,
    ERR_INVALID_SD = 0x6500,
    ERR_FORMAT_FAIL = 0x6600,
    ERR_CANNOT_REBUILD_DISK = 0x6700,
    ERR_BROKEN_RAID_CONF = 0x6800,
    ERR_DISK_TOO_SMALL = 0x6900,
    ERR_CANNOT_GET_MNTINFO = 0x6A00,
    ERR_BROKEN_DISK_INFO = 0x6B00,
    ERR_DISK_IO_FAILED = 0x6C00, /* the disk reported an I/O error */
    ERR_BAD_DISKSECTOR = 0x6D00,
    ERR_UDPD_INVALID_HANDLE = 0x7100,
    ERR_UDPD_RUNNING_HANDLE = 0x7200,
    ERR_UDPD_INVALID_EVENT = 0x7300,
    ERR_UDPD_INVALID_PARAMETER = 0x7400,
    ERR_UDPD_EXIT_ABNORMAL = 0x7500,
    ERR_UDPD_NOT_ENOUGH_SPACE = 0x7600,
    ERR_UDPD_TIMEOUT = 0x7700,
    ERR_UDPD_INIT_FAIL = 0x7800,
    ERR_UDPD_SEND_FAIL = 0x7900,
    ERR_UDPD_RECV_FAIL = 0x7A00,
    ERR_UNKNOWN = 0x8000,
    ERR_SYS_UNKNOWN = 0x8100, /* a system call or a child program failed */
    ERR_VOLUME_SIZE_TOO_LARGE = 0x8200,
    ERR_YP_BIND = 0x9000,

    /* without an entry in rgszErrMsg */
    ERR_MAP_FAILED = 0x3D00,          /* memory could not be mapped */
    ERR_READ_ONLY_FS = 0x8400,        /* the file system is mounted read-only */
    ERR_STORE_WALK_FAILED = 0x9800,   /* a walk over accounts ended before the last one */
    ERR_INVALID_PATH = 0x9900,        /* a path is not of the form that it must have: absolute, for one */
    ERR_INTERRUPTED = 0xAA00,         /* a call was interrupted by a signal */
    ERR_STORE_INVALID = 0xB100,       /* the file is no sound record store */
    ERR_STORE_READ_FAILED = 0xB200,   /* a record could not be read */
    ERR_STORE_WRITE_FAILED = 0xB300,  /* a record could not be written */
    ERR_STORE_DELETE_FAILED = 0xB400, /* a record could not be removed */
    ERR_STORE_END = 0xB500,           /* a walk over the records has come to its end */
    ERR_ID_NOT_FOUND = 0xB800,        /* an account is missing in the store of the ids */
    ERR_INVALID_ARRAY = 0xBE00,       /* a path is not "/dev/md" and a number */
};

#endif
