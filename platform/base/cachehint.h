#pragma once

#include <QtGlobal>

// Tells the processor that a line of memory will be read or written soon.
// For loops over data spread across a large heap (a list's index at
// 100,000 reminders, the rows of a search's matches) that would otherwise
// wait on one cache miss after another: the loop asks for what it needs a
// few steps ahead. Only a hint; a compiler without it gets nothing.
namespace cachehint {

inline void willRead(const void* p)
{
#if defined(__GNUC__) || defined(__clang__)
    __builtin_prefetch(p, 0);
#else
    Q_UNUSED(p);
#endif
}

inline void willWrite(const void* p)
{
#if defined(__GNUC__) || defined(__clang__)
    __builtin_prefetch(p, 1);
#else
    Q_UNUSED(p);
#endif
}

} // namespace cachehint
