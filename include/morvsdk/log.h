/* The event logs: what happened on the appliance, as records in ring files of a fixed size.
 *
 *     MORVLogSet1(MORV_LOG_SYSTEM, MORV_LOG_INFO, MORV_EVENT_USER_ADDED, "alice", NULL, NULL, NULL);
 *     MORVLogGet1(MORV_LOG_SYSTEM, "/tmp/events.txt", "enu");
 *
 * A record holds when, which program, which user, the number of the event and up to four arguments; its
 * sentence is in "/usr/morv/morvsdk/texts/LANGUAGE/events", so that every reader sees it in his language.
 * When a ring is full, its oldest records make room.
 *
 * Files and sizes of the logs are settings of "/etc/morvlog.conf". Writers and readers of a log exclude each
 * other by a lock on the file, which they wait for up to about 10 seconds; they then go on without it. A
 * record is on disk when the call returns; who is killed in it, at whatever point, leaves a log without this
 * record.
 *
 * Unless a function says otherwise, failures are told in the system log and set no error code; errno
 * keeps the cause where there is one. */
#ifndef MORVSDK_LOG_H
#define MORVSDK_LOG_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <stdint.h>
#include <stdio.h>

MORV_BEGIN_DECLS

/* The logs. MORV_LOG_ADMIN is written to the system log, but read from a file of its own. MORV_LOG_RESERVED
 * has no file: reading and writing it fails. */
enum {
    MORV_LOG_SYSTEM = 1,
    MORV_LOG_ADMIN = 2,
    MORV_LOG_CONNECTION = 3,
    MORV_LOG_RESERVED = 4,
    MORV_LOG_BACKUP = 5,
    MORV_LOG_COPY = 6,
    MORV_LOG_NETBACKUP = 7,
    MORV_LOG_SURVEILLANCE = 8
};

/* What kind of event it is. */
enum { MORV_LOG_INFO = 1, MORV_LOG_WARNING = 2, MORV_LOG_ERROR = 3 };

/* Events of the library and its tools; behind each what its arguments are. docs/formats.md says how to add
 * one. */
enum {
    MORV_EVENT_DOMAIN_UPDATE_FAILED = 0x1180050A,
    MORV_EVENT_CONFIG_IMPORTED = 0x12100042,
    MORV_EVENT_CONFIG_IMPORTED_PARTLY = 0x12100043,
    MORV_EVENT_ADDRESS_BLOCKED = 0x12A00003,    /* address */
    MORV_EVENT_ADDRESS_UNBLOCKED = 0x12A00004,  /* address */
    MORV_EVENT_ADDRESSES_BLOCKED = 0x12A00005,  /* how many */
    MORV_EVENT_BLOCK_LIST_DAMAGED = 0x12A00006, /* the copy that was kept */
    MORV_EVENT_BLOCK_SETTINGS_CHANGED = 0x12A00007,
    MORV_EVENT_BLOCKS_REMOVED = 0x12A00008,   /* how many */
    MORV_EVENT_USER_ADDED = 0x12B00001,       /* name */
    MORV_EVENT_USER_CHANGED = 0x12B00002,     /* name */
    MORV_EVENT_USER_DELETED = 0x12B00003,     /* name */
    MORV_EVENT_USERS_IMPORTED = 0x12B00004,   /* how many, file */
    MORV_EVENT_GROUP_ADDED = 0x12B00011,      /* name */
    MORV_EVENT_GROUP_CHANGED = 0x12B00012,    /* name */
    MORV_EVENT_GROUP_DELETED = 0x12B00013,    /* name */
    MORV_EVENT_SHARE_ADDED = 0x12B00021,      /* name, folder */
    MORV_EVENT_SHARE_CHANGED = 0x12B00022,    /* name */
    MORV_EVENT_SHARE_DELETED = 0x12B00023,    /* name */
    MORV_EVENT_ARRAY_CREATED = 0x12C00001,    /* array, level */
    MORV_EVENT_ARRAY_EXPANDED = 0x12C00002,   /* array */
    MORV_EVENT_ARRAY_DISK_ADDED = 0x12C00003, /* array, disk */
    MORV_EVENT_ARRAY_ASSEMBLED = 0x12C00004,  /* array */
    MORV_EVENT_ARRAY_STOPPED = 0x12C00005,    /* array */
    MORV_EVENT_ARRAY_REMOVED = 0x12C00006,    /* array */
    MORV_EVENT_DISK_INITIALIZED = 0x12C00007, /* disk */
    MORV_EVENT_VOLUME_MOUNTED = 0x12C00011,   /* volume */
    MORV_EVENT_VOLUME_UNMOUNTED = 0x12C00012, /* volume */
    MORV_EVENT_VOLUME_REMOVED = 0x12C00013,   /* volume */
    MORV_EVENT_ADDRESS_SET = 0x12D00001,      /* interface, address, mask */
    MORV_EVENT_ADDRESS_BY_DHCP = 0x12D00002,  /* interface */
    MORV_EVENT_NAME_SERVER_SET = 0x12D00003,  /* address */
    MORV_EVENT_GATEWAY_SET = 0x12D00004,      /* address */
    MORV_EVENT_MTU_SET = 0x12D00005,          /* interface, bytes */
    MORV_EVENT_HOST_NAME_SET = 0x12D00006,    /* name */
    MORV_EVENT_SERVICES_STOPPED = 0x12E00001, /* names */
    MORV_EVENT_SERVICES_STARTED = 0x12E00002, /* names */
    MORV_EVENT_SETTING_CHANGED = 0x12E00003   /* name */
};

/* The most bytes that the file of the log being written may have. MORVLogSet1 sets it from the settings;
 * who calls MORVLogSet1a sets it himself. */
extern MORV_API int glogsizeMax;

/* ---- writing ---- */

/* Appends an event.
 *
 * log:     MORV_LOG_... (not MORV_LOG_RESERVED)
 * type:    MORV_LOG_INFO, ...; of other numbers the low byte decides how they are shown
 * event:   MORV_EVENT_... or another number that the event texts know
 * argument1 to argument4: null is stored as nothing, an empty text as one blank
 *
 * Makes "/etc/morvlog.conf" when it is missing. A log larger than its setting is made smaller first.
 * Returns 0 or -1; with ERR_OPEN_FAILED when the settings could not be made. A record longer than the ring
 * can hold, or than 65,535 bytes, is refused, and nothing is dropped for it. */
MORV_API int MORVLogSet1(int log, uint16_t type, uint32_t event, const char *argument1, const char *argument2,
                         const char *argument3, const char *argument4) MORV_NOEXCEPT;

/* The same for the file `path`, with glogsizeMax as its size; null and empty arguments are both stored as
 * nothing. The file is made when it is missing, and has mode 0600 afterwards. */
MORV_API int MORVLogSet1a(const char *path, uint16_t type, uint32_t event, const char *argument1,
                          const char *argument2, const char *argument3, const char *argument4) MORV_NOEXCEPT;

/* ---- settings ---- */

/* Makes "/etc/morvlog.conf" anew, with the files of all logs and sizes of 65,536 bytes. Returns 0, or -1
 * with ERR_OPEN_FAILED. */
MORV_API int MORVSetLogConf(void) MORV_NOEXCEPT;

/* Sets the size of a log, and makes a larger file smaller at once: its oldest records go.
 *
 * size: bytes, MORV_LOG_SIZE_MIN or more
 * log:  MORV_LOG_SYSTEM, ADMIN, CONNECTION, BACKUP or COPY
 *
 * Returns 0 or -1. */
enum { MORV_LOG_SIZE_MIN = 64 };
MORV_API int MORVLogSetSize(int size, int log) MORV_NOEXCEPT;

/* Makes the file of a log that is larger than size bytes smaller; others are left as they are. Returns 0 or
 * -1. */
MORV_API int MORVLogChangeSize(int size, int log) MORV_NOEXCEPT;

/* Rewrites a log without its oldest records, at least `excess` bytes of them. Readers see the old file or the
 * new one, also after a crash. Records of 256 bytes or more do not survive it: one is left out of a log that
 * has wrapped, and ends the copy of one that has not.
 * Returns 0, or -1, also when there is no such file. */
MORV_API int MORVLogChangeSize_a(int excess, const char *path) MORV_NOEXCEPT;

/* Where a log is, or would be.
 *
 * access: MORV_LOG_FOR_WRITING or MORV_LOG_FOR_READING, which only differ for MORV_LOG_ADMIN
 * path:   gets the path in the system, of size bytes
 * pSize:  null, or gets the size that the next writer would use
 *
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (null, no such log) or ERR_NOT_ENOUGH_MEMORY. */
enum { MORV_LOG_FOR_WRITING = 0, MORV_LOG_FOR_READING = 1 };
MORV_API int MORVLogPathGet(int log, int access, char *path, int size, int *pSize) MORV_NOEXCEPT;

/* ---- reading ---- */

/* Writes a log as text, the oldest event first, a line for each:
 *
 *     type number, type, "2008/02/29 13:37:00", program, user, sentence    (separated by tabs)
 *
 * log:      MORV_LOG_...
 * output:   the file to write; null for "./output"
 * language: "enu", "ger", "fre", "jpn", "cht", ...; null for "enu"
 *
 * Times are local ones of the caller's zone. Events without a text in that language are left out and told in
 * the system log. A log that is damaged is read as far as it is sound, and its end set there; as it was, it is
 * kept beside the log if that can be, with ".damaged" behind its name.
 * Returns 0 or -1. */
MORV_API int MORVLogGet1(int log, const char *output, const char *language) MORV_NOEXCEPT;

/* The same for the file `path`; event texts stay in the cache, so that the first language read stays in use
 * in this process until MORVLogGet1 is called. */
MORV_API int MORVLogGet1a(const char *path, const char *output, const char *language) MORV_NOEXCEPT;

/* An event read. The texts are good for the time of the call; they may hold any bytes but NUL. */
typedef struct MORV_LOG_EVENT {
    int64_t time;    /* seconds since the epoch */
    uint32_t event;  /* its number */
    uint16_t type;   /* MORV_LOG_INFO, ... */
    uint16_t length; /* of the record in bytes */
    int32_t offset;  /* of the record in the file */
    const char *szProgram;
    const char *szUser;
    const char *szArgument[4]; /* "" for none */
} MORV_LOG_EVENT;

/* Where a ring stands. */
typedef struct MORV_LOG_STATE {
    uint64_t generation; /* another one when the file is another one */
    int64_t size;        /* of the file in bytes */
    int32_t head;        /* offset of the oldest record */
    int32_t tail;        /* offset behind the newest */
    int32_t records;     /* how many there are, as far as it is sound */
    int32_t damage;      /* offset of the first byte that cannot be understood; 0: it is sound */
} MORV_LOG_STATE;

/* Calls `each` for every record of the file `path`, the oldest first, and changes nothing.
 *
 * each:   answers 0 to go on, anything else ends the walk; null to only look at the state. The log is not
 *         locked while it is called, and it may take its time
 * pState: null, or gets what was found, also when the log is damaged
 *
 * Returns the number of records given to `each`; or -1 with ERR_BAD_PARAMETERS, ERR_FILE_NOT_FOUND,
 * ERR_OPEN_FAILED (also: no regular file), ERR_READ_FAILED, ERR_FORMAT_ERROR (no event log at all) or
 * ERR_OUT_OF_MEMORY. */
MORV_API int MORVLogEnum(const char *path, int (*each)(const MORV_LOG_EVENT *event, void *context),
                         void *context, MORV_LOG_STATE *pState) MORV_NOEXCEPT;

/* Writes one line as MORVLogGet1 does. Control characters in texts become blanks.
 *
 * record: a record behind its length field, of length bytes
 *
 * Returns 0 always: for a record that is cut short or has no text nothing is written. */
MORV_API int MORVLogEventSpread(FILE *output, const void *record, const char *language,
                                int length) MORV_NOEXCEPT;

/* The sentence of an event: its text with "@1" to "@4" replaced by the arguments that are neither null nor
 * empty. Texts are kept: the language of the first call stays in use, see MORVLogGet1a.
 *
 * language: null for "enu"; letters, digits, "_" and "-"
 *
 * Returns a new string, to be freed with free(); "" when there is no text for the event; null on lack of
 * memory. */
MORV_API char *MORVLogConvertEventKey(uint32_t event, const char *language, const char *argument1,
                                      const char *argument2, const char *argument3,
                                      const char *argument4) MORV_NOEXCEPT;

/* The name of a type, of at most 11 bytes, in a buffer that the next call uses again; "Unknown" when there is
 * no text for it that fits. language: as above. */
MORV_API const char *MORVLogConvertType(int type, const char *language) MORV_NOEXCEPT;

/* A time as "2008/02/29 13:37:00", local, in a buffer that the next call uses again. */
MORV_API const char *MORVLogConvertTime1(int64_t time) MORV_NOEXCEPT;

/* The user that events are recorded for: the environment variable "USERNAME", unless it has more than 255 bytes or
 * the program is a set-user-ID one; else the name of the effective
 * user, else "". "root" is "admin". In a buffer that the next call uses again, of 256 bytes. */
MORV_API const char *MORVLogObtainUser(void) MORV_NOEXCEPT;

/* ---- reports ---- */

/* Makes a report.
 *
 * kind, subKind: MORV_LOG_REPORT and MORV_LOG_CONNECTIONS: the client connections of now
 * mode:          MORV_LOG_TO_FILE: output is the path of the file to write, a line for each.
 *                MORV_LOG_TO_MEMORY: output is a char **, and gets a text to be freed with free(), the lines
 *                joined by tabs, or null when there are none.
 *
 * A line: time, user, client, service, and 4 (file sharing), 5 (Apple file sharing) or 7 (FTP), separated by
 * tabs. Returns the number of lines; or -1, with ERR_BAD_PARAMETERS for anything else than this, or a code of
 * what failed. */
enum { MORV_LOG_REPORT = 2, MORV_LOG_CONNECTIONS = 1 };
enum { MORV_LOG_TO_MEMORY = 0, MORV_LOG_TO_FILE = 1 };
MORV_API int MORVLogGet(int kind, int subKind, int mode, void *output) MORV_NOEXCEPT;

/* ---- the ring file, by an open descriptor ---- */

/* Makes sure of the header. Returns 12 when it was written anew (the first four bytes were not "MORV"), 4
 * when it is there, or -1. */
MORV_API int MORVLogInit(int fd) MORV_NOEXCEPT;

/* The offsets of the oldest record and behind the newest. Return the offset, or -1. */
MORV_API int MORVLogGetHead(int fd) MORV_NOEXCEPT;
MORV_API int MORVLogGetTail(int fd) MORV_NOEXCEPT;

/* Store them, and sync the file. Return the number of bytes written (4), or -1. */
MORV_API int MORVLogSetHead(int fd, int offset) MORV_NOEXCEPT;
MORV_API int MORVLogSetTail(int fd, int offset) MORV_NOEXCEPT;

/* Read and write at the current offset. Return count, or -1 when fewer bytes moved. */
MORV_API int MORVLogReadByte(int fd, void *buffer, int count) MORV_NOEXCEPT;
MORV_API int MORVLogWriteByte(int fd, const void *buffer, int count) MORV_NOEXCEPT;

/* The current offset, or -1. */
MORV_API int64_t MORVLogTell(int fd) MORV_NOEXCEPT;

/* Makes a record of this moment, program and user.
 *
 * ppBuffer: gets the record, to be freed with free()
 *
 * Returns its length in bytes; 0 on lack of memory, and for one of more than 65,535 bytes. */
MORV_API int MORVLogInitEventBuffer(char **ppBuffer, uint16_t type, uint32_t event, const char *argument1,
                                    const char *argument2, const char *argument3,
                                    const char *argument4) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
