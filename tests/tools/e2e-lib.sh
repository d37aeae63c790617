# Sourced by the Xvfb end-to-end scripts: a host (the demo, mostly) run in the
# background with its output kept, shown when a step fails, and its windows
# found by process (the titles are Chinese and the locale may not be UTF-8).
out=$(mktemp)
pid=
trap 'rm -f "$out"; [ -z "$pid" ] || kill "$pid" 2>/dev/null || true' EXIT

start() {
    "$@" >"$out" 2>&1 &
    pid=$!
}
fail() {
    echo "FAILED: $*" >&2
    cat "$out" >&2
    exit 1
}
windows() { xdotool search --onlyvisible --pid "$pid" 2>/dev/null || true; }
wait_for_windows() {
    for _ in $(seq 200); do
        [ "$(windows | wc -l)" -eq "$1" ] && return 0
        sleep 0.1
    done
    fail "expected $1 window(s) of the host"
}
# Waits until a window of the host other than those given has the keyboard focus.
wait_for_focus() {
    local focused
    for _ in $(seq 200); do
        focused=$(xdotool getwindowfocus 2>/dev/null || echo none)
        if windows | grep -qx "$focused" && ! printf '%s\n' "$@" | grep -qx "$focused"; then
            return 0
        fi
        sleep 0.1
    done
    fail "no new window of the host has the focus"
}
# Waits for a line of the host's output matching the pattern; prints its last match.
await() {
    local line
    for _ in $(seq 100); do
        if line=$(grep -E "$1" "$out" | tail -n 1) && [ -n "$line" ]; then
            echo "$line"
            return 0
        fi
        sleep 0.1
    done
    fail "no line '$1'"
}
# Waits for the host's line that starts as the expected one does; fails with
# the message unless it is that line.
expect() { [ "$(await "^${1%%: *}: ")" = "$1" ] || fail "$2"; }
# Types the text, if any, and presses Return.
answer() {
    [ -z "$1" ] || xdotool type --delay 30 "$1"
    xdotool key Return
}
# An answer the dialog refuses: Return also closes the alert over it, and the
# focus is back in the field for the next answer.
refused() {
    local shown
    shown=$(windows | wc -l)
    answer "$1"
    wait_for_windows $((shown + 1))
    xdotool key Return
    wait_for_windows "$shown"
}
