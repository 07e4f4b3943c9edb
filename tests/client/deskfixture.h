#pragma once

// One signed-in device of the desktop client on a temporary data
// directory, with the clock fixed on Monday 2 June 2031, 10:00: the
// fixture of the client's C++ tests. stop() and start() end the program
// and start it again on the same data.
#include "deskbackend.h"
#include "deskdevice.h"
#include "deskedit.h"
#include "imlog.h"
#include "networksubject.h"
#include "reminderhandler.h"
#include "remindermodel.h"
#include "threadmanager.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class DeskFixture
{
public:
    // Returns false when the device's first listing did not finish.
    bool setUp()
    {
        ImLog::instance()->setEchoToStderr(false);
        now = QDateTime(QDate(2031, 6, 2), QTime(10, 0)).toMSecsSinceEpoch();
        network::NetworkSubject::instance()->setFixedTime(now);
        dir.reset(new QTemporaryDir);
        return dir->isValid() && start();
    }
    void tearDown()
    {
        stop();
        dir.reset();
        network::NetworkSubject::instance()->releaseFixedTime();
    }
    bool start()
    {
        backend.reset(new DeskBackend(dir->path(), 1));
        QSignalSpy listed(backend.get(), &DeskBackend::allListed);
        backend->signInAll();
        if (!backend->isAllListed() && !listed.wait(30000))
            return false;
        device()->handler()->readyReminder();
        return true;
    }
    // What ends the program ends the backend: the devices go, then the
    // sessions.
    void stop() { backend.reset(); }
    // The storage worker is done and what it posted back is delivered.
    static void settle()
    {
        for (int i = 0; i < 3; ++i) {
            ThreadManager::getInstance()->waitForIdle();
            QCoreApplication::sendPostedEvents();
            QCoreApplication::processEvents();
        }
    }
    // A quick add's reminder; its id. The clock then moves on a minute, so
    // that each reminder has times of its own.
    QString add(const QString& text)
    {
        const QString id = DeskEdit::addQuick(device()->handler(), text);
        now += 60 * 1000;
        network::NetworkSubject::instance()->setFixedTime(now);
        return id;
    }
    DeskDevice* device() const { return backend->device(0); }

    std::unique_ptr<QTemporaryDir> dir;
    std::unique_ptr<DeskBackend> backend;
    qint64 now = 0;
};
