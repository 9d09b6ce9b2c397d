/* Upper-casing and case-insensitive comparison of UTF-8 texts.
 *
 * Account and share names compare without regard to letter case: two names are the same if their upper-cased
 * texts are. Upper-casing is Unicode's full one, the same in every locale: "ß" becomes "SS", "i" becomes "I".
 *
 *     char key[512];
 *     if (MLIBUnicodeUTF8StrUpper(name, key, sizeof key) < 0)
 *         ... name is not valid UTF-8, or too long ...
 *
 * Texts are checked whole. A text that is not valid UTF-8 (which excludes overlong forms and surrogates) is
 * refused, never repaired. */
#ifndef MORVSDK_UNICODE_H
#define MORVSDK_UNICODE_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>

MORV_BEGIN_DECLS

/* Upper-cases src into dst. The two must not overlap. Upper-casing can make a text longer, at most three
 * times.
 *
 * size: bytes of dst, terminating zero included.
 *
 * Returns the length of the result without its zero; or -1, and dst is untouched, with
 *   ERR_BAD_PARAMETERS     a null argument, or src is not valid UTF-8
 *   ERR_NOT_ENOUGH_MEMORY  the result and its zero do not fit into size bytes */
MORV_API int MLIBUnicodeUTF8StrUpper(const char *src, char *dst, int size) MORV_NOEXCEPT;

/* Compares two texts without regard to letter case.
 *
 * Returns 0 when the upper-cased texts are equal, -1 or 1 as the order of their code points says; or -2 with
 * ERR_BAD_PARAMETERS when one is null or not valid UTF-8. */
MORV_API int MLIBUnicodeUTF8StrCaseCmp(const char *a, const char *b) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
