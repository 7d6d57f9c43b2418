#include "io/wholefile.h"

#include "folder.h"
#include "io/filehash.h"
#include "io/projectfile.h"
#include "testrunner.h"

#include <QFile>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

/// Only regular files up to a given size are read.
class TestWholeFile : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void bound_data();
    void bound();
    void notRegular_data();
    void notRegular();
    void sparseCatalogue();
    void sizeThatTheSystemDoesNotReport();
    void fileThatIsWaitedFor();

private:
    std::unique_ptr<Folder> folder;
};

void TestWholeFile::init()
{
    folder = std::make_unique<Folder>();
}

void TestWholeFile::bound_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<qint64>("most");
    QTest::addColumn<bool>("isRead");
    QTest::newRow("empty") << QByteArray() << 0LL << true;
    QTest::newRow("smaller") << "abc"_ba << 4LL << true;
    QTest::newRow("as large") << "abc"_ba << 3LL << true;
    QTest::newRow("larger by one byte") << "abcd"_ba << 3LL << false;
    QTest::newRow("a million bytes") << QByteArray(1'000'000, 'x') << 1'000'000LL << true;
    QTest::newRow("a million and one") << QByteArray(1'000'001, 'x') << 1'000'000LL << false;
}

void TestWholeFile::bound()
{
    QFETCH(QByteArray, content);
    QFETCH(qint64, most);
    QFETCH(bool, isRead);
    folder->write(u"file"_s, content);
    const auto read = readWholeFile(folder->path(u"file"_s), most);
    QCOMPARE(static_cast<bool>(read), isRead);
    if (isRead)
        QCOMPARE(*read, content);
    else
        QCOMPARE(read.error().text(), folder->path(u"file"_s) + u": Is larger than %1 bytes"_s.arg(most));
}

void TestWholeFile::notRegular_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("reason");
    QTest::newRow("none") << u"none"_s << u"No such file or directory"_s;
    QTest::newRow("folder") << u"folder"_s << u"Is not a regular file"_s;
#ifdef Q_OS_UNIX
    QTest::newRow("pipe") << u"pipe"_s << u"Is not a regular file"_s;
    QTest::newRow("link to a pipe") << u"link"_s << u"Is not a regular file"_s;
    QTest::newRow("endless device") << u"/dev/zero"_s << u"Is not a regular file"_s;
#endif
}

void TestWholeFile::notRegular()
{
    QFETCH(QString, path);
    QFETCH(QString, reason);
    folder->makeFolder(u"folder"_s);
    folder->makePipe(u"pipe"_s);
    folder->link(u"pipe"_s, u"link"_s);
    const QString file = path.startsWith(u'/') ? path : folder->path(path);
    const auto read = readWholeFile(file, 10);
    QVERIFY(!read);
    QCOMPARE(read.error().text(), file + u": "_s + reason);
    QVERIFY(!readBeginning(file, 0));
    QVERIFY(generateHash(file, QCryptographicHash::Sha1).isNull());
}

void TestWholeFile::sparseCatalogue()
{
    QFile file(folder->path(u"Apps.csv"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    if (!file.resize(1'000'000'000'000))
        QSKIP("The file system has no files of this size");
    QList<AppConfig> apps{AppConfig()};
    QVERIFY(!readProject(file.fileName(), &apps));
    QCOMPARE(apps.size(), 1);
}

void TestWholeFile::sizeThatTheSystemDoesNotReport()
{
    const QString file = u"/proc/self/maps"_s;
    if (!QFile::exists(file))
        QSKIP("There is no such file on this system");
    QCOMPARE(QFile(file).size(), 0);
    QVERIFY(!readWholeFile(file, 1000));
    const auto content = readWholeFile(file, 100'000'000);
    QVERIFY(content);
    QVERIFY(content->size() > 1000);
    QVERIFY(content->endsWith('\n'));
}

void TestWholeFile::fileThatIsWaitedFor()
{
    const QString file = u"/proc/kmsg"_s;
    if (!QFile(file).open(QIODevice::ReadOnly))
        QSKIP("There is no such file on this system, or it is the superuser's");
    // A reader would wait for the next message of the system.
    QVERIFY(!readWholeFile(file, 1'000'000'000));
}

CATALIST_TEST(TestWholeFile)
#include "tst_wholefile.moc"
