#include "deskdevice.h"

#include "accountbase.h"
#include "appsettingmodel.h"
#include "carditem.h"
#include "contactbase.h"
#include "contentitem.h"
#include "deskedit.h"
#include "deskundo.h"
#include "devicesession.h"
#include "dialogbase.h"
#include "fileitem.h"
#include "filemanager.h"
#include "mediasendermodel.h"
#include "modelbaseutil.h"
#include "pollitem.h"
#include "relativemessage.h"
#include "remindermodel.h"
#include "reminderpattern.h"
#include "samplechat.h"
#include "usermanager.h"

#include <QDateTime>
#include <QSaveFile>
#include <QJsonObject>
#include <QJsonDocument>
#include <QFile>
#include <QDir>
#include <QFileInfo>
#include <QJSEngine>
#include <QLocale>

namespace {

QLocale uiLocale()
{
    return QLocale(AppSettingModel::language());
}

bool isFileBody(const ContentItem* c)
{
    return c && !c->isTextMsg() && qobject_cast<const FileItem*>(c);
}

} // namespace

DeskDevice::DeskDevice(DeviceSession* session, int number, const QString& directory, QObject* parent)
    : QObject(parent)
    , m_session(session)
    , m_handler(session->handler())
    , m_number(number)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    m_describer = new ReminderPattern(this);
    m_snoozedPath = QDir(directory).filePath(QStringLiteral("snoozed.json"));
    loadSnoozed();
    m_edit = new DeskEdit(this, directory, this);
    m_undo = new DeskUndo(m_handler, this);

    connect(AppSettingModel::getInstance(), &AppSettingModel::languageChanged, this, [this] {
        bumpTick();
        emit sampleMessagesChanged();
    });
    connect(m_session, &DeviceSession::loadedChanged, this, [this] {
        if (loaded())
            resolveAllQuoteSenders();
        emit loadedChanged();
    });
    // Deliberate: a quote goes out with its sender only once the sender is
    // resolved, and is stored the same way; the host resolves every quote
    // as it comes in (loaded, listed from the server, made here), so that
    // a later save or send does not drop the sender.
    ReminderModel* model = m_handler->reminderModel();
    connect(model, &QAbstractItemModel::rowsInserted, this, [this, model](const QModelIndex&, int first, int last) {
        // The load's own insertion is covered once it is in (above).
        if (!loaded())
            return;
        for (int row = first; row <= last; ++row)
            resolveQuoteSender(
                model->data(model->index(row, 0), ReminderModel::ReminderDataRole).value<ReminderItemPtr>());
    });
    connect(m_session, &DeviceSession::listFinished, this, [this] {
        if (m_listing) {
            m_listing = false;
            emit listingChanged();
            // "Sync now" says that it is done, however quick it was.
            showToast(qtTrId("desk_sync_done"));
        }
    });
    // The file manager reports from its worker: queued to this thread.
    connect(m_session->fileManager(), &FileManager::uploadProgress, this,
            [this](const QString& remindId, qint64 sent, qint64 total) {
                m_uploadProgress.insert(remindId, total > 0 ? double(sent) / double(total) : 1.0);
                ++m_uploadsRevision;
                emit uploadsChanged();
            },
            Qt::QueuedConnection);
    connect(m_session->fileManager(), &FileManager::uploadEnded, this,
            [this](const QString& remindId, int) {
                if (m_uploadProgress.remove(remindId) > 0) {
                    ++m_uploadsRevision;
                    emit uploadsChanged();
                }
            },
            Qt::QueuedConnection);
    m_clockTimer.setInterval(30 * 1000);
    connect(&m_clockTimer, &QTimer::timeout, this, &DeskDevice::bumpTick);
    m_clockTimer.start();
}

DeskDevice::~DeskDevice() = default;

bool DeskDevice::loaded() const
{
    return m_session->isLoaded();
}

qint64 DeskDevice::deviceId() const
{
    return account()->deviceId();
}

AccountBase* DeskDevice::account() const
{
    return m_session->account();
}

QVariantList DeskDevice::banners() const
{
    QVariantList list;
    for (const auto& entry : m_banners) {
        QVariantMap m;
        m.insert(QStringLiteral("remindId"), entry.first->remindId());
        m.insert(QStringLiteral("item"), QVariant::fromValue(static_cast<QObject*>(entry.first.data())));
        m.insert(QStringLiteral("dateTime"), entry.second);
        list.append(m);
    }
    return list;
}

QVariantList DeskDevice::sampleMessages() const
{
    QVariantList list;
    for (int i = 0; i < samplechat::messages().size(); ++i)
        list.append(samplechat::describe(i));
    return list;
}

void DeskDevice::setWindowActive(bool active)
{
    if (m_windowActive == active)
        return;
    m_windowActive = active;
    emit windowActiveChanged();
}

bool DeskDevice::owns(const ReminderItemPtr& item) const
{
    if (!item)
        return false;
    const ReminderItemPtr mine = m_handler->reminderModel()->itemById(item->remindId());
    return mine && mine.data() == item.data();
}

void DeskDevice::addBanner(const ReminderItemPtr& item, qint64 dateTime)
{
    if (!item)
        return;
    for (int i = 0; i < m_banners.size(); ++i) {
        if (m_banners.at(i).first->remindId() == item->remindId()) {
            m_banners.removeAt(i);
            break;
        }
    }
    m_banners.prepend(qMakePair(item, dateTime));
    if (m_snoozed.remove(item->remindId()) > 0)
        saveSnoozed();
    emit bannersChanged();
    // The row turns overdue in the same frame as its banner shows.
    bumpTick();
}

void DeskDevice::withdrawBanner(const QString& remindId)
{
    dismissBanner(remindId);
}

void DeskDevice::dismissBanner(const QString& remindId)
{
    for (int i = 0; i < m_banners.size(); ++i) {
        if (m_banners.at(i).first->remindId() == remindId) {
            m_banners.removeAt(i);
            emit bannersChanged();
            return;
        }
    }
}

namespace {

// A one-off reminder that has fired is done for the module: snoozing or
// moving it to tomorrow changes its times but never makes it fire again.
bool firedOneOff(const ReminderItemPtr& item)
{
    return item && item->interval() < 1 && item->reminded() && !item->completed();
}

} // namespace

void DeskDevice::answerSnooze(const QString& remindId, int minutes)
{
    const ReminderItemPtr item = m_handler->reminderModel()->itemById(remindId);
    dismissBanner(remindId);
    if (!item)
        return;
    if (firedOneOff(item)) {
        // Deliberate: a new remind time is what makes a fired one-off
        // reminder fire again; the module's snooze would leave it done.
        const qint64 at = now() + qint64(minutes) * 60 * 1000;
        m_handler->modifyRemindTime(remindId, at);
    } else {
        m_handler->snoozeReminder(remindId, minutes);
    }
    m_snoozed.insert(remindId, item->remindTime());
    saveSnoozed();
    bumpTick();
}

void DeskDevice::answerTomorrow(const QString& remindId)
{
    const ReminderItemPtr item = m_handler->reminderModel()->itemById(remindId);
    dismissBanner(remindId);
    if (!item)
        return;
    if (firedOneOff(item)) {
        const QDate tomorrow = QDateTime::fromMSecsSinceEpoch(now()).date().addDays(1);
        const qint64 at = QDateTime(tomorrow, QTime(9, 0)).toMSecsSinceEpoch();
        m_handler->modifyRemindTime(remindId, at);
    } else {
        m_handler->snoozeTomorrow(remindId);
    }
    m_snoozed.insert(remindId, item->remindTime());
    saveSnoozed();
    bumpTick();
}

void DeskDevice::answerClose(const QString& remindId)
{
    dismissBanner(remindId);
    m_handler->closeOverdueReminder(remindId);
    bumpTick();
}

void DeskDevice::answerDone(const QString& remindId)
{
    dismissBanner(remindId);
    m_handler->completedReminder(remindId, true);
    bumpTick();
}

void DeskDevice::resolveQuoteSender(const ReminderItemPtr& item)
{
    // Only a sender that is known by its id: 0 says nobody.
    if (item && item->quoteMsgItem() && item->quoteMsgItem()->senderId() > 0)
        item->resolveQuoteSender(account());
}

void DeskDevice::resolveAllQuoteSenders()
{
    // The shown rows are read in place; only the completed reminders that
    // are not shown are looked up by id (a lookup per reminder costs more
    // than the walk itself, and the whole list waits for it).
    ReminderModel* model = m_handler->reminderModel();
    const int rows = model->rowCount();
    for (int row = 0; row < rows; ++row)
        resolveQuoteSender(model->data(model->index(row, 0), ReminderModel::ReminderDataRole).value<ReminderItemPtr>());
    // Collapsed: the completed reminders have no rows.
    if (rows < model->count())
        model->forEachCompletedId([this, model](const QString& id) { resolveQuoteSender(model->itemById(id)); });
}

void DeskDevice::loadSnoozed()
{
    QFile file(m_snoozedPath);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QJsonObject all = QJsonDocument::fromJson(file.readAll()).object();
    for (auto it = all.begin(); it != all.end(); ++it)
        m_snoozed.insert(it.key(), qint64(it.value().toDouble()));
}

void DeskDevice::saveSnoozed()
{
    // Only what still holds: the reminder is there with the time it was
    // given (a later change of its time ends the snooze).
    QJsonObject all;
    for (auto it = m_snoozed.cbegin(); it != m_snoozed.cend(); ++it) {
        const ReminderItemPtr item = m_handler->reminderModel()->itemById(it.key());
        if (item && item->remindTime() == it.value())
            all.insert(it.key(), double(it.value()));
    }
    QDir().mkpath(QFileInfo(m_snoozedPath).absolutePath());
    QSaveFile file(m_snoozedPath);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(all).toJson(QJsonDocument::Compact));
        file.commit();
    }
}

qint64 DeskDevice::snoozedUntil(ReminderItem* item) const
{
    if (!item || item->completed() || item->reminded())
        return 0;
    const auto mine = m_snoozed.constFind(item->remindId());
    if (mine != m_snoozed.cend() && mine.value() == item->remindTime())
        return item->remindTime();
    // A reminder with a snooze period in its cycle: the next firing comes
    // after the occurrence shown.
    if (item->snooze() > 0 && item->validTime() > 0 && item->remindTime() > item->showRemindTime()
        && item->showRemindTime() > 0)
        return item->remindTime();
    return 0;
}

void DeskDevice::showToast(const QString& text)
{
    emit toast(text);
}

void DeskDevice::refreshClock()
{
    bumpTick();
}

void DeskDevice::bumpTick()
{
    ++m_tick;
    emit tickChanged();
}

void DeskDevice::relist()
{
    if (!m_listing) {
        m_listing = true;
        emit listingChanged();
    }
    m_session->relist();
}

void DeskDevice::syncNow()
{
    relist();
}

ReminderItem* DeskDevice::asItem(const QVariant& reminderData) const
{
    return reminderData.value<ReminderItemPtr>().data();
}

ReminderItem* DeskDevice::itemById(const QString& remindId) const
{
    return m_handler->reminderModel()->itemById(remindId).data();
}

ReminderItemPtr DeskDevice::pointerOf(ReminderItem* item) const
{
    if (!item)
        return {};
    ReminderItemPtr ptr = m_handler->reminderModel()->itemById(item->remindId());
    if (ptr.data() == item)
        return ptr;
    ptr = m_handler->searchModel()->itemById(item->remindId());
    return ptr.data() == item ? ptr : ReminderItemPtr();
}

QString DeskDevice::repeatWords(ReminderItem* item)
{
    const ReminderItemPtr ptr = pointerOf(item);
    if (!ptr || ptr->interval() < 1)
        return QString();
    m_describer->reset();
    m_describer->loadFrom(ptr);
    const QString text = m_describer->repeatText();
    const QString detail = ruleDetail(m_describer);
    return detail.isEmpty() ? text : qtTrId("desk_repeat_words_detail").arg(text, detail);
}

QString DeskDevice::ruleDetail(QObject* object) const
{
    const auto* pattern = qobject_cast<ReminderPattern*>(object);
    if (!pattern || pattern->repeatFlag() != ReminderPattern::Custom || pattern->interval() < 1)
        return QString();
    if (pattern->unit() == ReminderPattern::Weeks) {
        QStringList days;
        for (int day = 1; day <= 7; ++day) {
            if (hasWeekday(pattern->dayOfWeekFlags(), day))
                days.append(weekdayName(day, true));
        }
        return days.size() == 7 ? QString() : days.join(qtTrId("desk_list_separator"));
    }
    if (pattern->unit() >= ReminderPattern::MonthDay) {
        for (const QVariant& v : pattern->monthModel()) {
            const QVariantMap m = v.toMap();
            if (m.value(QStringLiteral("unit")).toInt() == pattern->unit())
                return m.value(QStringLiteral("text")).toString();
        }
    }
    return QString();
}

QString DeskDevice::formatTime(qint64 ms) const
{
    if (ms <= 0)
        return QString();
    const QDateTime when = QDateTime::fromMSecsSinceEpoch(ms);
    const QDate today = QDateTime::fromMSecsSinceEpoch(now()).date();
    const QString clock = when.time().toString(QStringLiteral("HH:mm"));
    const qint64 days = today.daysTo(when.date());
    if (days == 0)
        return qtTrId("desk_time_today").arg(clock);
    if (days == 1)
        return qtTrId("desk_time_tomorrow").arg(clock);
    if (days == -1)
        return qtTrId("desk_time_yesterday").arg(clock);
    const QString format =
        when.date().year() == today.year() ? qtTrId("desk_date_format_short") : qtTrId("desk_date_format_long");
    return qtTrId("desk_time_on_date").arg(uiLocale().toString(when.date(), format), clock);
}

QString DeskDevice::formatDay(qint64 ms) const
{
    if (ms <= 0)
        return QString();
    return uiLocale().toString(QDateTime::fromMSecsSinceEpoch(ms).date(), qtTrId("desk_date_format_long"));
}

QString DeskDevice::monthTitle(int year, int month) const
{
    return uiLocale().toString(QDate(year, month, 1), qtTrId("desk_month_format"));
}

bool DeskDevice::isOverdue(ReminderItem* item) const
{
    return item && !item->completed() && item->showRemindTime() > 0 && item->showRemindTime() < now();
}

QString DeskDevice::bodyText(ReminderItem* item) const
{
    return item ? item->text() : QString();
}

QVariantMap DeskDevice::attachment(QObject* content) const
{
    QVariantMap m;
    m.insert(QStringLiteral("kind"), QStringLiteral("none"));
    const auto* c = qobject_cast<ContentItem*>(content);
    if (!isFileBody(c))
        return m;
    const auto* file = qobject_cast<const FileItem*>(c);
    const bool image = c->type() == ContentItem::ImageType || c->type() == ContentItem::AnimatedImageType
        || file->fileKind() == FileItem::KindImage;
    m.insert(QStringLiteral("kind"), image ? QStringLiteral("image") : QStringLiteral("file"));
    m.insert(QStringLiteral("name"), file->fileName());
    m.insert(QStringLiteral("size"), file->fileSize() > 0 ? uiLocale().formattedDataSize(file->fileSize()) : QString());
    QString thumb;
    if (file->validThumbFile())
        thumb = QUrl::fromLocalFile(file->thumbnailFile()).toString();
    else if (image && !file->filePath().isEmpty() && QFileInfo::exists(file->filePath()))
        thumb = QUrl::fromLocalFile(file->filePath()).toString();
    m.insert(QStringLiteral("thumb"), thumb);
    return m;
}

QString DeskDevice::quoteSender(RelativeMessage* quote) const
{
    if (!quote)
        return QString();
    if (const ContactBase* sender = quote->sender())
        return sender->displayName();
    if (quote->senderId() < 1)
        return qtTrId("desk_unknown_sender");
    const QSharedPointer<ContactBase> known =
        account()->userManager()->getUserPointer(quote->senderId(), false, QString(), false);
    return known ? known->displayName() : qtTrId("desk_unknown_sender");
}

QString DeskDevice::quoteKind(RelativeMessage* quote) const
{
    const ContentItem* c = quote ? quote->content() : nullptr;
    if (!c)
        return QStringLiteral("text");
    if (qobject_cast<const CardItem*>(c))
        return QStringLiteral("card");
    if (qobject_cast<const WithOptionsItem*>(c))
        return QStringLiteral("poll");
    if (isFileBody(c))
        return QStringLiteral("file");
    return QStringLiteral("text");
}

QString DeskDevice::quoteSummary(RelativeMessage* quote) const
{
    const ContentItem* c = quote ? quote->content() : nullptr;
    if (!c)
        return QString();
    if (const auto* card = qobject_cast<const CardItem*>(c))
        return qtTrId("desk_quote_card").arg(card->nick());
    if (const auto* poll = qobject_cast<const WithOptionsItem*>(c))
        return qtTrId("desk_quote_poll").arg(poll->title());
    return quote->text();
}

qint64 DeskDevice::now() const
{
    return account()->currentServerTime();
}

qint64 DeskDevice::suggestedTime() const
{
    const QDateTime current = QDateTime::fromMSecsSinceEpoch(now());
    if (current.time().hour() < 21) {
        const QDateTime next(current.date(), QTime(current.time().hour(), 0));
        return next.addSecs(3600).toMSecsSinceEpoch();
    }
    return QDateTime(current.date().addDays(1), QTime(9, 0)).toMSecsSinceEpoch();
}

QVariantList DeskDevice::quickTimes() const
{
    const QDateTime current = QDateTime::fromMSecsSinceEpoch(now());
    QVariantList list;
    auto add = [&list](const QString& label, const QDateTime& t) {
        QVariantMap m;
        m.insert(QStringLiteral("label"), label);
        m.insert(QStringLiteral("time"), t.toMSecsSinceEpoch());
        list.append(m);
    };
    // In an hour, on the next five minutes.
    QDateTime inHour = current.addSecs(3600);
    const int minute = inHour.time().minute();
    inHour = QDateTime(inHour.date(), QTime(inHour.time().hour(), minute - minute % 5)).addSecs(minute % 5 ? 300 : 0);
    add(qtTrId("desk_quick_in_hour"), inHour);
    if (current.time().hour() < 17)
        add(qtTrId("desk_quick_this_evening"), QDateTime(current.date(), QTime(18, 0)));
    add(qtTrId("desk_quick_tomorrow"), QDateTime(current.date().addDays(1), QTime(9, 0)));
    const int toMonday = 8 - current.date().dayOfWeek();
    add(qtTrId("desk_quick_next_week"), QDateTime(current.date().addDays(toMonday), QTime(9, 0)));
    return list;
}

qint64 DeskDevice::dateAt(int year, int month, int day) const
{
    return QDateTime(QDate(year, month, day), QTime(0, 0)).toMSecsSinceEpoch();
}

qint64 DeskDevice::combine(qint64 dayMs, int hour, int minute) const
{
    const QDate day = QDateTime::fromMSecsSinceEpoch(dayMs > 0 ? dayMs : now()).date();
    return QDateTime(day, QTime(qBound(0, hour, 23), qBound(0, minute, 59))).toMSecsSinceEpoch();
}

int DeskDevice::hourOf(qint64 ms) const
{
    return QDateTime::fromMSecsSinceEpoch(ms).time().hour();
}

int DeskDevice::minuteOf(qint64 ms) const
{
    return QDateTime::fromMSecsSinceEpoch(ms).time().minute();
}

int DeskDevice::yearOf(qint64 ms) const
{
    return QDateTime::fromMSecsSinceEpoch(ms > 0 ? ms : now()).date().year();
}

int DeskDevice::monthOf(qint64 ms) const
{
    return QDateTime::fromMSecsSinceEpoch(ms > 0 ? ms : now()).date().month();
}

int DeskDevice::dayOf(qint64 ms) const
{
    return QDateTime::fromMSecsSinceEpoch(ms > 0 ? ms : now()).date().day();
}

bool DeskDevice::sameDay(qint64 a, qint64 b) const
{
    return QDateTime::fromMSecsSinceEpoch(a).date() == QDateTime::fromMSecsSinceEpoch(b).date();
}

qint64 DeskDevice::monthLater(qint64 ms) const
{
    const QDate day = QDateTime::fromMSecsSinceEpoch(ms > 0 ? ms : now()).date().addMonths(1);
    return QDateTime(day, QTime(0, 0)).toMSecsSinceEpoch();
}

QString DeskDevice::weekdayName(int day, bool shortName) const
{
    return uiLocale().dayName(day, shortName ? QLocale::ShortFormat : QLocale::LongFormat);
}

int DeskDevice::firstDayOfWeek() const
{
    return int(uiLocale().firstDayOfWeek());
}

bool DeskDevice::hasWeekday(int flags, int day) const
{
    return (flags & ModelBaseUtil::dayOfWeekToFlag(day)) != 0;
}

int DeskDevice::toggledWeekday(int flags, int day) const
{
    return flags ^ ModelBaseUtil::dayOfWeekToFlag(day);
}

void DeskDevice::remindAbout(int index)
{
    const QList<samplechat::Message> all = samplechat::messages();
    if (index < 0 || index >= all.size())
        return;
    const samplechat::Message& msg = all.at(index);
    const QSharedPointer<ContentItem> content = samplechat::buildContent(index, account());
    m_handler->reminderMessage(msg.dialogId, msg.messageId, msg.senderId, content);
    // The chat knows who sent the message: the quote carries its sender, so
    // that the sender travels with the reminder to the other devices.
    if (RelativeMessage* quote = m_handler->quoteMsgItem()) {
        if (const QSharedPointer<DialogBase> dialog = account()->dialog(msg.dialogId))
            quote->setSender(dialog->contact(msg.senderId, msg.senderName));
    }
}

double DeskDevice::uploadProgress(const QString& remindId) const
{
    return m_uploadProgress.value(remindId, -1.0);
}

QString DeskDevice::prepareAttachment(const QUrl& url) const
{
    MediaSenderModel::getInstance()->setCacheDirectory(account()->cacheDirectory());
    return url.isLocalFile() ? url.toLocalFile() : url.toString();
}

void DeskDevice::attachFile(const QUrl& url)
{
    const QString path = prepareAttachment(url);
    const QFileInfo info(path);
    // A folder goes to the handler, which refuses it with its own words.
    if (!info.isDir() && (!info.exists() || !info.isReadable())) {
        showToast(qtTrId("desk_attach_unreadable"));
        return;
    }
    m_handler->addAttachment(path);
}
