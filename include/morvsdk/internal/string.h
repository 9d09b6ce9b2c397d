/* Internal functions of the string family. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_STRING_H
#define MORVSDK_INTERNAL_STRING_H

#include <morvsdk/string.h>

MORV_BEGIN_DECLS

/* Cuts the next non-empty field out of a text.
 *
 *     char *cursor = text;                        // changed: delimiters become terminators
 *     while ((token = MLIBIStrTok(&cursor, ",")) != NULL) ...
 *
 * cursor: where the text goes on; null behind its last field.
 * Returns the field, or null when there is none left or an argument is null; sets no code. */
MORV_API char *MLIBIStrTok(char **cursor, const char *delimiters) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
