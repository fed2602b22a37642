# shellcheck shell=bash
# Bash completion for ./qbx: commands and options, from its help.
#   source qbx-completion.bash

_qbx() {
    local qbx=$1 command=${COMP_WORDS[1]} words=$2
    if [[ $COMP_CWORD -eq 1 ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("$qbx" --help | sed -n 's/^  \([a-z-]*\)  .*/\1/p')" -- "$words")
    elif [[ $words == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("$qbx" "$command" --help | grep -o -- '--[a-z-]*' | sort -u)" \
            -- "$words")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$words")
    fi
}
complete -o filenames -F _qbx qbx ./qbx
