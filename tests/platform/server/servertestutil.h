#pragma once

#include "accountcommand.h"
#include "reminderserver.h"
#include "reminderserversession.h"

#include "im/content/reminder.pb.h"

#include <QSignalSpy>
#include <QString>
#include <QTest>

#include <optional>
#include <string>

namespace servertest {

// Only separates a hang from completion; nothing waits this long when the
// server works.
constexpr int kWaitMs = 30000;

// Waits until the spy has recorded `count` signals.
inline bool waitForCount(QSignalSpy& spy, int count)
{
    while (spy.count() < count) {
        if (!spy.wait(kWaitMs))
            return spy.count() >= count;
    }
    return true;
}

struct Answer
{
    QString remindId;
    QByteArray data;
    int code = 0;
};

inline Answer answerAt(const QSignalSpy& spy, int index)
{
    const QList<QVariant>& args = spy.at(index);
    return Answer { args.at(0).toString(), args.at(1).toByteArray(), args.at(2).toInt() };
}

// The code of an answer; kNoAnswer when none came.
constexpr int kNoAnswer = -1000;
inline int codeOf(const std::optional<Answer>& answer)
{
    return answer ? answer->code : kNoAnswer;
}

inline QByteArray toBytes(const im::content::Reminder& message)
{
    std::string bytes;
    message.SerializeToString(&bytes);
    return QByteArray::fromStdString(bytes);
}

inline im::content::Reminder makeMessage(const QString& remindId, const QByteArray& content,
                                         qint64 updateTime = 0)
{
    im::content::Reminder message;
    message.set_id(remindId.toStdString());
    message.set_key(std::string("\x01nonce-of-the-content", 21));
    message.set_content(content.constData(), static_cast<size_t>(content.size()));
    message.set_update_time(updateTime);
    message.set_original_remind_time(1700000000000);
    message.set_order_time(1690000000000);
    message.set_completed(false);
    message.set_has_repeat(true);
    message.mutable_pattern()->set_interval(2);
    message.mutable_pattern()->set_unit(1);
    message.mutable_pattern()->set_day_of_week(31);
    return message;
}

inline QByteArray reminderBytes(const QString& remindId, const QByteArray& content,
                                qint64 updateTime = 0)
{
    return toBytes(makeMessage(remindId, content, updateTime));
}

inline std::optional<im::content::Reminder> parse(const QByteArray& bytes)
{
    im::content::Reminder message;
    if (!message.ParseFromArray(bytes.constData(), static_cast<int>(bytes.size())))
        return std::nullopt;
    return message;
}

inline QByteArray contentOf(const QByteArray& bytes)
{
    const auto message = parse(bytes);
    return message ? QByteArray::fromStdString(message->content()) : QByteArray("<unparsable>");
}

// One device of an account as a host wires it: the account's command
// channel attached to a session of the server.
struct Device
{
    Device(ReminderServer* server, qint64 accountId, qint64 deviceId)
        : session(server, accountId, deviceId),
          answers(&session, &ReminderServerSession::syncFinished),
          listed(&session, &ReminderServerSession::listed),
          finished(&session, &ReminderServerSession::listFinished),
          sent(&session, &ReminderServerSession::requestSent)
    {
        session.attach(&command);
    }

    // Sends through the command and waits until the session handed the
    // request to the server.
    bool send(const QString& remindId, const QByteArray& bytes)
    {
        const int before = sent.count();
        command.updateReminder(remindId, bytes);
        return waitForCount(sent, before + 1);
    }

    bool remove(const QStringList& remindIds)
    {
        const int before = sent.count();
        command.deleteReminders(remindIds);
        return waitForCount(sent, before + 1);
    }

    // Sends and waits for the answer to this request.
    std::optional<Answer> update(const QString& remindId, const QByteArray& bytes)
    {
        const int before = answers.count();
        command.updateReminder(remindId, bytes);
        if (!waitForCount(answers, before + 1))
            return std::nullopt;
        return answerAt(answers, before);
    }

    // Lists and waits for the end of the listing; the reminders listed.
    std::optional<QList<QPair<QString, QByteArray>>> list()
    {
        const int listedBefore = listed.count();
        const int finishedBefore = finished.count();
        session.requestList();
        if (!waitForCount(finished, finishedBefore + 1))
            return std::nullopt;
        QList<QPair<QString, QByteArray>> items;
        for (int i = listedBefore; i < listed.count(); ++i)
            items.append({ listed.at(i).at(0).toString(), listed.at(i).at(1).toByteArray() });
        return items;
    }

    AccountCommand command;
    ReminderServerSession session;
    QSignalSpy answers;
    QSignalSpy listed;
    QSignalSpy finished;
    QSignalSpy sent;
};

} // namespace servertest
