#include "io/replacefile.h"

#include "folder.h"
#include "historyfiles.h"
#include "testrunner.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
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

using namespace Qt::StringLiterals;

namespace {

QString target()
{
    return u"file.txt"_s;
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
    QVERIFY(replaceFile(folder.path(target()), bytes));
    QCOMPARE(folder.read(target()), bytes.isNull() ? ""_ba : bytes);
    folder.write(target(), "something else, and longer");
    QVERIFY(replaceFile(folder.path(target()), bytes));
    QCOMPARE(folder.read(target()), bytes.isNull() ? ""_ba : bytes);
    QCOMPARE(folder.entries(), QStringList{target()});
}

void TestReplaceFile::keepsPermissions()
{
    const Folder folder;
    folder.write(target(), "old");
    const QFile::Permissions permissions = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser
                                           | QFile::ExeOwner | QFile::ExeUser | QFile::ReadOther;
    QVERIFY(QFile::setPermissions(folder.path(target()), permissions));
    QVERIFY(replaceFile(folder.path(target()), "new"));
    QCOMPARE(QFile::permissions(folder.path(target())), permissions);
    QCOMPARE(folder.read(target()), "new"_ba);
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
    QVERIFY(replaceFile(folder.path(target()), "new"));
    const QFileInfo replaced(folder.path(target()));
    QCOMPARE(replaced.ownerId(), 12345U);
    QCOMPARE(replaced.groupId(), 23456U);
    QCOMPARE(replaced.permissions(), QFile::Permissions(0x6604));
    QCOMPARE(folder.read(target()), "new"_ba);
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
        QVERIFY(replaceFile(folder.path(target()), "new"));
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
    const QByteArray other = QFile::encodeName(folder.path(u"other.txt"_s));
    QCOMPARE(::link(QFile::encodeName(folder.path(target())).constData(), other.constData()), 0);
    QVERIFY(replaceFile(folder.path(target()), "new"));
    QCOMPARE(folder.read(target()), "new"_ba);
    QCOMPARE(folder.read(u"other.txt"_s), "old"_ba);
#else
    QSKIP("Hard links are of Unix");
#endif
}

void TestReplaceFile::writesThroughLinks_data()
{
    QTest::addColumn<QByteArray>("old");
    QTest::newRow("to a file") << "old"_ba;
    QTest::newRow("to a file that is to be made") << QByteArray();
}

void TestReplaceFile::writesThroughLinks()
{
    QFETCH(QByteArray, old);
    const Folder folder;
    folder.makeFolder(u"real/folder"_s);
    if (!old.isNull())
        folder.write(u"real/file.txt"_s, old);
    // ".." after the alias is another folder.
    folder.link(u"../folder/../file.txt"_s, u"real/folder/second.txt"_s);
    folder.link(folder.path(u"real/folder"_s), u"alias"_s);
    folder.link(folder.path(u"alias/../folder/second.txt"_s), target());
    const QStringList entries = folder.entries();
    QVERIFY(replaceFile(folder.path(target()), "new"));
    QCOMPARE(folder.read(u"real/file.txt"_s), "new"_ba);
    QVERIFY(QFileInfo(folder.path(target())).isSymLink());
    QVERIFY(QFileInfo(folder.path(u"real/folder/second.txt"_s)).isSymLink());
    QCOMPARE(folder.entries(), entries);
}

void TestReplaceFile::linkThatLeadsNowhere_data()
{
    QTest::addColumn<QString>("leadsTo");
    QTest::newRow("itself") << target();
    QTest::newRow("one that leads back") << u"back"_s;
    QTest::newRow("folder that is not there") << u"missing/file.txt"_s;
    QTest::newRow("below a file") << u"file/file.txt"_s;
    QTest::newRow("folder that may not be entered") << u"closed/file.txt"_s;
}

void TestReplaceFile::linkThatLeadsNowhere()
{
    QFETCH(QString, leadsTo);
    const Folder folder;
    folder.write(u"file"_s, "a file");
    folder.write(u"closed/file.txt"_s, "old");
    QVERIFY(QFile::setPermissions(folder.path(u"closed"_s), {}));
    folder.link(folder.path(target()), u"back"_s);
    folder.link(folder.path(leadsTo), target());
    const QStringList entries = folder.entries();
    {
        const OrdinaryUser user;
        QVERIFY(!replaceFile(folder.path(target()), "new"));
    }
    QCOMPARE(QFile::symLinkTarget(folder.path(target())), folder.path(leadsTo));
    QVERIFY(QFileInfo(folder.path(u"back"_s)).isSymLink());
    QCOMPARE(folder.entries(), entries);
    QVERIFY(QFile::setPermissions(folder.path(u"closed"_s), QFile::Permissions(0x7777)));
    QCOMPARE(folder.read(u"closed/file.txt"_s), "old"_ba);
}

void TestReplaceFile::readOnlyFile()
{
    const Folder folder;
    const OrdinaryUser user;
    folder.write(target(), "old");
    QVERIFY(QFile::setPermissions(folder.path(target()), QFile::ReadOwner));
    if (QFileInfo(folder.path(target())).isWritable())
        QSKIP("The superuser may write everything");
    QVERIFY(!replaceFile(folder.path(target()), "new"));
    QCOMPARE(folder.read(target()), "old"_ba);
    QCOMPARE(folder.entries(), QStringList{target()});
}

void TestReplaceFile::folderThatAllowsNoStagedFile()
{
    const Folder folder;
    folder.write(u"closed/file.txt"_s, "old");
    const QString path = folder.path(u"closed/file.txt"_s);
    const QString closed = folder.path(u"closed"_s);
    QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x6666)));
    QVERIFY(QFile::setPermissions(closed, QFile::Permissions(0x5555)));
    {
        const OrdinaryUser user;
        QVERIFY(replaceFile(path, "new"));
        QCOMPARE(folder.read(u"closed/file.txt"_s), "new"_ba);
        QVERIFY(!replaceFile(folder.path(u"closed/another.txt"_s), "new"));
    }
    QVERIFY(QFile::setPermissions(closed, QFile::Permissions(0x7777)));
    QVERIFY(!folder.exists(u"closed/another.txt"_s));
}

void TestReplaceFile::fileOfSomebodyElseInAStickyFolder()
{
#ifdef Q_OS_LINUX
    if (::geteuid() != 0)
        QSKIP("Only the superuser gives files away");
    const Folder folder;
    folder.write(u"sticky/file.txt"_s, "old");
    const QByteArray path = QFile::encodeName(folder.path(u"sticky/file.txt"_s));
    QCOMPARE(::chown(path.constData(), 12345, 23456), 0);
    QCOMPARE(::chmod(path.constData(), 0666), 0);
    QCOMPARE(::chmod(QFile::encodeName(folder.path(u"sticky"_s)).constData(), 01777), 0);
    folder.makeFolder(u"data"_s);
    QVERIFY(QFile::setPermissions(folder.path(u"data"_s), QFile::Permissions(0x7777)));
    for (const bool hasHistory : {false, true}) {
        // It is written directly, so its old content has to be kept first.
        const DataHome dataHome(folder.path(hasHistory ? u"data"_s : u"sticky/file.txt"_s));
        const OrdinaryUser user;
        QCOMPARE(::prctl(PR_SET_DUMPABLE, 1), 0);
        QCOMPARE(static_cast<bool>(History::saveFile(QFile::decodeName(path), "new")), hasHistory);
        QCOMPARE(readFile(QFile::decodeName(path)), hasHistory ? "new"_ba : "old"_ba);
    }
    QCOMPARE(folder.read(u"sticky/file.txt"_s), "new"_ba);
    QCOMPARE(QFileInfo(QFile::decodeName(path)).ownerId(), 12345U);
    QCOMPARE(QDir(folder.path(u"sticky"_s)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{target()});
#else
    QSKIP("Sticky folders are of Unix");
#endif
}

void TestReplaceFile::noRegularFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("folder") << u"folder"_s;
    QTest::newRow("pipe that nobody reads") << u"pipe"_s;
    QTest::newRow("link to it") << u"link"_s;
    QTest::newRow("device") << u"/dev/null"_s;
}

void TestReplaceFile::noRegularFile()
{
#ifndef Q_OS_UNIX
    QSKIP("Pipes and devices in folders are of Unix");
#endif
    QFETCH(QString, path);
    const Folder folder;
    folder.makeFolder(u"folder"_s);
    folder.makePipe(u"pipe"_s);
    folder.link(folder.path(u"pipe"_s), u"link"_s);
    const QStringList entries = folder.entries();
    // The superuser could replace the device.
    const OrdinaryUser user;
    QVERIFY(!replaceFile(path.startsWith(u'/') ? path : folder.path(path), "x"));
    QCOMPARE(folder.entries(), entries);
    QVERIFY(!QFileInfo(folder.path(u"pipe"_s)).isFile());
}

void TestReplaceFile::cannotBeOpened()
{
    const Folder folder;
    QVERIFY(!replaceFile(folder.path(), "x"));
    QVERIFY(!replaceFile(folder.path(u"missing/file.txt"_s), "x"));
    QVERIFY(!replaceFile(QString(), "x"));
    QVERIFY(folder.entries().isEmpty());
}

void TestReplaceFile::killedAtAnyMoment()
{
    constexpr int KILLS = 120;
    constexpr quint32 LONGEST_WAIT = 8000; // microseconds, enough for some saves

    const Folder folder;
    const QString path = folder.path(u"Apps.csv"_s);
    const QStringList versions{u"1"_s, u"2"_s};
    QList<QByteArray> whole;
    for (const QString &version : versions) {
        QCOMPARE(QProcess::execute(QStringLiteral(SAVER), {u"once"_s, path, version}), 0);
        whole.append(folder.read(u"Apps.csv"_s));
        QVERIFY(whole.constLast().size() > 100'000);
    }
    QVERIFY(whole.at(0) != whole.at(1));

    for (int kill = 0; kill < KILLS; ++kill) {
        QProcess saver;
        saver.start(QStringLiteral(SAVER), {u"forever"_s, path});
        QVERIFY(saver.waitForReadyRead());
        QThread::usleep(QRandomGenerator::global()->bounded(LONGEST_WAIT));
        saver.kill();
        QVERIFY(saver.waitForFinished());
        QCOMPARE(saver.exitStatus(), QProcess::CrashExit);
        QVERIFY2(whole.contains(folder.read(u"Apps.csv"_s)), "The file is neither the old nor the new one");
    }

    // Staged files that are left behind do no harm.
    QCOMPARE(QProcess::execute(QStringLiteral(SAVER), {u"once"_s, path, versions.at(0)}), 0);
    QCOMPARE(folder.read(u"Apps.csv"_s), whole.at(0));
}

void TestReplaceFile::fullDisk()
{
#ifdef Q_OS_UNIX
    const Folder folder;
    const QString path = folder.path(u"Apps.csv"_s);
    const QByteArray old = "the only copy\n";
    folder.write(u"Apps.csv"_s, old);
    for (const char *limit : {"0", "1", "4096", "65536"}) {
        // 1: the failure was reported, and the changes are still marked as unsaved.
        QCOMPARE(QProcess::execute(QStringLiteral(SAVER), {u"limited"_s, path, QLatin1String(limit)}), 1);
        QCOMPARE(folder.read(u"Apps.csv"_s), old);
        QCOMPARE(folder.entries(), QStringList{u"Apps.csv"_s});
    }
    QCOMPARE(QProcess::execute(QStringLiteral(SAVER), {u"limited"_s, path, u"100000000"_s}), 0);
    QVERIFY(folder.read(u"Apps.csv"_s) != old);
#else
    QSKIP("File-size limits are of Unix");
#endif
}

CATALIST_TEST(TestReplaceFile)
#include "tst_replacefile.moc"
