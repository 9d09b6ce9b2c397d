#!/bin/bash
# pam_morv_autoblock.so in the stack that its manual shows, with PAM itself and pamtester.
#
#   pam_test.sh SOURCE_DIR BUILD_DIR
#
# The services lie in a private mount namespace: nothing on this machine changes. BUILD_DIR is kept for the next run.
set -uo pipefail
export LC_ALL=C

skip() { echo "SKIPPED: $*" && exit 77; }

if [[ ${1-} != --inside ]]; then
    source_dir=$(readlink -f "$1")
    build=$(realpath -m "$2")
    ((EUID == 0)) || skip "only root can put another folder in the place of /etc/pam.d"
    unshare --mount true 2>/dev/null || skip "no mount namespaces here"
    command -v pamtester >/dev/null || skip "pamtester is not installed"
    scratch=$(mktemp -d /tmp/morv-pam.XXXXXX)
    trap 'rm -rf "$scratch"' EXIT
    # shellcheck source=tests/system/ship.sh
    . "$source_dir/tests/system/ship.sh"
    if ! ship "$source_dir" "$build" "$scratch/prefix" >"$scratch/log" 2>&1; then
        tail -40 "$scratch/log"
        exit 1
    fi
    [[ -e $scratch/prefix/lib/security/pam_morv_autoblock.so ]] || skip "no PAM to build the module with"
    unshare --mount --propagation private "$source_dir/tests/system/pam_test.sh" --inside "$source_dir" "$scratch"
    exit
fi

source_dir=$2
scratch=$3
root=$scratch/root
module=$scratch/prefix/lib/security/pam_morv_autoblock.so
# The module goes by its option, not by the environment of whatever it is in.
export LD_LIBRARY_PATH=$scratch/prefix/lib MORV_ROOT=$scratch/elsewhere
failures=0

expect() { # expect WHAT COMMAND...
    local what=$1
    shift
    if ! "$@" >"$scratch/output" 2>&1; then
        echo "FAILED: $what"
        sed 's/^/    /' "$scratch/output"
        failures=$((failures + 1))
    fi
}

refused() { ! "$@"; }
block() { MORV_ROOT=$root "$scratch/prefix/bin/morvctl" block "$@"; }
says() { grep -q -e "$1" <<<"$said"; }

# Logs in as a service would; PAM's answer is in $said.
login() { # login CLIENT PASSWORD [SERVICE]
    local from=()
    [[ -z $1 ]] || from=(-I "rhost=$1")
    said=$(pamtester "${from[@]}" "${3-login}" nobody authenticate setcred acct_mgmt <<<"$2" 2>&1)
    local code=$?
    echo "$said"
    return $code
}

begin() { # begin [SETTING=VALUE ...]
    rm -rf "$root"
    mkdir -p "$scratch/elsewhere" "$root/etc" "$root/tmp" "$root/var/log"
    block config attempts=3 minutes=5 days=1
    (($# == 0)) || block config "$@" 2>/dev/null
}

fail_from() { # fail_from CLIENT TIMES
    local i
    for ((i = 0; i < $2; i++)); do
        login "$1" wrong && return 1
        says 'Authentication failure' || return 1
    done
    return 0
}

# The record of a block: 32-bit integers of this machine, the address as on the network.
write_block() { # write_block SECONDS_AGO ADDRESS
    python3 -c 'import socket, struct, sys, time
sys.stdout.buffer.write(struct.pack("=i", int(time.time()) - int(sys.argv[1])) + socket.inet_aton(sys.argv[2]))' \
        "$1" "$2" >"$root/etc/morvIPs.deny"
}

# ---- The services: the manual's own stack, with a password that needs no account ------------------------------------

mkdir "$scratch/pam.d"
# shellcheck disable=SC2016  # for the script
printf '#!/bin/sh\nexec grep -qx right\n' >"$scratch/check"
chmod 755 "$scratch" "$scratch/check"
# The password is checked by a script. What pam_unix would answer to a wrong one, pam_debug does, under its control.
sed -n '/^\.Bd/,/^\.Ed/p' "$source_dir/docs/man/pam_morv_autoblock.8" | sed '/^\.Ed/q' |
    sed -e ':a' -e '/\\e$/{N;s/\\e\n *//;ba' -e '}' | grep -E '^(auth|account) ' |
    sed -E "s#pam_morv_autoblock.so#$module root=$root#
        s#^auth +(\[.*\]) +pam_unix.so#auth [success=2 default=ignore] pam_exec.so quiet expose_authtok $scratch/check\n&#
        s#^(account.*) pam_(unix|nologin).so#\1 pam_permit.so#" |
    sed 's#pam_unix.so#pam_debug.so auth=auth_err#' >"$scratch/pam.d/login"
expect "the manual has a stack" grep -q authfail "$scratch/pam.d/login"
expect "and one where pam_unix stood" grep -q 'default=die.*pam_debug' "$scratch/pam.d/login"
# One that shows that the module alone lets nobody in.
printf 'auth required %s\naccount required %s\n' "$module root=$root" "$module root=$root" >"$scratch/pam.d/alone"
sed 's/ preauth/& silent/' "$scratch/pam.d/login" >"$scratch/pam.d/silent"
refusals='auth_err user_unknown perm_denied maxtries acct_expired'
troubles='conv_err authtok_err authinfo_unavail cred_insufficient system_err service_err abort'
for result in $refusals $troubles; do
    sed "s/auth=auth_err/auth=$result/" "$scratch/pam.d/login" >"$scratch/pam.d/$result"
done
sed '/^account/{s/pam_permit.so/pam_debug.so acct=acct_expired/;:a;n;ba}' "$scratch/pam.d/login" >"$scratch/pam.d/closed"
sed 's/auth=auth_err/& cred=user_unknown/' "$scratch/pam.d/login" >"$scratch/pam.d/key"
printf 'auth required pam_deny.so\naccount required pam_deny.so\n' >"$scratch/pam.d/other"
mount --bind "$scratch/pam.d" /etc/pam.d || skip "cannot put another folder in the place of /etc/pam.d"

# ---- The cases -----------------------------------------------------------------------------------------------------

begin
expect "the right password is taken" login 192.0.2.1 right
expect "three wrong ones are three failures" fail_from 192.0.2.1 3
expect "they block the address" refused block check 192.0.2.1
expect "the right password does not help then" refused login 192.0.2.1 right
expect "the client is told" says 'Too many failed logins from your address'
expect "and not asked for a password" refused says 'Password'
expect "another address goes on" login 192.0.2.2 right
expect "a silent service says no more than no" refused login 192.0.2.1 right silent
expect "the message is left out" refused says 'Too many'
expect "who logs in without a password is refused, too" refused \
    pamtester -I rhost=192.0.2.1 login nobody acct_mgmt
expect "the machine itself goes on" login 127.0.0.1 right
expect "a login without a client goes on" login '' right
expect "the module alone lets nobody in" refused login 192.0.2.2 right alone

begin
for _ in 1 2; do
    expect "two failures are not enough" fail_from 192.0.2.1 2
    expect "a login forgets them" login 192.0.2.1 right
done

begin
expect "two failures are not enough" fail_from 192.0.2.1 2
expect "an account that is refused" refused login 192.0.2.1 right closed
expect "does not forget them" fail_from ::ffff:192.0.2.1 1
expect "so that the next blocks" refused block check 192.0.2.1

begin attempts=1
for result in $troubles; do
    expect "a login that ends with $result fails" refused login 192.0.2.1 wrong "$result"
    expect "and is none that was refused" block check 192.0.2.1
done
for result in $refusals; do
    begin attempts=1
    expect "a login that ends with $result fails" refused login 192.0.2.1 wrong "$result"
    expect "and is counted" refused block check 192.0.2.1
done
expect "credentials are given without a password, too" pamtester -I rhost=192.0.2.2 key nobody setcred

begin attempts=0 minutes=0
expect "while blocking is off, a wrong password is wrong" fail_from 192.0.2.1 1
expect "and nothing is counted" test ! -e "$root/tmp/login_fail.list"

begin
expect "three failures block" fail_from 192.0.2.1 3
before=$(cksum <"$root/etc/morvIPs.deny")
login 192.0.2.1 wrong >/dev/null
login 192.0.2.1 wrong >/dev/null
login 192.0.2.1 wrong >/dev/null
expect "trying on does not make the block longer" test "$before" = "$(cksum <"$root/etc/morvIPs.deny")"

begin
write_block 86300 192.0.2.1
expect "a block of a day lasts for a day" refused login 192.0.2.1 right
write_block 86401 192.0.2.1
expect "and no longer" login 192.0.2.1 right

begin allow=192.0.2.0/30
expect "failures of an allowed address are failures" fail_from 192.0.2.1 4
expect "that never block" login 192.0.2.1 right
expect "nor is a client without an IPv4 address blocked" fail_from 2001:db8::1 4
expect "which can log in" login 2001:db8::1 right
for local in 127.0.0.1 127.1 ::ffff:127.0.0.2 ::1 localhost; do
    expect "local failures do not block" fail_from "$local" 4
    expect "local logins" login "$local" right
done
expect "and none is counted" test ! -s "$root/tmp/login_fail.list"

begin
write_block 60 192.0.2.1
rm "$root/etc/morvinfo.conf"
mkdir "$root/etc/morvinfo.conf"
expect "settings that cannot be read lock nobody out" login 192.0.2.1 right
expect "but a wrong password stays wrong" refused login 192.0.2.1 wrong

# What a daemon would find in its process.
expect "the module exports what PAM calls and nothing else" test \
    "$(nm -D --defined-only "$module" | sed 's/.* //' | sort | paste -sd,)" = \
    pam_sm_acct_mgmt,pam_sm_authenticate,pam_sm_setcred

((failures == 0)) || { echo "$failures failed" && exit 1; }
echo "logins refused, counted and forgotten"
