# What the cross builds share: the compiler by its triplet, and nothing of the build machine found by mistake.
get_filename_component(CMAKE_SYSROOT ${CMAKE_SYSROOT} ABSOLUTE)
set(CMAKE_C_COMPILER ${MORV_GNU_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${MORV_GNU_TRIPLET}-g++)

set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Debian names the library folder of i686 after i386.
string(REPLACE i686 i386 folder ${MORV_GNU_TRIPLET})
set(CMAKE_LIBRARY_ARCHITECTURE ${folder})
set(CMAKE_C_LIBRARY_ARCHITECTURE ${folder})
set(CMAKE_CXX_LIBRARY_ARCHITECTURE ${folder})
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_PATH} "")
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${folder}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
