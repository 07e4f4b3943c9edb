#!/usr/bin/env bash
# Sets up the machine, builds the desktop client in Release (build/demo,
# without tests and benchmarks) and starts it. Arguments go to the client:
#   scripts/run-demo.sh                    one device
#   scripts/run-demo.sh --devices 2        two devices of one account, side by side
#   scripts/run-demo.sh --language zh_CN   in Simplified Chinese
#   scripts/run-demo.sh --data DIR         another data directory
# Without a display (neither DISPLAY nor WAYLAND_DISPLAY set, and no
# QT_QPA_PLATFORM chosen) it runs the scripted tour offscreen instead and
# says where the screenshots are.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

scripts/setup-debian.sh

build="$root/build/demo"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DREMINDER_BUILD_TESTS=OFF -DREMINDER_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" --target reminder-desk

client="$build/bin/reminder-desk"
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
    tour="$build/tour"
    echo "run-demo: no display; running the scripted tour offscreen, screenshots in $tour"
    QT_QPA_PLATFORM=offscreen "$client" --tour "$tour" "$@"
    echo "run-demo: done; see $tour/*.png"
    exit 0
fi
exec "$client" "$@"
