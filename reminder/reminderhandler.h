#pragma once

#include "modelbase.h"
#include "reminder_global.h"
#include "reminderitem.h"

#include "canceltype.h"

#include <QAtomicInt>
#include <QFuture>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QRecursiveMutex>
#include <QSet>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariantList>

#include <condition_variable>
#include <functional>
#include <mutex>

namespace im { namespace content { class Reminder; } }
namespace storage { struct ReminderWrite; }
class AccountBase;
class ContentItem;
struct LoadedReminders;
class MediaSendItem;
class RelativeMessage;
class ReminderModel;
class ReminderPattern;
Q_MOC_INCLUDE("contentitem.h")
Q_MOC_INCLUDE("relativemessage.h")
Q_MOC_INCLUDE("remindermodel.h")
Q_MOC_INCLUDE("reminderpattern.h")

// The reminders of one account: the controller the host creates per
// account and drives through ModelBase, and the surface the QML interface
// binds to. It owns the main and search lists, the repeat-rule editor and
// the remind timer; it writes every change to local storage on the host's
// storage worker and sends it to the server through the account.
class REMINDER_EXPORT ReminderHandler : public QObject, public ModelBase
{
    Q_OBJECT
    Q_PROPERTY(ReminderPattern* reminderPattern READ reminderPattern CONSTANT)
    Q_PROPERTY(int selectCount READ selectCount NOTIFY selectCountChanged)
    Q_PROPERTY(int selectCompletedCount READ selectCompletedCount NOTIFY selectCompletedCountChanged)
    Q_PROPERTY(int uncompleteOverdueCount READ uncompleteOverdueCount NOTIFY uncompleteOverdueCountChanged)
    Q_PROPERTY(ReminderModel* reminderModel READ reminderModel CONSTANT)
    Q_PROPERTY(ReminderModel* searchModel READ searchModel CONSTANT)
    Q_PROPERTY(QString content READ content WRITE setContent NOTIFY contentChanged)
    Q_PROPERTY(RelativeMessage* quoteMsgItem READ quoteMsgItem NOTIFY quoteMsgItemChanged)
    Q_PROPERTY(ContentItem* attachmentItem READ attachmentItem NOTIFY attachmentItemChanged)
    Q_PROPERTY(bool needRetry READ needRetry NOTIFY needRetryChanged)
    Q_PROPERTY(bool attachmentModify READ attachmentModify NOTIFY attachmentModifyChanged)

public:
    // Which part of a reminder a local write concerns.
    enum UpdateKeyType {
        UpdateAll = 0,        // the whole record
        UpdateSyncOnly = 1,   // nothing locally: only the server copy is sent again
        UpdateRemindTime = 2, // only the remind time
    };

    explicit ReminderHandler(AccountBase* account);
    ~ReminderHandler() override;

    // ModelBase: load from local storage, and clearing.
    void loadLocalData(bool connectOnly) override;
    void prepareToClearData(bool switching) override;
    void clearData(bool switching) override;

    // The server's answer to one sent reminder: code 0 accepted, 1 the
    // server's state (empty data: the server no longer has it), -1 stop
    // sending until the next listing.
    void syncFinished(const QString& remindId, const QByteArray& data, int code);
    // One reminder of the server's listing (empty data: deleted there).
    void listAndNotif(const QString& remindId, const QByteArray& data);

    // Opens an edit of a new reminder that quotes a chat message (the host
    // calls it from the chat). Nothing is stored until the edit is saved.
    void reminderMessage(const QString& dialogId, qint64 messageId, qint64 sender,
                         const QSharedPointer<ContentItem>& message);

    // Registers the types QML and queued calls carry; the argument is not
    // used.
    static void registerMetaType(const char* uri);

    ReminderPattern* reminderPattern() const { return m_pattern; }
    int selectCount() const;
    int selectCompletedCount() const;
    int uncompleteOverdueCount() const;
    ReminderModel* reminderModel() const { return m_reminderModel; }
    ReminderModel* searchModel() const { return m_searchModel; }
    QString content() const { return m_content; }
    void setContent(const QString& content);
    RelativeMessage* quoteMsgItem() const;
    ContentItem* attachmentItem() const;
    QSharedPointer<ContentItem> attachmentItemPtr() const;
    bool needRetry() const { return m_needRetry; }
    bool attachmentModify() const { return m_attachmentModify; }
    void setAttachmentModify(bool modify);

signals:
    void selectCountChanged();
    void selectCompletedCountChanged();
    void uncompleteOverdueCountChanged();
    void contentChanged();
    void quoteMsgItemChanged();
    void attachmentItemChanged();
    void needRetryChanged();
    void attachmentModifyChanged();

public slots:
    void readyReminder();
    void editReminder(QString reminderId);
    void newReminder(QString content);
    void addAttachment(QString filePath);
    void removeAttachment();
    void cancelTransfer();
    void retryUpload(QString remindId);
    void cancelUpload(QString reminderId, CancelType canceled = CancelByUser);
    void syncReminder();
    bool completedReminder(QString remindId, bool completed);
    void modifyRemindTime(QString reminderId, qint64 remindTime);
    void cancelReminder(QString remindId);
    void cancel();
    void select(QString reminderId);
    void selectAll(bool checked);
    void selectAllCompleted(bool checked);
    void deleteAllCompleted();
    void clearSelect();
    void deleteSelect(QString reminderId);
    void deleteSelects();
    bool selected(QString reminderId);
    void move(int from, int to);
    void moveFinish();
    void search(QString keyword);
    void resetSearch();
    void overdueReminderFinish(QString remindId);
    void snoozeReminder(QString remindId, int mins);
    void snoozeTomorrow(QString remindId);
    void closeOverdueReminder(QString remindId);

private slots:
    void onTimeOut();
    void notifyReminder(QVariantList notifyMsgs);
    void onListFinished();

private:
    // Tests reach the private operations through this probe.
    friend class ReminderHandlerProbe;

    // Loading: the read runs on the caller's thread, the result is taken
    // in on the handler's thread.
    void takeLoaded(const LoadedReminders& loaded);
    void beginLoad();
    void endLoad();

    // Local persistence.
    void saveToDb(ReminderItemPtr item, UpdateKeyType type, std::function<void()> done = {});
    void flushPassWrites();
    void runOnStorage(std::function<void()>&& task);

    // The remind timer and notifications.
    void checkStartTimer();
    void updateNearestTimer(const ReminderItemPtr& item);
    void refreshAfterSave(const ReminderItemPtr& item);
    void rearmWhenStorageCaughtUp(qint64 stuckAt, const QSet<QString>& handled);
    qint64 storedNearest();
    void skipRecord(const QString& remindId, const char* why);
    void checkeNextRemindTime(const ReminderItemPtr& item, bool fromShow);
    void completedReminder(const ReminderItemPtr& item, bool completed);
    void makeNotifyMsgs(const ReminderItemPtr& item, QVariantList& list);
    void makeNotifyMsgs(const ReminderItemPtr& item, QVariantList& list, const QString& accountNick);
    void removeNotify(const QString& remindId);
    void setUncompleteOverdueCount(int count);
    void recountOverdue();
    void stamp(const ReminderItemPtr& item, qint64 now);
    void send(const ReminderItemPtr& item, std::function<void()> done);
    void deleteReminder(const QString& id);
    ReminderModel* selectionList() const;
    void emitSelectionSignals();

    // Server synchronisation.
    void syncToServer(ReminderItemPtr item, bool textOnly, UpdateKeyType key, std::function<void()> done = {});
    void retrySync();
    void removeAsDeletedOnServer(const QString& remindId);
    void mergeServerState(const ReminderItemPtr& item, const im::content::Reminder& message, bool replace);
    void updateLastRemindId(const QString& remindId);

    // Editing, attachments and uploads.
    void clearStatus();
    QString makeRemindId();
    int getNewRemindId();
    bool needUpload(const QSharedPointer<ContentItem>& content) const;
    void deleteAttachment();
    bool uploadFile(ReminderItemPtr item);
    void uploadFinish(ReminderItemPtr item, int code);
    void reuploadFailed();
    void reuploadFailed(const QString& exceptId);
    void removeFileIds(const QSharedPointer<ContentItem>& content);
    void removeFileIds(ReminderItemPtr item);
    void updateNeedRetry();

    qint64 now() const;

    ReminderModel* m_reminderModel = nullptr;
    ReminderModel* m_searchModel = nullptr;
    AccountBase* m_account = nullptr;
    ReminderPattern* m_pattern = nullptr;
    QStringList m_selectedIds;
    ReminderItemPtr m_editItem;
    QSharedPointer<ContentItem> m_editBackup;
    MediaSendItem* m_attachment = nullptr;
    QList<ReminderItemPtr> m_movedItems;
    QMap<QString, ReminderItemPtr> m_failedUploads;
    QMap<QString, ReminderItemPtr> m_uploading;
    QSet<QString> m_notifiedIds;
    QSet<QString> m_pendingSync;
    QFuture<void> m_searchFuture;
    QRecursiveMutex m_uploadMutex;
    QMutex m_searchMutex;
    QTimer m_remindTimer;
    QString m_content;
    QString m_editRemindId;
    qint64 m_nearestTimestamp = 0;
    int m_lastRemindId = 0;
    int m_uncompleteOverdueCount = 0;
    int m_selectCompletedCount = 0;
    bool m_editExisting = false;
    bool m_searching = false;
    bool m_needRetry = false;
    bool m_attachmentModify = false;
    bool m_contentModify = false;
    bool m_listFinished = false;
    // Which search the results being posted belong to: a later search or a
    // reset makes the earlier one's posted results stale.
    QAtomicInt m_searchGeneration;
    // Stored pending records the remind timer steps over: unreadable, with
    // no reminder in the list, or left at an instant a pass could not move.
    // They stay in storage as they are; an id leaves the set when a
    // reminder of that id is saved. Handler's thread only.
    QSet<QString> m_skippedRecords;
    // During a timer pass: its writes without a completion, handed to the
    // storage worker a chunk at a time (flushPassWrites). Null otherwise.
    struct PassWrites;
    PassWrites* m_passWrites = nullptr;
    // A child on the handler's thread that the storage worker hands written
    // records back to, to be freed there; the handler itself is not called.
    QObject* m_storageReturns = nullptr;
    // Bumped by clearData: a load that began before takes nothing in.
    QAtomicInt m_clearGeneration;
    // Loads running on any thread; the destructor waits for them.
    std::mutex m_loadMutex;
    std::condition_variable m_loadsDone;
    int m_loadsRunning = 0;
};
