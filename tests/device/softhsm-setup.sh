#!/usr/bin/env bash
# Makes a private SoftHSM2 token for the PIN tests: softhsm-setup.sh DIR
# Tests then run with SOFTHSM2_CONF=DIR/softhsm2.conf.
set -euo pipefail

if [ $# -ne 1 ]; then
    echo "usage: $0 DIR" >&2
    exit 2
fi

dir=$(mkdir -p "$1" && cd "$1" && pwd)
tokens="$dir/tokens"

# A token left by an earlier run may hold a changed PIN or a raised
# wrong-PIN counter; start from nothing every time.
rm -rf "$tokens"
mkdir -p "$tokens"

cat >"$dir/softhsm2.conf" <<CONF
directories.tokendir = $tokens
objectstore.backend = file
log.level = ERROR
CONF

SOFTHSM2_CONF="$dir/softhsm2.conf" softhsm2-util --init-token --free \
    --label pkiui-test --so-pin 87654321 --pin 1234
