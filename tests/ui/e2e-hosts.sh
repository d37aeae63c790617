#!/usr/bin/env bash
# Real X server, keyboard only, two hosts as they are written in the field.
# usage (under xvfb-run, SOFTHSM2_CONF set):
#   e2e-hosts.sh UI_HOST MODULE TOKEN DLOPEN_HOST LIBRARY
set -euo pipefail
source "$(dirname "$0")/../tools/e2e-lib.sh"
ui_host=$1 module=$2 token=$3 dlopen_host=$4 library=$5

# A Qt host calls every blocking entry from inside its own exec()'d dialog:
# each of ours takes the keys over it, and a click on the host's dialog
# meanwhile does nothing. The password is first left empty and the PIN of
# the SoftHSM2 token first given wrongly.
start "$ui_host" modal "$module" "$token"
read -r _ x y host_windows < <(await '^poke ')
wait_for_focus $host_windows
xdotool mousemove "$x" "$y" click 1
refused ""
answer abc
expect 'password: 1 abc' "password"
wait_for_focus $host_windows
refused 4321
answer 1234
expect 'pin: 1 1234' "PIN"
wait_for_focus $host_windows
xdotool key Down Return
expect 'select: chosen' "chooser"
wait_for_focus $host_windows
xdotool key Escape
expect 'view: 1' "viewer"
expect 'pokes: 0' "the host's dialog took a click"
wait "$pid" || fail "the Qt host exited $?"

# A host without Qt loads the library, asks once, unloads it and exits.
start "$dlopen_host" "$library"
wait_for_focus
answer abc
wait "$pid" || fail "the dlopen host exited $?"
grep -qx 'unloaded' "$out" || fail "no line after dlclose"
echo "2 passed, 0 failed"
