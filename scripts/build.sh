#!/usr/bin/env bash
# Builds a preset's build folder, or just the named targets in it:
#   scripts/build.sh [--preset NAME] [TARGET]…        (default: release, everything)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

preset=release
if [[ ${1-} == --preset ]]; then
    preset=$2
    shift 2
fi

# Paths relative to the checkout let clones share the compiler cache.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi

folder=build/$preset
# Ninja configures again by itself when a CMake file changed.
if [[ ! -e $folder/build.ninja ]]; then
    mkdir -p "$folder"
    if ! cmake -S . --preset "$preset" "${launcher[@]}" >"$folder/configure.log" 2>&1; then
        cat "$folder/configure.log" >&2
        exit 1
    fi
fi
# Quiet when there is nothing to do.
if [[ $(ninja -C "$folder" -n "$@" 2>/dev/null | tail -n 1) != "ninja: no work to do." ]]; then
    ninja -C "$folder" "$@"
fi
