#!/usr/bin/env bash
# usage: layers.sh LAYERS COMPILER, the file with one target a line: name, header that it finds, header that it must not
# find, its include paths joined by colons; separated by tabs.
set -uo pipefail

finds() { # header, include paths
    local -a paths
    IFS=: read -ra paths <<<"$2"
    # Whether it is found, whatever it includes in turn.
    printf '#if !__has_include("%s")\n#error\n#endif\n' "$1" |
        "$compiler" -std=c++20 -E -x c++ "${paths[@]/#/-I}" - >/dev/null 2>&1
}

layers=$(realpath "$1")
compiler=$2
failed=0
cd / # the compiler also looks where it runs
while IFS=$'\t' read -r target own foreign paths; do
    if ! finds "$own" "$paths"; then
        echo "$target does not find $own" >&2
        failed=1
    fi
    if finds "$foreign" "$paths"; then
        echo "$target finds $foreign, which is none of its business" >&2
        failed=1
    fi
done <"$layers"
exit $failed
