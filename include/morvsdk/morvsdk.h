/* All public headers. Each family can be included by itself as well. */
#ifndef MORVSDK_MORVSDK_H
#define MORVSDK_MORVSDK_H

#include <morvsdk/bdb.h>
#include <morvsdk/errcodes.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/group.h>
#include <morvsdk/hash.h>
#include <morvsdk/list.h>
#include <morvsdk/share.h>
#include <morvsdk/string.h>
#include <morvsdk/unicode.h>
#include <morvsdk/user.h>

#endif
