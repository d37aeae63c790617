#!/usr/bin/env bash
# Real X server, keyboard only, two hosts as they are written in the field.
# usage (under xvfb-run, SOFTHSM2_CONF set):
#   e2e-hosts.sh MODAL_HOST MODULE TOKEN CERT DLOPEN_HOST LIBRARY
set -euo pipefail
source "$(dirname "$0")/../tools/e2e-lib.sh"
modal_host=$1 module=$2 token=$3 cert=$4 dlopen_host=$5 library=$6

# A Qt host calls every blocking entry from inside its own exec()'d dialog:
# each of ours takes the keys over it, and a click on the host's dialog
# meanwhile does nothing.
start "$modal_host" "$module" "$token" "$cert"
read -r _ host_windows < <(await '^host-windows ')
read -r _ x y < <(await '^poke ')
wait_for_focus $host_windows
xdotool mousemove "$x" "$y" click 1
xdotool type --delay 30 abc
xdotool key Return
await '^password: ' | grep -qx 'password: 1 abc' || fail "password"
wait_for_focus $host_windows
xdotool type --delay 30 1234
xdotool key Return
await '^pin: ' | grep -qx 'pin: 1 1234' || fail "PIN"
wait_for_focus $host_windows
xdotool key Down Return
await '^select: ' | grep -qx 'select: chosen' || fail "chooser"
wait_for_focus $host_windows
xdotool key Escape
await '^view: ' | grep -qx 'view: 1' || fail "viewer"
await '^pokes: ' | grep -qx 'pokes: 0' || fail "the host's dialog took a click"
wait "$pid" || fail "the Qt host exited $?"

# A host without Qt loads the library, asks once, unloads it and exits.
start "$dlopen_host" "$library"
wait_for_focus
xdotool type --delay 30 abc
xdotool key Return
wait "$pid" || fail "the dlopen host exited $?"
grep -qx 'unloaded' "$out" || fail "no line after dlclose"
echo "2 passed, 0 failed"
