#!/usr/bin/env bash
# Real X server, keyboard only, two hosts as they are written in the field.
# usage (under xvfb-run, SOFTHSM2_CONF set):
#   e2e-hosts.sh MODAL_HOST MODULE TOKEN CERT DLOPEN_HOST LIBRARY
set -euo pipefail
source "$(dirname "$0")/../tools/e2e-lib.sh"
modal_host=$1 module=$2 token=$3 cert=$4 dlopen_host=$5 library=$6

# A Qt host calls every blocking entry from inside its own exec()'d dialog:
# each of ours takes the keys over it, and a click on the host's dialog
# meanwhile does nothing. The password is first left empty and the PIN of
# the SoftHSM2 token first given wrongly.
start "$modal_host" "$module" "$token" "$cert"
read -r _ host_windows < <(await '^host-windows ')
read -r _ x y < <(await '^poke ')
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
