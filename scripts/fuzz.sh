#!/usr/bin/env bash
# Runs every fuzz target for a while, as many at a time as there are cores:
#   scripts/fuzz.sh [SECONDS] [TARGET]…        (default: 60 seconds each, all targets)
# Begins with the inputs in fuzz/corpus/<target>, Word packages also with the real documents of the folder of test data
# where there is one (../shared/data, or what ZORBEL_TEST_DATA names); new inputs are kept in build/fuzz/corpus. Fails
# when a target does, and prints what it said and the input that made it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

seconds=${1:-60}
if [[ ! $seconds =~ ^[1-9][0-9]*$ ]]; then
    echo "usage: scripts/fuzz.sh [SECONDS] [TARGET]…" >&2
    exit 2
fi
shift || true
scripts/build.sh --preset fuzz fuzz_targets

# The targets' scratch files: in memory where the system has such a place.
TMPDIR=$(mktemp -d -p /dev/shm zorbel-fuzz.XXXXXX 2>/dev/null || mktemp -d)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

fuzz_one() { # seconds, target
    local folder=build/fuzz/findings/$2 new=build/fuzz/corpus/$2 finding
    local -a seeds=("fuzz/corpus/$2")
    local -a options=(-max_total_time="$1" -artifact_prefix="$folder/" -timeout=20 -rss_limit_mb=2048 -max_len=16384
        -print_final_stats=1)
    rm -rf "$folder"
    mkdir -p "$folder" "$new"
    if [[ -e fuzz/$2.dict ]]; then
        options+=(-dict="fuzz/$2.dict")
    fi
    if [[ $2 == word_package && -d ${ZORBEL_TEST_DATA:-../shared/data}/docx ]]; then
        seeds+=("${ZORBEL_TEST_DATA:-../shared/data}/docx")
        options+=(-max_len=65536)
    fi
    if build/fuzz/bin/fuzz/"$2" "${options[@]}" "$new" "${seeds[@]}" >"$folder/log" 2>&1; then
        echo "$2: $(sed -n 's/^stat::number_of_executed_units: *//p' "$folder/log") inputs, nothing found"
        return 0
    fi
    {
        echo "$2: FAILED"
        grep -Ev '^(#[0-9]+|\s+NEW_FUNC)' "$folder/log" | tail -n 60
        for finding in "$folder"/{crash,leak,oom,timeout,slow-unit}-*; do
            if [[ -e $finding ]]; then
                echo "$2: again with: build/fuzz/bin/fuzz/$2 $finding"
                echo "$2: base64 of that input: $(base64 --wrap=0 "$finding")"
            fi
        done
    } >&2
    return 1
}
export -f fuzz_one

targets=("$@")
if ((${#targets[@]} == 0)); then
    # Named by the list and not by what lies in the build folder, where targets of yesterday may be.
    mapfile -t targets < <(sed -n 's/^zorbel_fuzz_target(\([a-z_]*\) .*/\1/p' fuzz/CMakeLists.txt)
fi
printf '%s\0' "${targets[@]}" |
    xargs -0 -n 1 -P "$(nproc)" bash -c 'fuzz_one "$0" "$1"' "$seconds"
