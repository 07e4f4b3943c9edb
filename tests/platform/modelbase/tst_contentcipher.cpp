#include "contentcipher.h"

#include <QSet>
#include <QTest>

namespace {

// Bytes 0..255 repeated, so the plain text holds NULs and every byte value.
QByteArray allBytes(int size)
{
    QByteArray out(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        out[i] = char(i & 0xFF);
    return out;
}

const QByteArray kSecret = QByteArrayLiteral("account-secret-one");

// The key that travels beside a cipher text: one format byte, then the
// 24-byte XChaCha20 nonce.
constexpr int kTravelKeySize = 1 + 24;
// The Poly1305 tag appended to every cipher text.
constexpr int kTagSize = 16;

} // namespace

class TestContentCipher : public QObject
{
    Q_OBJECT

private slots:
    void deriveKeyIsDeterministic();
    void deriveKeyDiffersPerSecret();
    void deriveKeyOfEmptySecret();

    void roundTrip_data();
    void roundTrip();
    void emptyPlainTextIsEmptyButNotNull();
    void encryptionsOfSamePlainTextDiffer();

    void tamperedCipherTextFails_data();
    void tamperedCipherTextFails();
    void tamperedNonceFails_data();
    void tamperedNonceFails();
    void truncatedCipherTextFails_data();
    void truncatedCipherTextFails();
    void extendedCipherTextFails();
    void malformedKeyFails_data();
    void malformedKeyFails();
    void wrongFormatByteFails_data();
    void wrongFormatByteFails();
    void keyOfAnotherMessageFails();
    void otherAccountCannotDecrypt();
    void sameAccountKeyOnTwoCiphersDecrypts();

    void invalidAccountKey_data();
    void invalidAccountKey();
};

void TestContentCipher::deriveKeyIsDeterministic()
{
    const QByteArray a = ContentCipher::deriveKey(kSecret);
    const QByteArray b = ContentCipher::deriveKey(QByteArray(kSecret));
    QCOMPARE(a.size(), ContentCipher::KeySize);
    QCOMPARE(a.size(), 32);
    QCOMPARE(a, b);
    QVERIFY(a != kSecret.left(32));
}

void TestContentCipher::deriveKeyDiffersPerSecret()
{
    const QList<QByteArray> secrets = {
        QByteArrayLiteral("a"), QByteArrayLiteral("b"), QByteArrayLiteral("ab"),
        QByteArrayLiteral("ba"), QByteArray(1, '\0'), QByteArray(2, '\0'),
        QByteArrayLiteral("account-secret-one"), QByteArrayLiteral("account-secret-two"),
    };
    QSet<QByteArray> keys;
    for (const QByteArray& s : secrets) {
        const QByteArray key = ContentCipher::deriveKey(s);
        QCOMPARE(key.size(), ContentCipher::KeySize);
        keys.insert(key);
    }
    QCOMPARE(keys.size(), secrets.size());
}

void TestContentCipher::deriveKeyOfEmptySecret()
{
    const QByteArray a = ContentCipher::deriveKey(QByteArray());
    const QByteArray b = ContentCipher::deriveKey(QByteArray(""));
    QCOMPARE(a.size(), ContentCipher::KeySize);
    QCOMPARE(a, b);
    QVERIFY(a != QByteArray(ContentCipher::KeySize, '\0'));
    QVERIFY(ContentCipher(a).isValid());
}

void TestContentCipher::roundTrip_data()
{
    QTest::addColumn<QByteArray>("plain");
    QTest::newRow("one byte") << QByteArrayLiteral("x");
    QTest::newRow("text") << QByteArrayLiteral("Call the dentist at 9");
    QTest::newRow("utf8") << QStringLiteral("Erinnerung: Grüße, 日本語, 🙂").toUtf8();
    QTest::newRow("nul bytes") << QByteArray(17, '\0');
    QTest::newRow("all byte values") << allBytes(256);
    QTest::newRow("one megabyte") << allBytes(1 << 20);
}

void TestContentCipher::roundTrip()
{
    QFETCH(QByteArray, plain);
    const ContentCipher cipher(ContentCipher::deriveKey(kSecret));
    QVERIFY(cipher.isValid());

    QByteArray key;
    const QByteArray data = cipher.encrypt(plain, key);
    QCOMPARE(data.size(), plain.size() + kTagSize);
    QCOMPARE(key.size(), kTravelKeySize);
    QVERIFY(!data.contains(plain) || plain.size() < 4);

    const QByteArray back = cipher.decrypt(data, key);
    QVERIFY(!back.isNull());
    QCOMPARE(back, plain);
    // Decrypting does not consume anything: a second time gives the same.
    QCOMPARE(cipher.decrypt(data, key), plain);
}

void TestContentCipher::emptyPlainTextIsEmptyButNotNull()
{
    const ContentCipher cipher(ContentCipher::deriveKey(kSecret));
    for (const QByteArray& empty : {QByteArray(), QByteArray("")}) {
        QByteArray key;
        const QByteArray data = cipher.encrypt(empty, key);
        QCOMPARE(data.size(), kTagSize);
        QCOMPARE(key.size(), kTravelKeySize);
        const QByteArray back = cipher.decrypt(data, key);
        QVERIFY(!back.isNull());
        QVERIFY(back.isEmpty());
        QCOMPARE(back.size(), 0);
    }
}

void TestContentCipher::encryptionsOfSamePlainTextDiffer()
{
    const ContentCipher cipher(ContentCipher::deriveKey(kSecret));
    const QByteArray plain = QByteArrayLiteral("the same words every time");
    QSet<QByteArray> datas;
    QSet<QByteArray> keys;
    for (int i = 0; i < 20; ++i) {
        QByteArray key;
        const QByteArray data = cipher.encrypt(plain, key);
        datas.insert(data);
        keys.insert(key);
        QCOMPARE(cipher.decrypt(data, key), plain);
    }
    QCOMPARE(datas.size(), 20);
    QCOMPARE(keys.size(), 20);
}

void TestContentCipher::tamperedCipherTextFails_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("mask");
    // The plain text is 40 bytes, so the cipher text is 56: 40 then the tag.
    QTest::newRow("first byte") << 0 << 0x01;
    QTest::newRow("second byte") << 1 << 0x80;
    QTest::newRow("middle of body") << 20 << 0xFF;
    QTest::newRow("last body byte") << 39 << 0x10;
    QTest::newRow("first tag byte") << 40 << 0x01;
    QTest::newRow("middle of tag") << 47 << 0x42;
    QTest::newRow("last byte") << 55 << 0x01;
}

void TestContentCipher::tamperedCipherTextFails()
{
    QFETCH(int, position);
    QFETCH(int, mask);
    const ContentCipher cipher(ContentCipher::deriveKey(kSecret));
    const QByteArray plain = allBytes(40);
    QByteArray key;
    QByteArray data = cipher.encrypt(plain, key);
    QCOMPARE(data.size(), 56);
    QCOMPARE(cipher.decrypt(data, key), plain);

    data[position] = char(data.at(position) ^ mask);
    QVERIFY(cipher.decrypt(data, key).isNull());
}

void TestContentCipher::tamperedNonceFails_data()
{
    QTest::addColumn<int>("position");
    QTest::newRow("first nonce byte") << 1;
    QTest::newRow("middle nonce byte") << 12;
    QTest::newRow("last nonce byte") << kTravelKeySize - 1;
}

void TestContentCipher::tamperedNonceFails()
{
    QFETCH(int, position);
    const ContentCipher cipher(ContentCipher::deriveKey(kSecret));
    const QByteArray plain = QByteArrayLiteral("nonce must be authenticated");
    QByteArray key;
    const QByteArray data = cipher.encrypt(plain, key);
    QByteArray bad = key;
    bad[position] = char(bad.at(position) ^ 0x01);
    QVERIFY(cipher.decrypt(data, bad).isNull());
    QCOMPARE(cipher.decrypt(data, key), plain);
}

void TestContentCipher::truncatedCipherTextFails_data()
{
    QTest::addColumn<int>("plainSize");
    QTest::addColumn<int>("keep");
    QTest::newRow("nothing") << 30 << 0;
    QTest::newRow("one byte") << 30 << 1;
    QTest::newRow("less than a tag") << 30 << kTagSize - 1;
    QTest::newRow("exactly a tag") << 30 << kTagSize;
    QTest::newRow("one byte short") << 30 << 30 + kTagSize - 1;
    QTest::newRow("empty plain, short tag") << 0 << kTagSize - 1;
    QTest::newRow("empty plain, no data") << 0 << 0;
}

void TestContentCipher::truncatedCipherTextFails()
{
    QFETCH(int, plainSize);
    QFETCH(int, keep);
    const ContentCipher cipher(ContentCipher::deriveKey(kSecret));
    QByteArray key;
    const QByteArray data = cipher.encrypt(allBytes(plainSize), key);
    QVERIFY(keep < data.size());
    QVERIFY(cipher.decrypt(data.left(keep), key).isNull());
    // Dropping bytes from the front is no better.
    QVERIFY(cipher.decrypt(data.mid(data.size() - keep), key).isNull());
}

void TestContentCipher::extendedCipherTextFails()
{
    const ContentCipher cipher(ContentCipher::deriveKey(kSecret));
    QByteArray key;
    const QByteArray data = cipher.encrypt(QByteArrayLiteral("exact length"), key);
    QVERIFY(cipher.decrypt(data + QByteArray(1, '\0'), key).isNull());
    QVERIFY(cipher.decrypt(QByteArray(1, '\0') + data, key).isNull());
    QVERIFY(cipher.decrypt(data + data, key).isNull());
}

void TestContentCipher::malformedKeyFails_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("empty") << 0;
    QTest::newRow("format byte only") << 1;
    QTest::newRow("one byte short") << 2;
    QTest::newRow("one byte extra") << 3;
    QTest::newRow("doubled") << 4;
    QTest::newRow("garbage of right size") << 5;
    QTest::newRow("zeros after format byte") << 6;
    QTest::newRow("garbage, long") << 7;
}

void TestContentCipher::malformedKeyFails()
{
    QFETCH(int, kind);
    const ContentCipher cipher(ContentCipher::deriveKey(kSecret));
    const QByteArray plain = QByteArrayLiteral("guarded words");
    QByteArray key;
    const QByteArray data = cipher.encrypt(plain, key);
    QCOMPARE(key.size(), kTravelKeySize);

    QByteArray bad;
    switch (kind) {
    case 0: bad = QByteArray(); break;
    case 1: bad = key.left(1); break;
    case 2: bad = key.left(key.size() - 1); break;
    case 3: bad = key + QByteArray(1, 'x'); break;
    case 4: bad = key + key; break;
    case 5:
        bad = key.left(1) + ContentCipher::deriveKey("garbage").left(kTravelKeySize - 1);
        break;
    case 6: bad = key.left(1) + QByteArray(kTravelKeySize - 1, '\0'); break;
    case 7: bad = ContentCipher::deriveKey("x") + ContentCipher::deriveKey("y"); break;
    }
    QVERIFY(bad != key);
    QVERIFY(cipher.decrypt(data, bad).isNull());
}

void TestContentCipher::wrongFormatByteFails_data()
{
    QTest::addColumn<int>("format");
    QTest::newRow("0") << 0;
    QTest::newRow("2") << 2;
    QTest::newRow("0x7F") << 0x7F;
    QTest::newRow("0x80") << 0x80;
    QTest::newRow("0xFF") << 0xFF;
}

void TestContentCipher::wrongFormatByteFails()
{
    QFETCH(int, format);
    const ContentCipher cipher(ContentCipher::deriveKey(kSecret));
    const QByteArray plain = QByteArrayLiteral("format matters");
    QByteArray key;
    const QByteArray data = cipher.encrypt(plain, key);
    QVERIFY(char(format) != key.at(0));
    QByteArray bad = key;
    bad[0] = char(format);
    QVERIFY(cipher.decrypt(data, bad).isNull());
    QCOMPARE(cipher.decrypt(data, key), plain);
}

void TestContentCipher::keyOfAnotherMessageFails()
{
    const ContentCipher cipher(ContentCipher::deriveKey(kSecret));
    QByteArray keyA;
    QByteArray keyB;
    const QByteArray a = cipher.encrypt(QByteArrayLiteral("message a"), keyA);
    const QByteArray b = cipher.encrypt(QByteArrayLiteral("message b"), keyB);
    QVERIFY(cipher.decrypt(a, keyB).isNull());
    QVERIFY(cipher.decrypt(b, keyA).isNull());
    QCOMPARE(cipher.decrypt(a, keyA), QByteArrayLiteral("message a"));
    QCOMPARE(cipher.decrypt(b, keyB), QByteArrayLiteral("message b"));
}

void TestContentCipher::otherAccountCannotDecrypt()
{
    const ContentCipher mine(ContentCipher::deriveKey(kSecret));
    const ContentCipher theirs(ContentCipher::deriveKey(QByteArrayLiteral("account-secret-two")));
    QVERIFY(mine.isValid());
    QVERIFY(theirs.isValid());
    for (const QByteArray& plain : {QByteArray(), QByteArrayLiteral("private")}) {
        QByteArray key;
        const QByteArray data = mine.encrypt(plain, key);
        QVERIFY(theirs.decrypt(data, key).isNull());
        QVERIFY(!mine.decrypt(data, key).isNull());
    }
}

void TestContentCipher::sameAccountKeyOnTwoCiphersDecrypts()
{
    const ContentCipher deviceA(ContentCipher::deriveKey(kSecret));
    const ContentCipher deviceB(ContentCipher::deriveKey(kSecret));
    QByteArray key;
    const QByteArray data = deviceA.encrypt(QByteArrayLiteral("shared across devices"), key);
    QCOMPARE(deviceB.decrypt(data, key), QByteArrayLiteral("shared across devices"));
}

void TestContentCipher::invalidAccountKey_data()
{
    QTest::addColumn<QByteArray>("accountKey");
    QTest::newRow("null") << QByteArray();
    QTest::newRow("one byte") << QByteArray(1, 'k');
    QTest::newRow("16 bytes") << QByteArray(16, 'k');
    QTest::newRow("31 bytes") << ContentCipher::deriveKey(kSecret).left(31);
    QTest::newRow("33 bytes") << ContentCipher::deriveKey(kSecret) + QByteArray(1, 'k');
    QTest::newRow("64 bytes") << QByteArray(64, 'k');
}

void TestContentCipher::invalidAccountKey()
{
    QFETCH(QByteArray, accountKey);
    const ContentCipher cipher(accountKey);
    QVERIFY(!cipher.isValid());

    QByteArray key = QByteArrayLiteral("left over from before");
    const QByteArray data = cipher.encrypt(QByteArrayLiteral("never sealed"), key);
    QVERIFY(data.isEmpty());
    QVERIFY(key.isEmpty());

    // Nor does it open what a valid cipher sealed.
    const ContentCipher valid(ContentCipher::deriveKey(kSecret));
    QByteArray goodKey;
    const QByteArray sealed = valid.encrypt(QByteArrayLiteral("sealed"), goodKey);
    QVERIFY(cipher.decrypt(sealed, goodKey).isNull());
}

QTEST_GUILESS_MAIN(TestContentCipher)
#include "tst_contentcipher.moc"
