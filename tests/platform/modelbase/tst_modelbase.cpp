#include "modelbase.h"

#include <QStringList>
#include <QTest>
#include <QThread>

#include <memory>

namespace {

// Records every lifecycle call that reaches it through a ModelBase pointer,
// then runs the base implementation as an override would.
class RecordingModel : public ModelBase
{
public:
    QStringList calls;

    void initConnection() override
    {
        calls << QStringLiteral("initConnection");
        ModelBase::initConnection();
    }
    void initData() override
    {
        calls << QStringLiteral("initData");
        ModelBase::initData();
    }
    void movingData() override
    {
        calls << QStringLiteral("movingData");
        ModelBase::movingData();
    }
    void loadLocalData(bool connectOnly) override
    {
        calls << QStringLiteral("loadLocalData:%1").arg(connectOnly);
        ModelBase::loadLocalData(connectOnly);
    }
    void prepareToClearData(bool switching) override
    {
        calls << QStringLiteral("prepareToClearData:%1").arg(switching);
        ModelBase::prepareToClearData(switching);
    }
    void clearData(bool switching) override
    {
        calls << QStringLiteral("clearData:%1").arg(switching);
        ModelBase::clearData(switching);
    }
    void getNewData() override
    {
        calls << QStringLiteral("getNewData");
        ModelBase::getNewData();
    }
};

// A model that keeps the base implementation of every operation.
class PlainModel : public ModelBase
{
};

} // namespace

class TestModelBase : public QObject
{
    Q_OBJECT

private slots:
    void oneHourIsThreeMillionSixHundredThousandMs();
    void virtualsDispatchToOverride();
    void baseVirtualsAreCallableAndLeaveStopFlag();
    void stopFlagDefaultsToRunning();
    void stopFlagToggles();
    void stopFlagSeenFromAnotherThread();
};

void TestModelBase::oneHourIsThreeMillionSixHundredThousandMs()
{
    QCOMPARE(ONE_HOURE, qint64(3600000));
    QCOMPARE(ONE_HOURE, qint64(60) * 60 * 1000);
}

void TestModelBase::virtualsDispatchToOverride()
{
    std::unique_ptr<RecordingModel> recording(new RecordingModel);
    ModelBase* model = recording.get();
    model->initConnection();
    model->initData();
    model->movingData();
    model->loadLocalData(true);
    model->loadLocalData(false);
    model->prepareToClearData(true);
    model->clearData(false);
    model->getNewData();

    const QStringList expected = {
        QStringLiteral("initConnection"),       QStringLiteral("initData"),
        QStringLiteral("movingData"),           QStringLiteral("loadLocalData:1"),
        QStringLiteral("loadLocalData:0"),      QStringLiteral("prepareToClearData:1"),
        QStringLiteral("clearData:0"),          QStringLiteral("getNewData"),
    };
    QCOMPARE(recording->calls, expected);
    QVERIFY(!model->isStopped());
}

void TestModelBase::baseVirtualsAreCallableAndLeaveStopFlag()
{
    for (bool stopped : {false, true}) {
        PlainModel plain;
        ModelBase* model = &plain;
        model->setStopped(stopped);
        model->initConnection();
        model->initData();
        model->movingData();
        model->loadLocalData(false);
        model->loadLocalData(true);
        model->prepareToClearData(false);
        model->prepareToClearData(true);
        model->clearData(false);
        model->clearData(true);
        model->getNewData();
        QCOMPARE(model->isStopped(), stopped);
    }
}

void TestModelBase::stopFlagDefaultsToRunning()
{
    PlainModel model;
    QCOMPARE(model.isStopped(), false);
}

void TestModelBase::stopFlagToggles()
{
    PlainModel model;
    model.setStopped(true);
    QCOMPARE(model.isStopped(), true);
    model.setStopped(true);
    QCOMPARE(model.isStopped(), true);
    model.setStopped(false);
    QCOMPARE(model.isStopped(), false);
}

void TestModelBase::stopFlagSeenFromAnotherThread()
{
    PlainModel model;
    bool seenBefore = true;
    bool seenAfter = false;
    std::unique_ptr<QThread> reader(QThread::create([&] { seenBefore = model.isStopped(); }));
    reader->start();
    QVERIFY(reader->wait());
    QCOMPARE(seenBefore, false);

    std::unique_ptr<QThread> writer(QThread::create([&] { model.setStopped(true); }));
    writer->start();
    QVERIFY(writer->wait());
    std::unique_ptr<QThread> reader2(QThread::create([&] { seenAfter = model.isStopped(); }));
    reader2->start();
    QVERIFY(reader2->wait());
    QCOMPARE(seenAfter, true);
    QCOMPARE(model.isStopped(), true);
}

QTEST_GUILESS_MAIN(TestModelBase)
#include "tst_modelbase.moc"
