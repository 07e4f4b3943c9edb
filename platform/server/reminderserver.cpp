#include "reminderserver.h"

#include "imlog.h"
#include "reminderserverhub_p.h"
#include "reminderserversession.h"
#include "serverdatabase_p.h"

#include "im/content/reminder.pb.h"

#include "crossthread.h"
#include "synclocker.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QThread>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>

using reminderserver::ListedReminder;
using reminderserver::ServerDatabase;
using reminderserver::StoredReminder;

namespace {

// An answer delay is waited in slices this long, so that a change of the
// delay or the server's end is noticed promptly.
constexpr int kDelaySliceMs = 10;

void logLine(const QString& text)
{
    ImLog::instance()->error(text);
}

qint64 systemClock()
{
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace

ReminderServer::ReminderServer(const QString& databasePath, Clock clock)
    : m_path(databasePath),
      m_hub(std::make_shared<ReminderServerHub>()),
      m_thread(std::make_unique<QThread>()),
      m_clock(clock ? std::move(clock) : Clock(systemClock))
{
    m_hub->server = this;
    m_thread->setObjectName(QStringLiteral("ReminderServer"));
    moveToThread(m_thread.get());
    m_thread->start();
    CrossThread::postAndWait(this, [this] {
        m_db = std::make_unique<ServerDatabase>(m_path);
        m_open = m_db->isOpen();
        m_movedAside = m_db->movedAsidePath();
    });
}

ReminderServer::~ReminderServer()
{
    Q_ASSERT(QThread::currentThread() != m_thread.get());
    // An answer being held back by the delay gives up; requests already
    // posted are still handled (their answers reach sessions that exist),
    // later ones cannot arrive.
    m_stopping.store(true);
    {
        SyncLocker lock(&m_hub->mutex);
        m_hub->server = nullptr;
    }
    QThread* home = QThread::currentThread();
    CrossThread::postAndWait(this, [this, home] {
        m_held.clear();
        m_db.reset();
        // Back to the destroying thread, so that the object ends where it is
        // deleted.
        moveToThread(home);
    });
    m_thread->quit();
    m_thread->wait();
}

void ReminderServer::post(std::function<void()> task)
{
    CrossThread::post(this, std::move(task));
}

template <typename F>
auto ReminderServer::query(F f) const -> decltype(f())
{
    if (QThread::currentThread() == m_thread.get())
        return f();
    decltype(f()) result {};
    CrossThread::postAndWait(const_cast<ReminderServer*>(this), [&result, &f] { result = f(); });
    return result;
}

void ReminderServer::setClock(Clock clock)
{
    post([this, clock = std::move(clock)] { m_clock = clock ? clock : Clock(systemClock); });
}

void ReminderServer::dropNextRequests(int n)
{
    post([this, n] { m_dropNext = std::max(0, n); });
}

void ReminderServer::answerNextWithCodeMinusOne(int n)
{
    post([this, n] { m_refuseNext = std::max(0, n); });
}

void ReminderServer::setAnswerDelay(int ms)
{
    m_answerDelayMs.store(std::max(0, ms));
}

void ReminderServer::holdAnswers(bool hold)
{
    post([this, hold] { m_holding = hold; });
}

void ReminderServer::releaseHeld()
{
    post([this] {
        const QList<Answer> held = std::exchange(m_held, {});
        for (const Answer& answer : held)
            deliver(answer);
    });
}

void ReminderServer::reorderHeld()
{
    post([this] {
        const QList<Answer> held = std::exchange(m_held, {});
        for (auto it = held.crbegin(); it != held.crend(); ++it)
            deliver(*it);
    });
}

int ReminderServer::heldCount() const
{
    return query([this] { return static_cast<int>(m_held.size()); });
}

QByteArray ReminderServer::storedMessage(qint64 accountId, const QString& remindId) const
{
    return query([&] {
        std::optional<StoredReminder> row;
        if (!m_db->isOpen() || !m_db->find(accountId, remindId, &row) || !row || row->deleted)
            return QByteArray();
        return row->message;
    });
}

bool ReminderServer::isTombstoned(qint64 accountId, const QString& remindId) const
{
    return query([&] {
        std::optional<StoredReminder> row;
        return m_db->isOpen() && m_db->find(accountId, remindId, &row) && row && row->deleted;
    });
}

qint64 ReminderServer::version(qint64 accountId, const QString& remindId) const
{
    return query([&] {
        std::optional<StoredReminder> row;
        if (!m_db->isOpen() || !m_db->find(accountId, remindId, &row) || !row)
            return qint64(0);
        return row->version;
    });
}

qint64 ReminderServer::seenVersion(qint64 accountId, const QString& remindId,
                                   qint64 deviceId) const
{
    return query([&] {
        qint64 seen = 0;
        if (!m_db->isOpen() || !m_db->seenVersion(accountId, remindId, deviceId, &seen))
            return qint64(0);
        return seen;
    });
}

qint64 ReminderServer::updateTime(qint64 accountId, const QString& remindId) const
{
    return query([&] {
        std::optional<StoredReminder> row;
        if (!m_db->isOpen() || !m_db->find(accountId, remindId, &row) || !row)
            return qint64(0);
        return row->updateTime;
    });
}

qint64 ReminderServer::writerDevice(qint64 accountId, const QString& remindId) const
{
    return query([&] {
        std::optional<StoredReminder> row;
        if (!m_db->isOpen() || !m_db->find(accountId, remindId, &row) || !row)
            return qint64(0);
        return row->writerDevice;
    });
}

QStringList ReminderServer::remindIds(qint64 accountId) const
{
    return query([&] {
        QStringList ids;
        QList<ListedReminder> rows;
        if (m_db->isOpen() && m_db->list(accountId, &rows)) {
            for (const ListedReminder& row : std::as_const(rows))
                ids << row.remindId;
        }
        return ids;
    });
}

qint64 ReminderServer::changeTime(qint64 previous) const
{
    const qint64 now = m_clock();
    // A reminder's change times only ever grow, whatever the clock does.
    if (previous > 0 && now <= previous)
        return previous + 1;
    return now;
}

void ReminderServer::handleUpdate(quint64 sessionId, qint64 accountId, qint64 deviceId,
                                  const QString& remindId, const QByteArray& data)
{
    m_requestCount.fetch_add(1);
    if (m_dropNext > 0) {
        --m_dropNext;
        return;
    }
    if (m_refuseNext > 0) {
        --m_refuseNext;
        sendAnswer(Answer { sessionId, remindId, QByteArray(), CodeRefused });
        return;
    }
    sendAnswer(applyUpdate(sessionId, accountId, deviceId, remindId, data));
}

ReminderServer::Answer ReminderServer::applyUpdate(quint64 sessionId, qint64 accountId,
                                                   qint64 deviceId, const QString& remindId,
                                                   const QByteArray& data)
{
    Answer answer { sessionId, remindId, QByteArray(), CodeRejected };

    im::content::Reminder message;
    const bool parsed = data.size() <= std::numeric_limits<int>::max()
        && message.ParseFromArray(data.constData(), static_cast<int>(data.size()));
    if (remindId.isEmpty() || !parsed
        || QString::fromStdString(message.id()) != remindId) {
        logLine(QStringLiteral("reminder server: rejected an update of \"%1\" from device %2 of "
                               "account %3: %4")
                    .arg(remindId)
                    .arg(deviceId)
                    .arg(accountId)
                    .arg(remindId.isEmpty()
                             ? QStringLiteral("empty remind id")
                             : (parsed ? QStringLiteral("the message names \"%1\"")
                                             .arg(QString::fromStdString(message.id()))
                                       : QStringLiteral("not a reminder message"))));
        return answer;
    }

    answer.code = CodeRefused;
    if (!m_db->isOpen()) {
        logLine(QStringLiteral("reminder server: no database; refused the update of \"%1\"")
                    .arg(remindId));
        return answer;
    }
    if (!m_db->begin())
        return answer;

    std::optional<StoredReminder> row;
    qint64 seen = 0;
    if (!m_db->find(accountId, remindId, &row)
        || !m_db->seenVersion(accountId, remindId, deviceId, &seen)) {
        m_db->rollback();
        return answer;
    }

    if (row && row->deleted) {
        m_db->rollback();
        answer.code = CodeServerState;
        return answer;
    }

    if (!row || seen == row->version) {
        StoredReminder next;
        next.updateTime = changeTime(row ? row->updateTime : 0);
        next.version = (row ? row->version : 0) + 1;
        next.writerDevice = deviceId;
        message.set_update_time(next.updateTime);
        std::string bytes;
        if (!message.SerializeToString(&bytes)) {
            m_db->rollback();
            logLine(QStringLiteral("reminder server: cannot serialise the update of \"%1\"")
                        .arg(remindId));
            return answer;
        }
        next.message = QByteArray::fromStdString(bytes);
        if (!m_db->store(accountId, remindId, next)
            || !m_db->markSeen(accountId, remindId, deviceId, next.version)
            || !m_db->commit()) {
            m_db->rollback();
            return answer;
        }
        answer.code = CodeAccepted;
        return answer;
    }

    // Changed by another device since this one last saw it: the device gets
    // the current state and has seen it now.
    if (!m_db->markSeen(accountId, remindId, deviceId, row->version) || !m_db->commit()) {
        m_db->rollback();
        return answer;
    }
    answer.code = CodeServerState;
    answer.data = row->message;
    return answer;
}

void ReminderServer::handleDelete(qint64 accountId, qint64 deviceId, const QStringList& remindIds)
{
    m_requestCount.fetch_add(1);
    if (m_dropNext > 0) {
        --m_dropNext;
        return;
    }
    if (!m_db->isOpen()) {
        logLine(QStringLiteral("reminder server: no database; dropped the deletion of %1")
                    .arg(remindIds.join(QStringLiteral(", "))));
        return;
    }
    if (!m_db->begin())
        return;
    for (const QString& remindId : remindIds) {
        if (remindId.isEmpty())
            continue;
        std::optional<StoredReminder> row;
        if (!m_db->find(accountId, remindId, &row)) {
            m_db->rollback();
            return;
        }
        if (row && row->deleted)
            continue;
        StoredReminder tombstone;
        tombstone.updateTime = changeTime(row ? row->updateTime : 0);
        tombstone.version = (row ? row->version : 0) + 1;
        tombstone.writerDevice = deviceId;
        tombstone.deleted = true;
        if (!m_db->store(accountId, remindId, tombstone)
            || !m_db->markSeen(accountId, remindId, deviceId, tombstone.version)) {
            m_db->rollback();
            return;
        }
    }
    if (!m_db->commit())
        m_db->rollback();
}

void ReminderServer::handleList(quint64 sessionId, qint64 accountId, qint64 deviceId)
{
    QList<QPair<QString, QByteArray>> items;
    QList<ListedReminder> rows;
    if (m_db->isOpen() && m_db->begin()) {
        bool ok = m_db->list(accountId, &rows);
        for (const ListedReminder& row : std::as_const(rows)) {
            if (!ok)
                break;
            ok = m_db->markSeen(accountId, row.remindId, deviceId, row.reminder.version);
        }
        if (ok)
            ok = m_db->commit();
        if (!ok) {
            m_db->rollback();
            rows.clear();
        }
    } else if (!m_db->isOpen()) {
        logLine(QStringLiteral("reminder server: no database; listing account %1 finds nothing")
                    .arg(accountId));
    }
    items.reserve(rows.size());
    for (const ListedReminder& row : std::as_const(rows))
        items.append({ row.remindId, row.reminder.deleted ? QByteArray() : row.reminder.message });
    deliverListing(sessionId, items);
}

void ReminderServer::sendAnswer(const Answer& answer)
{
    if (m_answerDelayMs.load() > 0) {
        // An answer held back when the server ends is lost, as it would be
        // with a server that goes down.
        if (m_stopping.load())
            return;
        emit answerDelayStarted(answer.remindId);
        QElapsedTimer waited;
        waited.start();
        for (;;) {
            if (m_stopping.load())
                return;
            const qint64 left = m_answerDelayMs.load() - waited.elapsed();
            if (left <= 0)
                break;
            QThread::msleep(static_cast<unsigned long>(std::min<qint64>(left, kDelaySliceMs)));
        }
    }
    if (m_holding) {
        m_held.append(answer);
        return;
    }
    deliver(answer);
}

void ReminderServer::deliver(const Answer& answer)
{
    SyncLocker lock(&m_hub->mutex);
    ReminderServerSession* session = m_hub->sessions.value(answer.sessionId);
    if (!session)
        return;
    CrossThread::post(session, [session, answer] {
        emit session->syncFinished(answer.remindId, answer.data, answer.code);
    });
}

void ReminderServer::deliverListing(quint64 sessionId,
                                    const QList<QPair<QString, QByteArray>>& items)
{
    SyncLocker lock(&m_hub->mutex);
    ReminderServerSession* session = m_hub->sessions.value(sessionId);
    if (!session)
        return;
    CrossThread::post(session, [session, items] {
        for (const auto& item : items)
            emit session->listed(item.first, item.second);
        emit session->listFinished();
    });
}
