#!/usr/bin/env bash
# Real X server, real key presses: the password dialog of the demo host.
# usage (under xvfb-run): e2e-password.sh PKIUI_DEMO
set -euo pipefail
demo=$1
out=$(mktemp)
trap 'rm -f "$out"' EXIT

"$demo" password --message "e2e" >"$out" 2>&1 &
pid=$!
# By process, not by title: the title is Chinese and the locale may not be UTF-8.
window=$(timeout 20 xdotool search --sync --onlyvisible --pid "$pid" | head -n 1)
xdotool windowfocus --sync "$window"
xdotool type --delay 30 abc
# Focus moves from the field to "取消", then to "确定".
xdotool key Tab Tab space
wait "$pid"
grep -qx 'result: 1' "$out" || { cat "$out"; exit 1; }
echo "1 passed, 0 failed"
