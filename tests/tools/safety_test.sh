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

test_a_held_lock_ends_with_exit_code_4() {
    echo a=1 >"$root/etc/morvinfo.conf"
    ln -s morvinfo.conf "$root/etc/alias.conf"
    local name
    for name in morvinfo alias; do
        expect_failure 4 "morvctl: cannot lock /etc/$name.conf: another program holds the lock (ERR_LOCK_FAILED)" \
            morvctl lock run morvinfo -- "${morvctl_words[@]}" conf set --timeout 0 "/etc/$name.conf" a=2
    done
    expect_code 0 morvctl lock run pw -- "${morvctl_words[@]}" conf set --timeout 0 /etc/morvinfo.conf a=3
    expect_output 3 morvctl lock run morvinfo -- "${morvctl_words[@]}" conf get /etc/morvinfo.conf a
    expect_failure 4 '*take the lock pw: another program holds the lock (ERR_LOCK_FAILED)' \
        morvctl lock run 0x30 --shared -- "${morvctl_words[@]}" lock run pw --timeout 0 -- true
    expect_code 0 \
        morvctl lock run pw --shared -- "${morvctl_words[@]}" lock run pw --shared --timeout 0 -- true
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

# A file's own lock, held by someone else.
test_the_lock_of_any_other_file_is_never_the_file_itself() {
    expect_code 0 morvctl conf set /etc/other.conf a=1
    local locks
    locks=("$root"/tmp/lock/file_*)
    ((${#locks[@]} == 1)) || fail "${locks[*]}"
    exec 9<"${locks[0]}"
    flock -x 9
    expect_failure 4 '*cannot lock /etc/other.conf: *' morvctl conf set --timeout 0 /etc/other.conf a=2
    expect_code 0 morvctl conf set --timeout 0 --dry-run /etc/other.conf a=2
    exec 9<&-
    expect_code 0 morvctl conf set --timeout 0 /etc/other.conf a=2
    # A link in its place is not followed.
    rm "${locks[0]}"
    ln -s "$scratch/victim" "${locks[0]}"
    expect_failure 6 '*cannot lock /etc/other.conf: *(ERR_OPEN_FAILED)' morvctl conf set /etc/other.conf a=3
    [[ ! -e $scratch/victim ]] || fail "the link was followed"
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

test_a_failing_system_call_leaves_the_old_file() {
    if ((${#emulator[@]})) || ! strace -o /dev/null true 2>/dev/null; then
        skip "strace cannot trace the tool here"
        return
    fi
    local command file calls errno wanted name pattern write when
    # The leak checker traces, too, and a process has one tracer.
    export ASAN_OPTIONS=detect_leaks=0
    old_files() {
        printf 'a=1\n[s]\nk=1\n' >"$root/etc/f"
        rm -f "$root/etc/new"
    }
    for command in 'conf set /etc/f a=2' 'conf set /etc/f a=2 b=3' 'conf set /etc/f b=3' 'conf unset /etc/f a' \
        'section set /etc/f s k=2' 'section rename /etc/f s t' 'section remove /etc/f s' 'line set /etc/f a b' \
        'line delete /etc/f a' 'line replace /etc/f a b' 'conf set /etc/new a=1'; do
        read -r _ _ file _ <<<"$command"
        # Which of its writes is the first one into the folder: messages and sanitizers write as well.
        old_files
        # shellcheck disable=SC2086
        strace -y -o "$scratch/trace" -e trace=write "$TOOLS/morvctl" $command
        write=$(awk -v folder="<$root/etc/" '{ ++n } index($1, folder) { print n; exit }' "$scratch/trace")
        [[ -n $write ]] || fail "$command writes nothing"
        while read -r calls errno wanted name pattern; do
            # A new file has no owner and mode to be given.
            [[ $calls$file != ?fchmod/etc/new ]] || continue
            when=1+
            [[ $calls != write ]] || when=$write
            old_files
            # shellcheck disable=SC2086
            expect_failure "$wanted" "morvctl: cannot write $file: ${pattern//_/ } (ERR_$name)" \
                strace -o /dev/null -e trace="$calls" -e inject="$calls:error=$errno:when=$when" "$TOOLS/morvctl" $command
            expect_file "$root/etc/f" $'a=1\n[s]\nk=1'
            [[ $(ls "$root/etc") == f ]] || fail "$calls $errno: $command left $(ls "$root/etc")"
        done <<'END'
write ENOSPC 5 WRITE_FAILED no_space_left_on_device
write EDQUOT 5 WRITE_FAILED disk_quota_exceeded
write EIO 6 WRITE_FAILED input/output_error
?fsync,?fdatasync EIO 6 WRITE_FAILED input/output_error
?fsync,?fdatasync ENOSPC 5 WRITE_FAILED no_space_left_on_device
?fchmod EIO 6 WRITE_FAILED input/output_error
?rename,?renameat,?renameat2 EIO 6 RENAME_FAILED input/output_error
?rename,?renameat,?renameat2 EACCES 6 RENAME_FAILED permission_denied
END
    done
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
