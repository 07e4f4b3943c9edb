#!/usr/bin/env bash
# Builds the libFuzzer targets (build/fuzz: clang, AddressSanitizer and
# UndefinedBehaviorSanitizer, see docs/fuzzing.md) and runs each for a
# bounded time, starting from a scratch copy of its seeds in fuzz/corpus/ so
# that the repository is never written to. Fails when any target crashes,
# hangs, leaks or finds one of its properties broken; the input that did it
# is kept in build/fuzz/artifacts/.
#
#   scripts/run-fuzz.sh [seconds per target, default 60]
set -euo pipefail

seconds="${1:-60}"
if ! [[ "$seconds" =~ ^[0-9]+$ ]] || [ "$seconds" -lt 1 ]; then
    echo "usage: $0 [seconds per target]" >&2
    exit 2
fi

cd "$(dirname "$0")/.."
scripts/setup-debian.sh

build=build/fuzz
targets=(fuzz_reminderrecord fuzz_reminderwire fuzz_handlersync fuzz_search)

# Warnings are the plain build's to fail on (gcc, -Werror); here they only
# show.
if [ ! -f "$build/build.ninja" ]; then
    CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja \
        -DREMINDER_FUZZ=ON -DREMINDER_BUILD_TESTS=OFF -DREMINDER_BUILD_BENCH=OFF
fi
# Only the targets and what they link: no tests, benchmarks or client.
cmake --build "$build" -j2 --target "${targets[@]}" make_corpus

scratch="$(mktemp -d "${TMPDIR:-/tmp}/reminder-fuzz.XXXXXX")"
trap 'rm -rf "$scratch"' EXIT
artifacts="$build/artifacts"
mkdir -p "$artifacts"

# Options per target:
# - every target: an input running for 30 s is a hang;
# - fuzz_handlersync keeps one handler (and its growing list) across inputs
#   on purpose, which libFuzzer's per-input leak check would take for a
#   leak on every input that adds a reminder; leaks are still checked when
#   the process ends.
options_for() {
    local t="$1"
    local opts=(-max_total_time="$seconds" -timeout=30 -print_final_stats=1)
    case "$t" in
        fuzz_search) opts+=(-dict=fuzz/search.dict) ;;
        fuzz_handlersync) opts+=(-dict=fuzz/reminder.dict -detect_leaks=0) ;;
        *) opts+=(-dict=fuzz/reminder.dict) ;;
    esac
    echo "${opts[@]}"
}

echo "fuzz: ${seconds} s per target, TZ=${TZ:-(system)}"
failed=()
summary=()
for t in "${targets[@]}"; do
    work="$scratch/$t"
    mkdir -p "$work/corpus" "$work/artifacts"
    cp fuzz/corpus/"$t"/* "$work/corpus/"
    seeds=$(find "$work/corpus" -type f | wc -l)
    log="$work/log"
    # shellcheck disable=SC2046
    if "$build/bin/$t" $(options_for "$t") -artifact_prefix="$work/artifacts/" "$work/corpus" >"$log" 2>&1; then
        status=ok
    else
        status=FAILED
        failed+=("$t")
    fi
    execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
    rss=$(sed -n 's/^stat::peak_rss_mb: *//p' "$log" | tail -1)
    last=$(grep -E '^#[0-9]+' "$log" | tail -1 || true)
    cov=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' <<<"$last")
    ft=$(sed -n 's/.* ft: \([0-9]*\) .*/\1/p' <<<"$last")
    units=$(find "$work/corpus" -type f | wc -l)
    line="$t: $status, ${execs:-?} runs, ${rate:-?} exec/s, coverage ${cov:-?} edges / ${ft:-?} features, corpus ${seeds} seeds -> ${units} inputs, peak RSS ${rss:-?} MB"
    summary+=("$line")
    echo "fuzz: $line"
    if [ "$status" != ok ]; then
        # What libFuzzer and the sanitizers said, and the input that did it.
        grep -v -E '^#[0-9]+ +(NEW|REDUCE|pulse)|NEW_FUNC|Uses:' "$log" | tail -60 >&2
        cp -r "$work/artifacts/." "$artifacts/" 2>/dev/null || true
        echo "fuzz: $t failed; reproduce with $build/bin/$t <input> (inputs in $artifacts)" >&2
    fi
done

echo "fuzz: summary"
printf '  %s\n' "${summary[@]}"
if [ ${#failed[@]} -ne 0 ]; then
    echo "fuzz: failed: ${failed[*]}" >&2
    exit 1
fi
