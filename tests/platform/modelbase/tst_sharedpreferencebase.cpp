#include "sharedpreferencebase.h"

#include <QSignalSpy>
#include <QTest>

class TestSharedPreferenceBase : public QObject
{
    Q_OBJECT

private slots:
    void startsUnfinished();
    void finishListEmitsOnce();
    void everyFinishIsAnnounced();
    void restartListClearsWithoutSignal();
    void finishAfterRestart();
};

void TestSharedPreferenceBase::startsUnfinished()
{
    SharedPreferenceBase pref;
    QVERIFY(!pref.isListFinished());
}

void TestSharedPreferenceBase::finishListEmitsOnce()
{
    SharedPreferenceBase pref;
    QSignalSpy spy(&pref, &SharedPreferenceBase::listFinished);
    pref.finishList();
    QCOMPARE(spy.count(), 1);
    QVERIFY(pref.isListFinished());
}

void TestSharedPreferenceBase::everyFinishIsAnnounced()
{
    SharedPreferenceBase pref;
    QSignalSpy spy(&pref, &SharedPreferenceBase::listFinished);
    pref.finishList();
    pref.finishList();
    QCOMPARE(spy.count(), 2);
    QVERIFY(pref.isListFinished());
}

void TestSharedPreferenceBase::restartListClearsWithoutSignal()
{
    SharedPreferenceBase pref;
    pref.finishList();
    QSignalSpy spy(&pref, &SharedPreferenceBase::listFinished);
    pref.restartList();
    QVERIFY(!pref.isListFinished());
    QCOMPARE(spy.count(), 0);
    pref.restartList();
    QVERIFY(!pref.isListFinished());
    QCOMPARE(spy.count(), 0);
}

void TestSharedPreferenceBase::finishAfterRestart()
{
    SharedPreferenceBase pref;
    QSignalSpy spy(&pref, &SharedPreferenceBase::listFinished);
    bool finishedInSlot = false;
    connect(&pref, &SharedPreferenceBase::listFinished, this,
            [&pref, &finishedInSlot] { finishedInSlot = pref.isListFinished(); });
    pref.finishList();
    QVERIFY(finishedInSlot);
    pref.restartList();
    finishedInSlot = false;
    pref.finishList();
    QVERIFY(finishedInSlot);
    QCOMPARE(spy.count(), 2);
    QVERIFY(pref.isListFinished());
}

QTEST_GUILESS_MAIN(TestSharedPreferenceBase)
#include "tst_sharedpreferencebase.moc"
