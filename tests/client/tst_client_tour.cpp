// The scripted tour writes one screenshot per screen: each PNG exists, has
// the size tour.json gives for it (a window, or two side by side for
// devices.png), and is not blank.
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

namespace {

// Distinct colours, counted on a grid of samples.
int distinctColours(const QImage& image)
{
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); y += 3) {
        for (int x = 0; x < image.width(); x += 3)
            colours.insert(image.pixel(x, y));
    }
    return colours.size();
}

} // namespace

class TestClientTour : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void screenshots_data();
    void screenshots();
    void manifest();

private:
    QTemporaryDir m_out;
    QTemporaryDir m_data;
    QJsonObject m_manifest;
};

void TestClientTour::initTestCase()
{
    QVERIFY(m_out.isValid() && m_data.isValid());
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(REMINDER_DESK_BINARY),
            {QStringLiteral("--tour"), m_out.path(), QStringLiteral("--data"), m_data.path()});
    QVERIFY(p.waitForStarted(30000));
    // A bound for a hung tour, not a timing requirement.
    QVERIFY(p.waitForFinished(280000));
    const QString err = QString::fromUtf8(p.readAllStandardError());
    QCOMPARE(p.exitStatus(), QProcess::NormalExit);
    QVERIFY2(p.exitCode() == 0, qPrintable(err));

    QFile json(m_out.filePath(QStringLiteral("tour.json")));
    QVERIFY(json.open(QIODevice::ReadOnly));
    m_manifest = QJsonDocument::fromJson(json.readAll()).object();
    QVERIFY(!m_manifest.isEmpty());
}

void TestClientTour::screenshots_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("bothWindows");
    QTest::newRow("list") << QStringLiteral("list.png") << false;
    QTest::newRow("editor") << QStringLiteral("editor.png") << false;
    QTest::newRow("repeat") << QStringLiteral("repeat.png") << false;
    QTest::newRow("banner") << QStringLiteral("banner.png") << false;
    QTest::newRow("snoozed") << QStringLiteral("snoozed.png") << false;
    QTest::newRow("undo") << QStringLiteral("undo.png") << false;
    QTest::newRow("unsaved") << QStringLiteral("unsaved.png") << false;
    QTest::newRow("search") << QStringLiteral("search.png") << false;
    QTest::newRow("devices") << QStringLiteral("devices.png") << true;
}

void TestClientTour::screenshots()
{
    QFETCH(QString, name);
    QFETCH(bool, bothWindows);
    const QString path = m_out.filePath(name);
    QVERIFY2(QFileInfo::exists(path), qPrintable(path));
    QImage image(path);
    QVERIFY(!image.isNull());

    const QJsonObject window = m_manifest.value(QStringLiteral("window")).toObject();
    const int w = window.value(QStringLiteral("width")).toInt();
    const int h = window.value(QStringLiteral("height")).toInt();
    QVERIFY(w >= 760 && h >= 560);
    const QJsonObject entry = m_manifest.value(QStringLiteral("images")).toObject().value(name).toObject();
    QCOMPARE(image.width(), entry.value(QStringLiteral("width")).toInt());
    QCOMPARE(image.height(), entry.value(QStringLiteral("height")).toInt());
    if (bothWindows) {
        QVERIFY(image.width() > 2 * w);
        QCOMPARE(image.height(), h);
    } else {
        QCOMPARE(image.size(), QSize(w, h));
    }
    // Not blank: a real screen has text, icons and shades.
    QVERIFY2(distinctColours(image) > 64, qPrintable(QString::number(distinctColours(image))));
}

void TestClientTour::manifest()
{
    const QJsonObject images = m_manifest.value(QStringLiteral("images")).toObject();
    QCOMPARE(images.size(), 9);
}

QTEST_GUILESS_MAIN(TestClientTour)
#include "tst_client_tour.moc"
