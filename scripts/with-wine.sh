#!/usr/bin/env bash
# Runs a Windows program under Wine, without a screen, and passes on its exit code:
#   scripts/with-wine.sh PROGRAM.exe [ARGUMENT]…
# Wine's own files lie below build/wine, or where ZORBEL_WINEPREFIX says; they are set up on the first use.
set -euo pipefail

if (($# == 0)); then
    echo "usage: ${0##*/} PROGRAM.exe [ARGUMENT]…" >&2
    exit 2
fi
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${ZORBEL_WINEPREFIX:-$root/build/wine}
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
# Nothing here draws, and Wine would wait for a screen that is not there.
unset DISPLAY WAYLAND_DISPLAY

ready=$WINEPREFIX/ready-for-tests
if [[ ! -e $ready ]]; then
    mkdir -p "$WINEPREFIX"
    exec {lock}>"$WINEPREFIX/setup.lock"
    flock "$lock"
    if [[ ! -e $ready ]]; then
        wine wineboot -i {lock}>&- >/dev/null 2>&1
        wine reg add 'HKCU\Software\Wine' /v Version /d win10 /f {lock}>&- >/dev/null 2>&1
        wineserver -w {lock}>&-
        touch "$ready"
    fi
    exec {lock}>&-
fi

# The server outlives this program for a while, so that the next one starts at once.
wineserver -p20 </dev/null >/dev/null 2>&1 || true
exec wine "$@"
