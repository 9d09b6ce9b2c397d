#!/bin/bash
# What morvctl net shows, checks, refuses and changes, on a played machine.
# shellcheck source=tests/tools/harness.sh
. "$(dirname "$0")/harness.sh"

# The kernel is played by a library that an emulator could not load.
if ((${#emulator[@]})); then
    echo "SKIPPED: under an emulator nobody plays the kernel"
    exit 77
fi
morvctl_words=(env "LD_PRELOAD=$FAKE_NET" "ASAN_OPTIONS=${ASAN_OPTIONS-}:verify_asan_link_order=0" "$TOOLS/morvctl")
morvctl() { "${morvctl_words[@]}" "$@"; }

scripts=/etc/sysconfig/network-scripts

# eth0 with a static address and the way out, eth1 with another.
start() {
    "$SOURCE/tests/support/fake_network" "$root" eth0=192.168.1.10/255.255.255.0 eth1=10.0.0.2/255.0.0.0
    configure eth0 192.168.1.10 255.255.255.0
    configure eth1 10.0.0.2 255.0.0.0
    printf 'HOSTNAME=attic\nNETWORKING=yes\nGATEWAY=192.168.1.1\n' >"$root/etc/sysconfig/network"
    printf '127.0.0.1\tlocalhost\n192.168.1.10\tattic\n' >"$root/etc/hosts"
    printf 'nameserver\t192.168.1.1\n' >"$root/etc/resolv.conf"
    "$root/sbin/route" add default gw 192.168.1.1
    mkdir -p "$root/var/log"
    : >"$root/tmp/tools"
}

configure() { # configure NAME ADDRESS NETMASK
    printf 'DEVICE=%s\nONBOOT=yes\nBOOTPROTO=static\nIPADDR=%s\nNETMASK=%s\n' "$@" >"$root$scripts/ifcfg-$1"
}

kernel() { cat "$root/sys/class/net/$1/ipv4"; }
key() { sed -n "s/^$2=//p" "$root$1"; }
recorded() { tr -c '[:print:]' '\n' <"$root/var/log/morvsys.log" | grep -c -e "$1"; }

# All but what reading makes: locks.
state() { (cd "$root" && find . -path ./tmp -prune -o -type f -exec cksum {} + | sort); }

expect_ran() { # expect_ran TEXT: the commands, but copies
    local ran
    ran=$(grep -v '^cp ' "$root/tmp/tools")
    [[ $ran == "$1" ]] || fail "it ran '$ran', not '$1'"
    : >"$root/tmp/tools"
}

expect_findings() { # expect_findings PATTERN...: one for each line of the check
    expect_code $(($# == 0 ? 0 : 1)) morvctl net check
    local lines=() pattern
    (($# == 0)) || mapfile -t lines <<<"$out"
    ((${#lines[@]} == $#)) || fail "there are ${#lines[@]} findings, not $#: $out"
    for pattern; do
        # shellcheck disable=SC2053
        [[ ${lines[0]-} == $pattern ]] || fail "the check says '${lines[0]-}', not '$pattern'"
        lines=("${lines[@]:1}")
    done
}

test_texts_are_judged_with_a_reason() {
    local kind text wanted
    while IFS='|' read -r kind text wanted; do
        run morvctl net validate "$kind" "$text"
        # shellcheck disable=SC2053
        [[ $out == $wanted && $code == $([[ $wanted == valid* ]]; echo $?) && -z $err ]] ||
            fail "$kind '$text' gives $code '$out', not '$wanted'"
    done <<'TABLE'
ip|192.168.1.0|valid: 192.168.1.0
ip|192.168.001.010|valid: 192.168.1.8
ip|192.168.1.255|not valid: 192.168.1.255 ends in 255, which is no address of a host
ip|127.0.0.1|not valid: *loopback
ip|224.0.0.1|not valid: *multicast*
ip|240.0.0.1|not valid: *reserved*
ip|0.1.2.3|not valid: *begins with 0*
ip|192.168.1|not valid: *four numbers*
ip|192.168.1.10x|not valid: *four numbers*
ip|192.168.300.1|not valid: *: 300 is not a number from 0 to 255
ip|1.2.3.-4|not valid: *: -4 is not a number from 0 to 255
mask|0xff.255.255.0|valid: 255.255.255.0
mask|255.0.255.0|not valid: *one bits stand behind zero bits
mask|0.0.0.0|not valid: *no one bit
subnet|10.0.0.0/8|valid: 10.0.0.0/8
subnet|10.0.0.0/255.0.0.0|valid: 10.0.0.0/8
subnet|10.1.2.3/8|not valid: 10.1.2.3/8 is no network: the one that it lies in is 10.0.0.0/8
subnet|10.0.0.0|not valid: *missing*
subnet|10.0.0.0/33|not valid: '10.0.0.0/33' is no network: '33' is neither*
host|_attic-1|valid
host|1attic|not valid: *does not begin with a letter*
host|attic.example|not valid: *letters, digits*
host|abcdefghijklmnop|not valid: *16 characters*
domain|nas.example.org|valid
domain|nas..org|not valid: *between its points
domain|a b.org|not valid: *blank
mail|jo.doe@example.org|valid
mail|jo@doe@example.org|not valid: *more than one '@'
mail|jo|not valid: *no '@'
mail|@example.org|not valid: *before the '@'*
TABLE
    expect_failure 2 "*the kind is ip, *not 'name'*" morvctl net validate name x
    expect_code 1 morvctl --json net validate ip 10.1.2.255
    expect_value false valid
    expect_value null normal
}

test_interfaces_are_shown_as_files_and_kernel_have_them() {
    start
    expect_output 'NAME  LINK  HARDWARE           ADDRESS       FLAGS
eth0  yes   02:00:00:00:00:01  192.168.1.10  up, running, broadcast, multicast
eth1  yes   02:00:00:00:00:02  10.0.0.2      up, running, broadcast, multicast' morvctl net interfaces
    expect_code 0 morvctl --json net show
    expect_value eth0 interfaces 0 name
    expect_value 255.0.0.0 interfaces 1 netmask
    expect_value 192.168.1.1 default_route
    expect_value attic host_name
    echo 192.168.1.11/255.255.255.0 >"$root/sys/class/net/eth0/ipv4"
    expect_code 0 morvctl net show eth0
    [[ $out == *'192.168.1.10 (in the kernel: 192.168.1.11)'* ]] || fail "the two are not told apart: $out"
    # One that cannot be read keeps nothing else back.
    rm "$root$scripts/ifcfg-eth0"
    expect_code 1 morvctl net show
    [[ $out == *10.0.0.2* && $out == *attic* && $err == *"eth0 has no address: $scripts/ifcfg-eth0 "* ]] || fail "$out / $err"
    expect_failure 1 "*no network interface 'eth7'; there are: eth0, eth1" morvctl net show eth7
    expect_failure 1 '*no network interface*' morvctl net set-static ../eth0 10.1.1.1/8
}

test_an_address_is_set_in_file_and_kernel() {
    start
    expect_output 'eth0 has the address 192.168.1.20, netmask 255.255.255.0, static' \
        morvctl net set-static eth0 192.168.1.20 255.255.255.0
    [[ $(kernel eth0) == 192.168.1.20/255.255.255.0 && $(key "$scripts/ifcfg-eth0" IPADDR) == 192.168.1.20 ]] ||
        fail "file and kernel do not have it"
    expect_ran $'ifconfig eth0 192.168.1.20 netmask 255.255.255.0 broadcast 192.168.1.255\nroute delete default\nroute add default gw 192.168.1.1'
    grep -q $'^192.168.1.20[\t ]*attic' "$root/etc/hosts" || fail "the name does not follow: $(cat "$root/etc/hosts")"
    expect_findings
    # Another network, with all that goes with it.
    expect_code 0 morvctl --json net set-static eth0 172.16.0.9/12 --gateway 172.16.0.1 --dns 172.16.0.2
    expect_value 172.16.0.9 interface address
    expect_value 172.16.0.1 gateway
    expect_value 172.16.0.2 name_server
    [[ $(kernel eth0) == 172.16.0.9/255.240.0.0 ]] || fail "the kernel has $(kernel eth0)"
    expect_findings
    [[ $(recorded 172.16.0.9) == 1 && $(recorded 172.16.0.1) -ge 1 ]] || fail "the changes are not recorded"
    expect_output 'the name server is 10.0.0.3' morvctl net dns 10.0.0.3
    expect_output 'the host name is cellar' morvctl net hostname cellar
    expect_output 'the MTU of eth1 is 9000 bytes from when it is next brought up' morvctl net mtu eth1 9000
    expect_output 9000 morvctl net mtu eth1
    expect_output cellar morvctl net hostname
    expect_output 'there is no name server' morvctl net dns --clear
    expect_failure 1 '*there is no name server' morvctl net dns
}

test_nonsense_and_what_cuts_off_is_refused() {
    start
    local before command wanted
    before=$(state)
    while IFS='|' read -r code command wanted; do
        # shellcheck disable=SC2086
        expect_failure "$code" "*$wanted*" morvctl net $command
        # shellcheck disable=SC2086
        expect_failure "$code" "*$wanted*" morvctl net $command --dry-run
    done <<'TABLE'
3|set-static eth0 192.168.1.255/24|ends in 255
3|set-static eth0 192.168.1.0/24|network address of 192.168.1.0/24
3|set-static eth0 192.168.1.127/25|broadcast address of 192.168.1.0/25
3|set-static eth0 192.168.1.9 255.0.255.0|no netmask
3|set-static eth0 192.168.1.9 /33|no netmask
2|set-static eth0 192.168.1.9|NETMASK is missing
3|set-static eth0 10.0.0.2/8|eth1 has the address 10.0.0.2 already
3|set-static eth0 192.168.2.9/24|gateway 192.168.1.1 would lie in no network
3|set-static eth0 192.168.1.1/24|gateway 192.168.1.1 would lie in no network
3|set-static eth0 192.168.2.9/24 --gateway 192.168.1.1|no host in a network
3|gateway 172.16.0.1|no host in a network of the appliance (eth0 is in 192.168.1.0/24, eth1 is in 10.0.0.0/8)
3|gateway 192.168.1.10|address of eth0 itself
3|gateway 192.168.1.x|four numbers
3|dns 192.168.1|four numbers
2|dns 192.168.1.1 --clear|exclude each other
3|mtu eth0 67|from 68 to 65535
3|mtu eth0 65536|from 68 to 65535
3|hostname 1st|does not begin
TABLE
    # No address can be set with a name that is none; the library would notice in the middle.
    sed -i 's/attic/attic.example.org/' "$root/etc/sysconfig/network"
    expect_failure 3 '*morvctl net hostname NAME*' morvctl net set-static eth0 192.168.1.9/24
    sed -i 's/attic.example.org/attic/' "$root/etc/sysconfig/network"
    [[ $(state) == "$before" ]] || fail "something has changed"
    expect_ran ''
    expect_code 0 morvctl net gateway 172.16.0.1 --dry-run --force
}

test_dry_run_shows_diffs_and_commands_and_does_nothing() {
    start
    echo 10.9.9.9 255.0.0.0 >"$root/etc/dhcp-offer"
    local before
    before=$(state)
    expect_code 0 morvctl --json net set-static eth0 192.168.1.20/24 --dns 10.0.0.3 --dry-run
    # shellcheck disable=SC2001  # a pattern for sed
    out=$(sed 's/\.tmp[0-9]*/.tmpTIME/' <<<"$out")
    expect_value '["/bin/cp -f /etc/sysconfig/network-scripts/ifcfg-eth0 /etc/sysconfig/network-scripts/ifcfg-eth0.tmpTIME", "/sbin/ifconfig eth0 192.168.1.20 netmask 255.255.255.0 broadcast 192.168.1.255", "/sbin/route delete default", "/sbin/route add default gw 192.168.1.1"]' commands
    expect_code 0 morvctl net set-static eth0 192.168.1.20/24 --dry-run
    [[ $out == *+IPADDR=192.168.1.20* && $out == *$'\n+192.168.1.20\tattic'* && $out == *$'\n  /sbin/ifconfig eth0 '* && $out != *"$TMPDIR"* ]] || fail "$out"
    mkdir -p "$root/etc/dhcpc" "$root/proc/4711"
    echo 4711 >"$root/etc/dhcpc/dhcpcd-eth0.pid"
    echo dhcpcd >"$root/proc/4711/comm"
    printf '/sbin/dhcpcd\0-n\0eth0\0-t\00030\0' >"$root/proc/4711/cmdline"
    before=$(state)
    expect_code 0 morvctl --json net set-dhcp eth0 --dry-run
    expect_value 4711 ended_process
    [[ $out == *'/sbin/dhcpcd -n eth0 -t 30'* && $out == *-IPADDR=192.168.1.10* ]] || fail "$out"
    expect_code 0 morvctl net hostname cellar --dry-run
    [[ $out == *+HOSTNAME=cellar* ]] || fail "$out"
    [[ $(state) == "$before" ]] || fail "a dry run has changed something"
    # A number that is another program's by now.
    echo sleep >"$root/proc/4711/comm"
    expect_code 0 morvctl --json net set-dhcp eth0 --dry-run
    [[ $out != *4711* ]] || fail "$out"
    expect_ran ''
    rm "$root/sbin/ifconfig"
    expect_failure 6 '*command for it failed or is missing*' morvctl net set-static eth0 192.168.1.20/24 --dry-run
}

test_a_dry_run_shows_the_hosts_that_the_change_then_makes() {
    local text line
    for text in '192.168.1.10 attic\n192.168.1.9 attic\n' '192.168.1.20 printer\n' '# none\n' '192.168.1.10 printer attic\n'; do
        start
        # shellcheck disable=SC2059  # a format
        printf "$text" | tee "$root/etc/hosts" >"$TMPDIR/hosts"
        expect_code 0 morvctl net set-static eth0 192.168.1.20/24 --dry-run
        local shown=$out
        expect_code 0 morvctl net set-static eth0 192.168.1.20/24
        while read -r line; do
            [[ $'\n'$shown == *$'\n'"$line"* ]] || fail "without '$line', which the change makes: $shown"
        done < <(diff -U0 "$TMPDIR/hosts" "$root/etc/hosts" | tail -n +3 | grep '^[-+]')
        ! cmp -s "$TMPDIR/hosts" "$root/etc/hosts" || fail "nothing was changed in $text"
        rm "$TMPDIR/hosts"
    done
}

test_a_way_out_that_is_stored_nowhere_is_not_lost() {
    start
    sed -i /GATEWAY/d "$root/etc/sysconfig/network"
    expect_failure 3 '*default route by 192.168.1.1 is not stored*--gateway 192.168.1.1 keeps it*' \
        morvctl net set-static eth0 192.168.1.20/24
    expect_code 0 morvctl net set-static eth1 10.0.0.3/8
    expect_code 0 morvctl net set-static eth0 192.168.1.20/24 --gateway 192.168.1.1
    [[ $(key /etc/sysconfig/network GATEWAY) == 192.168.1.1 ]] || fail "it is not stored"
}

test_dhcp_and_its_failures_tell_what_holds() {
    start
    local before
    before=$(state)
    expect_failure 6 "*by DHCP: *its configuration file is as it was, and in the kernel it has 192.168.1.10" \
        morvctl net set-dhcp eth0
    [[ $(state) == "$before" ]] || fail "something has changed"
    echo 10.9.9.9 255.255.0.0 >"$root/etc/dhcp-offer"
    expect_output 'eth0 has the address 10.9.9.9, netmask 255.255.0.0, by DHCP' morvctl net set-dhcp eth0
    [[ $(key "$scripts/ifcfg-eth0" BOOTPROTO) == dhcp && -z $(key "$scripts/ifcfg-eth0" IPADDR) ]] || fail "the file is wrong"
    : >"$root/etc/ifconfig-fails"
    expect_failure 6 '*its configuration file is as it was, and in the kernel it has 10.9.9.9' \
        morvctl net set-static eth0 192.168.1.10/24 --force
    [[ $(key "$scripts/ifcfg-eth0" BOOTPROTO) == dhcp ]] || fail "the file is not as it was"
}

test_check_finds_what_does_not_fit() {
    start
    expect_findings
    echo 192.168.1.11/255.255.255.0 >"$root/sys/class/net/eth0/ipv4"
    sed -i 's/GATEWAY=.*/GATEWAY=172.16.0.1/; s/HOSTNAME=.*/HOSTNAME=cellar/' "$root/etc/sysconfig/network"
    : >"$root/etc/resolv.conf"
    : >"$root$scripts/ifcfg-eth0.tmp1795310574"
    printf 'DEVICE=eth1\nONBOOT=yes\nBOOTPROTO=dhcp\n' >"$root$scripts/ifcfg-eth1"
    echo 192.168.1.12/255.255.255.0 >"$root/sys/class/net/eth1/ipv4"
    expect_findings \
        "eth0 is to have the address 192.168.1.10, and in the kernel has 192.168.1.11; *set-static eth0 192.168.1.10 255.255.255.0'*" \
        'eth1 gets its address by DHCP, and /etc/dhcpc/dhcpcd-eth1.info has no lease; *' \
        "*no DHCP client runs for it; 'morvctl net set-dhcp eth1'*" \
        'eth0 (192.168.1.11) and eth1 (192.168.1.12) are in one network, *' \
        '*ifcfg-eth0.tmp1795310574 was left behind*' \
        'the stored gateway 172.16.0.1 lies in no network*' \
        'the stored gateway is 172.16.0.1, and the default route in the kernel is 192.168.1.1; *' \
        '*names no name server*' \
        '/etc/hosts has no line for cellar; *'
    expect_code 1 morvctl --json net check
    expect_value false consistent
    expect_value eth0 findings 0 subject
}

run_tests
