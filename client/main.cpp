// reminder-desk: the desktop client of the reminder module.
//
//   reminder-desk [--devices 1|2] [--data DIR] [--language en|zh_CN]
//                 [--tour DIR] [--quit-after-list]
#include "appsettingmodel.h"
#include "deskapp.h"
#include "deskbackend.h"
#include "deskdevice.h"
#include "desklanguage.h"
#include "desktour.h"
#include "imlog.h"
#include "reminderhandler.h"
#include "remindermodel.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <memory>

Q_IMPORT_QML_PLUGIN(ReminderDeskPlugin)

namespace {

void fail(const QString& text)
{
    std::fprintf(stderr, "reminder-desk: %s\n", qPrintable(text));
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("reminder-desk"));

    // The catalogue is needed for the command line's own texts.
    AppSettingModel::setTranslationsDirectory(
        AppSettingModel::defaultTranslationsDirectory(QCoreApplication::applicationDirPath()));
    AppSettingModel::setLanguage(AppSettingModel::language());

    QCommandLineParser parser;
    parser.setApplicationDescription(qtTrId("desk_cli_description"));
    parser.addHelpOption();
    const QCommandLineOption devicesOption(QStringLiteral("devices"), qtTrId("desk_cli_devices"), QStringLiteral("N"),
                                           QStringLiteral("1"));
    const QCommandLineOption dataOption(QStringLiteral("data"), qtTrId("desk_cli_data"), QStringLiteral("DIR"));
    const QCommandLineOption languageOption(QStringLiteral("language"), qtTrId("desk_cli_language"),
                                            QStringLiteral("LANG"));
    const QCommandLineOption tourOption(QStringLiteral("tour"), qtTrId("desk_cli_tour"), QStringLiteral("DIR"));
    const QCommandLineOption quitOption(QStringLiteral("quit-after-list"), qtTrId("desk_cli_quit_after_list"));
    parser.addOptions({devicesOption, dataOption, languageOption, tourOption, quitOption});
    parser.process(app);

    DeskOptions options;
    bool ok = false;
    options.devices = parser.value(devicesOption).toInt(&ok);
    if (!ok || options.devices < 1 || options.devices > 2) {
        fail(qtTrId("desk_cli_bad_devices"));
        return 2;
    }
    options.language = parser.value(languageOption);
    if (!options.language.isEmpty() && !DeskLanguage::codes().contains(options.language)) {
        fail(qtTrId("desk_cli_bad_language").arg(options.language));
        return 2;
    }
    options.tourDir = parser.value(tourOption);
    options.quitAfterList = parser.isSet(quitOption);
    options.dataDir = parser.value(dataOption);

    // A tour without a data directory runs on a fresh one of its own.
    std::unique_ptr<QTemporaryDir> tourData;
    if (options.dataDir.isEmpty() && !options.tourDir.isEmpty()) {
        tourData.reset(new QTemporaryDir);
        options.dataDir = tourData->path();
    }
    if (options.dataDir.isEmpty())
        options.dataDir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (!options.tourDir.isEmpty())
        options.devices = 2;

    ImLog::instance()->setEchoToStderr(false);

    int code = 0;
    {
        DeskApp desk(options);
        if (!options.tourDir.isEmpty()) {
            DeskTour tour(&desk, options.tourDir);
            code = tour.run();
        } else {
            if (!desk.start()) {
                fail(qtTrId("desk_cli_qml_failed"));
                return 1;
            }
            if (options.quitAfterList) {
                auto finish = [&desk] {
                    for (DeskDevice* d : desk.backend()->devices()) {
                        std::printf("reminder-desk: device %d lists %d reminders\n", d->number(),
                                    d->handler()->reminderModel()->count());
                    }
                    std::fflush(stdout);
                    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
                };
                if (desk.backend()->isAllListed())
                    finish();
                else
                    QObject::connect(&desk, &DeskApp::allListed, &desk, finish);
            }
            code = app.exec();
        }
    }
    return code;
}
