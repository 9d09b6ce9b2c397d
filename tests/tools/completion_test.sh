#!/bin/bash
# What bash offers when a command line is begun, and that help, manual and completion name the same things.
# shellcheck source=tests/tools/harness.sh
. "$(dirname "$0")/harness.sh"

# bash knows it only while it completes.
compopt() { mode=$2; }
# shellcheck source=tools/completion/morvctl.bash
. "$SOURCE/tools/completion/morvctl.bash"

# Calls the completion as bash does: words are cut at blanks, and "=" and ":" are words of their own.
offered() { # offered LINE
    COMP_LINE="morvctl $1"
    COMP_POINT=${#COMP_LINE}
    mapfile -t COMP_WORDS < <(grep -oE '[=:]+|(\\.|[^ =:\\])+' <<<"$COMP_LINE")
    [[ $COMP_LINE == *[!\\]' ' ]] && COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    mode=none
    _morvctl morvctl
}

expect_offer() { # expect_offer LINE TEXT: what is offered, sorted, with | between
    offered "$1"
    local all
    all=$( ((${#COMPREPLY[@]} == 0)) || printf '%s\n' "${COMPREPLY[@]}" | sort | paste -sd'|')
    [[ $all == "$2" ]] || fail "'$1' offers '$all', not '$2'"
}

# Calls `$1 COMMAND... -- NAME...` for every command, with the names of the options that its help shows.
for_each_command() {
    local family command names
    help_names() { sed -nE "/^$1:/,/^\$/s/^  (-?[-a-z,]+) .*/\1/p" | tr , '\n'; }
    for family in $(morvctl --help | help_names Subcommands); do
        for command in $(morvctl "$family" --help | help_names Subcommands); do
            mapfile -t names < <(morvctl "$family" "$command" --help | help_names Options)
            ((${#names[@]} >= 4)) || fail "the help of $family $command shows the options ${names[*]}"
            "$1" "$family" "$command" -- "${names[@]}"
            count=$((count + 1))
        done
    done
}

test_every_command_and_option_is_offered_and_in_the_manual() {
    local count=0
    manual=$(sed -E 's/ ?, ?/ /g' "$SOURCE/docs/man/morvctl.1")
    check() { # check FAMILY COMMAND -- OPTION...
        local family=$1 command=$2 option
        shift 3
        expect_offer "$family $command -" "$(printf '%s\n' "$@" | sort | paste -sd'|')"
        offered "$family "
        [[ " ${COMPREPLY[*]} " == *" $command "* ]] || fail "$family does not offer $command"
        [[ $manual == *".It Cm $family $command"* ]] || fail "the manual lacks $family $command"
        for option; do
            [[ $manual == *" Fl ${option#-}"[\ $'\n']* ]] || [[ $manual == *" ${option#-}"[\ $'\n']* ]] ||
                fail "the manual lacks $option of $family $command"
        done
    }
    for_each_command check
    ((count >= 60)) || fail "the help shows $count commands"
}

test_words_are_offered_by_their_place() {
    expect_offer "" 'backup|block|conf|group|line|lock|log|mirror|net|raid|section|service|share|store|user|volume'
    expect_offer "co" conf
    expect_offer "--json con" conf
    expect_offer "--root /tmp conf g" get
    expect_offer "conf --json m" merge
    expect_offer "nonsense " ""
    expect_offer "conf nonsense " ""
    expect_offer "conf set f a=1 --time" --timeout
    expect_offer "conf set f a=1 --timeout " ""
    expect_offer "conf set f a=1 -- --" ""
    expect_offer "line set f " ""
    expect_offer "lock run mo" morvinfo
    expect_offer "lock run pw,sm" pw,smb
    expect_offer "lock run pw -- /bin/s" "$(compgen -c -- /bin/s | sort | paste -sd'|')"
    expect_offer "lock list " ""
    expect_offer "mirror rebuild " 'all|group|share|user'
    expect_offer "share recycle s" 'status|stop'
    expect_offer "share set x --access r" 'ro|rw'
    expect_offer "raid create md2 --level raid" 'raid0|raid1|raid5|raid6'
    expect_offer "raid expand md2 --size " max
    expect_offer "log show s" 'surveillance|system'
    expect_offer "log add system w" warn
    expect_offer "log show system --type e" error
    expect_offer "net validate m" 'mail|mask'
    expect_offer "backup inspect x --only time,us" 'time,usbcopyset|time,user|time,userquota'
}

test_files_below_the_root_are_offered() {
    mkdir "$root/etc/conf.d" "$root/etc/two words" "$scratch/here"
    : >"$root/etc/one.conf"
    : >"$scratch/here/own.conf"
    cd "$scratch/here" || return
    expect_offer "conf get /etc/" '/etc/conf.d/|/etc/one.conf |/etc/two\ words/'
    expect_offer "conf get /etc/two\\ w" '/etc/two\ words/'
    expect_offer "log show --file /etc/o" '/etc/one.conf '
    expect_offer "conf get o" own.conf
    [[ $mode == filenames ]] || fail "bash does not know that these are files"
    unset MORV_ROOT
    expect_offer "--root $root conf merge /etc/a /etc/o" '/etc/one.conf '
    expect_offer "--root=$root conf merge /etc/a /etc/o" '/etc/one.conf '
    expect_offer "conf get $root/etc/o" "$root/etc/one.conf"
    expect_offer "--root $root/et" "$root/etc"
    expect_offer "--root=$root/et" "$root/etc"
}

test_keys_sections_and_records_are_offered() {
    printf 'name=x\nnet=y\n#no=1\n' >"$root/etc/f"
    printf '[one]\nkey = 1\nkey two = 2\n[my share]\n' >"$root/etc/s"
    expect_offer "conf get /etc/f " 'name|net'
    expect_offer "conf get /etc/f name ne" net
    expect_offer "conf unset /etc/f na" name
    expect_offer "conf set /etc/f n" 'name=|net='
    [[ $mode == nospace ]] || fail "a blank would stand behind the ="
    expect_offer "conf set /etc/f name=" ""
    expect_offer "conf set /etc/f name=x ne" net=
    expect_offer "conf get /etc/none " ""
    expect_offer "section get /etc/s " 'my\ share|one'
    expect_offer "section get /etc/s my\\ s" 'my\ share'
    expect_offer "section get /etc/s one key" 'key|key\ two'
    expect_offer "section set /etc/s one key" 'key=|key\ two='
    expect_offer "section rename /etc/s one " ""
    run under_test "$EXAMPLES/record_store" "$root/etc/store"
    expect_offer "store get /etc/store A" 'ADMIN|ALICE'
}

test_accounts_are_offered() {
    cp -r "$SOURCE/examples/appliance/." "$root"
    expect_offer "user show a" 'admin|alice'
    expect_offer "user rename alice a" ""
    expect_offer "user add x --gid w" writers
    expect_offer "group set writers --add-member al" alice
    expect_offer "group show acc" accounts
    expect_offer "share rights " 'books|public'
    expect_offer "share rights books alice b" bob
}

test_arrays_devices_and_volumes_are_offered() {
    if ((${#emulator[@]})); then
        skip "under an emulator nobody plays the kernel"
        return
    fi
    "$SOURCE/tests/support/fake_storage" "$root" sda
    "$root/sbin/mdadm" -C "$root/dev/md2" -l0 -n1 "$root/dev/sda3"
    local -x LD_PRELOAD=$FAKE_MD ASAN_OPTIONS=${ASAN_OPTIONS-}:verify_asan_link_order=0
    expect_offer "raid show " /dev/md2
    expect_offer "raid add md2 " '/dev/md2 |/dev/sda |/dev/sda1 |/dev/sda2 |/dev/sda3 '
    expect_offer "raid scan /dev/sda1 /dev/sda" '/dev/sda |/dev/sda1 |/dev/sda2 |/dev/sda3 '
    expect_offer "volume mount /dev/m" '/dev/md2 '
    expect_offer "volume show " /volume1
}

test_interfaces_are_offered() {
    if ((${#emulator[@]})); then
        skip "under an emulator nobody plays the kernel"
        return
    fi
    "$SOURCE/tests/support/fake_network" "$root" eth0 eth1
    local -x LD_PRELOAD=$FAKE_NET ASAN_OPTIONS=${ASAN_OPTIONS-}:verify_asan_link_order=0
    expect_offer "net show " 'eth0|eth1'
}

test_nothing_on_the_command_line_is_run() {
    # shellcheck disable=SC2016  # that is the point
    for word in '$(touch$IFS'"$scratch"'/ran)' '`touch$IFS'"$scratch"'/ran`' '${x[$(touch$IFS'"$scratch"'/ran)]}'; do
        offered "conf get $word "
        offered "conf get $word"
        offered "$word "
        offered "--root $word conf get /etc/"
        offered "lock run $word"
    done
    [[ ! -e $scratch/ran ]] || fail "a command was run"
}

run_tests
