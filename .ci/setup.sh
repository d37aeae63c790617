#!/usr/bin/env bash
# Installs what is missing on Debian 12, builds, and runs one job:
#   demo  - the demo host showing the viewer on the sample chain
#           (offscreen, with screenshots, when there is no display)
#   test  - the whole test suite with GCC, then again built with clang under
#           ASan + UBSan, then each fuzzer for a minute
set -euo pipefail
job=${1:-test}
cd "$(dirname "$0")/.."
jobs=$(nproc 2>/dev/null || echo 2)

packages=(build-essential cmake pkg-config git openssl libssl-dev libp11-kit-dev p11-kit
          qt6-base-dev qt6-translations-l10n libgl-dev libxcb1-dev nlohmann-json3-dev
          fonts-wqy-microhei)
case $job in
test) packages+=(libgtest-dev libbenchmark-dev softhsm2 xvfb xauth xdotool ca-certificates
                 clang libclang-rt-14-dev clang-format xclip) ;;
demo) ;;
*) echo "usage: $0 demo|test" >&2; exit 2 ;;
esac

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    echo "installing: ${missing[*]}"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

build() { # build DIR [cmake options...]
    local dir=$1
    shift
    cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
    cmake --build "$dir" -j"$jobs"
}

case $job in
demo)
    build build -DPKIUI_BUILD_TESTS=OFF -DPKIUI_BUILD_BENCH=OFF
    exec build/tools/pkiui-demo view
    ;;
test)
    # The tracked sources as .clang-format lays them out.
    git ls-files '*.c' '*.cpp' '*.h' '*.hpp' | xargs clang-format --dry-run -Werror
    # Options given in full: a demo job may have left build/ with the tests off.
    build build -DPKIUI_BUILD_TESTS=ON -DPKIUI_BUILD_BENCH=ON -DPKIUI_WERROR=ON
    (cd build && ctest --output-on-failure --no-tests=error -j"$jobs")
    # clang, with the sanitizers and the fuzzers' coverage in every target.
    CC=clang CXX=clang++ build build-clang -DPKIUI_BUILD_TESTS=ON -DPKIUI_BUILD_BENCH=OFF \
        -DPKIUI_WERROR=ON -DPKIUI_SANITIZE=ON -DPKIUI_BUILD_FUZZ=ON
    (cd build-clang && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
        LSAN_OPTIONS=suppressions=$PWD/../tests/support/lsan.supp:print_suppressions=0 \
        UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
        ctest --output-on-failure --no-tests=error -j"$jobs")
    for target in toolkit detail; do
        bash fuzz/run.sh "$target" 60 "$PWD/build-clang" 2>&1 | tail -n 3
    done
    ;;
esac
