#pragma once

#include <QImage>
#include <QMap>
#include <QObject>
#include <QSize>
#include <QString>
#include <functional>

class DeskApp;
class DeskDevice;

// The scripted tour (--tour DIR): starts the client with two devices on a
// fixed clock, fills device 1 with sample reminders the way a person would
// (quick notes, the editor, "remind me about this", an attachment,
// completing), and writes one PNG per screen:
//
//   list.png     the list of device 1 with both sections
//   editor.png   the editor of a weekly reminder
//   repeat.png   its repeat page
//   banner.png   the banner of a reminder that fired
//   search.png   search results
//   devices.png  both windows side by side after a change reached device 2
//
// and tour.json with the window size and each image's size. Every wait is
// for a condition (an answer, a listing, a frame's content); a wait that
// does not come true within its limit ends the tour with an error.
class DeskTour : public QObject
{
    Q_OBJECT
public:
    DeskTour(DeskApp* app, const QString& outputDir);

    // 0 when every screenshot was written.
    int run();

private:
    bool waitUntil(const std::function<bool()>& condition, const QString& what, int timeoutMs = 60000);
    void settle();
    bool allConfirmed(DeskDevice* device) const;
    bool noToastShown() const;
    bool undoToastShown() const;
    bool grabWindow(int index, const QString& name);
    bool grabBoth(const QString& name);
    bool save(const QImage& image, const QString& name);
    bool writeManifest();

    // Creates a reminder through the editor: text, time and rule (the
    // `rule` callback sets the repeat page's fields before Done).
    QString createWithEditor(DeskDevice* device, const QString& text, qint64 time,
                             const std::function<void()>& rule = {});
    void advanceClock(int minutes);
    QString makeSamplePhoto() const;

    DeskApp* m_app;
    QString m_dir;
    QString m_error;
    QMap<QString, QSize> m_images;
};
