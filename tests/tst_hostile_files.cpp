#include "io/csv.h"
#include "io/filehash.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"

#include "folder.h"
#include "lengths.h"
#include "testrunner.h"

#include <QFile>
#include <QJsonArray>
#include <QTest>
#include <QThread>

#include <atomic>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

namespace {

const QByteArray ROW_END = ";;;;;{};\n";

QString file()
{
    return QStringLiteral("Apps.csv");
}

QJsonArray publishedFiles(const QStringList &listed, const QString &projectDir)
{
    AppConfig app;
    app.files = listed;
    const QJsonObject index = buildRepositoryIndex({app}, QString(), projectDir);
    return index.value(QLatin1String("applications"))
        .toArray()
        .at(0)
        .toObject()
        .value(QLatin1String("files"))
        .toArray();
}

} // namespace

/// Files that nobody would write on purpose: each ends in bounded time, as docs/formats.md says.
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
    QTest::newRow("a million ids") << "{};;;" + QByteArray("1,").repeated(1'000'000) + ";;{};\n" << true << 1;
    QTest::newRow("JSON 100,000 deep") << "{\"en\":" + deep + ROW_END << false << 0;
    QTest::newRow("closed JSON 100,000 deep") << deep + QByteArray(100'000, ']') + ROW_END << false << 0;
    QTest::newRow("many names") << "{" + QByteArray("\"en\":\"x\",").repeated(100'000) + "\"de\":\"y\"}" + ROW_END
                                << true << 1;
    QTest::newRow("NUL bytes") << QByteArray("{};\0;;;;{};\0\n", 13) << true << 1;
    QTest::newRow("NUL in the names") << QByteArray("{\0};;;;;{};\n", 12) << false << 0;
    QTest::newRow("invalid UTF-8") << QByteArray("{\"en\":\"\xff\xc3\"};\xe2\x82;;;;{};\n") << true << 1;
    QTest::newRow("a hundred thousand blank lines") << QByteArray(100'000, '\n') << false << 0;
    QTest::newRow("a hundred thousand headers") << QByteArray("NAME\n").repeated(100'000) << true << 0;
}

void TestHostileFiles::shapes()
{
    QFETCH(QByteArray, content);
    const Folder folder;
    folder.write(file(), content);
    QList<AppConfig> apps;
    QTEST(readProject(folder.path(file()), &apps), "loaded");
    QTEST(static_cast<int>(apps.size()), "apps");
    if (QLatin1String(QTest::currentDataTag()) == QLatin1String("invalid UTF-8")) {
        QCOMPARE(apps.constFirst().names.value(QStringLiteral("en")), QStringLiteral("\ufffd\ufffd"));
        QCOMPARE(apps.constFirst().author, QStringLiteral("\ufffd\ufffd"));
    }
    QVERIFY(parseCSV(QString::fromUtf8(content)).size() <= content.size());
}

void TestHostileFiles::unreadable_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("folder") << QString();
    QTest::newRow("pipe that nobody writes to") << QStringLiteral("pipe");
    QTest::newRow("endless device") << QStringLiteral("/dev/zero");
    QTest::newRow("link to itself") << QStringLiteral("loop");
#ifdef Q_OS_LINUX
    QTest::newRow("regular file that gives a read error") << QStringLiteral("/proc/self/mem");
#endif
}

void TestHostileFiles::unreadable()
{
#ifdef Q_OS_UNIX
    QFETCH(QString, path);
    const Folder folder;
    QCOMPARE(::mkfifo(folder.path(QStringLiteral("pipe")).toLocal8Bit().constData(), 0666), 0);
    folder.link(folder.path(QStringLiteral("loop")), QStringLiteral("loop"));
    QList<AppConfig> apps{AppConfig()};
    QVERIFY(!readProject(path.startsWith(QLatin1Char('/')) ? path : folder.path(path), &apps));
    QCOMPARE(apps.size(), 1);
    QCOMPARE(publishedFiles({path}, folder.path()).size(), 0);
#else
    QSKIP("Pipes and devices in folders are of Unix");
#endif
}

void TestHostileFiles::deepTree()
{
    const Folder folder;
    const QString deep = QStringLiteral("d/").repeated(1000);
    folder.write(deep + QStringLiteral("file"), "abc");
    const QJsonArray files = publishedFiles({QStringLiteral("d")}, folder.path());
    QCOMPARE(files.size(), 1);
    QCOMPARE(files.at(0).toObject().value(QLatin1String("url")).toString(), deep + QStringLiteral("file"));
    QCOMPARE(files.at(0).toObject().value(QLatin1String("hash")).toString(),
             QStringLiteral("a9993e364706816aba3e25717850c26c9cd0d89d"));
}

void TestHostileFiles::changesWhileItIsHashed_data()
{
    QTest::addColumn<QString>("change");
    QTest::newRow("grows") << QStringLiteral("grows");
    QTest::newRow("shrinks") << QStringLiteral("shrinks");
    QTest::newRow("vanishes") << QStringLiteral("vanishes");
}

void TestHostileFiles::changesWhileItIsHashed()
{
    QFETCH(QString, change);
    const Folder folder;
    folder.write(QStringLiteral("file"), QByteArray(30'000'000, 'x'));
    const QString path = folder.path(QStringLiteral("file"));

    std::atomic_bool done = false;
    std::unique_ptr<QThread> changer(QThread::create([&done, &change, &path] {
        for (int round = 0; round < 2000 && !done; ++round) {
            QFile changed(path);
            if (change == QLatin1String("vanishes"))
                QFile::remove(path);
            else if (!changed.open(QIODevice::ReadWrite))
                break;
            else if (change == QLatin1String("shrinks"))
                changed.resize(changed.size() / 2);
            else
                changed.resize(changed.size() + 10'000);
        }
    }));
    changer->start();
    const QString hash = generateHash(path, QCryptographicHash::Sha1);
    const QJsonArray files = publishedFiles({QStringLiteral("file")}, folder.path());
    done = true;
    QVERIFY(changer->wait());

    // A file that vanishes may do so before or after it is looked at.
    const bool isGone = change == QLatin1String("vanishes");
    QVERIFY(hash.size() == 40 || (isGone && hash.isNull()));
    QVERIFY(files.size() == 1 || (isGone && files.isEmpty()));
    QCOMPARE(publishedFiles({QStringLiteral("file")}, folder.path()).size(), isGone ? 0 : 1);
}

void TestHostileFiles::listedPathThatClimbsOut()
{
    const Folder folder;
    folder.makeFolder(QStringLiteral("project"));
    folder.write(QStringLiteral("secret"), "abc");
    const QJsonArray files = publishedFiles({QStringLiteral("../secret")}, folder.path(QStringLiteral("project")));
    QCOMPARE(files.size(), 1);
    QCOMPARE(files.at(0).toObject().value(QLatin1String("destination")).toString(), QStringLiteral("Apps/../secret"));
}

CATALIST_TEST(TestHostileFiles)
#include "tst_hostile_files.moc"
