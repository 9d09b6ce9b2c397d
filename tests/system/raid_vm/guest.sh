#!/bin/bash
# What the library and morvctl make of real arrays and volumes. Runs as root in a machine of its own, whose disks are
# sda to sdd of 160 MiB and sde to sdg of 5 GiB, all empty; `probe` calls the library, one function a run.
#
# A fault goes to mdadm itself, as nothing of the library makes one; the comparison is with what mdadm and the kernel say.
set -uo pipefail

checks=0
failures=0

section() { printf '\n== %s (%s s)\n' "$1" "$(cut -d. -f1 /proc/uptime)"; }
passed() { checks=$((checks + 1)) && echo "ok: $1"; }
failed() { # failed WHAT DETAILS
    checks=$((checks + 1))
    failures=$((failures + 1))
    printf 'FAILED: %s\n    %s\n' "$1" "${2//$'\n'/$'\n    '}"
}
expect() { # expect WHAT COMMAND...
    local what=$1 output status=0
    shift
    output=$("$@" 2>&1) || status=$?
    if ((status == 0)); then passed "$what"; else failed "$what" "$*: exit status $status"$'\n'"$output"; fi
}
gives() { # gives WHAT PATTERN COMMAND...: compares all that it prints
    local what=$1 expected=$2 got
    shift 2
    got=$("$@" 2>&1)
    # shellcheck disable=SC2053  # the right side is a pattern
    if [[ $got == $expected ]]; then passed "$what"; else failed "$what" "$*"$'\n'"got:      $got"$'\n'"expected: $expected"; fi
}
refused() { ! "$@"; }
same() { [[ $1 == "$2" ]] || { printf 'got:      %s\nexpected: %s\n' "$1" "$2"; return 1; }; }
within() { # within SECONDS COMMAND...: it becomes true
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        ((SECONDS < end)) || return 1
        sleep 0.1
    done
}

# ---- The machine's own view ----------------------------------------------------------------------------------------

raid() { morvctl raid "$@" --yes; }
volume() { morvctl volume "$@"; }
must() { # must COMMAND...: what is not under test
    local output
    output=$("$@" 2>&1) || failed "$*" "$output"
}
metadata() { echo "CREATE metadata=$1" >/etc/mdadm.conf; }
speed_limit() { echo "$1" >/proc/sys/dev/raid/speed_limit_max; } # in KiB a second, of every resync
full_speed=200000
idle() { ! grep -qvx idle "/sys/block/${1#/dev/}/md/sync_action" 2>/dev/null && ! grep -A3 "^${1#/dev/} :" /proc/mdstat | grep -qE '(resync|recovery|reshape) *='; }
settled() { must within 60 idle "$1"; }
faulty() { grep -qs faulty "/sys/block/${1#/dev/}/md/dev-${2#/dev/}/state"; }
break_member() { # break_member ARRAY DEVICE; of one too many mdadm says that it is busy, and has failed it
    mdadm -q "$1" -f "$2" 2>/dev/null
    must within 10 faulty "$1" "$2"
}
take_out() { must within 10 mdadm -q "$1" --remove "$2"; } # busy for a moment after a fault
no_superblock() { [[ -z $(mdadm -E -b "$1" 2>&1) ]]; }
on_disk() { mdadm -E -b "$1" | sed -n 's/.*UUID=\([^ ]*\).*/\1/p'; }
detail() { mdadm -D "$1" | sed -n "s/^ *$2 : \([^ ]*\).*/\1/p" | head -1; }
slots_of_mdstat() { grep -A1 "^${1#/dev/} :" /proc/mdstat | sed -n 's/.*\[\([0-9]*\/[0-9]*\)\].*/\1/p'; }
members_in() { grep -o "=$1" <<<"$2" | wc -l; }
forget() { # forget ARRAY DEVICE...: as if it had never been
    local device
    mdadm -q -S "$1" 2>/dev/null
    for device in "${@:2}"; do
        mdadm -q --zero-superblock "$device" 2>/dev/null
    done
}

agrees_with_mdadm() { # agrees_with_mdadm ARRAY
    local said sizes counted component
    said=$(probe array "$1") && read -ra sizes < <(probe sizes "$1") || return 1
    component=$(detail "$1" 'Used Dev Size')
    counted=$(slots_of_mdstat "$1")
    same "${said%% *}" "$(detail "$1" 'Raid Level')" && same "$(cut -d' ' -f3 <<<"$said")" "$(detail "$1" 'Raid Devices')" &&
        same "$(members_in sync "$said")" "$(detail "$1" 'Active Devices')" &&
        same "$((sizes[1] / 1024))" "$(detail "$1" 'Array Size')" && same "${sizes[2]}" "${component:-0}" &&
        same "${sizes[0]}" "${1#/dev/md}" && same "${sizes[3]}" -1 &&
        same "$(probe uuid "$1" | cut -d' ' -f1)" "$(detail "$1" UUID)" &&
        { [[ -z $counted ]] || same "$(cut -d' ' -f3 <<<"$said")/$(members_in sync "$said")" "$counted"; }
}

# ---- Arrays --------------------------------------------------------------------------------------------------------

prepare() {
    local disk
    mkdir -p /mnt
    hostname nas
    metadata 0.90
    for disk in a b c d; do
        must sfdisk -q /dev/sd$disk <<<$'label: dos\n,8M,fd\n,8M,fd\n,64M,fd\n,8M,fd'
    done
}

system_arrays() {
    section "The system arrays"
    gives "there is no array yet" "" probe arrays
    gives "the system arrays are missed" "-1 ERR_OPEN_FAILED" probe system-disk /dev/sda
    expect "morvctl makes the first" raid create /dev/md0 --level raid1 /dev/sd[abcd]1
    expect "morvctl makes the second" raid create /dev/md1 --level raid1 /dev/sd[abcd]2
    settled /dev/md0 && settled /dev/md1
    gives "the first is whole" "raid1 normal 4 slots, rebuild none: sdd1=sync sdc1=sync sdb1=sync sda1=sync" probe array /dev/md0
    expect "the second is as mdadm says" agrees_with_mdadm /dev/md1
    gives "both are listed" "/dev/md0 /dev/md1" probe arrays
    gives "a disk in both is healthy" healthy probe system-disk /dev/sdb
    gives "so it is by one of its partitions" healthy probe system-disk /dev/sdb3
    gives "an empty disk is in none" 0 probe system-disk /dev/sde
    gives "the appliance has slots for disks" 4 probe slots
}

every_level() {
    local level members=(/dev/sd[abcd]3)
    declare -A stripe=([raid0]=2048 [raid1]=0 [raid5]=1536 [raid6]=1024 [linear]=0)
    for level in raid1 raid5 raid6 linear raid0; do
        section "$level"
        # mdadm gives a raid0 a layout, which the old superblock has no room for.
        [[ $level != raid0 ]] || {
            gives "what mdadm refuses is a failure" "-1 ERR_SYS_UNKNOWN" probe create /dev/md2 raid0 4 0 "${members[@]}"
            metadata 1.2
        }
        expect "morvctl makes it" raid create /dev/md2 --level $level "${members[@]}"
        settled /dev/md2
        gives "it is whole" "$level normal 4 slots, rebuild none: sdd3=sync sdc3=sync sdb3=sync sda3=sync" probe array /dev/md2
        expect "it is as mdadm says" agrees_with_mdadm /dev/md2
        gives "its stripes are as wide as its data" "${stripe[$level]}" probe stripe /dev/md2
        [[ $level != raid1 ]] || gives "much is read ahead" 1024 blockdev --getra /dev/md2
        [[ $level != raid5 ]] || gives "its cache is large" 1024 cat /sys/block/md2/md/stripe_cache_size
        gives "the kernel runs it" 1 probe detected /dev/md2
        gives "a member says so" "/dev/md2 2" probe member-of /dev/sdc3
        gives "the superblock carries its name" "/dev/md2 $(detail /dev/md2 UUID)" probe superblock /dev/sda3
        gives "a scan finds it on every member" "4"$'\n'"/dev/md2 $level 4 *" probe scan 1 "${members[@]}"
        gives "a mounted one cannot be stopped" "-1 ERR_SYS_UNKNOWN" while_held probe stop /dev/md2
        expect "morvctl stops it" raid stop /dev/md2
        expect "then it is gone" gone /dev/md2
        expect "morvctl assembles it" raid assemble /dev/md2 "${members[@]}"
        gives "it is whole again" "$level normal 4 slots, rebuild none: *" probe array /dev/md2
        expect "morvctl removes it" raid remove /dev/md2
        gives "it is not listed" "/dev/md0 /dev/md1" probe arrays
        expect "its superblocks are gone" no_superblocks "${members[@]}"
        gives "the library finds none" 0 probe superblock /dev/sda3
        metadata 0.90
    done
}
taken_in() { probe array "$1" | grep -q '=rebuilding'; } # a moment after it was asked for
gone() { [[ $(probe array "$1") == @(absent|-1 ERR_OPEN_FAILED) ]]; } # the device goes a moment after the array
no_superblocks() {
    local device
    for device; do
        no_superblock "$device" || { mdadm -E -b "$device" && return 1; }
    done
}
while_held() { # while_held COMMAND...: while a program has the array open for itself
    local status
    must mke2fs -q -F /dev/md2 512
    must mount /dev/md2 /mnt
    "$@"
    status=$?
    umount /mnt
    return $status
}

rebuild() {
    local before after watcher
    section "A member fails and another takes its place"
    expect "morvctl makes a raid5 with a spare" raid create /dev/md2 --level raid5 --spares 1 /dev/sd[abcd]3
    settled /dev/md2
    gives "the spare waits" "raid5 normal 3 slots, rebuild none: *=spare*" probe array /dev/md2
    expect "it is as mdadm says" agrees_with_mdadm /dev/md2
    speed_limit 6000
    break_member /dev/md2 /dev/sda3
    must within 10 taken_in /dev/md2
    gives "the spare is being rebuilt" "raid5 degraded 3 slots, rebuild *: *=rebuilding *sda3=faulty" probe array /dev/md2
    expect "it is as mdadm says" agrees_with_mdadm /dev/md2
    expect "the rebuild is seen to run" within 30 progressing /dev/md2
    before=$(probe progress /dev/md2)
    gives "of all sectors of a member" "running * of $(($(detail /dev/md2 'Used Dev Size') * 2))" echo "$before"
    morvctl raid show /dev/md2 --watch >/tmp/watched 2>&1 &
    watcher=$!
    sleep 3
    after=$(probe progress /dev/md2)
    expect "it goes on" test "$(cut -d' ' -f2 <<<"$before")" -lt "$(cut -d' ' -f2 <<<"$after")"
    gives "its disks are known to be used" 1 probe used-disk /dev/sda
    speed_limit $full_speed
    wait $watcher
    gives "morvctl follows it to its end" 0 echo $?
    expect "and says how far it is" grep -qE '[0-9]+ ?%' /tmp/watched
    settled /dev/md2
    gives "then it is whole" "raid5 normal 3 slots, rebuild none: *sda3=faulty" probe array /dev/md2
    take_out /dev/md2 /dev/sda3

    section "A member is added"
    gives "what is too small is not added" "-1 ERR_NOT_ENOUGH_SPACE" probe add-checked /dev/md2 /dev/sda4
    gives "nor to an array that is not there" "-1 *" probe add-checked /dev/md9 /dev/sda3
    gives "what is no device neither" "-1 *" probe add-checked /dev/md2 /dev/sdz3
    expect "morvctl adds it again" raid add /dev/md2 /dev/sda3
    gives "which makes it a spare" "raid5 normal 3 slots, rebuild none: *sda3=spare" probe array /dev/md2

    section "It grows by the spare"
    speed_limit 20000
    expect "morvctl makes it one slot wider" raid expand /dev/md2 --devices 4
    gives "it is being reshaped" "raid5 normal 4 slots, rebuild [rp]*: *" probe array /dev/md2
    speed_limit $full_speed
    settled /dev/md2
    gives "then it is whole" "raid5 normal 4 slots, rebuild none: *" probe array /dev/md2
    expect "and as large as mdadm says" agrees_with_mdadm /dev/md2

    section "More members fail than it can do without"
    break_member /dev/md2 /dev/sdc3
    gives "one, and it is degraded" "raid5 degraded 4 slots, rebuild *: *sdc3=faulty*" probe array /dev/md2
    break_member /dev/md2 /dev/sdb3
    gives "two, and it is crashed" "raid5 crashed 4 slots, rebuild *: *sdc3=faulty sdb3=faulty*" probe array /dev/md2
    expect "mdadm says so too" grep -q FAILED <(mdadm -D /dev/md2)
    gives "nothing can be added then" "-1 ERR_SYS_UNKNOWN" probe add /dev/md2 /dev/sdb4
    expect "but it can be stopped" raid stop /dev/md2
    forget /dev/md2 /dev/sd[abcd]3

    must mdadm -q -C /dev/md2 -amd -R -l6 -n4 --assume-clean /dev/sd[abcd]3
    break_member /dev/md2 /dev/sda3
    break_member /dev/md2 /dev/sdb3
    gives "a raid6 does without two" "raid6 degraded 4 slots, rebuild *: *" probe array /dev/md2
    break_member /dev/md2 /dev/sdc3
    gives "but not without three" "raid6 crashed 4 slots, rebuild *: *" probe array /dev/md2
    forget /dev/md2 /dev/sd[abcd]3

    section "A resync that has to wait"
    speed_limit 1000
    must mdadm -q -C /dev/md2 -amd -R -l1 -n2 /dev/sda3 /dev/sdb3
    must mdadm -q -C /dev/md3 -amd -R -l1 -n2 /dev/sda4 /dev/sdb4
    gives "it is pending" "raid1 normal 2 slots, rebuild pending: *" probe array /dev/md3
    gives "without progress" "pending 0 of 0" probe progress /dev/md3
    speed_limit $full_speed
    settled /dev/md2 && settled /dev/md3
    forget /dev/md3 /dev/sda4 /dev/sdb4
    forget /dev/md2 /dev/sda3 /dev/sdb3
}
progressing() { probe progress "$1" | grep -qE '^running [1-9]'; }

assembling() {
    local uuid
    section "Assembling"
    must mdadm -q -C /dev/md2 -amd -R -l5 -n3 --assume-clean /dev/sd[abc]3
    uuid=$(on_disk /dev/sda3)
    gives "stopped by the library" 0 probe stop /dev/md2
    gives "it starts without one member" 0 probe assemble /dev/md2 "$uuid" /dev/sda3 /dev/sdb3
    gives "and is degraded" "raid5 degraded 3 slots, rebuild none: sdb3=sync sda3=sync" probe array /dev/md2
    gives "the member is known not to be in it" 0 probe member-of /dev/sdc3
    gives "it takes the member back" 0 probe add-checked /dev/md2 /dev/sdc3
    settled /dev/md2
    gives "and is whole" "raid5 normal 3 slots, rebuild none: *" probe array /dev/md2
    speed_limit 2000
    break_member /dev/md2 /dev/sda3
    take_out /dev/md2 /dev/sda3
    must mdadm -q /dev/md2 -a /dev/sda3
    expect "stopped while it is rebuilt" raid stop /dev/md2
    gives "it starts" 0 probe assemble /dev/md2 "$uuid" /dev/sd[abc]3
    must within 10 taken_in /dev/md2
    gives "and rebuilds" "raid5 degraded 3 slots, rebuild *: sdc3=sync sdb3=sync sda3=rebuilding" probe array /dev/md2
    speed_limit $full_speed
    settled /dev/md2
    gives "to its end" "raid5 normal 3 slots, rebuild none: *" probe array /dev/md2
    must mdadm -q -S /dev/md2
    gives "with too few members" 0 probe assemble /dev/md2 "$uuid" /dev/sda3
    expect "nothing starts" gone /dev/md2
    gives "with members of another array neither" 0 probe assemble /dev/md2 11111111:22222222:33333333:44444444 /dev/sd[abc]3
    expect "nothing starts" gone /dev/md2
    must mdadm -q -I /dev/sda3
    gives "an array of which too little was found is none" absent probe array /dev/md2
    gives "nor is it listed" "/dev/md0 /dev/md1" probe arrays
    forget /dev/md2 /dev/sd[abc]3
}

refusing() {
    local before
    section "What is in use stays as it is"
    must mdadm -q -C /dev/md2 -amd -R -l1 -n2 --assume-clean /dev/sda3 /dev/sdb3
    before=$(mdadm -D /dev/md2)
    gives "no array is made of a member of another" "-1 ERR_SYS_UNKNOWN" probe create /dev/md3 raid1 2 0 /dev/sda3 /dev/sdd3
    expect "morvctl does not even try" refused raid create /dev/md3 --level raid1 /dev/sda3 /dev/sdd3
    expect "nor does it add one" refused raid add /dev/md0 /dev/sdb3 --force
    expect "nor take a number that is taken" refused raid create /dev/md2 --level raid1 /dev/sdc3 /dev/sdd3
    expect "the others were not touched" no_superblocks /dev/sdc3 /dev/sdd3
    expect "without a yes nothing is removed" refused morvctl raid remove /dev/md2
    expect "nor stopped" refused morvctl raid stop /dev/md2
    expect "the array has not changed" same "$(mdadm -D /dev/md2)" "$before"
    expect "programs are told the same as people" same \
        "$(morvctl raid show /dev/md2 --json | tr -d ' \n' | grep -oE '"(level|status|uuid)":"[^"]*"' | xargs)" \
        "level:raid1 status:normal uuid:$(detail /dev/md2 UUID)"
    forget /dev/md2 /dev/sda3 /dev/sdb3
}

wiping() {
    local other first
    section "Wiping leaves other arrays alone"
    must mdadm -q -C /dev/md3 -amd -R -l1 -n2 --assume-clean /dev/sdc3 /dev/sdd3
    must mdadm -q -C /dev/md2 -amd -R -f -l1 -n1 /dev/sda3
    must mdadm -q -S /dev/md2
    first=$(on_disk /dev/sda3)
    must mdadm -q -C /dev/md2 -amd -R -f -l1 -n1 /dev/sdb3
    other=$(on_disk /dev/sdc3)
    gives "no partition carries the path and another's UUID" "-1 *" probe clean-superblocks /dev/md2 "$other"
    gives "the array is removed" 0 probe remove /dev/md2
    expect "its member is wiped" no_superblock /dev/sdb3
    gives "an array that had the same name is not" "$first" on_disk /dev/sda3
    gives "another one is not" "$other" on_disk /dev/sdc3
    gives "it runs on" "raid1 normal 2 slots, rebuild none: *" probe array /dev/md3
    forget /dev/md3 /dev/sdc3 /dev/sdd3
    forget /dev/md2 /dev/sda3

    section "Scanning"
    must mdadm -q -C /dev/md2 -amd -R -l1 -n2 --assume-clean /dev/sda3 /dev/sdb3
    must mdadm -q -C /dev/md101 -amd -R -l5 -n2 -x1 --assume-clean /dev/sdc3 /dev/sdd3 /dev/sdd4
    scan_both 0.90
    must mdadm -q -S /dev/md2
    must mdadm -q -S /dev/md101
    metadata 1.2
    must mdadm -q -C /dev/md2 -amd -R -l1 -n2 --assume-clean /dev/sda3 /dev/sdb3
    must mdadm -q -C /dev/md101 -amd -R -l5 -n2 -x1 --assume-clean /dev/sdc3 /dev/sdd3 /dev/sdd4
    scan_both 1.2
    gives "an array with the newer superblock is removed, too" 0 probe remove /dev/md101
    expect "and wiped" no_superblocks /dev/sdc3 /dev/sdd3 /dev/sdd4
    metadata 0.90
    forget /dev/md2 /dev/sda3 /dev/sdb3
}
scan_both() { # scan_both METADATA
    local internal enclosure
    internal=$(on_disk /dev/sda3) && enclosure=$(on_disk /dev/sdd3)
    gives "with $1 a scan finds all, spares too" "5
/dev/md2 raid1 2 $internal
/dev/md2 raid1 2 $internal
/dev/md101 raid5 2 $enclosure
/dev/md101 raid5 2 $enclosure
/dev/md101 raid5 2 $enclosure" probe scan 1 /dev/sda1x /dev/sda4 /dev/sda3 /dev/sdb3 /dev/sdc3 /dev/sdd3 /dev/sdd4
    gives "or those of enclosures" "2
/dev/md101 raid5 2 $enclosure
/dev/md101 raid5 2 $enclosure" probe scan 2 /dev/sda3 /dev/sdb3 /dev/sdc3 /dev/sdd3
    gives "with the UUID of the running array" "$enclosure*" probe uuid /dev/md101
}

# ---- Disks ---------------------------------------------------------------------------------------------------------

table() { sfdisk -d "$1" | grep -o '^/dev.*' | tr -s ' '; }
known() { # known DISK NUMBER...: whether the kernel has just these partitions
    same "$(sed -n "s/.* ${1#/dev/}\([0-9]\)$/\1/p" /proc/partitions | xargs)" "${*:2}"
}
starts_at() { # starts_at PARTITION...
    local partition
    for partition; do
        cat "/sys/block/${partition:5:3}/${partition#/dev/}/start"
    done
}
aligned() {
    local start
    for start in $(starts_at "$@"); do
        ((start % 8 == 0)) || return 1
    done
}
ends_at() { echo $(($(starts_at "$1") + $(probe sectors "$1"))); }
label() { sfdisk -d "$1" | sed -n 's/^label: //p'; }

first_disk() {
    section "A disk for a system without arrays"
    gives "it gets the system partitions" 0 probe partition-create /dev/sdg 1
    gives "and the one for data" 0 probe partition-create /dev/sdg 2
    expect "the kernel knows them at once" known /dev/sdg 1 2 3
    expect "and the devices are there" test -b /dev/sdg1 -a -b /dev/sdg2 -a -b /dev/sdg3
    gives "the data lies behind the larger reserve" 2 probe layout /dev/sdg3
    gives "and ends with the disk" "$(cat /sys/block/sdg/size)" ends_at /dev/sdg3
    expect "all suit disks with sectors of 4 KiB" aligned /dev/sdg[123]
    must mdadm -q -C /dev/md2 -amd -R -f -l1 -n1 /dev/sdg3
    gives "who takes its place must have the reserve, too" "$(($(probe sizes /dev/md2 | cut -d' ' -f3) * 1024 + 3216084480 + 65536))" \
        probe required /dev/md2
    expect "a disk of the same size has" test "$(probe required /dev/md2)" -le $((512 * $(cat /sys/block/sdg/size)))
    forget /dev/md2 /dev/sdg3
}

new_disks() {
    local before
    section "A new disk"
    # With what it was used for before.
    must sfdisk -q /dev/sde <<<$'label: gpt\n,1G\n,1G'
    must mke2fs -q -F /dev/sde2
    gives "it is made one of the appliance's" 0 probe disk-init /dev/sde 1
    expect "it has three partitions at once" known /dev/sde 1 2 3
    gives "where the other disks have them" "$(starts_at /dev/sda[123])" starts_at /dev/sde[123]
    gives "which is the smaller reserve" 1 probe layout /dev/sde
    gives "it serves both system arrays" healthy probe system-disk /dev/sde
    gives "the first has it as a spare" "raid1 normal 4 slots, rebuild none: *sde1=spare*" probe array /dev/md0
    before=$(table /dev/sde)
    gives "doing it again" 0 probe disk-init /dev/sde 1
    gives "changes nothing" "$before" table /dev/sde

    section "A disk whose system partitions are in use"
    gives "gets them" 0 probe partition-create /dev/sdf 1
    expect "just them" known /dev/sdf 1 2
    gives "and joins the system arrays" 0 probe system-add /dev/sdf
    gives "it has no data yet" "-1 ERR_PATH_NOT_FOUND" probe layout /dev/sdf
    gives "its data partition is made meanwhile" 0 probe disk-init /dev/sdf 1
    expect "and the kernel knows it at once" known /dev/sdf 1 2 3
    gives "on both disks alike" "$(table /dev/sde | sed 's/sde/sdf/')" table /dev/sdf
    gives "the first array takes both" 0 probe count /dev/md0 6
    gives "and so does the second" 0 probe count /dev/md1 6
    settled /dev/md0 && settled /dev/md1
    gives "and are whole" "raid1 normal 6 slots, rebuild none: sdf1=sync sde1=sync *" probe array /dev/md0

    section "A disk in use is not cleaned"
    before=$(table /dev/sde)
    gives "by its partitions" "-1 ERR_DEVICE_BUSY" probe partition-clean /dev/sde 3
    gives "nor as a whole" "-1 ERR_DEVICE_BUSY" probe disk-init /dev/sde 2
    gives "nothing was changed" "$before" table /dev/sde
    expect "in the kernel neither" known /dev/sde 1 2 3
    gives "its data alone can go" 0 probe partition-clean /dev/sde 2
    expect "at once" known /dev/sde 1 2
    gives "and come back" 0 probe partition-create /dev/sde 2
    gives "as it was" "$before" table /dev/sde

    section "A disk that leaves"
    gives "an array has its data" 0 probe disk-init /dev/sdg 1
    must mdadm -q -C /dev/md2 -amd -R -f -l1 -n1 /dev/sdg3
    gives "it is busy" "-1 ERR_DEVICE_BUSY" probe partition-clean /dev/sdg 2
    must mdadm -q -S /dev/md2
    must mke2fs -q -F /dev/sdg3
    must mount /dev/sdg3 /mnt
    gives "with a file system, too" "-1 ERR_DEVICE_BUSY" probe partition-clean /dev/sdg 2
    must umount /mnt
    must pvcreate -q -y -ff /dev/sdg3
    must vgcreate -q vg7 /dev/sdg3
    must lvcreate -q -n lv -L 16M vg7
    gives "and with a logical volume" "-1 ERR_DEVICE_BUSY" probe partition-clean /dev/sdg 2
    must vgremove -q -f vg7
    for array in md0 md1; do
        take_out /dev/$array "/dev/sdg$((${array#md} + 1))"
    done
    gives "is cleaned" 0 probe disk-init /dev/sdg 2
    expect "of all partitions" known /dev/sdg
    must probe partition-create /dev/sdg 1
    must probe partition-create /dev/sdg 2
    expect "and of their superblocks" no_superblocks /dev/sdg[123]
    gives "which the library sees" 0 probe superblock /dev/sdg3
    must mdadm -q -C /dev/md2 -amd -R -f -l1 -n1 /dev/sdg3
    must mdadm -q -S /dev/md2
    must sfdisk -q --delete /dev/sdg
    must probe partition-create /dev/sdg 1
    must probe partition-create /dev/sdg 2
    expect "they do not come back with partitions that others removed" no_superblocks /dev/sdg[123]
}

large_disk() {
    section "A disk beyond 2 TiB"
    gives "it gets the system partitions" 0 probe partition-create /dev/sdh 1
    gives "and the one for data" 0 probe partition-create /dev/sdh 2
    expect "the kernel knows them" known /dev/sdh 1 2 3
    gives "in a table that can hold them" gpt label /dev/sdh
    expect "which is sound" grep -q 'No errors' <(sfdisk -V /dev/sdh)
    expect "morvctl makes an array of it" raid create /dev/md2 --level raid1 --devices 2 /dev/sdh3
    # The kernel's description of the array has no room for as much.
    gives "its size is right" "2 $(blockdev --getsize64 /dev/md2) $(cat /sys/block/md2/md/component_size) -1" probe sizes /dev/md2
    gives "it uses all that there is" 0 probe expansible /dev/md2
    gives "it does not shrink" "-1 ERR_BAD_PARAMETERS" probe expand /dev/md2 2147483647
    gives "a small one is not added" "-1 ERR_NOT_ENOUGH_SPACE" probe add-checked /dev/md2 /dev/sdg3
    expect "morvctl removes it" raid remove /dev/md2
    gives "the disk is cleaned" 0 probe partition-clean /dev/sdh 3
    expect "of all partitions" known /dev/sdh
}

growing() {
    local most
    section "Growing to more of each member"
    touch /tmp/volume.1
    gives "a limit is set" "1 1048576" probe limit
    expect "morvctl makes an array that waits for its second member" raid create /dev/md2 --level raid1 --devices 2 /dev/sde3
    gives "and is degraded" "raid1 degraded 2 slots, rebuild none: sde3=sync" probe array /dev/md2
    gives "it keeps to the limit" "2 1073741824 1048576 -1" probe sizes /dev/md2
    gives "so it cannot grow" 0 probe expansible /dev/md2
    rm /tmp/volume.1
    most=$((($(probe sectors /dev/sde3) / 128 * 128 - 128) / 2))
    gives "without it, it can" "to $most" probe expansible /dev/md2
    gives "a member needs the room of the layout" $((1073741824 + 1348945920 + 65536)) probe required /dev/md2
    gives "it does not shrink" "-1 ERR_BAD_PARAMETERS" probe expand /dev/md2 1048575
    gives "not by a bit" "2 1073741824 1048576 -1" probe sizes /dev/md2
    expect "morvctl lets it grow" raid expand /dev/md2
    gives "to all that there is" "2 $((most * 1024)) $most -1" probe sizes /dev/md2
    expect "as mdadm says" agrees_with_mdadm /dev/md2
    gives "there is no more" 0 probe expansible /dev/md2
    expect "morvctl removes it" raid remove /dev/md2
    expect "and wipes it" no_superblock /dev/sde3
}

# ---- Volumes -------------------------------------------------------------------------------------------------------

make_file_system() { must mke2fs -q -F -t ext4 -E lazy_itable_init=0,lazy_journal_init=0 "$1"; }
mounted_options() { sed -n "s|^[^ ]* $1 [^ ]* \([^ ]*\) .*|\1|p" /proc/mounts; }
reads_only() { [[ $(mounted_options "$1") == ro,* ]]; }
called() { cat /tmp/services 2>/dev/null && rm -f /tmp/services; }

volumes_on_arrays() {
    section "A volume on an array"
    must mdadm -q -C /dev/md2 -amd -R -l5 -n3 --assume-clean /dev/sd[abc]3
    gives "what is not mounted is known by its array" "/volume1 raid, flags 1, not writable, arrays md2" probe volume /volume1
    gives "so it is listed" "/volume1 *
1 volumes, 1 internal" probe volumes
    gives "as not mounted" "not mounted" probe mounted 1
    make_file_system /dev/md2
    expect "morvctl mounts it" volume mount /dev/md2 /volume1
    gives "with quotas" "rw,*usrquota,grpquota*" mounted_options /volume1
    gives "it is healthy" "/volume1 raid on /dev/md2 state 1, flags 0, writable, arrays md2" probe volume /volume1
    gives "there is room" "/dev/md2 /volume1 writable with room" probe mounted 1
    gives "it is the first to write to" /volume1 probe first-writable 1
    gives "nobody works on it" 0 probe acting /volume1
    mkdir -p /tmp/webman/modules
    printf 'pid=%d\naction="expand"\nstep="2"\nvol_path="/volume1"\n' $$ >/tmp/webman/modules/volume
    gives "now somebody does" 1 probe acting /volume1
    rm /tmp/webman/modules/volume
    gives "what another volume lies on is not removed" 0 probe remove-stale
    expect "it is still mounted" grep -q ' /volume1 ' /proc/mounts

    section "A volume on a degraded array"
    echo "Dear all" >/volume1/letter && sync
    break_member /dev/md2 /dev/sda3
    gives "can be written to" "/volume1 raid on /dev/md2 state 1, flags 16, writable, arrays md2" probe volume /volume1
    expect "morvctl calls it degraded" grep -qi degraded <(volume health /volume1 2>&1)
    take_out /dev/md2 /dev/sda3
    must mdadm -q /dev/md2 -a /dev/sda3
    settled /dev/md2
    gives "it becomes healthy again" "/volume1 raid on /dev/md2 state 1, flags 0, writable, arrays md2" probe volume /volume1

    section "A disk that fails the system"
    break_member /dev/md1 /dev/sdb2
    gives "needs repair" "needs repair" probe system-disk /dev/sdb
    gives "which is told of the volume" "/volume1 raid on /dev/md2 state 1, flags 64, writable, arrays md2" probe volume /volume1
    take_out /dev/md1 /dev/sdb2
    gives "still when it is out" "*flags 64*" probe volume /volume1
    must mdadm -q /dev/md1 -a /dev/sdb2
    settled /dev/md1
    gives "no more when it is back" "*flags 0*" probe volume /volume1

    section "A file system with errors"
    gives "unmounted by the library" 0 probe unmount /volume1
    gives "the mount point was made for everybody" 777 stat -c %a /volume1
    must debugfs -w -R 'set_super_value state 2' /dev/md2
    gives "mounted by the library" 0 probe mount /dev/md2 /volume1
    gives "it is not to be written to" "/volume1 raid on /dev/md2 state 2, flags 2, not writable, arrays md2" probe volume /volume1
    gives "unmounted" 0 probe unmount /volume1
    e2fsck -fy /dev/md2 >/dev/null 2>&1
    # What the kernel notes of an error when the file system was sound: the bit beside that one.
    must debugfs -w -R 'set_super_value state 3' /dev/md2
    must probe mount /dev/md2 /volume1
    gives "errors that the kernel met count as well" "/volume1 raid on /dev/md2 state 2, flags 2, not writable, arrays md2" \
        probe volume /volume1
    must probe unmount /volume1
    e2fsck -fy /dev/md2 >/dev/null 2>&1
    must probe mount /dev/md2 /volume1
    gives "repaired, it is healthy" "/volume1 raid on /dev/md2 state 1, flags 0, writable, arrays md2" probe volume /volume1

    section "Two volumes, one of them of an enclosure"
    must mdadm -q -C /dev/md101 -amd -R -l1 -f -n1 /dev/sdd3
    gives "the system arrays are none" "/volume1 raid on /dev/md2 *
/volumeX1 raid, flags 1, not writable, basic, arrays md101
2 volumes, 1 internal" probe volumes
    make_file_system /dev/md101
    gives "it is mounted" 0 probe mount /dev/md101 /volumeX1
    gives "it is healthy: it has no part in the system" "/volumeX1 raid on /dev/md101 state 1, flags 0, writable, basic, arrays md101" \
        probe volume /volumeX1
    expect "morvctl lists both" same "$(volume list --json | grep -oE '"/volumeX?1"' | sort -u | xargs)" "/volume1 /volumeX1"
    gives "either can be the one to write to" "/volumeX1" probe first-writable 2
    must probe unmount /volumeX1
    forget /dev/md101 /dev/sdd3

    section "Read-only"
    mkdir -p /usr/morv/etc/rc.d
    # shellcheck disable=SC2016  # the script's own argument
    printf '#!/bin/sh\necho "$1" >>/tmp/services\n' >/usr/morv/etc/rc.d/S50witness.sh
    chmod 755 /usr/morv/etc/rc.d/S50witness.sh
    break_member /dev/md2 /dev/sda3
    gives "the library mounts it anew" 0 probe remount-crashed /dev/md2
    expect "it can only be read" reads_only /volume1
    gives "while the services were stopped" $'stop\nstart' called
    gives "twice is once too often" "-1 0x8400" probe remount-crashed /dev/md2
    gives "services are left alone then" "" called
    gives "what cannot be written is not the first to write to" 0 probe first-writable 1
    gives "there is room" "/dev/md2 /volume1 read-only with room" probe mounted 1
    must mount -o remount,rw /dev/md2 /volume1

    section "A volume on a crashed array"
    break_member /dev/md2 /dev/sdb3
    gives "cannot be written to" "/volume1 raid on /dev/md2 state *, flags 3[24], not writable, arrays md2" probe volume /volume1
    # This kernel must write to a file system before it lets go of writing.
    gives "when mount fails, that is told" "-1 ERR_SYS_UNKNOWN" probe remount-crashed /dev/md2
    gives "and services run again" $'stop\nstart' called
    expect "morvctl unmounts it" volume umount /volume1
    gives "then it is crashed and not mounted" "/volume1 raid, flags 33, not writable, arrays md2" probe volume /volume1
    gives "mounting it fails" "-1 ERR_SYS_UNKNOWN" probe mount /dev/md2 /volume1
    forget /dev/md2 /dev/sd[abc]3
    gives "without its array it is nothing" 0 probe volume /volume1
    gives "nothing is listed" "0 volumes, 0 internal" probe volumes
}

volumes_on_groups() {
    local array
    section "A volume on a group of arrays"
    must mdadm -q -C /dev/md2 -amd -R -l1 -f -n1 /dev/sda3
    must mdadm -q -C /dev/md3 -amd -R -l1 -n2 --assume-clean /dev/sdb3 /dev/sdc3
    must mdadm -q -C /dev/md101 -amd -R -l1 -f -n1 /dev/sdd3
    for array in md2 md3 md101; do
        must pvcreate -q -y /dev/$array
    done
    must vgcreate -q vg1 /dev/md2 /dev/md3 /dev/md101
    must lvcreate -q -n lv -l 100%FREE vg1
    expect "morvctl writes down what LVM says" volume lvm-refresh
    gives "a volume that is not mounted is known by its group" \
        "/volume1 lvm, flags 1, not writable, arrays md101 md3 md2, group /dev/vg1 /dev/md101=0 /dev/md2=0 /dev/md3=0" probe volume /volume1
    make_file_system /dev/vg1/lv
    expect "morvctl mounts it" volume mount /dev/vg1/lv /volume1
    gives "it is healthy" "/volume1 lvm on /dev/mapper/vg1-lv state 1, flags 0, writable, arrays md101 *, group /dev/vg1 *" \
        probe volume /volume1
    gives "it is one volume, not three" "/volume1 lvm *
1 volumes, 1 internal" probe volumes
    break_member /dev/md3 /dev/sdc3
    gives "one of its arrays is degraded" "/volume1 lvm *, flags 16, writable, *" probe volume /volume1
    must probe unmount /volume1
    must vgchange -q -an vg1

    section "An array of the group is missing"
    must mdadm -q -S /dev/md3
    expect "morvctl writes it down" volume lvm-refresh
    gives "an internal one" "/volume1 lvm, flags 5, not writable, arrays *, group /dev/vg1 *" probe volume /volume1
    must mdadm -q -S /dev/md101
    expect "morvctl writes it down" volume lvm-refresh
    gives "and one of an enclosure" "/volume1 lvm, flags 13, not writable, *" probe volume /volume1
    must mdadm -q -A /dev/md3 /dev/sdb3 /dev/sdc3
    must mdadm -q -A /dev/md101 /dev/sdd3
    expect "they come back" volume lvm-refresh
    gives "and the group is whole" "/volume1 lvm, flags [01]*, not writable, *" probe volume /volume1
    must vgchange -q -ay vg1
    must probe mount /dev/vg1/lv /volume1

    section "A volume is taken out of service"
    printf '/dev/vg1/lv /volume1 ext4 usrquota,grpquota 0 0\n/dev/md9 /volume9 ext4 defaults 0 0\n' >/etc/fstab
    gives "by the library" 0 probe unexport /volume1
    expect "it is not mounted" refused grep -q ' /volume1 ' /proc/mounts
    gives "its line alone is gone" "/dev/md9 /volume9 ext4 defaults 0 0" cat /etc/fstab
    must mount /dev/vg1/lv /volume1
    cd /volume1 || failed "cd /volume1" ""
    gives "one in use" "-1 ERR_DEVICE_BUSY" probe unexport /volume1
    cd /
    expect "stays mounted" grep -q ' /volume1 ' /proc/mounts
}

# ---- A disk goes ---------------------------------------------------------------------------------------------------

scsi_disk() { basename "$(readlink -f "/sys/bus/scsi/devices/$1/block/"*)"; }

pulled_out() {
    local address new
    section "A disk is pulled out"
    must mdadm -q -C /dev/md5 -amd -R -l1 -n2 -z 65536 --assume-clean /dev/sde3 /dev/sdf3
    make_file_system /dev/md5
    must probe mount /dev/md5 /volume4
    address=$(basename "$(readlink -f /sys/block/sdf/device)")
    echo 1 >/sys/block/sdf/device/delete
    must within 10 test ! -e /sys/block/sdf
    gives "it is no device any more" 0 probe sectors /dev/sdf3
    gives "its array can still be read" "raid1 * 2 slots, rebuild *: sdf3=* sde3=sync" probe array /dev/md5
    gives "what the other could give is known" "[0t]*" probe expansible /dev/md5
    gives "and what a new one needs" "[1-9]*" probe required /dev/md5
    echo "Dear all" >/volume4/letter
    sync
    must within 10 faulty /dev/md5 /dev/sdf3
    gives "then the array is degraded" "raid1 degraded 2 slots, rebuild *: sdf3=faulty sde3=sync" probe array /dev/md5
    gives "and the volume is, and the system may be" "/volume4 raid on /dev/md5 state 1, flags *, writable, arrays md5" \
        probe volume /volume4
    expect "morvctl shows the array" morvctl raid show /dev/md5
    expect "and the volume" volume show /volume4

    echo "${address#*:}" | tr : ' ' >"/sys/class/scsi_host/host${address%%:*}/scan"
    must within 10 test -e "/sys/bus/scsi/devices/$address/block"
    new=$(scsi_disk "$address")
    gives "it comes back by another name" "sd[!f]" echo "$new"
    must within 10 test -b "/dev/${new}3"
    must mdadm -q /dev/md5 --remove failed
    expect "morvctl adds it" raid add /dev/md5 "/dev/${new}3"
    settled /dev/md5
    gives "the array is whole" "raid1 normal 2 slots, rebuild none: *" probe array /dev/md5
    gives "with the new name" "/dev/md5 5" probe member-of "/dev/${new}3"
    must probe unmount /volume4
    forget /dev/md5 /dev/sde3 "/dev/${new}3"
}

# ---- Quotas --------------------------------------------------------------------------------------------------------

word() { printf '%b' "$(printf '\\x%02x\\x%02x\\x%02x\\x%02x' $(($1 >> 24 & 255)) $(($1 >> 16 & 255)) $(($1 >> 8 & 255)) $(($1 & 255)))"; }
number() { word 2 && word 4 && word "$1"; }
text() { word 1 && word $((${#1} + 1)) && printf '%s\0' "$1"; }
quota_backup() { # quota_backup USER VOLUME SOFT HARD: in MiB, of one user on one volume
    number 1 && text "$1" && number 1 && text "$2" && number "$3" && number "$4"
} >/tmp/body
writes() { setpriv --reuid 1026 --regid 100 --clear-groups dd if=/dev/zero of=/volume8/file bs=1024 count="$1" 2>&1; }

quotas() {
    section "Quotas of users, from a backup and into one"
    must mke2fs -q -F -t ext4 -O quota /dev/sde3 128M
    must mkdir -p /volume8
    must mount -t ext4 -o usrquota /dev/sde3 /volume8
    must chmod 777 /volume8
    quota_backup alice /volume8 2 3
    { printf MORV && word 1 && word 0x1000000 && word 0x1000000 && word 7 && word "$(stat -c %s /tmp/body)" && cat /tmp/body; } >/tmp/quota.morv
    expect "without a quota she writes what she likes" writes 5000
    must rm /volume8/file
    expect "morvctl restores her quota" morvctl backup import /tmp/quota.morv --only userquota
    expect "she writes what it allows" writes 2900
    expect "and no more" refused writes 3100
    expect "morvctl backs it up" morvctl backup export /tmp/again.morv --only userquota
    expect "byte for byte" cmp /tmp/quota.morv /tmp/again.morv
    expect "restoring it again changes nothing" morvctl backup import /tmp/again.morv
    must umount /volume8
}

# ---- Speed ---------------------------------------------------------------------------------------------------------

measured() { probe speed 25 >/tmp/speed; }

speed() {
    section "Speed, reading by a program and by the tools of the system"
    echo "$(grep -c '^md' /proc/mdstat) arrays"
    expect "everything can be read many times" measured
    cat /tmp/speed
}

prepare
first_disk
system_arrays
every_level
rebuild
assembling
refusing
wiping
new_disks
large_disk
growing
volumes_on_arrays
volumes_on_groups
speed
pulled_out
quotas
printf '\n%d checks, %d failures, %s s\n' $checks $failures "$(cut -d. -f1 /proc/uptime)"
((failures == 0))
