#!/usr/bin/env bash
# Valgrind memcheck over the integration tests (one time zone each, UTC).
#   scripts/run-valgrind.sh            check every test below
#   scripts/run-valgrind.sh tst_x ...  check only the tests named
# Reuses build/plain (the configuration of scripts/run-tests.sh,
# RelWithDebInfo) and builds only the tests it runs, so after
# scripts/run-tests.sh nothing is rebuilt.
# A test fails on any memcheck error and on any definite leak; leaks wholly
# inside Qt, glib, fontconfig or the C library are suppressed by
# tests/valgrind.supp (each entry says why). Logs: build/plain/memcheck/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

tests=(tst_devicesession tst_twodevices tst_deletionsync tst_reminderhandler tst_remindersync tst_reminderediting)
if [ $# -gt 0 ]; then
    tests=("$@")
fi

scripts/setup-debian.sh

build="$root/build/plain"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DREMINDER_WERROR=ON >/dev/null
cmake --build "$build" -j2 --target "${tests[@]}" reminder_translations

logs="$build/memcheck"
mkdir -p "$logs"
export TZ=UTC QT_QPA_PLATFORM=offscreen
failed=()
start=$(date +%s)
for t in "${tests[@]}"; do
    log="$logs/$t.log"
    t0=$(date +%s)
    set +e
    # Tests find their catalogues and data relative to the build tree.
    (cd "$build" && valgrind --tool=memcheck --leak-check=full --errors-for-leak-kinds=definite \
        --show-leak-kinds=definite --error-exitcode=1 --num-callers=40 \
        --suppressions="$root/tests/valgrind.supp" --gen-suppressions=all \
        --log-file="$log" "$build/bin/$t" >"$logs/$t.out" 2>&1)
    rc=$?
    set -e
    t1=$(date +%s)
    summary=$(grep -E "ERROR SUMMARY|definitely lost" "$log" | sed 's/^==[0-9]*== *//' | tr '\n' ';')
    echo "memcheck: $t exit $rc in $((t1 - t0)) s: $summary"
    if [ "$rc" -ne 0 ]; then
        failed+=("$t")
        tail -n 20 "$logs/$t.out"
    fi
done
echo "memcheck: ${#tests[@]} tests in $(( $(date +%s) - start )) s; logs in $logs"
if [ ${#failed[@]} -gt 0 ]; then
    echo "memcheck: FAILED: ${failed[*]}" >&2
    exit 1
fi
