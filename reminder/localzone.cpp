#include "localzone.h"

#include <QDateTime>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/stat.h>

namespace {

// Bumped by systemZoneChanged(); each thread's mirror compares it with the
// one it was built under.
std::atomic<quint64> zoneGeneration{0};

// The range mirrored: 1970-01-02 and 2200-01-01, 00:00 UTC. Before 1970
// Qt's local time does not always follow the C library's, and nothing this
// module computes needs the far future fast.
constexpr qint64 kFirst = LocalZone::kMsPerDay;
constexpr qint64 kLast = 84006 * LocalZone::kMsPerDay;

// A span next to one shorter than this, or an offset of a day or more, is
// not mirrored: the proof that a local time names one instant only looks at
// the neighbouring spans.
constexpr qint64 kShortestNeighbour = 3 * LocalZone::kMsPerDay;

// The C library's offset is read at the span's edges and this often in
// between, at most kMostProbes times (a zone without changes is one span of
// two centuries).
constexpr qint64 kProbeEvery = 7 * LocalZone::kMsPerDay;
constexpr qint64 kMostProbes = 64;

// With TZ unset the zone file is looked at again no more often than this:
// the host's watcher notices a zone change only on its one-second check and
// then calls systemZoneChanged(), so this only bounds what runs before it.
constexpr qint64 kRecheckMs = 100;

constexpr char kZoneFile[] = "/etc/localtime";

qint64 coarseMonotonicMs()
{
    timespec ts{};
#ifdef CLOCK_MONOTONIC_COARSE
    clock_gettime(CLOCK_MONOTONIC_COARSE, &ts);
#else
    clock_gettime(CLOCK_MONOTONIC, &ts);
#endif
    return qint64(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

QDateTime utcAt(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs, Qt::UTC);
}

bool cLibraryOffset(qint64 sec, qint64* offsetMs)
{
    const time_t t = time_t(sec);
    tm broken{};
    if (!localtime_r(&t, &broken))
        return false;
    *offsetMs = qint64(broken.tm_gmtoff) * 1000;
    return true;
}

bool matchesCLibrary(qint64 sec, qint64 offsetMs)
{
    qint64 found = 0;
    return cLibraryOffset(sec, &found) && found == offsetMs;
}

} // namespace

LocalZone& LocalZone::current()
{
    static thread_local LocalZone zone;
    zone.keepInStep();
    return zone;
}

void LocalZone::systemZoneChanged()
{
    zoneGeneration.fetch_add(1, std::memory_order_acq_rel);
}

void LocalZone::keepInStep()
{
    const quint64 generation = zoneGeneration.load(std::memory_order_acquire);
    const char* tz = std::getenv("TZ");
    bool same = m_built && generation == m_generation && (tz != nullptr) == m_tzSet
        && (!tz || std::strcmp(tz, m_tz.constData()) == 0);
    // With TZ set the C library reads its zone once and keeps it while TZ
    // stays the same; with TZ unset it looks at the zone file each time.
    if (same && !tz) {
        const qint64 now = coarseMonotonicMs();
        if (now - m_checkedAtMs >= kRecheckMs) {
            m_checkedAtMs = now;
            same = zoneFileKey() == m_fileKey;
        }
    }
    if (!same)
        rebuild(tz, generation);
}

void LocalZone::rebuild(const char* tz, quint64 generation)
{
    m_built = true;
    m_generation = generation;
    m_tzSet = tz != nullptr;
    m_tz = tz ? QByteArray(tz) : QByteArray();
    m_fileKey = tz ? FileKey() : zoneFileKey();
    m_checkedAtMs = coarseMonotonicMs();
    // The spans are checked against the C library: let it read the zone
    // now, as Qt's next conversion would.
    tzset();
    m_zone = QTimeZone::systemTimeZone();
    m_usable = m_zone.isValid();
    m_count = 0;
    m_nextSlot = 0;
}

LocalZone::FileKey LocalZone::zoneFileKey()
{
    FileKey key;
    struct stat st{};
    if (::stat(kZoneFile, &st) != 0)
        return key;
    key.device = quint64(st.st_dev);
    key.inode = quint64(st.st_ino);
    key.modifiedSec = qint64(st.st_mtim.tv_sec);
    key.modifiedNsec = qint64(st.st_mtim.tv_nsec);
    key.size = qint64(st.st_size);
    return key;
}

bool LocalZone::toLocal(qint64 msecs, qint64* local)
{
    if (!m_usable)
        return false;
    const Span* span = spanOf(msecs);
    if (!span || !span->trusted)
        return false;
    const qint64 wall = msecs + span->offset;
    if (wall < span->plainStart || wall >= span->plainEnd)
        return false;
    *local = wall;
    return true;
}

bool LocalZone::toInstant(qint64 local, qint64* msecs)
{
    if (!m_usable)
        return false;
    for (int i = 0; i < m_count; ++i) {
        const Span& span = m_spans[i];
        if (span.trusted && local >= span.plainStart && local < span.plainEnd) {
            *msecs = local - span.offset;
            return true;
        }
    }
    // Not cached: offsets stay within a day of UTC, so the span holding the
    // answer is the one of the local time read as UTC or a neighbour of it.
    if (local < kFirst - kMsPerDay || local >= kLast + kMsPerDay)
        return false;
    qint64 guess = qBound(kFirst, local, kLast - 1);
    for (int step = 0; step < 3; ++step) {
        const Span* span = spanOf(guess);
        if (!span || !span->trusted)
            return false;
        if (local >= span->plainStart && local < span->plainEnd) {
            *msecs = local - span->offset;
            return true;
        }
        if (local < span->plainStart && span->start > kFirst)
            guess = span->start - 1;
        else if (local >= span->plainEnd && span->end < kLast)
            guess = span->end;
        else
            return false;
    }
    // Between two spans' plain times: skipped or repeated by the clocks.
    return false;
}

const LocalZone::Span* LocalZone::spanOf(qint64 msecs)
{
    for (int i = 0; i < m_count; ++i) {
        if (msecs >= m_spans[i].start && msecs < m_spans[i].end)
            return &m_spans[i];
    }
    return loadSpan(msecs);
}

const LocalZone::Span* LocalZone::loadSpan(qint64 msecs)
{
    if (msecs < kFirst || msecs >= kLast)
        return nullptr;
    const int slot = m_nextSlot;
    m_spans[slot] = readSpan(msecs);
    m_nextSlot = (slot + 1) % kSpans;
    if (m_count < kSpans)
        ++m_count;
    return &m_spans[slot];
}

LocalZone::Span LocalZone::readSpan(qint64 msecs) const
{
    Span span;
    const QDateTime at = utcAt(msecs);
    span.offset = qint64(m_zone.offsetFromUtc(at)) * 1000;
    const QTimeZone::OffsetData previous = m_zone.previousTransition(at.addMSecs(1));
    const QTimeZone::OffsetData next = m_zone.nextTransition(at);
    const bool startIsTransition = previous.atUtc.isValid() && previous.atUtc.toMSecsSinceEpoch() > kFirst;
    const bool endIsTransition = next.atUtc.isValid() && next.atUtc.toMSecsSinceEpoch() < kLast;
    span.start = startIsTransition ? previous.atUtc.toMSecsSinceEpoch() : kFirst;
    span.end = endIsTransition ? next.atUtc.toMSecsSinceEpoch() : kLast;
    if (span.start > msecs || span.end <= msecs) {
        // The zone's transitions do not frame the instant: leave it to Qt.
        span.start = msecs;
        span.end = msecs + 1;
        return span;
    }

    qint64 before = span.offset;
    qint64 after = span.offset;
    bool neighboursLong = true;
    if (startIsTransition) {
        before = qint64(m_zone.offsetFromUtc(utcAt(span.start - 1))) * 1000;
        const QTimeZone::OffsetData earlier = m_zone.previousTransition(utcAt(span.start));
        if (earlier.atUtc.isValid() && span.start - earlier.atUtc.toMSecsSinceEpoch() < kShortestNeighbour)
            neighboursLong = false;
    }
    if (endIsTransition) {
        after = qint64(next.offsetFromUtc) * 1000;
        const QTimeZone::OffsetData later = m_zone.nextTransition(utcAt(span.end));
        if (later.atUtc.isValid() && later.atUtc.toMSecsSinceEpoch() - span.end < kShortestNeighbour)
            neighboursLong = false;
    }
    const bool offsetsSmall = qAbs(span.offset) < kMsPerDay && qAbs(before) < kMsPerDay && qAbs(after) < kMsPerDay;
    const bool wholeSeconds = span.start % 1000 == 0 && span.end % 1000 == 0;
    if (!neighboursLong || !offsetsSmall || !wholeSeconds)
        return span;

    // A transition that turns the clocks back repeats the local times
    // between the two offsets, one that turns them forward skips them. An
    // edge of the mirrored range is no transition; a day's margin there
    // keeps whatever lies beyond it out.
    span.plainStart = startIsTransition ? span.start + qMax(span.offset, before)
                                        : span.start + span.offset + kMsPerDay;
    span.plainEnd = endIsTransition ? span.end + qMin(span.offset, after) : span.end + span.offset - kMsPerDay;
    span.trusted = agreesWithCLibrary(span, before, after, startIsTransition, endIsTransition);
    return span;
}

bool LocalZone::agreesWithCLibrary(const Span& span, qint64 before, qint64 after, bool startIsTransition,
                                   bool endIsTransition) const
{
    const qint64 first = span.start / 1000;
    const qint64 last = span.end / 1000 - 1;
    if (startIsTransition && !matchesCLibrary(first - 1, before))
        return false;
    if (endIsTransition && !matchesCLibrary(last + 1, after))
        return false;
    const qint64 step = qMax(kProbeEvery / 1000, (last - first) / kMostProbes);
    for (qint64 sec = first; sec < last; sec += step) {
        if (!matchesCLibrary(sec, span.offset))
            return false;
    }
    return matchesCLibrary(last, span.offset);
}
