#!/bin/bash
# What the commands of the event logs print, and that following a log tells each event once.
# shellcheck source=tests/tools/harness.sh
. "$(dirname "$0")/harness.sh"
export USERNAME=tester TZ=UTC
log=var/log/morvsys.log

start() {
    mkdir -p "$root/usr/morv/morvsdk" "$root/var/log" "$root/tmp"
    cp -r "$SOURCE/data/texts" "$root/usr/morv/morvsdk/"
}

# The columns from USER on, of the events without the times.
shown() { tail -n +2 <<<"$out" | tr -s ' ' | cut -d' ' -f3-; }

test_scripts_add_events() {
    start
    expect_code 0 morvlogset1 sys err 0x1180050A
    expect_code 0 morvlogset1 man info 313524225 alice
    expect_code 0 morvlogset1 3 2 0x12A00003 10.0.0.2
    expect_code 0 morvctl log show system --json
    [[ $(value events 0 type) == error && $(value events 0 program) == morvlogset1 && $(value events 0 user) == tester &&
        $(value events 1 text) == 'User [alice] was added.' && $(value events 1 arguments) == '["alice"]' ]] || fail "$out"
    expect_code 0 morvctl log show conn
    [[ $(shown) == 'Warning tester morvlogset1 The address [10.0.0.2] has been blocked.' ]] ||
        fail "$out"
    local code pattern words
    while IFS='|' read -r code pattern words; do
        # shellcheck disable=SC2086
        expect_failure "$code" "$pattern" morvlogset1 $words
    done <<'END'
2|usage: morvlogset1 CLASS TYPE EVENT *|sys err
2|usage: *|sys err 1 a b c d e
2|morvlogset1: 'dmesg' is no class: sys, man, conn, *|dmesg err 1
2|morvlogset1: '4' is no class: *|4 err 1
2|morvlogset1: 'fatal' is no type: *|sys fatal 1
2|morvlogset1: '70000' is no type: *|sys 70000 1
2|morvlogset1: '0x1FFFFFFFF' is no event: *|sys err 0x1FFFFFFFF
2|morvlogset1: '12AB' is no event: *|sys err 12AB
END
    rm "$root/$log"
    mkdir "$root/$log"
    expect_failure 1 'morvlogset1: cannot write to the system log: *' morvlogset1 sys err 1
}

test_events_are_chosen_and_shown_in_a_language() {
    start
    morvctl log add system info 0x12B00001 alice
    USERNAME=bob morvctl log add system warn 0x12A00003 $'10.0.0.2\n\e[1m'
    morvctl log add system error 0xABCDEF one $'t\two'
    expect_code 0 morvctl log show system
    [[ $(shown) == 'Information tester morvctl User [alice] was added.
Warning bob morvctl The address [10.0.0.2\n\x1b[1m] has been blocked.
Error tester morvctl event ABCDEF [one] [t\two]' ]] || fail "$out"
    expect_code 0 morvctl log show system --language ger --last 1 --user BOB
    [[ $out == *'  Warnung  bob '*'Die Adresse [10.0.0.2\n\x1b[1m] wurde gesperrt.'* ]] || fail "$out"
    local words count
    while IFS='|' read -r count words; do
        eval "expect_code 0 morvctl log show system --json $words"
        [[ $(value events | grep -o time_text | wc -l) == "$count" ]] || fail "$words shows $out"
    done <<'END'
1|--type warn
1|--event 12b00001
1|--event 0x12B00001
2|--user tester
2|--last 2
3|--since 1h
0|--until 1h
3|--until "$(date +%F)" --since "$(date +'%Y/%m/%d 00:00')"
0|--since "$(date -d '+2 days' +'%FT%T')"
END
    expect_code 0 morvctl log export system /tmp/events.txt --language fre
    [[ $(cut -f2,4- "$root/tmp/events.txt" | head -1) == $'Information\tmorvctl\ttester\tL\'utilisateur [alice] a été ajouté.' &&
        $(wc -l <"$root/tmp/events.txt") == 2 ]] || fail "$(cat "$root/tmp/events.txt")"
    echo before >"$scratch/all"
    morvctl log export --file "/$log" - >>"$scratch/all"
    [[ $(wc -l <"$scratch/all") == 3 ]] || fail "what stood before the events is gone"
}

test_what_cannot_be_done_is_said_in_a_sentence() {
    start
    morvctl log add system info 0x12B00001 alice
    local code pattern words
    while IFS='|' read -r code pattern words; do
        eval "expect_failure $code \"morvctl: \$pattern\" morvctl log $words"
    done <<'END'
2|a log is missing: *|show
2|'boot' is none of the logs: system, admin, *|show boot
2|LOG and --file exclude each other *|verify system --file /x
2|--since is a time like *, not 'monday' *|show system --since monday
2|--since is a time like *, not '2026-02-30' *|show system --since 2026-02-30
2|--type is info, warn or error, not 'bad' *|show system --type bad
2|--event is a number in hexadecimal digits, *|show system --event xyz
3|there are no event texts in the language 'xyz': */xyz/events: *|show system --language xyz
3|there are no event texts in the language '../enu'|show system --language ../enu
1|there is no file /nothing|show --file /nothing
6|cannot read the file /etc: *|show --file /etc
1|the log copy has no file yet: *|export copy /tmp/x
3|the log would be written over|export system /var/log/morvsys.log
2|the file to write is missing; *|export system
2|an event has 4 arguments at most *|add system info 1 a b c d e
6|cannot write to the log system: *|add system info 1 "$(printf %070000d 1)"
3|a log has 64 bytes at least|size system 63
2|the size is a number of bytes, *, not '1G' *|size system 1G
3|the size of the log surveillance is set by its key in /etc/morvlog.conf: *|size surveillance 1M
1|the log copy has no file yet: *|verify copy
END
    expect_code 0 morvctl log show copy
    [[ $out == 'TIME  TYPE  USER  PROGRAM  EVENT' ]] || fail "$out"
}

test_sizes_are_set_and_nothing_is_written_on_trial() {
    start
    for i in {1..30}; do morvctl log add system info 0x12B00001 "user$i"; done
    local before
    before=$(cksum "$root/$log" "$root/etc/morvlog.conf")
    expect_code 0 morvctl log size system 1K --dry-run
    [[ $out == 'the log system: 65536 -> 1024 bytes; its oldest events would go' ]] || fail "$out"
    expect_code 0 morvctl log add system info 0x12B00001 nobody --dry-run
    [[ $out == *'User [nobody] was added.' && $(cksum "$root/$log" "$root/etc/morvlog.conf") == "$before" ]] || fail "$out"
    expect_code 0 morvctl log size system 1K
    expect_output 1024 morvctl log size system
    expect_code 0 morvctl log list --json
    expect_value 1024 logs 0 most_bytes
    (($(stat -c %s "$root/$log") <= 1024 && $(value logs 0 events) < 30)) || fail "$out"
    expect_value null logs 4 size_bytes
    expect_value 'not there yet' logs 4 state
}

test_damage_is_told_by_an_exit_code() {
    start
    for i in {1..5}; do morvctl log add system info 0x12B00001 "user$i"; done
    expect_code 0 morvctl log verify system
    [[ $out == *$'sound events  5\n'*'sound' ]] || fail "$out"
    local length
    length=$((16#$(od -An -tx1 -j16 -N2 "$root/$log" | tr -d ' ')))
    printf '\0\7' | dd of="$root/$log" bs=1 seek=$((16 + length)) conv=notrunc status=none
    local before
    before=$(cksum "$root/$log")
    expect_code 7 morvctl log verify system
    [[ $out == *"damaged: from offset $((16 + length)) on"* ]] || fail "$out"
    expect_code 7 morvctl log verify --file "/$log" --json
    expect_value "$((16 + length))" damage
    expect_value 1 events
    expect_code 0 morvctl log show system
    [[ $err == 'morvctl: note: the log system is damaged: '* ]] || fail "$err"
    [[ $(cksum "$root/$log") == "$before" ]] || fail "looking has changed the log"
    expect_code 0 morvctl log export system /tmp/x
    expect_code 0 morvctl log verify system
    head -c 200 /dev/zero >"$root/tmp/zero"
    expect_code 7 morvctl log verify --file /tmp/zero
    [[ $out == 'the file /tmp/zero is no event log' ]] || fail "$out"
}

# Adds events with the next numbers, and waits until the last one has been shown.
next=1
add_and_wait() { # add_and_wait COUNT
    local i
    for ((i = 0; i < $1; i++)); do
        morvctl log add system info 0x12B00001 "event$next" || fail "event $next is not added"
        next=$((next + 1))
    done
    for ((i = 0; i < 200; i++)); do
        grep -q "event$((next - 1))\"" "$scratch/followed" && return
        sleep 0.1
    done
    fail "event $((next - 1)) is not shown"
}

test_following_tells_each_event_once_however_the_ring_turns() {
    start
    morvctl log size system 600
    "${morvctl_words[@]}" log show system --follow --json >"$scratch/followed" 2>"$scratch/complaints" &
    local follower=$!
    add_and_wait 3
    add_and_wait 7 # the ring wraps
    add_and_wait 6
    morvctl log size system 300
    add_and_wait 2 # in a file of its own, without the oldest
    rm "$root/$log"
    add_and_wait 2
    kill -TERM "$follower" # SIGINT is ignored in what a script has in the background
    wait "$follower"
    code=$?
    ((code == 143)) || fail "it ended with $code"
    [[ $(grep -oP '(?<=\[")event[0-9]+' "$scratch/followed" | paste -sd' ') == "$(seq -f 'event%g' $((next - 1)) | paste -sd' ')" ]] ||
        fail "$(cat "$scratch/followed")"
    [[ ! -s $scratch/complaints ]] || fail "$(cat "$scratch/complaints")"
    # It ends, too, when nobody reads any more.
    run timeout 60 bash -c '"$@" | head -1' - "${morvctl_words[@]}" log show system --follow
    [[ $code == 0 && $out == TIME* ]] || fail "it went on: $code $err"
}

test_clients_are_listed() {
    start
    mkdir -p "$root/usr/morv/bin" "$root/proc/8" "$root/var/tmp"
    printf '#!/bin/sh\necho "music  77  ::1  Sun Nov 22 01:22:54 2026 UTC  -  -"\n' >"$root/usr/morv/bin/smbstatus"
    chmod +x "$root/usr/morv/bin/smbstatus"
    echo '8 (ftpd) S 1' >"$root/proc/8/stat"
    printf '8\t86400\t10.0.0.4\tcar\x1bol\n' >"$root/var/tmp/ftp_cur_con.log"
    expect_output 'SINCE                USER    CLIENT    SERVICE       KIND
2026/11/22 01:22:54  -       ::1       music         file sharing
1970/01/02 00:00:00  car ol  10.0.0.4  @FTP Service  ftp' morvctl log connections
    expect_code 0 morvctl log connections --json
    expect_value music connections 0 service
    expect_value ftp connections 1 kind
}

run_tests
