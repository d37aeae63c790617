#!/usr/bin/env bash
# Renders every dialog offscreen into docs/*.png, the pictures the README
# shows. Usage: docs/make-pictures.sh [BUILD_DIR]   (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
cmake -S . -B "$build" -DPKIUI_BUILD_TESTS=ON >/dev/null
cmake --build "$build" --target pkiui-pictures -j"$(nproc)"
# Fixed look: the same font size and scale whatever the machine says.
env -u QT_SCALE_FACTOR -u QT_FONT_DPI TZ=UTC QT_QPA_PLATFORM=offscreen \
    "$build/docs/pkiui-pictures" docs
