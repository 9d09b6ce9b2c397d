#!/bin/bash
# What the commands do, print and refuse.
# shellcheck source=tests/tools/harness.sh
. "$(dirname "$0")/harness.sh"

test_wrong_usage_exits_with_2_and_names_the_help() {
    local arguments sentence
    while read -r arguments; do
        # shellcheck disable=SC2086  # several arguments
        expect_failure 2 'morvctl: *' morvctl $arguments
        [[ -z $out ]] || fail "morvctl $arguments printed $out"
    done <<'END'

nonsense
conf
conf nonsense
conf get
conf set /etc/f
conf set /etc/f key
conf set /etc/f a=1 a=2
conf get /etc/f --nonsense
conf set /etc/f a=1 --timeout -1
section get /etc/f
line find /etc/f
line set /etc/f --fields a --last b
line set /etc/f pattern
line find /etc/f a --prefix --suffix
line find /etc/f a --fields a
line add /etc/f x --before --after
lock run
lock run nonsense -- true
lock run 0x1 -- true
lock run 0x80000000 -- true
lock run pw,,gr -- true
END
    while IFS='|' read -r arguments sentence; do
        # shellcheck disable=SC2086
        expect_failure 2 "morvctl: $sentence --help')" morvctl $arguments
    done <<'END'
conf nonsense|there is no command 'nonsense' (try 'morvctl conf
conf|a command is missing (try 'morvctl conf
conf get|FILE is required (try 'morvctl conf get
conf get /etc/f a --lsat|there is no option '--lsat' (try 'morvctl conf get
section rename /etc/f a b c|'c' is an argument too many (try 'morvctl section rename
conf set /etc/f a=1 --timeout|--timeout needs SECONDS (try 'morvctl conf set
conf set /etc/f a 1|'a' is not of the form KEY=VALUE (try 'morvctl conf set
line replace /etc/f a|NEW is required (try 'morvctl line replace
line find /etc/f|PATTERN or --fields is required (try 'morvctl line find
END
    expect_failure 2 'usage: get_key_value FILE KEY' get_key_value
    expect_failure 2 'usage: get_key_value FILE KEY' get_key_value a b c
}

test_help_and_version_are_asked_for_on_every_level() {
    local command
    for command in "" conf section line store lock user group share mirror "user add" "share rights" "conf set" "section rename" "line add" "store dump" "lock run"; do
        # shellcheck disable=SC2086
        expect_code 0 morvctl $command --help
        [[ $out == *"Usage: morvctl"*"4  locked"* && -z $err ]] || fail "help of '$command' is '$out'"
    done
    expect_code 0 morvctl --version
    [[ $out == "morvctl "[0-9]* ]] || fail "$out"
}

test_conf_reads_values() {
    printf 'a = 1\n"b"="two words"\n#c=3\na=9\nbare\nempty=""\n' >"$root/etc/f"
    expect_output 1 morvctl conf get /etc/f a
    expect_output 9 morvctl conf get /etc/f a --last
    expect_output "two words" morvctl conf get /etc/f b
    expect_output "" morvctl conf get /etc/f empty
    expect_failure 1 'morvctl: cannot find the key c in /etc/f (ERR_KEY_NOT_FOUND)' morvctl conf get /etc/f c
    local value
    for value in '' ' x ' '"y"' $'w\r'; do
        expect_code 0 morvctl conf set /etc/v "k=$value" l=m
        expect_output "$value" morvctl conf get /etc/v k
        expect_code 0 morvctl section set /etc/v s "k=$value"
        expect_output "$value" morvctl section get /etc/v s k
    done
    expect_output none morvctl conf get /etc/f c --default none
    expect_output $'a = 1\nb = two words' morvctl conf get /etc/f a b
    expect_output $'a     = 9\nb     = two words\nempty = ' morvctl conf get /etc/f
    expect_output $'a\nb\nempty' morvctl conf keys /etc/f
    expect_failure 6 'morvctl: cannot read /etc/g: no such file or directory (ERR_OPEN_FAILED)' morvctl conf get /etc/g a
    expect_failure 6 'morvctl: cannot read /etc: *(ERR_OPEN_FAILED)' morvctl conf get /etc a
    expect_output 1 get_key_value "$root/etc/f" a
    expect_code 1 get_key_value "$root/etc/f" c
    [[ -z $out$err ]] || fail "get_key_value said '$out$err' of a missing key"
    expect_failure 6 'get_key_value: cannot read */etc/g: No such file or directory (ERR_OPEN_FAILED)' \
        get_key_value "$root/etc/g" a
}

test_values_of_any_length_are_read_whole() {
    local value
    value=$(printf 'x%.0s' {1..20000})
    echo "a=$value" >"$root/etc/f"
    expect_output "$value" morvctl conf get /etc/f a
    expect_output "$value" get_key_value "$root/etc/f" a
    expect_output "a=$value" morvctl line find /etc/f a=
}

test_names_of_commands_and_brackets_are_plain_values() {
    expect_code 0 morvctl conf set /etc/f conf=set set=conf get=keys '[a,b]=[c,d]'
    expect_output set morvctl conf get /etc/f conf
    expect_output keys morvctl conf get /etc/f get
    expect_output '[c,d]' morvctl conf get /etc/f '[a,b]'
    expect_code 0 morvctl conf set /etc/g '[k=v,w]'
    expect_output 'v,w]' morvctl conf get /etc/g '[k'
    expect_code 0 morvctl conf set /etc/h -- --dry-run=1
    expect_output 1 morvctl conf get /etc/h -- --dry-run
    expect_output '[x,y] {} --help' morvctl lock run pw -- echo '[x,y]' '{}' --help
}

test_conf_set_changes_just_the_lines_of_the_keys() {
    printf '# top\n a =1\nb=2\na=3\nlast=4' >"$root/etc/f"
    expect_code 0 morvctl conf set /etc/f a=new
    [[ $(<"$root/etc/f") == $'# top\n a =new\nb=2\nlast=4' && -n $(tail -c1 "$root/etc/f") ]] ||
        fail "it holds $(<"$root/etc/f")"
    expect_code 0 morvctl conf set /etc/f c=5 --quote
    expect_file "$root/etc/f" $'# top\n a =new\nb=2\nlast=4\nc="5"'
    printf 'a=1\nb=2\na=3\n' >"$root/etc/f"
    expect_code 0 morvctl conf set /etc/f a=x b=y
    expect_file "$root/etc/f" $'a=x\nb=y'
    [[ -z $out$err ]] || fail "it said '$out$err'"
}

test_conf_unset_and_merge() {
    printf 'a=1\nb=2\n#b=2\nb=3\nc=4\n' >"$root/etc/f"
    expect_failure 1 '*the key d *' morvctl conf unset /etc/f b d
    expect_file "$root/etc/f" $'a=1\n#b=2\nc=4'
    printf 'c=5\n\nno pair\nd="6"\n' >"$root/etc/from"
    expect_code 0 morvctl conf merge /etc/f /etc/from
    expect_file "$root/etc/f" $'a=1\n#b=2\nc=5\nd=6'
    expect_code 0 morvctl conf merge /etc/f - <<<'a=7'
    expect_file "$root/etc/f" $'a=7\n#b=2\nc=5\nd=6'
    expect_failure 6 '*cannot read /etc/none: *' morvctl conf merge /etc/f /etc/none
    expect_failure 3 "*the key '#x' *" morvctl conf merge /etc/f - <<<' #x=1'
}

test_what_could_not_be_read_back_is_refused() {
    local pair
    echo a=1 >"$root/etc/f"
    for pair in =v '#k=v' ';k=v' ' k=v' '"k"=v' $'k\n=v' $'k=v\nw=x'; do
        expect_failure 3 'morvctl: *' morvctl conf set /etc/f "$pair"
        expect_failure 3 'morvctl: *' morvctl section set /etc/f s "$pair"
    done
    expect_failure 3 'morvctl: *' morvctl section set /etc/f s '[k=v]'
    expect_failure 3 'morvctl: a key is empty' morvctl conf get /etc/f ''
    expect_failure 3 'morvctl: a key is empty' morvctl conf unset /etc/f a ''
    expect_failure 3 'morvctl: a key is empty' morvctl section get /etc/f s ''
    for name in 'a]' $'a\nb' '' ' a'; do
        expect_failure 3 'morvctl: *' morvctl section set /etc/f "$name" k=v
    done
    expect_failure 3 'morvctl: *' morvctl line add /etc/f $'a\nb'
    expect_failure 3 'morvctl: *' morvctl line set /etc/f a $'a\nb'
    expect_failure 3 'morvctl: *' morvctl line replace /etc/f a $'a\nb'
    expect_failure 3 'morvctl: *' morvctl line replace /etc/f '' b
    expect_failure 3 'morvctl: *' morvctl line delete /etc/f ''
    expect_file "$root/etc/f" a=1
}

test_section_commands() {
    local before=$'; top\n[one]\n   key = 1\n; other = 2\n\n   other = 3\n[two]\n   key = 1\n   key2 = 1'
    echo "$before" >"$root/etc/f"
    expect_output $'one\ntwo' morvctl section list /etc/f
    expect_output $'key   = 1\nother = 3' morvctl section get /etc/f one
    expect_output 3 morvctl section get /etc/f one other
    expect_failure 1 '*the key none in section one of /etc/f (ERR_KEY_NOT_FOUND)' morvctl section get /etc/f one none
    expect_failure 1 '*the section none in /etc/f (ERR_SECTION_NOT_FOUND)' morvctl section get /etc/f none
    expect_code 0 morvctl section set /etc/f two key=x
    expect_file "$root/etc/f" "${before/two]$'\n'   key = 1/two]$'\n'   key = x}"
    expect_code 0 morvctl section set /etc/f one key=y new=z
    expect_file "$root/etc/f" \
        $'; top\n[one]\n   key = y\n; other = 2\n\n   other = 3\n   new = z\n[two]\n   key = x\n   key2 = 1'
    expect_failure 3 '*has a section two already (ERR_SECTION_EXISTS)' morvctl section rename /etc/f one two
    expect_failure 1 '*the section none *' morvctl section rename /etc/f none three
    expect_code 0 morvctl section rename /etc/f two three
    expect_output $'key  = x\nkey2 = 1' morvctl section get /etc/f three
    expect_code 0 morvctl section remove /etc/f one
    expect_file "$root/etc/f" $'; top\n; other = 2\n[three]\n   key = x\n   key2 = 1'
    expect_failure 1 '*the section one *' morvctl section remove /etc/f one
    expect_code 0 morvctl section set /etc/f four a=1 --quote
    expect_file "$root/etc/f" $'; top\n; other = 2\n[three]\n   key = x\n   key2 = 1\n[four]\na="1"'
    expect_code 0 morvctl section set /etc/made s a=1 b=2
    expect_file "$root/etc/made" $'[s]\na=1\nb=2'
}

test_sections_keep_the_line_ends_of_their_file() {
    printf '[s]\r\nk=\r\n' >"$root/etc/f"
    expect_code 0 morvctl section set /etc/f s k=val new=x
    expect_code 0 morvctl section set /etc/f t a=1
    expect_file "$root/etc/f" $'[s]\r\nk=val\r\nnew=x\r\n[t]\r\na=1\r'
    expect_code 0 morvctl section rename /etc/f s longer
    expect_file "$root/etc/f" $'[longer]\r\nk=val\r\nnew=x\r\n[t]\r\na=1\r'
}

test_every_section_of_a_name_is_renamed() {
    printf '[s]\n[s] \nk=1\n[sx]\n[s]' >"$root/etc/f"
    expect_code 0 morvctl section rename /etc/f s t
    [[ $(<"$root/etc/f") == $'[t]\n[t] \nk=1\n[sx]\n[t]' ]] || fail "$(cat "$root/etc/f")"
}

test_an_empty_value_reads_back() {
    expect_code 0 morvctl conf set /etc/f e=
    expect_output '' morvctl conf get /etc/f e
    expect_code 0 morvctl conf set /etc/f e=1 f= g=2
    expect_code 0 morvctl conf set /etc/f e= f= g=3
    expect_output $'e = \nf = \ng = 3' morvctl conf get /etc/f e f g
    expect_code 0 morvctl section set /etc/f s k=
    expect_output '' morvctl section get /etc/f s k
}

test_messages_and_labels_are_lines_whatever_a_name_holds() {
    local name=$'a\nb\e[31m\\'
    expect_failure 6 'morvctl: cannot read /etc/a\\nb\\x1b\[31m\\: no such file*' morvctl conf get "/etc/$name" k
    expect_failure 127 'morvctl: cannot run a\\nb\\x1b\[31m\\: no such file*' morvctl lock run pw -- "$name"
    expect_failure 2 'morvctl: there is no option *' morvctl conf get /etc/f $'--x\n\e'
    echo k=1 >"$root/etc/$name"
    expect_code 0 morvctl conf set "/etc/$name" k=2 --dry-run
    [[ $(wc -l <"$scratch/out") == 5 && ${out%%$'\n'*} == "--- /etc/a\\nb\\x1b[31m\\" ]] || fail "$out"
}

test_a_section_key_among_equal_lines_is_still_found() {
    printf '[a]\nk=1\n[b]\nk=1\n; note\nz=1\n[c]\nk=1\n' >"$root/etc/f"
    expect_code 0 morvctl section set /etc/f b k=2
    expect_output $'k = 2\nz = 1' morvctl section get /etc/f b
    expect_output 'k = 1' morvctl section get /etc/f a
    expect_output 'k = 1' morvctl section get /etc/f c
    [[ $(grep -c note "$root/etc/f") == 1 ]] || fail "$(cat "$root/etc/f")"
}

test_line_commands() {
    printf '#one\none\ntwo 1\ntwo 2\nx:y:z\n' >"$root/etc/f"
    expect_output one morvctl line find /etc/f one
    expect_output 'two 2' morvctl line find /etc/f TWO --last --ignore-case
    expect_output 'two 2' morvctl line find /etc/f 2 --suffix
    expect_output 'x:y:z' morvctl line find /etc/f --fields x::z --separator $':\n'
    expect_output 'two 1' morvctl line find /etc/f --fields two --separator ' '
    expect_failure 1 "morvctl: cannot find a line with 'wo' in /etc/f (ERR_KEY_NOT_FOUND)" morvctl line find /etc/f wo --prefix
    expect_failure 1 "*a line with the fields 'wo' in *" morvctl line find /etc/f --fields wo
    expect_code 0 morvctl line add /etc/f end
    expect_code 0 morvctl line add /etc/f top --before
    expect_code 0 morvctl line add /etc/f 'one+' one
    expect_code 0 morvctl line add /etc/f 'two-' two --before
    expect_code 0 morvctl line add /etc/f 'x+' --fields x
    expect_file "$root/etc/f" $'top\n#one\none\none+\ntwo-\ntwo 1\ntwo 2\nx:y:z\nx+\nend'
    expect_code 0 morvctl line set /etc/f two- three
    expect_code 0 morvctl line set /etc/f --fields x 'x:new'
    expect_code 0 morvctl line delete /etc/f top
    expect_code 0 morvctl line delete /etc/f --fields x
    expect_code 0 morvctl line replace /etc/f one ONE
    expect_file "$root/etc/f" $'#ONE\nONE\nONE+\nthree\ntwo 1\ntwo 2\nx+\nend'
    printf '# a:0\na:1\na:1\na:10\na:2\nb' >"$root/etc/f"
    expect_output a:2 morvctl line find /etc/f --fields a --last
    expect_code 0 morvctl line delete /etc/f --fields a --last
    expect_code 0 morvctl line delete /etc/f --fields a
    expect_code 0 morvctl line delete /etc/f --fields b
    expect_file "$root/etc/f" $'# a:0\na:1\na:10'
    expect_failure 1 '*' morvctl line set /etc/f none x
    expect_failure 1 '*' morvctl line delete /etc/f none
    expect_failure 1 '*' morvctl line replace /etc/f none x
}

test_a_last_line_without_line_feed_is_not_continued() {
    local command
    echo b=2 >"$root/etc/from"
    while read -r command; do
        printf '[s]\na=1' >"$root/etc/f"
        # shellcheck disable=SC2086
        expect_code 0 morvctl $command
        expect_file "$root/etc/f" $'[s]\na=1\nb=2'
    done <<'END'
conf set /etc/f b=2
conf merge /etc/f /etc/from
section set /etc/f s b=2
line add /etc/f b=2
line add /etc/f b=2 a
END
}

test_what_is_to_be_there_makes_no_missing_file() {
    local command
    while read -r command; do
        # shellcheck disable=SC2086
        expect_failure 6 'morvctl: cannot read /etc/none: no such file or directory (ERR_OPEN_FAILED)' morvctl $command
        [[ ! -e $root/etc/none ]] || fail "$command made the file"
    done <<'END'
conf get /etc/none
conf get /etc/none a
conf keys /etc/none
conf unset /etc/none a
conf merge /etc/f /etc/none
section list /etc/none
section get /etc/none s
section rename /etc/none s t
section remove /etc/none s
line find /etc/none a
line find /etc/none --fields a
line set /etc/none a b
line set /etc/none --fields a b
line delete /etc/none a
line replace /etc/none a b
store dump /etc/none
store get /etc/none a
END
}

test_json_documents_have_stable_shapes() {
    printf 'a=1\nb=x\\\x80"\n' >"$root/etc/f"
    expect_json() { # expect_json TEXT COMMAND...; blanks do not count
        local wanted=$1
        shift
        expect_code 0 "$@"
        [[ $(tr -d ' \n' <<<"$out") == "$wanted" ]] || fail "$* printed $out"
    }
    expect_json $'{"file":"/etc/f","pairs":{"a":"1","b":"x\\\\\xef\xbf\xbd\\""}}' morvctl --json conf get /etc/f
    expect_json '{"file":"/etc/f","pairs":{"a":"1"}}' morvctl conf --json get /etc/f a
    expect_json '{"file":"/etc/f","keys":["a","b"]}' morvctl conf keys /etc/f --json
    expect_json '{"file":"/etc/f","changed":1,"dry_run":false}' morvctl conf set /etc/f a=2 --json
    expect_json '{"file":"/etc/g","changed":1,"dry_run":true,"diff":"---/dev/null\n+++/etc/g\n@@-0,0+1@@\n+a=2\n"}' \
        morvctl conf set /etc/g a=2 --json --dry-run
    printf '[s]\na=1\n' >"$root/etc/f"
    expect_json '{"file":"/etc/f","sections":["s"]}' morvctl section list /etc/f --json
    expect_json '{"file":"/etc/f","section":"s","pairs":{"a":"1"}}' morvctl section get /etc/f s --json
    expect_json '{"file":"/etc/f","line":"a=1"}' morvctl line find /etc/f a --json
    expect_code 0 morvctl lock list --json
    [[ $out == *'"name": "morvinfo"'*'"bit": 2048'* ]] || fail "$out"
}

test_store_records_are_shown_by_meaning() {
    run under_test "$EXAMPLES/record_store" "$root/etc/store"
    [[ $code == 0 ]] || fail "record_store: $err"
    chmod 640 "$root/etc/store"
    expect_output '#CURRENT_UID      1027
#MORV@DEPRECATED  no
#MORV@SYNC@TIME   2023-11-14T22:13:20Z
#SHARE            [photo, music]
ADMIN             admin:1024:looks after the disks
ALICE             alice:1026:likes "quotes"\tand tabs
GUEST             guest:1025:visitors' morvctl store dump /etc/store
    [[ $(stat -c %a "$root/etc/store") == 640 ]] || fail "reading a store changed its mode"
    expect_output 1027 morvctl store get /etc/store '#CURRENT_UID'
    expect_failure 1 '*the record BOB in /etc/store (ERR_KEY_NOT_FOUND)' morvctl store get /etc/store BOB
    expect_code 0 morvctl store get /etc/store '#SHARE' --json
    [[ $out == *'"kind": "list"'*'"photo",'*'"music"'*'"key_hex": "23534841524500"'* ]] || fail "$out"
    expect_failure 6 '*cannot read /etc/none: *(ERR_OPEN_FAILED)' morvctl store dump /etc/none
    head -c 6000 "$root/etc/store" >"$root/etc/cut"
    expect_failure 6 '*cannot read /etc/cut: *(ERR_STORE_INVALID)' morvctl store dump /etc/cut
    echo text >"$root/etc/text"
    expect_failure 6 '*cannot read /etc/text: *(ERR_STORE_INVALID)' morvctl store dump /etc/text
}

test_the_root_holds_the_files_and_the_links_on_the_way() {
    unset MORV_ROOT
    mkdir "$root/data"
    echo a=1 >"$root/data/f"
    ln -s /data "$root/link"
    ln -s ../../../../link/f "$root/etc/f"
    expect_output 1 morvctl --root "$root" conf get /etc/f a
    expect_code 0 morvctl conf set --root "$root" /etc/f a=2
    expect_file "$root/data/f" a=2
    [[ -L $root/etc/f && -L $root/link ]] || fail "a link was replaced"
    ln -s loop "$root/etc/loop"
    expect_failure 6 '*too many levels*' morvctl --root "$root" conf get /etc/loop a
    expect_failure 6 '*as the system root: *' morvctl --root "$root/none" conf get /etc/f a
    export MORV_ROOT=$root
    expect_output 2 morvctl conf get /etc/f a
    cd "$root" || return
    expect_output 2 morvctl conf get data/f a
}

run_tests
