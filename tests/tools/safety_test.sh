#!/bin/bash
# That no change is lost, none is half made, and none is made that was not asked for.
# shellcheck source=tests/tools/harness.sh
. "$(dirname "$0")/harness.sh"

# What must not change: inode, times, size, mode and content of all below the root, and which files there are.
state() {
    (cd "$root" && find . -printf '%p %i %T@ %C@ %s %m\n' | sort && find . -type f -exec cksum {} +)
}

test_dry_run_prints_the_change_and_writes_nothing() {
    local command before
    printf '# c\na=1\n[s]\nb=2\n' >"$root/etc/f"
    printf 'c=3\n' >"$root/etc/from"
    chmod 400 "$root/etc/f"
    before=$(state)
    while IFS='|' read -r command change; do
        # shellcheck disable=SC2086
        expect_code 0 morvctl $command --dry-run
        [[ $(grep -E '^[-+]' <<<"$out" | grep -vE '^(---|\+\+\+) ' | paste -sd, -) == "$change" ]] ||
            fail "$command printed $out"
        [[ $(state) == "$before" ]] || fail "$command changed something"
    done <<'END'
conf set /etc/f a=9|-a=1,+a=9
conf set /etc/f a=1|
conf set /etc/new a=9|+a=9
conf unset /etc/f b|-b=2
conf merge /etc/f /etc/from|+c=3
section set /etc/f s b=3|-b=2,+b=3
section rename /etc/f s t|-[s],+[t]
section remove /etc/f s|-[s],-b=2
line add /etc/f x a=1|+x
line set /etc/f a x|-a=1,+x
line delete /etc/f a|-a=1
line replace /etc/f =1 =2|-a=1,+a=2
END
    expect_failure 1 '*' morvctl section remove /etc/f none --dry-run
}

test_owner_and_mode_stay_with_a_changed_file() {
    echo a=1 >"$root/etc/f"
    chmod 2640 "$root/etc/f"
    ((EUID != 0)) || { chown 12:34 "$root/etc/f" && chmod 2640 "$root/etc/f"; }
    local before
    before=$(stat -c '%a %u %g' "$root/etc/f")
    expect_code 0 morvctl conf set /etc/f a=2
    [[ $(stat -c '%a %u %g' "$root/etc/f") == "$before" ]] || fail "$(stat -c '%a %u %g' "$root/etc/f")"
}

test_access_list_and_attributes_stay_with_a_changed_file() {
    cat >"$scratch/attributes" <<'END'
import os, struct, sys
entries = [(1, 6, -1), (2, 4, 12), (4, 4, -1), (16, 4, -1), (32, 0, -1)]
acl = struct.pack("<I", 2) + b"".join(struct.pack("<HHi", *entry) for entry in entries)
for name, value in ("system.posix_acl_access", acl), ("user.note", b"x" * 600):
    if sys.argv[1] == "set":
        os.setxattr(sys.argv[2], name, value)
    elif os.getxattr(sys.argv[2], name) != value:
        sys.exit(name + " is another")
END
    echo a=1 >"$root/etc/f"
    if ! python3 "$scratch/attributes" set "$root/etc/f" 2>/dev/null; then
        skip "files have no access lists or attributes here"
        return
    fi
    expect_code 0 morvctl conf set /etc/f a=2
    expect_file "$root/etc/f" a=2
    expect_code 0 python3 "$scratch/attributes" get "$root/etc/f"
}

# Another program holds a lock while a command runs.
locked() { # locked LOCK COMMAND...
    local lock=$1
    shift
    flock "$root/tmp/lock/lock_$lock" "$@"
}

test_a_held_lock_ends_with_exit_code_4() {
    echo a=1 >"$root/etc/morvinfo.conf"
    ln -s morvinfo.conf "$root/etc/alias.conf"
    expect_code 0 morvctl lock run pw -- true
    local name
    for name in morvinfo alias; do
        expect_failure 4 "morvctl: cannot lock /etc/$name.conf: another program holds the lock (ERR_LOCK_FAILED)" \
            locked morvinfo "${morvctl_words[@]}" conf set --timeout 0 "/etc/$name.conf" a=2
    done
    expect_code 0 locked pw "${morvctl_words[@]}" conf set --timeout 0 /etc/morvinfo.conf a=3
    expect_output 3 locked morvinfo "${morvctl_words[@]}" conf get /etc/morvinfo.conf a
    expect_failure 4 '*take the lock pw: another program holds the lock (ERR_LOCK_FAILED)' \
        morvctl lock run 0x30 --shared -- "${morvctl_words[@]}" lock run pw --timeout 0 -- true
    expect_code 0 \
        morvctl lock run pw --shared -- "${morvctl_words[@]}" lock run pw --shared --timeout 0 -- true
}

test_a_change_below_lock_run_goes_by_the_lock_held_for_it() {
    local file=/etc/morvinfo.conf set i
    set=("${morvctl_words[@]}" conf set --timeout 0 "$file")
    expect_code 0 morvctl lock run morvinfo -- "${set[@]}" a=1
    expect_code 0 morvctl lock run morvinfo -- "${morvctl_words[@]}" lock run pw -- sh -c '"$@"' sh "${set[@]}" a=2
    # Held in vain: not exclusively, or another lock.
    expect_failure 4 '*another program holds the lock*' morvctl lock run morvinfo --shared -- "${set[@]}" a=3
    expect_failure 4 '*another program holds the lock*' locked morvinfo "${morvctl_words[@]}" lock run pw -- "${set[@]}" a=3
    # Who holds it has ended, or has the lock of another system.
    expect_failure 4 '*another program holds the lock*' \
        env MORVCTL_LOCKS="$(sh -c 'echo $$'):800$root" flock "$root/tmp/lock/lock_morvinfo" "${set[@]}" a=3
    expect_failure 4 '*another program holds the lock*' \
        env MORVCTL_LOCKS="$$:800/" flock "$root/tmp/lock/lock_morvinfo" "${set[@]}" a=3
    expect_file "$root$file" a=2
    # Several at once below one lock still wait for each other.
    # shellcheck disable=SC2016
    expect_code 0 morvctl lock run morvinfo -- \
        bash -c 'for i in {1..8}; do "$@" --timeout 60 "key$i=1" & done; wait' bash "${morvctl_words[@]}" conf set "$file"
    [[ $(grep -c '^key.=1$' "$root$file") == 8 ]] || fail "$(cat "$root$file")"
}

test_lock_run_passes_on_exit_codes_and_signals() {
    expect_code 9 morvctl lock run pw -- sh -c 'exit 9'
    expect_code 143 morvctl lock run pw -- sh -c 'kill -TERM $$'
    expect_failure 127 'morvctl: cannot run /nonsense: no such file or directory' morvctl lock run pw -- /nonsense
    expect_failure 126 'morvctl: cannot run /: permission denied' morvctl lock run pw -- /
    # shellcheck disable=SC2016
    morvctl lock run pw -- sh -c 'trap "echo told; exit 5" TERM; echo ready; while :; do sleep 0.05; done' \
        >"$scratch/signal" &
    local runner=$!
    until grep -q ready "$scratch/signal"; do sleep 0.05; done
    # The shell's own child is the emulator or the tool itself; find it below the subshell.
    kill -TERM "$(pgrep -P "$runner" || echo "$runner")"
    wait "$runner"
    code=$?
    [[ $code == 5 && $(tail -n1 "$scratch/signal") == told ]] || fail "code $code, $(cat "$scratch/signal")"
}

# Whatever it was started with: with SIGCHLD ignored the system tells nobody of the end of a child.
test_an_ignored_sigchld_hides_no_end() {
    env --ignore-signal=CHLD true 2>/dev/null || { skip "env cannot ignore signals"; return; }
    local patient=(timeout -k 1 60 env --ignore-signal=CHLD "${morvctl_words[@]}")
    expect_code 9 "${patient[@]}" lock run pw -- sh -c 'exit 9'
    expect_code 0 "${patient[@]}" conf set --dry-run /etc/f a=1
    [[ $out == *+a=1 ]] || fail "$out"
}

test_a_terminal_that_goes_away_ends_the_program_below_lock_run() {
    script -qec true /dev/null >/dev/null 2>&1 || { skip "there is no terminal to be had"; return; }
    local terminal
    # The shell that exec replaces leads the session of the terminal.
    script -qec "exec ${morvctl_words[*]} lock run pw -- sh -c 'echo \$\$ >$scratch/pid; exec sleep 300'" /dev/null \
        >/dev/null 2>&1 </dev/null &
    terminal=$!
    until [[ -s $scratch/pid ]]; do sleep 0.05; done
    kill -KILL "$terminal"
    wait "$terminal" 2>/dev/null
    expect_code 0 morvctl lock run pw --timeout 60 -- true
    ! kill -KILL "$(<"$scratch/pid")" 2>/dev/null || fail "the program lives on"
}

test_any_other_file_is_locked_by_its_folder() {
    expect_code 0 morvctl conf set /etc/other.conf a=1
    [[ ! -e $root/tmp ]] || fail "it made $(find "$root/tmp")"
    exec 9<"$root/etc"
    flock -x 9
    expect_failure 4 '*cannot lock /etc/other.conf: *' morvctl conf set --timeout 0 /etc/other.conf a=2
    expect_code 0 morvctl conf set --timeout 0 --dry-run /etc/other.conf a=2
    mkdir "$root/elsewhere"
    expect_code 0 morvctl conf set --timeout 0 /elsewhere/other.conf a=2
    exec 9<&-
    expect_code 0 morvctl conf set --timeout 0 /etc/other.conf a=2
}

parallel_sets() { # parallel_sets FILE OTHER_NAME: forty keys, half of them by the other name
    local i jobs=()
    for i in {1..40}; do
        morvctl conf set --timeout 300 "$( ((i % 2)) && echo "$1" || echo "$2")" "key$i=$i" 2>>"$scratch/parallel" &
        jobs+=($!)
    done
    for i in "${jobs[@]}"; do
        wait "$i" || fail "a set failed: $(cat "$scratch/parallel")"
    done
    for i in {1..40}; do
        [[ $(grep -cx "key$i=$i" "$root$1") == 1 ]] || fail "key$i of $1 is lost"
    done
    [[ $(wc -l <"$root$1") == 40 ]] || fail "$1 holds $(cat "$root$1")"
    [[ $(ls "$root$(dirname "$1")") != *.??????* ]] || fail "left over: $(ls "$root$(dirname "$1")")"
}

test_forty_parallel_sets_keep_forty_keys() {
    mkdir "$root/etc/a" "$root/etc/b"
    : >"$root/etc/a/f"
    parallel_sets /etc/a/f /etc/a/f
    # The other name leads to a file that does not exist at the start.
    ln -s ../b/f "$root/etc/a/link"
    parallel_sets /etc/b/f /etc/a/link
}

can_trace() {
    # The leak checker traces, too, and a process has one tracer.
    export ASAN_OPTIONS=detect_leaks=0
    ((${#emulator[@]} == 0)) && strace -o /dev/null true 2>/dev/null
}

old_files() {
    printf 'a=1\n[s]\nk=1\n[s]\nk=2' >"$root/etc/f"
    rm -f "$root/etc/new"
}

expect_old_files() { # expect_old_files WHAT...
    [[ $(<"$root/etc/f") == $'a=1\n[s]\nk=1\n[s]\nk=2' ]] || fail "$*: $(cat "$root/etc/f")"
    [[ $(ls "$root/etc") == f ]] || fail "$* left $(ls "$root/etc")"
}

# Only the first call that concerns the folder counts: before it there is a private copy, behind it the change is made.
test_a_failing_system_call_leaves_the_old_file() {
    can_trace || { skip "strace cannot trace the tool here"; return; }
    local command file calls errno wanted name pattern when
    while read -r command; do
        read -r _ _ file _ <<<"$command"
        old_files
        # shellcheck disable=SC2086
        strace -y -o "$scratch/trace" -e trace=write,?fsync,?fchmod,?rename,?renameat,?renameat2 "$TOOLS/morvctl" $command
        while read -r calls errno wanted name pattern; do
            when=$(awk -v calls=",$calls," -v folder="$root/etc/" '{
                call = $1; sub(/\(.*/, "", call)
                if (!index(calls, "," call ",") && !index(calls, ",?" call ",")) next
                ++n[call]
                if (index($0, folder)) { print n[call]; exit }
            }' "$scratch/trace")
            # A new file has no owner and mode to be given.
            if [[ -z $when ]]; then
                [[ $calls$file == ?fchmod/etc/new ]] || fail "$command makes no $calls"
                continue
            fi
            old_files
            # shellcheck disable=SC2086
            expect_failure "$wanted" "morvctl: cannot write $file: ${pattern//_/ } (ERR_$name)" \
                strace -o /dev/null -e trace="$calls" -e inject="$calls:error=$errno:when=$when" "$TOOLS/morvctl" $command
            expect_old_files "$calls $errno: $command"
        done <<'END'
write ENOSPC 5 WRITE_FAILED no_space_left_on_device
write EDQUOT 5 WRITE_FAILED disk_quota_exceeded
write EIO 6 WRITE_FAILED input/output_error
?fsync EIO 6 WRITE_FAILED input/output_error
?fsync ENOSPC 5 WRITE_FAILED no_space_left_on_device
?fchmod EIO 6 WRITE_FAILED input/output_error
?rename,?renameat,?renameat2 EIO 6 RENAME_FAILED input/output_error
?rename,?renameat,?renameat2 EACCES 6 RENAME_FAILED permission_denied
END
        # Nothing of it was there before the rename, and there was just one.
        [[ $(grep -c "^rename.*$root$file\"" "$scratch/trace") == 1 ]] || fail "$command: $(grep ^rename "$scratch/trace")"
    done <<'END'
conf set /etc/f a=2
conf set /etc/f a=2 b=3 c=
conf set /etc/new a=1
conf unset /etc/f a k
section set /etc/f s k=2 new=3
section set /etc/f t x=1 y=2
section rename /etc/f s t
section remove /etc/f s
line set /etc/f a b
line delete /etc/f a
line add /etc/f x
line replace /etc/f k l
END
}

test_an_interrupted_change_is_made_whole_and_leaves_nothing() {
    can_trace || { skip "strace cannot trace the tool here"; return; }
    local signal when
    for signal in TERM INT HUP; do
        for when in {1..4}; do
            old_files
            run strace -o /dev/null -e trace=fsync -e inject="fsync:signal=$signal:when=$when" \
                "$TOOLS/morvctl" conf unset /etc/f a k 2>/dev/null
            ((code > 128)) || fail "SIG$signal was swallowed"
            # The first two are those of the private copy.
            ((when > 2)) || expect_old_files "$signal"
            ((when < 3)) || [[ $(<"$root/etc/f") == $'[s]\n[s]' && $(ls "$root/etc") == f ]] ||
                fail "$signal: $(ls "$root/etc") $(cat "$root/etc/f")"
        done
    done
    old_files
    printf '%03000d\n' 0 >>"$root/etc/f"
    cp "$root/etc/f" "$scratch/before"
    # shellcheck disable=SC2016
    expect_failure 6 '*: file too large*' bash -c 'ulimit -f 1; exec "$@"' bash "$TOOLS/morvctl" conf set /etc/f a=2
    cmp "$root/etc/f" "$scratch/before" || fail "the file is another"
    [[ $(ls "$root/etc") == f ]] || fail "$(ls "$root/etc")"
}

test_a_full_standard_output_is_a_failure() {
    [[ -c /dev/full ]] || { skip "there is no /dev/full"; return; }
    echo a=1 >"$root/etc/f"
    morvctl conf get /etc/f a >/dev/full 2>"$scratch/err"
    code=$?
    [[ $code == 5 && $(<"$scratch/err") == *'standard output: no space left on device' ]] || fail "$code $(<"$scratch/err")"
    get_key_value "$root/etc/f" a >/dev/full 2>"$scratch/err"
    code=$?
    [[ $code == 6 ]] || fail "get_key_value exited with $code"
}

run_tests
