# Completion of morvlogset1 for bash.
# shellcheck shell=bash

_morvlogset1() {
    local words=
    case $COMP_CWORD in
        1) words="sys man conn bkp copy netbkp sur --help" ;;
        2) words="info warn err" ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "${COMP_WORDS[COMP_CWORD]}")
}

complete -F _morvlogset1 morvlogset1
