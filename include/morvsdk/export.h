/* What every public header of the library opens with. */
#ifndef MORVSDK_EXPORT_H
#define MORVSDK_EXPORT_H

/* Marks a function or an object as part of the library's interface; everything else is hidden. */
#define MORV_API __attribute__((visibility("default")))

/* Exported functions never let a C++ exception out. */
#ifdef __cplusplus
#define MORV_NOEXCEPT noexcept
#define MORV_BEGIN_DECLS extern "C" {
#define MORV_END_DECLS }
#else
#define MORV_NOEXCEPT
#define MORV_BEGIN_DECLS
#define MORV_END_DECLS
#endif

#endif
