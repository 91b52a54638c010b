#!/bin/sh
# Checks that the documents list what the code has: trace lines, commands and options, commands of ./dev, names of tests.
# Needs arborctl on the PATH and the test programs beside it.
set -u
cd "$(dirname "$0")/../.." || exit
failed=0
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# mentions FILE WORD WHAT
mentions() {
    grep -qF -e "$2" "$1" || {
        echo "$1 doesn't mention the $3 $2"
        failed=1
    }
}

module=component/instrumental/legacy/services/source/Registry/arbor
literals=$(grep -rhoE '"([^"\\]|\\.)*"' "$module" --include='*.cpp' |
    grep -E '^"(arbor|krn)\\t|%terr|^"Arbor::|^"cannot register' | sed 's/^"//; s/"$//' | sort -u)
[ -n "$literals" ] || failed=1
while IFS= read -r literal; do
    mentions docs/tracing.md "$literal" "trace line"
done <<EOF
$literals
EOF

commands=$(arborctl --help | sed -n '/^Commands/,/^$/s/^  \([a-z][a-z]*\) .*/\1/p')
options=$(for command in '' $commands; do arborctl ${command:+"$command"} --help; done | grep -oE '^  (-h, )?--[a-z-]+' | grep -oE -e '--[a-z-]+' | sort -u)
[ -n "$commands" ] && [ -n "$options" ] || failed=1
for word in $commands $options; do
    mentions docs/arborctl.1 "$(echo "$word" | sed 's/-/\\-/g')" "word"
done

# The host guide's table of the client shows statements that a test runs.
sed -n '/^## What the client offers/,/^## /s/^| .* | `\(.*\)` |$/\1/p' docs/host-guide.md >"$folder/statements"
[ -s "$folder/statements" ] || failed=1
while IFS= read -r statement; do
    sed 's/^ *//' tests/client/guide_test.cpp | grep -qxF -e "$statement" || {
        echo "docs/host-guide.md shows '$statement', which tests/client/guide_test.cpp doesn't have"
        failed=1
    }
done <"$folder/statements"

# The sources that the CMakeLists.txt files list are those that exist.
find bench component fuzz host tests -name CMakeLists.txt | while read -r list; do
    sed 's/#.*//' "$list" | tr -s ' ()' '\n' | grep '\.cpp$' | sed "s,^,$(dirname "$list")/,; s,.*{PROJECT_SOURCE_DIR}/,,"
done | grep -v -e '^examples/' -e '[$]' | sort -u >"$folder/listed"
find bench component fuzz host tests -name '*.cpp' | sort >"$folder/present"
[ -s "$folder/present" ] || failed=1
diff "$folder/listed" "$folder/present" || {
    echo 'CMakeLists.txt files list sources that do not exist (<) or miss some that do (>)'
    failed=1
}

# The commands of ./dev and the tests that the documents name exist.
set -- README.md CONTRIBUTING.md DEVELOPERS.md docs/*.md
dev_commands=$(grep -ohE '\./dev [a-z]+' "$@" | sed 's/.* //' | sort -u)
for command in $dev_commands; do
    mentions dev "    $command)" "command"
done
build=$(dirname "$(command -v arborctl)")
grep -ohE '\./dev test [a-z]+ [A-Z][A-Za-z0-9_.*]*' "$@" | sed 's/.* \(.*\)/_test *\1*/' >"$folder/filters"
grep -ohE "[a-z]*_test --gtest_filter='[^']*'" "$@" | sed "s/ --gtest_filter='\(.*\)'/ \1/" >>"$folder/filters"
[ -s "$folder/filters" ] || failed=1
while read -r program filter; do
    for file in "$build/"*"$program"; do
        "$file" --gtest_list_tests --gtest_filter="$filter"
    done | grep -q '^ ' || {
        echo "a document names tests '$filter', which don't exist"
        failed=1
    }
done <"$folder/filters"

# The examples of the manual page succeed, one after the other. "diff" may find a difference.
sed -n '/^\.SH EXAMPLES/,/^\.fi/{/^arborctl /{s/\\-/-/g;p;};}' docs/arborctl.1 >"$folder/examples"
[ -s "$folder/examples" ] || failed=1
while read -r example; do
    (cd "$folder" && eval "$example") >/dev/null 2>&1
    case $?:$example in
        0:* | '1:arborctl diff '*) ;;
        *) echo "the manual page's '$example' fails" && failed=1 ;;
    esac
done <"$folder/examples"
exit $failed
