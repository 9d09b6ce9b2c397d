#!/bin/bash
# The network's settings with a kernel, net-tools, a DHCP server and a DHCP client that nobody here wrote.
#
#   network_test.sh SOURCE_DIR BUILD_DIR
#
# A copy of this system is put together in memory: an overlay in a private mount namespace, with the appliance's files and
# the library as it is shipped. There, with processes, a host name and a network of its own, two interfaces lead into
# a local network that has a DHCP server. Nothing on this machine changes. BUILD_DIR is kept for the next run.
set -uo pipefail
umask 022
export LC_ALL=C PATH=/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin

skip() { echo "SKIPPED: $*" && exit 77; }

# ---- Inside: what is to be seen after every step -------------------------------------------------------------------

scripts=/etc/sysconfig/network-scripts
lan=192.168.7.0/24
failures=0
declare -A now=([eth0]=192.168.7.10/24 [eth1]=10.20.0.10/16 [host]=nas [hosts]=192.168.7.10 [dns]='' [gateway]='' [route]='')

expect() { # expect WHAT COMMAND...
    local what=$1
    shift
    if "$@" >/run/output 2>&1; then
        echo "ok: $what"
    else
        echo "FAILED: $what"
        sed 's/^/    /' /run/output
        grep -v dnsmasq /run/messages | tail -n 4 | sed 's/^/    syslog: /'
        failures=$((failures + 1))
    fi
}
refused() { ! "$@"; }
soon() { # soon COMMAND...: it is true within some seconds
    local i
    for ((i = 0; i < 200; i++)); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.05
    done
    echo "in vain: $*"
    return 1
}

answers() { # answers ADDRESS [INTERFACE]: whether packets come back
    busybox ping -c 1 -W 2 ${2+-I "$2"} "$1" >/dev/null || { echo "$1 does not answer" && return 1; }
}

# Whether everything is as `now` says, in the kernel's eyes, the files', the server's and the tool's.
stands() {
    local key wanted=()
    for key in "${!now[@]}"; do wanted+=("$key=${now[$key]}"); done
    python3 /run/network/view.py "${wanted[@]}" && answers 192.168.7.1 eth0 && answers 10.20.0.1 eth1 &&
        { [[ -z ${now[route]} ]] || answers 203.0.113.1; }
}
becomes() { # becomes "KEY=VALUE ..." COMMAND...
    local setting settings
    read -ra settings <<<"$1"
    for setting in "${settings[@]}"; do now[${setting%%=*}]=${setting#*=}; done
    shift
    "$@" && stands
}
files() { find /etc/sysconfig /etc/hosts /etc/resolv.conf /etc/morvinfo.conf -type f -printf '%p %u %m ' -exec sha256sum {} \;; }
stays() { # stays COMMAND...: it fails, and changes nothing
    local before
    before=$(files)
    "$@" && echo "it succeeded" && return 1
    diff <(echo "$before") <(files) && stands
}

net() { morvctl net "$@"; }
static() { net set-static eth0 "192.168.7.$1" "${2-255.255.255.0}"; }
clients() { pgrep -f "^/sbin/dhcpcd -n $1( |$)"; }
without_tools() { ! pgrep -x 'ifconfig|route|sh' && ! pgrep -f '^/bin/bash /sbin/dhcpcd'; }

dhcp_server() { # dhcp_server start|stop
    if [[ $1 == stop ]]; then
        kill "$server" && wait "$server"
        return 0
    fi 2>/dev/null
    ip netns exec lan dnsmasq -k -C /dev/null -u root -g root --pid-file= --no-resolv --no-hosts --no-ping --dhcp-authoritative \
        --bind-interfaces --interface=lan0,lan1 --address=/files.example/198.51.100.7 --dhcp-leasefile=/run/network/leases \
        --dhcp-range=192.168.7.100,192.168.7.149,1h --dhcp-range=10.20.0.100,10.20.0.149,1h >>/run/dnsmasq 2>&1 &
    server=$!
    soon ip netns exec lan grep -q ":0043 " /proc/net/udp || { cat /run/dnsmasq && return 1; }
}

set_up() {
    local n
    busybox syslogd -n -O /run/messages &
    hostname nas && ip link set lo up && ip netns add lan && ip -n lan link set lo up && ip -n lan addr add 203.0.113.1/32 dev lo || exit
    for n in 0 1 2; do
        ip link add eth$n address 02:00:00:00:00:0$n type veth peer name lan$n netns lan || skip "no virtual Ethernet here"
        ip -n lan link set lan$n up
    done
    ip link set eth0 up && ip link set eth1 up || exit
    ip -n lan addr add 192.168.7.1/24 dev lan0
    ip -n lan addr add 192.168.7.2/24 dev lan0
    ip -n lan addr add 10.20.0.1/16 dev lan1
    ip addr add "${now[eth0]}" brd + dev eth0
    ip addr add "${now[eth1]}" brd + dev eth1
    # Neither one that is down nor one that is point-to-point is to be listed.
    [[ ! -e /dev/net/tun ]] || { ip tuntap add mode tun tun0 && ip addr add 10.99.0.1/32 dev tun0 && ip link set tun0 up; } || exit
    mkdir -p $scripts /etc/ppp
    printf '# by hand\nDEVICE=eth0\nONBOOT=yes\nUSERCTL=no\nBOOTPROTO=static\nIPADDR=192.168.7.10\nNETMASK=255.255.255.0\n' >$scripts/ifcfg-eth0
    printf '# by hand\nDEVICE=eth1\nONBOOT=yes\nUSERCTL=no\nBOOTPROTO=static\nIPADDR=10.20.0.10\nNETMASK=255.255.0.0\n' >$scripts/ifcfg-eth1
    chmod 640 $scripts/ifcfg-eth?
    printf 'NETWORKING=yes\nHOSTNAME=nas\n' >/etc/sysconfig/network
    printf '127.0.0.1\tlocalhost\n192.0.2.99\tprinter # kept\n192.168.7.10\tnas\n' >/etc/hosts
    printf 'secure_key="yes"\n' >/etc/morvinfo.conf
    : >/etc/resolv.conf
    printf 'hosts: files dns\n' >/etc/nsswitch.conf
    dhcp_server start || exit
}

# ---- Inside: the steps ---------------------------------------------------------------------------------------------

# In the place of a tool; says what it does instead. Without a program: the tool itself again.
replace() { # replace TOOL [PROGRAM]
    [[ -e /run/tools/$1 ]] || { mkdir -p /run/tools && cp "/sbin/$1" /run/tools; }
    rm -f "/sbin/$1"
    if (($# == 1)); then cp "/run/tools/$1" "/sbin/$1"; elif [[ -n $2 ]]; then printf '#!/bin/sh\n%s\n' "$2" >"/sbin/$1" && chmod 755 "/sbin/$1"; fi
}

static_addresses() {
    expect "a static address" becomes "eth0=192.168.7.20/24 hosts=192.168.7.20" static 20
    touch /etc/ppp/old_gateway.bak /etc/resolv.conf.bak
    # The dynamic-DNS daemon reads its settings again when it is told to.
    cp /bin/bash /run/ddnsd
    /run/ddnsd -c 'trap "echo told >>/run/told" HUP; while :; do sleep 0.1; done' &
    echo $! >/run/ddnsd.pid
    soon grep -q ddnsd "/proc/$!/comm"
    expect "the same one again" becomes "" static 20
    sleep 0.5
    expect "is nothing to tell the dynamic-DNS daemon" test ! -e /run/told
    expect "another netmask" becomes "eth0=192.168.7.20/25" static 20 255.255.255.128
    expect "is, and it is told" soon test -e /run/told
    expect "what was saved of the former network is gone" test ! -e /etc/ppp/old_gateway.bak -a ! -e /etc/resolv.conf.bak
    expect "a netmask that begins with a part of a byte" becomes "eth0=192.168.7.20/23" static 20 255.255.254.0
    expect "an address of the other interface" becomes "eth1=10.20.0.20/16 hosts=*" net set-static eth1 10.20.0.20 255.255.0.0
    expect "back" becomes "eth0=192.168.7.21/24 hosts=192.168.7.21" static 21
    expect "an address that is none is refused" stays net set-static eth0 192.168.7.255 255.255.255.0
    expect "an interface that is not there is refused" stays net set-static eth9 192.168.7.9 255.255.255.0
    expect "a name that leads elsewhere is refused" stays net set-static ../network 192.168.7.9 255.255.255.0
    expect "a name that is a command is refused" stays net set-static 'eth0;id>hosts' 192.168.7.9 255.255.255.0
}

names_and_routes() {
    expect "a host name" becomes "host=box hosts=*" net hostname box
    expect "a host name that is none is refused" stays net hostname 'a b'
    expect "a host name that the kernel refuses" stays setpriv --bounding-set -sys_admin morvctl net hostname other
    expect "a name server" becomes "dns=192.168.7.1" net dns 192.168.7.1
    expect "names are found by it" grep -q '^198.51.100.7 ' <(getent hosts files.example)
    expect "an MTU" becomes "" net mtu eth0 1400
    expect "is stored for the next time" grep -qx 'eth0_mtu="1400"' /etc/morvinfo.conf
    expect "no name server" becomes "dns=" net dns --clear
    expect "names are not found then" refused getent hosts files.example
    expect "a gateway" becomes "gateway=192.168.7.2 route=192.168.7.2" net gateway 192.168.7.2
    expect "the default route outlives a change of the address" becomes "eth0=192.168.7.22/24 hosts=192.168.7.22" static 22
    expect "and one of the other interface" becomes "eth1=10.20.0.10/16 hosts=*" net set-static eth1 10.20.0.10 255.255.0.0
    expect "another gateway" becomes "gateway=10.20.0.1 route=10.20.0.1" net gateway 10.20.0.1
    expect "one that is in no network here is refused" stays net gateway 172.16.0.1
    expect "and fails where it is not" refused net gateway --force 172.16.0.1
    now[gateway]=172.16.0.1
    expect "it is stored, and the former default route is back" stands
    expect "no gateway" becomes "gateway= route=" net gateway --clear
    expect "one again" becomes "gateway=192.168.7.2 route=192.168.7.2" net gateway 192.168.7.2
    expect "somebody who is nobody changes nothing" stays setpriv --reuid 65534 --regid 65534 --clear-groups morvctl net set-static eth0 192.168.7.9 255.255.255.0
}

dhcp() {
    local former
    expect "an address by DHCP, with the stored gateway" becomes "eth0=dhcp:$lan hosts=*" net set-dhcp eth0
    former=$(clients eth0)
    expect "again" becomes "" net set-dhcp eth0
    expect "by another client" test "$former" != "$(clients eth0)"
    expect "the other interface, too" becomes "eth1=dhcp:10.20.0.0/16" net set-dhcp eth1
    expect "a host name" becomes "host=nas" net hostname nas
    former=$(clients eth0)
    expect "one static: only its client ends" becomes "eth1=10.20.0.10/16" net set-static eth1 10.20.0.10 255.255.0.0
    expect "the other's goes on" test "$former" = "$(clients eth0)"
    expect "both static" becomes "eth0=192.168.7.22/24 hosts=192.168.7.22" static 22
}

faults() {
    local innocent fault
    dhcp_server stop
    echo 2 >/run/network/seconds
    expect "without a DHCP server the old address stays" stays net set-dhcp eth0
    expect "and can be changed" becomes "eth0=192.168.7.23/24 hosts=192.168.7.23" static 23
    dhcp_server start
    expect "with one it is an address by DHCP" becomes "eth0=dhcp:$lan hosts=*" net set-dhcp eth0
    for fault in 'exit 1' 'kill -KILL $$' ''; do
        replace ifconfig "$fault"
        now[eth0]=idle:$lan
        expect "while ifconfig is \"$fault\", it stays so, but for the client" stays static 24
        replace ifconfig
        expect "and can be changed" becomes "eth0=192.168.7.24/24 hosts=192.168.7.24" static 24
        replace ifconfig "$fault"
        expect "while ifconfig is \"$fault\", a static address stays" stays static 25
        replace ifconfig
        expect "and can be changed" becomes "eth0=dhcp:$lan hosts=*" net set-dhcp eth0
    done

    expect "the client's end is survived" kill -KILL "$(clients eth0)"
    soon refused clients eth0
    expect "by a next one" becomes "" net set-dhcp eth0
    kill -TERM "$(clients eth0)"
    soon refused clients eth0
    expect "by a static address" becomes "eth0=192.168.7.23/24 hosts=192.168.7.23" static 23
    # Numbers of processes come again.
    sleep 1000 &
    innocent=$!
    echo $innocent >/etc/dhcpc/dhcpcd-eth0.pid
    expect "a pid file of yesterday" becomes "eth0=dhcp:$lan hosts=*" net set-dhcp eth0
    expect "ends nobody else" kill -0 $innocent
    expect "static" becomes "eth0=192.168.7.23/24 hosts=192.168.7.23" static 23
    echo 0 >/etc/dhcpc/dhcpcd-eth0.pid
    expect "one of no process" becomes "eth0=dhcp:$lan hosts=*" net set-dhcp eth0
    expect "static" becomes "eth0=192.168.7.23/24 hosts=192.168.7.23" static 23

    # The server hangs, so that the client can be ended while it waits.
    echo 20 >/run/network/seconds
    kill -STOP "$server"
    expect "a client that is killed while it waits" stays set_dhcp_and_kill
    kill -CONT "$server"
    rm /run/network/seconds
    expect "and can be changed" becomes "eth0=dhcp:$lan hosts=*" net set-dhcp eth0
    expect "to a static address, too" becomes "eth0=192.168.7.23/24 hosts=192.168.7.23" static 23
}
set_dhcp_and_kill() {
    net set-dhcp eth0 &
    soon clients eth0 && kill -KILL "$(clients eth0)"
    wait $!
}

# morvctl is ended at every system call that matters, one by one. What it has started goes on to its end. TERM comes before
# the change or waits until it is made; KILL leaves a file that is the old or the new one, and an address.
ended() { # ended SIGNAL LEAST SETTING COMMAND...: fails, too, when there are fewer such calls
    local signal=$1 least=$2 setting=$3 points=0 call n file=$scripts/ifcfg-eth0
    local calls='?rename,?renameat,?unlink,?unlinkat,?fsync,?fchmod,?fchown,?sethostname,?clone,?clone3,?vfork,?wait4,?pidfd_send_signal'
    shift 3
    # There and back first: a key that comes back is the last one of its file.
    "$@" && static 30 && cp "$file" /run/old && strace -o /run/trace -e trace="$calls" "$@" && cp "$file" /run/new || return 1
    while read -r call n; do
        ((++points))
        static 30 && cmp "$file" /run/old || return 1
        strace -o /dev/null -e trace="$call" -e inject="$call:signal=$signal:when=$n" "$@" </dev/null 2>/dev/null
        echo "$call $n of $*: $?, $(ip -4 -br addr show eth0)"
        soon without_tools && answers 192.168.7.1 eth0 && [[ $(ip -4 -o addr show eth0 | wc -l) == 1 ]] || return 1
        if [[ $signal == TERM ]]; then
            becomes "eth0=192.168.7.30/24 hosts=192.168.7.30" true >/dev/null || becomes "$setting" true || return 1
        else
            { cmp "$file" /run/old || cmp "$file" /run/new; } && rm -f "$file"?* || return 1
        fi
        "$@" </dev/null && cmp "$file" /run/new || return 1
    done < <(awk '/^[a-z]/ {sub(/\(.*/, ""); print $1, ++n[$1]}' /run/trace | if [[ $signal == KILL ]]; then cat; else awk 'NR % 4 == 1'; fi)
    becomes "$setting" true && ((points >= least))
}
ends() {
    local signal least
    for signal in KILL TERM; do
        [[ $signal == KILL ]] && least=15 || least=4
        expect "ended by SIG$signal on the way to a static address" ended $signal $least \
            "eth0=192.168.7.31/24 hosts=192.168.7.31" morvctl net set-static eth0 192.168.7.31 255.255.255.0
        expect "ended by SIG$signal on the way to DHCP" ended $signal $((least / 2)) "eth0=dhcp:$lan hosts=*" morvctl net set-dhcp eth0
        expect "static" becomes "eth0=192.168.7.23/24 hosts=192.168.7.23" static 23
    done
}

# One wins whole. A reader beside them sees the one or the other, never the address of the one with the netmask of the other.
# On a busy machine somebody may have waited in vain for the lock, which is exit code 4.
locked_or() { "$@" || (($? == 4)); }
two_at_once() {
    local i first second reader outcome
    while locked_or net show eth0 >/run/shown; do
        awk '$1 == "address" || $1 == "netmask" {printf "%s ", $2} END {print ""}' /run/shown >>/run/seen
        sleep 0.02
    done 2>/run/reader &
    reader=$!
    for i in {1..14}; do
        first=static\ 30 outcome="eth0=192.168.7.30/24 hosts=192.168.7.30"
        ((i <= 10)) || first="net set-dhcp eth0" outcome="eth0=dhcp:$lan hosts=*"
        $first &
        first=$!
        static 40 255.255.255.128 &
        second=$!
        locked_or wait $first && locked_or wait $second || return 1
        becomes "eth0=192.168.7.40/25 hosts=192.168.7.40" true >/dev/null || becomes "$outcome" true || return 1
    done
    kill $reader || return 1  # else it has failed
    sort /run/seen | uniq -c
    cat /run/reader
    ! grep -vE '^(192\.168\.7\.((23|30|1[0-4][0-9]) 255\.255\.255\.0|40 255\.255\.255\.128) )?$' /run/seen
}

# An image that is worked on here: its files change, and its tools are called, but nothing of this appliance changes.
on_image() { # on_image COMMAND...: and then all is here as it was
    local before
    before=$(files)
    MORV_ROOT=/srv/image net "$@" && diff <(echo "$before") <(files) && stands
}
says() { grep -qx "$1" "$2" || { cat "$2" && return 1; }; }
image() {
    local root=/srv/image
    mkdir -p $root/{bin,sbin,tmp,proc/net} && cp /bin/cp $root/bin && cp -a --parents /etc/sysconfig /etc/hosts /etc/resolv.conf /etc/dhcpc $root || return 1
    cp /proc/net/dev /proc/net/route $root/proc/net
    # shellcheck disable=SC2016  # for the scripts
    printf '#!/bin/sh\necho "${0##*/} $*" >>/run/calls\n' | tee $root/sbin/ifconfig $root/sbin/route >$root/sbin/dhcpcd
    chmod 755 $root/sbin/*
    expect "an image's address" on_image set-static --force eth0 192.0.2.5 255.255.255.0
    expect "is in its file" says IPADDR=192.0.2.5 $root$scripts/ifcfg-eth0
    expect "and its ifconfig was called" says 'ifconfig eth0 192.0.2.5 netmask 255.255.255.0 broadcast 192.0.2.255' /run/calls
    printf '#!/bin/sh\nexit 1\n' >$root/sbin/ifconfig
    expect "while it fails" refused on_image set-static --force eth0 192.0.2.6 255.255.255.0
    expect "the file is what it was" says IPADDR=192.0.2.5 $root$scripts/ifcfg-eth0
    expect "an image's host name" on_image hostname other
    expect "is in its file" says HOSTNAME=other $root/etc/sysconfig/network
    expect "an image's name server" on_image dns 192.0.2.1
    expect "is in its file" says $'nameserver\t192.0.2.1' $root/etc/resolv.conf
    expect "an image's gateway" on_image gateway --force 192.0.2.1
    expect "is in its file" says GATEWAY=192.0.2.1 $root/etc/sysconfig/network
    expect "and its route was called" says 'route add default gw 192.0.2.1' /run/calls
    expect "an image's DHCP" on_image set-dhcp eth0
    expect "is in its file" says BOOTPROTO=dhcp $root$scripts/ifcfg-eth0
    expect "and its client was called" says 'dhcpcd -n eth0 -t 30' /run/calls
}

inside() {
    set_up
    expect "the start is as it is meant" stands
    ((failures == 0)) || exit 1
    static_addresses
    names_and_routes
    dhcp
    faults
    ends
    expect "two at once" two_at_once
    expect "an address by DHCP" becomes "eth0=dhcp:$lan hosts=*" net set-dhcp eth0
    image
    echo "$failures failures"
    exit $((failures > 0))
}

# ---- Between: the copy of this system ------------------------------------------------------------------------------

between() {
    local work=$1 prefix=$2 source=$3 root=$1/root device
    mount -t tmpfs -o mode=755 tmpfs "$work" && mkdir -p "$root" "$work/upper" "$work/overlay" || exit 77
    mount -t overlay overlay -o "lowerdir=/,upperdir=$work/upper,workdir=$work/overlay" "$root" || skip "no overlay file system"
    mount -t proc proc "$root/proc" || skip "cannot mount /proc"
    mount -t sysfs sys "$root/sys" || skip "cannot mount /sys"
    mount -t tmpfs -o mode=755 tmpfs "$root/dev"  # without the machine's /dev/log
    mkdir "$root/dev/net" && ln -s /proc/self/fd "$root/dev/fd" || exit
    for device in null zero full random urandom net/tun; do
        [[ -e /dev/$device ]] || continue
        touch "$root/dev/$device" && mount --bind "/dev/$device" "$root/dev/$device" || exit
    done
    mount -t tmpfs tmpfs "$root/run" && mount -t tmpfs -o mode=1777 tmpfs "$root/tmp" || exit
    rm -rf "$root"/etc/{sysconfig,dhcpc,ppp,netns,hosts,resolv.conf,nsswitch.conf,morvinfo.conf} "$root/usr/morv" "$root/var/run"
    ln -s ../run "$root/var/run"
    cp -a "$prefix/." "$root/usr/local" && cp -r "$source"/tests/system/network{,_test.sh} "$root/run" || exit
    rm -f "$root/sbin/dhcpcd"
    cp "$source/tests/system/network/dhcpcd" "$root/sbin/dhcpcd"
    exec chroot "$root" /usr/bin/env LD_LIBRARY_PATH=/usr/local/lib /bin/bash /run/network_test.sh --inside
}

# ---- Outside -------------------------------------------------------------------------------------------------------

# What of this machine would be another if one of the walls had a hole.
outside() {
    hostname
    ip -br link
    ip -br -4 addr
    ip -4 route
    ls -lid --time-style=full-iso /etc/{hosts,hostname,resolv.conf,sysconfig,dhcpc,morvinfo.conf} /tmp/lock /usr/local/lib/libmorvsdk* \
        /sbin/{dhcpcd,ifconfig,route} /run/netns/* 2>&1
}

case ${1-} in
    --inside) inside ;;
    --between) shift && between "$@" ;;
esac

source_dir=$(readlink -f "$1")
build=$(realpath -m "$2")
((EUID == 0)) || skip "only root can put a copy of the system together"
unshare --mount --pid --net --uts --ipc --fork true 2>/dev/null || skip "no namespaces here"
for tool in ip ifconfig route dnsmasq busybox python3 setpriv strace; do
    command -v $tool >/dev/null || skip "$tool is not installed"
done
scratch=$(mktemp -d /tmp/morv-network.XXXXXX)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/system"
# shellcheck source=tests/system/ship.sh
. "$source_dir/tests/system/ship.sh"
if ! ship "$source_dir" "$build" "$scratch/prefix" >"$scratch/log" 2>&1; then
    tail -40 "$scratch/log"
    exit 1
fi
before=$(outside)
unshare --mount --propagation private --pid --net --uts --ipc --fork --kill-child "$source_dir/tests/system/network_test.sh" \
    --between "$scratch/system" "$scratch/prefix" "$source_dir"
code=$?
diff <(echo "$before") <(outside) || { echo "FAILED: this machine is not as it was" && code=1; }
(exit $code)
