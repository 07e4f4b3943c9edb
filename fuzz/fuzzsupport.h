#pragma once

// What every fuzz target needs around the module: one application object
// for the whole run, a quiet log, the platform's fixed clock, and accounts
// on real databases in a scratch directory (in memory when /dev/shm is
// there, so that the store's writes cost no disk flushes).

#include "accountbase.h"
#include "contentcipher.h"
#include "imlog.h"
#include "networksubject.h"
#include "threadmanager.h"

#include <QCoreApplication>
#include <QDate>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStringList>
#include <QTemporaryDir>
#include <QTime>

#include <google/protobuf/stubs/logging.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace fuzzsupport {

// A property that must hold for every input: when it does not, the target
// stops the run like a crash, and libFuzzer keeps the input.
#define FUZZ_CHECK(cond, what)                                                                   \
    do {                                                                                         \
        if (!(cond)) {                                                                           \
            std::fprintf(stderr, "FUZZ_CHECK failed at %s:%d: %s (%s)\n", __FILE__, __LINE__,  \
                         #cond, qPrintable(QString(what)));                                      \
            std::abort();                                                                        \
        }                                                                                        \
    } while (0)

inline qint64 at(int y, int m, int d, int h, int min = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min)).toMSecsSinceEpoch();
}

// The clock every target starts from (a Monday noon, local time).
inline qint64 baseTime()
{
    static const qint64 t = at(2031, 6, 2, 12);
    return t;
}

// Creates the application object once; call from LLVMFuzzerInitialize.
// It lives until the process ends (libFuzzer leaves through exit()).
// The scratch directories still in use. The targets keep their state for
// the whole run and leave through exit(), so no destructor removes them:
// removeScratchDirectories() does, at exit.
inline QStringList& scratchDirectories()
{
    // Never destroyed: it must outlive the exit handler that reads it.
    static QStringList* dirs = new QStringList;
    return *dirs;
}

inline void removeScratchDirectories()
{
    for (const QString& dir : std::as_const(scratchDirectories()))
        QDir(dir).removeRecursively();
    scratchDirectories().clear();
}

// Qt's debug and warning lines (an untranslated text missing an argument,
// say) are dropped unless FUZZ_LOG=1: at thousands of inputs a second they
// would only slow the run down. Critical and fatal messages still print.
inline void quietMessages(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type == QtDebugMsg || type == QtInfoMsg || type == QtWarningMsg)
        return;
    std::fprintf(stderr, "%s (%s:%d)\n", qPrintable(text), context.file ? context.file : "?", context.line);
}

inline void initApplication(int* argc, char*** argv)
{
    static QCoreApplication* app = nullptr;
    if (app)
        return;
    // Qt keeps references to argc and argv.
    static int appArgc = 1;
    static char* appArgv[] = { (argc && *argc > 0) ? (*argv)[0] : const_cast<char*>("fuzz"), nullptr };
    app = new QCoreApplication(appArgc, appArgv);
    const bool log = qEnvironmentVariable("FUZZ_LOG") == QLatin1String("1");
    ImLog::instance()->setEchoToStderr(log);
    if (!log) {
        qInstallMessageHandler(quietMessages);
        // The protobuf runtime's own complaints (invalid UTF-8 in a string
        // field) go with them: the parse fails, which is what counts.
        google::protobuf::SetLogHandler(nullptr);
    }
    network::NetworkSubject::instance()->setFixedTime(baseTime());
    // Started here, on the main thread, before any target uses it.
    ThreadManager::getInstance();
    // Registered after the worker, so it runs before the worker goes.
    std::atexit([] {
        ThreadManager::getInstance()->waitForIdle();
        removeScratchDirectories();
    });
}

// A scratch directory for the run: under /dev/shm when it exists.
inline QString scratchRoot()
{
    const QFileInfo shm(QStringLiteral("/dev/shm"));
    if (shm.isDir() && shm.isWritable())
        return shm.absoluteFilePath();
    return QDir::tempPath();
}

// An account on a fresh database in its own scratch directory.
struct ScratchAccount
{
    explicit ScratchAccount(qint64 accountId = 1001, qint64 deviceId = 7)
        : dir(scratchRoot() + QStringLiteral("/reminder-fuzz-XXXXXX")),
          account(new AccountBase(accountId, deviceId, dir.path(),
                                  ContentCipher::deriveKey(QByteArrayLiteral("fuzz secret"))))
    {
        account->setOwnNick(QStringLiteral("Alice"));
        scratchDirectories().append(dir.path());
    }

    ~ScratchAccount()
    {
        ThreadManager::getInstance()->waitForIdle();
        account.reset();
        scratchDirectories().removeAll(dir.path());
    }

    AccountBase* get() const { return account.get(); }

    QTemporaryDir dir;
    std::unique_ptr<AccountBase> account;
};

// The account a stateless target uses, made anew every `every` inputs: the
// account keeps every dialog and user it was asked about (from quotes and
// cards in the input), which would otherwise grow for the whole run.
class RenewedAccount
{
public:
    explicit RenewedAccount(int every) : m_every(every) { }

    AccountBase* get()
    {
        if (!m_scratch)
            m_scratch.reset(new ScratchAccount());
        return m_scratch->get();
    }

    // Call once per input, before get().
    void nextInput()
    {
        if (++m_inputs % m_every == 0)
            m_scratch.reset();
    }

private:
    const int m_every;
    int m_inputs = 0;
    std::unique_ptr<ScratchAccount> m_scratch;
};

// Lets the storage worker finish, then delivers what it posted back.
inline void settle(int rounds = 2)
{
    for (int i = 0; i < rounds; ++i) {
        ThreadManager::getInstance()->waitForIdle();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

} // namespace fuzzsupport
