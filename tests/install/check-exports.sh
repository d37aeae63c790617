#!/usr/bin/env bash
# usage: check-exports.sh LIBRARY EXPORTS_MAP
set -euo pipefail
lib=$1 map=$2
expected=$(sed -n '/global:/,/local:/p' "$map" | grep -E '^\s+[A-Za-z_]+;' | tr -d ' ;' | sort)
actual=$(nm -D --defined-only "$lib" | awk '$2 ~ /^[TDBRVW]$/ {print $3}' | sed 's/@.*//' | sort -u)
if [ "$expected" != "$actual" ]; then
    echo "exported symbols differ from $map:"
    diff <(echo "$expected") <(echo "$actual") || true
    exit 1
fi
[ "$(echo "$actual" | wc -l)" -eq 8 ] || { echo "expected eight exports"; exit 1; }
echo "1 passed, 0 failed"
