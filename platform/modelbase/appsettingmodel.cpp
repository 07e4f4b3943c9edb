#include "appsettingmodel.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTranslator>

namespace {

const char kDefaultLanguage[] = "en";
const char kCataloguePrefix[] = "reminder_";
const char kCatalogueSuffix[] = ".qm";
const char kDirectoryEnv[] = "REMINDER_TRANSLATIONS_DIR";

QString normalisedLanguage(const QString& language)
{
    QString name = language.trimmed();
    name.replace(QLatin1Char('-'), QLatin1Char('_'));
    return name.isEmpty() ? QString::fromLatin1(kDefaultLanguage) : name;
}

QString catalogueFileName(const QString& language)
{
    return QLatin1String(kCataloguePrefix) + language + QLatin1String(kCatalogueSuffix);
}

} // namespace

AppSettingModel::AppSettingModel()
    : m_language(QString::fromLatin1(kDefaultLanguage))
{
    applyTranslator();
}

AppSettingModel::~AppSettingModel()
{
    removeTranslator();
}

AppSettingModel* AppSettingModel::getInstance()
{
    static AppSettingModel instance;
    return &instance;
}

QString AppSettingModel::language()
{
    return getInstance()->m_language;
}

void AppSettingModel::setLanguage(const QString& language)
{
    AppSettingModel* self = getInstance();
    const QString name = normalisedLanguage(language);
    if (name == self->m_language) {
        // Same name: only install what is missing (the application may have
        // been created since the name was stored).
        if (self->m_translator.isNull())
            self->applyTranslator();
        return;
    }
    self->m_language = name;
    self->applyTranslator();
    emit self->languageChanged();
}

QString AppSettingModel::translationsDirectory()
{
    return getInstance()->effectiveDirectory();
}

// Also used while the instance is being constructed, so it must not go
// through getInstance().
QString AppSettingModel::effectiveDirectory() const
{
    if (!m_directory.isEmpty())
        return m_directory;
    const QString fromEnv = qEnvironmentVariable(kDirectoryEnv);
    if (!fromEnv.isEmpty())
        return fromEnv;
    if (!QCoreApplication::instance())
        return QString();
    return defaultTranslationsDirectory(QCoreApplication::applicationDirPath());
}

QString AppSettingModel::defaultTranslationsDirectory(const QString& applicationDir)
{
    // The build tree keeps the catalogues in <build>/translations beside
    // <build>/bin; an installed program finds them in
    // <prefix>/share/reminder/translations beside <prefix>/bin.
    const QString built = QDir::cleanPath(applicationDir + QLatin1String("/../translations"));
    const QString installed =
        QDir::cleanPath(applicationDir + QLatin1String("/../share/reminder/translations"));
    if (!QDir(built).exists() && QDir(installed).exists())
        return installed;
    return built;
}

void AppSettingModel::setTranslationsDirectory(const QString& directory)
{
    AppSettingModel* self = getInstance();
    const QString before = self->effectiveDirectory();
    self->m_directory = directory;
    if (self->effectiveDirectory() != before || self->m_translator.isNull())
        self->applyTranslator();
}

bool AppSettingModel::hasTranslator()
{
    return !getInstance()->m_translator.isNull();
}

QString AppSettingModel::loadedCatalogue()
{
    AppSettingModel* self = getInstance();
    return self->m_translator.isNull() ? QString() : self->m_loadedFile;
}

QString AppSettingModel::currentLanguage() const
{
    return m_language;
}

void AppSettingModel::setCurrentLanguage(const QString& language)
{
    setLanguage(language);
}

QStringList AppSettingModel::catalogueCandidates(const QString& language) const
{
    QStringList candidates;
    const QString directory = effectiveDirectory();
    if (directory.isEmpty())
        return candidates;
    const QDir dir(directory);
    const auto addIfFile = [&](const QString& path) {
        if (QFileInfo(path).isFile() && !candidates.contains(path))
            candidates.append(path);
    };

    addIfFile(dir.filePath(catalogueFileName(language)));

    const qsizetype territory = language.indexOf(QLatin1Char('_'));
    const QString bare = territory < 0 ? language : language.left(territory);
    if (bare.isEmpty())
        return candidates;
    addIfFile(dir.filePath(catalogueFileName(bare)));

    // reminder_<bare>_*.qm, the first by name. QDir::Name sorts
    // case-sensitively, so the choice does not depend on the file system.
    const QString pattern = QLatin1String(kCataloguePrefix) + bare + QLatin1String("_*")
                            + QLatin1String(kCatalogueSuffix);
    const QStringList matches =
        dir.entryList(QStringList{pattern}, QDir::Files | QDir::Readable, QDir::Name);
    if (!matches.isEmpty())
        addIfFile(dir.filePath(matches.first()));
    return candidates;
}

void AppSettingModel::removeTranslator()
{
    if (m_translator.isNull())
        return;
    QTranslator* old = m_translator.data();
    m_translator.clear();
    m_loadedFile.clear();
    if (QCoreApplication::instance())
        QCoreApplication::removeTranslator(old);
    delete old;
}

void AppSettingModel::applyTranslator()
{
    removeTranslator();
    QCoreApplication* app = QCoreApplication::instance();
    if (!app)
        return;

    // The candidates in order; a file that does not load (not a catalogue)
    // passes the turn to the next one.
    for (const QString& file : catalogueCandidates(m_language)) {
        auto* translator = new QTranslator(app);
        // A full path with its suffix: QTranslator loads exactly this file.
        if (translator->load(file) && QCoreApplication::installTranslator(translator)) {
            m_translator = translator;
            m_loadedFile = file;
            return;
        }
        delete translator;
    }
}
