#!/bin/bash
# A small machine with Debian's kernel, software RAID, LVM and disks of its own, to run one program in as root.
#
#   vm.sh [--disks "SIZE ..."] [--memory MIB] [--limit SECONDS] TREE PROGRAM [ARGUMENT ...]
#   vm.sh --check                     only sees to it that there can be such a machine
#
# TREE is laid over the machine's root, where /bin, /sbin and /lib are links into /usr; libraries that programs in
# it need come along. The disks are empty sparse files, /dev/sda, /dev/sdb and so on. PROGRAM finds busybox, bash,
# mdadm, lvm, sfdisk, lsblk, mount and the tools of ext4. Prints what it prints and exits with its status:
# 77 says that no such machine can be had here, 125 that it broke down or took too long.
#
# It is emulated: it takes neither root nor a processor that helps. Kernel and programs are kept for the next run.
set -uo pipefail
export LC_ALL=C PATH=/usr/sbin:/usr/bin:/sbin:/bin

kept=${MORV_TEST_CACHE:-/var/tmp/morv-system-tests}
packages=(busybox-static mdadm lvm2 libdevmapper-event1.02.1 libdevmapper1.02.1 libaio1 libedit2)
modules=(virtio_pci virtio_scsi sd_mod linear raid0 raid1 raid10 raid456 dm-mod quota_v2)
host_programs=(bash sfdisk partx wipefs lsblk blkid mount umount mke2fs debugfs e2fsck dumpe2fs setpriv)

skip() { echo "SKIPPED: $*" && exit 77; }
broken() { echo "vm: $*" >&2 && exit 125; }

# ---- What the machine is made of -----------------------------------------------------------------------------------

fetch() { # fetch FOLDER PACKAGE...: their newest versions, unless they are there
    local folder=$1
    shift
    (cd "$folder" && apt-get -q -o APT::Sandbox::User=root -o Acquire::Retries=3 download "$@")
}

fetch_packages() { # fetch_packages FOLDER: also the kernel that the metapackage stands for today
    local folder=$1 kernel
    kernel=$(apt-cache depends linux-image-cloud-amd64 | sed -n 's/^ *Depends: \(linux-image-[0-9].*\)/\1/p' | head -1)
    [[ -n $kernel ]] && fetch "$folder" "$kernel" "${packages[@]}"
}

# Puts the libraries that programs need, but do not bring, into a root.
add_libraries() { # add_libraries ROOT SEARCH_PATH FILE...
    local root=$1 path=$2 needs
    shift 2
    needs=$(LD_LIBRARY_PATH=$path ldd "$@" 2>/dev/null)
    grep 'not found' <<<"$needs" | sort -u && return 1
    awk '$2 == "=>" && $3 ~ /^\// {print $3} $1 ~ /^\/.*ld-linux/ {print $1}' <<<"$needs" | sort -u |
        while read -r library; do
            [[ $library == "$root"/* || -e $root/usr/lib/${library##*/} ]] || cp -L "$library" "$root/usr/lib/" || return 1
        done
}

init_script() {
    cat <<'INIT'
#!/bin/busybox sh
export PATH=/usr/bin HOME=/root TERM=dumb LC_ALL=C
mount -t proc proc /proc && mount -t sysfs sys /sys && mount -t devtmpfs dev /dev
mount -t tmpfs run /run && mount -t tmpfs tmp /tmp
ln -s /proc/self/fd /dev/fd
mkdir -p /run/mdadm /run/lvm /run/lock
for module in $(cat /modules); do
    modprobe -q "$module"
done
# Disks are probed beside each other and named in the order in which they answer: so one after the other.
disks=$(sed 's/.*morv.disks=\([0-9]*\).*/\1/' /proc/cmdline)
for host in /sys/class/scsi_host/host*; do
    n=0
    while [ $n -lt "$disks" ]; do
        echo "0 $n 0" >$host/scan
        n=$((n + 1))
        while [ "$(ls -d /sys/block/sd* 2>/dev/null | wc -l)" -lt $n ]; do usleep 10000; done
    done
done
stty -F /dev/ttyS1 -opost
stty -F /dev/ttyS2 -opost
cd /root
if [ -e /complete ]; then
    /bin/bash /program </dev/null >/dev/ttyS1 2>&1
    echo "status $?" >/dev/ttyS2
else
    echo "the machine's memory is too small for all that is to be in it" >/dev/ttyS1
fi
sync
poweroff -f
INIT
}

make_base() { # make_base FOLDER PACKAGES: the kernel, and the archive of all that is in every machine
    local base=$1 debs=$2 files=$1/files root=$1/root version program name deb
    mkdir -p "$files" "$root"/{dev,etc/lvm,proc,root,run,sys,tmp,var/lib,usr/bin,usr/lib/modules} || return 1
    for deb in "$debs"/*.deb; do
        dpkg-deb -x "$deb" "$files" || return 1
    done
    ln -s bin "$root/usr/sbin" && ln -s usr/bin "$root/bin" && ln -s usr/bin "$root/sbin" && ln -s usr/lib "$root/lib" &&
        ln -s usr/lib "$root/lib64" && ln -s ../run "$root/var/run" && ln -s ../run/lock "$root/var/lock" || return 1

    version=$(ls "$files/lib/modules") && cp "$files/boot/vmlinuz-$version" "$base/vmlinuz" || return 1
    depmod -b "$files" "$version" || return 1
    printf '%s\n' "${modules[@]}" >"$root/modules"
    for name in "${modules[@]}"; do
        modprobe -d "$files" -S "$version" --show-depends "$name" | sed -n "s|^insmod $files/\([^ ]*\).*|\1|p"
    done | sort -u | (cd "$files" && cpio --quiet -pdm "$root") || return 1
    cp "$files/lib/modules/$version/"modules.{builtin,builtin.modinfo,order} "$root/usr/lib/modules/$version/" &&
        depmod -b "$root" "$version" || return 1

    cp "$files/bin/busybox" "$files/sbin/mdadm" "$files/sbin/lvm" "$root/usr/bin/" || return 1
    for program in "$files"/sbin/{pv,vg,lv}*; do
        [[ ! -L $program ]] || ln -s lvm "$root/usr/bin/${program##*/}" || return 1
    done
    for name in "${host_programs[@]}"; do
        program=$(type -P "$name") && cp -L "$program" "$root/usr/bin/$name" || return 1
    done
    # busybox as the shell would run its own mount and grep in place of those in the path.
    ln -s bash "$root/usr/bin/sh" && ln -s mke2fs "$root/usr/bin/mkfs.ext4" || return 1
    for name in $("$files/bin/busybox" --list); do
        [[ -e $root/usr/bin/$name || -L $root/usr/bin/$name ]] || ln -s busybox "$root/usr/bin/$name" || return 1
    done
    add_libraries "$root" "$files/lib/x86_64-linux-gnu:$files/usr/lib/x86_64-linux-gnu" \
        "$root"/usr/bin/{mdadm,lvm} "${host_programs[@]/#/$root/usr/bin/}" || return 1

    echo 'root:x:0:0:root:/root:/bin/sh' >"$root/etc/passwd"
    echo 'root:x:0:' >"$root/etc/group"
    ln -s /proc/self/mounts "$root/etc/mtab"
    # Nobody answers for udev here.
    cat >"$root/etc/lvm/lvm.conf" <<'CONF'
activation { udev_sync = 0 udev_rules = 0 monitoring = 0 }
devices { obtain_device_list_from_udev = 0 use_devicesfile = 0 }
CONF
    init_script >"$root/init" && chmod 755 "$root/init" && archive "$root" >"$base/base.cpio" && rm -rf "$files" "$root"
}

archive() { # archive FOLDER: as the kernel takes it, everything root's
    (cd "$1" && find . -mindepth 1 -print0 | sort -z | cpio --quiet -0 -o -H newc -R 0:0)
}

# What was made of other programs, or in another way, does not count.
base_folder() {
    local program key
    key=$({ for program in "${host_programs[@]}"; do sha256sum "$(type -P "$program")"; done && cat "$0"; } | sha256sum | cut -c1-16)
    echo "$kept/vm-$key"
}

provide_base() { # provide_base FOLDER
    local base=$1 made
    [[ ! -d $base ]] || return 0
    mkdir -p "$kept" && made=$(mktemp -d "$kept/vm-making.XXXXXX") && mkdir "$made/packages" || return 1
    if (fetch_packages "$made/packages" || { apt-get -q update && fetch_packages "$made/packages"; }) >"$made/log" 2>&1; then
        if make_base "$made" "$made/packages" >"$made/log" 2>&1; then
            rm -rf "$made/packages"
            find "$kept" -maxdepth 1 -name 'vm-*' -mtime +7 -exec rm -rf {} +
            mv -T "$made" "$base" 2>/dev/null || rm -rf "$made" # another run was faster
            return 0
        fi
        tail -5 "$made/log" && rm -rf "$made" && broken "the machine cannot be put together"
    fi
    tail -5 "$made/log"
    rm -rf "$made"
    return 1
}

# ---- One run -------------------------------------------------------------------------------------------------------

disks='256M 256M 256M 256M'
memory=512
limit=600
check=
while [[ ${1-} == --* ]]; do
    case $1 in
        --check) check=yes && shift && continue ;;
        --disks) disks=$2 ;;
        --memory) memory=$2 ;;
        --limit) limit=$2 ;;
        *) broken "no such option: $1" ;;
    esac
    shift 2
done
[[ $check ]] || (($# >= 2)) || broken 'usage: vm.sh [--disks "SIZE ..."] [--memory MIB] [--limit SECONDS] TREE PROGRAM [ARGUMENT ...]'

[[ $(uname -m) == x86_64 ]] || skip "the machine is an x86-64 one, and this is not"
for program in qemu-system-x86_64 cpio depmod modprobe dpkg-deb apt-get "${host_programs[@]}"; do
    type -P "$program" >/dev/null || skip "there is no $program here"
done
base=$(base_folder)
provide_base "$base" || skip "the packages of the machine cannot be had"

[[ ! $check ]] || exit 0

tree=$1
shift
run=$(mktemp -d /tmp/morv-vm.XXXXXX)
trap 'rm -rf "$run"' EXIT
mkdir -p "$run/tree/usr/lib"
cp -a "$tree/." "$run/tree/" || broken "$tree cannot be copied"
mapfile -t programs < <(find "$run/tree" -type f -exec sh -c 'head -c 4 "$1" | grep -q ELF' sh {} \; -print)
if ((${#programs[@]})); then
    add_libraries "$run/tree" "$run/tree/usr/lib" "${programs[@]}" || broken "a library is missing"
fi
printf '%q ' exec "$@" >"$run/tree/program"
touch "$run/complete"  # comes last
{ cat "$base/base.cpio" && archive "$run/tree" && (cd "$run" && echo complete | cpio --quiet -o -H newc); } >"$run/initrd" || broken "the archive cannot be written"

devices=(-device "virtio-scsi-pci,id=scsi")
count=0
for size in $disks; do
    truncate -s "$size" "$run/disk$count" || broken "no disk of $size"
    devices+=(-drive "file=$run/disk$count,format=raw,if=none,id=disk$count,cache=unsafe,discard=unmap,detect-zeroes=unmap"
        -device "scsi-hd,bus=scsi.0,scsi-id=$count,drive=disk$count")
    count=$((count + 1))
done
timeout --foreground --kill-after=5 "$limit" qemu-system-x86_64 -machine pc -accel tcg,thread=multi -cpu max -smp 2 -m "$memory" \
    -nodefaults -no-reboot -display none -kernel "$base/vmlinuz" -initrd "$run/initrd" "${devices[@]}" \
    -append "console=ttyS0 quiet panic=-1 rdinit=/init scsi_mod.scan=manual raid=noautodetect morv.disks=$count" \
    -serial "file:$run/console" -serial stdio -serial "file:$run/status" </dev/null 2>"$run/errors"
ended=$?
if ! read -r _ status < <(tr -d '\r' <"$run/status" 2>/dev/null); then
    tail -n 30 "$run/errors" "$run/console" >&2
    broken "$([[ $ended == 124 ]] && echo "not done after $limit seconds" || echo "ended early, qemu with status $ended")"
fi
[[ -z ${MORV_VM_CONSOLE-} ]] || cat "$run/console"
exit "$status"
