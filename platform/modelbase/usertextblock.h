#pragma once

#include <QList>
#include <QString>

// A span of a text with a meaning of its own (a mention, a link).
struct UserTextBlock
{
    int start = 0;
    int length = 0;
    int kind = 0;
    QString value;

    bool operator==(const UserTextBlock& o) const
    {
        return start == o.start && length == o.length && kind == o.kind && value == o.value;
    }
};

using UserTextBlocks = QList<UserTextBlock>;
