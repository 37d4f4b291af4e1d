#!/usr/bin/env bash
# Runs a command on a private virtual screen of 1920 x 1080 with software OpenGL, and passes on its exit code:
#   scripts/with-display.sh COMMAND [ARGUMENT]…
# Screen and command end with this script, however it ends.
set -euo pipefail

if (($# == 0)); then
    echo "usage: ${0##*/} COMMAND [ARGUMENT]…" >&2
    exit 2
fi
if ! command -v Xvfb >/dev/null; then
    echo "${0##*/}: Xvfb is not installed (Debian package xvfb)" >&2
    exit 1
fi

command_pid=
screen_pid=
end() {
    if [[ -n $1 ]] && kill -TERM "$1" 2>/dev/null; then
        wait "$1" 2>/dev/null || true
    fi
}
stop() {
    trap - EXIT
    end "$command_pid"
    end "$screen_pid"
}
trap stop EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

# setpriv covers what no trap sees: a SIGKILL of this script.
errors=$(mktemp)
exec {number_fd}< <(exec setpriv --pdeathsig TERM Xvfb -displayfd 3 -screen 0 1920x1080x24 +extension GLX \
    -nolisten tcp -noreset 3>&1 >/dev/null 2>"$errors")
screen_pid=$!
number=
if ! read -r -t 600 number <&"$number_fd"; then
    echo "${0##*/}: the virtual screen did not start" >&2
    cat "$errors" >&2
    rm -f "$errors"
    exit 1
fi
rm -f "$errors"

export DISPLAY=":$number" LIBGL_ALWAYS_SOFTWARE=1 QT_QPA_PLATFORM=xcb
unset WAYLAND_DISPLAY
# In the background, so that the traps above act at once; without job control that would also take away its input.
setpriv --pdeathsig TERM -- "$@" <&0 {number_fd}<&- &
command_pid=$!
status=0
wait "$command_pid" || status=$?
command_pid=
exit "$status"
