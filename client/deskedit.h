#pragma once

#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <QVariantMap>

class DeskDevice;
class ReminderHandler;
class ReminderPattern;

// The one edit a device's window has open, as the person sees it: a new
// reminder, one that quotes a chat message, or an existing one. It keeps
// what is typed safe:
// - a new reminder is stored when it is saved, never before (the handler
//   makes it from the text at that moment, then writes the time, the rule
//   and the attachment into it in the same step);
// - while the edit is open and differs from where it started, a draft file
//   in the device's folder follows it, written at most kDraftDelayMs after
//   a change (a killed process loses at most the last half second);
// - a draft left by an earlier run is offered again (restoreDraft).
class DeskEdit : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool open READ isOpen NOTIFY openChanged)
    // "new", "quote", "existing"; "" when no edit is open.
    Q_PROPERTY(QString kind READ kind NOTIFY openChanged)
    // Something differs from where the edit started (for a new reminder:
    // anything at all was given).
    Q_PROPERTY(bool changed READ isChanged NOTIFY changedChanged)
    // The file chosen for a new reminder, kept here until it is saved:
    // {kind: "none" | "image" | "file", name, size, thumb}.
    Q_PROPERTY(QVariantMap pendingAttachment READ pendingAttachment NOTIFY pendingAttachmentChanged)
    // A draft from an earlier run waits to be offered.
    Q_PROPERTY(bool hasDraft READ hasDraft NOTIFY draftChanged)
    // The waiting draft's text (or its file's name), for the offer.
    Q_PROPERTY(QString draftText READ draftText NOTIFY draftChanged)

public:
    // How long after a change the draft file is written, at most.
    static constexpr int kDraftDelayMs = 500;

    DeskEdit(DeskDevice* device, const QString& directory, QObject* parent = nullptr);
    ~DeskEdit() override;

    // A quick add: the handler stores a reminder with the text at once
    // (newReminder); returns its id ("" when none was made).
    static QString addQuick(ReminderHandler* handler, const QString& text);

    bool isOpen() const { return !m_kind.isEmpty(); }
    QString kind() const { return m_kind; }
    bool isChanged() const { return m_changed; }
    QVariantMap pendingAttachment() const;
    bool hasDraft() const;
    QString draftText() const;
    // <device folder>/draft.json
    QString draftPath() const;

    // Opens the edit of a new reminder with the text; nothing is stored.
    Q_INVOKABLE void startNew(const QString& text);
    // "Remind me about this" for the sample chat's message.
    Q_INVOKABLE void startQuote(int sampleIndex);
    // Opens an existing reminder; false when there is none with that id.
    Q_INVOKABLE bool startExisting(const QString& remindId);
    // Saves the edit (stores a new reminder now) and closes it; returns the
    // reminder's id. "" when nothing was open, or when the new reminder's
    // file can no longer be attached (a toast says why; the edit stays
    // open).
    Q_INVOKABLE QString save();
    // Closes the edit without saving; its draft goes.
    Q_INVOKABLE void discard();
    // Attaches the chosen file: to a new reminder only once it is saved
    // (the file is checked now, and a refusal says why); to the others at
    // once, as the handler does.
    Q_INVOKABLE void attach(const QUrl& url);
    Q_INVOKABLE void removeAttachment();
    // Opens the edit the waiting draft describes, as it was; false when
    // there is none or an edit is open.
    Q_INVOKABLE bool restoreDraft();
    // Forgets the waiting draft.
    Q_INVOKABLE void dropDraft();
    // Reads the drafts folder again (it is read when the device starts).
    Q_INVOKABLE void reloadDrafts() { readDraft(); }
    // Writes the open edit's draft now (the program quits, the session
    // ends); the edit stays as it is.
    void keepDraft();

signals:
    void openChanged();
    void changedChanged();
    void pendingAttachmentChanged();
    void draftChanged();
    // A new reminder was stored by save().
    void saved(const QString& remindId);

private:
    QJsonObject state() const;
    QJsonObject patternState() const;
    void applyPattern(const QJsonObject& pattern);
    void begin(const QString& kind);
    void end();
    void onEdited();
    void writeDraft();
    void readDraft();
    void removeDraftFile();
    void setPending(const QString& path, const QVariantMap& shown);
    // Checks a file as the handler's media parser will when it attaches
    // it: 0 when it can be attached (and `shown` says how it will look),
    // else the parser's error code (-1 for a folder).
    int checkFile(const QString& path, QVariantMap* shown) const;

    DeskDevice* const m_device;
    ReminderHandler* const m_handler;
    ReminderPattern* const m_pattern;
    const QString m_directory;

    QString m_kind;
    QString m_remindId;  // existing: the reminder edited
    int m_sample = -1;   // quote: the sample message
    QString m_attached;  // the file attached in this edit (any kind)
    bool m_removed = false; // the reminder's own attachment was removed
    QJsonObject m_baseline;
    bool m_changed = false;
    bool m_restoring = false;
    QVariantMap m_pendingInfo; // new: what the chosen file shows
    QTimer m_draftTimer;
    QString m_draftFile; // the open edit's draft
    int m_draftSerial = 0;
    // Drafts of earlier runs, newest first: (file, draft).
    QList<QPair<QString, QJsonObject>> m_waiting;
};
