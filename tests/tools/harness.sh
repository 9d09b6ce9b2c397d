# What the tests of the tools share. A test script sources it, defines functions named test_..., and calls run_tests. The
# arguments of the script, if any, are the names of the tests to run.
#
# Environment: SOURCE, the tree; TOOLS and EXAMPLES, the folders of the programs; FAKE_MD and FAKE_NET, the libraries that
# play the kernel; EMULATOR, what they run under, if anything.
# shellcheck shell=bash
set -uo pipefail
export LC_ALL=C

failures=0
tests=$*
skipped=()

# Every program under test is called through a function of its name; where another program is to run it, by its words.
# shellcheck disable=SC2206  # the emulator comes with its options
emulator=(${EMULATOR-})
# shellcheck disable=SC2034  # for the scripts
morvctl_words=("${emulator[@]}" "$TOOLS/morvctl")
under_test() { "${emulator[@]}" "$@"; }
morvctl() { under_test "$TOOLS/morvctl" "$@"; }
get_key_value() { under_test "$TOOLS/get_key_value" "$@"; }
morvlogset1() { under_test "$TOOLS/morvlogset1" "$@"; }

fail() { # fail TEXT...
    failures=$((failures + 1))
    printf '%s:%s: %s: %s\n' "$0" "${BASH_LINENO[1]}" "$current" "$*"
}

skip() { # skip WHY...
    skipped+=("$current: $*")
}

# Runs a command; its output is in $out, its error output in $err, its exit code in $code.
run() {
    "$@" >"$scratch/out" 2>"$scratch/err"
    code=$?
    out=$(<"$scratch/out")
    err=$(<"$scratch/err")
    case $err in *Sanitizer* | *"runtime error"*) fail "$* broke: $err" ;; esac
}

expect_code() { # expect_code CODE COMMAND...
    local wanted=$1
    shift
    run "$@"
    [[ $code == "$wanted" ]] || fail "$* exited with $code, not $wanted: $err"
}

# A failing command says one sentence and nothing else.
expect_failure() { # expect_failure CODE PATTERN COMMAND...
    local wanted=$1 pattern=$2
    shift 2
    expect_code "$wanted" "$@"
    # shellcheck disable=SC2053  # a pattern, in which "*(" would be an operator
    [[ $err == ${pattern//(/\\(} ]] || fail "$* said '$err', not '$pattern'"
    [[ $(wc -l <"$scratch/err") == 1 ]] || fail "$* said more than a line: $err"
}

expect_output() { # expect_output TEXT COMMAND...
    local wanted=$1
    shift
    expect_code 0 "$@"
    [[ $out == "$wanted" ]] || fail "$* printed '$out', not '$wanted'"
}

expect_file() { # expect_file FILE TEXT; the text has no line feed at its end
    local content
    content=$(cat "$1" && echo .)
    [[ $content == "$2"$'\n.' ]] || fail "$1 holds '${content%.}', not '$2'"
}

# One value of the JSON document in $out, as "user name" or "users 0 name".
value() {
    python3 -c '
import json, sys
at = json.loads(sys.argv[1])
for step in sys.argv[2:]:
    at = at[int(step)] if isinstance(at, list) else at[step]
print(at if isinstance(at, str) else json.dumps(at))' "$out" "$@"
}

expect_value() { # expect_value WANTED STEP...
    local wanted=$1 found
    shift
    found=$(value "$@")
    [[ $found == "$wanted" ]] || fail "$* is $found, not $wanted"
}

run_tests() {
    local outer
    outer=$(mktemp -d)
    # shellcheck disable=SC2064
    trap "rm -rf '$outer'" EXIT
    for current in ${tests:-$(compgen -A function test_)}; do
        scratch=$outer/$current
        root=$scratch/root
        mkdir -p "$root/etc" "$scratch/tmp"
        export TMPDIR=$scratch/tmp MORV_ROOT=$root
        "$current"
        [[ -z $(ls -A "$scratch/tmp") ]] || fail "left in the temporary folder: $(ls -A "$scratch/tmp")"
    done
    ((${#skipped[@]} == 0)) || printf 'SKIPPED %s\n' "${skipped[@]}"
    ((failures == 0))
    exit
}
