# Completion of arborctl for bash. The tool lists the candidates for the next argument ("arborctl __complete"); this file
# removes the quotes from the command line before, and quotes the candidates after.

# Splits a command line into `words` without their quotes; the last one may be empty. Sets `kept` to the part of the last
# word that readline doesn't replace, and `quote` to the quote that is open at the end.
_arborctl_split() {
    local line=$1 word='' started='' before='' char i
    words=() kept='' quote=''
    for ((i = 0; i < ${#line}; i++)); do
        char=${line:i:1}
        case $quote$char in
            "''" | '""') quote='' kept=$before ;;
            '\'* | '"\'*)
                ((++i))
                [[ $quote && ${line:i:1} != [\"\\\$\`] ]] && word+=\\
                word+=${line:i:1} started=1
                ;;
            \' | \") quote=$char before=$kept kept=$word started=1 ;;
            [[:blank:]])
                [[ -z $started ]] || words+=("$word")
                word='' started='' kept=''
                ;;
            '~')
                [[ $started || ${line:i+1:1} != / ]] || char=$HOME
                word+=$char started=1
                ;;
            *)
                word+=$char started=1
                [[ $quote || $COMP_WORDBREAKS != *"$char"* ]] || kept=$word
                ;;
        esac
    done
    words+=("$word")
}

# Sets `quoted` to $1 with the escapes that it needs after the open quote $2, or outside quotes if $2 is empty.
_arborctl_quote() {
    local char i special
    case $2 in
        \') special='[]' ;;
        \") special='["\\$`]' ;;
        *) special='[] '\''"\\$`!&()*;<>?[{}|#~]' ;;
    esac
    quoted=''
    for ((i = 0; i < ${#1}; i++)); do
        char=${1:i:1}
        # shellcheck disable=SC2053 # a pattern
        [[ $char != $special ]] || quoted+=\\
        [[ $2$char != "''" ]] || char="'\''"
        quoted+=$char
    done
    [[ $2 != \' || $quoted != \'* ]] || quoted=\'$quoted   # readline drops a quote that repeats the open one
}

# Sets `common` to the longest common prefix of the arguments.
_arborctl_common() {
    local each
    common=$1
    for each; do
        while [[ $each != "$common"* ]]; do common=${common%?}; done
    done
}

# Sets COMPREPLY to the quoted candidates.
_arborctl_reply() {
    local each quoted common shared
    for each; do
        _arborctl_quote "${each:${#kept}}" "$quote"   # the case of letters may differ from that of the word
        COMPREPLY+=("$quoted")
    done
    if (($# == 1)); then
        [[ -z $quote || $quoted != *"$quote" ]] || COMPREPLY=("$quoted$quote")   # readline treats this quote as the closing one
        [[ $1 != */ ]] || compopt -o nospace
        return
    fi
    _arborctl_common "${COMPREPLY[@]}"
    shared=$common
    _arborctl_common "$@"
    _arborctl_quote "${common:${#kept}}" "$quote"
    [[ $shared != "$quoted" ]] || return 0
    # The candidates differ right after a backslash of an escape, which readline would insert alone.
    if ((${#common} > ${#words[-1]})); then
        COMPREPLY=("$quoted")
        compopt -o nospace
    else
        COMPREPLY=("$@" ' ')
    fi
}

_arborctl() {
    local words kept quote quoted offers kind
    _arborctl_split "${COMP_LINE:0:COMP_POINT}"
    mapfile -t offers < <("${words[0]}" __complete "${words[@]:1}" 2>/dev/null)
    kind=${offers[0]} offers=("${offers[@]:1}") COMPREPLY=()
    if [[ $kind != files ]]; then
        ((${#offers[@]} == 0)) || _arborctl_reply "${offers[@]}"
    elif ((${#offers[@]} == 0)); then
        compopt -o bashdefault -o default   # bash's own completion of file names
    else
        _arborctl_quote "${words[-1]}"
        mapfile -t -O ${#offers[@]} offers < <(compgen -G "$quoted*")
        COMPREPLY=("${offers[@]#"$kept"}")
        compopt -o filenames
    fi
}
complete -F _arborctl arborctl
