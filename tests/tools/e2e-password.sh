#!/usr/bin/env bash
# Real X server, real key presses: a password dialog of the demo host is
# answered wrongly, the alert over it dismissed, then answered rightly.
# usage (under xvfb-run):
#   e2e-password.sh PKIUI_DEMO                  the plain dialog: empty, then abc
#   e2e-password.sh PKIUI_DEMO pin MODULE LABEL the PIN of a SoftHSM2 token
#                                               (SOFTHSM2_CONF set): 4321, then 1234
set -euo pipefail
demo=$1
out=$(mktemp)
trap 'rm -f "$out"' EXIT

if [ "${2:-}" = pin ]; then
    "$demo" pin --module "$3" --token "$4" --message "e2e" >"$out" 2>&1 &
    wrong=4321 right=1234
else
    "$demo" password --message "e2e" >"$out" 2>&1 &
    wrong="" right=abc
fi
pid=$!

fail() { echo "$1"; cat "$out"; exit 1; }
# The demo's visible windows: the dialog, and an alert over it when one is up.
windows() { xdotool search --onlyvisible --pid "$pid" 2>/dev/null || true; }
wait_for_windows() {
    for _ in $(seq 200); do
        [ "$(windows | wc -l)" -eq "$1" ] && return 0
        sleep 0.1
    done
    fail "expected $1 window(s) of the demo"
}
# Types into the field, then moves focus to "取消" and "确定" and presses it.
answer() {
    xdotool windowfocus --sync "$dialog"
    [ -z "$1" ] || xdotool type --delay 30 "$1"
    xdotool key Tab Tab space
}

# By process, not by title: the title is Chinese and the locale may not be UTF-8.
dialog=$(timeout 20 xdotool search --sync --onlyvisible --pid "$pid" | head -n 1)
answer "$wrong"
wait_for_windows 2
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
