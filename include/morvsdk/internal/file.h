/* Internal functions of the file family. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_FILE_H
#define MORVSDK_INTERNAL_FILE_H

#include <morvsdk/file.h>

MORV_BEGIN_DECLS

/* Answers 1 when a format may be used to write pairs to a file: it is null (the default is then used), or it
 * holds "%s", after it "=", after that a second "%s", and after that a line feed. Else 0. No error is set. */
MORV_API int MLIBIFileCheckFormat(const char *format) MORV_NOEXCEPT;

/* Sets a key as MLIBFileSetKeyValue does, and adds it with MLIBFileAppendKey should that ever answer 0. */
MORV_API int MLIBIFileSetKeyValue(const char *path, const char *key, const char *value,
                                  const char *format) MORV_NOEXCEPT;

/* Cuts line at its first "=", not counting those at its very start, and answers 1 when what stands before the
 * cut (and behind the skipped ones), trimmed, is the key; else 0. A comment is not cut. Null: 0 with
 * ERR_BAD_PARAMETERS. */
MORV_API int MLIBILineKeyMatch(char *line, const char *key) MORV_NOEXCEPT;

/* Makes the lock folder and the lock files that are missing.
 * Returns 0, or -1 with ERR_CREATE_FAILED (folder) or ERR_OPEN_FAILED (file). */
MORV_API int ErrMLIBILockCheckDir(void) MORV_NOEXCEPT;

/* Makes a name from prefix, process id and a counter: "PREFIX1234-0". The file is not made.
 * size: of buffer in bytes. Returns 0, or -1 without a code (null, size negative or too small). */
MORV_API int MLIBFileITmpName(const char *prefix, char *buffer, int size) MORV_NOEXCEPT;

enum { MORV_SECTION_WRITE = 0x1 };

/* Rewrites a file without the sections of that name, or with MORV_SECTION_WRITE with the pairs of hash (null:
 * none) in their place, under new_name when it is not null. The file is rewritten also when none matches.
 * Returns 1; 0 with ERR_KEY_NOT_FOUND; -1 with the rewrite's codes. */
MORV_API int ErrMLIBIFileModifySection(const char *path, const char *section, const char *new_name,
                                       const MLIBSZHASH *hash, int flags, const char *format) MORV_NOEXCEPT;

/* Answers 1 when the line (length bytes) opens a section, else 0. No error is set. */
MORV_API int MLIBIFileIsSection(const char *line, int length) MORV_NOEXCEPT;

/* Answers 1 when the line (length bytes) opens the section with that name, 0 when not, -1 with
 * ERR_BAD_PARAMETERS for null. */
MORV_API int MLIBIFileMatchSection(const char *line, int length, const char *section) MORV_NOEXCEPT;

/* Answers 1 when the line matches the pattern, 0 when not or with ERR_BAD_PARAMETERS (null, negative flags)
 * or ERR_OUT_OF_MEMORY. flags: MORV_LINE_... */
MORV_API int MLIBILineMatch(const char *line, const char *pattern, int flags) MORV_NOEXCEPT;

/* Answers 1 when the line's fields match, 0 when not, -1 with ERR_BAD_PARAMETERS (line or separators null) or
 * ERR_OUT_OF_MEMORY. */
MORV_API int MLIBIFileMatch(const char *line, const MLIBSZLIST *fields, const char *separators) MORV_NOEXCEPT;

/* Turns round which of the matching lines are comments: active ones get mark as their first byte, those that
 * have it lose it. mark: ';' or '#'. flags and result: as MLIBFileComment. */
MORV_API int MLIBFileIInverse(const char *path, const char *pattern, int mark, int flags) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
