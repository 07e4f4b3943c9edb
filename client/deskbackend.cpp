#include "deskbackend.h"

#include "accountbase.h"
#include "accountmanager.h"
#include "contactbase.h"
#include "deskdevice.h"
#include "deskundo.h"
#include "devicesession.h"
#include "fileservice.h"
#include "fileutil.h"
#include "mediasendermodel.h"
#include "networksubject.h"
#include "reminderserver.h"
#include "samplechat.h"
#include "threadmanager.h"
#include "timechangewatcher.h"
#include "usermanager.h"

#include <QCoreApplication>
#include <QDir>

namespace {

constexpr int kReminderMessageType = 2005;

} // namespace

QByteArray DeskBackend::accountSecret()
{
    return QByteArrayLiteral("reminder-desk demo account");
}

QString DeskBackend::deviceDirectory(const QString& dataDir, int number)
{
    return QDir(dataDir).filePath(QStringLiteral("device-%1").arg(number));
}

DeskBackend::DeskBackend(const QString& dataDir, int deviceCount, QObject* parent)
    : QObject(parent)
    , m_dataDir(dataDir)
{
    QDir().mkpath(dataDir);
    m_server.reset(new ReminderServer(QDir(dataDir).filePath(QStringLiteral("server.db")),
                                      [] { return network::NetworkSubject::instance()->currentDateTime(); }));
    m_files.reset(new FileService(QDir(dataDir).filePath(QStringLiteral("files"))));
    samplechat::publishSampleFile(m_files.get());

    m_clock = new TimeChangeWatcher(this);
    const int count = qBound(1, deviceCount, 2);
    for (int n = 1; n <= count; ++n) {
        auto* session = new DeviceSession(m_server.get(), m_files.get(), deviceDirectory(dataDir, n), kAccountId, n,
                                          accountSecret(), this);
        session->account()->setOwnNick(QStringLiteral("Alex Kim"));
        for (const samplechat::Person& p : samplechat::people())
            session->account()->userManager()->addUser(QSharedPointer<ContactBase>::create(p.userId, p.name));
        m_sessions.append(session);
        m_devices.append(new DeskDevice(session, n, deviceDirectory(dataDir, n), this));
        session->followTimeChanges(m_clock);
        m_listed.append(false);
        const int index = n - 1;
        connect(session, &DeviceSession::listFinished, this, [this, index] {
            if (m_listed.at(index))
                return;
            m_listed[index] = true;
            if (isAllListed())
                emit allListed();
        });
    }

    AccountManager* manager = AccountManager::getInstance();
    connect(manager, &AccountManager::newMessageNotified, this, &DeskBackend::onNotified);
    connect(manager, &AccountManager::reminderNotificationDeleted, this, &DeskBackend::onNotificationDeleted);
    connect(manager, &AccountManager::errorReported, this,
            [this](int, const QString& text, int) { onError(text); });
    connect(MediaSenderModel::getInstance(), &MediaSenderModel::errorNotified, this,
            [this](int code) { onError(attachErrorText(code)); });
}

QString DeskBackend::attachErrorText(int code)
{
    // Says why, in the words of the person who chose the file.
    switch (code) {
    case FileUtil::ErrorUnreadableFile: return qtTrId("desk_attach_unreadable");
    case FileUtil::ErrorEmptyFile: return qtTrId("desk_attach_empty");
    case FileUtil::ErrorNotImage: return qtTrId("desk_attach_not_image");
    case FileUtil::ErrorTooLarge: return qtTrId("desk_attach_too_large");
    default: return qtTrId("desk_toast_attach_failed").arg(code);
    }
}

DeskBackend::~DeskBackend()
{
    // What waited for its Undo is carried out, and its writes and requests
    // finish, while the handlers, the store and the server are all here.
    for (DeskDevice* device : std::as_const(m_devices))
        device->undo()->commit();
    for (int round = 0; round < 3; ++round) {
        ThreadManager::getInstance()->waitForIdle();
        QCoreApplication::sendPostedEvents();
    }
    // The devices and their sessions (accounts, handlers) go before the
    // server and the file service they talk to.
    qDeleteAll(m_devices);
    m_devices.clear();
    qDeleteAll(m_sessions);
    m_sessions.clear();
    ThreadManager::getInstance()->waitForIdle();
    m_server.reset();
    m_files.reset();
}

void DeskBackend::signInAll(DeviceSession::Load load)
{
    for (DeviceSession* s : std::as_const(m_sessions))
        s->signIn(load);
    m_clock->start();
}

void DeskBackend::startLoads()
{
    for (DeviceSession* s : std::as_const(m_sessions))
        s->startLoad();
}

bool DeskBackend::isAllListed() const
{
    for (bool listed : m_listed) {
        if (!listed)
            return false;
    }
    return true;
}

void DeskBackend::onNotified(const QVariantList& records)
{
    for (const QVariant& v : records) {
        const QVariantMap record = v.toMap();
        if (record.value(QStringLiteral("msgType")).toInt() != kReminderMessageType)
            continue;
        const ReminderItemPtr item = record.value(QStringLiteral("msgData")).value<ReminderItemPtr>();
        if (!item)
            continue;
        for (DeskDevice* d : std::as_const(m_devices)) {
            if (!d->owns(item))
                continue;
            d->addBanner(item, record.value(QStringLiteral("dateTime")).toLongLong());
            emit notified(d, item->text());
        }
    }
}

void DeskBackend::onNotificationDeleted(qint64 accountId, const QString& remindId)
{
    // The record names the account, not the device: every device of the
    // account lets its banner for that reminder go.
    if (accountId != kAccountId)
        return;
    for (DeskDevice* d : std::as_const(m_devices))
        d->withdrawBanner(remindId);
}

void DeskBackend::onError(const QString& text)
{
    QList<DeskDevice*> targets;
    for (DeskDevice* d : std::as_const(m_devices)) {
        if (d->windowActive())
            targets.append(d);
    }
    if (targets.isEmpty())
        targets = m_devices;
    for (DeskDevice* d : std::as_const(targets))
        d->showToast(text);
}
