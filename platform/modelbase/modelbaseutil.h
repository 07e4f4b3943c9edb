#pragma once

#include <QString>

class ModelBaseUtil
{
public:
    // Weekday bits: Monday (Qt day 1) is bit 0 through Sunday (7) bit 6, so
    // 31 is Monday to Friday and 127 every day. Other days map to 0.
    static int dayOfWeekToFlag(int dayOfWeek);
    // The day (1 Monday .. 7 Sunday) of the lowest bit set; 0 when none of
    // the seven bits is set.
    static int flagToDayOfWeek(int flags);
    // "text", "image", "voice", "video", "gif", "file", "card", "poll",
    // "lottery"; "unknown" for any other code.
    static QString messageTypeIntToStr(int type);
    // Types whose body is a file that must be uploaded.
    static bool isNeedUploadType(int type);
};
