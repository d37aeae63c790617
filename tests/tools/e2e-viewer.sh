#!/usr/bin/env bash
# Real X server, real clicks: the demo's viewer on the sample chain. The demo
# prints where its controls are (PKIUI_DEMO_TRACE) and saves a screenshot of
# each tab it shows into SHOTS.
# usage (under xvfb-run): e2e-viewer.sh PKIUI_DEMO SHOTS
set -euo pipefail
source "$(dirname "$0")/e2e-lib.sh"
shots=$2
rm -rf "$shots"
start env PKIUI_DEMO_TRACE=1 PKIUI_DEMO_SHOTS="$shots" "$1" view

# Clicks the centre of control NAME of viewer window N.
press() {
    local x y
    read -r _ _ _ x y < <(await "^at $1 $2 ")
    xdotool mousemove "$x" "$y" sleep 0.2 click 1
}

await '^at 1 okButton ' >/dev/null
press 1 tab1
press 1 detailRow
await '^content 1 .' >/dev/null
sleep 0.5 # the screenshot with the content
press 1 tab2
press 1 pathRoot
sleep 0.3
press 1 lookUpButton
await '^at 2 okButton ' >/dev/null
press 2 okButton
sleep 0.3
kill -0 "$pid" || fail "the viewer closed with the nested one"
press 1 okButton
wait "$pid" || fail "the demo exited $?"
for tab in 0 1 2; do
    test -s "$shots/x11-1-$tab.png" || fail "no screenshot of tab $tab"
done
test -s "$shots/x11-2-0.png" || fail "no screenshot of the nested viewer"
echo "1 passed, 0 failed"
