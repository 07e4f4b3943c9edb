#include "deskundo.h"

#include "reminderhandler.h"
#include "remindermodel.h"

#include <QJSEngine>

DeskUndo::DeskUndo(ReminderHandler* handler, QObject* parent)
    : QObject(parent)
    , m_handler(handler)
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
    m_timer.setSingleShot(true);
    // Never sooner than the toast said.
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(kUndoMs);
    connect(&m_timer, &QTimer::timeout, this, &DeskUndo::commit);
}

DeskUndo::~DeskUndo()
{
    commit();
}

QString DeskUndo::text() const
{
    switch (m_kind) {
    case Completing: return qtTrId("desk_undo_completed", int(m_ids.size()));
    case Deleting: return qtTrId("desk_undo_deleted", int(m_ids.size()));
    case None: break;
    }
    return QString();
}

void DeskUndo::start(Kind kind, const QStringList& ids)
{
    // One action waits at a time: the one before is carried out now.
    commit();
    if (ids.isEmpty())
        return;
    m_kind = kind;
    m_ids = ids;
    m_idSet = QSet<QString>(ids.cbegin(), ids.cend());
    m_timer.start();
    ++m_revision;
    emit changed();
}

void DeskUndo::complete(const QString& remindId)
{
    const ReminderItemPtr item = m_handler->reminderModel()->itemById(remindId);
    if (!item || item->completed() || m_idSet.contains(remindId))
        return;
    start(Completing, {remindId});
}

void DeskUndo::remove(const QString& remindId)
{
    if (!m_handler->reminderModel()->itemById(remindId) || (m_kind == Deleting && m_idSet.contains(remindId)))
        return;
    start(Deleting, {remindId});
}

void DeskUndo::removeSelected()
{
    QStringList all;
    m_handler->reminderModel()->allIds(all);
    QStringList ids;
    for (const QString& id : std::as_const(all)) {
        if (m_handler->selected(id))
            ids.append(id);
    }
    m_handler->clearSelect();
    start(Deleting, ids);
}

void DeskUndo::removeAllCompleted(bool searching)
{
    QStringList ids;
    (searching ? m_handler->searchModel() : m_handler->reminderModel())->completedIds(ids);
    start(Deleting, ids);
}

void DeskUndo::undo()
{
    if (m_kind == None)
        return;
    clear();
}

void DeskUndo::commit()
{
    if (m_kind == None)
        return;
    const Kind kind = m_kind;
    const QStringList ids = m_ids;
    clear();
    for (const QString& id : ids) {
        // A reminder deleted or completed meanwhile (on another device)
        // is left as it now is.
        const ReminderItemPtr item = m_handler->reminderModel()->itemById(id);
        if (!item)
            continue;
        if (kind == Completing) {
            if (!item->completed())
                m_handler->completedReminder(id, true);
        } else {
            m_handler->deleteSelect(id);
        }
    }
}

void DeskUndo::clear()
{
    m_timer.stop();
    m_kind = None;
    m_ids.clear();
    m_idSet.clear();
    ++m_revision;
    emit changed();
}

bool DeskUndo::isHidden(const QString& remindId) const
{
    return m_kind == Deleting && m_idSet.contains(remindId);
}

bool DeskUndo::isCompleting(const QString& remindId) const
{
    return m_kind == Completing && m_idSet.contains(remindId);
}

int DeskUndo::hiddenCount(bool completed) const
{
    if (m_kind != Deleting)
        return 0;
    int n = 0;
    for (const QString& id : m_ids) {
        const ReminderItemPtr item = m_handler->reminderModel()->itemById(id);
        n += item && item->completed() == completed ? 1 : 0;
    }
    return n;
}
