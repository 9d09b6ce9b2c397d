/* Internal functions of the file family. Exported, but without a promise of stability. */
#ifndef MORVSDK_INTERNAL_FILE_H
#define MORVSDK_INTERNAL_FILE_H

#include <morvsdk/file.h>

MORV_BEGIN_DECLS

/* Whether format is one for writing pairs: it holds "%s", after it "=", after that a second "%s", after that
 * a line feed. Null stands for the default format and is accepted. Returns 1 or 0; sets no code. */
MORV_API int MLIBIFileCheckFormat(const char *format) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
