#include "reminderitem.h"

#include "accountbase.h"
#include "contactbase.h"
#include "contentitem.h"
#include "deserializecontent.h"
#include "dialogbase.h"
#include "fileitem.h"
#include "modelbaseutil.h"
#include "networksubject.h"
#include "recordextra.h"
#include "relativemessage.h"
#include "reminderinfo.h"
#include "reminderpattern.h"

#include <QDateTime>
#include <QJSEngine>
#include <QMessageLogger>
#include <QThread>

#include <limits>

namespace {

// Scene code of contents shown inside a reminder.
constexpr int kReminderScene = 8;

const char kLocalSerializeSignature[] = "bool __cdecl ReminderItem::serialize(struct storage::ReminderInfo &)";
const char kWireSerializeSignature[] =
    "bool __cdecl ReminderItem::serialize(class im::content::Reminder &,class AccountBase *,bool)";

// Serialises a message into bytes; on failure logs the module's debug line
// with the calling function's signature, and keeps what was written.
QByteArray toBytes(const google::protobuf::MessageLite& message, int line, const char* function)
{
    const size_t size = message.ByteSizeLong();
    QByteArray bytes;
    bool ok = size <= size_t(std::numeric_limits<int>::max());
    if (ok) {
        bytes.resize(int(size));
        ok = message.SerializeToArray(bytes.data(), int(size));
    }
    if (!ok)
        QMessageLogger("reminder/reminderitem", line, function).debug("=====Serialize proto buffer failed");
    return bytes;
}

bool isFileBody(const QSharedPointer<ContentItem>& content, int type)
{
    return content && content->type() == type && qobject_cast<FileItem*>(content.data());
}

bool sameSourceFile(FileItem* a, FileItem* b)
{
    const auto fa = a->sourceFilePtr();
    const auto fb = b->sourceFilePtr();
    if (!fa || !fb)
        return !fa && !fb;
    return fa->sameFile(*fb);
}

} // namespace

ReminderItem::ReminderItem(const QString& id)
{
    init();
    m_remindId = id;
    m_reminder.set_id(id.toStdString());
}

ReminderItem::ReminderItem(const storage::ReminderInfo& info, AccountBase* account)
{
    init();
    if (!account)
        return;
    if (!m_reminder.ParseFromArray(info.data.constData(), info.data.size())) {
        m_reminder.Clear();
        return;
    }
    m_remindId = info.id;

    if (showRemindTime() < originalRemindTime())
        setShowRemindTime(originalRemindTime());
    m_remindTime = info.remindTime;
    m_unread = info.unread;
    if (m_remindTime < showRemindTime())
        setRemindTime(showRemindTime());

    if (m_reminder.has_pattern()) {
        const auto& p = m_reminder.pattern();
        m_interval = p.interval();
        m_unit = p.unit();
        m_dayOfWeekFlags = p.day_of_week();
        m_dayOfMonthFlags = p.day_of_month();
        m_weekOfMonthFlags = p.week_of_month();
    }

    im::content::ReminderContent rc;
    const std::string& plain = m_reminder.content();
    if (rc.ParseFromArray(plain.data(), int(plain.size()))) {
        if (rc.content_size() > 0) {
            m_content = deserializeContent(rc.content(0), kReminderScene, account);
            if (isFileBody(m_content, ContentItem::FileType))
                static_cast<FileItem*>(m_content.data())->calcFileType();
        }
        if (rc.has_relative())
            m_quoteMsgItem = RelativeMessage::fromMessage(rc.relative(), account, this);
    }

    const RecordExtra extra = RecordExtra::fromJson(info.extra);
    m_lastContentTime = extra.lastContentTime;
    m_lastCompletedTime = extra.lastCompletedTime;
    m_lastPatternTime = extra.lastPatternTime;
    m_lastUnreadTime = extra.lastUnreadTime;
}

void ReminderItem::init()
{
    static const int registered = qRegisterMetaType<ReminderItemPtr>("ReminderItemPtr");
    Q_UNUSED(registered);
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

ReminderItem::~ReminderItem()
{
    // Views let go on this signal, before anything of the item is gone.
    emit startDestroy();
    for (ShowTimeSlot& slot : m_showTimeSlots) {
        if (slot.index)
            slot.index->forget(this);
    }
    delete m_quoteMsgItem;
    m_quoteMsgItem = nullptr;
    m_content.reset();
}

ContentItem* ReminderItem::content() const
{
    return m_content.data();
}

// ---------------------------------------------------------------- setters

void ReminderItem::setCompleted(bool completed)
{
    if (m_reminder.completed() == completed)
        return;
    m_reminder.set_completed(completed);
    emit completedChanged();
}

void ReminderItem::setReminded(bool reminded)
{
    if (m_reminder.reminded() == reminded)
        return;
    m_reminder.set_reminded(reminded);
    emit remindedChanged();
}

void ReminderItem::setRemindTime(qint64 remindTime)
{
    if (m_remindTime == remindTime)
        return;
    m_remindTime = remindTime;
    emit remindTimeChanged();
}

void ReminderItem::setOriginalRemindTime(qint64 time)
{
    if (m_reminder.original_remind_time() == time)
        return;
    m_reminder.set_original_remind_time(time);
    emit originalRemindTimeChanged();
}

void ReminderItem::setShowRemindTime(qint64 time)
{
    if (m_reminder.show_remind_time() == time)
        return;
    m_reminder.set_show_remind_time(time);
    for (ShowTimeSlot& slot : m_showTimeSlots) {
        if (slot.index)
            slot.index->update(this);
    }
    emit showRemindTimeChanged();
}

void ReminderItem::setValidTime(qint64 time)
{
    if (m_reminder.valid_time() == time)
        return;
    m_reminder.set_valid_time(time);
    emit validTimeChanged();
}

void ReminderItem::setEndDate(qint64 endDate)
{
    if (m_reminder.end_date() == endDate)
        return;
    m_reminder.set_end_date(endDate);
    emit endDateChanged();
}

void ReminderItem::setRepeatCount(int count)
{
    if (m_reminder.repeat_count() == count)
        return;
    m_reminder.set_repeat_count(count);
    emit repeatCountChanged();
}

void ReminderItem::setSnooze(int minutes)
{
    if (m_reminder.snooze() == minutes)
        return;
    m_reminder.set_snooze(minutes);
    emit snoozeChanged();
}

void ReminderItem::setInterval(int interval)
{
    if (m_interval == interval)
        return;
    m_interval = interval;
    emit intervalChanged();
}

void ReminderItem::setUnit(int unit)
{
    if (m_unit == unit)
        return;
    m_unit = unit;
    emit unitChanged();
}

void ReminderItem::setDayOfWeekFlags(int flags)
{
    if (m_dayOfWeekFlags == flags)
        return;
    m_dayOfWeekFlags = flags;
    emit dayOfWeekFlagsChanged();
}

void ReminderItem::setDayOfMonthFlags(int flags)
{
    if (m_dayOfMonthFlags == flags)
        return;
    m_dayOfMonthFlags = flags;
    emit dayOfMonthFlagsChanged();
}

void ReminderItem::setWeekOfMonthFlags(int flags)
{
    if (m_weekOfMonthFlags == flags)
        return;
    m_weekOfMonthFlags = flags;
    emit weekOfMonthFlagsChanged();
}

void ReminderItem::setQuoteMsgItem(RelativeMessage* quote)
{
    if (m_quoteMsgItem == quote)
        return;
    RelativeMessage* old = m_quoteMsgItem;
    m_quoteMsgItem = quote;
    if (quote)
        quote->setParent(this);
    emit quoteMsgItemChanged();
    // Bindings moved to the new quote while the signal was delivered.
    delete old;
}

void ReminderItem::setUnread(bool unread)
{
    m_unread = unread;
}

void ReminderItem::setLastContentTime(qint64 time)
{
    m_lastContentTime = time;
}

void ReminderItem::setLastCompletedTime(qint64 time)
{
    m_lastCompletedTime = time;
}

void ReminderItem::setLastPatternTime(qint64 time)
{
    m_lastPatternTime = time;
}

void ReminderItem::setLastUnreadTime(qint64 time)
{
    m_lastUnreadTime = time;
}

void ReminderItem::setTimestamp(qint64 time)
{
    if (m_reminder.update_time() != time)
        m_reminder.set_update_time(time);
}

void ReminderItem::setOrderTime(qint64 time)
{
    if (time > 0)
        m_reminder.set_order_time(time);
}

// ------------------------------------------------------------------ body

void ReminderItem::setContent(QSharedPointer<ContentItem> newContent, bool deleteOldFile)
{
    if (newContent == m_content)
        return;

    if (!m_content) {
        m_content = std::move(newContent);
        emit contentChanged();
        return;
    }

    if (!newContent) {
        if (m_content->type() != ContentItem::TextType) {
            if (auto* file = qobject_cast<FileItem*>(m_content.data()))
                file->deleteFile(deleteOldFile);
        }
        m_content.reset();
        emit contentChanged();
        return;
    }

    const int currentType = m_content->type();
    const int newType = newContent->type();
    if (currentType != newType || currentType == ContentItem::TextType) {
        if (currentType == newType) {
            // Both are text: the body object stays, its text follows.
            if (m_content->content() == newContent->content())
                return;
            m_content->setContent(newContent->content(), newContent->textBlocks());
        } else {
            if (currentType != ContentItem::TextType) {
                if (auto* file = qobject_cast<FileItem*>(m_content.data()))
                    file->deleteFile(deleteOldFile);
            }
            m_content = std::move(newContent);
        }
    } else {
        auto* currentFile = qobject_cast<FileItem*>(m_content.data());
        auto* newFile = qobject_cast<FileItem*>(newContent.data());
        if (currentFile && newFile && !sameSourceFile(currentFile, newFile)) {
            currentFile->deleteFile(deleteOldFile);
            m_content = std::move(newContent);
        } else if (currentFile && newFile) {
            // The same file: only the caption can have changed.
            if (m_content->content() == newContent->content())
                return;
            m_content->setContent(newContent->content(), newContent->textBlocks());
        } else {
            // Bodies of the same kind without files (cards, polls) are
            // replaced whole.
            m_content = std::move(newContent);
        }
    }

    if (isFileBody(m_content, ContentItem::FileType))
        static_cast<FileItem*>(m_content.data())->calcFileType();
    emit contentChanged();
}

void ReminderItem::setText(const QString& text)
{
    if (m_content) {
        m_content->setContent(text, {});
        return;
    }
    if (text.isEmpty())
        return;
    QSharedPointer<ContentItem> body(new ContentItem(kReminderScene, nullptr));
    body->setType(ContentItem::TextType);
    body->setContent(text, {});
    m_content = body;
    emit contentChanged();
}

QString ReminderItem::text() const
{
    return m_content ? m_content->content() : QString();
}

bool ReminderItem::isEmpty() const
{
    if (!m_content)
        return true;
    if (!m_content->content().isEmpty())
        return false;
    auto* file = qobject_cast<FileItem*>(m_content.data());
    return !(file && file->sourceFilePtr());
}

void ReminderItem::moveToThread(QThread* thread)
{
    QObject::moveToThread(thread);
    if (m_content)
        m_content->moveToThread(thread);
    // The quote is a child and follows the item; its body is not.
    if (m_quoteMsgItem && m_quoteMsgItem->contentPtr())
        m_quoteMsgItem->contentPtr()->moveToThread(thread);
}

// ------------------------------------------------------- local record form

QString ReminderItem::searchableText() const
{
    if (m_content) {
        QString text = m_content->content();
        if (text.isEmpty()
            && (m_content->type() == ContentItem::FileType || m_content->type() == ContentItem::VideoType)) {
            auto* file = qobject_cast<FileItem*>(m_content.data());
            if (file && file->sourceFilePtr())
                text = file->sourceFilePtr()->name();
        }
        return text;
    }
    if (m_quoteMsgItem)
        return m_quoteMsgItem->text();
    return QString();
}

void ReminderItem::copyPatternToMessage()
{
    auto* p = m_reminder.mutable_pattern();
    p->set_interval(m_interval);
    p->set_unit(m_unit);
    p->set_day_of_week(m_dayOfWeekFlags);
    p->set_day_of_month(m_dayOfMonthFlags);
    p->set_week_of_month(m_weekOfMonthFlags);
}

bool ReminderItem::serialize(storage::ReminderInfo& info)
{
    info.id = m_remindId;
    info.remindTime = m_remindTime;
    info.reminded = m_reminder.reminded();
    info.completed = m_reminder.completed();
    info.orderTime = m_reminder.order_time();
    info.unread = m_unread;
    info.text = searchableText();

    im::content::ReminderContent rc;
    if (m_content)
        m_content->serialize(rc.add_content());
    if (m_quoteMsgItem)
        m_quoteMsgItem->serialize(rc.mutable_relative());
    const QByteArray plain = toBytes(rc, __LINE__, kLocalSerializeSignature);
    m_reminder.set_content(plain.constData(), size_t(plain.size()));

    copyPatternToMessage();
    info.data = toBytes(m_reminder, __LINE__, kLocalSerializeSignature);

    RecordExtra extra;
    extra.lastContentTime = m_lastContentTime;
    extra.lastCompletedTime = m_lastCompletedTime;
    extra.lastPatternTime = m_lastPatternTime;
    extra.lastUnreadTime = m_lastUnreadTime;
    info.extra = extra.toJson();
    return true;
}

// --------------------------------------------------------------- wire form

bool ReminderItem::serialize(im::content::Reminder& out, AccountBase* account, bool textOnly)
{
    if (!account)
        return false;
    copyPatternToMessage();
    out.CopyFrom(m_reminder);
    out.set_has_repeat(true);
    out.set_read(!m_unread);

    im::content::ReminderContent rc;
    if (m_content) {
        if (textOnly) {
            const QString text = m_content->content();
            if (text.isEmpty())
                return false;
            auto* c = rc.add_content();
            // A content that carries only a text is a text message.
            c->set_type(ContentItem::TextType);
            c->mutable_text()->set_text(text.toStdString());
        } else {
            m_content->serialize(rc.add_content());
        }
    }
    if (m_quoteMsgItem)
        m_quoteMsgItem->serialize(rc.mutable_relative());
    const QByteArray plain = toBytes(rc, __LINE__, kWireSerializeSignature);

    QByteArray key;
    const QByteArray cipher = account->encrypt(plain, key);
    out.set_content(cipher.constData(), size_t(cipher.size()));
    out.set_key(key.constData(), size_t(key.size()));
    return true;
}

void ReminderItem::takeRepeatFields(const im::content::Reminder& msg)
{
    if (msg.has_pattern()) {
        const auto& p = msg.pattern();
        setInterval(p.interval());
        setUnit(p.unit());
        setDayOfWeekFlags(p.day_of_week());
        setDayOfMonthFlags(p.day_of_month());
        setWeekOfMonthFlags(p.week_of_month());
        m_reminder.mutable_pattern()->CopyFrom(p);
    } else {
        setInterval(0);
        setUnit(0);
        setDayOfWeekFlags(0);
        setDayOfMonthFlags(0);
        setWeekOfMonthFlags(0);
        m_reminder.clear_pattern();
    }
    setEndDate(msg.end_date());
    setRepeatCount(msg.repeat_count());
    setSnooze(msg.snooze());
    setValidTime(msg.valid_time());
}

qint64 ReminderItem::takeShowTime(const im::content::Reminder& msg)
{
    const qint64 show = qMax(msg.show_remind_time(), msg.original_remind_time());
    setShowRemindTime(show);
    return show;
}

void ReminderItem::takeTimesSameSeries(const im::content::Reminder& msg, qint64 show, bool withUnread)
{
    setRemindTime(qMax(m_remindTime, show));
    if (msg.completed() && m_remindTime >= 1)
        setReminded(true);
    else if (msg.completed() != completed())
        setReminded(msg.reminded());
    if (withUnread)
        takeUnreadSameSeries(msg);
}

void ReminderItem::takeUnreadSameSeries(const im::content::Reminder& msg)
{
    if (m_unread || msg.snooze() >= 1 || m_interval >= 1)
        setUnread(!msg.read());
}

void ReminderItem::takeTimesNewSeries(const im::content::Reminder& msg, qint64 show)
{
    setRemindTime(show);
    setOriginalRemindTime(msg.original_remind_time());
    setReminded(msg.completed() ? true : msg.reminded());
    if (msg.reminded() || msg.snooze() >= 1 || m_interval >= 1)
        setUnread(!msg.read());
    else
        setUnread(false);
}

void ReminderItem::takeContent(const im::content::ReminderContent& rc, AccountBase* account)
{
    if (rc.content_size() == 0)
        setContent(nullptr, true);
    else
        setContent(deserializeContent(rc.content(0), kReminderScene, account), true);
    if (!m_quoteMsgItem && rc.has_relative())
        setQuoteMsgItem(RelativeMessage::fromMessage(rc.relative(), account, this));
}

void ReminderItem::deserialize(const im::content::Reminder& msg, AccountBase* account)
{
    if (msg.has_repeat() || msg.has_pattern())
        takeRepeatFields(msg);
    const qint64 show = takeShowTime(msg);

    if (msg.original_remind_time() == originalRemindTime())
        takeTimesSameSeries(msg, show, true);
    else
        takeTimesNewSeries(msg, show);

    setCompleted(msg.completed());
    setTimestamp(msg.update_time());
    setOrderTime(msg.order_time());

    if (!account)
        return;
    const QByteArray plain = account->decrypt(QByteArray::fromStdString(msg.content()),
                                              QByteArray::fromStdString(msg.key()));
    m_reminder.set_content(plain.constData(), size_t(plain.size()));
    // Content that does not decrypt is not content: the body stays.
    im::content::ReminderContent rc;
    if (!plain.isNull() && rc.ParseFromArray(plain.constData(), plain.size()))
        takeContent(rc, account);
}

void ReminderItem::mergeFrom(const im::content::Reminder& msg, AccountBase* account, bool* localNewer)
{
    bool newer = false;
    const qint64 serverTime = msg.update_time();

    if (msg.completed() == completed()) {
        m_lastCompletedTime = 0;
    } else if (m_lastCompletedTime < serverTime) {
        m_lastCompletedTime = 0;
        setCompleted(msg.completed());
    } else {
        newer = true;
    }

    if (m_lastContentTime < serverTime) {
        m_lastContentTime = 0;
        const QByteArray plain = account->decrypt(QByteArray::fromStdString(msg.content()),
                                                  QByteArray::fromStdString(msg.key()));
        m_reminder.set_content(plain.constData(), size_t(plain.size()));
        // Unchecked on purpose: what does not parse is no content.
        im::content::ReminderContent rc;
        if (!rc.ParseFromArray(plain.constData(), plain.size()))
            rc.Clear();
        takeContent(rc, account);
    } else {
        newer = true;
    }

    if (m_lastPatternTime < serverTime) {
        m_lastPatternTime = 0;
        const bool sameSeries = msg.original_remind_time() == originalRemindTime();
        if (msg.has_repeat() || msg.has_pattern())
            takeRepeatFields(msg);
        const qint64 show = takeShowTime(msg);
        if (sameSeries) {
            takeTimesSameSeries(msg, show, false);
            if (m_lastUnreadTime < serverTime) {
                // It is the rule's change time that is cleared here, again;
                // the unread change time stays until the handler clears it.
                m_lastPatternTime = 0;
                takeUnreadSameSeries(msg);
            } else {
                newer = true;
            }
        } else {
            takeTimesNewSeries(msg, show);
        }
    } else {
        newer = true;
    }

    setTimestamp(msg.update_time());
    setOrderTime(msg.order_time());
    if (localNewer)
        *localNewer = newer;
}

// ------------------------------------------------------------------ quote

void ReminderItem::resolveQuoteSender(AccountBase* account)
{
    if (!m_quoteMsgItem || !account || m_quoteMsgItem->sender())
        return;
    QSharedPointer<DialogBase> dialog = account->dialog(m_quoteMsgItem->dialogId());
    if (!dialog)
        return;
    m_quoteMsgItem->setSender(dialog->contact(m_quoteMsgItem->senderId(), QString()));
}

// ------------------------------------------------------------- time rules

namespace {

qint64 now()
{
    return network::NetworkSubject::instance()->currentDateTime();
}

QDateTime local(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs);
}

// 32-bit two's complement product, written out: signed overflow is
// undefined in C++.
qint32 wrappingProduct(qint32 a, qint32 b)
{
    return qint32(quint32(a) * quint32(b));
}

// A sum of times that stops at the ends of the range: the times of a record
// or a server's message can be anything.
qint64 saturatingSum(qint64 a, qint64 b)
{
    qint64 sum;
    if (qAddOverflow(a, b, &sum))
        return b > 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
    return sum;
}

// The first of t, t + step, t + 2 step, ... after `current` (t <= current,
// step > 0), without the overflow that counting the steps could meet on
// the way: with gap = current - t = q x step + r it is current - r + step.
qint64 firstStepAfter(qint64 t, qint64 current, qint64 step)
{
    // Both lie in the range, so their distance fits in 64 unsigned bits.
    const quint64 gap = quint64(current) - quint64(t);
    const qint64 rest = qint64(gap % quint64(step));
    return saturatingSum(current, step - rest);
}

// A local date-time is its UTC instant plus the zone's offset, and Qt keeps
// that sum in 64 bits too: within an offset of either end of the range it
// overflows, and which instants that hits depends on the zone. Offsets stay
// within a day of UTC (real zones within 14 hours); two days covers them.
constexpr qint64 kLocalReachMargin = 2 * 24 * 3600 * qint64(1000);

// Whether no zone can give this instant a local date near the top of the
// range.
bool pastLocalReach(qint64 msecs)
{
    return msecs > std::numeric_limits<qint64>::max() - kLocalReachMargin;
}

// The instant moved, by at most the margin, to where every zone gives it a
// local date: the days compared at the ends of time are then the same kind
// of day in every zone.
qint64 withinLocalReach(qint64 msecs)
{
    return qBound(std::numeric_limits<qint64>::min() + kLocalReachMargin, msecs,
                  std::numeric_limits<qint64>::max() - kLocalReachMargin);
}

// The last day of the month `months` after `day`'s month, counted on 64 bits:
// QDate::addMonths adds to the month in an int, which wraps for counts near
// 2^31 and lands millions of years the wrong way. Gives what addMonths gives
// followed by the move to the month's last day wherever addMonths does not
// wrap (the calendar has no year 0: 1 BC is followed by AD 1).
QDate lastDayOfMonthsLater(const QDate& day, qint64 months)
{
    int year = 0;
    int month = 0;
    int dayOfMonth = 0;
    day.getDate(&year, &month, &dayOfMonth);
    // An int year in months plus an int count of months fits 64 bits many
    // times over.
    const qint64 index = (year > 0 ? qint64(year) - 1 : qint64(year)) * 12 + (month - 1) + months;
    qint64 targetYear = index / 12;
    qint64 targetMonth = index % 12;
    if (targetMonth < 0) {
        targetMonth += 12;
        --targetYear;
    }
    if (targetYear >= 0)
        ++targetYear;
    if (targetYear < std::numeric_limits<int>::min() || targetYear > std::numeric_limits<int>::max())
        return {};
    const QDate first(int(targetYear), int(targetMonth) + 1, 1);
    if (!first.isValid())
        return {};
    return first.addDays(first.daysInMonth() - 1);
}

} // namespace

qint64 ReminderItem::snoozeStep(int minutes)
{
    return qint64(wrappingProduct(minutes, 60000));
}

qint64 ReminderItem::occurrence(qint64 anchor, qint64 from, qint64 otherwise) const
{
    switch (m_unit) {
    case 0: return nextDayOccurrence(anchor, from, m_interval);
    case 1: return nextWeekOccurrence(anchor, from, m_interval, m_dayOfWeekFlags);
    case 2:
        return nextMonthOccurrence(anchor, from, m_interval, m_dayOfMonthFlags, m_weekOfMonthFlags,
                                   m_dayOfWeekFlags);
    default: return otherwise;
    }
}

qint64 ReminderItem::nextRemindTime() const
{
    if (m_interval < 1 || showRemindTime() < 1)
        return m_remindTime;
    return occurrence(originalRemindTime(), now(), m_remindTime);
}

qint64 ReminderItem::nextRemindTimeFromShow() const
{
    const qint64 show = showRemindTime();
    if (m_interval <= 0 || show <= 0)
        return m_remindTime;
    return occurrence(show, qMax(now(), saturatingSum(show, 1000)), m_remindTime);
}

ReminderItem::SeriesEnd ReminderItem::endOnDay(const QDate& day, const QTime& time, bool forward)
{
    if (!day.isValid())
        return beyondCalendar(forward);
    // An end at or before the epoch's first millisecond means no end. Only
    // days next to the epoch need the exact instant; converting days far
    // away to milliseconds is beyond what local time conversion handles.
    const QDate epoch(1970, 1, 1);
    if (day < epoch.addDays(-2))
        return {SeriesEnd::Open, {}};
    if (day <= epoch.addDays(2) && QDateTime(day, time).toMSecsSinceEpoch() < 1)
        return {SeriesEnd::Open, {}};
    return {SeriesEnd::Day, day};
}

ReminderItem::SeriesEnd ReminderItem::beyondCalendar(bool forward)
{
    // An end past the last date is after every time. One before the first
    // date is an end before the epoch like any other, which reads as no end.
    if (forward)
        return {SeriesEnd::BeyondCalendar, {}};
    return {SeriesEnd::Open, {}};
}

ReminderItem::SeriesEnd ReminderItem::weeklyCountEnd(const QDateTime& anchor) const
{
    const int s = anchor.date().dayOfWeek();
    QList<int> days;
    for (int i = 0; i < 7; ++i) {
        const int w = (s - 1 + i) % 7 + 1;
        if (m_dayOfWeekFlags & ModelBaseUtil::dayOfWeekToFlag(w))
            days.append(w);
    }
    // Deliberate: the walk over an empty list has no end to give; such a
    // rule yields no occurrence at all rather than an unbounded series.
    if (days.isEmpty())
        return {SeriesEnd::NoOccurrence, {}};

    // The walk repeats itself every days.size() steps: each cycle ends with
    // the anchor moved on by whole weeks and the walk back at its start, so
    // whole cycles are taken at once. The last weekday of the list is never
    // reached inside a week; the step that would reach it starts the next
    // cycle instead.
    const int count = repeatCount();
    const qint64 cycles = count / days.size();
    const int rest = count % days.size();
    // The anchor only moves the interval's way: a negative interval walks
    // back in time, and out of the calendar at its start.
    const bool forward = m_interval >= 0;
    qint64 jump = 0;
    if (qMulOverflow(cycles, 7 * qint64(m_interval), &jump))
        return beyondCalendar(forward);
    QDate date = anchor.date().addDays(jump);
    if (!date.isValid())
        return beyondCalendar(forward);
    int previous = date.dayOfWeek();
    for (int i = 0; i < rest; ++i) {
        int step = days.at(i) - previous;
        if (step < 0)
            step += 7;
        date = date.addDays(step);
        previous = days.at(i);
    }
    // The steps inside a week only go forward.
    return endOnDay(date, anchor.time(), true);
}

ReminderItem::SeriesEnd ReminderItem::seriesEnd() const
{
    const auto byEndDate = [this]() -> SeriesEnd {
        if (endDate() < 1)
            return {SeriesEnd::Open, {}};
        // Deliberate: within a zone's offset of the largest time an end has
        // no local date east of UTC, so every zone reads it as beyond the
        // calendar rather than only some.
        if (pastLocalReach(endDate()))
            return {SeriesEnd::BeyondCalendar, {}};
        return {SeriesEnd::Day, local(endDate()).date()};
    };
    if (repeatCount() <= 0)
        return byEndDate();
    // Deliberate: an anchor at the very ends of the range is moved by up to
    // two days, so that every zone counts from a date instead of some zones
    // finding none.
    const QDateTime anchor = local(withinLocalReach(originalRemindTime()));
    const qint32 product = wrappingProduct(repeatCount(), m_interval);
    switch (m_unit) {
    case 0:
        // 2^31 days are under 6 million years, so from an anchor within
        // local reach the end stays in the calendar; should it ever leave,
        // the product's sign says which way.
        return endOnDay(anchor.date().addDays(product), anchor.time(), product >= 0);
    case 1:
        return weeklyCountEnd(anchor);
    case 2:
        return endOnDay(lastDayOfMonthsLater(anchor.date(), product), anchor.time(), product >= 0);
    default:
        return byEndDate();
    }
}

bool ReminderItem::isValidTime(qint64 t) const
{
    const SeriesEnd end = seriesEnd();
    switch (end.kind) {
    case SeriesEnd::NoOccurrence: return false;
    case SeriesEnd::BeyondCalendar: return true;
    case SeriesEnd::Open: return t > now();
    case SeriesEnd::Day: break;
    }
    // A time at the ends of the range has no local date in some zones;
    // moved within reach it has one in all of them.
    return local(withinLocalReach(t)).date() <= end.day;
}

void ReminderItem::advanceRemindTime(bool fromShow, bool updateShow)
{
    if (m_interval < 1) {
        setReminded(true);
        return;
    }
    qint64 t;
    if (fromShow) {
        t = m_remindTime;
        const qint64 show = showRemindTime();
        if (show > 0)
            t = occurrence(show, qMax(now(), saturatingSum(show, 1000)), t);
    } else {
        t = nextRemindTime();
    }
    if (isValidTime(t)) {
        if (updateShow)
            setShowRemindTime(t);
        setRemindTime(t);
        setValidTime(t);
        setReminded(false);
    } else {
        setReminded(true);
    }
}

bool ReminderItem::stepSnooze()
{
    if (snooze() < 1) {
        const qint64 t = m_interval > 0 ? nextRemindTime() : 0;
        if (m_interval > 0 && isValidTime(t)) {
            setRemindTime(t);
            setValidTime(t);
            setReminded(false);
        } else {
            setReminded(true);
        }
        return true;
    }

    const qint64 step = snoozeStep(snooze());
    qint64 t = qMax(validTime(), m_remindTime);
    const qint64 limit = saturatingSum(qMax(validTime(), showRemindTime()), 5 * step);
    const qint64 current = now();
    if (t <= current) {
        // A period that wrapped to zero or below never reaches the present:
        // the cycle cannot go on.
        if (step <= 0) {
            setRemindTime(t);
            return false;
        }
        // The steps the loop would take, at once.
        t = firstStepAfter(t, current, step);
    }
    setRemindTime(t);
    return t <= limit;
}

void ReminderItem::refreshSnooze()
{
    if (reminded() || m_remindTime > now() || (m_interval < 1 && snooze() < 1))
        return;
    if (snooze() < 1) {
        advanceRemindTime(false, false);
        return;
    }
    const qint64 step = snoozeStep(snooze());
    qint64 t = qMax(validTime(), m_remindTime);
    const qint64 current = now();
    if (t <= current) {
        if (step <= 0)
            return;
        t = firstStepAfter(t, current, step);
    }
    setRemindTime(t);
}

void ReminderItem::snoozeToTomorrow()
{
    const QDate tomorrow = local(now()).date().addDays(1);
    const qint64 morning = QDateTime(tomorrow, QTime(9, 0)).toMSecsSinceEpoch();
    const qint64 next = nextRemindTime();
    const qint64 t = (next != 0 && morning >= next) ? next : morning;
    setValidTime(t);
    setRemindTime(t);
}

void ReminderItem::reschedule(qint64 t)
{
    if (originalRemindTime() == t && m_remindTime == t)
        return;
    if (validTime() != 0)
        setValidTime(0);
    setOriginalRemindTime(t);
    setRemindTime(t);
    setShowRemindTime(t);
    if (m_interval < 1)
        return;
    if (m_unit == 2) {
        const QDate d = local(m_remindTime).date();
        if (m_dayOfMonthFlags != 0) {
            setDayOfMonthFlags(m_dayOfMonthFlags > 0 ? d.day() : d.day() - d.daysInMonth() - 1);
        } else {
            setWeekOfMonthFlags(m_weekOfMonthFlags >= 1 ? (d.day() + 6) / 7
                                                        : -((d.daysInMonth() - d.day() + 7) / 7));
            setDayOfWeekFlags(ModelBaseUtil::dayOfWeekToFlag(d.dayOfWeek()));
        }
    }
    if (endDate() > 0 && endDate() < t)
        setEndDate(t);
}
