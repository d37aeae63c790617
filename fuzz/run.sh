#!/usr/bin/env bash
# Builds the toolkit fuzzer with clang, seeds it with the test certificates
# and the inputs it found before, and runs it.
#   fuzz/run.sh SECONDS [BUILD_DIR]
# Crashing inputs land in BUILD_DIR/fuzz-artifacts; keep each one, shrunk
# (-minimize_crash=1), under tests/toolkit/regress.
set -euo pipefail
seconds=${1:?usage: fuzz/run.sh SECONDS [BUILD_DIR]}
root=$(cd "$(dirname "$0")/.." && pwd)
build=${2:-$root/build-fuzz}

cmake -S "$root" -B "$build" -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DPKIUI_BUILD_FUZZ=ON -DPKIUI_BUILD_TESTS=OFF -DPKIUI_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j2 --target fuzz_toolkit fixtures

corpus=$build/fuzz-corpus
mkdir -p "$corpus" "$build/fuzz-artifacts"
cp "$build"/fixtures/*.der "$corpus"/
cp "$root"/tests/toolkit/regress/* "$corpus"/ 2>/dev/null || true

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
exec "$build/fuzz/fuzz_toolkit" -max_total_time="$seconds" -print_final_stats=1 \
    -artifact_prefix="$build/fuzz-artifacts/" "$corpus"
