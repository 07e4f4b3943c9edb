#!/usr/bin/env bash
# The benchmark report: builds in Release (build/release, as
# scripts/run-bench.sh does), runs every benchmark of bench/ with
# "--results FILE" and writes into the output directory
#   report.md        every figure with its floor and the ratio, and the plots
#   floor-*.png      each benchmark's figures against their floors
#   growth-*.png     how each figure measured at several counts grows from
#                    1,000 to 100,000 reminders
#   results.tsv      the raw figures; logs/<bench>.txt each benchmark's output
#
#   scripts/bench-report.sh [--out DIR] [--skip-build | --report-only] [bench_name ...]
#
# Default DIR: build/bench-report. Naming benchmarks runs only those.
# --skip-build reuses build/release as it is; --report-only runs nothing and
# writes the report and plots again from DIR/results.tsv. The ratio is how many times
# the floor's cost a figure is: value / floor for times, floor / value for
# rates (calls/s); 1.0 would mean no cost above the floor.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

out="$root/build/bench-report"
build_it=1
run_it=1
only=()
while [ $# -gt 0 ]; do
    case "$1" in
        --out) out=$(realpath -m "$2"); shift 2 ;;
        --skip-build) build_it=0; shift ;;
        --report-only) build_it=0; run_it=0; shift ;;
        -h|--help) sed -n '2,17p' "$0"; exit 0 ;;
        bench_*) only+=("$1"); shift ;;
        *) echo "usage: $0 [--out DIR] [--skip-build | --report-only] [bench_name ...]" >&2; exit 2 ;;
    esac
done

[ "$run_it" = 1 ] && scripts/setup-debian.sh

build="$root/build/release"
if [ "$build_it" = 1 ]; then
    cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DREMINDER_BUILD_TESTS=OFF >/dev/null
    cmake --build "$build" -j2
fi

mkdir -p "$out/logs"
rm -f "$out"/*.png "$out"/*.dat "$out"/*.gp
results="$out/results.tsv"
timings="$out/timings.txt"

benches=()
if [ ${#only[@]} -gt 0 ]; then
    benches=("${only[@]}")
elif [ "$run_it" = 0 ]; then
    mapfile -t benches < <(cut -f1 "$results" | awk '!seen[$0]++')
else
    for exe in "$build"/bin/bench_*; do
        [ -f "$exe" ] && [ -x "$exe" ] && benches+=("$(basename "$exe")")
    done
fi
if [ ${#benches[@]} -eq 0 ]; then
    echo "bench-report: no bench_* executables in $build/bin" >&2
    exit 1
fi

export QT_QPA_PLATFORM=offscreen
if [ "$run_it" = 1 ]; then
    : >"$results"
    : >"$timings"
    commit=$(git -C "$root" rev-parse --short HEAD 2>/dev/null || echo unknown)
    if [ -n "$(git -C "$root" status --porcelain --untracked-files=no 2>/dev/null)" ]; then
        commit="$commit with uncommitted changes"
    fi
    echo "$(date -u '+%Y-%m-%d %H:%M UTC'), commit $commit, Release build, $(nproc) cores, TZ ${TZ:-unset}" \
        >"$out/run.txt"
    for b in "${benches[@]}"; do
        exe="$build/bin/$b"
        raw="$out/logs/$b.results"
        : >"$raw"
        echo "bench-report: running $b"
        t0=$(date +%s)
        if ! "$exe" --results "$raw" >"$out/logs/$b.txt" 2>&1; then
            echo "bench-report: $b failed; see $out/logs/$b.txt" >&2
            tail -n 5 "$out/logs/$b.txt" >&2
            exit 1
        fi
        t1=$(date +%s)
        echo "$b $((t1 - t0))" >>"$timings"
        echo "bench-report: $b took $((t1 - t0)) s"
        # bench figure size value unit better floor_value floor_figure
        awk -v b="$b" '$1 == "RESULT" { print b "\t" $2 "\t" $3 "\t" $4 "\t" $5 "\t" $6 "\t" $7 "\t" $8 }' \
            "$raw" >>"$results"
    done
fi

# ------------------------------------------------------------------ report
md="$out/report.md"
{
    echo "# Benchmark report"
    echo
    echo "$(cat "$out/run.txt"); the benchmarks took $(awk '{ s += $2 } END { print s + 0 }' "$timings") s."
    echo
    echo "Ratio: how many times the floor's cost the figure is (value / floor for times, floor / value"
    echo "for rates). Each floor is measured in the same run; see docs/benchmarks.md for what each is."
    echo
    echo "| benchmark | figure | reminders | value | unit | floor | floor value | ratio |"
    echo "|---|---|---:|---:|---|---|---:|---:|"
    awk -F'\t' '
        function num(v) { return (v >= 100) ? sprintf("%.0f", v) : (v >= 10 ? sprintf("%.1f", v) : sprintf("%.2f", v)) }
        {
            size = ($3 == "-") ? "—" : $3
            if ($7 == "-") { floor = "—"; fv = "—"; ratio = "—" }
            else {
                floor = $8; fv = num($7 + 0)
                r = ($6 == "higher") ? ($7 / $4) : ($4 / $7)
                ratio = sprintf("%.2f", r)
            }
            printf "| %s | %s | %s | %s | %s | %s | %s | %s |\n", $1, $2, size, num($4 + 0), $5, floor, fv, ratio
        }' "$results"
    echo
    echo "Time per benchmark (s): $(awk '{ printf "%s%s %s", (NR > 1 ? ", " : ""), $1, $2 }' "$timings")."
    echo
} >"$md"

# ------------------------------------------------------------------- plots
# Each benchmark's figures against their floors (log scale).
{
    echo "## Figures against their floors"
    echo
} >>"$md"
for b in "${benches[@]}"; do
    dat="$out/floor-$b.dat"
    awk -F'\t' -v b="$b" '$1 == b && $7 != "-" {
            label = $2 ($3 == "-" ? "" : "@" $3)
            print "\"" label "\"", $4, $7, $5 }' "$results" >"$dat"
    [ -s "$dat" ] || { rm -f "$dat"; continue; }
    rows=$(wc -l <"$dat")
    unit=$(awk '{ print $4 }' "$dat" | sort -u | paste -sd/ -)
    width=$((400 + rows * 55))
    [ "$width" -gt 2400 ] && width=2400
    cat >"$out/floor-$b.gp" <<EOF
set terminal pngcairo noenhanced size $width,560 font "DejaVu Sans,9"
set output "$out/floor-$b.png"
set title "$b: figures against their floors"
set style data histograms
set style histogram clustered gap 1
set style fill solid 0.85 border -1
set boxwidth 0.9
set logscale y
set ylabel "$unit (log scale)"
set xtics rotate by -40 left
set key top left
set grid ytics
set bmargin 11
set rmargin 14
plot "$dat" using 2:xtic(1) title "figure" lc rgb "#3b6ea8", \
     "" using 3 title "floor" lc rgb "#a0a0a0"
EOF
    gnuplot "$out/floor-$b.gp"
    echo "![$b against its floors](floor-$b.png)" >>"$md"
    echo >>"$md"
done

# How each figure measured at several counts grows with the count.
{
    echo "## Growth from 1,000 to 100,000 reminders"
    echo
    echo "Log-log: the dashed line is linear growth from the figure at 1,000 (for a per-item unit, a"
    echo "constant); above it the figure grows faster than the count."
    echo
} >>"$md"
awk -F'\t' '$3 != "-" && $3 + 0 >= 1000 { print $1 "\t" $2 }' "$results" | sort -u |
while IFS=$'\t' read -r b fig; do
    n=$(awk -F'\t' -v b="$b" -v f="$fig" '$1 == b && $2 == f && $3 + 0 >= 1000' "$results" | wc -l)
    [ "$n" -ge 2 ] || continue
    safe=$(echo "$b-$fig" | tr -c 'A-Za-z0-9_.-' '_' | sed 's/_*$//')
    dat="$out/growth-$safe.dat"
    awk -F'\t' -v b="$b" -v f="$fig" '$1 == b && $2 == f && $3 + 0 >= 1000 {
            print $3, $4, ($7 == "-" ? "NaN" : $7) }' "$results" | sort -n >"$dat"
    unit=$(awk -F'\t' -v b="$b" -v f="$fig" '$1 == b && $2 == f { print $5; exit }' "$results")
    floor=$(awk -F'\t' -v b="$b" -v f="$fig" '$1 == b && $2 == f { print $8; exit }' "$results")
    first=$(awk 'NR == 1 { print $1, $2 }' "$dat")
    n0=${first% *}
    v0=${first#* }
    # A per-item figure stays flat when the work grows linearly.
    case "$unit" in
        */item|*/reminder) ref="$v0" ;;
        *) ref="$v0 * x / $n0" ;;
    esac
    floorplot=""
    if [ "$floor" != "-" ]; then
        floorplot=", \"$dat\" using 1:3 with linespoints lw 2 pt 6 lc rgb \"#909090\" title \"$floor\""
    fi
    cat >"$out/growth-$safe.gp" <<EOF
set terminal pngcairo noenhanced size 640,420 font "DejaVu Sans,9"
set output "$out/growth-$safe.png"
set title "$fig ($b)"
set logscale xy
set xlabel "reminders"
set ylabel "$unit"
set xrange [700:140000]
set xtics ("1k" 1000, "10k" 10000, "100k" 100000)
set grid
set key top left
plot "$dat" using 1:2 with linespoints lw 2 pt 7 lc rgb "#3b6ea8" title "$fig"$floorplot, \
     $ref with lines dt 2 lc rgb "#c05030" title "linear from 1k"
EOF
    gnuplot "$out/growth-$safe.gp"
    echo "![$fig]($(basename "$out/growth-$safe.png"))" >>"$md"
    echo >>"$md"
done

rm -f "$out"/*.gp
echo "bench-report: $md ($(ls "$out"/*.png 2>/dev/null | wc -l) plots) after $(awk '{ s += $2 } END { print s + 0 }' "$timings") s of benchmarks"
