#pragma once

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimer>

class ReminderHandler;
class ReminderModel;

// Completing and deleting wait for their Undo: the rows change at once
// (a completed row shows its check, a deleted one is hidden), and the
// handler is told only when the toast's time is up, when another such
// action comes, or at once when the program quits. Undo therefore has
// nothing to take back: no request was sent, no field was touched.
class DeskUndo : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool pending READ isPending NOTIFY changed)
    // The toast's words: "Reminder completed", "3 reminders deleted".
    Q_PROPERTY(QString text READ text NOTIFY changed)
    // Bumped on every change; bindings that call the helpers read it.
    Q_PROPERTY(int revision READ revision NOTIFY changed)

public:
    // How long the toast offers Undo.
    static constexpr int kUndoMs = 8000;

    explicit DeskUndo(ReminderHandler* handler, QObject* parent = nullptr);
    ~DeskUndo() override;

    bool isPending() const { return m_kind != None; }
    QString text() const;
    int revision() const { return m_revision; }

    // Completes the open reminder once the toast ends.
    Q_INVOKABLE void complete(const QString& remindId);
    // Deletes once the toast ends: one reminder, the selection (which is
    // cleared now), or every completed one of the list shown (the search
    // results while searching).
    Q_INVOKABLE void remove(const QString& remindId);
    Q_INVOKABLE void removeSelected();
    Q_INVOKABLE void removeAllCompleted(bool searching);
    Q_INVOKABLE void undo();
    // Carries the waiting action out now.
    Q_INVOKABLE void commit();

    Q_INVOKABLE bool isHidden(const QString& remindId) const;
    Q_INVOKABLE bool isCompleting(const QString& remindId) const;
    // Hidden rows of the main list, completed or open ones.
    Q_INVOKABLE int hiddenCount(bool completed) const;

signals:
    void changed();

private:
    enum Kind { None, Completing, Deleting };
    void start(Kind kind, const QStringList& ids);
    void clear();

    ReminderHandler* const m_handler;
    Kind m_kind = None;
    QStringList m_ids;
    QSet<QString> m_idSet;
    QTimer m_timer;
    int m_revision = 0;
};
