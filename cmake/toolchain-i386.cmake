# 32-bit little-endian; a 64-bit x86 machine runs the programs as they are. The sysroot is made by
# scripts/sysroot.
set(MORV_GNU_TRIPLET i686-linux-gnu)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot/i386)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-common.cmake)

# The machine has neither this loader nor these libraries. The path is of the kind that the dependencies of
# dependencies are looked up in, too.
set(libraries ${CMAKE_SYSROOT}/usr/lib/i386-linux-gnu)
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wl,--disable-new-dtags,-rpath,${libraries},--dynamic-linker,${libraries}/ld-linux.so.2")
