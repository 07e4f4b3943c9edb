#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>

class QThread;
class ReminderServerSession;
struct ReminderServerHub;
namespace reminderserver {
class ServerDatabase;
}

// The reference reminder server: what the messaging server does with an
// account's reminders, for hosts without one, for tests and for demos.
//
// It keeps, per account and remind id, the latest message as it arrived
// (its content stays encrypted with the account key; the server only reads
// and writes the plain fields it needs), a version, the server's time of the
// last change, the device that made it and a tombstone flag; and per device
// the last version of each reminder that device has seen. Devices reach it
// through ReminderServerSession objects. The rules for answers are in
// docs/server.md.
//
// The server lives on its own thread, which it starts and ends itself; all
// of its state is used there only. Every public member may be called from
// any thread: setters post to the server's thread and return at once,
// queries wait for the server's thread to answer (they run directly when
// called there, from the clock say). Construct and destroy it on one
// thread; that thread is not the server's.
class ReminderServer : public QObject
{
    Q_OBJECT
public:
    // Answer codes of an update.
    static constexpr int CodeRefused = -1;    // not applied; the device stops until it lists
    static constexpr int CodeAccepted = 0;    // stored
    static constexpr int CodeServerState = 1; // not stored; the server's state (or deleted)
    static constexpr int CodeRejected = 2;    // malformed request; nothing stored

    // The server's clock, ms since the epoch; called on the server's thread.
    using Clock = std::function<qint64()>;

    // Opens (or creates) the server's SQLite file at `databasePath`. An
    // empty clock means the system clock.
    explicit ReminderServer(const QString& databasePath, Clock clock = Clock());
    ~ReminderServer() override;

    QString databasePath() const { return m_path; }
    // False when no usable database could be opened or created: every
    // update is then answered CodeRefused.
    bool isDatabaseOpen() const { return m_open; }
    // Where an unusable file found at the path was moved, or empty.
    QString movedAsidePath() const { return m_movedAside; }
    QThread* serverThread() const { return m_thread.get(); }

    void setClock(Clock clock);

    // Fault injection. Each applies to the requests that reach the server
    // after the call.
    // The next n update or deletion requests vanish: not applied, not answered.
    void dropNextRequests(int n);
    // The next n update requests are not applied and are answered CodeRefused.
    void answerNextWithCodeMinusOne(int n);
    // Every update answer is held back this long on the server's thread,
    // which does nothing else meanwhile. Takes effect at once, also on an
    // answer that is being held back; 0 switches it off.
    void setAnswerDelay(int ms);
    // While on, update answers are kept by the server instead of being
    // delivered. Switching it off delivers nothing by itself.
    void holdAnswers(bool hold);
    // Delivers the kept answers in the order they were made.
    void releaseHeld();
    // Delivers the kept answers in reverse order.
    void reorderHeld();

    // Observation, for tests and demos.
    // Update and deletion requests received, dropped ones included.
    int requestCount() const { return m_requestCount.load(); }
    int heldCount() const;
    // The stored message: empty for an unknown or deleted reminder.
    QByteArray storedMessage(qint64 accountId, const QString& remindId) const;
    bool isTombstoned(qint64 accountId, const QString& remindId) const;
    // 0 for an unknown reminder.
    qint64 version(qint64 accountId, const QString& remindId) const;
    // The version of the reminder that the device has seen; 0 for none.
    qint64 seenVersion(qint64 accountId, const QString& remindId, qint64 deviceId) const;
    // The server's time of the last change (also of a deletion); 0 if unknown.
    qint64 updateTime(qint64 accountId, const QString& remindId) const;
    // The device that made the last change; 0 if unknown.
    qint64 writerDevice(qint64 accountId, const QString& remindId) const;
    // Every remind id of the account, tombstones included, in listing order.
    QStringList remindIds(qint64 accountId) const;

signals:
    // Emitted on the server's thread when an answer starts being held back
    // by the answer delay.
    void answerDelayStarted(const QString& remindId);

private:
    friend class ReminderServerSession;

    struct Answer
    {
        quint64 sessionId = 0;
        QString remindId;
        QByteArray data;
        int code = CodeRefused;
    };

    // Requests from sessions, on the server's thread.
    void handleUpdate(quint64 sessionId, qint64 accountId, qint64 deviceId,
                      const QString& remindId, const QByteArray& data);
    void handleDelete(qint64 accountId, qint64 deviceId, const QStringList& remindIds);
    void handleList(quint64 sessionId, qint64 accountId, qint64 deviceId);

    Answer applyUpdate(quint64 sessionId, qint64 accountId, qint64 deviceId,
                       const QString& remindId, const QByteArray& data);
    // The time to stamp on a change of a reminder last changed at `previous`.
    qint64 changeTime(qint64 previous) const;
    void sendAnswer(const Answer& answer);
    void deliver(const Answer& answer);
    void deliverListing(quint64 sessionId, const QList<QPair<QString, QByteArray>>& items);
    void post(std::function<void()> task);
    template <typename F>
    auto query(F f) const -> decltype(f());

    const QString m_path;
    const std::shared_ptr<ReminderServerHub> m_hub;
    std::unique_ptr<QThread> m_thread;
    // Written on the server's thread during construction, constant after.
    bool m_open = false;
    QString m_movedAside;

    std::atomic<int> m_requestCount { 0 };
    std::atomic<int> m_answerDelayMs { 0 };
    std::atomic<bool> m_stopping { false };

    // Server-thread state.
    std::unique_ptr<reminderserver::ServerDatabase> m_db;
    Clock m_clock;
    int m_dropNext = 0;
    int m_refuseNext = 0;
    bool m_holding = false;
    QList<Answer> m_held;
};
