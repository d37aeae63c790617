#!/usr/bin/env bash
# Real X server: in the chooser Ctrl+C copies the row's cells, the Menu key's
# "查看证书" opens the viewer over it, and the keys go back to the chooser.
# usage (under xvfb-run): e2e-copy.sh PKIUI_DEMO FIXTURES
set -euo pipefail
source "$(dirname "$0")/../tools/e2e-lib.sh"
clip() { xclip -o -selection clipboard 2>/dev/null || true; }
# Waits for the clipboard to match the glob pattern.
await_clip() {
    for _ in $(seq 50); do
        # shellcheck disable=SC2053
        [[ $(clip) == $1 ]] && return 0
        sleep 0.1
    done
    fail "clipboard holds '$(clip)'"
}

# chain.pem holds the leaf, the intermediate and the root, in that order.
start "$1" select "$2/chain.pem"
wait_for_focus
sleep 0.5 # the table's first layout
# The table starts on the first row: Down is the intermediate.
xdotool key Down ctrl+c
await_clip "Tavik Test Intermediate CA"$'\t'*$'\t'"Tavik Test Root CA"$'\t'*
xdotool key Up ctrl+c
await_clip "Leaf RSA"$'\t'*$'\t'"Tavik Test Intermediate CA"$'\t'*
chooser=$(windows)
xdotool key Menu
sleep 0.5
xdotool key Down Return # the menu's first entry, "查看证书"
wait_for_windows 2
wait_for_focus "$chooser" # the keys go on in the viewer
xdotool key Escape # the viewer only hides
wait_for_windows 1
xdotool key Return # the chooser again: its current row is the leaf
wait "$pid" || fail "the demo exited $?"
grep -qx 'chosen: Leaf RSA' "$out" || fail "not the leaf"
echo "1 passed, 0 failed"
