#!/usr/bin/env bash
# Sets up the machine, builds the project in Release (build/release, no
# tests) and runs every benchmark executable (bin/bench_*) in turn. The
# output is printed and also written to build/release/bench-results.txt.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

scripts/setup-debian.sh

build="$root/build/release"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DREMINDER_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)"

results="$build/bench-results.txt"
: >"$results"
shopt -s nullglob
ran=0
for exe in "$build"/bin/bench_*; do
    [ -f "$exe" ] && [ -x "$exe" ] || continue
    echo "# $(basename "$exe")" | tee -a "$results"
    "$exe" | tee -a "$results"
    ran=$((ran + 1))
done
if [ "$ran" -eq 0 ]; then
    echo "run-bench: no bench_* executables in $build/bin" >&2
    exit 1
fi
