#!/bin/bash
# Arrays and volumes for real: the library and morvctl beside the kernel's md driver, mdadm and LVM, in a small machine.
#
#   raid_vm_test.sh SOURCE_DIR BUILD_DIR
#
# raid_vm/guest.sh is what runs in the machine, raid_vm/probe.c a program for it that uses the library as it is
# installed. BUILD_DIR is kept for the next run.
set -euo pipefail

source_dir=$(readlink -f "$1")
build=$(realpath -m "$2")
here=$source_dir/tests/system
scratch=$(mktemp -d /tmp/morv-raid-vm.XXXXXX)
trap 'rm -rf "$scratch"' EXIT
# shellcheck source=tests/system/ship.sh
. "$here/ship.sh"

# Where there is no machine nothing need be built for it.
status=0
"$here/vm.sh" --check || status=$?
((status == 0)) || exit $status

prefix=$scratch/prefix
tree=$scratch/tree
if ! ship "$source_dir" "$build" "$prefix" >"$scratch/log" 2>&1; then
    tail -40 "$scratch/log"
    exit 1
fi
mkdir -p "$tree/usr/bin" "$tree/usr/lib"
cp -r "$source_dir/examples/appliance/." "$tree"
printf 'maxdisks="4"\n' >>"$tree/etc.defaults/morvinfo.conf"
cp "$here/raid_vm/guest.sh" "$tree/usr/bin/"
cp "$prefix/bin/morvctl" "$prefix/bin/get_key_value" "$tree/usr/bin/"
cp -P "$prefix"/lib/libmorvsdk.so.* "$tree/usr/lib/"
read -ra flags < <(PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --cflags --libs morvsdk)
cc -std=c11 -O2 -Wall -Wextra -Werror -D_DEFAULT_SOURCE "$here/raid_vm/probe.c" -o "$tree/usr/bin/probe" "${flags[@]}"
strip "$tree"/usr/bin/{morvctl,get_key_value,probe} "$tree"/usr/lib/libmorvsdk.so.*.*

"$here/vm.sh" --disks "160M 160M 160M 160M 5G 5G 5G 3T" --limit 1500 "$tree" /usr/bin/guest.sh
