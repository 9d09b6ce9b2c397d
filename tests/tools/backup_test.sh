#!/bin/bash
# What morvctl backup writes, restores, refuses, hides and finds.
# shellcheck source=tests/tools/harness.sh
. "$(dirname "$0")/harness.sh"

# The sample appliance as the system root, with a few settings.
start() {
    cp -r "$SOURCE/examples/appliance/." "$root"
    chmod 600 "$root/etc/shadow" "$root/usr/morv/etc/private/smbpasswd"
    mkdir -p "$root/tmp" "$root/volume1/public" "$root/volume1/books" "$root/var/services/homes" \
        "$root/etc/sysconfig" "$root/var/log" "$root/usr/morv/etc/rc.d"
    echo HOSTNAME=attic >"$root/etc/sysconfig/network"
    printf '127.0.0.1\tlocalhost\n' >"$root/etc/hosts"
    printf 'ftpport="2121"\nmail_smtp="mail.example.org"\n' >>"$root/etc/morvinfo.conf"
    printf 'runpppoe="yes"\npppoeuser="jo"\npppoepassword="Tr0ub4dor"\n' >"$root/etc/pppoe.conf"
    chmod 600 "$root/etc/pppoe.conf"
    # As the library adds them.
    sed -i 's/^users:x:100:/&alice,bob/' "$root/etc/group"
    # A service that would tell when it is stopped.
    # shellcheck disable=SC2016
    printf '#!/bin/sh\necho "$1" >>%s/service\n' "$scratch" >"$root/usr/morv/etc/rc.d/S80ftp.sh"
    chmod 755 "$root/usr/morv/etc/rc.d/S80ftp.sh"
    backup=$scratch/box.morv
}

# All but what reading makes: mirrors and locks; and the log of events.
state() { (cd "$root" && find . \( -path ./tmp -o -path ./var/log \) -prune -o -type f -exec cksum {} + | sort); }

# A second appliance, as an installation leaves it: no users, groups and shares but the system's.
empty() {
    sed -i '/^alice:\|^bob:/d' "$root"/etc/{passwd,shadow,morvuser.conf} "$root/usr/morv/etc/private/smbpasswd"
    sed -i '/^writers:\|^accounts:/d; s/^users:x:100:.*/users:x:100:/' "$root"/etc/{group,group_desc}
    sed -i '/^; everybody/,$d' "$root/usr/morv/etc/smb.conf"
    sed -i '/^ftpport\|^mail_smtp/d' "$root/etc/morvinfo.conf"
    rm "$root/etc/pppoe.conf"
}

# Nothing that is a hash or a password may be in what a command said.
# shellcheck disable=SC2016
expect_no_secret() {
    if grep -qE '\$1\$|[0-9A-F]{32}|Tr0ub4dor' <<<"$out$err"; then fail "$1 shows a secret: $out$err"; fi
}

# Writes the numbers as 32-bit big-endian integers, and texts as items.
longs() {
    local number
    for number; do
        # shellcheck disable=SC2059
        printf "$(printf '\\x%02x\\x%02x\\x%02x\\x%02x' $((number >> 24 & 255)) $((number >> 16 & 255)) $((number >> 8 & 255)) $((number & 255)))"
    done
}
number() { longs 2 4 "$1"; }
text() { longs 1 $((${#1} + 1)) && printf '%s\0' "$1"; }
block() { # block ID VERSION: the body is standard input
    cat >"$scratch/body"
    longs "$1" "$2" "$(stat -c %s "$scratch/body")"
    cat "$scratch/body"
}
preamble() { printf MORV && longs 1 0x37FFFFB; }

test_an_export_is_whole_and_private_and_replaces_nothing_unasked() {
    start
    expect_code 0 morvctl backup export "$backup"
    [[ $out == *"keep it where only"* && $(stat -c %a "$backup") == 600 ]] || fail "$out / $(stat -c %a "$backup")"
    cp "$backup" "$scratch/first"
    expect_failure 3 "*is there already; --force replaces it" morvctl backup export "$backup"
    expect_failure 2 "*'usr' is no kind of settings: there are time, hostname, *" \
        morvctl backup export "$scratch/x" --only user,usr
    expect_failure 6 "*there is no folder $scratch/none" morvctl backup export "$scratch/none/x"
    expect_failure 3 "*is a folder*" morvctl backup export "$scratch"
    # A failure leaves the former file, and nothing else.
    mv "$root/etc/passwd" "$root/etc/passwd.away"
    expect_failure 6 "morvctl: cannot write $backup: user: *" morvctl backup export "$backup" --force
    mv "$root/etc/passwd.away" "$root/etc/passwd"
    cmp -s "$backup" "$scratch/first" || fail "a failed export has changed the former file"
    [[ $(cd "$scratch" && ls -d box*) == box.morv ]] || fail "left behind: $(ls "$scratch")"
    expect_code 0 morvctl backup export "$backup" --force --only hostname,mail
    expect_code 0 morvctl --json backup inspect "$backup"
    [[ $(value blocks 0 block) == hostname && $(value blocks 1 block) == mail && $(value mask) == 18 ]] || fail "$out"
}

test_what_is_restored_is_what_was_there_and_the_rest_stays() {
    start
    expect_code 0 morvctl backup export "$backup"
    local shadow before
    shadow=$(sed 's/^\([^:]*:[^:]*\):.*/\1/' "$root/etc/shadow" | sort)
    empty
    expect_code 1 morvctl backup diff "$backup"
    [[ $out == *"user alice: only in the file"* && $out == *"runftpd.ftpport: 21 here, 2121 in the file"* &&
        $out == *"pppoe.pppoepassword differs"* ]] || fail "$out"
    expect_no_secret "backup diff"

    before=$(state)
    expect_code 0 morvctl backup import "$backup" --dry-run
    [[ $out == *'+alice:'*'(new hash)'* && $out == *'(new password)'* && $out == *'+ftpport="2121"'* &&
        $out == *'+[books]'* ]] || fail "$out"
    expect_no_secret "a dry run"
    [[ $(state) == "$before" && ! -e $scratch/service ]] || fail "a dry run has changed something"

    expect_code 0 morvctl backup import "$backup" --only group,mail
    [[ $out == *"not asked for: "*user* ]] || fail "$out"
    [[ $(morvctl conf get /etc/morvinfo.conf mail_smtp) == mail.example.org ]] || fail "the mail server is missing"
    expect_code 1 morvctl user show alice
    expect_code 0 morvctl backup import "$backup"
    [[ $(<"$scratch/service") == $'stop\nstart\nstop\nstart' ]] || fail "the services: $(<"$scratch/service")"
    [[ $(sed 's/^\([^:]*:[^:]*\):.*/\1/' "$root/etc/shadow" | sort) == "$shadow" ]] || fail "hashes are others"
    expect_output "what $backup holds is what this system has" morvctl backup diff "$backup"
    # One secret, and one setting, change.
    morvctl conf set --quote /etc/pppoe.conf pppoepassword=other >/dev/null
    morvctl user set bob --description Bobby >/dev/null
    expect_code 1 morvctl --json backup diff "$backup" --only user,pppoe
    expect_value '"Bobby"' differences 0 here
    expect_value null differences 1 here
    expect_code 1 morvctl backup diff "$backup" --only pppoe --show-secrets
    [[ $out == 'pppoe.pppoepassword: "other" here, "Tr0ub4dor" in the file' ]] || fail "$out"
    # Twice the same name.
    { preamble && { number 1 && number 1 && text staff && number 70000 && text '' && number 2 && text bob && text BOB; } | block 0x200 7; } >"$backup"
    expect_code 1 morvctl backup diff "$backup"
}

test_an_import_is_refused_while_another_runs_or_was_killed() {
    start
    expect_code 0 morvctl backup export "$backup"
    local before
    before=$(state)
    exec 9>"$root/tmp/importprocess"
    expect_failure 4 "*another import is running, by process $$*" morvctl backup import "$backup"
    exec 9>&-
    expect_failure 3 "*was killed and has left $root/tmp/importprocess;*morvctl service start*" \
        morvctl backup import "$backup"
    [[ -e $root/tmp/importprocess && $(state) == "$before" && ! -e $scratch/service ]] || fail "it has done something"
    rm "$root/tmp/importprocess"
    expect_failure 3 "*is no backup of a configuration" morvctl backup import "$root/etc/passwd"
    expect_failure 6 "*no such file*" morvctl backup import "$scratch/none"
    [[ ! -e $scratch/service ]] || fail "services were stopped for no backup file"
}

test_a_failure_is_told_by_name_and_keeps_nothing_else_back() {
    start
    {
        preamble
        { number 1 && text 'gone' && text /volume7/gone && text '' && text '' && text '' && text '' && longs 2 4 1 2 4 1 2 4 0; } | block 0x20 7
        { text mx.example.org && text '' && text ''; } | block 0x10 7
    } >"$backup"
    expect_code 6 morvctl --json backup import "$backup"
    expect_value failed blocks 0 result
    expect_value restored blocks 1 result
    [[ $(value blocks 0 problems 0) == *gone*/volume7* && $err == *"share failed"* ]] || fail "$out / $err"
    [[ $(morvctl conf get /etc/morvinfo.conf mail_smtp) == mx.example.org ]] || fail "the mail server is not restored"
}

test_inspect_escapes_and_hides_and_shows_damage_where_it_is() {
    start
    local all damaged name
    expect_code 0 morvctl backup export "$backup"
    expect_code 0 morvctl backup inspect "$backup"
    expect_no_secret "backup inspect"
    [[ $out == *'  - name              = alice
    password          = (hidden)
    fullname          = Alice Liddell'* && $out == *"; sound" ]] || fail "$out"
    expect_code 0 morvctl --json backup inspect "$backup" --only group
    [[ $(value blocks 0 items groups) == *'"members": ["alice", "bob"]'* ]] || fail "$out"
    expect_code 0 morvctl backup inspect "$backup" --only user --show-secrets
    # shellcheck disable=SC2016
    [[ $out == *'$1$Wond.rla$'* ]] || fail "$out"

    # Whatever it holds: one line for each item, one document.
    name=$'a\e[31m\xff\n"\\'
    { preamble && text "$name" | block 2 7; } >"$backup"
    expect_code 0 morvctl backup inspect "$backup"
    # shellcheck disable=SC1003
    [[ $out == *'= a\x1b[31m\xff\n"\\'$'\n'* ]] || fail "$out"
    expect_code 0 morvctl --json backup inspect "$backup"
    [[ $(value blocks 0 items hostname) == $'a\e[31m\xef\xbf\xbd\n"\\' ]] || fail "$out"

    # Cut off at every place, it ends without a crash, and in JSON that can be read.
    { preamble && { number 1 && number 1 && text staff && number 70000 && text '' && number 2 && text a && text b; } |
        block 0x200 7; } >"$scratch/all"
    all=$(stat -c %s "$scratch/all")
    for ((damaged = 13; damaged < all; damaged += 7)); do
        head -c "$damaged" "$scratch/all" >"$backup"
        expect_code 7 morvctl --json backup inspect "$backup"
        expect_value false sound
        expect_code 7 morvctl backup inspect "$backup"
        [[ $out == *DAMAGED* ]] || fail "cut off at $damaged: $out"
    done
}

test_verify_finds_what_could_not_be_restored() {
    start
    expect_code 0 morvctl backup export "$backup"
    expect_code 0 morvctl backup verify "$backup"
    [[ $out == *"is sound, and this system can restore all of it"* ]] || fail "$out"
    {
        preamble
        { number 2 && number 1 && text staff && number 70000 && text '' && number 2 && text alice && text nobody9 &&
            number 1 && text crew && number 70001 && text '' && number 0; } | block 0x200 7
        { number 3 && text books && text /volume1/other && text '' && text '' && text '' && text '' &&
            longs 2 4 1 2 4 1 2 4 0 && text films && text /volume7/films && text '' && text '' && text '' && text '' &&
            longs 2 4 1 2 4 1 2 4 0 && text poems && text /volume1/poems && text '' && text @ghosts && text alice,nemo &&
            text '' && longs 2 4 1 2 4 1 2 4 0; } | block 0x20 7
        text attic | block 2 7
        text attic | block 2 7
        text attic | block 2 6
        text x | block 4 7
        printf tail
    } >"$backup"
    sed -i 's/maxgroups=.*/maxgroups="6"/' "$root/etc.defaults/morvinfo.conf"
    expect_code 7 morvctl backup verify "$backup"
    local wanted
    for wanted in 'group staff: 1 of its members *: nobody9' 'group crew: this model takes no more groups' \
        'share books: there is one here with another folder*' 'share films: its volume /volume7 is not here' \
        'share poems: its lists name who is not here: *nemo*' '*@ghosts*' 'hostname: it is in the file more than once*' \
        'hostname: damaged: its version is not known*' 'block 0x4: nothing is known of this kind*' 'file: there are bytes behind*'; do
        # shellcheck disable=SC2053
        while read -r line; do
            [[ $line == ${wanted//(/\\(} ]] && continue 2
        done <<<"$out"
        fail "it does not find '$wanted': $out"
    done
    [[ $out != *alice* && $out != *'names the group staff'* && $(wc -l <<<"$out") == 11 ]] || fail "it finds too much: $out"
}

run_tests
