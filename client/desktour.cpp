#include "desktour.h"

#include "accountbase.h"
#include "deskapp.h"
#include "deskbackend.h"
#include "deskdevice.h"
#include "deskedit.h"
#include "deskundo.h"
#include "modelbaseutil.h"
#include "networksubject.h"
#include "reminderhandler.h"
#include "remindermodel.h"
#include "reminderpattern.h"
#include "reminderstorage.h"
#include "threadmanager.h"
#include "userstorageprovider.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLinearGradient>
#include <QPainter>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRadialGradient>
#include <QSaveFile>

#include <cstdio>

namespace {

qint64 at(const QDate& day, int hour, int minute)
{
    return QDateTime(day, QTime(hour, minute)).toMSecsSinceEpoch();
}

network::NetworkSubject* tourClock()
{
    return network::NetworkSubject::instance();
}

QDate today()
{
    return QDateTime::fromMSecsSinceEpoch(tourClock()->currentDateTime()).date();
}

} // namespace

DeskTour::DeskTour(DeskApp* app, const QString& outputDir)
    : m_app(app)
    , m_dir(outputDir)
{
}

bool DeskTour::waitUntil(const std::function<bool()>& condition, const QString& what, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMs) {
            m_error = QStringLiteral("gave up waiting for %1").arg(what);
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        ThreadManager::getInstance()->waitForIdle(1000);
    }
    return true;
}

void DeskTour::settle()
{
    for (int i = 0; i < 4; ++i) {
        ThreadManager::getInstance()->waitForIdle();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

bool DeskTour::allConfirmed(DeskDevice* device) const
{
    ReminderModel* model = device->handler()->reminderModel();
    QStringList ids;
    model->allIds(ids);
    for (const QString& id : std::as_const(ids)) {
        const ReminderItemPtr item = model->itemById(id);
        if (item
            && (item->lastContentTime() || item->lastCompletedTime() || item->lastPatternTime()
                || item->lastUnreadTime()))
            return false;
    }
    return true;
}

bool DeskTour::undoToastShown() const
{
    const auto* toast = m_app->windows().constFirst()->findChild<QQuickItem*>(QStringLiteral("undoToast"));
    return toast && toast->isVisible();
}

bool DeskTour::noToastShown() const
{
    for (QQuickWindow* w : m_app->windows()) {
        const auto* toast = w->findChild<QQuickItem*>(QStringLiteral("toast"));
        if (toast && toast->isVisible())
            return false;
    }
    return true;
}

void DeskTour::advanceClock(int minutes)
{
    tourClock()->advance(qint64(minutes) * 60 * 1000);
    for (DeskDevice* d : m_app->backend()->devices())
        d->refreshClock();
}

QString DeskTour::createWithEditor(DeskDevice* device, const QString& text, qint64 time,
                                   const std::function<void()>& rule)
{
    ReminderPattern* pattern = device->handler()->reminderPattern();
    device->edit()->startNew(text);
    pattern->setRemindTime(time);
    if (rule) {
        rule();
        pattern->repeatFinish();
    }
    const QString id = device->edit()->save();
    advanceClock(2);
    return id;
}

QString DeskTour::makeSamplePhoto() const
{
    QImage image(640, 420, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, 420);
    sky.setColorAt(0, QColor(0x6f, 0xa8, 0xf0));
    sky.setColorAt(0.6, QColor(0xf6, 0xc9, 0x8f));
    sky.setColorAt(1, QColor(0xf2, 0x9e, 0x6b));
    p.fillRect(image.rect(), sky);
    QRadialGradient sun(470, 170, 70);
    sun.setColorAt(0, QColor(0xff, 0xf4, 0xc2));
    sun.setColorAt(1, QColor(0xff, 0xd1, 0x6b, 0));
    p.setBrush(sun);
    p.setPen(Qt::NoPen);
    p.drawEllipse(QPointF(470, 170), 90, 90);
    p.setBrush(QColor(0x2f, 0x6d, 0x8f));
    p.drawRect(0, 300, 640, 120);
    p.setBrush(QColor(0x3d, 0x55, 0x3a));
    QPolygonF hills;
    hills << QPointF(0, 310) << QPointF(120, 240) << QPointF(260, 300) << QPointF(380, 250) << QPointF(640, 320)
          << QPointF(640, 420) << QPointF(0, 420);
    p.drawPolygon(hills);
    p.end();
    const QString dir = QDir(m_app->options().dataDir).filePath(QStringLiteral("tour"));
    QDir().mkpath(dir);
    const QString path = QDir(dir).filePath(QStringLiteral("holiday-photo.png"));
    image.save(path);
    return path;
}

bool DeskTour::save(const QImage& image, const QString& name)
{
    if (image.isNull()) {
        m_error = QStringLiteral("%1: the window gave no image").arg(name);
        return false;
    }
    const QString path = QDir(m_dir).filePath(name);
    if (!image.save(path, "PNG")) {
        m_error = QStringLiteral("%1: could not be written").arg(path);
        return false;
    }
    m_images.insert(name, image.size());
    std::printf("reminder-desk tour: %s (%dx%d)\n", qPrintable(path), image.width(), image.height());
    std::fflush(stdout);
    return true;
}

bool DeskTour::grabWindow(int index, const QString& name)
{
    settle();
    QQuickWindow* window = m_app->windows().value(index);
    if (!window) {
        m_error = QStringLiteral("no window %1").arg(index);
        return false;
    }
    return save(window->grabWindow(), name);
}

bool DeskTour::grabBoth(const QString& name)
{
    settle();
    const QList<QQuickWindow*> windows = m_app->windows();
    if (windows.size() < 2) {
        m_error = QStringLiteral("devices.png needs two windows");
        return false;
    }
    const QImage left = windows.at(0)->grabWindow();
    const QImage right = windows.at(1)->grabWindow();
    if (left.isNull() || right.isNull()) {
        m_error = QStringLiteral("%1: a window gave no image").arg(name);
        return false;
    }
    const int gap = 16;
    QImage both(left.width() + gap + right.width(), qMax(left.height(), right.height()), QImage::Format_RGB32);
    both.fill(QColor(0x2b, 0x31, 0x40));
    QPainter p(&both);
    p.drawImage(0, 0, left);
    p.drawImage(left.width() + gap, 0, right);
    p.end();
    return save(both, name);
}

bool DeskTour::writeManifest()
{
    QJsonObject images;
    for (auto it = m_images.cbegin(); it != m_images.cend(); ++it)
        images.insert(it.key(), QJsonObject{{QStringLiteral("width"), it.value().width()},
                                            {QStringLiteral("height"), it.value().height()}});
    const QSize window = m_app->windows().constFirst()->size();
    const QJsonObject root{
        {QStringLiteral("window"),
         QJsonObject{{QStringLiteral("width"), window.width()}, {QStringLiteral("height"), window.height()}}},
        {QStringLiteral("images"), images},
    };
    QSaveFile file(QDir(m_dir).filePath(QStringLiteral("tour.json")));
    if (!file.open(QIODevice::WriteOnly)) {
        m_error = QStringLiteral("tour.json could not be written");
        return false;
    }
    file.write(QJsonDocument(root).toJson());
    return file.commit();
}

int DeskTour::run()
{
    QDir().mkpath(m_dir);
    // A fixed clock: this morning at 09:00, moved on by hand.
    const QDate day = QDate::currentDate();
    tourClock()->setFixedTime(at(day, 9, 0));

    auto failed = [this] {
        std::fprintf(stderr, "reminder-desk tour: %s\n", qPrintable(m_error));
        return 3;
    };
    if (!m_app->start()) {
        m_error = QStringLiteral("the interface did not load");
        return failed();
    }
    DeskBackend* backend = m_app->backend();
    if (!waitUntil([backend] { return backend->isAllListed(); }, QStringLiteral("the first listing")))
        return failed();

    DeskDevice* a = backend->device(0);
    DeskDevice* b = backend->device(1);
    ReminderHandler* handler = a->handler();
    ReminderPattern* pattern = handler->reminderPattern();
    const QDate now = today();

    // ---- Device 1 fills its list as a person would.
    // Done already.
    handler->newReminder(qtTrId("desk_tour_card"));
    advanceClock(1);
    handler->newReminder(qtTrId("desk_tour_dentist"));
    advanceClock(1);
    // Overdue since yesterday (it fires at once; its banner is closed).
    const QString library = createWithEditor(a, qtTrId("desk_tour_library"), at(now.addDays(-1), 17, 0));
    // Every Sunday at 18:00.
    const QDate sunday = now.addDays(now.dayOfWeek() == 7 ? 7 : 7 - now.dayOfWeek());
    createWithEditor(a, qtTrId("desk_tour_grandma"), at(sunday, 18, 0),
                     [pattern] { pattern->setRepeatFlag(ReminderPattern::EveryWeek); });
    // On the last day of every month.
    const QDate lastDay(now.year(), now.month(), now.daysInMonth());
    createWithEditor(a, qtTrId("desk_tour_bill"), at(lastDay, 19, 0), [pattern] {
        pattern->setRepeatFlag(ReminderPattern::Custom);
        pattern->setInterval(1);
        pattern->setUnit(ReminderPattern::MonthDayFromEnd);
    });
    // One-off next week, with a snooze period.
    createWithEditor(a, qtTrId("desk_tour_passport"), at(now.addDays(8 - now.dayOfWeek()), 9, 0), [pattern] {
        pattern->setRepeatFlag(ReminderPattern::NotRepeating);
        pattern->setSnooze(10);
    });
    // With a photo attached.
    a->edit()->startNew(qtTrId("desk_tour_photos"));
    a->edit()->attach(QUrl::fromLocalFile(makeSamplePhoto()));
    pattern->setRemindTime(at(now.addDays(2), 20, 0));
    a->edit()->save();
    advanceClock(2);
    // From the chat: the file message and the text message.
    a->edit()->startQuote(1);
    handler->setContent(qtTrId("desk_tour_report"));
    pattern->setRemindTime(at(now.addDays(1), 10, 0));
    a->edit()->save();
    advanceClock(2);
    a->edit()->startQuote(0);
    pattern->setRemindTime(at(now, 16, 0));
    a->edit()->save();
    advanceClock(2);
    // A quick note without a time.
    const QString plants = DeskEdit::addQuick(handler, qtTrId("desk_tour_plants"));
    advanceClock(2);
    // The weekly stand-up: today and two days later, at 09:45.
    const int weekdays = ModelBaseUtil::dayOfWeekToFlag(now.dayOfWeek())
        | ModelBaseUtil::dayOfWeekToFlag(now.addDays(2).dayOfWeek());
    const qint64 standupTime = at(now, 9, 45);
    const QString standup = createWithEditor(a, qtTrId("desk_tour_standup"), standupTime, [pattern, weekdays] {
        pattern->setRepeatFlag(ReminderPattern::Custom);
        pattern->setInterval(1);
        pattern->setUnit(ReminderPattern::Weeks);
        pattern->setDayOfWeekFlags(weekdays);
    });
    // Two done.
    QStringList firstIds;
    handler->reminderModel()->allIds(firstIds);
    for (const QString& id : std::as_const(firstIds)) {
        const ReminderItemPtr item = handler->reminderModel()->itemById(id);
        if (item && (item->text() == qtTrId("desk_tour_card") || item->text() == qtTrId("desk_tour_dentist")))
            handler->completedReminder(id, true);
    }
    if (!waitUntil([this, a] { return allConfirmed(a); }, QStringLiteral("the server's answers")))
        return failed();
    a->dismissBanner(library);

    // Device 2 lists what device 1 made.
    b->relist();
    if (!waitUntil([b] { return !b->listing(); }, QStringLiteral("device 2's listing")))
        return failed();
    // The confirmation tips of the repeat page fade away.
    if (!waitUntil([this] { return noToastShown(); }, QStringLiteral("the toasts to fade")))
        return failed();

    // ---- list.png: both sections of device 1.
    handler->reminderModel()->setExpand(true);
    if (!grabWindow(0, QStringLiteral("list.png")))
        return failed();

    // ---- editor.png and repeat.png: the stand-up in the editor.
    QQuickItem* pane = m_app->pane(0);
    if (!pane) {
        m_error = QStringLiteral("no device pane");
        return failed();
    }
    QMetaObject::invokeMethod(pane, "openEditor", Q_ARG(QVariant, QVariant(standup)));
    if (!waitUntil([pane] { return pane->property("editorOpen").toBool() && !pane->property("editorBusy").toBool(); },
                   QStringLiteral("the editor")))
        return failed();
    if (!grabWindow(0, QStringLiteral("editor.png")))
        return failed();
    QMetaObject::invokeMethod(pane, "showRepeatPage");
    if (!waitUntil(
            [pane] {
                QObject* page = pane->window()->findChild<QQuickItem*>(QStringLiteral("repeatPage"));
                return page && !pane->property("editorBusy").toBool();
            },
            QStringLiteral("the repeat page")))
        return failed();
    if (!grabWindow(0, QStringLiteral("repeat.png")))
        return failed();
    QMetaObject::invokeMethod(pane, "closeEditor", Q_ARG(QVariant, QVariant(false)));
    // Closed: its closing transition has ended too.
    if (!waitUntil([pane] { return !pane->property("editorPopup").value<QObject*>()->property("visible").toBool(); },
                   QStringLiteral("the editor to close")))
        return failed();

    // ---- banner.png: the clock passes the stand-up's time and it fires.
    handler->reminderModel()->setExpand(false);
    tourClock()->setFixedTime(standupTime + 30 * 1000);
    for (DeskDevice* d : backend->devices())
        d->refreshClock();
    handler->readyReminder();
    if (!waitUntil([a] { return a->bannerCount() > 0; }, QStringLiteral("the stand-up to fire")))
        return failed();
    if (!waitUntil([this, a] { return allConfirmed(a); }, QStringLiteral("the server's answers")))
        return failed();
    if (!grabWindow(0, QStringLiteral("banner.png")))
        return failed();

    // ---- snoozed.png: the banner is answered with "Snooze 10 min"; the
    // row says until when.
    a->answerSnooze(standup, 10);
    if (!waitUntil([this, a] { return allConfirmed(a) && a->bannerCount() == 0; },
                   QStringLiteral("the snooze to be stored")))
        return failed();
    if (!grabWindow(0, QStringLiteral("snoozed.png")))
        return failed();

    // ---- undo.png: a reminder deleted, its Undo offered.
    a->undo()->remove(plants);
    if (!waitUntil([this] { return undoToastShown(); }, QStringLiteral("the undo toast")))
        return failed();
    if (!grabWindow(0, QStringLiteral("undo.png")))
        return failed();
    a->undo()->undo();

    // ---- unsaved.png: an edit with changes is about to close.
    QMetaObject::invokeMethod(pane, "openNewEditor", Q_ARG(QVariant, QVariant(qtTrId("desk_tour_unsaved"))));
    QObject* editor = pane->property("editorPopup").value<QObject*>();
    QObject* unsaved = editor ? editor->property("unsavedDialog").value<QObject*>() : nullptr;
    if (!editor || !unsaved) {
        m_error = QStringLiteral("no editor");
        return failed();
    }
    if (!waitUntil([editor] { return editor->property("opened").toBool(); }, QStringLiteral("the new editor")))
        return failed();
    QMetaObject::invokeMethod(editor, "requestClose", Q_ARG(QVariant, QVariant()));
    if (!waitUntil([unsaved] { return unsaved->property("opened").toBool(); }, QStringLiteral("the question")))
        return failed();
    if (!grabWindow(0, QStringLiteral("unsaved.png")))
        return failed();
    QMetaObject::invokeMethod(unsaved, "answer", Q_ARG(QVariant, QVariant(false)));
    if (!waitUntil([editor] { return !editor->property("visible").toBool(); }, QStringLiteral("the editor to close")))
        return failed();

    // ---- search.png: a search.
    const QString keyword = qtTrId("desk_tour_search_keyword");
    int expected = 0;
    for (const storage::ReminderInfo& info : a->account()->storage()->reminderStorage()->infosWithKeyword(keyword))
        expected += handler->reminderModel()->itemById(info.id) ? 1 : 0;
    QMetaObject::invokeMethod(pane, "setSearchText", Q_ARG(QVariant, QVariant(keyword)));
    if (!waitUntil([handler, expected] { return expected > 0 && handler->searchModel()->count() == expected; },
                   QStringLiteral("the search results")))
        return failed();
    if (!grabWindow(0, QStringLiteral("search.png")))
        return failed();
    QMetaObject::invokeMethod(pane, "setSearchText", Q_ARG(QVariant, QVariant(QString())));

    // ---- devices.png: a new reminder on device 1 reaches device 2.
    advanceClock(1);
    handler->newReminder(qtTrId("desk_tour_parcel"));
    if (!waitUntil([this, a] { return allConfirmed(a); }, QStringLiteral("the server's answer")))
        return failed();
    b->syncNow();
    if (!waitUntil([b] { return !b->listing(); }, QStringLiteral("device 2's listing")))
        return failed();
    if (!waitUntil([a, b] { return b->handler()->reminderModel()->count() == a->handler()->reminderModel()->count(); },
                   QStringLiteral("device 2 to hold every reminder")))
        return failed();
    if (!waitUntil([this] { return noToastShown(); }, QStringLiteral("the toasts to fade")))
        return failed();
    if (!grabBoth(QStringLiteral("devices.png")))
        return failed();

    if (!writeManifest())
        return failed();
    tourClock()->releaseFixedTime();
    return 0;
}
