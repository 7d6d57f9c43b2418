#include "io/filehash.h"

#include "folder.h"
#include "testrunner.h"

#include <QFile>
#include <QTest>

class TestFileHash : public QObject
{
    Q_OBJECT

private slots:
    void vectors_data();
    void vectors();
    void otherAlgorithm();
    void oneAfterTheOther();
    void unreadable_data();
    void unreadable();
};

void TestFileHash::vectors_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("sha1");

    QTest::newRow("empty") << QByteArray() << QStringLiteral("da39a3ee5e6b4b0d3255bfef95601890afd80709");
    QTest::newRow("abc") << QByteArray("abc") << QStringLiteral("a9993e364706816aba3e25717850c26c9cd0d89d");
    QTest::newRow("two blocks") << QByteArray("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")
                                << QStringLiteral("84983e441c3bd26ebaae4aa1f95129e5e54670f1");
    QTest::newRow("a million a") << QByteArray(1'000'000, 'a')
                                 << QStringLiteral("34aa973cd4c4daa4f61eeb2bdbad27316534016f");
    QTest::newRow("as long as what is read at a time, twice")
        << QByteArray(524'288, 'a') << QStringLiteral("f7fec128d7fcd59222ba37368d3b7210d4c7b6ef");
    QTest::newRow("line ends as they are")
        << QByteArray("a\r\nb\n") << QStringLiteral("044e9f44623a4d52ed40c2b3dbcff10322a52d97");
}

void TestFileHash::vectors()
{
    QFETCH(QByteArray, content);
    const Folder folder;
    folder.write(QStringLiteral("file"), content);
    QTEST(generateHash(folder.path(QStringLiteral("file")), QCryptographicHash::Sha1), "sha1");
}

void TestFileHash::otherAlgorithm()
{
    const Folder folder;
    folder.write(QStringLiteral("file"), "abc");
    QCOMPARE(generateHash(folder.path(QStringLiteral("file")), QCryptographicHash::Md5),
             QStringLiteral("900150983cd24fb0d6963f7d28e17f72"));
}

void TestFileHash::oneAfterTheOther()
{
    const Folder folder;
    folder.write(QStringLiteral("a"), "abc");
    folder.write(QStringLiteral("b"), QByteArray(1'000'000, 'a'));
    const QString missing = folder.path(QStringLiteral("missing"));
    FileHasher hasher(QCryptographicHash::Sha1);
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(hasher.hash(folder.path(QStringLiteral("a"))),
                 QStringLiteral("a9993e364706816aba3e25717850c26c9cd0d89d"));
        QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("File \" \"%1\" \" read error.").arg(missing)));
        QVERIFY(hasher.hash(missing).isNull());
        QCOMPARE(hasher.hash(folder.path(QStringLiteral("b"))),
                 QStringLiteral("34aa973cd4c4daa4f61eeb2bdbad27316534016f"));
    }
}

void TestFileHash::unreadable_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing") << QStringLiteral("missing");
    QTest::newRow("folder") << QStringLiteral("folder");
    QTest::newRow("not allowed") << QStringLiteral("secret");
    if (QFile::exists(QStringLiteral("/proc/self/mem")))
        QTest::newRow("read error after opening") << QStringLiteral("/proc/self/mem");
}

void TestFileHash::unreadable()
{
    QFETCH(QString, name);
    const Folder folder;
    folder.makeFolder(QStringLiteral("folder"));
    folder.write(QStringLiteral("secret"), "abc");
    QVERIFY(QFile::setPermissions(folder.path(QStringLiteral("secret")), QFile::WriteOwner));
    const OrdinaryUser user;

    const QString path = name.startsWith(QLatin1Char('/')) ? name : folder.path(name);
    QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("File \" \"%1\" \" read error.").arg(path)));
    const QString hash = generateHash(path, QCryptographicHash::Sha1);
    QVERIFY(hash.isNull());
}

CATALIST_TEST(TestFileHash)
#include "tst_filehash.moc"
