#!/bin/bash
# What the commands of arrays and volumes print, ask, refuse and run, on a played machine.
# shellcheck source=tests/tools/harness.sh
. "$(dirname "$0")/harness.sh"

# The kernel is played by a library that an emulator could not load.
if ((${#emulator[@]})); then
    echo "SKIPPED: under an emulator nobody plays the kernel"
    exit 77
fi
morvctl_words=(env "LD_PRELOAD=$FAKE_MD" "ASAN_OPTIONS=${ASAN_OPTIONS-}:verify_asan_link_order=0" "$TOOLS/morvctl")
morvctl() { "${morvctl_words[@]}" "$@"; }

# Four disks; /dev/md0 of their first partitions, and a raid5 of three of them with a spare.
start() {
    "$SOURCE/tests/support/fake_storage" "$root" sda sdb sdc sdd
    made md0 -l1 -n4 -x0 sd{a,b,c,d}1
    made md1 -l1 -n4 -x0 sd{a,b,c,d}2
    made md2 -l5 -n3 -x0 sd{a,b,c}3
    : >"$root/tmp/tools"
}

made() { # made ARRAY OPTION... DEVICE...
    local words=("${@:2}")
    "$root/sbin/mdadm" -C "$root/dev/$1" -amd -R "${words[@]/#sd/$root/dev/sd}"
}

member() { # member ARRAY DEVICE STATE [SLOT]
    echo "$3" >"$root/sys/block/$1/md/dev-$2/state"
    [[ -z ${4-} ]] || echo "$4" >"$root/sys/block/$1/md/dev-$2/slot"
}

mounted() { echo "$1 $2 ext4 rw,relatime 0 0" >>"$root/proc/mounts"; }

# What must not change; what the tools were asked to change, in $ran.
state() { (cd "$root" && find dev proc sys etc -type f -exec cksum {} + | sort); }
ran() { grep -vE '^mdadm (-E|-D)' "$root/tmp/tools"; }

expect_ran() { # expect_ran TEXT
    [[ $(ran) == "$1" ]] || fail "it ran '$(ran)', not '$1'"
    : >"$root/tmp/tools"
}

# Types each of the answers, divided by "/", when it is asked, or sends SIGINT for ^C when something is drawn.
on_terminal() { # on_terminal ANSWERS COMMAND...
    python3 - "$@" <<'END'
import os, pty, sys
answers = sys.argv[1].split("/")
pid, fd = pty.fork()
if pid == 0:
    os.execvp(sys.argv[2], sys.argv[2:])
shown = b""
while True:
    try:
        got = os.read(fd, 1000)
    except OSError:
        break
    if not got:
        break
    shown += got
    if answers and (shown.endswith(b"(yes/no) ") or (answers[0] == "^C" and b"%" in got)):
        answer = answers.pop(0)
        os.write(fd, b"\x03" if answer == "^C" else answer.encode() + b"\n")
sys.stdout.write(shown.decode())
sys.exit(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]) % 256)
END
}

test_arrays_are_shown() {
    start
    member md2 sdb3 spare 1
    echo 1 300 800 >"$root/sys/block/md2/md/sync_status"
    member md1 sda2 faulty
    made md10 -l0 -n2 sdd3 missing
    expect_output 'ARRAY      LEVEL  STATUS    SIZE       MEMBERS  RESYNC
/dev/md0   raid1  normal    488.2 MiB  4/4
/dev/md1   raid1  degraded  97.6 MiB   3/4
/dev/md2   raid5  degraded  2.0 GiB    2/3      37.5%
/dev/md10  raid0  crashed   2.0 GiB    1/2' morvctl raid list
    expect_output $'/dev/md0\n/dev/md1\n/dev/md2\n/dev/md10' morvctl raid list --names
    mounted /dev/md2 /volume1
    local name table='array           /dev/md2
level           raid5
status          degraded
size            2.0 GiB
of each member  1.0 GiB
members         2 of 3 in sync
resync          37.5%
uuid            00000003:0badcafe:5ca1ab1e:00000002
use             mounted on /volume1

MEMBER     STATE
/dev/sda3  in sync
/dev/sdb3  rebuilding
/dev/sdc3  in sync'
    for name in /dev/md2 md2 /dev/md/2; do
        expect_output "$table" morvctl raid show "$name"
    done
    expect_code 0 morvctl raid show md2 --json
    expect_value 2157576192 array size_bytes
    expect_value 1078788096 array component_bytes
    expect_value '{"state": "running", "done": 300, "total": 800, "percent": 37.5}' array resync
    expect_value '{"device": "/dev/sdb3", "state": "rebuilding"}' array members 1
    expect_value 00000003:0badcafe:5ca1ab1e:00000002 array uuid
    expect_failure 1 'morvctl: no array /dev/md9 is running' morvctl raid show md9
    for name in '' md 2 md02 md2p1 /dev/sda ../md2 md99999999999; do
        expect_failure 3 "morvctl: '*' is no array: *" morvctl raid show "$name"
    done
}

test_an_array_that_cannot_be_read_does_not_hide_the_others() {
    start
    : >"$root/sys/block/md1/md/dev-sdc2/state"
    expect_code 6 morvctl raid list
    [[ $(cut -d' ' -f1 <<<"$out" | paste -sd' ') == "ARRAY /dev/md0 /dev/md2" &&
        $err == "morvctl: cannot read the array /dev/md1: "* ]] || fail "$out $err"
    expect_code 6 morvctl raid list --json
    expect_value /dev/md1 arrays 1 device
    expect_value 5 arrays 1 error | grep -q /dev/md1 || fail "no error is told: $out"
    # What it holds is not known, so nothing is safe to take.
    local before
    before=$(state)
    expect_failure 6 '*cannot read the array /dev/md1*' morvctl raid create md3 --level raid0 --yes /dev/sdd3
    [[ $(state) == "$before" ]] || fail "something has changed"
}

test_what_would_be_lost_is_named_and_asked_for() {
    start
    local before command parts part
    before=$(state)
    while IFS='|' read -r command parts; do
        # shellcheck disable=SC2086
        expect_code 0 morvctl raid $command --dry-run
        IFS=, read -ra parts <<<"$parts"
        for part in "${parts[@]}"; do
            [[ $out == *"$part"* ]] || fail "$command does not say '$part': $out"
        done
        # shellcheck disable=SC2086
        expect_code 0 morvctl raid $command --dry-run --json
        expect_value true dry_run
        # shellcheck disable=SC2086
        expect_code 2 morvctl raid $command </dev/null
        [[ $err == *"${parts[0]}"*"there is no terminal to ask on"* ]] || fail "$command does not ask: $err"
        # shellcheck disable=SC2086
        expect_code 3 on_terminal perhaps/no "${morvctl_words[@]}" raid $command
        [[ $out == *"${parts[0]}"*"(yes/no) "*"(yes/no) "*"not confirmed: nothing has been done"* ]] || fail "$command: $out"
    done <<'END'
create md3 --level raid1 --devices 2 /dev/sdd3|/dev/md3 will be made: raid1 of 2 members,1 of them missing,will be lost,/dev/sdd3  1.0 GiB  no superblock
add md2 /dev/sdd3|member of /dev/md2 (raid5, normal, 2.0 GiB),all that it holds will be lost,/dev/sdd3  1.0 GiB
stop md2|/dev/md2 (raid5,2.0 GiB) will be stopped,keep what it holds,/dev/sda3  in sync
remove md2|/dev/md2 (raid5,lost for ever,00000003:0badcafe:5ca1ab1e:00000002,/dev/sdc3  in sync
END
    [[ $(state) == "$before" && -z $(ran) ]] || fail "something has changed: $(ran)"
    expect_code 0 on_terminal yes "${morvctl_words[@]}" raid stop md2
    expect_ran 'mdadm -S /dev/md2'
    # What is found on a device is named, too.
    expect_code 0 morvctl raid create md3 --level raid0 /dev/sda3 --dry-run
    [[ $out == *"/dev/sda3  1.0 GiB  superblock of /dev/md2, UUID 00000003:0badcafe:5ca1ab1e:00000002" ]] || fail "$out"
}

test_what_is_in_use_is_not_taken() {
    start
    local before device text
    ln -s sda3 "$root/dev/link"
    printf '[/dev/vg1]\n/dev/sdd3=0\n' >"$root/tmp/lvm.status"
    mounted /dev/sdd1 /mnt
    before=$(state)
    while IFS='|' read -r device text; do
        for command in "create md3 --level raid0" "add md2" "assemble md3"; do
            # shellcheck disable=SC2086
            expect_code 3 morvctl raid $command --yes "$device"
            [[ $command == assemble* || $command$text == *"add md2"*/dev/md2* || $err == "morvctl: $text"* ]] ||
                fail "$command $device: $err"
        done
    done <<'END'
/dev/sda3|/dev/sda3 is a member of the running array /dev/md2; 'morvctl raid stop /dev/md2' stops that
/dev/link|/dev/sda3 is a member of the running array /dev/md2
/dev/sda|the partition /dev/sda
/dev/sdd3|/dev/sdd3 is a physical volume of the volume group /dev/vg1; take it out
/dev/sdd1|/dev/sdd1 is a member of the running array /dev/md0
END
    [[ $(state) == "$before" && -z $(ran) ]] || fail "something has changed: $(ran)"
    # An array below a volume, below a volume group, and below another array.
    mounted /dev/md2 /volume1
    expect_failure 3 "morvctl: /dev/md2 is mounted on /volume1; 'morvctl volume umount /volume1' unmounts it" \
        morvctl raid stop md2 --yes
    expect_failure 3 '*is mounted on /volume1; *' morvctl raid remove md2 --yes
    printf '[/dev/vg1]\n/dev/md2=0\n' >"$root/tmp/lvm.status"
    echo '/dev/mapper/vg1-lv /volume1 ext4 rw 0 0' >"$root/proc/mounts"
    expect_failure 3 'morvctl: /dev/md2 is mounted on /volume1 (in the volume group /dev/vg1); *' \
        morvctl raid remove md2 --yes
    : >"$root/proc/mounts"
    mkdir "$root/sys/block/md1/md/dev-md2"
    echo in_sync | tee "$root/sys/block/md1/md/dev-md2/state" >"$root/sys/block/md1/md/dev-md2/slot"
    expect_failure 3 'morvctl: /dev/md2 is a member of the running array /dev/md1; *' morvctl raid stop md2 --yes
    [[ -z $(ran) ]] || fail "it ran $(ran)"
}

test_an_array_lives_from_create_to_remove() {
    start
    expect_code 0 morvctl raid stop md2 --yes
    expect_code 0 morvctl raid create md2 --level raid5 --spares 1 --yes --json /dev/sd{a,b,c,d}3
    expect_value '{"device": "/dev/sdd3", "state": "spare"}' array members 3
    expect_value false dry_run
    expect_ran $'mdadm -S /dev/md2\nmdadm -C /dev/md2 -amd -R -l5 -n3 -x1 /dev/sda3 /dev/sdb3 /dev/sdc3 /dev/sdd3'
    expect_code 0 morvctl raid stop md2 --yes
    expect_code 0 morvctl raid create md2 --level raid5 --yes /dev/sd{a,b,c}3
    # A small device, a large one, and one that is not looked at.
    echo 2000000 >"$root/sys/block/sdd/sdd3/size"
    expect_failure 5 '*the device is smaller than *(ERR_NOT_ENOUGH_SPACE)' morvctl raid add md2 /dev/sdd3 --yes
    : >"$root/tmp/tools"
    expect_code 0 morvctl raid add md2 /dev/sdd3 --yes --force
    expect_failure 3 'morvctl: /dev/sdd3 is a member of /dev/md2 already: spare' morvctl raid add md2 /dev/sdd3 --yes
    expect_failure 3 '*needs 2 spares for that and has 1; *' morvctl raid expand md2 --devices 5 --yes
    expect_code 0 morvctl raid expand md2 --devices 4 --yes
    expect_ran $'mdadm /dev/md2 -a /dev/sdd3\nmdadm --grow /dev/md2 -n 4'
    echo 2107193 >"$root/sys/block/sdd/sdd3/size"
    echo 900000 >"$root/sys/block/md2/md/component_size"
    expect_failure 3 '*800000 KiB are not more than the 900000 KiB *' morvctl raid expand md2 --size 800000 --yes
    expect_failure 3 '*4 slots are not more than the 4 that *' morvctl raid expand md2 --devices 4 --yes
    expect_code 0 morvctl raid expand md2 --size 950000 --yes
    expect_code 0 morvctl raid expand md2 --yes --json
    expect_value 1078788096 component_bytes
    expect_ran $'mdadm --grow /dev/md2 -z 950000\nmdadm --grow /dev/md2 -z 1053504'
    expect_failure 3 '*have no more room than *' morvctl raid expand md2 --size max --yes
    echo 1 1 2 >"$root/sys/block/md2/md/sync_status"
    expect_failure 3 "*a resync of /dev/md2 is not done yet; *" morvctl raid expand md2 --yes
    rm "$root/sys/block/md2/md/sync_status"
    expect_code 0 morvctl raid remove md2 --yes
    expect_ran "mdadm -S /dev/md2$(printf '\nmdadm --zero-superblock /dev/sd%s3' a b c d)"
    [[ -z $(cat "$root"/dev/sd?3) ]] || fail "not all is wiped"
    # A member that the library does not find keeps its superblock, and that is no success.
    made md2 -l1 -n2 -x0 sda3 sdb3
    sed -i /sdb3/d "$root/proc/partitions"
    expect_failure 6 '*is stopped, but not all of it is wiped: /dev/sdb3 still has *' morvctl raid remove md2 --yes
}

test_only_members_of_one_array_are_assembled() {
    start
    local uuid=00000003:0badcafe:5ca1ab1e:00000002
    expect_failure 3 'morvctl: the array /dev/md2 runs already; *' morvctl raid assemble md2 /dev/sda3
    "$root/sbin/mdadm" -S "$root/dev/md2"
    "$root/sbin/mdadm" -S "$root/dev/md1"
    : >"$root/tmp/tools"
    expect_output 'DEVICE     ARRAY     LEVEL  SLOTS  UUID
/dev/sda2  /dev/md1  raid1  4      00000004:0badcafe:5ca1ab1e:00000001
/dev/sda3  /dev/md2  raid5  3      '"$uuid" morvctl raid scan /dev/sda2 /dev/sda3 /dev/sdd3
    expect_code 0 morvctl raid scan --expansion --json /dev/sda3
    expect_value '[]' superblocks
    expect_failure 1 'morvctl: there is no device /dev/sdz' morvctl raid scan /dev/sda3 /dev/sdz
    expect_failure 3 '*/dev/sdb2 belongs to the array *, /dev/sda3 to that with '"$uuid; *not mixed" \
        morvctl raid assemble md2 --yes /dev/sda3 /dev/sdb2
    expect_failure 3 '*/dev/sda3 belongs to the array *, not to that with 1:2:3:4; *' \
        morvctl raid assemble md2 --yes --uuid 1:2:3:4 /dev/sd{a,b,c}3
    expect_failure 3 '*/dev/sdd3 has no superblock *' morvctl raid assemble md2 --yes /dev/sd{a,b,c,d}3
    expect_failure 3 '*/dev/sda3 is named twice' morvctl raid assemble md2 --yes /dev/sda3 /dev/sda3
    # Without a member, or under another name, it asks.
    expect_code 2 morvctl raid assemble md2 /dev/sd{a,b}3
    [[ $err == *"It has 3 members: it will run without those that are not named"* ]] || fail "$err"
    expect_code 2 morvctl raid assemble md5 /dev/sd{a,b,c}3
    [[ $err == *"It was called /dev/md2 so far."* ]] || fail "$err"
    [[ -z $(ran) ]] || fail "it ran $(ran)"
    expect_code 0 morvctl raid assemble md2 --uuid "$uuid" /dev/sd{a,b,c}3 --json
    expect_value normal array status
    expect_ran "mdadm /dev/md2 -A -u $uuid --run /dev/sda3 /dev/sdb3 /dev/sdc3"$'\nmdadm --run /dev/md2'
    "$root/sbin/mdadm" -S "$root/dev/md2"
    # shellcheck disable=SC2016  # for the script
    printf '#!/bin/sh\n[ "$1" != -E ] || exec cat "$3"\n' >"$root/sbin/mdadm"
    expect_failure 6 '*mdadm has not started it' morvctl raid assemble md2 /dev/sd{a,b,c}3
}

test_create_refuses_what_could_not_run() {
    start
    local code pattern command
    while IFS='|' read -r code pattern command; do
        # shellcheck disable=SC2086
        expect_failure "$code" "morvctl: $pattern" morvctl raid $command
    done <<'END'
2|--level is raid0, raid1, raid5, raid6 or linear, not 'raid9' *|create md3 --level raid9 /dev/sdd3 --yes
2|--level is required *|create md3 /dev/sdd3
2|--devices: *|create md3 --level raid1 --devices 0 /dev/sdd3
2|--size and --devices exclude each other *|expand md2 --size 1 --devices 2
2|--size is a number of KiB or max, not '1G' *|expand md2 --size 1G --yes
3|raid0 has no spares|create md3 --level raid0 --spares 1 /dev/sdd3 --yes
3|all members would be spares|create md3 --level raid1 --spares 1 /dev/sdd3 --yes
3|raid6 needs 4 members at least|create md3 --level raid6 /dev/sdd3 --yes
3|raid0 with 2 slots cannot do without 1 member|create md3 --level raid0 --devices 2 /dev/sdd3 --yes
3|a member cannot be missing while others are spares|create md3 --level raid1 --devices 3 --spares 1 /dev/sdd3 /dev/sdc3 --yes
3|2 members are more than 1 slot and 0 spares|create md3 --level raid1 --devices 1 /dev/sdd3 /dev/sdc3 --yes
3|'sdd3' is no device: *|create md3 --level raid1 sdd3 --yes
3|'/dev/../etc/passwd' is no device: *|create md3 --level raid1 /dev/../etc/passwd --yes
1|there is no device /dev/sdz3|create md3 --level raid1 /dev/sdz3 --yes
3|the array /dev/md2 runs already; *|create md2 --level raid1 /dev/sdd3 --yes
1|no array /dev/md7 is running|remove md7 --yes
END
    [[ -z $(ran) ]] || fail "it ran $(ran)"
    # shellcheck disable=SC2016  # for the script
    printf '#!/bin/sh\n[ "$1" != -C ]\n' >"$root/sbin/mdadm"
    expect_failure 6 '*cannot create the array /dev/md3: the command for it failed *(ERR_SYS_UNKNOWN)' \
        morvctl raid create md3 --level raid1 /dev/sdd3 --yes
}

test_a_resync_is_followed_to_its_end() {
    start
    local status=$root/sys/block/md2/md/sync_status line
    expect_output '/dev/md2  no resync; normal, 3 of 3 members in sync' morvctl raid show --watch md2
    expect_failure 1 '*no array /dev/md9 is running' morvctl raid show --watch md9
    echo 1 200 800 >"$status"
    {
        read -r line
        [[ $line == '/dev/md2  25.0%' ]] || fail "it begins with '$line'"
        echo 1 400 800 >"$status"
        read -r line
        [[ $line == '/dev/md2  50.0%  '*'iB/s  '*' s left' ]] || fail "it goes on with '$line'"
        echo 0 0 0 >"$status"
        read -r line
        [[ $line == *' no resync; normal, 3 of 3 '* ]] || fail "it ends with '$line'"
    } < <(morvctl raid show --watch md2)
    echo 1 0 0 >"$status"
    {
        read -r out
        expect_value pending array resync state
        expect_value null bytes_per_second
        rm "$status"
        read -r out
        expect_value none array resync state
    } < <(morvctl raid show --watch md2 --json)
    # The signal takes effect, and what follows begins on a line of its own.
    echo 1 200 800 >"$status"
    expect_code $((256 - 2)) on_terminal ^C "${morvctl_words[@]}" raid show --watch md2
    [[ $out == $'\r/dev/md2 ['*'25.0%'* ]] || fail "it draws $out"
    [[ $(tail -c 2 "$scratch/out" | od -An -tx1) == ' 0d 0a' ]] || fail "it does not end its line"
}

# A file system for the library to look at: ext4 with this state.
formatted() { # formatted DEVICE STATE
    truncate -s 4096 "$root/dev/$1"
    printf '\x53\xef%b\x00' "\\x$2" | dd of="$root/dev/$1" bs=1 seek=1080 conv=notrunc status=none
}

volumes() {
    start
    made md101 -l1 -n1 -x0 sdd3
    mkdir -p "$root/volume1" "$root/volumeX1" "$root/volumeUSB1"
    formatted md2 01
    formatted md101 02
    formatted sdd 01
    mounted /dev/md101 /volumeX1
    mounted /dev/sdd /volumeUSB1
    mounted /dev/md2 /volume1
}

test_volumes_are_shown_with_what_lies_under_them() {
    volumes
    expect_code 0 morvctl volume list
    [[ $(tr -s ' ' <<<"$out" | sed -E 's/ [0-9.]+ [KMGTP]iB//g') == 'VOLUME KIND LOCATION DEVICES SIZE FREE STATE
/volume1 raid internal /dev/md2 healthy
/volumeX1 raid expansion /dev/md101 file system errors
/volumeUSB1 disk usb /dev/sdd healthy' ]] || fail "$out"
    expect_output $'/volume1\n/volumeX1\n/volumeUSB1' morvctl volume list --names
    member md2 sdb3 faulty
    member md0 sda1 faulty
    expect_code 0 morvctl volume list --json
    expect_value /volume1 volumes 0 volume
    expect_value '["array_degraded", "system_array_degraded"]' volumes 0 health
    expect_value true volumes 0 writable
    expect_value false volumes 1 writable
    expect_value errors volumes 1 file_system state
    expect_value false volumes 0 basic
    expect_value 1 volumes 0 arrays 0 members 1 state | grep -q faulty || fail "$out"
    member md2 sdc3 faulty
    mkdir -p "$root/tmp/webman/modules"
    printf 'pid = %s\naction = "expand"\nstep = "resync"\nvol_path = "/volume1"\n' $$ >"$root/tmp/webman/modules/volume"
    mkdir -p "$root/proc/$$"
    expect_code 0 morvctl volume show /volume1
    local line
    while read -r line; do
        grep -qxF -e "$line" <<<"$(tr -s ' ' <<<"$out")" || fail "'$line' is not in $out"
    done <<'END'
volume /volume1
file system ext4, clean
state array crashed, system array degraded
writable no
/dev/md2 raid5 crashed 2.0 GiB 1/3
/dev/md2 /dev/sdb3 faulty
END
    expect_failure 1 'morvctl: there is no volume /volume7' morvctl volume show /volume7
    expect_failure 3 "morvctl: '/volume1/a' is no volume: *" morvctl volume show /volume1/a
}

test_health_is_an_exit_code() {
    volumes
    expect_code 7 morvctl volume health
    [[ $out == *$'\n/volumeX1    file system errors'* && -z $err ]] || fail "$out $err"
    expect_output $'VOLUME    STATE\n/volume1  healthy' morvctl volume health /volume1
    sed -i '/volume1 /d' "$root/proc/mounts"
    expect_code 7 morvctl volume health /volume1 --json
    expect_value '["not_mounted"]' volumes 0 health
    expect_value 1 volumes 0 flags
    expect_value false healthy
    expect_failure 1 '*there is no volume /volume7' morvctl volume health /volume7
    printf '[/dev/vg1]\n/dev/md2=0\n/dev/md4=1\n' >"$root/tmp/lvm.status"
    expect_code 7 morvctl volume health /volume1
    [[ $out == *"not mounted, physical volume missing" ]] || fail "$out"
    expect_code 0 morvctl volume show /volume1
    [[ $out == *$'\n/dev/vg1  /dev/md4         missing\n'* ]] || fail "$out"
}

test_volumes_are_mounted_and_unmounted() {
    volumes
    mkdir "$root/volume10"
    made md11 -l0 -n1 sdb
    mounted /dev/md11 /volume10
    expect_code 0 morvctl volume sort
    [[ $(awk '{print $1, $2, $3, $4, $NF}' <<<"$out") == 'NUMBER VOLUME LOCATION DEVICE MODE
1 /volumeX1 expansion /dev/md101 rw
1 /volumeUSB1 usb /dev/sdd rw
1 /volume1 internal /dev/md2 rw
10 /volume10 internal /dev/md11 rw' ]] || fail "$out"
    : >"$root/tmp/tools"
    expect_failure 3 'morvctl: /dev/md2 is mounted on /volume1 already' morvctl volume mount md2 /volume3
    expect_failure 3 'morvctl: /dev/md2 is mounted on /volume1 already' morvctl volume mount /dev/md1 /volume1
    expect_failure 3 "morvctl: '/mnt' is no volume: *" morvctl volume mount /dev/md1 /mnt
    expect_failure 1 'morvctl: there is no device /dev/md7: *' morvctl volume mount /dev/md7 /volume3
    expect_failure 1 'morvctl: nothing is mounted on /volume3' morvctl volume umount /volume3
    [[ -z $(ran) ]] || fail "it ran $(ran)"
    expect_code 0 morvctl volume umount /volume1 --json
    expect_value /dev/md2 device
    expect_code 0 morvctl volume mount md2 /volume1
    expect_ran $'umount -f /volume1\nmount -o usrquota,grpquota /dev/md2 /volume1'
    expect_code 0 morvctl volume health /volume1
}

test_what_lvm_says_is_written_down() {
    start
    local pv='"pv_name":"/dev/md/2","vg_name":"vg1","pv_missing":""' text pattern
    cat >"$root/etc/lvm.json" <<END
{"report": [{"pv": [{$pv}, {"pv_name":"[unknown]","vg_name":"vg1","pv_missing":"missing"},
  {"pv_name":"/dev/md5","vg_name":"vg4","pv_missing":0}, {"pv_name":"/dev/sdd1","vg_name":"","pv_missing":""},
  {"pv_name":"[unknown]","vg_name":"vg4","pv_missing":"missing"},
  {"pv_name":"/dev/sdd2","vg_name":"backup","pv_missing":""}]}]}
END
    printf '[/dev/vg1]\n/dev/md2=0\n/dev/md7=0\n' >"$root/tmp/lvm.status"
    expect_code 0 morvctl volume lvm-refresh --dry-run
    [[ $(cat "$root/tmp/lvm.status") == *md7=0 && $out == *$'\n/dev/vg1  /dev/md7         missing\n'* ]] || fail "$out"
    expect_code 0 morvctl volume lvm-refresh
    expect_file "$root/tmp/lvm.status" $'[/dev/vg1]\n/dev/md2=0\n/dev/md7=1\n[/dev/vg4]\n/dev/md5=0'
    [[ $err == *"the group backup is left out"*"1 missing physical volume"* ]] || fail "it says $err"
    # The array that the group has usually.
    expect_code 0 morvctl volume lvm-refresh --json - <<<'{"report":[{"pv":[{"pv_name":"[unknown]","vg_name":"vg3","pv_missing":"1"}]}]}'
    expect_value '{"device": "/dev/md4", "state": "missing"}' groups 0 physical_volumes 0
    local before
    before=$(<"$root/tmp/lvm.status")
    while IFS='|' read -r pattern text; do
        expect_failure 3 "morvctl: cannot use the report of LVM in standard input: $pattern" \
            morvctl volume lvm-refresh - <<<"$text"
    done <<'END'
it is no sound JSON|
it is no sound JSON|{"report": [
it is no sound JSON|{"report": []} {}
it has no 'report'|[]
it has no 'report'|null
'report' is no list|{"report": {}}
an entry of 'report' is no object|{"report": [1]}
'pv' is no list|{"report": [{"pv": "x"}]}
an entry of 'pv' is no object|{"report": [{"pv": [[]]}]}
a physical volume has no 'vg_name'|{"report": [{"pv": [{"pv_name": "/dev/md2"}]}]}
'pv_name' of a physical volume is no text|{"report": [{"pv": [{"pv_name": {}, "vg_name": "vg1", "pv_missing": ""}]}]}
pv_missing is 'maybe'|{"report": [{"pv": [{"pv_name": "/dev/md2", "vg_name": "vg1", "pv_missing": "maybe"}]}]}
'/etc/passwd' is no name of a device|{"report": [{"pv": [{"pv_name": "/etc/passwd", "vg_name": "vg1", "pv_missing": ""}]}]}
'/dev/a?n?/dev/vg2?' is no name of a device|{"report": [{"pv": [{"pv_name": "/dev/a\n[/dev/vg2]", "vg_name": "vg1", "pv_missing": ""}]}]}
'/dev/a*00' is no name of a device|{"report": [{"pv": [{"pv_name": "/dev/a\u0000", "vg_name": "vg1", "pv_missing": ""}]}]}
the physical volume /dev/md2 is there twice|{"report": [{"pv": [{"pv_name": "/dev/md2", "vg_name": "vg1", "pv_missing": ""}, {"pv_name": "/dev/md/2", "vg_name": "vg2", "pv_missing": ""}]}]}
END
    # No more than its depth allows, and no crash.
    printf '{"report":%200000s' '' | tr ' ' '[' >"$root/etc/deep"
    expect_failure 3 '*it is no sound JSON' morvctl volume lvm-refresh /etc/deep
    [[ $(<"$root/tmp/lvm.status") == "$before" ]] || fail "the file has changed"
    rm "$root/sbin/lvm"
    expect_failure 6 '*cannot ask LVM for its physical volumes: *(ERR_SYS_UNKNOWN)' morvctl volume lvm-refresh
}

run_tests
