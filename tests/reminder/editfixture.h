#pragma once

// A handler with a real file manager: uploads go to the reference file
// service on the manager's own thread, converted copies are written into the
// account's cache directory, and the user's own files live in a directory
// of their own so that a test can tell they were never touched.
#include "handlerfixture.h"

#include "deserializecontent.h"
#include "filedatamgr.h"
#include "fileitem.h"
#include "filemanager.h"
#include "fileservice.h"
#include "fileservicecmd.h"
#include "fileutil.h"
#include "mediasenditem.h"
#include "mediasendermodel.h"
#include "modelbaseutil.h"

#include "im/content/content.pb.h"

#include <QColor>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QMap>
#include <QPointer>

#include <memory>

// ---------------------------------------------------------------------------
// The handler's upload bookkeeping and two of its private operations, for
// the tests of the upload pipeline. Explicit instantiation may name private
// members; each tag's friend function hands the member pointer out.
namespace editaccess {

template <typename Tag, typename Tag::type Member>
struct Grant
{
    friend typename Tag::type get(Tag) { return Member; }
};

using UploadMap = QMap<QString, ReminderItemPtr>;

struct FailedUploadsTag
{
    using type = UploadMap ReminderHandler::*;
    friend type get(FailedUploadsTag);
};
struct UploadingTag
{
    using type = UploadMap ReminderHandler::*;
    friend type get(UploadingTag);
};
struct UploadFileTag
{
    using type = bool (ReminderHandler::*)(ReminderItemPtr);
    friend type get(UploadFileTag);
};
struct ReuploadFailedTag
{
    using type = void (ReminderHandler::*)();
    friend type get(ReuploadFailedTag);
};
struct AttachmentTag
{
    using type = MediaSendItem* ReminderHandler::*;
    friend type get(AttachmentTag);
};

template struct Grant<FailedUploadsTag, &ReminderHandler::m_failedUploads>;
template struct Grant<UploadingTag, &ReminderHandler::m_uploading>;
template struct Grant<UploadFileTag, &ReminderHandler::uploadFile>;
template struct Grant<ReuploadFailedTag, &ReminderHandler::reuploadFailed>;
template struct Grant<AttachmentTag, &ReminderHandler::m_attachment>;

} // namespace editaccess

// Read on the handler's thread only, where the maps are changed.
inline QStringList failedIds(ReminderHandler* h)
{
    return (h->*get(editaccess::FailedUploadsTag{})).keys();
}
inline QStringList uploadingIds(ReminderHandler* h)
{
    return (h->*get(editaccess::UploadingTag{})).keys();
}
inline bool callUploadFile(ReminderHandler* h, const ReminderItemPtr& item)
{
    return (h->*get(editaccess::UploadFileTag{}))(item);
}
inline void callReuploadFailed(ReminderHandler* h)
{
    (h->*get(editaccess::ReuploadFailedTag{}))();
}
// The media-send item of the file last attached in the open edit.
inline MediaSendItem* sendItem(ReminderHandler* h)
{
    return h->*get(editaccess::AttachmentTag{});
}

inline QByteArray fileBytes(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray();
    return f.readAll();
}

inline QString sha256Hex(const QByteArray& bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

struct EditFixture
{
    EditFixture()
    {
        service.reset(new FileService(serviceDir.filePath(QStringLiteral("files"))));
        files = new FileManager(service.get(), f.account->storage());
        files->setCacheDirectory(f.account->cacheDirectory());
        f.account->setFileManager(files);
        MediaSenderModel::getInstance()->setCacheDirectory(f.account->cacheDirectory());

        contentChanged.reset(new QSignalSpy(f.handler, &ReminderHandler::contentChanged));
        quoteChanged.reset(new QSignalSpy(f.handler, &ReminderHandler::quoteMsgItemChanged));
        attachmentChanged.reset(new QSignalSpy(f.handler, &ReminderHandler::attachmentItemChanged));
        needRetryChanged.reset(new QSignalSpy(f.handler, &ReminderHandler::needRetryChanged));
        attachmentModifyChanged.reset(new QSignalSpy(f.handler, &ReminderHandler::attachmentModifyChanged));
    }

    ~EditFixture()
    {
        if (f.account)
            shutDown(true);
        delete files;
    }

    // Every upload still under way ends and reports to the handler; then,
    // with `clear`, the handler's data is cleared as a host does before it
    // lets an account go (which also ends an open edit); then the handler
    // goes, before the file manager it reports to.
    void shutDown(bool clear)
    {
        service->holdUploads(false);
        const bool idle = QTest::qWaitFor(
            [this] { return files->activeUploadCount() == 0 && uploadingIds(f.handler).isEmpty(); }, 30000);
        if (!idle)
            QTest::qFail("uploads still under way at the end of the test", __FILE__, __LINE__);
        f.settle();
        if (clear) {
            f.handler->prepareToClearData(false);
            f.handler->clearData(false);
            f.settle();
        }
        contentChanged.reset();
        quoteChanged.reset();
        attachmentChanged.reset();
        needRetryChanged.reset();
        attachmentModifyChanged.reset();
        f.notified.reset();
        f.withdrawn.reset();
        f.sent.reset();
        f.deleted.reset();
        f.account.reset(); // deletes the handler, its child
        f.handler = nullptr;
    }

    // Loads what was stored; with `listed` the host's first listing is over
    // and every change is also sent. Every spy starts empty afterwards.
    void start(bool listed = true)
    {
        f.handler->loadLocalData(false);
        if (listed)
            QMetaObject::invokeMethod(f.handler, "onListFinished");
        f.settle();
        clearSpies();
    }

    void clearSpies()
    {
        f.notified->clear();
        f.withdrawn->clear();
        f.sent->clear();
        f.deleted->clear();
        contentChanged->clear();
        quoteChanged->clear();
        attachmentChanged->clear();
        needRetryChanged->clear();
        attachmentModifyChanged->clear();
    }

    ReminderItemPtr live(const QString& id) const { return f.handler->reminderModel()->itemById(id); }

    // A file of the user's with these bytes.
    QString userFile(const QString& name, const QByteArray& bytes)
    {
        const QString path = userDir.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
            return QString();
        file.close();
        userFiles.insert(path, bytes);
        return path;
    }

    // An image of the user's: 400 x 300 in one colour, in the given format.
    // Larger than a thumbnail, so that the thumbnail is a file of its own.
    static QSize imageSize() { return QSize(400, 300); }
    QString userImage(const QString& name, const QColor& colour, const char* format,
                      QImage::Format pixels = QImage::Format_RGB32)
    {
        QImage image(imageSize(), pixels);
        image.fill(colour);
        const QString path = userDir.filePath(name);
        if (!image.save(path, format))
            return QString();
        userFiles.insert(path, fileBytes(path));
        return path;
    }

    // Empty when every file the user made is still there with its bytes.
    QString userFilesChanged() const
    {
        QStringList out;
        for (auto it = userFiles.cbegin(); it != userFiles.cend(); ++it) {
            if (!QFileInfo::exists(it.key()))
                out << QStringLiteral("%1 was deleted").arg(it.key());
            else if (fileBytes(it.key()) != it.value())
                out << QStringLiteral("%1 was changed").arg(it.key());
        }
        return out.join(QStringLiteral("; "));
    }

    // The files now in the account's cache directory.
    QStringList cacheFiles() const
    {
        QStringList out;
        const QDir dir(f.account->cacheDirectory());
        for (const QFileInfo& info : dir.entryInfoList(QDir::Files | QDir::NoDotAndDotDot))
            out << info.absoluteFilePath();
        return out;
    }

    // A file content made from the user's file the way a host prepares an
    // attachment, for reminders that an earlier session stored.
    QSharedPointer<ContentItem> prepared(const QString& path, const QString& caption)
    {
        std::unique_ptr<MediaSendItem> send(MediaSenderModel::getInstance()->mediaFormat(path, 3));
        if (!send)
            return {};
        MediaSendData data = send->mediaData();
        const int mode = (data.messageType == ContentItem::ImageType || data.messageType == ContentItem::AnimatedImageType)
            ? FileUtil::ImageMode
            : FileUtil::FileMode;
        QMap<QString, QVariant> fields;
        int code = 0;
        if (!FileUtil::getInstance()->parseMediaFile(data, mode, fields, code))
            return {};
        fields.insert(QStringLiteral("type"), ModelBaseUtil::messageTypeIntToStr(data.messageType));
        fields.insert(QStringLiteral("text"), caption);
        return deserializeContent(fields, data.messageType, 8, f.account.get());
    }

    // The body of the i-th request sent, decrypted.
    im::content::ReminderContent sentContent(int i) const
    {
        const im::content::Reminder msg = f.sentMessage(i);
        const QByteArray plain = f.account->decrypt(QByteArray::fromStdString(msg.content()),
                                                    QByteArray::fromStdString(msg.key()));
        im::content::ReminderContent rc;
        rc.ParseFromArray(plain.constData(), plain.size());
        return rc;
    }
    QString sentId(int i) const { return f.sent->at(i).at(0).toString(); }
    // Index of the last request sent for that id, or -1.
    int lastSentFor(const QString& id) const
    {
        for (int i = f.sent->count() - 1; i >= 0; --i) {
            if (sentId(i) == id)
                return i;
        }
        return -1;
    }
    int sentCountFor(const QString& id) const
    {
        int n = 0;
        for (int i = 0; i < f.sent->count(); ++i)
            n += sentId(i) == id ? 1 : 0;
        return n;
    }

    HandlerFixture f;
    QTemporaryDir userDir;
    QTemporaryDir serviceDir;
    std::unique_ptr<FileService> service;
    FileManager* files = nullptr;
    QMap<QString, QByteArray> userFiles;
    std::unique_ptr<QSignalSpy> contentChanged;
    std::unique_ptr<QSignalSpy> quoteChanged;
    std::unique_ptr<QSignalSpy> attachmentChanged;
    std::unique_ptr<QSignalSpy> needRetryChanged;
    std::unique_ptr<QSignalSpy> attachmentModifyChanged;
};
