#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

class QTranslator;

// The host's language setting and the module's translation catalogues.
//
// The module looks its texts up by id with qtTrId(); the catalogues are the
// compiled files reminder_<language>.qm in translationsDirectory(). Setting
// a language removes the translator this class installed before and installs
// one for the new language. The catalogue is looked for in this order:
//   1. reminder_<language>.qm           (zh_CN -> reminder_zh_CN.qm)
//   2. reminder_<bare language>.qm      (zh_CN -> reminder_zh.qm)
//   3. the first, by file name, of reminder_<bare language>_*.qm
//                                       (zh    -> reminder_zh_CN.qm)
// A file that exists but does not load passes the turn to the next one.
// When none loads, no translator is installed and qtTrId() returns the ids.
//
// Installing a translator needs a QCoreApplication; without one, setLanguage
// only stores the name, and the next setLanguage (even with the same name)
// or setTranslationsDirectory made once the application exists installs it.
// QCoreApplication::installTranslator sends QEvent::LanguageChange to the
// application; QML hosts call QQmlEngine::retranslate() on languageChanged.
//
// Thread-safety: use only on the GUI (main) thread, like
// QCoreApplication::installTranslator itself. Nothing here is locked.
class AppSettingModel : public QObject
{
    Q_OBJECT
    // For QML: the same setting as language() / setLanguage().
    Q_PROPERTY(QString language READ currentLanguage WRITE setCurrentLanguage
                   NOTIFY languageChanged)

public:
    static AppSettingModel* getInstance();

    // The current language name, such as "en" or "zh_CN". Default "en".
    static QString language();
    // Stores the name ("zh-CN" is taken as "zh_CN"; an empty name as "en")
    // and, when an application exists, installs its catalogue. Emits
    // languageChanged only when the name changes.
    static void setLanguage(const QString& language);

    // Where the .qm files are looked for. An explicitly set directory wins;
    // otherwise the environment variable REMINDER_TRANSLATIONS_DIR; otherwise
    // <applicationDirPath>/../translations, or the installed
    // <applicationDirPath>/../share/reminder/translations when only that
    // exists (empty without an application).
    // Setting an empty directory returns to that default. A change of the
    // directory reloads the current language's catalogue.
    static QString translationsDirectory();
    static void setTranslationsDirectory(const QString& directory);
    // The default for a program in `applicationDir`.
    static QString defaultTranslationsDirectory(const QString& applicationDir);

    // Whether a translator of this class is installed in the application.
    static bool hasTranslator();
    // The catalogue file the installed translator came from (empty if none).
    static QString loadedCatalogue();

    QString currentLanguage() const;
    void setCurrentLanguage(const QString& language);

signals:
    void languageChanged();

private:
    AppSettingModel();
    ~AppSettingModel() override;

    QString effectiveDirectory() const;
    QStringList catalogueCandidates(const QString& language) const;
    void applyTranslator();
    void removeTranslator();

    QString m_language;
    QString m_directory;
    QString m_loadedFile;
    // Parented to the application it was installed in, so it goes away with
    // that application; the QPointer then reads null.
    QPointer<QTranslator> m_translator;
};
