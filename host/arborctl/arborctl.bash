# Completion of arborctl for bash: options, the document, its commands, and the document's own keys and values.

# The words that can follow, one a line, from stdin; names may hold blanks.
_arborctl_offer() {
    local word
    while IFS= read -r word; do
        [[ $word == "$cur"* ]] && COMPREPLY+=("$(printf %q "$word")")
    done
}

_arborctl() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    local commands='tree get find export check diff backups set rm cp import restore'
    local types='tBYTE tWORD tDWORD tQWORD tBOOL tCHAR tSTRING tWSTRING tERROR tPTR tINT tUINT tSBYTE tSHORT tLONG
        tLONGLONG tDATETIME tDOUBLE tBINARY tVERSION tVOID'
    local document='' command='' words=() i word
    cur=${cur//\\/}
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]//\\/}
        case $word in
            --module | --trace | --backup | --root | --color | --wait | --as) ((i++)) ;;
            -*) ;;
            *)
                if [[ -z $command && " $commands " == *" $word "* ]]; then command=$word
                elif [[ -z $document ]]; then document=$word
                else words+=("$word"); fi
                ;;
        esac
    done
    case $prev in
        --module) mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
        --backup) _arborctl_offer < <(printf '%s\n' 0 1 2); return ;;
        --color) _arborctl_offer < <(printf '%s\n' auto always never); return ;;
        --as) _arborctl_offer < <(printf '%s\n' $types); return ;;
    esac
    if [[ $cur == -* ]]; then
        if [[ -z $command ]]; then
            _arborctl_offer < <(printf '%s\n' --module --trace --read-only --create --convert --backup --root --color --wait --leaks --version --help)
        else
            _arborctl_offer < <(printf '%s\n' --help --json --as)
        fi
    elif [[ -z $document ]]; then
        [[ -n $command ]] || _arborctl_offer < <(printf '%s\n' $commands)
        mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$cur")
    elif [[ -z $command ]]; then
        _arborctl_offer < <(printf '%s\n' $commands)
    else
        case $command:${#words[@]} in
            tree:0 | export:0 | get:0 | set:0 | rm:0 | cp:0)
                _arborctl_offer < <("${COMP_WORDS[0]}" "$document" find '' 2>/dev/null | sed -n 's,/$,,p') ;;
            get:1 | set:1 | rm:1)
                _arborctl_offer < <("${COMP_WORDS[0]}" "$document" tree "${words[0]}" 2>/dev/null | sed -n '/^ /d; s/^\(.*\): t[A-Z].*/\1/p') ;;
            set:2) _arborctl_offer < <(printf '%s\n' $types) ;;
            restore:0)
                _arborctl_offer < <("${COMP_WORDS[0]}" "$document" backups 2>/dev/null | sed -n 's/^[^ ]* *[0-9]*  \(.*\) ([^)]*): .*/\1/p' | tail -n +2) ;;
            diff:0 | import:0 | cp:1) mapfile -t COMPREPLY < <(compgen -f -- "$cur") ;;
        esac
    fi
}
complete -o filenames -F _arborctl arborctl
