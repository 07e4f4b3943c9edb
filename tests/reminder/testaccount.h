#pragma once

// An account on a real database in a temporary directory, for tests.
#include "accountbase.h"
#include "contentcipher.h"

#include <QTemporaryDir>
#include <memory>

struct TestAccount
{
    explicit TestAccount(qint64 accountId = 1001, qint64 deviceId = 7,
                         const QByteArray& secret = QByteArrayLiteral("account secret"))
        : account(new AccountBase(accountId, deviceId, dir.path(), ContentCipher::deriveKey(secret)))
    {
    }

    AccountBase* get() const { return account.get(); }

    QTemporaryDir dir;
    std::unique_ptr<AccountBase> account;
};
