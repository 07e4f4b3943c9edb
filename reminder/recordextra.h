#pragma once

#include <QByteArray>
#include <QtGlobal>

// The four change times a local record keeps beside its message, in the
// record's extra JSON ("last_content_time", "last_completed_time",
// "last_pattern_time", "last_unread_time"; a missing key reads as 0).
struct RecordExtra
{
    qint64 lastContentTime = 0;
    qint64 lastCompletedTime = 0;
    qint64 lastPatternTime = 0;
    qint64 lastUnreadTime = 0;

    // What jsonToMap makes of the JSON, read the way a loader of a hundred
    // thousand records can afford: the JSON the writer makes (one flat
    // object of whole numbers) is read in place, anything else through
    // jsonToMap, so both give the same times for every input.
    static RecordExtra fromJson(const QByteArray& json);
    // mapToJson of the four times under their keys.
    QByteArray toJson() const;

    bool operator==(const RecordExtra& o) const
    {
        return lastContentTime == o.lastContentTime && lastCompletedTime == o.lastCompletedTime
            && lastPatternTime == o.lastPatternTime && lastUnreadTime == o.lastUnreadTime;
    }

private:
    // False when the JSON is not of that plain form.
    static bool readPlain(const QByteArray& json, RecordExtra* out);
};
