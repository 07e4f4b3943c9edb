#include "modelbaseutil.h"

int ModelBaseUtil::dayOfWeekToFlag(int dayOfWeek)
{
    if (dayOfWeek < 1 || dayOfWeek > 7)
        return 0;
    return 1 << (dayOfWeek - 1);
}

int ModelBaseUtil::flagToDayOfWeek(int flags)
{
    for (int day = 1; day <= 7; ++day) {
        if (flags & dayOfWeekToFlag(day))
            return day;
    }
    return 0;
}

QString ModelBaseUtil::messageTypeIntToStr(int type)
{
    switch (type) {
    case 1: return QStringLiteral("text");
    case 2: return QStringLiteral("image");
    case 3: return QStringLiteral("voice");
    case 4: return QStringLiteral("video");
    case 5: return QStringLiteral("gif");
    case 6: return QStringLiteral("file");
    case 8: return QStringLiteral("card");
    case 13: return QStringLiteral("poll");
    case 14: return QStringLiteral("lottery");
    default: return QStringLiteral("unknown");
    }
}

bool ModelBaseUtil::isNeedUploadType(int type)
{
    return type >= 2 && type <= 6;
}
