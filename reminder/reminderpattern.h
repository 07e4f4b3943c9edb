#pragma once

#include "reminder_global.h"

#include <QDateTime>

// Calendar helpers: the next occurrence of a repeat rule.
//
// Each takes the series' anchor (its first occurrence), a lower bound
// `from`, and the rule's numbers, and returns the occurrence in ms since the
// epoch, at the anchor's local time of day. The daily rule accepts an
// occurrence equal to `from`; the weekly and monthly rules want one strictly
// after it. Dates are local; a time of day that a daylight-saving change
// skips on the day found is pushed forward by the gap (02:30 becomes 03:30).
//
// A rule that cannot have an occurrence yields 0: an interval below 1, an
// empty weekday set in the weekly rule, a day-of-month value that is 0
// modulo 256, or dates beyond what QDate can represent.

// Every `interval` days, phased on the anchor's date.
REMINDER_EXPORT qint64 nextDayOccurrence(const QDateTime& anchor, const QDateTime& from, int interval);

// Every `interval` weeks (weeks start on Monday, phased on the anchor's
// week) on the weekdays whose bits are set (ModelBaseUtil::dayOfWeekToFlag).
REMINDER_EXPORT qint64 nextWeekOccurrence(const QDateTime& anchor, const QDateTime& from, int interval,
                                          int dayOfWeekFlags);

// Every `interval` months, phased on the anchor's month: on day
// `dayOfMonth` (clamped to the month; negative counts from the month's end,
// -1 the last day), or when that is 0 on the `weekOfMonth`-th weekday of
// `dayOfWeekFlags` (negative counts from the month's end). With both 0 it is
// the phased month's date as found, without comparing with `from`.
REMINDER_EXPORT qint64 nextMonthOccurrence(const QDateTime& anchor, const QDateTime& from, int interval,
                                           int dayOfMonth, int weekOfMonth, int dayOfWeekFlags);
