# Builds the library and its tools as they are shipped, for the tests that source this file. BUILD is theirs together and
# is kept, so that the next one compiles what has changed only.
# shellcheck shell=bash

ship() { # ship SOURCE BUILD PREFIX
    mkdir -p "${2%/*}" && {
        flock 9 &&
            cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMORV_TESTS=OFF \
                -DCMAKE_INSTALL_PREFIX=/usr/local -DCMAKE_INSTALL_LIBDIR=lib &&
            cmake --build "$2" &&
            cmake --install "$2" --prefix "$3"
    } 9>"$2.lock"
}
