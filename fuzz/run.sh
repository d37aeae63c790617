#!/usr/bin/env bash
# Builds a fuzzer with clang, seeds it with the test certificates and the
# inputs it found before, and runs it.
#   fuzz/run.sh [toolkit|detail] SECONDS [BUILD_DIR]
# toolkit: every toolkit reader; detail: the detail rows of the model.
# Crashing inputs land in BUILD_DIR/fuzz-artifacts; keep each one, shrunk
# (-minimize_crash=1), under tests/toolkit/regress or tests/model/regress.
set -euo pipefail
target=toolkit
case ${1:-} in toolkit | detail) target=$1; shift ;; esac
seconds=${1:?usage: fuzz/run.sh [toolkit|detail] SECONDS [BUILD_DIR]}
root=$(cd "$(dirname "$0")/.." && pwd)
build=${2:-$root/build-fuzz}
regress=$root/tests/toolkit/regress
[ "$target" = detail ] && regress=$root/tests/model/regress

# A build dir configured before (CI's clang build, say) is used as it is.
[ -f "$build/CMakeCache.txt" ] ||
    cmake -S "$root" -B "$build" -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
        -DPKIUI_BUILD_FUZZ=ON -DPKIUI_BUILD_TESTS=OFF -DPKIUI_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j2 --target "fuzz_$target" fixtures

corpus=$build/fuzz-corpus-$target
mkdir -p "$corpus" "$build/fuzz-artifacts"
cp "$build"/fixtures/*.der "$corpus"/
cp "$regress"/* "$corpus"/ 2>/dev/null || true

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
exec "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -print_final_stats=1 \
    -artifact_prefix="$build/fuzz-artifacts/" "$corpus"
