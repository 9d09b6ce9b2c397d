/* String utilities: escaping, splitting, trimming, replacing, inserting, hexadecimal, joining.
 *
 * Two things to know before passing a buffer:
 *
 * - Functions with a dst of `char *dst or null` work on string itself when dst is null (or is string), so
 *   that its own buffer must have room for the result; with a dst they leave string alone. dst may overlap
 *   string (which then changes) unless the function says otherwise.
 * - What `size` counts is said at each function. Where it says "without the terminator", the buffer is to
 *   hold one byte more.
 *
 *     char text[64] = "key = \"a value\"\n";
 *     int length = MLIBStrTrimSpace(text, NULL);
 *
 * Errors: ERR_BAD_PARAMETERS for a null or senseless argument, ERR_NOT_ENOUGH_MEMORY for a result beyond
 * size, ERR_OUT_OF_MEMORY for a failed allocation; further ones where they are listed. After a failure the
 * content of dst is unspecified, but terminated nowhere beyond the room that was stated. */
#ifndef MORVSDK_STRING_H
#define MORVSDK_STRING_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>

MORV_BEGIN_DECLS

typedef struct MLIBSZLIST MLIBSZLIST; /* <morvsdk/list.h> */

/* Escapes src for a field of a colon-separated record: ":" becomes ";,", ";" becomes ";;".
 *
 * dst:  not src, and not overlapping it.
 * size: the most bytes to write without the terminator: dst holds size + 1.
 *
 * Returns the length of the result, or -1 with ERR_BAD_PARAMETERS or ERR_NOT_ENOUGH_MEMORY. */
MORV_API int MLIBStrEncodeColon(const char *src, char *dst, int size) MORV_NOEXCEPT;

/* Reverses MLIBStrEncodeColon. A ";" that opens neither ";," nor ";;" ends the text: it and what follows are
 * dropped.
 *
 * dst:  not src, and not overlapping it.
 * size: the most bytes that src may have, without its terminator: dst holds size + 1.
 *
 * Returns the length of the result, or -1 with ERR_BAD_PARAMETERS or ERR_NOT_ENOUGH_MEMORY. */
MORV_API int MLIBStrDecodeColon(const char *src, char *dst, int size) MORV_NOEXCEPT;

/* Splits string at every byte that is one of delimiters, and pushes the fields, empty ones too, onto a list.
 * An empty string is one empty field.
 *
 * ppList: address of the handle of an existing list.
 *
 * Returns the number of fields, or -1 with ERR_BAD_PARAMETERS, ERR_OUT_OF_MEMORY; fields before the failure
 * are on the list. */
MORV_API int MLIBStrSep(const char *string, const char *delimiters, MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* Splits "key=value" at its first "=", and pushes the key and the value, each trimmed as by MLIBStrTrimSpace,
 * onto a list.
 *
 * ppList: address of the handle of an existing list.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  a null argument; an empty key (nothing is pushed); no "=" (the key is pushed)
 *   ERR_OUT_OF_MEMORY */
MORV_API int MLIBStrSepPair(const char *string, MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* As MLIBStrSep, without the empty fields. Returns the number of fields pushed, 0 when there are none. */
MORV_API int MLIBStrTok(const char *string, const char *delimiters, MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* Lower-cases each byte by the current locale's table (not a UTF-8 sequence).
 *
 * unused: ignored.
 * dst:    null to change string itself; else at least as large as string with its terminator, unchecked.
 * size:   with dst null, the most bytes that string may have, without the terminator; else ignored.
 *
 * Returns the result (dst, or string), or null with ERR_BAD_PARAMETERS or ERR_NOT_ENOUGH_MEMORY. */
MORV_API char *SzMLIBStrCaseLower(char *string, int unused, char *dst, int size) MORV_NOEXCEPT;

/* Drops white space (tab, line feed, carriage return, space) at both ends, then, when what remains is longer
 * than one byte and stands in double quotes, one quote at each end.
 *
 * dst: null or string: the result is moved to the start of string. Else at least as large as the result with
 *      its terminator; it must not point into string behind its first byte (ERR_BAD_PARAMETERS).
 *
 * Returns the length of the result, or -1 with ERR_BAD_PARAMETERS. */
MORV_API int MLIBStrTrimSpace(char *string, char *dst) MORV_NOEXCEPT;

/* Empties a list and fills it with the names of a comma-separated text, those equal to "nobody" left out.
 * With an empty text the list stays as it is.
 *
 * ppList: address of the handle of an existing list.
 *
 * Returns the number of names kept, or -1 with ERR_BAD_PARAMETERS, ERR_OUT_OF_MEMORY. */
MORV_API int MORVStrNobodyFilter(const char *names, MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* Replaces the first occurrence of find.
 *
 * dst:  null to change string itself. It is not written when find does not occur.
 * size: the most bytes of the result without the terminator: the buffer holds size + 1. It is compared with
 *       the length of string, less that of find, plus that of replacement, whether find occurs or not.
 * find and replacement must not lie in the buffer that is written. An empty find occurs at the start.
 *
 * Returns 1 (replaced), 0 (does not occur; sets no code), or -1 with ERR_BAD_PARAMETERS or
 * ERR_NOT_ENOUGH_MEMORY. */
MORV_API int MLIBStrReplace(char *string, const char *find, const char *replacement, char *dst,
                            int size) MORV_NOEXCEPT;

/* Removes the first occurrence of find: MLIBStrReplace by "". */
MORV_API int MLIBStrDelete(char *string, const char *find, char *dst, int size) MORV_NOEXCEPT;

/* Decodes pairs of hexadecimal digits, 0-9 and upper-case A-F; an "x" before a pair is skipped. Decoding ends
 * at anything else, or at a lone last digit.
 *
 * dst:  not hex, and not overlapping it. It holds at most half the length of hex, and the terminator.
 * size: the most bytes that hex may have, without its terminator.
 *
 * Returns the number of bytes decoded (zero bytes among them count), or -1 with ERR_BAD_PARAMETERS or
 * ERR_NOT_ENOUGH_MEMORY. */
MORV_API int MLIBStrHexCodeToString(const char *hex, char *dst, int size) MORV_NOEXCEPT;

/* Writes each byte of src as two hexadecimal digits, upper-case.
 *
 * dst:  not src, and not overlapping it. It holds twice the length of src, and the terminator.
 * size: the most bytes that src may have, without its terminator. (Not the size of dst!)
 *
 * Returns the number of digits, or -1 with ERR_BAD_PARAMETERS or ERR_NOT_ENOUGH_MEMORY. */
MORV_API int MLIBStringToHexCode(const char *src, char *dst, int size) MORV_NOEXCEPT;

/* Inserts text before position, a pointer into string (its terminator included).
 *
 * dst:  null to change string itself.
 * size: the bytes of the buffer: both lengths + 1 at least.
 * text must not lie in the buffer that is written.
 *
 * Returns 1, or -1 with ERR_BAD_PARAMETERS (also: position is not in string, size is negative) or
 * ERR_NOT_ENOUGH_MEMORY. */
MORV_API int MLIBStrInsert(char *string, char *position, const char *text, char *dst, int size) MORV_NOEXCEPT;

/* Inserts text behind the first occurrence of needle; otherwise as MLIBStrInsert. Returns 1, 0 (needle does
 * not occur; sets no code, writes nothing), or -1. */
MORV_API int MLIBStrInsertAfter(char *string, const char *needle, const char *text, char *dst,
                                int size) MORV_NOEXCEPT;

/* Inserts text before the first occurrence of needle; otherwise as MLIBStrInsertAfter. */
MORV_API int MLIBStrInsertBefore(char *string, const char *needle, const char *text, char *dst,
                                 int size) MORV_NOEXCEPT;

/* Joins strings, separator between them; null items are left out.
 *
 *     char *line = NULL;
 *     int size = 0;
 *     if (MORVStrJoin(names, count, ", ", &line, &size) == 0) ...
 *     free(line);
 *
 * items:    `count` strings or nulls (1 or more).
 * ppBuffer: address of the result's buffer, from malloc or null; the caller frees it. One that is too small
 *           is replaced, and on failure of that released, the pointer made null and *pSize 0.
 * pSize:    address of the buffer's bytes (1 or more when there is a buffer); set to the bytes needed when
 *           the buffer is made or grown: the items and one separator for each (so with an empty separator
 *           the terminator is not counted, but has its room). No item, nor separator, may lie in the buffer.
 *
 * Returns 0, or -1 with
 *   ERR_BAD_PARAMETERS  a null or senseless argument; or there is nothing to join: all items are null, or
 *                       items and separator are empty
 *   ERR_OUT_OF_MEMORY   no memory, or a result beyond INT_MAX bytes
 * Failures are written to the system log too. */
MORV_API int MORVStrJoin(const char **items, int count, const char *separator, char **ppBuffer,
                         int *pSize) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
