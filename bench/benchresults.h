#pragma once

// Machine-readable figures for scripts/bench-report.sh. A benchmark started
// with "--results FILE" (or with BENCH_RESULTS=FILE in its environment)
// appends one line per figure to FILE, besides its usual output:
//
//   RESULT <figure> <size> <value> <unit> <better> <floor value> <floor figure>
//
// <size> is the number of reminders the figure was measured with, or "-";
// <better> is "lower" or "higher"; a figure without a floor has "- -" in
// the last two fields. The floor is what the same work costs at the least,
// measured in the same run (or, where marked in the benchmark, the same
// path with nothing to do).
#include <QByteArray>

#include <cmath>
#include <cstdio>
#include <cstring>

namespace benchresults {

inline std::FILE*& file()
{
    static std::FILE* f = nullptr;
    return f;
}

// Opens the results file named by --results or BENCH_RESULTS, if any.
inline void init(int argc, char** argv)
{
    const char* path = nullptr;
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "--results") == 0)
            path = argv[i + 1];
    }
    const QByteArray env = qgetenv("BENCH_RESULTS");
    if (!path && !env.isEmpty())
        path = env.constData();
    if (path) {
        file() = std::fopen(path, "a");
        if (!file())
            std::fprintf(stderr, "bench: cannot append to %s\n", path);
    }
}

enum Better { Lower, Higher };

// size < 0: the figure has no reminder count. floorName null: no floor.
inline void result(const char* figure, long size, double value, const char* unit, Better better,
                   const char* floorName = nullptr, double floorValue = NAN)
{
    std::FILE* f = file();
    if (!f)
        return;
    char sizeText[32];
    if (size < 0)
        std::snprintf(sizeText, sizeof sizeText, "-");
    else
        std::snprintf(sizeText, sizeof sizeText, "%ld", size);
    if (floorName)
        std::fprintf(f, "RESULT %s %s %.6g %s %s %.6g %s\n", figure, sizeText, value, unit,
                     better == Lower ? "lower" : "higher", floorValue, floorName);
    else
        std::fprintf(f, "RESULT %s %s %.6g %s %s - -\n", figure, sizeText, value, unit,
                     better == Lower ? "lower" : "higher");
    std::fflush(f);
}

} // namespace benchresults
