#include "io/replacefile.h"

#include "folder.h"
#include "testrunner.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QTest>
#include <QThread>

#include <array>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#include <unistd.h>
#endif
#ifdef Q_OS_LINUX
#include <grp.h>
#include <sys/prctl.h>
#endif

namespace {

QString target()
{
    return QStringLiteral("file.txt");
}

} // namespace

class TestReplaceFile : public QObject
{
    Q_OBJECT

private slots:
    void content_data();
    void content();
    void keepsPermissions();
    void keepsOwner();
    void keepsGroup();
    void hardLink();
    void writesThroughLinks_data();
    void writesThroughLinks();
    void linkThatLeadsNowhere_data();
    void linkThatLeadsNowhere();
    void readOnlyFile();
    void folderThatAllowsNoStagedFile();
    void fileOfSomebodyElseInAStickyFolder();
    void noRegularFile_data();
    void noRegularFile();
    void cannotBeOpened();
    void killedAtAnyMoment();
    void fullDisk();
};

void TestReplaceFile::content_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("text") << QByteArray("a\nb\r\nc\0d", 8);
    QTest::newRow("large") << QByteArray(5'000'000, 'x');
}

void TestReplaceFile::content()
{
    QFETCH(QByteArray, bytes);
    const Folder folder;
    QVERIFY(replaceFile(folder.path(target()), bytes, LineEnds::AsGiven));
    QCOMPARE(folder.read(target()), bytes.isNull() ? QByteArray("") : bytes);
    folder.write(target(), "something else, and longer");
    QVERIFY(replaceFile(folder.path(target()), bytes, LineEnds::AsGiven));
    QCOMPARE(folder.read(target()), bytes.isNull() ? QByteArray("") : bytes);
    QCOMPARE(folder.entries(), QStringList{target()});
}

void TestReplaceFile::keepsPermissions()
{
    const Folder folder;
    folder.write(target(), "old");
    const QFile::Permissions permissions = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser
                                           | QFile::ExeOwner | QFile::ExeUser | QFile::ReadOther;
    QVERIFY(QFile::setPermissions(folder.path(target()), permissions));
    QVERIFY(replaceFile(folder.path(target()), "new", LineEnds::AsGiven));
    QCOMPARE(QFile::permissions(folder.path(target())), permissions);
    QCOMPARE(folder.read(target()), QByteArray("new"));
}

void TestReplaceFile::keepsOwner()
{
#ifdef Q_OS_UNIX
    if (::geteuid() != 0)
        QSKIP("Only the superuser gives files away");
    const Folder folder;
    folder.write(target(), "old");
    const QByteArray path = QFile::encodeName(folder.path(target()));
    QCOMPARE(::chown(path.constData(), 12345, 23456), 0);
    QVERIFY(QFile::setPermissions(folder.path(target()), QFile::Permissions(0x6604)));
    QVERIFY(replaceFile(folder.path(target()), "new", LineEnds::AsGiven));
    const QFileInfo replaced(folder.path(target()));
    QCOMPARE(replaced.ownerId(), 12345U);
    QCOMPARE(replaced.groupId(), 23456U);
    QCOMPARE(replaced.permissions(), QFile::Permissions(0x6604));
    QCOMPARE(folder.read(target()), QByteArray("new"));
#else
    QSKIP("Owners are of Unix");
#endif
}

void TestReplaceFile::keepsGroup()
{
#ifdef Q_OS_LINUX
    if (::geteuid() != 0)
        QSKIP("Only the superuser joins groups");
    const Folder folder;
    folder.write(target(), "old");
    const QByteArray path = QFile::encodeName(folder.path(target()));
    QCOMPARE(::chown(path.constData(), 12345, 23456), 0);
    QVERIFY(QFile::setPermissions(folder.path(target()), QFile::Permissions(0x6666)));

    std::array<gid_t, 256> before{};
    const int count = ::getgroups(before.size(), before.data());
    QVERIFY(count >= 0);
    const gid_t joined = 23456;
    QCOMPARE(::setgroups(1, &joined), 0);
    {
        const OrdinaryUser user;
        QCOMPARE(::prctl(PR_SET_DUMPABLE, 1), 0);
        QVERIFY(replaceFile(folder.path(target()), "new", LineEnds::AsGiven));
    }
    QCOMPARE(::setgroups(static_cast<size_t>(count), before.data()), 0);
    const QFileInfo replaced(folder.path(target()));
    QVERIFY(replaced.ownerId() != 12345U);
    QCOMPARE(replaced.groupId(), joined);
    QCOMPARE(replaced.permissions() & QFile::Permissions(0x7077), QFile::Permissions(0x6066));
#else
    QSKIP("Only Linux lends another user");
#endif
}

void TestReplaceFile::hardLink()
{
#ifdef Q_OS_UNIX
    const Folder folder;
    folder.write(target(), "old");
    const QByteArray other = QFile::encodeName(folder.path(QStringLiteral("other.txt")));
    QCOMPARE(::link(QFile::encodeName(folder.path(target())).constData(), other.constData()), 0);
    QVERIFY(replaceFile(folder.path(target()), "new", LineEnds::AsGiven));
    QCOMPARE(folder.read(target()), QByteArray("new"));
    QCOMPARE(folder.read(QStringLiteral("other.txt")), QByteArray("old"));
#else
    QSKIP("Hard links are of Unix");
#endif
}

void TestReplaceFile::writesThroughLinks_data()
{
    QTest::addColumn<QByteArray>("old");
    QTest::newRow("to a file") << QByteArray("old");
    QTest::newRow("to a file that is to be made") << QByteArray();
}

void TestReplaceFile::writesThroughLinks()
{
    QFETCH(QByteArray, old);
    const Folder folder;
    folder.makeFolder(QStringLiteral("real/folder"));
    if (!old.isNull())
        folder.write(QStringLiteral("real/file.txt"), old);
    // Seen from the alias, the folder above is another one.
    folder.link(QStringLiteral("../folder/../file.txt"), QStringLiteral("real/folder/second.txt"));
    folder.link(folder.path(QStringLiteral("real/folder")), QStringLiteral("alias"));
    folder.link(folder.path(QStringLiteral("alias/../folder/second.txt")), target());
    const QStringList entries = folder.entries();
    QVERIFY(replaceFile(folder.path(target()), "new", LineEnds::AsGiven));
    QCOMPARE(folder.read(QStringLiteral("real/file.txt")), QByteArray("new"));
    QVERIFY(QFileInfo(folder.path(target())).isSymLink());
    QVERIFY(QFileInfo(folder.path(QStringLiteral("real/folder/second.txt"))).isSymLink());
    QCOMPARE(folder.entries(), entries);
}

void TestReplaceFile::linkThatLeadsNowhere_data()
{
    QTest::addColumn<QString>("leadsTo");
    QTest::newRow("itself") << target();
    QTest::newRow("one that leads back") << QStringLiteral("back");
    QTest::newRow("folder that is not there") << QStringLiteral("missing/file.txt");
    QTest::newRow("below a file") << QStringLiteral("file/file.txt");
    QTest::newRow("folder that may not be entered") << QStringLiteral("closed/file.txt");
}

void TestReplaceFile::linkThatLeadsNowhere()
{
    QFETCH(QString, leadsTo);
    const Folder folder;
    folder.write(QStringLiteral("file"), "a file");
    folder.write(QStringLiteral("closed/file.txt"), "old");
    QVERIFY(QFile::setPermissions(folder.path(QStringLiteral("closed")), {}));
    folder.link(folder.path(target()), QStringLiteral("back"));
    folder.link(folder.path(leadsTo), target());
    const QStringList entries = folder.entries();
    {
        const OrdinaryUser user;
        QVERIFY(!replaceFile(folder.path(target()), "new", LineEnds::AsGiven));
    }
    QCOMPARE(QFile::symLinkTarget(folder.path(target())), folder.path(leadsTo));
    QVERIFY(QFileInfo(folder.path(QStringLiteral("back"))).isSymLink());
    QCOMPARE(folder.entries(), entries);
    QVERIFY(QFile::setPermissions(folder.path(QStringLiteral("closed")), QFile::Permissions(0x7777)));
    QCOMPARE(folder.read(QStringLiteral("closed/file.txt")), QByteArray("old"));
}

void TestReplaceFile::readOnlyFile()
{
    const Folder folder;
    const OrdinaryUser user;
    folder.write(target(), "old");
    QVERIFY(QFile::setPermissions(folder.path(target()), QFile::ReadOwner));
    if (QFileInfo(folder.path(target())).isWritable())
        QSKIP("The superuser may write everything");
    QVERIFY(!replaceFile(folder.path(target()), "new", LineEnds::AsGiven));
    QCOMPARE(folder.read(target()), QByteArray("old"));
    QCOMPARE(folder.entries(), QStringList{target()});
}

void TestReplaceFile::folderThatAllowsNoStagedFile()
{
    const Folder folder;
    folder.write(QStringLiteral("closed/file.txt"), "old");
    const QString path = folder.path(QStringLiteral("closed/file.txt"));
    const QString closed = folder.path(QStringLiteral("closed"));
    QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x6666)));
    QVERIFY(QFile::setPermissions(closed, QFile::Permissions(0x5555)));
    {
        const OrdinaryUser user;
        QVERIFY(replaceFile(path, "new", LineEnds::AsGiven));
        QCOMPARE(folder.read(QStringLiteral("closed/file.txt")), QByteArray("new"));
        QVERIFY(!replaceFile(folder.path(QStringLiteral("closed/another.txt")), "new", LineEnds::AsGiven));
    }
    QVERIFY(QFile::setPermissions(closed, QFile::Permissions(0x7777)));
    QVERIFY(!folder.exists(QStringLiteral("closed/another.txt")));
}

void TestReplaceFile::fileOfSomebodyElseInAStickyFolder()
{
#ifdef Q_OS_LINUX
    if (::geteuid() != 0)
        QSKIP("Only the superuser gives files away");
    const Folder folder;
    folder.write(QStringLiteral("sticky/file.txt"), "old");
    const QByteArray path = QFile::encodeName(folder.path(QStringLiteral("sticky/file.txt")));
    QCOMPARE(::chown(path.constData(), 12345, 23456), 0);
    QCOMPARE(::chmod(path.constData(), 0666), 0);
    QCOMPARE(::chmod(QFile::encodeName(folder.path(QStringLiteral("sticky"))).constData(), 01777), 0);
    folder.makeFolder(QStringLiteral("data"));
    QVERIFY(QFile::setPermissions(folder.path(QStringLiteral("data")), QFile::Permissions(0x7777)));
    const QByteArray dataHome = qgetenv("XDG_DATA_HOME");
    const auto restore = qScopeGuard([&dataHome] { qputenv("XDG_DATA_HOME", dataHome); });
    for (const bool hasHistory : {false, true}) {
        // Written directly it could be torn, so that its old content has to be somewhere.
        qputenv("XDG_DATA_HOME", QFile::encodeName(folder.path(hasHistory ? QStringLiteral("data")
                                                                          : QStringLiteral("sticky/file.txt"))));
        const OrdinaryUser user;
        QCOMPARE(::prctl(PR_SET_DUMPABLE, 1), 0);
        QCOMPARE(replaceFile(QFile::decodeName(path), "new", LineEnds::AsGiven), hasHistory);
        QCOMPARE(readFile(QFile::decodeName(path)), hasHistory ? QByteArray("new") : QByteArray("old"));
    }
    QCOMPARE(folder.read(QStringLiteral("sticky/file.txt")), QByteArray("new"));
    QCOMPARE(QFileInfo(QFile::decodeName(path)).ownerId(), 12345U);
    QCOMPARE(
        QDir(folder.path(QStringLiteral("sticky"))).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList{target()});
#else
    QSKIP("Sticky folders are of Unix");
#endif
}

void TestReplaceFile::noRegularFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("folder") << QStringLiteral("folder");
    QTest::newRow("pipe that nobody reads") << QStringLiteral("pipe");
    QTest::newRow("link to it") << QStringLiteral("link");
    QTest::newRow("device") << QStringLiteral("/dev/null");
}

void TestReplaceFile::noRegularFile()
{
#ifdef Q_OS_UNIX
    QFETCH(QString, path);
    const Folder folder;
    folder.makeFolder(QStringLiteral("folder"));
    QCOMPARE(::mkfifo(folder.path(QStringLiteral("pipe")).toLocal8Bit().constData(), 0666), 0);
    folder.link(folder.path(QStringLiteral("pipe")), QStringLiteral("link"));
    const QStringList entries = folder.entries();
    // The superuser could replace the device.
    const OrdinaryUser user;
    QVERIFY(!replaceFile(path.startsWith(QLatin1Char('/')) ? path : folder.path(path), "x", LineEnds::AsGiven));
    QCOMPARE(folder.entries(), entries);
    QVERIFY(!QFileInfo(folder.path(QStringLiteral("pipe"))).isFile());
#else
    QSKIP("Pipes and devices in folders are of Unix");
#endif
}

void TestReplaceFile::cannotBeOpened()
{
    const Folder folder;
    QVERIFY(!replaceFile(folder.path(), "x", LineEnds::AsGiven));
    QVERIFY(!replaceFile(folder.path(QStringLiteral("missing/file.txt")), "x", LineEnds::AsGiven));
    QVERIFY(!replaceFile(QString(), "x", LineEnds::AsGiven));
    QVERIFY(folder.entries().isEmpty());
}

void TestReplaceFile::killedAtAnyMoment()
{
    constexpr int KILLS = 120;
    constexpr quint32 LONGEST_WAIT = 8000; // microseconds, some saves long

    const Folder folder;
    const QString path = folder.path(QStringLiteral("Apps.csv"));
    const QStringList versions{QStringLiteral("1"), QStringLiteral("2")};
    QList<QByteArray> whole;
    for (const QString &version : versions) {
        QCOMPARE(QProcess::execute(QStringLiteral(SAVER), {QStringLiteral("once"), path, version}), 0);
        whole.append(folder.read(QStringLiteral("Apps.csv")));
        QVERIFY(whole.constLast().size() > 100'000);
    }
    QVERIFY(whole.at(0) != whole.at(1));

    for (int kill = 0; kill < KILLS; ++kill) {
        QProcess saver;
        saver.start(QStringLiteral(SAVER), {QStringLiteral("forever"), path});
        QVERIFY(saver.waitForReadyRead());
        QThread::usleep(QRandomGenerator::global()->bounded(LONGEST_WAIT));
        saver.kill();
        QVERIFY(saver.waitForFinished());
        QCOMPARE(saver.exitStatus(), QProcess::CrashExit);
        QVERIFY2(whole.contains(folder.read(QStringLiteral("Apps.csv"))),
                 "The file is neither the old nor the new one");
    }

    // What the kills left beside the file is in nobody's way.
    QCOMPARE(QProcess::execute(QStringLiteral(SAVER), {QStringLiteral("once"), path, versions.at(0)}), 0);
    QCOMPARE(folder.read(QStringLiteral("Apps.csv")), whole.at(0));
}

void TestReplaceFile::fullDisk()
{
#ifdef Q_OS_UNIX
    const Folder folder;
    const QString path = folder.path(QStringLiteral("Apps.csv"));
    const QByteArray old = "the only copy\n";
    folder.write(QStringLiteral("Apps.csv"), old);
    for (const char *limit : {"0", "1", "4096", "65536"}) {
        // 1 says that the save reported its failure and that the changes were still marked as unsaved.
        QCOMPARE(QProcess::execute(QStringLiteral(SAVER), {QStringLiteral("limited"), path, QLatin1String(limit)}), 1);
        QCOMPARE(folder.read(QStringLiteral("Apps.csv")), old);
        QCOMPARE(folder.entries(), QStringList{QStringLiteral("Apps.csv")});
    }
    QCOMPARE(QProcess::execute(QStringLiteral(SAVER), {QStringLiteral("limited"), path, QStringLiteral("100000000")}),
             0);
    QVERIFY(folder.read(QStringLiteral("Apps.csv")) != old);
#else
    QSKIP("File-size limits are of Unix");
#endif
}

CATALIST_TEST(TestReplaceFile)
#include "tst_replacefile.moc"
