#!/bin/bash
# What morvctl block does to the list and the settings, refuses, and answers to scripts; and what morvctl records.
# shellcheck source=tests/tools/harness.sh
. "$(dirname "$0")/harness.sh"

unset SSH_CLIENT SSH_CONNECTION

start() { # start [SETTING=VALUE ...]
    mkdir -p "$root/var/log"
    expect_code 0 morvctl block config attempts=3 minutes=5 days=1 "$@"
}

blocked() { morvctl --json block list | python3 -c '
import json, sys
print(*(block["address"] for block in json.load(sys.stdin)["blocks"]))'; }

expect_blocked() { # expect_blocked ADDRESS...
    local found
    found=$(blocked)
    [[ $found == "$*" ]] || fail "blocked is '$found', not '$*'"
}

# What is in the ring: its texts, without what lies between them.
recorded() { tr -c '[:print:]' '\n' <"$root/var/log/morvsys.log" | grep -c -e "$1"; }

test_three_failures_block_and_scripts_can_tell() {
    start
    expect_code 0 morvctl block fail 192.0.2.1
    expect_code 0 morvctl block fail ::ffff:192.0.2.1
    expect_output '192.0.2.1 is not blocked; failed logins: 2 of 3' morvctl block check 192.0.2.1
    expect_code 0 morvctl block reset 192.0.2.1
    expect_output '192.0.2.1 is not blocked' morvctl block check 192.0.2.1
    for _ in 1 2 3; do
        expect_code 0 morvctl block fail 192.0.2.1
    done
    expect_code 7 morvctl block check 192.0.2.1
    [[ $out == "192.0.2.1 is blocked since "*", until "* ]] || fail "check says $out"
    expect_code 7 morvctl --json block check 192.0.2.1
    expect_value true blocked
    [[ $(($(value until) - $(value since))) == 86400 ]] || fail "a day is not a day: $out"
    expect_failure 3 "*cannot find the address of no.such.host.invalid: *(ERR_INVALID_NETNAME)" morvctl block check no.such.host.invalid
}

test_addresses_are_blocked_and_let_in_by_hand() {
    start
    expect_code 0 morvctl block add 192.0.2.1 192.0.2.2 192.0.2.1
    expect_code 0 morvctl block add --dry-run 192.0.2.3
    expect_blocked 192.0.2.1 192.0.2.2
    expect_failure 1 '*not blocked: 192.0.2.9' morvctl block remove 192.0.2.9 192.0.2.1
    expect_blocked 192.0.2.2
    expect_failure 2 '*--all*' morvctl block remove
    expect_code 0 morvctl block remove --all
    expect_blocked
    for wrong in 192.0.2 0.0.0.0 localhost 192.0.2.1/24 ::1; do
        expect_failure 3 "*'$wrong' is no IPv4 address*" morvctl block add 192.0.2.4 "$wrong"
    done
    expect_blocked
}

test_the_owner_does_not_lock_himself_out() {
    start allow=198.51.100.0/24,203.0.113.5-203.0.113.9
    local -x SSH_CONNECTION='192.0.2.7 50000 192.0.2.8 22'
    expect_failure 3 '*192.0.2.7 is where you are logged in from*' morvctl block add 192.0.2.1 192.0.2.7
    expect_failure 3 '*198.51.100.7 is never blocked*' morvctl block add 192.0.2.1 198.51.100.7 --force
    expect_blocked
    printf '%s\n' '# bad ones' 192.0.2.1 '' '  192.0.2.2  # twice' 192.0.2.2 203.0.113.7 >"$root/list"
    expect_code 0 morvctl --json block import /list
    expect_value 2 blocked
    expect_value 1 allowed
    printf '%s\n' 192.0.2.3 nonsense 192.0.2.7 >"$root/list"
    expect_code 3 morvctl block import /list
    [[ $err == *"line 2: 'nonsense'"*"line 3: 192.0.2.7"* ]] || fail "the lines are not named: $err"
    expect_blocked 192.0.2.1 192.0.2.2
    expect_code 0 morvctl block import --skip-wrong - <"$root/list"
    expect_blocked 192.0.2.1 192.0.2.2 192.0.2.3
    expect_code 0 morvctl block add --force 192.0.2.7
    expect_blocked 192.0.2.1 192.0.2.2 192.0.2.3 192.0.2.7
}

test_settings_change_by_name() {
    start
    expect_code 0 morvctl block config notify=yes allow='192.0.2.1, 198.51.100.0/24'
    expect_output 'attempts = 3
minutes  = 5
days     = 1
notify   = yes
allow    = 192.0.2.1,198.51.100.0/24' morvctl block config
    local before
    before=$(cat "$root/etc/morvinfo.conf")
    expect_code 0 morvctl block config --dry-run attempts=9
    for wrong in attempts=-1 minutes=x notify=maybe allow=192.0.2.9-192.0.2.1 allow=192.0.2.0/33 allow=host; do
        expect_code 3 morvctl block config days=7 "$wrong"
    done
    expect_code 2 morvctl block config hours=1
    [[ $(cat "$root/etc/morvinfo.conf") == "$before" ]] || fail "the settings have changed"
    expect_code 0 morvctl block config default
    expect_code 0 morvctl --json block config
    expect_value false config enabled
    expect_value '["192.0.2.1", "198.51.100.0/24"]' config allow
}

test_settings_of_others_are_not_undone() {
    start
    # While the folder is locked, the command waits; what is written there meanwhile is to stay.
    # shellcheck disable=SC2016  # for the inner shell
    flock --close "$root/etc" bash -c '"$@" & sleep 0.3
        sed -i "s/\(autoblock_attempts\)=.*/\1=\"9\"/" "$MORV_ROOT/etc/morvinfo.conf"' - \
        "${morvctl_words[@]}" block config days=7 >"$scratch/settings" 2>&1
    local i
    for ((i = 0; i < 300; i++)); do
        expect_code 0 morvctl --json block config
        [[ $(value config days) != 7 ]] || break
        sleep 0.1
    done
    expect_value 7 config days
    expect_value 9 config attempts
}

test_changes_are_recorded_and_nothing_else_is() {
    cp -r "$SOURCE/examples/appliance/." "$root"
    chmod 600 "$root/etc/shadow"
    mkdir -p "$root/tmp" "$root/var/services/homes"
    expect_code 0 morvctl group add painters
    [[ ! -e $root/etc/morvlog.conf && -z $err ]] || fail "something is recorded without a folder for it"
    mkdir -p "$root/var/log"
    expect_code 0 morvctl group add --dry-run singers
    expect_code 3 morvctl group add painters
    [[ ! -e $root/var/log/morvsys.log ]] || fail "what was not done is recorded"
    expect_code 0 morvctl group rename painters artists
    expect_code 0 morvctl user delete bob
    [[ $(recorded 'painters -> artists') == 1 && $(recorded 'bob') == 1 ]] || fail "the changes are not recorded"
    rm "$root/var/log/morvsys.log"
    mkdir "$root/var/log/morvsys.log"
    expect_code 0 timeout 60 "${morvctl_words[@]}" group delete artists
    [[ $err == *"not in the event log"* ]] || fail "nothing tells that the event is lost: $err"
}

run_tests
