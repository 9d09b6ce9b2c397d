#!/bin/bash
# The library as it is shipped: installed into a prefix, found there by pkg-config and by CMake from a program in C
# and one in C++, moved elsewhere as a whole, and packed as a Debian package.
#
#   install_test.sh SOURCE_DIR BUILD_DIR
#
# BUILD_DIR is kept, so that the next run compiles what has changed only.
set -euo pipefail

source_dir=$1
build=$(realpath -m "$2")
scratch=$(mktemp -d /tmp/morv-install.XXXXXX)
trap 'rm -rf "$scratch"' EXIT
failures=0
# shellcheck source=tests/system/ship.sh
. "$source_dir/tests/system/ship.sh"

expect() { # expect WHAT COMMAND...
    local what=$1
    shift
    if ! "$@" >"$scratch/output" 2>&1; then
        echo "FAILED: $what"
        sed 's/^/    /' "$scratch/output"
        failures=$((failures + 1))
    fi
}

same() { [[ $1 == "$2" ]] || { printf 'got:      %s\nexpected: %s\n' "$1" "$2"; return 1; }; }

no_text_names() { # no_text_names DIR PATH...
    local dir=$1 path
    shift
    for path; do
        grep -rIl -e "$path" "$dir" && return 1
    done
    return 0
}

brings_no_search_path() { ! readelf -d "$1" | grep -E 'R(UN)?PATH'; }

depends_on() { # depends_on PACKAGE LIBRARY...
    local depends library
    depends=$(dpkg-deb -f "$1" Depends)
    shift
    for library; do
        [[ $depends == *"$library"* ]] || { echo "no $library in: $depends" && return 1; }
    done
}

only_root_may_write() { ! grep -vE '^[-d]rw[x-]r-[x-]r-[x-] root/root|^lrwxrwxrwx root/root' "$1"; }

if ! ship "$source_dir" "$build" "$scratch/first" >"$scratch/log" 2>&1; then
    tail -40 "$scratch/log"
    exit 1
fi
# Nothing that was installed may know where: the tree is moved before it is used.
mv "$scratch/first" "$scratch/prefix"
prefix=$scratch/prefix
export LD_LIBRARY_PATH=$prefix/lib

expect "the library has its names" same \
    "$(readlink "$prefix/lib/libmorvsdk.so") $(readlink "$prefix/lib/libmorvsdk.so.1")" \
    "libmorvsdk.so.1 libmorvsdk.so.1.0.0"
expect "no path of the build is left in the installed texts" \
    no_text_names "$prefix" "$scratch" "$source_dir" "$build"
expect "the library brings no search path along" brings_no_search_path "$prefix/lib/libmorvsdk.so.1"
expect "every public header is installed" \
    diff -r "$source_dir/include/morvsdk" "$prefix/include/morvsdk"

for language in c cxx; do
    cp -r "$source_dir/examples/$language" "$scratch/$language"
    expect "$language builds with pkg-config" \
        env PKG_CONFIG_PATH="$prefix/lib/pkgconfig" CFLAGS="-Wall -Werror" CXXFLAGS="-Wall -Werror" \
        make -C "$scratch/$language"
    expect "$language configures with find_package" \
        cmake -S "$scratch/$language" -B "$scratch/$language/build" -DCMAKE_PREFIX_PATH="$prefix"
    expect "$language builds with CMake" cmake --build "$scratch/$language/build"
    expect "find_package takes the installed one" \
        grep -q "morvsdk_DIR:PATH=$prefix/lib/cmake/morvsdk" "$scratch/$language/build/CMakeCache.txt"
done

mkdir -p "$scratch/root/tmp"
export MORV_ROOT=$scratch/root
conf=$scratch/settings.conf
for how in . build; do
    rm -f "$scratch/store" "$conf"
    c=$scratch/c/$how/record_store
    expect "C stores and walks in the order of the keys" same "$("$c" "$scratch/store" 2>&1 | cut -d' ' -f1 | xargs)" \
        "ADMIN ALICE GUEST"
    expect "C names the failure and its place" same "$("$c" /no/such/dir/store 2>&1 | sed 's/line [1-9][0-9]*$/line N/')" \
        "record_store: /no/such/dir/store: ERR_FILE_NOT_FOUND (0x0700), set in bdb_open line N"

    cxx=$scratch/cxx/$how/settings
    printf '# kept\nboots="9"\nname="attic"\n' >"$conf"
    expect "C++ counts up" same "$("$cxx" "$conf" boots 2>&1) $("$cxx" "$conf" new 2>&1)" "10 1"
    expect "C++ changed just its lines" same "$(cat "$conf")" $'# kept\nboots="10"\nname="attic"\nnew="1"'
    expect "C++ lists" same "$("$cxx" "$conf" 2>&1)" $'boots = 10\nname = attic\nnew = 1'
    expect "C++ names the failure" same "$("$cxx" /no/such/dir/f 2>&1)" "settings: /no/such/dir/f: ERR_OPEN_FAILED"
done
expect "counting up from many programs at once loses no count" same \
    "$(for _ in {1..20}; do "$scratch/cxx/settings" "$conf" boots >/dev/null & done; wait; "$scratch/cxx/settings" "$conf" boots)" 31

# Whatever the tree has of the optional parts is installed where it is looked for.
for page in "$source_dir"/docs/man/*.[1-8]; do
    [[ -e $page ]] || continue
    expect "$(basename "$page") is installed" cmp "$page" "$prefix/share/man/man${page##*.}/$(basename "$page")"
done
for completion in "$source_dir"/tools/completion/*.bash; do
    [[ -e $completion ]] || continue
    expect "$(basename "$completion") is installed" \
        cmp "$completion" "$prefix/share/bash-completion/completions/$(basename "$completion" .bash)"
done

expect "the texts of events and mails are installed" diff -r "$source_dir/data/texts" "$prefix/morv/morvsdk/texts"

(cd "$build" && rm -f ./*.deb && flock "$build.lock" cpack -G DEB) >"$scratch/log" 2>&1 || cat "$scratch/log"
package=$(echo "$build"/libmorvsdk_*.deb)
expect "the package is made" test -f "$package"
expect "the package asks for the libraries that the library needs" depends_on "$package" libc6 libstdc++6 libnettle8 libcrypt1
expect "the package is for this architecture" same \
    "$(dpkg-deb -f "$package" Architecture)" "$(dpkg --print-architecture)"
dpkg-deb -c "$package" >"$scratch/list" || true
expect "the package holds the library" grep -q ' ./usr/lib/libmorvsdk.so.1.0.0$' "$scratch/list"
expect "the package holds the texts where the library looks for them" grep -q ' ./usr/morv/morvsdk/texts/enu/events$' "$scratch/list"
if [[ -e $prefix/lib/security/pam_morv_autoblock.so ]]; then
    expect "the package holds the PAM module" grep -q ' ./usr/lib/security/pam_morv_autoblock.so$' "$scratch/list"
    expect "the package asks for PAM" depends_on "$package" libpam0g
fi
expect "all files of the package belong to root and nobody else may write them" \
    only_root_may_write "$scratch/list"

if ((failures)); then
    echo "$failures failed"
    exit 1
fi
echo "installed, used from C and C++, moved and packed"
