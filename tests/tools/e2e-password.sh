#!/usr/bin/env bash
# Real X server, keyboard only: a password dialog of the demo host is answered
# wrongly and Return pressed, the alert over it dismissed with Return, then the
# right text typed at once (the focus is back in the field) and Return pressed.
# usage (under xvfb-run):
#   e2e-password.sh PKIUI_DEMO                  the plain dialog: empty, then abc
#   e2e-password.sh PKIUI_DEMO pin MODULE LABEL the PIN of a SoftHSM2 token
#                                               (SOFTHSM2_CONF set): 4321, then 1234
set -euo pipefail
source "$(dirname "$0")/e2e-lib.sh"
if [ "${2:-}" = pin ]; then
    start "$1" pin --module "$3" --token "$4" --message "e2e"
    wrong=4321 right=1234
else
    start "$1" password --message "e2e"
    wrong="" right=abc
fi

answer() {
    [ -z "$1" ] || xdotool type --delay 30 "$1"
    xdotool key Return
}

first_window >/dev/null
wait_for_focus
answer "$wrong"
wait_for_windows 2 # the alert over the dialog
xdotool key Return
wait_for_windows 1
answer "$right"
wait "$pid" || true
grep -qx 'result: 1' "$out" || fail "no success"
echo "1 passed, 0 failed"
