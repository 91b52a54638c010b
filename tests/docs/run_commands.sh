#!/bin/bash
# Runs the commands that documents show, and compares their output: run_commands.sh DOCUMENT...
#
# Each line "$ COMMAND" of an indented block is run. Its output must be the lines below it, up to the next command or the
# end of the block; "..." matches any text. The commands of one document share a new folder with the files of examples/.
# A block after "<!-- FILE -->" must be equal to that file of the project.
# Needs arborctl on the PATH.
set -u
project=$(cd "$(dirname "$0")/../.." && pwd)
failures=0

fail() {
    printf '%s:%s: %s\n' "$document" "$line_number" "$1"
    failures=$((failures + 1))
}

# Converts a text to a pattern: "..." matches any text, all else matches itself.
pattern_of() {
    local text=${1//\\/\\\\}
    text=${text//\[/\\[}
    text=${text//\*/\\*}
    text=${text//\?/\\?}
    printf '%s' "${text//.../*}"
}

# Runs the command that was read and compares its output.
check() {
    [ -n "$command" ] || return
    local output
    output=$(cd "$folder" && eval "$command" 2>&1)
    output=${output//$'\r'/}
    local pattern
    pattern=$(pattern_of "${expected%$'\n'}")
    # shellcheck disable=SC2053 # the right side is a pattern
    [[ $output == $pattern ]] || fail "\$ $command"$'\n'"--- shown:"$'\n'"${expected%$'\n'}"$'\n'"--- printed:"$'\n'"$output"
    command=''
}

# Compares the fenced block after line $1 of the document with the file $2.
check_file() {
    # shellcheck disable=SC2016 # backquotes of the document
    diff <(sed -n "$(($1 + 1)),\$p" "$document" | sed -n '/^```/,/^```$/p' | sed '1d; /^```$/,$d') "$project/$2" ||
        fail "differs from $2"
}

check_document() {
    folder=$(mktemp -d)
    cp -R "$project"/examples/* "$folder"
    command='' expected='' line_number=0
    local line
    while IFS= read -r line || [ -n "$line" ]; do
        line_number=$((line_number + 1))
        case $line in
            '    $ '*) check; command=${line#'    $ '} expected= ;;
            '    '*) [ -z "$command" ] || expected+=${line#'    '}$'\n' ;;
            '<!-- '*' -->') check; line=${line#'<!-- '}; check_file "$line_number" "${line%' -->'}" ;;
            *) check ;;
        esac
    done <"$document"
    check
    rm -rf "$folder"
}

for document; do
    check_document
done
[ "$failures" = 0 ]
