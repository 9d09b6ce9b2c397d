#!/bin/bash
# What the commands of users, groups, shares and mirrors print, refuse and leave alone.
# shellcheck source=tests/tools/harness.sh
. "$(dirname "$0")/harness.sh"

# The sample appliance as the system root.
start() {
    cp -r "$SOURCE/examples/appliance/." "$root"
    chmod 600 "$root/etc/shadow" "$root/usr/morv/etc/private/smbpasswd"
    mkdir -p "$root/tmp" "$root/volume1/public" "$root/volume1/books" "$root/var/services/homes"
}

# What must not change: inode, times, size, mode and content of all but the mirrors and locks.
state() {
    (cd "$root" && find . -path ./tmp -prune -o -printf '%p %i %T@ %C@ %s %m\n' | sort &&
        find . -path ./tmp -prune -o -type f -exec cksum {} +)
}

# Every hash of the account files, to be looked for where none may be.
# shellcheck disable=SC2016  # an expression for grep
hashes() { grep -hoE '\$1\$[^:]+|[0-9A-F]{32}' "$root/etc/shadow" "$root/usr/morv/etc/private/smbpasswd"; }

expect_no_hash() {
    if grep -qF -f <(hashes) <<<"$out$err"; then fail "$* shows a hash: $out$err"; fi
}

test_tables_are_for_people() {
    start
    expect_output 'NAME   UID   GROUP  PASSWORD  EXPIRES     DESCRIPTION
admin  1024  users  set       never       System default user
alice  1026  users  set       never       Alice Liddell
bob    1027  users  set       2030/03/27  Bob (accounts)
guest  1025  users  locked    never       Guest' morvctl user list
    expect_output $'alice' morvctl user list --names AL
    expect_output 'NAME            GID    MEMBERS  DESCRIPTION
accounts        65537  2        Bookkeeping
administrators  101    1        May change the settings
http            1023   0
users           100    4        Everybody with an account
writers         65536  1        May write into the shares' morvctl group list
    expect_output 'NAME    PATH             ACCESS  COMMENT
books   /volume1/books   none    Bookkeeping
public  /volume1/public  ro      For everybody' morvctl share list
    expect_output public morvctl share list --regex '^p.*c$' --names
    expect_output books morvctl share list --mount /volume1/books --names
    expect_output 'name         alice
type         local
uid          1026
group        100 users
groups       accounts,users,writers
description  Alice Liddell
home         /var/services/homes/alice
shell        /sbin/nologin
password     set
expires      never
privilege    3
extra' morvctl user show --uid 1026
    # A character of two columns, and one of none.
    expect_code 0 morvctl user set alice --description $'Ünï e\u0301'
    expect_code 0 morvctl user add 愛子 --no-password
    expect_code 0 morvctl user list
    [[ $out == *$'\n愛子   1028  users  '* ]] || fail "the columns are not aligned: $out"
}

test_json_is_for_programs_and_holds_no_secret() {
    start
    expect_code 0 morvctl --json user show bob
    expect_value bob user name
    expect_value 1027 user uid
    expect_value users user group
    expect_value 2030/03/27 user expire
    expect_value false user expired
    expect_value true user no_password_change
    expect_value set user password
    expect_value '["accounts", "users"]' user groups
    expect_no_hash user show
    expect_code 0 morvctl user list --json
    expect_value locked users 3 password
    expect_no_hash user list
    expect_code 0 morvctl user export
    expect_no_hash user export
    expect_code 0 morvctl group show accounts --json
    expect_value '["alice", "bob"]' group members
    expect_value 65537 group gid
    expect_code 0 morvctl share show books --json
    expect_value '["alice"]' share write
    expect_value '["no-download"]' share ftp
    expect_value false share hidden
    expect_code 0 morvctl --json user add carol --no-password
    expect_value 1028 user uid
    expect_value false dry_run
    expect_no_hash user add
}

test_a_password_is_never_on_the_command_line() {
    start
    expect_failure 2 '*no option*--password*' morvctl user add carol --password secret
    expect_failure 2 '*too many*' morvctl user passwd alice secret
    expect_failure 3 'morvctl: the password is empty' morvctl user add carol </dev/null
    printf 'tea & scones\nsecond line\n' >"$scratch/input"
    {
        expect_code 0 morvctl user add carol
        read -r rest
    } <"$scratch/input"
    [[ $rest == "second line" ]] || fail "morvctl has read more than its line: '$rest' is left"
    local hash
    hash=$(sed -n 's/^carol:\([^:]*\):.*/\1/p' "$root/etc/shadow")
    [[ $(perl -e 'print crypt($ARGV[0], $ARGV[1])' 'tea & scones' "$hash") == "$hash" ]] ||
        fail "the password is not the one of standard input"
    before=$hash
    expect_failure 1 '*cannot read the user nobodyhere: there is no such user (ERR_NO_SUCH_USER)' \
        morvctl user passwd nobodyhere </dev/null
    expect_code 0 morvctl user passwd carol <<<other
    hash=$(sed -n 's/^carol:\([^:]*\):.*/\1/p' "$root/etc/shadow")
    [[ $hash != "$before" ]] || fail "the password is the former one"
}

test_a_terminal_is_asked_twice_and_shows_nothing() {
    start
    # Types each line when it is asked for, and prints what the terminal has shown.
    cat >"$scratch/type.py" <<'END'
import os, pty, sys, termios, time
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
    if got.rstrip(b" ").endswith(b":") and answers:
        while termios.tcgetattr(fd)[3] & termios.ECHO:
            time.sleep(0.01)
        os.write(fd, answers.pop(0).encode() + b"\n")
sys.stdout.write(shown.decode())
status = os.waitpid(pid, 0)[1]
sys.exit(os.waitstatus_to_exitcode(status) % 256)
END
    local words=("${morvctl_words[@]}")
    expect_code 0 python3 "$scratch/type.py" pass-word/pass-word "${words[@]}" user passwd alice
    [[ $out == *"New password of alice: "*"The same again: "* && $out != *pass-word* ]] || fail "it shows $out"
    before=$(cksum "$root/etc/shadow")
    expect_code 3 python3 "$scratch/type.py" pass-word/password "${words[@]}" user passwd alice
    [[ $out == *"the two passwords are not the same"* ]] || fail "it shows $out"
    [[ $(cksum "$root/etc/shadow") == "$before" ]] || fail "the password has changed"
}

test_dry_run_shows_every_file_and_changes_nothing() {
    start
    local before command files
    before=$(state)
    while IFS='|' read -r command files; do
        # shellcheck disable=SC2086
        expect_code 0 morvctl $command --dry-run </dev/null
        [[ $(sed -n 's/^+++ //p' <<<"$out" | paste -sd' ') == "$files" ]] || fail "$command would change $out"
        expect_no_hash "$command"
        [[ $(state) == "$before" ]] || fail "$command has changed something"
    done <<'END'
user add carol --no-password|/etc/passwd /etc/shadow /etc/morvuser.conf /usr/morv/etc/private/smbpasswd /etc/group
user set alice --description A|/etc/passwd /etc/shadow /usr/morv/etc/private/smbpasswd
user rename alice alicia|/etc/passwd /etc/shadow /etc/morvuser.conf /usr/morv/etc/private/smbpasswd /etc/group /usr/morv/etc/smb.conf
user delete bob|/etc/passwd /etc/shadow /etc/morvuser.conf /usr/morv/etc/private/smbpasswd /etc/group
group add new --member bob --description N|/etc/group /etc/group_desc
group set writers --add-member bob|/etc/group
group rename writers authors|/etc/group /etc/group_desc /usr/morv/etc/smb.conf
group delete accounts|/etc/group /etc/group_desc /usr/morv/etc/smb.conf
share add new --path /volume1/new|/usr/morv/etc/smb.conf
share set books --comment B|/usr/morv/etc/smb.conf
share rights books --read bob|/usr/morv/etc/smb.conf
share rename books ledgers|/usr/morv/etc/smb.conf
END
    expect_code 0 morvctl user passwd alice --dry-run <<<new
    [[ $out == *'-alice:(hash):'*'+alice:(new hash):'* ]] || fail "a new password shows as $out"
    expect_code 0 morvctl share delete public --dry-run
    [[ $out == "folder /volume1/public: removed"$'\n'*'-[public]'*'/etc/exports'* ]] || fail "a share goes as $out"
    expect_code 0 morvctl share set books --path /volume1/ledgers --dry-run --json
    expect_value /volume1/books folders 0 folder
    expect_value made folders 1 change
    expect_value /usr/morv/etc/smb.conf files 0 file
    expect_value true dry_run
    expect_code 0 morvctl user import - --dry-run <<<$'name,password\ncarol,c\ndora,d'
    [[ $(grep -c '^+.*(new hash)' <<<"$out") == 4 ]] || fail "an import shows as $out"
    [[ $(state) == "$before" ]] || fail "something has changed"
    [[ ! -e $root/tmp/.db.user.name.0957 ]] || fail "a mirror has been built"
    expect_failure 1 '*there is no such user*' morvctl user delete nobodyhere --dry-run
    mkdir "$root/volume1/public/#recycle"
    : >"$root/volume1/public/#recycle/kept"
    expect_output 'folder /volume1/public/#recycle: emptied' morvctl share recycle clean --dry-run
    [[ -e $root/volume1/public/#recycle/kept ]] || fail "a dry run has emptied the bin"
}

test_import_reports_every_bad_line_and_changes_nothing() {
    start
    local before line
    before=$(state)
    printf '%s\r\n' $'\xef\xbb\xbfname,password,uid,gid,expire,no_password_change,home,description' \
        'carol,pw,2000,users,2030/01/31,no,,"Carol, ""C"""' \
        'Alice,pw,9,,,,,' \
        '"two' 'lines",pw,,,,,,' \
        'CAROL,pw,,,,,,' \
        'dora,,,,,,,' \
        'erin,pw,2000,,,,,' \
        'finn,pw,x,,,,,' \
        'gus,pw,,nogroup,,,,' \
        'hal,pw,,,2030/02/30,,,' \
        'ida,pw,,,,perhaps,,' \
        'jon,pw,,,,,/a:b,' \
        'kim,pw,,,,' \
        'len,"p"w,,,,,,' \
        'max,pw,1026,,,,,' \
        'ned,pw,,,,,,"a
b"' >"$scratch/users.csv"
    expect_code 3 morvctl user import - <"$scratch/users.csv"
    for line in "4: 'two?r?nlines' is no name*" "6: the user CAROL is there twice" \
        "7: the new user dora has no password" "8: line 2 has the uid 2000 already" "9: the uid 'x' is no number*" \
        "10: cannot read the group nogroup: there is no such group*" "11: '2030/02/30' is no date*" \
        "12: no_password_change 'perhaps' is neither*" "13: the home folder holds a colon: /a:b" \
        "14: it has 6 fields, not 8" "15: its quotes are not in order" "16: the uid 1026 is that of alice" \
        "17: the description holds a line feed*"; do
        # shellcheck disable=SC2053
        [[ $'\n'$err == *$'\n'"morvctl: line "${line//(/\\(}* ]] || fail "line $line is not in $err"
    done
    [[ $(wc -l <"$scratch/err") == 14 && $err == *$'\n'"morvctl: cannot import -: nothing has been changed" ]] ||
        fail "it says $err"
    expect_code 3 morvctl user import - --json <"$scratch/users.csv"
    expect_value 4 errors 0 line
    while read -r line; do
        expect_code 3 morvctl user import - <<<"${line%|*}"
        [[ $err == "morvctl: line 1: ${line#*|}"$'\n'* ]] || fail "${line%|*} gives $err"
    done <<'END'
uid,gid|the column 'name' is missing
name,colour|there is no column 'colour'
name,name|the column 'name' is there twice
END
    expect_code 3 morvctl user import - </dev/null
    [[ $(state) == "$before" ]] || fail "something has changed"
}

test_what_is_exported_can_be_imported() {
    start
    expect_code 0 morvctl user set bob --description 'Bob: "the, builder"' --extra 'room 13'
    expect_code 0 morvctl user export /table.csv
    expect_file "$root/table.csv" 'name,uid,gid,description,home,shell,expire,no_password_change,privilege,extra
admin,1024,100,System default user,/var/services/homes/admin,/bin/sh,never,no,31,
alice,1026,100,Alice Liddell,/var/services/homes/alice,/sbin/nologin,never,no,3,
bob,1027,100,"Bob: ""the, builder""",/var/services/homes/bob,/sbin/nologin,2030/03/27,yes,1,room 13
guest,1025,100,Guest,/nonexistent,/sbin/nologin,never,no,0,'
    local before
    # But for the day and the time of the change.
    accounts() { (cd "$root/etc" && cat passwd morvuser.conf && cut -d: -f1,2,4- shadow); }
    before=$(accounts)
    expect_code 0 morvctl user import /table.csv --json
    expect_value 4 changed
    expect_value 0 added
    [[ $(accounts) == "$before" ]] || fail "what was exported is not what is there"
    expect_code 0 morvctl user import - --json <<<$'description,name,password\nnew,alice,\nNew One,carol,pw\n'
    expect_value 1 added
    expect_value 1 changed
    [[ $(grep -c '^carol:x:1028:100:New One:' "$root/etc/passwd") == 1 ]] || fail "$(cat "$root/etc/passwd")"
}

test_what_is_wrong_is_said_in_a_sentence() {
    start
    local code pattern command before
    before=$(state)
    while IFS='|' read -r code pattern command; do
        # shellcheck disable=SC2086
        expect_failure "$code" "morvctl: $pattern" morvctl $command </dev/null
    done <<'END'
1|cannot read the user none: there is no such user (ERR_NO_SUCH_USER)|user show none
1|cannot read the user with the uid 9999: *|user show --uid 9999
2|USER or --uid is required, and not both *|user show
2|--domain and --all exclude each other *|user list --domain --all
2|--regex and --mount exclude each other *|share list --regex a --mount /b
2|--access is ro, rw or none, not 'x' *|share add new --path /volume1/new --access x
2|'now' is none of clean, stop and status *|share recycle now
2|'x' is none of user, group, share and all *|mirror rebuild x
3|'a:b' is no name of a user: *|user add a:b --no-password
3|users of a domain, as D??a, are not changed here|user add D\a --no-password
3|cannot add the user ALICE: there is a user of that name already (ERR_USER_EXISTS)|user add ALICE --no-password
3|the uid 1026 is that of alice|user set bob --uid 1026
3|the uid 0 is that of root|user set bob --uid 0
3|'soon' is no date like *|user set bob --expire soon
3|the home folder holds a colon: /a:b|user set bob --home /a:b
3|cannot delete the user admin: root, admin, guest *|user delete admin
3|cannot rename the user guest to host: root, admin, guest *|user rename guest host
1|cannot read the user none: *|group set writers --add-member none
1|the group writers has no member bob|group set writers --remove-member bob
1|cannot read the user none: *|group add new --member none
3|'sixteen-letters-' is no name of a group: *|group add sixteen-letters-
3|cannot add the group writers: there is a group of that name already (ERR_GROUP_EXISTS)|group add writers
3|cannot delete the group users: *|group delete users
1|cannot read the group none: *|share rights books --write @none
3|alice stands in the lists of write and of read|share rights books --read alice
3|--access none and the list with @users contradict each other|share rights books --access none --read @users
3|the name homes is kept for the system|share add homes --path /volume1/h
3|the name photo is that of the folder of a service|share add photo --path /volume1/p
3|*does not begin with a slash (ERR_INVALID_PATH)|share add new --path volume1/new
3|'(' is no regular expression|share list --regex (
END
    expect_failure 3 'morvctl: the description holds a line feed: a\\nb' morvctl user set bob --description $'a\nb'
    [[ $(state) == "$before" ]] || fail "something has changed"
    echo 'maxaccounts="4"' >"$root/etc.defaults/morvinfo.conf"
    expect_failure 5 '*maxaccounts*(ERR_TOO_MANY_USERS)' morvctl user add carol --no-password
    expect_failure 4 '*another program holds the lock (ERR_LOCK_FAILED)' \
        flock "$root/tmp/lock/lock_pw" "${morvctl_words[@]}" user delete bob --timeout 0
    expect_failure 4 "*'morvctl lock run' holds it*" \
        morvctl lock run pw -- "${morvctl_words[@]}" user delete bob
}

test_a_missing_file_is_named() {
    start
    local file
    for file in /etc/morvuser.conf /etc/shadow /usr/morv/etc/private/smbpasswd; do
        mv "$root$file" "$scratch/kept"
        rm -f "$root"/tmp/.db.*
        expect_failure 6 "morvctl: cannot read the users: $file: no such file or directory; an empty file will do (ERR_*" \
            morvctl user list
        mv "$scratch/kept" "$root$file"
    done
    rm "$root/usr/morv/etc/smb.conf"
    expect_failure 6 "*cannot read the shares: /usr/morv/etc/smb.conf: no such file*" morvctl share list
}

test_groups_and_rights_follow_a_user() {
    start
    expect_code 0 morvctl user rename alice alicia
    expect_output 'USER         RIGHT
(everybody)  none
admin        none
alicia       rw
bob          ro
guest        none' morvctl share rights books
    expect_code 0 morvctl --json group set accounts --members bob,admin --remove-member BOB --description ''
    expect_value '["admin"]' group members
    expect_value '' group description
    expect_code 0 morvctl share rights books --read @accounts --write alicia --deny bob
    expect_output $'USER         RIGHT\n(everybody)  none\nadmin        ro\nbob          none' \
        morvctl share rights books admin bob
    expect_code 0 morvctl --json share rights public --deny alicia
    expect_value '["alicia"]' conflicts
    [[ $err == "morvctl: note: lists of different rights hold alicia: "* ]] || fail "a conflict is told as $err"
    expect_code 0 morvctl share add all --path /volume1/all --write @users --json
    expect_value rw share access
    expect_code 0 morvctl share delete all
    expect_code 0 morvctl share set books --hidden --ftp-all --ftp-no-list
    expect_code 0 morvctl share show books --json
    expect_value true share hidden
    expect_value '["no-list"]' share ftp
    expect_code 0 morvctl share delete books
    [[ ! -e $root/volume1/books ]] || fail "the folder is still there"
    expect_output public morvctl share list --names
}

test_mirrors_tell_whether_they_are_current() {
    start
    expect_code 0 morvctl mirror status
    [[ $(grep -c 'no: it is missing' <<<"$out") == 9 && -z $(ls "$root"/tmp/.db* 2>/dev/null) ]] || fail "$out"
    expect_code 0 morvctl mirror rebuild
    expect_code 0 morvctl mirror status
    [[ $(grep -c ' yes$' <<<"$out") == 9 ]] || fail "$out"
    # The same second, another file.
    touch -r "$root/etc/shadow" "$scratch/time"
    cp "$root/etc/shadow" "$scratch/shadow" && cat "$scratch/shadow" >"$root/etc/shadow.new"
    touch -r "$scratch/time" "$root/etc/shadow.new"
    mv "$root/etc/shadow.new" "$root/etc/shadow"
    expect_code 0 morvctl mirror status
    [[ $out == *'.shadow.0957 '*'no: /etc/shadow has changed since'* ]] || fail "$out"
    : >"$root/tmp/.db.group.id.0957"
    expect_code 0 morvctl mirror status --json
    expect_value 'it is smaller than 8192 bytes' stores 6 reason
    expect_value false stores 6 current
    expect_code 0 morvctl mirror rebuild group --json
    expect_value '["group"]' rebuilt
    local inode
    inode=$(stat -c %i "$root/tmp/.db.morvshare.0957")
    expect_code 0 morvctl mirror rebuild share
    [[ $(stat -c %i "$root/tmp/.db.morvshare.0957") != "$inode" ]] || fail "the mirror of the shares is the former one"
}

run_tests
