#include "io/filehash.h"

#include "folder.h"
#include "testrunner.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

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

    QTest::newRow("empty") << QByteArray() << u"da39a3ee5e6b4b0d3255bfef95601890afd80709"_s;
    QTest::newRow("abc") << "abc"_ba << u"a9993e364706816aba3e25717850c26c9cd0d89d"_s;
    QTest::newRow("two blocks") << "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"_ba
                                << u"84983e441c3bd26ebaae4aa1f95129e5e54670f1"_s;
    QTest::newRow("a million a") << QByteArray(1'000'000, 'a') << u"34aa973cd4c4daa4f61eeb2bdbad27316534016f"_s;
    QTest::newRow("as long as what is read at a time, twice")
        << QByteArray(524'288, 'a') << u"f7fec128d7fcd59222ba37368d3b7210d4c7b6ef"_s;
    QTest::newRow("line ends as they are") << "a\r\nb\n"_ba << u"044e9f44623a4d52ed40c2b3dbcff10322a52d97"_s;
}

void TestFileHash::vectors()
{
    QFETCH(QByteArray, content);
    const Folder folder;
    folder.write(u"file"_s, content);
    QTEST(generateHash(folder.path(u"file"_s), QCryptographicHash::Sha1), "sha1");
}

void TestFileHash::otherAlgorithm()
{
    const Folder folder;
    folder.write(u"file"_s, "abc");
    QCOMPARE(generateHash(folder.path(u"file"_s), QCryptographicHash::Md5), u"900150983cd24fb0d6963f7d28e17f72"_s);
}

void TestFileHash::oneAfterTheOther()
{
    const Folder folder;
    folder.write(u"a"_s, "abc");
    folder.write(u"b"_s, QByteArray(1'000'000, 'a'));
    const QString missing = folder.path(u"missing"_s);
    FileHasher hasher(QCryptographicHash::Sha1);
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(hasher.hash(folder.path(u"a"_s))->digits, u"a9993e364706816aba3e25717850c26c9cd0d89d"_s);
        QCOMPARE(hasher.hash(missing).error().text(), missing + u": No such file or directory"_s);
        QCOMPARE(hasher.hash(folder.path(u"b"_s))->size, 1'000'000);
        QCOMPARE(hasher.hash(folder.path(u"b"_s))->digits, u"34aa973cd4c4daa4f61eeb2bdbad27316534016f"_s);
    }
}

void TestFileHash::unreadable_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing") << u"missing"_s;
    QTest::newRow("folder") << u"folder"_s;
    QTest::newRow("not allowed") << u"secret"_s;
    if (QFile::exists(u"/proc/self/mem"_s))
        QTest::newRow("read error after opening") << u"/proc/self/mem"_s;
}

void TestFileHash::unreadable()
{
    QFETCH(QString, name);
    const Folder folder;
    folder.makeFolder(u"folder"_s);
    folder.write(u"secret"_s, "abc");
    QVERIFY(QFile::setPermissions(folder.path(u"secret"_s), QFile::WriteOwner));
    const OrdinaryUser user;

    const QString path = name.startsWith(u'/') ? name : folder.path(name);
    QTest::ignoreMessage(QtDebugMsg, qPrintable(u"File \" \"%1\" \" read error."_s.arg(path)));
    const QString hash = generateHash(path, QCryptographicHash::Sha1);
    QVERIFY(hash.isNull());
}

CATALIST_TEST(TestFileHash)
#include "tst_filehash.moc"
