# One place for what every target is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Not pedantic: log lines use "%m". That the public headers are strict C and C++ is checked by scripts/lint.
add_library(morv_flags INTERFACE)
target_compile_options(morv_flags INTERFACE
  -Wall -Wextra -Wshadow -Wformat=2 -Wconversion -Wno-sign-conversion -Wundef -Wvla -Werror)
target_compile_definitions(morv_flags INTERFACE _GNU_SOURCE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
# g++ is the compiler whose warnings count; clang builds the fuzz targets only.
target_compile_options(morv_flags INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wno-error>)
if(MORV_FUZZ)
  target_compile_options(morv_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(MORV_SANITIZE)
  target_compile_options(morv_flags INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(morv_flags INTERFACE -fsanitize=address,undefined)
else()
  # The fortified libc wrappers and the sanitizers do not mix.
  target_compile_options(morv_flags INTERFACE $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2> -fstack-protector-strong)
endif()
