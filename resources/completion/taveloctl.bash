# SPDX-License-Identifier: MIT
# Completion of taveloctl for bash; taveloctl itself knows the words.

_taveloctl() {
    local line=${COMP_LINE:0:COMP_POINT} words=() current kept='' word rest
    read -ra words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=('')
    current=${words[-1]}
    # bash replaces only what follows the last "=".
    [[ $COMP_WORDBREAKS == *=* && $current == *=* ]] && kept=${current%=*}=
    COMPREPLY=()
    while IFS=$'\t' read -r word rest; do
        COMPREPLY+=("${word#"$kept"}")
    done < <("${words[0]}" complete "${words[@]:1}" 2>/dev/null)
    [[ ${COMPREPLY[0]-} == *= ]] && compopt -o nospace 2>/dev/null
    return 0
}
complete -o default -F _taveloctl taveloctl
