#include "deskedit.h"

#include "accountbase.h"
#include "appsettingmodel.h"
#include "contentitem.h"
#include "deskbackend.h"
#include "deskdevice.h"
#include "fileutil.h"
#include "mediasenddata.h"
#include "mediasendermodel.h"
#include "mediasenditem.h"
#include "reminderhandler.h"
#include "remindermodel.h"
#include "reminderpattern.h"
#include "samplechat.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJSEngine>
#include <QJsonDocument>
#include <QLocale>
#include <QSaveFile>

#include <functional>

namespace {

const QString kNew = QStringLiteral("new");
const QString kQuote = QStringLiteral("quote");
const QString kExisting = QStringLiteral("existing");

// The id of the reminder the call adds to the list ("" when none).
QString idInsertedBy(ReminderModel* model, const std::function<void()>& call)
{
    QString id;
    const QMetaObject::Connection c =
        QObject::connect(model, &QAbstractItemModel::rowsInserted, model,
                         [&id, model](const QModelIndex&, int first, int) {
                             if (!id.isEmpty())
                                 return;
                             const ReminderItemPtr item =
                                 model->data(model->index(first, 0), ReminderModel::ReminderDataRole)
                                     .value<ReminderItemPtr>();
                             if (item)
                                 id = item->remindId();
                         });
    call();
    QObject::disconnect(c);
    return id;
}

} // namespace

DeskEdit::DeskEdit(DeskDevice* device, const QString& directory, QObject* parent)
    : QObject(parent)
    , m_device(device)
    , m_handler(device->handler())
    , m_pattern(device->handler()->reminderPattern())
    , m_directory(QDir(directory).filePath(QStringLiteral("drafts")))
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    m_draftTimer.setSingleShot(true);
    m_draftTimer.setInterval(kDraftDelayMs);
    connect(&m_draftTimer, &QTimer::timeout, this, &DeskEdit::writeDraft);

    const auto edited = [this] { onEdited(); };
    connect(m_handler, &ReminderHandler::contentChanged, this, edited);
    connect(m_handler, &ReminderHandler::attachmentItemChanged, this, edited);
    connect(m_pattern, &ReminderPattern::remindTimeChanged, this, edited);
    connect(m_pattern, &ReminderPattern::repeatFlagChanged, this, edited);
    connect(m_pattern, &ReminderPattern::intervalChanged, this, edited);
    connect(m_pattern, &ReminderPattern::unitChanged, this, edited);
    connect(m_pattern, &ReminderPattern::dayOfWeekFlagsChanged, this, edited);
    connect(m_pattern, &ReminderPattern::endDateChanged, this, edited);
    connect(m_pattern, &ReminderPattern::repeatCountChanged, this, edited);
    connect(m_pattern, &ReminderPattern::snoozeChanged, this, edited);
    readDraft();
}

DeskEdit::~DeskEdit()
{
    // Whatever ends the program with an edit open keeps its draft.
    keepDraft();
}

// ----------------------------------------------------------- opening

void DeskEdit::begin(const QString& kind)
{
    m_kind = kind;
    m_attached.clear();
    m_removed = false;
    m_baseline = state();
    m_changed = false;
    m_draftFile = QDir(m_directory).filePath(
        QStringLiteral("%1.json").arg(QDateTime::currentMSecsSinceEpoch() * 10 + (m_draftSerial++ % 10)));
    emit openChanged();
    emit changedChanged();
    emit pendingAttachmentChanged();
}

void DeskEdit::startNew(const QString& text)
{
    if (isOpen())
        discard();
    // A new reminder starts from nothing: whatever it is given (the quick
    // add's text too) is the person's and counts as a change.
    m_handler->setContent(QString());
    m_pattern->reset();
    begin(kNew);
    m_handler->setContent(text);
    onEdited();
}

void DeskEdit::startQuote(int sampleIndex)
{
    if (sampleIndex < 0 || sampleIndex >= samplechat::messages().size())
        return;
    if (isOpen())
        discard();
    m_device->remindAbout(sampleIndex);
    m_sample = sampleIndex;
    begin(kQuote);
}

bool DeskEdit::startExisting(const QString& remindId)
{
    if (!m_handler->reminderModel()->itemById(remindId))
        return false;
    if (isOpen())
        discard();
    m_handler->editReminder(remindId);
    m_remindId = remindId;
    begin(kExisting);
    return true;
}

// ----------------------------------------------------------- closing

QString DeskEdit::save()
{
    if (!isOpen())
        return QString();
    QString id;
    if (m_kind == kNew) {
        // The file may have gone since it was chosen: the edit stays open
        // and says why, rather than storing the reminder without it.
        if (!m_attached.isEmpty()) {
            const int code = checkFile(m_attached, nullptr);
            if (code != 0) {
                m_device->showToast(DeskBackend::attachErrorText(code == -1 ? FileUtil::ErrorUnreadableFile : code));
                return QString();
            }
        }
        // The handler stores a new reminder from its text, then the edit of
        // it takes the time, the rule and the file the person gave.
        const QJsonObject pattern = patternState();
        id = addQuick(m_handler, m_handler->content());
        if (!id.isEmpty()) {
            m_handler->editReminder(id);
            applyPattern(pattern);
            m_pattern->setTimeModified(true);
            m_pattern->setRepeatModified(true);
            if (!m_attached.isEmpty())
                m_handler->addAttachment(m_attached);
            m_handler->syncReminder();
        }
    } else if (m_kind == kQuote) {
        id = idInsertedBy(m_handler->reminderModel(), [this] { m_handler->syncReminder(); });
    } else {
        id = m_remindId;
        m_handler->syncReminder();
    }
    end();
    if (!id.isEmpty() && m_kind != kExisting)
        emit saved(id);
    return id;
}

void DeskEdit::discard()
{
    if (!isOpen())
        return;
    if (m_kind == kNew) {
        // No edit of the handler's is open: its text and rule are cleared
        // here.
        m_handler->setContent(QString());
        m_pattern->reset();
    } else {
        m_handler->cancel();
    }
    end();
}

void DeskEdit::end()
{
    m_draftTimer.stop();
    removeDraftFile();
    m_kind.clear();
    m_remindId.clear();
    m_sample = -1;
    m_attached.clear();
    m_pendingInfo.clear();
    m_removed = false;
    m_baseline = QJsonObject();
    m_changed = false;
    emit openChanged();
    emit changedChanged();
    emit pendingAttachmentChanged();
}

QString DeskEdit::addQuick(ReminderHandler* handler, const QString& text)
{
    return idInsertedBy(handler->reminderModel(), [handler, text] { handler->newReminder(text); });
}

// ----------------------------------------------------------- attachments

QVariantMap DeskEdit::pendingAttachment() const
{
    if (m_kind != kNew || m_pendingInfo.isEmpty()) {
        QVariantMap none;
        none.insert(QStringLiteral("kind"), QStringLiteral("none"));
        return none;
    }
    return m_pendingInfo;
}

int DeskEdit::checkFile(const QString& path, QVariantMap* shown) const
{
    const QFileInfo info(path);
    if (info.isDir())
        return -1;
    if (!info.exists() || !info.isFile() || !info.isReadable())
        return FileUtil::ErrorUnreadableFile;
    MediaSenderModel::getInstance()->setCacheDirectory(m_device->account()->cacheDirectory());
    MediaSendItem* item = MediaSenderModel::getInstance()->mediaFormat(path, FileUtil::ImageMode);
    if (!item)
        return FileUtil::ErrorUnreadableFile;
    MediaSendData data = item->mediaData();
    const bool image = data.messageType == MediaSenderModel::ImageMedia
        || data.messageType == MediaSenderModel::AnimatedImageMedia;
    QMap<QString, QVariant> fields;
    int code = FileUtil::ParseOk;
    FileUtil::getInstance()->parseMediaFile(data, image ? FileUtil::ImageMode : FileUtil::FileMode, fields, code);
    if (shown && !fields.isEmpty()) {
        // As the row will show it once saved: the name and size of what is
        // sent (a picture's converted copy), the user's own picture as the
        // thumbnail.
        shown->insert(QStringLiteral("kind"), image ? QStringLiteral("image") : QStringLiteral("file"));
        shown->insert(QStringLiteral("name"), data.name);
        shown->insert(QStringLiteral("size"), QLocale(AppSettingModel::language()).formattedDataSize(data.size));
        shown->insert(QStringLiteral("thumb"),
                      image ? QUrl::fromLocalFile(data.sourcePath).toString() : QString());
    }
    // The converted copies go at once: the handler makes its own on saving.
    if (!data.path.isEmpty() && data.path != data.sourcePath)
        QFile::remove(data.path);
    if (!data.thumbPath.isEmpty() && data.thumbPath != data.path)
        QFile::remove(data.thumbPath);
    delete item;
    return fields.isEmpty() ? (code == FileUtil::ParseOk ? FileUtil::ErrorUnreadableFile : code) : 0;
}

void DeskEdit::setPending(const QString& path, const QVariantMap& shown)
{
    m_attached = path;
    m_pendingInfo = path.isEmpty() ? QVariantMap() : shown;
    emit pendingAttachmentChanged();
    onEdited();
}

void DeskEdit::attach(const QUrl& url)
{
    if (!isOpen())
        return;
    const QString path = m_device->prepareAttachment(url);
    if (m_kind != kNew) {
        const ContentItem* before = m_handler->attachmentItem();
        m_device->attachFile(url);
        if (m_handler->attachmentItem() != before && m_handler->attachmentItem()) {
            m_attached = path;
            onEdited();
        }
        return;
    }
    QVariantMap shown;
    const int code = checkFile(path, &shown);
    if (code == -1) {
        // The handler refuses a folder with its own words.
        m_handler->addAttachment(path);
        return;
    }
    if (code != 0) {
        m_device->showToast(DeskBackend::attachErrorText(code));
        return;
    }
    setPending(QFileInfo(path).absoluteFilePath(), shown);
}

void DeskEdit::removeAttachment()
{
    if (!isOpen())
        return;
    if (m_kind == kNew) {
        setPending(QString(), QVariantMap());
        return;
    }
    m_handler->removeAttachment();
    m_attached.clear();
    m_removed = true;
    onEdited();
}

// ----------------------------------------------------------- state

QJsonObject DeskEdit::patternState() const
{
    return QJsonObject{
        {QStringLiteral("remindTime"), double(m_pattern->remindTime())},
        {QStringLiteral("repeatFlag"), m_pattern->repeatFlag()},
        {QStringLiteral("interval"), m_pattern->interval()},
        {QStringLiteral("unit"), m_pattern->unit()},
        {QStringLiteral("dayOfWeekFlags"), m_pattern->dayOfWeekFlags()},
        {QStringLiteral("endDate"), double(m_pattern->endDate())},
        {QStringLiteral("repeatCount"), m_pattern->repeatCount()},
        {QStringLiteral("snooze"), m_pattern->snooze()},
    };
}

void DeskEdit::applyPattern(const QJsonObject& p)
{
    m_pattern->setRepeatFlag(p.value(QStringLiteral("repeatFlag")).toInt());
    m_pattern->setInterval(p.value(QStringLiteral("interval")).toInt());
    m_pattern->setUnit(p.value(QStringLiteral("unit")).toInt());
    m_pattern->setDayOfWeekFlags(p.value(QStringLiteral("dayOfWeekFlags")).toInt());
    m_pattern->setEndDate(qint64(p.value(QStringLiteral("endDate")).toDouble()));
    m_pattern->setRepeatCount(p.value(QStringLiteral("repeatCount")).toInt());
    m_pattern->setSnooze(p.value(QStringLiteral("snooze")).toInt());
    const qint64 time = qint64(p.value(QStringLiteral("remindTime")).toDouble());
    // Setting the time again rebuilds the rule's words from the fields.
    m_pattern->setRemindTime(0);
    m_pattern->setRemindTime(time);
}

QJsonObject DeskEdit::state() const
{
    return QJsonObject{
        {QStringLiteral("text"), m_handler->content()},
        {QStringLiteral("pattern"), patternState()},
        {QStringLiteral("attached"), m_attached},
        {QStringLiteral("removed"), m_removed},
    };
}

void DeskEdit::onEdited()
{
    if (!isOpen())
        return;
    const bool changed = state() != m_baseline;
    if (changed != m_changed) {
        m_changed = changed;
        emit changedChanged();
    }
    // Deliberate: the timer is not restarted by later changes, so steady
    // typing is still written every half second.
    if (!m_restoring && !m_draftTimer.isActive())
        m_draftTimer.start();
}

// ----------------------------------------------------------- drafts

void DeskEdit::writeDraft()
{
    if (!isOpen())
        return;
    if (!m_changed) {
        removeDraftFile();
        return;
    }
    QJsonObject draft = state();
    draft.insert(QStringLiteral("version"), 1);
    draft.insert(QStringLiteral("kind"), m_kind);
    draft.insert(QStringLiteral("remindId"), m_remindId);
    draft.insert(QStringLiteral("sample"), m_sample);
    draft.insert(QStringLiteral("savedAt"), double(QDateTime::currentMSecsSinceEpoch()));
    QDir().mkpath(m_directory);
    QSaveFile file(m_draftFile);
    if (!file.open(QIODevice::WriteOnly)
        || file.write(QJsonDocument(draft).toJson(QJsonDocument::Compact)) < 0 || !file.commit()) {
        m_device->showToast(qtTrId("desk_draft_not_saved"));
    }
}

void DeskEdit::keepDraft()
{
    if (isOpen() && m_changed) {
        m_draftTimer.stop();
        writeDraft();
    }
}

void DeskEdit::removeDraftFile()
{
    if (!m_draftFile.isEmpty())
        QFile::remove(m_draftFile);
}

void DeskEdit::readDraft()
{
    m_waiting.clear();
    QDir dir(m_directory);
    // Newest first: the names are the times the edits began.
    const QStringList names = dir.entryList({QStringLiteral("*.json")}, QDir::Files, QDir::Name | QDir::Reversed);
    for (const QString& name : names) {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QJsonObject draft = QJsonDocument::fromJson(file.readAll()).object();
        if (draft.value(QStringLiteral("version")).toInt() != 1)
            continue; // not a draft of ours: left alone
        m_waiting.append({dir.filePath(name), draft});
    }
    emit draftChanged();
}

bool DeskEdit::hasDraft() const
{
    return !m_waiting.isEmpty();
}

QString DeskEdit::draftText() const
{
    if (m_waiting.isEmpty())
        return QString();
    const QJsonObject& draft = m_waiting.constFirst().second;
    const QString text = draft.value(QStringLiteral("text")).toString().simplified();
    if (!text.isEmpty())
        return text;
    return QFileInfo(draft.value(QStringLiteral("attached")).toString()).fileName();
}

void DeskEdit::dropDraft()
{
    if (m_waiting.isEmpty())
        return;
    QFile::remove(m_waiting.takeFirst().first);
    emit draftChanged();
}

bool DeskEdit::restoreDraft()
{
    if (isOpen() || m_waiting.isEmpty())
        return false;
    const auto [path, draft] = m_waiting.takeFirst();
    emit draftChanged();

    m_restoring = true;
    const QString kind = draft.value(QStringLiteral("kind")).toString();
    const QString remindId = draft.value(QStringLiteral("remindId")).toString();
    const int sample = draft.value(QStringLiteral("sample")).toInt(-1);
    // A reminder deleted since comes back as a new one: what was typed for
    // it is kept either way.
    if (!(kind == kExisting && startExisting(remindId))) {
        if (kind == kQuote && sample >= 0 && sample < samplechat::messages().size())
            startQuote(sample);
        else
            startNew(QString());
    }
    m_handler->setContent(draft.value(QStringLiteral("text")).toString());
    const QJsonObject pattern = draft.value(QStringLiteral("pattern")).toObject();
    if (pattern != patternState()) {
        applyPattern(pattern);
        m_pattern->setTimeModified(true);
        m_pattern->setRepeatModified(true);
    }
    if (draft.value(QStringLiteral("removed")).toBool())
        removeAttachment();
    const QString attached = draft.value(QStringLiteral("attached")).toString();
    if (!attached.isEmpty())
        attach(QUrl::fromLocalFile(attached));
    m_restoring = false;
    onEdited();
    // The restored edit has its own draft from now on.
    m_draftTimer.stop();
    writeDraft();
    QFile::remove(path);
    return true;
}
