#include "io/csv.h"
#include "io/filehash.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"

#include "folder.h"
#include "indexobject.h"
#include "lengths.h"
#include "testrunner.h"

#include <QFile>
#include <QJsonArray>
#include <QTest>
#include <QThread>

#include <atomic>

using namespace Qt::StringLiterals;

namespace {

const QByteArray ROW_END = ";;;;;{};\n";

QString file()
{
    return u"Apps.csv"_s;
}

QJsonArray publishedFiles(const QStringList &listed, const QString &projectDir)
{
    AppConfig app;
    app.files = listed;
    const QJsonObject index = indexObject({app}, QString(), projectDir);
    return index.value("applications"_L1).toArray().at(0).toObject().value("files"_L1).toArray();
}

} // namespace

/// Malformed and huge files: each ends in bounded time, as docs/formats.md says.
class TestHostileFiles : public QObject
{
    Q_OBJECT

private slots:
    void shapes_data();
    void shapes();
    void unreadable_data();
    void unreadable();
    void deepTree();
    void changesWhileItIsHashed_data();
    void changesWhileItIsHashed();
    void listedPathThatClimbsOut();
};

void TestHostileFiles::shapes_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<int>("apps");

    const qsizetype length = lengthOf(10'000'000, 100'000'000);
    const QByteArray deep(100'000, '[');
    QTest::newRow("a very long line without cells") << QByteArray(length, 'x') << false << 0;
    QTest::newRow("a very long author") << "{};" + QByteArray(length, 'x') + ";;;;{};\n" << true << 1;
    QTest::newRow("a million empty cells") << QByteArray(1'000'000, ';') << false << 0;
    QTest::newRow("a million cells more than there are columns")
        << "{}" + ROW_END.chopped(1) + QByteArray(1'000'000, ';') << true << 1;
    QTest::newRow("a million ids") << "{};;;" + "1,"_ba.repeated(1'000'000) + ";;{};\n" << true << 1;
    QTest::newRow("JSON 100,000 deep") << "{\"en\":" + deep + ROW_END << false << 0;
    QTest::newRow("closed JSON 100,000 deep") << deep + QByteArray(100'000, ']') + ROW_END << false << 0;
    QTest::newRow("many names") << "{" + "\"en\":\"x\","_ba.repeated(100'000) + "\"de\":\"y\"}" + ROW_END << true << 1;
    QTest::newRow("NUL bytes") << QByteArray("{};\0;;;;{};\0\n", 13) << true << 1;
    QTest::newRow("NUL in the names") << QByteArray("{\0};;;;;{};\n", 12) << false << 0;
    QTest::newRow("invalid UTF-8") << "{\"en\":\"\xff\xc3\"};\xe2\x82;;;;{};\n"_ba << true << 1;
    QTest::newRow("a hundred thousand empty lines") << QByteArray(100'000, '\n') << false << 0;
    QTest::newRow("a hundred thousand headers") << "NAME\n"_ba.repeated(100'000) << true << 0;
}

void TestHostileFiles::shapes()
{
    QFETCH(QByteArray, content);
    const Folder folder;
    folder.write(file(), content);
    QList<AppConfig> apps;
    QTEST(static_cast<bool>(readProject(folder.path(file()), &apps)), "loaded");
    QTEST(static_cast<int>(apps.size()), "apps");
    if (QLatin1String(QTest::currentDataTag()) == "invalid UTF-8"_L1) {
        QCOMPARE(apps.constFirst().names.value(u"en"_s), u"\ufffd\ufffd"_s);
        QCOMPARE(apps.constFirst().author, u"\ufffd\ufffd"_s);
    }
    QVERIFY(parseCSV(QString::fromUtf8(content)).size() <= content.size());
}

void TestHostileFiles::unreadable_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("folder") << QString();
    QTest::newRow("pipe that nobody writes to") << u"pipe"_s;
    QTest::newRow("endless device") << u"/dev/zero"_s;
    QTest::newRow("link to itself") << u"loop"_s;
#ifdef Q_OS_LINUX
    QTest::newRow("regular file that gives a read error") << u"/proc/self/mem"_s;
#endif
}

void TestHostileFiles::unreadable()
{
#ifndef Q_OS_UNIX
    QSKIP("Pipes and devices in folders are of Unix");
#endif
    QFETCH(QString, path);
    const Folder folder;
    folder.makePipe(u"pipe"_s);
    folder.link(folder.path(u"loop"_s), u"loop"_s);
    QList<AppConfig> apps{AppConfig()};
    QVERIFY(!readProject(path.startsWith(u'/') ? path : folder.path(path), &apps));
    QCOMPARE(apps.size(), 1);
    QCOMPARE(publishedFiles({path}, folder.path()).size(), 0);
}

void TestHostileFiles::deepTree()
{
    const Folder folder;
    const QString deep = u"d/"_s.repeated(1000);
    folder.write(deep + u"file"_s, "abc");
    const QJsonArray files = publishedFiles({u"d"_s}, folder.path());
    QCOMPARE(files.size(), 1);
    QCOMPARE(files.at(0).toObject().value("url"_L1).toString(), deep + u"file"_s);
    QCOMPARE(files.at(0).toObject().value("hash"_L1).toString(), u"a9993e364706816aba3e25717850c26c9cd0d89d"_s);
}

void TestHostileFiles::changesWhileItIsHashed_data()
{
    QTest::addColumn<QString>("change");
    QTest::newRow("grows") << u"grows"_s;
    QTest::newRow("shrinks") << u"shrinks"_s;
    QTest::newRow("vanishes") << u"vanishes"_s;
}

void TestHostileFiles::changesWhileItIsHashed()
{
    QFETCH(QString, change);
    const Folder folder;
    folder.write(u"file"_s, QByteArray(30'000'000, 'x'));
    const QString path = folder.path(u"file"_s);

    std::atomic_bool done = false;
    std::unique_ptr<QThread> changer(QThread::create([&done, &change, &path] {
        for (int round = 0; round < 2000 && !done; ++round) {
            QFile changed(path);
            if (change == "vanishes"_L1)
                QFile::remove(path);
            else if (!changed.open(QIODevice::ReadWrite))
                break;
            else if (change == "shrinks"_L1)
                changed.resize(changed.size() / 2);
            else
                changed.resize(changed.size() + 10'000);
        }
    }));
    changer->start();
    const QString hash = generateHash(path, QCryptographicHash::Sha1);
    const QJsonArray files = publishedFiles({u"file"_s}, folder.path());
    done = true;
    QVERIFY(changer->wait());

    // The file may vanish before or after it is read.
    const bool isGone = change == "vanishes"_L1;
    QVERIFY(hash.size() == 40 || (isGone && hash.isNull()));
    QVERIFY(files.size() == 1 || (isGone && files.isEmpty()));
    QCOMPARE(publishedFiles({u"file"_s}, folder.path()).size(), isGone ? 0 : 1);
}

void TestHostileFiles::listedPathThatClimbsOut()
{
    const Folder folder;
    folder.makeFolder(u"project"_s);
    folder.write(u"secret"_s, "abc");
    const QJsonArray files = publishedFiles({u"../secret"_s}, folder.path(u"project"_s));
    QCOMPARE(files.size(), 1);
    QCOMPARE(files.at(0).toObject().value("destination"_L1).toString(), u"Apps/../secret"_s);
}

CATALIST_TEST(TestHostileFiles)
#include "tst_hostile_files.moc"
