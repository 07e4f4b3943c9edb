#pragma once

#include "reminder_global.h"

#include <QByteArray>
#include <QTimeZone>
#include <QtGlobal>

// The system's local time zone as the calendar functions use it, without
// asking the C library on every conversion. Qt's local time goes through
// tzset(), and with TZ unset (a desktop session) glibc then checks the zone
// file's status each time: a system call per conversion, ten times the
// cost of the conversion itself.
//
// It keeps, per thread, a few spans of constant offset read from the system
// zone (QTimeZone), each checked against the C library's localtime_r at its
// edges before it is used. Within a span, local time is the instant plus
// the offset. Only what has exactly one answer is answered: an instant whose
// local time no other instant shows, a local time that exactly one instant
// shows, between 1970 and 2200. Everything else (a time the clocks skip or
// repeat, a zone Qt and the C library read differently, the far past and
// future) is left to Qt's own conversion, whose answers there are kept.
//
// Zone changes: the spans are dropped when TZ changes, when the zone file
// (/etc/localtime, with TZ unset) changes, looked at no more than every
// 100 ms, and at once for every thread on systemZoneChanged().
class REMINDER_EXPORT LocalZone
{
public:
    // Local wall times are milliseconds since 1970-01-01 00:00 local.
    static constexpr qint64 kMsPerDay = 24 * 3600 * qint64(1000);

    // This thread's mirror, first brought in line with the system's zone.
    static LocalZone& current();
    // The system zone changed: every thread's mirror starts anew on its
    // next use. The host calls it when it notices a zone change.
    static void systemZoneChanged();

    // The local wall time of an instant, when no other instant shows it.
    bool toLocal(qint64 msecs, qint64* local);
    // The instant showing a local wall time, when exactly one does.
    bool toInstant(qint64 local, qint64* msecs);

    LocalZone(const LocalZone&) = delete;
    LocalZone& operator=(const LocalZone&) = delete;

private:
    LocalZone() = default;

    struct Span
    {
        qint64 start = 0; // first instant
        qint64 end = 0;   // past the last instant
        qint64 offset = 0;
        // The local wall times that name one instant, and that one in this
        // span: [plainStart, plainEnd).
        qint64 plainStart = 0;
        qint64 plainEnd = 0;
        // Qt and the C library agree on it; an untrusted span only records
        // that its instants are left to Qt.
        bool trusted = false;
    };

    struct FileKey
    {
        quint64 device = 0;
        quint64 inode = 0;
        qint64 modifiedSec = 0;
        qint64 modifiedNsec = 0;
        qint64 size = -1;
        bool operator==(const FileKey& o) const
        {
            return device == o.device && inode == o.inode && modifiedSec == o.modifiedSec
                && modifiedNsec == o.modifiedNsec && size == o.size;
        }
        bool operator!=(const FileKey& o) const { return !(*this == o); }
    };

    static constexpr int kSpans = 8;

    void keepInStep();
    void rebuild(const char* tz, quint64 generation);
    static FileKey zoneFileKey();
    const Span* spanOf(qint64 msecs);
    const Span* loadSpan(qint64 msecs);
    Span readSpan(qint64 msecs) const;
    bool agreesWithCLibrary(const Span& span, qint64 before, qint64 after, bool startIsTransition,
                            bool endIsTransition) const;

    QTimeZone m_zone;
    bool m_built = false;
    bool m_usable = false;
    quint64 m_generation = 0;
    bool m_tzSet = false;
    QByteArray m_tz;
    FileKey m_fileKey;
    qint64 m_checkedAtMs = 0;
    Span m_spans[kSpans];
    int m_count = 0;
    int m_nextSlot = 0;
};
