#!/bin/bash
# Tests of arborctl that need separate processes: pipes, signals and parallel runs. Usage: run_processes.sh
# Requires arborctl on the PATH.
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

# A reader that closes the pipe causes no error message, with SIGPIPE at its default or ignored.
expect 'a reader that closes the pipe' '' "$( (arborctl large.xml tree | true) 2>&1)"
expect 'the same without the signal' '' "$( (trap '' PIPE; arborctl large.xml tree | true) 2>&1)"

# Parallel runs: every change is saved, no read fails, and no temporary file remains. The wait is long enough for slow
# builds.
parallel=${PARALLEL_RUNS:-200}
for mode in 0 1; do
    printf '<arbor></arbor>' >shared.xml
    : >failed
    for ((i = 0; i < parallel; i++)); do
        { arborctl --wait 60 --backup $mode shared.xml set Values "v$i" tDWORD $i || echo "set $i: $?" >>failed; } &
        ((i % 3)) || { arborctl --wait 60 shared.xml tree >/dev/null || echo "tree: $?" >>failed; } &
    done 2>>failed
    wait
    expect "parallel runs, backup mode $mode" '' "$(sort failed | uniq -c | head -5)"
    expect "values of parallel runs, backup mode $mode" "$parallel" "$(arborctl shared.xml tree Values | wc -l)"
done
expect 'files after parallel runs' 'shared.xml shared.xml.bak2' "$(echo shared.xml*)"

# The lock file of a killed run locks nothing. While a run holds the lock, others exit with code 3 after the wait.
touch small.xml.lock
expect 'a change beside a stale lock file' ':0' "$(arborctl --wait 0 small.xml set '' n tDWORD 5 2>&1):$?"
expect 'files after it' 'small.xml small.xml.bak2' "$(echo small.xml*)"
ln -s small.xml link.xml
exec 9>small.xml.lock
flock 9
busy="arborctl: 0x80010104: another process uses the file (another run is changing $(pwd -P)/small.xml):3"
expect 'a change while another run holds the lock' "$busy" "$(arborctl --wait 0 link.xml set '' n tDWORD 6 2>&1):$?"
expect 'a read meanwhile' '5:0' "$(arborctl --wait 0 link.xml get '' n):$?"
exec 9>&-

# edit EXIT-CODE OUTPUT SCRIPT [ARGUMENT...]: an editor that runs SCRIPT, in which $1 is the file.
export TMPDIR=$folder/tmp VISUAL="sh $folder/editor"
mkdir "$TMPDIR"
edit() {
    local wanted=$1:$2 script=$3 output
    shift 3
    echo "$script" >editor
    output=$(arborctl edited.xml edit "$@" 2>&1 | grep -v '^Killed'; exit "${PIPESTATUS[0]}")
    expect "edit by $script" "$wanted" "$?:$(sed "s,$TMPDIR/[^ ]*,KEPT," <<<"$output")"
}
ended="arborctl: the editor $VISUAL ended with code"
printf '/ a tINT 1\nK b tSTRING "x y"\nK/L c tINT 3\n' | arborctl --create edited.xml apply
cp edited.xml before.xml
edit 0 '' 'true'
edit 1 "$ended 7; nothing is saved" 'exit 7'
# shellcheck disable=SC2016 # scripts
{
edit 1 "$ended 137; nothing is saved; the edited text is in KEPT" 'sed -i s/x/y/ $1; kill -9 $$'
edit 1 'arborctl: the edited text is empty; nothing is saved; "rm" removes a key' ': >$1'
expect 'the document after them' '' "$(arborctl diff before.xml edited.xml --flat)"
edit 0 $'- K/b: tSTRING "x y"\n+ K/b: tSTRING "z"\n- K/L/\n- K/L/c: tINT 3' 'sed -i "/^K.L/d; s/\"x y\"/z/" $1' K
expect 'an edited subtree' $'/ a tINT 1\nK b tSTRING z' "$(arborctl edited.xml tree --flat)"
edit 0 $'- a: tINT 1\n+ a: tINT 7' 'sed -i "s/tINT 1/tINT 7/" $1' --dry-run
# The second round finds the message and mends the line; an editor that leaves it as it is ends the rounds.
edit 0 $'- a: tINT 1\n+ a: tINT 5' \
    'grep -q "^# Refused: line 4: .many. isn.t a tINT" $1 && sed -i s/many/5/ $1 || sed -i "s/tINT 1/tINT many/" $1'
edit 1 "arborctl: line 4: \"many\" isn't a tINT (-2147483648 to 2147483647); nothing is saved; the edited text is in KEPT" 'sed -i "s/ 5/ many/" $1'
edit 1 "arborctl: line 4: the key isn't in K; nothing is saved; the edited text is in KEPT" \
    'sed -i "s/^K b.*/\/ a tINT 6/" $1' K
edit 1 $'- a: tINT 5\n+ a: tINT 6\narborctl: nothing is saved; the edited text is in KEPT\narborctl: edited.xml changed meanwhile' \
    'arborctl edited.xml set K/b other; sed -i "s/tINT 5/tINT 6/" $1'
}
expect 'the document after a change meanwhile' $'/ a tINT 5\nK b tSTRING other' "$(arborctl edited.xml tree --flat)"
expect 'the texts that are kept' 4 "$(find "$TMPDIR" -name edited.xml.txt | wc -l)"

exit $((failures != 0))
