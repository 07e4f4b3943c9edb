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

#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

Q_IMPORT_QML_PLUGIN(ReminderDeskPlugin)

namespace {

// The write end of a socket pair: a signal handler may only write to it;
// the event loop reads it and quits in order.
int g_signalSocket[2] = {-1, -1};

void onTerminationSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(g_signalSocket[0], &byte, 1);
}

// SIGTERM (the session ends, a service manager stops it), SIGINT (Ctrl+C)
// and SIGHUP (its terminal went) quit as the tray's Quit does: open edits
// keep their drafts, waiting deletions are carried out.
void quitOnTerminationSignals(QCoreApplication* app)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalSocket) != 0)
        return;
    auto* notifier = new QSocketNotifier(g_signalSocket[1], QSocketNotifier::Read, app);
    QObject::connect(notifier, &QSocketNotifier::activated, app, [app, notifier] {
        notifier->setEnabled(false);
        char byte = 0;
        [[maybe_unused]] const ssize_t n = ::read(g_signalSocket[1], &byte, 1);
        app->quit();
    });
    struct sigaction action = {};
    action.sa_handler = onTerminationSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(sig, &action, nullptr);
}

void fail(const QString& text)
{
    std::fprintf(stderr, "reminder-desk: %s\n", qPrintable(text));
}

struct CommandLine
{
    QCommandLineOption devices{QStringLiteral("devices"), qtTrId("desk_cli_devices"), QStringLiteral("N"),
                               QStringLiteral("1")};
    QCommandLineOption data{QStringLiteral("data"), qtTrId("desk_cli_data"), QStringLiteral("DIR")};
    QCommandLineOption language{QStringLiteral("language"), qtTrId("desk_cli_language"), QStringLiteral("LANG")};
    QCommandLineOption tour{QStringLiteral("tour"), qtTrId("desk_cli_tour"), QStringLiteral("DIR")};
    QCommandLineOption quitAfterList{QStringLiteral("quit-after-list"), qtTrId("desk_cli_quit_after_list")};

    void describe(QCommandLineParser& parser) const
    {
        parser.setApplicationDescription(qtTrId("desk_cli_description"));
        parser.addHelpOption();
        parser.addOptions({devices, data, language, tour, quitAfterList});
    }
};

// The catalogue is needed for the command line's own texts.
void loadCatalogue()
{
    AppSettingModel::setTranslationsDirectory(
        AppSettingModel::defaultTranslationsDirectory(QCoreApplication::applicationDirPath()));
    AppSettingModel::setLanguage(AppSettingModel::language());
}

// Names the application, loads the catalogue the options' texts come from
// and reads the command line (help and bad options end the process here).
void readCommandLine(QCoreApplication& app, QCommandLineParser& parser, const CommandLine& cli)
{
    QCoreApplication::setApplicationName(QStringLiteral("reminder-desk"));
    loadCatalogue();
    cli.describe(parser);
    parser.process(app);
}

bool asksForHelp(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray arg(argv[i]);
        if (arg == "-h" || arg == "--help" || arg == "-?" || arg == "--help-all")
            return true;
    }
    return false;
}

// Help needs no window system: it is printed before the graphical
// application (which needs a display) exists.
int printHelp(int argc, char* argv[])
{
    QCoreApplication core(argc, argv);
    QCommandLineParser parser;
    const CommandLine options;
    readCommandLine(core, parser, options);
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    if (asksForHelp(argc, argv))
        return printHelp(argc, argv);

    QApplication app(argc, argv);
    QCommandLineParser parser;
    const CommandLine cli;
    readCommandLine(app, parser, cli);
    const QCommandLineOption& devicesOption = cli.devices;
    const QCommandLineOption& dataOption = cli.data;
    const QCommandLineOption& languageOption = cli.language;
    const QCommandLineOption& tourOption = cli.tour;
    const QCommandLineOption& quitOption = cli.quitAfterList;

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
            quitOnTerminationSignals(&app);
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
