# Completion of morvctl for bash.
#
# Commands, options and operands are read from `morvctl ... --help`, so that nothing here can go out of step with the
# program; keys, sections, records and locks are asked of the program as well.
# shellcheck shell=bash

# A word of the command line as the program would get it, without running anything that stands in it.
_morvctl_plain() {
    local word=$1
    [[ $word == \~/* ]] && word=$HOME${word:1}
    word=${word//[\"\']/}
    printf '%s' "${word//\\/}"
}

# The entries in one part of a help text, one a line: "--root DIR", "FILE REQUIRED", "KEY ...".
_morvctl_entries() { # _morvctl_entries HELP PART
    local line part=
    while IFS= read -r line; do
        case $line in
            [A-Z]*:) part=${line%:} ;;
            "  "[!\ ]*)
                line=${line#  }
                [[ $part == "$2" ]] && printf '%s\n' "${line%%  *}"
                ;;
        esac
    done <<<"$1"
}

# The names of a command's operands in their order, "..." behind one that may be given often.
_morvctl_operands() { # _morvctl_operands HELP
    local name
    for name in $(_morvctl_entries "$1" Positionals); do
        name=${name//[][]/}
        [[ $name == REQUIRED ]] || printf '%s\n' "$name"
    done
}

# Adds those of the lines of standard input that begin with what is typed.
_morvctl_offer() { # _morvctl_offer TYPED [BEFORE] [BEHIND]
    local line typed
    typed=$(_morvctl_plain "$1")
    while IFS= read -r line; do
        [[ -n $line && $line == "$typed"* ]] || continue
        # What was begun in quotes stays in quotes.
        [[ $1 == [\"\']* ]] || printf -v line %q "$line"
        COMPREPLY+=("${2-}$line${3-}")
    done
}

# Files and folders, an absolute name being one below the root.
_morvctl_offer_files() { # _morvctl_offer_files ROOT TYPED
    local found typed
    typed=$(_morvctl_plain "$2")
    if [[ -z $1 || $typed != /* ]]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$typed")
        return
    fi
    compopt -o nospace
    while IFS= read -r found; do
        found=${found#"$1"}
        if [[ -d $1$found ]]; then
            _morvctl_offer "$2" "" / <<<"$found"
        else
            _morvctl_offer "$2" "" " " <<<"$found"
        fi
    done < <(compgen -f -- "$1$typed")
}

_morvctl() {
    local program=$1 line=${COMP_LINE:0:COMP_POINT} word rest i words=()
    COMPREPLY=()
    # bash cuts words at "=" and ":" as well; what no blank separates is one word here.
    for ((i = 0; i <= COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        rest=${line#"${line%%[![:blank:]]*}"}
        ((i < COMP_CWORD)) || word=$rest
        if ((i > 0)) && [[ $rest == "$line" ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
        line=${rest#"$word"}
    done
    local typed=${words[-1]}
    unset 'words[-1]' 'words[0]'

    # What the words before this one have chosen, and what is still to come.
    local help name option='' ended='' root=${MORV_ROOT-} commands=() operands=() subcommands
    help=$("$program" --help 2>/dev/null) || return 0
    subcommands=$(_morvctl_entries "$help" Subcommands)
    for word in "${words[@]}"; do
        if [[ -n $option ]]; then
            [[ $option != "--root DIR" ]] || root=$(_morvctl_plain "$word")
            option=
        elif [[ -z $ended && $word == -- ]]; then
            ended=yes
        elif [[ -z $ended && $word == --root=* ]]; then
            root=$(_morvctl_plain "${word#*=}")
        elif [[ -z $ended && $word == -* ]]; then
            option=$(_morvctl_entries "$help" Options | sed 's/ REQUIRED$//' | grep -m1 -xE -e "$word [^ ]+")
        elif [[ -n $subcommands ]]; then
            grep -qxF -e "$word" <<<"$subcommands" || return 0
            commands+=("$word")
            help=$("$program" "${commands[@]}" --help 2>/dev/null) || return 0
            subcommands=$(_morvctl_entries "$help" Subcommands)
        else
            operands+=("$(_morvctl_plain "$word")")
        fi
    done
    local ask=("$program")
    [[ -z $root ]] || ask+=(--root "$root")

    if [[ -z $ended && -z $option && $typed == --root=* ]]; then
        # bash has cut behind the "=".
        option="--root DIR"
        typed=${typed#*=}
    fi
    if [[ -n $option ]]; then
        case ${option##* } in
            DIR)
                compopt -o filenames
                mapfile -t COMPREPLY < <(compgen -d -- "$(_morvctl_plain "$typed")")
                ;;
            USER) _morvctl_offer "$typed" < <("${ask[@]}" user list --names 2>/dev/null) ;;
            GROUP) _morvctl_offer "$typed" < <("${ask[@]}" group list --names 2>/dev/null) ;;
            LEVEL) _morvctl_offer "$typed" <<<$'raid0\nraid1\nraid5\nraid6\nlinear' ;;
            KIB) _morvctl_offer "$typed" <<<max ;;
            TYPE) _morvctl_offer "$typed" <<<$'info\nwarn\nerror' ;;
            LANG) _morvctl_offer "$typed" < <(ls "$root/usr/morv/morvsdk/texts" 2>/dev/null) ;;
            FILE) _morvctl_offer_files "$root" "$typed" ;;
            ACCESS) _morvctl_offer "$typed" <<<$'ro\nrw\nnone' ;;
            KINDS)
                local before=
                [[ $typed != *,* ]] || before=${typed%,*},
                compopt -o nospace
                help=$("$program" backup --help 2>/dev/null)
                _morvctl_offer "${typed##*,}" "$before" < <(_morvctl_entries "$help" Kinds | cut -d' ' -f1)
                ;;
        esac
        return 0
    fi
    if [[ -z $ended && $typed == -* ]]; then
        _morvctl_offer "$typed" < <(_morvctl_entries "$help" Options | cut -d' ' -f1 | tr , '\n')
        return 0
    fi
    if [[ -n $subcommands ]]; then
        _morvctl_offer "$typed" <<<"$subcommands"
        return 0
    fi

    local names file=${operands[0]-}
    mapfile -t names < <(_morvctl_operands "$help")
    if ((${#operands[@]} < ${#names[@]})); then
        name=${names[${#operands[@]}]}
    else
        name=${names[*]: -1}
    fi
    # One that repeats stands for all that follow.
    [[ $name != ... ]] || name=${names[-2]}
    [[ -n $name ]] || return 0
    case ${commands[0]}:$name in
        backup:FILE)
            _morvctl_offer_files "" "$typed"
            ;;
        *:FILE | *:FROM | log:OUTPUT)
            _morvctl_offer_files "$root" "$typed"
            ;;
        conf:KEY)
            _morvctl_offer "$typed" < <("${ask[@]}" conf keys -- "$file" 2>/dev/null)
            ;;
        conf:KEY=VALUE)
            compopt -o nospace
            [[ $typed == *=* ]] || _morvctl_offer "$typed" "" = < <("${ask[@]}" conf keys -- "$file" 2>/dev/null)
            ;;
        section:SECTION)
            _morvctl_offer "$typed" < <("${ask[@]}" section list -- "$file" 2>/dev/null)
            ;;
        section:KEY | section:KEY=VALUE)
            local behind=
            [[ $name == KEY ]] || { behind='=' && compopt -o nospace; }
            [[ $typed == *=* ]] || _morvctl_offer "$typed" "" "$behind" < <(
                "${ask[@]}" section get -- "$file" "${operands[1]}" 2>/dev/null | sed 's/ *= .*//'
            )
            ;;
        store:KEY)
            _morvctl_offer "$typed" < <("${ask[@]}" store dump -- "$file" 2>/dev/null | sed 's/  .*//')
            ;;
        user:USER | user:PREFIX | share:USER)
            _morvctl_offer "$typed" < <("${ask[@]}" user list --all --names 2>/dev/null)
            ;;
        group:GROUP | group:PREFIX)
            _morvctl_offer "$typed" < <("${ask[@]}" group list --all --names 2>/dev/null)
            ;;
        share:SHARE)
            _morvctl_offer "$typed" < <("${ask[@]}" share list --names 2>/dev/null)
            ;;
        share:ACTION)
            _morvctl_offer "$typed" <<<$'clean\nstop\nstatus'
            ;;
        mirror:MIRROR)
            _morvctl_offer "$typed" <<<$'user\ngroup\nshare\nall'
            ;;
        raid:ARRAY)
            _morvctl_offer "$typed" < <("${ask[@]}" raid list --names 2>/dev/null)
            ;;
        volume:PATH)
            _morvctl_offer "$typed" < <("${ask[@]}" volume list --names 2>/dev/null)
            ;;
        raid:MEMBER | raid:DEVICE | volume:DEVICE)
            _morvctl_offer_files "$root" "${typed:-/dev/}"
            ;;
        log:LOG)
            _morvctl_offer "$typed" < <("${ask[@]}" log list --names 2>/dev/null)
            ;;
        log:TYPE)
            _morvctl_offer "$typed" <<<$'info\nwarn\nerror'
            ;;
        block:ADDRESS | block:CLIENT)
            _morvctl_offer "$typed" < <("${ask[@]}" block list 2>/dev/null | sed '1d; s/ .*//')
            ;;
        block:NAME=VALUE)
            compopt -o nospace
            [[ $typed == *=* ]] || _morvctl_offer "$typed" <<<$'attempts=\nminutes=\ndays=\nnotify=\nallow=\ndefault'
            ;;
        net:INTERFACE)
            _morvctl_offer "$typed" < <("${ask[@]}" net interfaces --names 2>/dev/null)
            ;;
        net:KIND)
            _morvctl_offer "$typed" <<<$'ip\nmask\nsubnet\nhost\ndomain\nmail'
            ;;
        service:SERVICE)
            _morvctl_offer "$typed" < <("${ask[@]}" service list 2>/dev/null | sed '1d; s/^[^ ]* *//; s/ .*//' | sort -u)
            ;;
        service:SETTING)
            _morvctl_offer "$typed" < <("${ask[@]}" service settings 2>/dev/null | sed '1d; s/ .*//')
            ;;
        lock:LOCKS)
            local before=
            [[ $typed != *,* ]] || before=${typed%,*},
            compopt -o nospace
            _morvctl_offer "${typed##*,}" "$before" < <("$program" lock list 2>/dev/null | cut -d' ' -f1)
            ;;
        lock:COMMAND)
            if ((${#operands[@]} == 1)); then
                mapfile -t COMPREPLY < <(compgen -c -- "$(_morvctl_plain "$typed")")
            else
                _morvctl_offer_files "" "$typed"
            fi
            ;;
    esac
    # bash puts what is offered behind the last place where it has cut.
    local cut=${typed%"${typed##*[=:]}"}
    [[ $typed == [\"\']* ]] || COMPREPLY=("${COMPREPLY[@]#"$cut"}")
}

complete -F _morvctl morvctl
