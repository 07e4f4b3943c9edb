#pragma once

#include <QByteArray>
#include <QList>
#include <QSharedPointer>
#include <QString>
#include <QVariantMap>

class AccountBase;
class ContentItem;
class FileService;

// The small sample conversation shown in each window's chat pane: a text,
// a file, a contact card and a poll, from three colleagues of the demo
// account. Its texts go through the catalogues, so the conversation reads
// in the interface's language.
namespace samplechat {

struct Message
{
    QString kind; // "text", "file", "card", "poll"
    QString dialogId;
    qint64 messageId = 0;
    qint64 senderId = 0;
    QString senderName;
    QString time; // "09:12", as the chat shows it
};

QList<Message> messages();

// The colleagues' user ids and names, and the card's contact.
struct Person
{
    qint64 userId;
    QString name;
};
QList<Person> people();

// The file of the file message: its bytes and its id on the file service.
QByteArray sampleFileBytes();
QString sampleFileId();
// Stores the sample file on the service (once; the same bytes are kept once).
void publishSampleFile(FileService* files);

// What the chat pane shows of message `index`: {kind, sender, time, text,
// fileName, fileSize, cardName, pollTitle, options}.
QVariantMap describe(int index);

// The message's content, as the chat received it, for the account.
QSharedPointer<ContentItem> buildContent(int index, AccountBase* account);

} // namespace samplechat
