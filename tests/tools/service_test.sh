#!/bin/bash
# What morvctl service shows of services and settings, changes and refuses.
# shellcheck source=tests/tools/harness.sh
. "$(dirname "$0")/harness.sh"

start() {
    local folder=$root/usr/morv/etc/rc.d name
    mkdir -p "$folder" "$root/etc" "$root/tmp" "$root/var/log"
    # shellcheck disable=SC2016  # for the script
    for name in S10management S20web.sh S30ftp S40cron S50ssh; do
        printf '#!/bin/sh\necho "${0##*/} $1" >>"$MORV_ROOT/calls"\n' >"$folder/$name"
        chmod 755 "$folder/$name"
    done
    chmod 644 "$folder/S50ssh"
}

test_services_are_stopped_and_started_by_name() {
    start
    expect_code 0 morvctl --json service list
    expect_value other services 3 service
    expect_value false services 4 on
    expect_output $'S30ftp: stopped\nS40cron: stopped' morvctl service stop ftp other --dry-run
    [[ ! -e $root/calls ]] || fail "a dry run calls scripts"
    expect_output '' morvctl service stop
    expect_code 0 morvctl --json service start web ssh
    expect_value '["web"]' started
    expect_file "$root/calls" $'S40cron stop\nS30ftp stop\nS20web.sh stop\nS20web.sh start'
    expect_failure 1 "*there is no service 'smb' here" morvctl service stop smb
    expect_failure 3 "*'cron' is one of several*" morvctl service stop cron
}

test_settings_are_shown_and_set() {
    start
    expect_output '' morvctl service set ftpport 2121
    expect_file "$root/etc/morvinfo.conf" 'ftpport="2121"'
    expect_code 0 morvctl --json service settings ftpport
    expect_value 2121 settings 0 value
    expect_value 21 settings 0 default
    expect_code 0 morvctl service set ftpport 21 --dry-run
    [[ $out == *$'\n-ftpport="2121"\n+ftpport="21"'* ]] || fail "the dry run prints $out"
    expect_file "$root/etc/morvinfo.conf" 'ftpport="2121"'
    expect_failure 3 "*ftpport is a number from 1 to 65535, not '0'" morvctl service set ftpport 0
    expect_failure 1 "*there is no setting 'ftp'*" morvctl service set ftp 1
    expect_failure 2 "*VALUE is missing*" morvctl service set ftpport
    expect_code 0 morvctl service set runweb yes
    [[ $err == *"this model has nothing that runweb is for"* ]] || fail "not told: $err"
}

test_passwords_are_not_shown() {
    start
    expect_failure 2 "*is a secret*" morvctl service set pppoepassword geheim
    expect_code 0 morvctl service set pppoepassword --dry-run <<<geheim
    [[ $out$err != *geheim* && $out == *pppoe.conf* ]] || fail "the dry run prints $out"
    expect_code 0 morvctl service set pppoepassword <<<geheim
    expect_file "$root/etc/pppoe.conf" 'pppoepassword="geheim"'
    expect_code 0 morvctl service settings
    [[ $out != *geheim* ]] || fail "it is shown"
    expect_code 0 morvctl --json service settings pppoepassword
    expect_value null settings 0 value
    expect_code 0 morvctl --json service settings pppoepassword --show-secrets
    expect_value geheim settings 0 value
}

run_tests
