/* Configuration files: key/value files, sectioned files, single lines, and the locks around them.
 *
 *   #include <morvsdk/file.h>
 *
 *   char value[256];
 *   int n = MLIBFileGetKeyValue("/etc/morvinfo.conf", "timezone", value, sizeof value, 0);
 *   if (n > 0)       ...value holds the text, n is its length plus one
 *   else if (n == 0) ...the file has no such key
 *   else             ...MLIBErrGet() says why
 *
 * A read-modify-write of a file that others change too is bracketed by its lock; the functions that write
 * take none themselves:
 *
 *   if (ErrMLIBFileLock(MORV_LOCK_MORVINFO | MORV_LOCK_WRITE, 5) == 0) {
 *       MLIBFileSetKeyValue("/etc/morvinfo.conf", "timezone", "Taipei", "%s=\"%s\"\n");
 *       ErrMLIBFileUnlock(MORV_LOCK_MORVINFO);
 *   }
 *
 * What holds for all of them
 *
 *   Failure   The error state (error.h) holds the code, and errno the reason of a failed system call.
 *             Output arguments are written on success only; a hash or list that a function fills may hold
 *             a part of the answer after a failure.
 *   Writing   Unless a function says that it writes in place, it makes the new content in a temporary file
 *             "PATH.XXXXXX" beside the target (mode 0600 from its first moment, then the owner, group, mode,
 *             access list and extended attributes of the target), syncs it to disk and renames it over the
 *             target. A reader sees the old or the new file, whole. On any failure the target is as it was
 *             and the temporary file is gone. A target that is a symbolic link stays one: the file that it
 *             leads to is replaced. Further hard links to the old file keep the old content.
 *             After a power loss the old or the new file is there, whole. That it is the new one is promised
 *             only with MORVFileDurabilitySet(MORV_DURABLE).
 *   Text      A key, a value or a section name that holds a line feed is refused by the writers
 *             (ERR_BAD_PARAMETERS): it would become lines of its own. So is an empty key, which any blank
 *             line holds (MLIBFileSetKeys passes over it). A line of a file counts for matching up to its
 *             first NUL byte, and is copied with all of its bytes; MLIBFileReplaceSubStr alone looks
 *             behind the NUL, too.
 *   Formats   Writers of pairs take a print format for key and value, "%s=%s\n" when null. It may hold at
 *             most two conversions, each a "%s" (with width or precision as digits), and "%%"; anything
 *             else is refused with ERR_BAD_PARAMETERS.
 *   Codes     ERR_BAD_PARAMETERS, ERR_OUT_OF_MEMORY, and for files: ERR_OPEN_FAILED (target or
 *             temporary file cannot be opened, or the target is a folder, a device or a pipe),
 *             ERR_STAT_FAILED, ERR_READ_FAILED, ERR_WRITE_FAILED (writing, syncing, owner, mode or
 *             closing of the new file), ERR_RENAME_FAILED. Called "the rewrite's codes" below. */
#ifndef MORVSDK_FILE_H
#define MORVSDK_FILE_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <morvsdk/hash.h>
#include <morvsdk/list.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

MORV_BEGIN_DECLS

/* ---- The system root ------------------------------------------------------------------------------- */

/* Puts dir in front of every absolute path that the library itself names (lock files, account files,
 * tools...); paths that callers pass are used as they are given. Null or "" means none, as on an appliance.
 * Without a call the environment variable MORV_ROOT decides, except in a set-user-ID program.
 *
 * dir: a folder; it is resolved, so a later change of folder does not matter.
 * Returns 0, or -1 with ERR_PATH_NOT_FOUND. */
MORV_API int MORVSysRootSet(const char *dir) MORV_NOEXCEPT;

enum {
    MORV_ATOMIC = 0, /* after a power loss the old or the new file is there, whole */
    MORV_DURABLE = 1 /* once the call has returned, the new file is there */
};

/* Chooses what a rewrite promises after a power loss, for the whole process: MORV_ATOMIC (at load) or
 * MORV_DURABLE, which syncs the folder too after the rename. With MORV_DURABLE a folder that cannot be synced
 * is ERR_WRITE_FAILED, with the new file already in place. Returns the former choice, or -1 with
 * ERR_BAD_PARAMETERS. */
MORV_API int MORVFileDurabilitySet(int durability) MORV_NOEXCEPT;

/* ---- Key/value files ------------------------------------------------------------------------------------
 *
 * A line holds a key, "=" and a value, the rest of the line. A line whose first byte is "#" or ";" is a
 * comment; an indented one is not. Key and value are trimmed: blanks (space, tab, carriage return, line feed)
 * at both ends go, then one pair of double quotes around the whole. Keys compare byte for byte. There is no
 * escape syntax and no limit to the length of a line. */

/* The last line that holds the key decides, not the first. A line with nothing after its "=" ends the search,
 * and what was found before it counts. */
enum { MORV_KEY_LAST = 0x1 };

/* Reads the value of one key.
 *
 * buffer, size: where the value goes, and its size in bytes with the terminating zero; null and 0 only
 *               measure.
 * flags:        0 or MORV_KEY_LAST; not negative.
 *
 * Returns the length of the value plus 1; 0 with ERR_KEY_NOT_FOUND, also when the first line with the key has
 * nothing at all after its "=" (a line with only blanks there has an empty value: 1); -1 with
 *   ERR_BAD_PARAMETERS     path or key null, buffer null with a size, size or flags negative
 *   ERR_OPEN_FAILED        no such file, or it cannot be opened or read
 *   ERR_NOT_ENOUGH_MEMORY  the value does not fit; the buffer is untouched
 *   ERR_OUT_OF_MEMORY */
MORV_API int MLIBFileGetKeyValue(const char *path, const char *key, char *buffer, int size,
                                 int flags) MORV_NOEXCEPT;

/* Sets one key. The first line with the key is replaced by format applied to the key as it is spelled there
 * (blanks and quotes included) and value; later lines with the key are dropped; without any, the line is
 * added at the end, directly after the last byte, so that it continues a last line without line feed. A
 * missing file is made with this line (mode 0666 less the umask).
 *
 * Returns 1, or -1 with the rewrite's codes; a read error counts as ERR_WRITE_FAILED. */
MORV_API int MLIBFileSetKeyValue(const char *path, const char *key, const char *value,
                                 const char *format) MORV_NOEXCEPT;

/* Drops every line that holds the key.
 * Returns the number of lines dropped; 0 with ERR_KEY_NOT_FOUND, the file is then not rewritten; -1 with the
 * rewrite's codes, but without setting one when the file cannot be opened; a read error counts as
 * ERR_WRITE_FAILED. */
MORV_API int MLIBFileRemoveKey(const char *path, const char *key) MORV_NOEXCEPT;

/* Adds a key that the file does not hold yet, in place and directly after the last byte, so that it
 * continues a last line without line feed. A missing file is made. After a crash the file may end in a
 * part of the line; a failed write is taken back. Returns 1; 0 with ERR_KEY_EXISTS; -1 with
 * ERR_BAD_PARAMETERS (also when path is a folder), ERR_OPEN_FAILED, ERR_WRITE_FAILED or
 * ERR_OUT_OF_MEMORY. */
MORV_API int MLIBFileAppendKey(const char *path, const char *key, const char *value,
                               const char *format) MORV_NOEXCEPT;

/* Reads many keys into a hash.
 *
 * wanted:     the keys to read, each from the first line that holds it; null or empty for all (then the last
 *             line of a key decides).
 * hash:       address of the caller's hash, which may move. What it held stays.
 * separators: the characters that end a key, for example "=".
 *
 * Returns the number of pairs in the hash afterwards. On a failure it returns 1, with the code set
 * (ERR_BAD_PARAMETERS, ERR_OUT_OF_MEMORY, ERR_OPEN_FAILED: also for a folder or a read error): look at the
 * hash, not at the result. */
MORV_API int MLIBFileGetKeys(const char *path, const MLIBSZLIST *wanted, MLIBSZHASH **hash,
                             const char *separators) MORV_NOEXCEPT;

/* Sets and removes many keys in one rewrite. The first line of a key in set is replaced, its later lines
 * stay; the first line of a key in remove is dropped; keys of set that no line holds are added at the
 * end, directly after the last byte, in the hash's own order. An indented comment is a comment here. A
 * missing file is made with mode 0644 and the user and group of the process.
 *
 * set:    the pairs; used up: every pair written is removed from it. An empty key is not written.
 * remove: keys to remove (their values do not matter), used up likewise; or null.
 *
 * Returns the number of lines replaced, removed and added, or -1 with the rewrite's codes; a read error
 * counts as ERR_WRITE_FAILED. On failure both hashes are as they were. */
MORV_API int MLIBFileSetKeys(const char *path, MLIBSZHASH *set, MLIBSZHASH *remove,
                             const char *format) MORV_NOEXCEPT;

/* Reads every pair of the file into a hash; the last line of a key decides. A line without "=" or without a
 * key is skipped, but leaves ERR_BAD_PARAMETERS in the error state.
 *
 * hash: address of the caller's hash, which may move. What it held stays.
 * Returns the number of pairs in the hash afterwards, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED (also
 * for a folder or a read error) or ERR_OUT_OF_MEMORY. */
MORV_API int MLIBFileGetPair(const char *path, MLIBSZHASH **hash) MORV_NOEXCEPT;

/* Makes the file hold just the pairs of hash, in the hash's own order. It writes in place: after a crash or a
 * full disk the file may be empty or partial. Readers may see it so too.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS (also a format without "%s", "=", "%s" and a line feed in this
 * order; the file is then untouched), ERR_OPEN_FAILED, ERR_WRITE_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int ErrMLIBFileSetPair(const char *path, const MLIBSZHASH *hash, const char *format) MORV_NOEXCEPT;

/* Sets each pair of hash as MLIBFileSetKeyValue does, one rewrite a key; MLIBFileSetKeys does it in one.
 * Pairs written before a failure stay written. Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_OP_FAILURE
 * (empty hash), ERR_KEY_NOT_FOUND (a key without a value) or ERR_WRITE_FAILED (any
 * failed rewrite). */
MORV_API int MLIBFileMergePairs(const char *path, const MLIBSZHASH *hash, const char *format) MORV_NOEXCEPT;

/* Answers 1 when the key's value equals expected but for the case of ASCII letters, 0 when it differs or
 * cannot be read (logged; a value of 512 bytes or more counts so) or an argument is null (not logged), and
 * fallback when the file has no such key. */
MORV_API int BlMORVFileCheckKeyValue(const char *path, const char *key, const char *expected,
                                     int fallback) MORV_NOEXCEPT;

/* ---- Sectioned files ------------------------------------------------------------------------------------
 *
 * A section opens with a line "[name]": nothing before the "[", only blanks after the "]" (here also vertical
 * tab and form feed). Its body are the lines up to the next such line; readers, though, stop at any line that
 * starts with "[". Names compare byte for byte. Lines before the first section belong to none.
 *
 * A writer of a section refuses a pair whose line would start with "[" (ERR_BAD_PARAMETERS). */

/* Reads the pairs of the first section with that name into a hash. Lines that start with "#" or ";" but hold
 * a "=" are pairs too; ErrMLIBFileSetSection, which keeps comments, would write them a second time. A line
 * without "=" or key is skipped, but leaves ERR_BAD_PARAMETERS in the error state.
 *
 * hash: address of the caller's hash, which may move. What it held stays.
 * Returns the number of pairs in the hash afterwards, unchanged and without an error code when the file has
 * no such section; -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int MLIBFileGetSection(const char *path, const char *section, MLIBSZHASH **hash) MORV_NOEXCEPT;

/* Pushes the name of each section onto a list, in file order, as often as it occurs, blanks inside the
 * brackets kept.
 *
 * list: address of the caller's list, which may move. What it held stays.
 * Returns the number of items in the list afterwards, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED or
 * ERR_OUT_OF_MEMORY, and without a code when a section's line has 1024 bytes or more. */
MORV_API int MLIBFileEnumSection(const char *path, MLIBSZLIST **list) MORV_NOEXCEPT;

/* Adds a section with the pairs of hash, in place at the end of an existing file, on a line of its own (so an
 * empty file gets an empty line first). After a crash the file may end in a part of it; a failed write is
 * taken back.
 *
 * hash: not null, but it may be empty.
 * Returns 1; 0 without a code when the file has that section already; -1 with ERR_BAD_PARAMETERS,
 * ERR_OPEN_FAILED (also when the file is missing), ERR_WRITE_FAILED or ERR_OUT_OF_MEMORY, and without a code
 * when the file cannot be read to its end. */
MORV_API int ErrMLIBFileAddSection(const char *path, const char *section, const MLIBSZHASH *hash,
                                   const char *format) MORV_NOEXCEPT;

/* Replaces the content of every section with that name by the pairs of hash, in the hash's own order, and
 * renames it when new_name is not null. Its comment lines stay, after the pairs; all its other lines go.
 *
 * hash: not null, but it may be empty.
 * Returns 1; 0 with ERR_KEY_NOT_FOUND when no section has that name; -1 with the rewrite's codes. */
MORV_API int ErrMLIBFileSetSection(const char *path, const char *section, const char *new_name,
                                   const MLIBSZHASH *hash, const char *format) MORV_NOEXCEPT;

/* Removes every section with that name; its comment lines stay.
 * Returns 1; 0 with ERR_KEY_NOT_FOUND when no section has that name; -1 with the rewrite's codes. */
MORV_API int ErrMLIBFileRemoveSection(const char *path, const char *section) MORV_NOEXCEPT;

/* Sets one key of a section, making the section at the end of the file when it is missing. The pairs are
 * written in the hash's order, the comments after them, other lines go; and so does what stands behind a line
 * that starts with "[" but opens no section. Where several sections have the name, all get the pairs of the
 * first. Returns 1, or -1 with the codes of ErrMLIBFileAddSection (also ERR_OPEN_FAILED for a missing file),
 * MLIBFileGetSection and ErrMLIBFileSetSection; 0 with ERR_KEY_NOT_FOUND should the section vanish meanwhile.
 */
MORV_API int ErrSetSecKeyVal(const char *path, const char *section, const char *key, const char *value,
                             const char *format) MORV_NOEXCEPT;

/* ---- Lines ----------------------------------------------------------------------------------------------
 *
 * Lines are chosen by a text (a pattern) or by fields. A line whose first byte is "#" or ";" never matches.
 *
 * Fields: the line is cut at every character of the separator set, and empty pieces are skipped. The list's
 * items are compared with the pieces in order, byte for byte; an empty item stands for any piece. The line
 * feed is part of the last piece. A null or empty list matches every line. */

enum {
    MORV_LINE_LAST = 0x1,    /* the last matching line counts, not the first */
    MORV_LINE_PREFIX = 0x2,  /* the pattern must stand at the start of the line */
    MORV_LINE_SUFFIX = 0x4,  /* the pattern must stand just before the line feed; not together with PREFIX,
                                which decides alone. A last line without line feed never matches */
    MORV_LINE_AFTER = 0x200, /* insert after the line, or at the end of the file */
    MORV_LINE_NOCASE = 0x400 /* compare the upper-cased texts (UTF-8); invalid UTF-8 never matches */
};

/* Reads the line that matches.
 *
 * size: of buffer in bytes, greater than 0, the terminating zero included.
 * Returns the length of the line without its line feed, plus 1; 0 with ERR_KEY_NOT_FOUND; -1 with
 * ERR_BAD_PARAMETERS, ERR_OPEN_FAILED, ERR_NOT_ENOUGH_MEMORY (it does not fit) or ERR_OUT_OF_MEMORY. */
MORV_API int MLIBFileGetLine(const char *path, const char *pattern, char *buffer, int size,
                             int flags) MORV_NOEXCEPT;

/* Inserts a line before the one that matches (after it with MORV_LINE_AFTER); without a pattern at the top of
 * the file, or at its end with MORV_LINE_AFTER, then in place: after a crash the file may end in a part of
 * the line. A last line without line feed gets one first. A missing file is made with the line, whatever the
 * pattern.
 *
 * pattern: or null; then only MORV_LINE_AFTER of the flags matters.
 * line:    without line feed, which is added: one that ends in one is followed by an empty line.
 * Returns 1; 0 with ERR_KEY_NOT_FOUND; -1 with the rewrite's codes. */
MORV_API int MLIBFileAddLine(const char *path, const char *pattern, const char *line,
                             int flags) MORV_NOEXCEPT;

/* Replaces the one line that matches, or deletes it when line is null. A missing file is made, with the line
 * if one is given. Returns 1; 0 with ERR_KEY_NOT_FOUND, the file is then not rewritten; -1 with the rewrite's
 * codes. */
MORV_API int MLIBFileSetLine(const char *path, const char *pattern, const char *line,
                             int flags) MORV_NOEXCEPT;

/* Reads the first line whose fields match.
 *
 * line: set to a new allocation with the line, without its line feed; the caller frees it with free().
 * Returns 1; 0 with ERR_KEY_NOT_FOUND; -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int MLIBFileGetLineByKey(const char *path, const MLIBSZLIST *fields, const char *separators,
                                  char **line) MORV_NOEXCEPT;

/* Replaces every line whose fields match. A line feed is added to line when it does not end in one.
 *
 * fields: not empty.
 * Returns the number of lines replaced, 0 when there are none (the file is then not rewritten), or -1 with
 * the rewrite's codes. */
MORV_API int MLIBFileSetLineByKey(const char *path, const MLIBSZLIST *fields, const char *line,
                                  const char *separators) MORV_NOEXCEPT;

/* Inserts a line before the first line whose fields match (MORV_LINE_LAST: the last one; MORV_LINE_AFTER:
 * after it). Returns 1; 0 with ERR_KEY_NOT_FOUND; -1 with the rewrite's codes; a missing file is
 * ERR_OPEN_FAILED. */
MORV_API int MLIBFileAddLineByKey(const char *path, const MLIBSZLIST *fields, const char *line, int flags,
                                  const char *separators) MORV_NOEXCEPT;

/* Replaces a text wherever it stands in the file, from left to right without overlaps, in each line for
 * itself.
 *
 * old_text: not empty.
 * Returns the number of replacements, 0 when there are none (the file is then not rewritten), or -1 with the
 * rewrite's codes. */
MORV_API int MLIBFileReplaceSubStr(const char *path, const char *old_text,
                                   const char *new_text) MORV_NOEXCEPT;

/* Finds the first line that equals text. The file is read in pieces of at most 1023 bytes, each counting as a
 * line, and each is compared without its last character: the line feed, except in a last line that has none
 * and inside of long lines. Returns the
 * number of the line, from 1; 0 without a code when there is none; -1 with ERR_BAD_PARAMETERS,
 * ERR_OPEN_FAILED or ERR_READ_FAILED. */
MORV_API int MLIBFileMatchLineNo(const char *path, const char *text) MORV_NOEXCEPT;

/* Pushes the lines of the file onto a list, line feed included, in pieces of at most 1023 bytes.
 *
 * list: address of the caller's list, which may move. What it held stays.
 * Returns 0, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED, ERR_READ_FAILED or ERR_OUT_OF_MEMORY. */
MORV_API int MLIBFileReadLines(const char *path, MLIBSZLIST **list) MORV_NOEXCEPT;

/* Pushes the names in a folder that match the pattern onto a list, in the folder's own order. "." and ".."
 * are left out, and so are names that start with "#" or ";", as comments are in a file.
 *
 * flags: MORV_LINE_PREFIX, MORV_LINE_SUFFIX (at the end of the name), MORV_LINE_NOCASE.
 * list: address of the caller's list, which may move. What it held stays.
 * Returns the number of names pushed, or -1 with ERR_BAD_PARAMETERS, ERR_OPEN_FAILED, ERR_READ_FAILED or
 * ERR_OUT_OF_MEMORY. */
MORV_API int MLIBFileEnumDir(const char *path, const char *pattern, MLIBSZLIST **list,
                             int flags) MORV_NOEXCEPT;

/* Comments out every line that matches the pattern, with ";" as its first byte, or restores those commented
 * out so. MORVFileLineComment does the same with "#".
 *
 * comment: 1 comments out; 0 takes the mark from each line that has it and matches without it.
 * flags:   MORV_LINE_PREFIX, MORV_LINE_SUFFIX, MORV_LINE_NOCASE.
 * Returns the number of lines changed; 0 with ERR_KEY_NOT_FOUND, the file is then not rewritten; -1 with the
 * rewrite's codes; a missing file is ERR_OPEN_FAILED. */
MORV_API int MLIBFileComment(const char *path, const char *pattern, int comment, int flags) MORV_NOEXCEPT;
MORV_API int MORVFileLineComment(const char *path, const char *pattern, int comment, int flags) MORV_NOEXCEPT;

/* ---- Locks ----------------------------------------------------------------------------------------------
 *
 * Locks are advisory (flock) and lie on files of their own below "/tmp/lock/", made when they are first
 * needed and never removed. A request is one or more bits, and how to take them in the low four bits. A
 * process that holds a lock may take it again; it is released when it has been released as often. Locks end
 * with the process. */

enum {
    MORV_LOCK_PW = 0x10,          /* users */
    MORV_LOCK_GR = 0x20,          /* groups */
    MORV_LOCK_SMB = 0x40,         /* file-sharing configuration */
    MORV_LOCK_RC = 0x80,          /* start-up configuration */
    MORV_LOCK_HOST = 0x100,       /* host name and interface addresses */
    MORV_LOCK_EXPORTS = 0x200,    /* NFS exports */
    MORV_LOCK_NW = 0x400,         /* name server and gateway */
    MORV_LOCK_MORVINFO = 0x800,   /* "/etc/morvinfo.conf" */
    MORV_LOCK_APPLE = 0x1000,     /* AFP settings */
    MORV_LOCK_SNMP = 0x2000,      /* SNMP settings */
    MORV_LOCK_WIN = 0x4000,       /* Windows settings */
    MORV_LOCK_TAPEBKP = 0x8000,   /* tape backup */
    MORV_LOCK_CONNECT = 0x10000,  /* connections */
    MORV_LOCK_USBIDMAP = 0x20000, /* USB device numbers */
    MORV_LOCK_DUSERUID = 0x40000, /* domain user numbers */
    MORV_LOCK_DUSERGID = 0x80000, /* domain group numbers */
    MORV_LOCK_FSTAB = 0x100000,   /* mount table */
    MORV_LOCK_HOTSWAP = 0x200000, /* disk hot swap */

    MORV_LOCK_SHARED = 0x1,
    MORV_LOCK_EXCLUSIVE = 0x2,
    MORV_LOCK_NONBLOCK = 0x4,
    MORV_LOCK_READ = 0x5, /* shared, tried again until the time is over: what readers use */
    MORV_LOCK_WRITE = 0x6 /* exclusive, likewise: what writers use */
};

/* Takes every lock of the request, or none of it.
 *
 * A lock that the process holds already keeps the mode it was first taken with until its last release: an
 * exclusive lock stays exclusive when it is asked for shared, and a shared one asked for exclusive is
 * refused.
 *
 * request: lock bits and mode.
 * timeout: in seconds; the request is tried every 50 ms until it is over, at least once. Without
 *          MORV_LOCK_NONBLOCK the call waits for each lock without limit.
 *
 * Returns 0 when all are held, or -1 with ERR_LOCK_FAILED (time over; or at once: an unknown bit, no mode, or
 * a lock held shared asked for exclusive), or with ERR_CREATE_FAILED or
 * ERR_OPEN_FAILED when the lock folder or a lock file cannot be made. */
MORV_API int ErrMLIBFileLock(uint32_t request, unsigned int timeout) MORV_NOEXCEPT;

/* Releases once each lock of bits that is held; others are ignored. The low four bits do not matter.
 * In a child made by fork this would give up the parent's locks, too: it calls ErrMLIBFileResetLock(0)
 * first. Returns 0, or -1 with ERR_UNLOCK_FAILED when a release failed; the lock is given up even so. */
MORV_API int ErrMLIBFileUnlock(uint32_t bits) MORV_NOEXCEPT;

/* For a process that has inherited locks (after fork): keeps those of bits, each as if taken once, and closes
 * all others without releasing them for the process that they came from. Returns 0, or -1 with
 * ERR_UNLOCK_FAILED when a lock file could not be closed. */
MORV_API int ErrMLIBFileResetLock(uint32_t bits) MORV_NOEXCEPT;

/* Closes every lock that is held.
 * Returns 0, or -1 with ERR_UNLOCK_FAILED when a lock file could not be closed. */
MORV_API int ErrMLIBFileCloseLock(void) MORV_NOEXCEPT;

/* ---- Small file helpers ---------------------------------------------------------------------------- */

/* Makes a temporary file (mode 0600) and opens it for writing.
 *
 * name: a template that ends in "XXXXXX", replaced by the name chosen.
 * Returns the stream, which the caller closes, or null with ERR_BAD_PARAMETERS or ERR_OPEN_FAILED. */
MORV_API FILE *MLIBFileTempFileOpen(char *name) MORV_NOEXCEPT;

/* Makes the file hold just these bytes, in one rewrite. A missing file is made (mode 0666 less the umask).
 *
 * content: size bytes; may be null when size is 0.
 * Returns 0, or -1 with the rewrite's codes. */
MORV_API int MORVFileSetContent(const char *path, const void *content, size_t size) MORV_NOEXCEPT;

/* Makes the file, empty, when there is none. An existing regular file is left alone, its times too.
 * Returns 0, or -1: with ERR_BAD_PARAMETERS for a null path, without a code (but logged) when it cannot be
 * made. */
MORV_API int MLIBFileTouch(const char *path) MORV_NOEXCEPT;

/* Answers 1 when path leads to a regular file, else 0. */
MORV_API int BlMLIBFileExist(const char *path) MORV_NOEXCEPT;

/* fopen, fdopen and freopen; of the mode text the first 7 characters count. Null on failure with errno set,
 * and no error code; a null path (but freopen's), mode or stream answers null too. */
MORV_API FILE *pfMLIBSysFopen(const char *path, const char *mode) MORV_NOEXCEPT;
MORV_API FILE *pfMLIBSysFdopen(int fd, const char *mode) MORV_NOEXCEPT;
MORV_API FILE *pfMLIBSysFreopen(const char *path, const char *mode, FILE *stream) MORV_NOEXCEPT;

/* remove, rename, rmdir and unlink: the system's result (0 or -1 with errno), nothing added. */
MORV_API int MLIBSysRemove(const char *path) MORV_NOEXCEPT;
MORV_API int MLIBSysRename(const char *from, const char *to) MORV_NOEXCEPT;
MORV_API int MLIBSysRmdir(const char *path) MORV_NOEXCEPT;
MORV_API int MLIBSysUnlink(const char *path) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
