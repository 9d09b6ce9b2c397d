#ifndef MORVSDK_FILE_H
#define MORVSDK_FILE_H
#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
MORV_BEGIN_DECLS
MORV_API int MORVSysRootSet(const char *dir) MORV_NOEXCEPT;
MORV_END_DECLS
#endif
