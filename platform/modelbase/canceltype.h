#pragma once

#include <QMetaType>

// Why a transfer is cancelled.
enum CancelType {
    CancelNone = 0,
    // The account's data is being dropped (sign-out, account switch).
    CancelBySystem = 1,
    // The user, or a replacement of the file, cancelled it.
    CancelByUser = 2,
};

Q_DECLARE_METATYPE(CancelType)
