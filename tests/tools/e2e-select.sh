#!/usr/bin/env bash
# Real X server, real clicks: the certificate chooser of the demo host.
# usage (under xvfb-run): e2e-select.sh PKIUI_DEMO FIXTURES
set -euo pipefail
source "$(dirname "$0")/e2e-lib.sh"
# chain.pem holds the leaf, the intermediate and the root, in that order.
start "$1" select "$2/chain.pem" "$2/sm2-self.pem"
window=$(first_window)
xdotool windowfocus --sync "$window"
# Give the table its first layout before clicking into it.
sleep 0.5
# In the 552 x 200 window: rows of 20 pixels start about 65 pixels down, so
# y 95 is the middle of the second row; "确定" is the right-hand button at the
# bottom, centred 100 pixels right of the middle minus half its width.
xdotool mousemove --window "$window" 60 95 click 1
sleep 0.3
xdotool mousemove --window "$window" 341 172 click 1
wait "$pid"
grep -qx 'chosen: Tavik Test Intermediate CA' "$out" || fail "not the intermediate"
echo "1 passed, 0 failed"
