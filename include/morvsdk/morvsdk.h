/* All public headers. Each family can be included by itself as well. */
#ifndef MORVSDK_MORVSDK_H
#define MORVSDK_MORVSDK_H

#include <morvsdk/autoblock.h>
#include <morvsdk/bdb.h>
#include <morvsdk/disk.h>
#include <morvsdk/errcodes.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/fs.h>
#include <morvsdk/group.h>
#include <morvsdk/hash.h>
#include <morvsdk/list.h>
#include <morvsdk/log.h>
#include <morvsdk/lvm.h>
#include <morvsdk/mail.h>
#include <morvsdk/net.h>
#include <morvsdk/proc.h>
#include <morvsdk/raid.h>
#include <morvsdk/service.h>
#include <morvsdk/share.h>
#include <morvsdk/string.h>
#include <morvsdk/sysbkp.h>
#include <morvsdk/unicode.h>
#include <morvsdk/user.h>
#include <morvsdk/volume.h>

#endif
