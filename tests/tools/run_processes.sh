#!/bin/bash
# What only processes of their own show of arborctl: run_processes.sh
# Wants arborctl on the PATH.
set -u
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit
failures=0

# expect LABEL WANTED FOUND
expect() {
    [ "$2" = "$3" ] && return
    echo "$1: expected '$2', found '$3'"
    failures=$((failures + 1))
}

# A document of about 300 KB, more than a pipe holds.
{
    echo '<arbor>'
    for ((i = 0; i < 5000; i++)); do echo "<key name='k$i'><tSTRING name='text'>a text of some length</tSTRING></key>"; done
    echo '</arbor>'
} >large.xml
printf '<arbor><tDWORD name="n">1</tDWORD></arbor>' >small.xml

# Output that can't be written is a failure with a message; `set` has none to write.
lost="arborctl: can't write to standard output"
for run in 'large.xml tree' 'small.xml tree' 'small.xml get  n' 'small.xml export' 'small.xml find n --json' --help; do
    # shellcheck disable=SC2086 # words of a command line
    set -- $run
    [ "$run" != 'small.xml get  n' ] || set -- small.xml get '' n
    expect "$run to a full disk" "$lost:1" "$(arborctl "$@" 2>&1 >/dev/full):$?"
    expect "$run to a closed output" "$lost:1" "$(arborctl "$@" 2>&1 >&-):$?"
done
expect 'set with a closed output' ':0' "$(arborctl small.xml set '' n tDWORD 2 2>&1 >&-):$?"

# A reader that closes the pipe isn't an error to tell, by the signal or without it.
expect 'a reader that closes the pipe' '' "$( (arborctl large.xml tree | true) 2>&1)"
expect 'the same without the signal' '' "$( (trap '' PIPE; arborctl large.xml tree | true) 2>&1)"

exit $((failures != 0))
