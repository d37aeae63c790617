#!/usr/bin/env bash
# Real X server, real key presses: a password dialog of the demo host is
# answered wrongly, the alert over it dismissed, then answered rightly.
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

# Types into the field, then moves focus to "取消" and "确定" and presses it.
answer() {
    xdotool windowfocus --sync "$dialog"
    [ -z "$1" ] || xdotool type --delay 30 "$1"
    xdotool key Tab Tab space
}

dialog=$(first_window)
answer "$wrong"
wait_for_windows 2 # the alert over the dialog
xdotool windowfocus --sync "$(windows | grep -vx "$dialog" | head -n 1)"
xdotool key Return
wait_for_windows 1
# Focus came back to "确定": back over "取消" to the field.
xdotool windowfocus --sync "$dialog"
xdotool key shift+Tab shift+Tab
answer "$right"
wait "$pid" || true
grep -qx 'result: 1' "$out" || fail "no success"
echo "1 passed, 0 failed"
