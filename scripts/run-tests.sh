#!/usr/bin/env bash
# Sets up the machine, builds the project and runs every test.
#   scripts/run-tests.sh              plain build (build/plain)
#   scripts/run-tests.sh --sanitize   AddressSanitizer + UndefinedBehaviorSanitizer (build/asan)
#   scripts/run-tests.sh --tsan       ThreadSanitizer (build/tsan)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

mode=plain
for arg in "$@"; do
    case "$arg" in
        --sanitize) mode=asan ;;
        --tsan) mode=tsan ;;
        *) echo "usage: $0 [--sanitize | --tsan]" >&2; exit 2 ;;
    esac
done

scripts/setup-debian.sh

build="$root/build/$mode"
cmake_args=(-S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DREMINDER_WERROR=ON)
if [ "$mode" = asan ]; then
    cmake_args+=(-DREMINDER_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug -DREMINDER_BUILD_BENCH=OFF)
    export ASAN_OPTIONS=halt_on_error=1:detect_leaks=1:abort_on_error=1
    export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
fi

ctest_args=(--output-on-failure -j"$(nproc)")
if [ "$mode" = tsan ]; then
    cmake_args+=(-DREMINDER_TSAN=ON -DCMAKE_BUILD_TYPE=Debug -DREMINDER_BUILD_BENCH=OFF)
    # Qt comes from Debian, not built with the sanitizer: what Qt's own code
    # reads and writes is left out (ignore_noninstrumented_modules), and the
    # project's hand-offs through Qt state their ordering themselves
    # (platform/threadsync). The client tests start the client as a child
    # process, which execs at once after the fork (die_after_fork=0).
    export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:ignore_noninstrumented_modules=1:die_after_fork=0"
fi

cmake "${cmake_args[@]}" >/dev/null
cmake --build "$build" -j"$(nproc)"
cd "$build"
ctest "${ctest_args[@]}"
