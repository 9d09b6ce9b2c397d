#!/bin/bash
# The account files against software that nobody here wrote: shadow-utils, PAM, su and Samba.
#
#   accounts_test.sh SOURCE_DIR TOOLS_DIR
#
# morvctl makes users, groups and shares below a scratch root. Then a copy of this system is put together in memory: an
# overlay in a private mount namespace, with the scratch root's files in place of its own, and the programs that
# are missing. There, with private processes and a private network, they are asked what they make of our files. Nothing
# on this machine changes. The installed programs are kept for the next run.
set -uo pipefail
umask 022
export LC_ALL=C.UTF-8 PATH=/usr/sbin:/usr/bin:/sbin:/bin

conf=/usr/morv/etc/smb.conf
smbpasswd=/usr/morv/etc/private/smbpasswd
port=4455
packages=(samba samba-common-bin smbclient pamtester iproute2 passwd util-linux)

# Passwords: with a blank, beyond ASCII, of one character, with what shells and formats take as theirs.
declare -A password=([alicia]='tea & scones' [bob]='Grüße-€9' [carol]=x [dora]="%s'\$(:)\\" [erik]='short lived')

skip() { echo "SKIPPED: $*" && exit 77; }

# ---- Inside: the checks --------------------------------------------------------------------------------------------

failures=0

expect() { # expect WHAT COMMAND...
    local what=$1
    shift
    if "$@" >/run/output 2>&1; then
        echo "ok: $what"
    else
        echo "FAILED: $what"
        sed 's/^/    /' /run/output
        failures=$((failures + 1))
    fi
}
refused() { ! "$@"; }

# pwck speaks of folders and shells that this system need not have; all else is a fault of ours.
sound_passwd() { ! pwck -r </dev/null 2>&1 | grep -vE "(directory|program) '.*' does not exist$|^pwck: no changes$"; }
# The line that holds the last id is a comment to everybody else but grpck.
sound_group() {
    # shellcheck disable=SC2016  # the line as it stands
    ! grpck -r </dev/null 2>&1 | grep -vE '^(invalid group file entry|delete line .#\$_@GID__INDEX@_\$[0-9]+\$.\? No|grpck: no changes)$'
}
ids_once() { ! { cut -d: -f3 /etc/passwd && echo && cut -d: -f3 /etc/group; } | awk 'NF && seen[part, $0]++ {print} !NF {part++}' | grep .; }
no_secret_for_others() { ! stat -c '%a %n' /etc/shadow $smbpasswd | grep -v '0 '; }

account() { # account NAME PASSWORD: whether PAM takes it
    pamtester morv "$1" authenticate acct_mgmt <<<"$2"
}
switches() { # switches NAME PASSWORD: whether su does, asked by nobody
    setpriv --reuid 65534 --regid 65534 --clear-groups su -s /bin/sh "$1" -c true <<<"$2"
}

# smbd reads the file and does not agree with what it holds without saying so: compare what it prints.
without_lm() { awk -F: -v OFS=: '{$3 = ""; print}' "$1" | sort; }
samba_reads_passwords() {
    pdbedit -L -w -s $conf >/run/pdbedit 2>/run/complaints && ! grep . /run/complaints &&
        diff <(without_lm $smbpasswd) <(without_lm /run/pdbedit)
}
samba_complains_of_nothing() {
    testparm -s $conf 2>/run/complaints >/run/testparm || return 1
    # The keys of FTP are the appliance's own.
    ! grep -vE '^((Unknown|Ignoring unknown) parameter .*"ftp disable [a-z]+"|Load smb config|Loaded services file OK|Weak crypto is allowed|Server role: ROLE_STANDALONE|$)' /run/complaints
}

client() { # client NAME PASSWORD SHARE COMMAND; "-" is nobody in particular
    local who=(-U "$1%$2")
    [[ $1 == - ]] && who=(-N)
    timeout 30 smbclient -p $port "//127.0.0.1/$3" "${who[@]}" -c "$4" </dev/null
}
turned_away() { # turned_away REASON NAME PASSWORD SHARE COMMAND
    local reason=$1 said
    shift
    said=$(client "$@" 2>&1) && return 1
    grep -q "$reason" <<<"$said" || { echo "$said" && return 1; }
}
writes() { # writes NAME SHARE
    client "$1" "${password[$1]}" "$2" 'put /run/letter letter' && client "$1" "${password[$1]}" "$2" 'get letter /run/back' &&
        cmp /run/letter /run/back && client "$1" "${password[$1]}" "$2" 'del letter'
}
reads() { client "$1" "${password[$1]-}" "$2" ls; }
only_reads() { reads "$1" "$2" && turned_away NT_STATUS_ACCESS_DENIED "$1" "${password[$1]-}" "$2" 'put /run/letter no'; }
is_shut_out() { turned_away 'tree connect failed: NT_STATUS_ACCESS_DENIED' "$1" "${password[$1]-}" "$2" ls; }

inside() {
    local name path
    ip link set lo up
    printf 'auth required pam_unix.so nodelay\naccount required pam_unix.so\n' >/etc/pam.d/morv
    expect "pwck finds the accounts sound" sound_passwd
    expect "grpck finds the groups sound" sound_group
    expect "no id is given twice" ids_once
    expect "nobody else may read the hashes" no_secret_for_others

    for name in alicia bob carol dora; do
        expect "PAM takes $name's password" account "$name" "${password[$name]}"
        expect "PAM refuses another one" refused account "$name" "${password[$name]}."
    done
    expect "su takes bob's password" switches bob "${password[bob]}"
    expect "su refuses another one" refused switches bob wrong
    expect "PAM refuses an account that has expired" refused account erik "${password[erik]}"
    expect "PAM does not know the name that alicia had" refused account alice "${password[alicia]}"

    expect "testparm has nothing to complain of" samba_complains_of_nothing
    expect "pdbedit reads what we wrote" samba_reads_passwords

    sed -n 's/^\tpath = //p' /run/testparm | while read -r path; do
        mkdir -p "$path" && chmod 777 "$path"
    done
    echo 'Dear all' >/run/letter
    # A session of its own: smbd ends its whole process group. No pipe as standard input: its end is smbd's.
    setsid smbd -F --no-process-group -p $port -s $conf --option='interfaces=lo' --debug-stdout </dev/null >/run/smbd.log 2>&1 &
    for _ in {1..100}; do
        (exec 3<>/dev/tcp/127.0.0.1/$port) 2>/dev/null && break
        sleep 0.1
    done
    for name in alicia bob carol dora; do
        expect "$name logs in" client "$name" "${password[$name]}" 'IPC$' exit
    done
    expect "a wrong password is refused" turned_away NT_STATUS_LOGON_FAILURE bob wrong 'IPC$' exit
    expect "alicia, who was alice, writes as one of the writers" writes alicia music
    expect "bob reads as one of the users" only_reads bob music
    expect "carol is refused" is_shut_out carol music
    expect "dora writes by her own name" writes dora 'two words'
    expect "bob only reads there" only_reads bob 'two words'
    expect "a guest reads what is for everybody" only_reads - public
    expect "a guest is refused elsewhere" is_shut_out - music
    [[ $failures == 0 ]] || tail -n 20 /run/smbd.log
    echo "$failures failures"
    exit $((failures > 0))
}

# ---- Between: the copy of this system ------------------------------------------------------------------------------

install_programs() {
    local root=$1 try
    cp -L /etc/resolv.conf /etc/hosts "$root/etc/" 2>/dev/null
    printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"  # nothing is started
    chmod 755 "$root/usr/sbin/policy-rc.d"
    for try in 1 2 3; do
        chroot "$root" apt-get -q update
        DEBIAN_FRONTEND=noninteractive chroot "$root" apt-get -q -y --no-install-recommends install "${packages[@]}" </dev/null &&
            return 0
        sleep $((try * 2))
    done
    return 1
}

between() {
    local work=$1 accounts=$2 source=$3 root=$1/root file kept key
    mount -t tmpfs -o mode=755 tmpfs "$work" && mkdir -p "$root" "$work/upper" "$work/overlay" || exit 77
    # What was installed above another state of the package database does not fit this one.
    key=$(printf '%s ' "${packages[@]}" | cat - /var/lib/dpkg/status | sha256sum | cut -c1-16)
    kept=/var/tmp/morv-system-tests/accounts-$key.tar
    [[ -f $kept ]] && ! tar -C "$work/upper" --xattrs --xattrs-include='*' --numeric-owner -xpf "$kept" && rm -f "$kept" && exit 1
    mount -t overlay overlay -o "lowerdir=/,upperdir=$work/upper,workdir=$work/overlay" "$root" || skip "no overlay file system"
    mount --rbind /dev "$root/dev" || skip "cannot mount /dev"
    mount -t proc proc "$root/proc" || skip "cannot mount /proc"
    if [[ ! -f $kept ]]; then
        install_programs "$root" >"$work/install.log" 2>&1 || { tail -5 "$work/install.log" && skip "the programs cannot be installed"; }
        mkdir -p "${kept%/*}" && rm -f "${kept%/*}"/accounts-*.tar
        tar -C "$work/upper" --xattrs --xattrs-include='*' --numeric-owner --exclude=./var/cache/apt --exclude=./var/lib/apt/lists \
            -cf "$kept.$$" . && mv "$kept.$$" "$kept"
    fi
    rm -f "$root"/etc/gshadow* "$root/run/nscd"  # else grpck compares our groups with those of this machine
    mkdir -p "$root${conf%/*}" "$root${smbpasswd%/*}" "$root/run/samba" "$root/var/log/samba"
    for file in /etc/passwd /etc/shadow /etc/group $conf $smbpasswd; do
        rm -f "$root$file"
        cp --preserve=mode "$accounts$file" "$root$file"
    done
    printf '%s: files\n' passwd group shadow gshadow hosts >"$root/etc/nsswitch.conf"
    mount -t tmpfs tmpfs "$root/run" && mkdir -p "$root/run/samba"
    cp "$source/tests/system/accounts_test.sh" "$root/run/accounts_test.sh"
    exec unshare --net chroot "$root" /bin/bash /run/accounts_test.sh --inside
}

# ---- Outside: the accounts -----------------------------------------------------------------------------------------

make_accounts() {
    local root=$1 source=$2 name
    cp -r "$source/examples/appliance/." "$root" && chmod 600 "$root/etc/shadow" "$root$smbpasswd" &&
        mkdir -p "$root/tmp" "$root/volume1" "$root/var/services/homes" || return 1
    for name in alice bob; do
        morvctl user delete "$name" || return 1
    done
    morvctl user add alice --description 'Alice: of Wonderland' <<<"${password[alicia]}" || return 1
    for name in bob carol dora; do
        morvctl user add "$name" --shell /bin/sh <<<"first password of $name" && morvctl user passwd "$name" <<<"${password[$name]}" || return 1
    done
    morvctl user add erik --expire 2001/02/03 <<<"${password[erik]}" && morvctl user add gone <<<gone &&
        morvctl group add band --member alice --member gone &&
        morvctl share add music --path /volume1/music --read @users --write @band --deny carol,gone &&
        morvctl share add 'two words' --path '/volume1/two words' --access none --write dora --read bob &&
        morvctl user rename alice alicia && morvctl user delete gone && morvctl group rename band players
}

case ${1-} in
    --inside) inside ;;
    --between) shift && between "$@" ;;
esac

source_dir=$(readlink -f "$1")
tools=$(readlink -f "$2")
((EUID == 0)) || skip "only root can put a copy of the system together"
unshare --mount --pid --net --fork true 2>/dev/null || skip "no namespaces here"
work=$(mktemp -d /tmp/morv-accounts.XXXXXX)
trap 'rm -rf "$work"' EXIT
mkdir "$work/root" "$work/system"
morvctl() { MORV_ROOT=$work/root "$tools/morvctl" "$@"; }
make_accounts "$work/root" "$source_dir" >"$work/log" 2>&1 || { cat "$work/log" && echo "FAILED: the accounts could not be made" && exit 1; }
unshare --mount --propagation private --pid --fork --kill-child "$source_dir/tests/system/accounts_test.sh" --between \
    "$work/system" "$work/root" "$source_dir"
