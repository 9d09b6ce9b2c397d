# 64-bit big-endian; the programs run under user-mode emulation. The sysroot is made by scripts/sysroot.
set(MORV_GNU_TRIPLET s390x-linux-gnu)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot/s390x)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-common.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x -L ${CMAKE_SYSROOT})
