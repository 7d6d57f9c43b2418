#include "history/drafts.h"
#include "history/history.h"

#include "cli.h"
#include "filesizelimit.h"
#include "folder.h"
#include "historyfiles.h"
#include "testrunner.h"

#include <QDate>
#include <QProcess>
#include <QSet>
#include <QTest>

#include <array>
#include <memory>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/stat.h>
#endif
#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

using namespace Qt::StringLiterals;

namespace {

/// A file of the size that needs no space on the disk.
void makeSparse(const QString &path, qint64 size)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !file.resize(size))
        qFatal("Cannot make %s", qPrintable(path));
}

QString nameOf(QDate day, const QString &reason = u"replaced-file.txt"_s)
{
    return day.toString(u"yyyyMMdd"_s) + u"-120000-000-00-"_s + reason;
}

QDate today()
{
    return QDateTime::currentDateTimeUtc().date();
}

#ifdef Q_OS_UNIX
mode_t mode(const QString &path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}
#endif

} // namespace

class TestHistory : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void names_data();
    void names();
    void oneHistoryThroughLinks();
    void oneHistoryBeforeTheFileExists();
    void emptyOriginIsFilled();
    void permissions_data();
    void permissions();

    void newestFifty();
    void clockThatWasAhead();
    void clockThatWasBehind();
    void newestStay();
    void atMostTwoHundredMegabytes();
    void oneFileOfMoreIsNotKept();
    void otherFilesInTheFolderStay();
    void oneDraftOfEachFile();
    void draftOfAnEarlierProcess();
    void draftIsLeftWhileNothingIsWritten();
    void draftTakesNoOthersPlace();
    void draftThroughADanglingLink();
    void lastDraftTakesItsFolderAlong();
    void sameUnsavedTextIsKeptOnce();

    void dataFolderThatFails_data();
    void dataFolderThatFails();
    void readOnlyDataFolder();
    void fullDataFolder();

    void processesKeepAtOnce();
    void processesReplaceAtOnce();

private:
    [[nodiscard]] QString file() const { return folder->path(u"file.txt"_s); }

    std::unique_ptr<Folder> folder;
};

void TestHistory::init()
{
    QDir(History::historyFolder()).removeRecursively();
    QVERIFY(!QFileInfo::exists(History::historyFolder()));
    folder = std::make_unique<Folder>();
}

void TestHistory::names_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("kept");
    QStringList usual{u"two words.html"_s, u" spaces .csv"_s,      u"Čeština 日本 🛩.html"_s,
                      u"%1.csv"_s,         u"%1 %2 %3%4%L1.csv"_s, u"a#b.html"_s,
                      u"a;b,c.csv"_s,      u"-rf.csv"_s,           u".hidden"_s};
#ifdef Q_OS_LINUX
    usual.append({u"<b>bold.html"_s, u"*?[x].csv"_s, u"back\\slash.csv"_s, u"new\nline.csv"_s});
#endif
    for (const QString &name : usual)
        QTest::newRow(qPrintable(name)) << name << name;
#ifdef Q_OS_LINUX
    const QString end = u".html"_s;
    QTest::newRow("200 letters") << QString(195, u'x') + end << QString(195, u'x') + end;
    QTest::newRow("248 letters") << QString(243, u'x') + end << QString(195, u'x') + end;
    QTest::newRow("255 letters") << QString(250, u'x') + end << QString(195, u'x') + end;
    QTest::newRow("255 bytes") << QString(83, u'日') + u'x' + end << QString(64, u'日') + u'x' + end;
    QTest::newRow("pairs of 4 bytes") << u'x' + u"🛩"_s.repeated(62) + end << u"🛩"_s.repeated(48) + end;
#endif
}

void TestHistory::names()
{
    QFETCH(QString, name);
    QFETCH(QString, kept);
    const QString path = folder->path(name);
    QVERIFY(History::saveFile(path, "old"));
    QVERIFY(History::saveFile(path, "new"));
    QCOMPARE(folder->read(name), "new"_ba);
    QCOMPARE(folder->entries(), QStringList{name});
    const QList<Version> found = versions(path);
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.constFirst().content, "old"_ba);
    const QRegularExpression pattern(u"^\\d{8}-\\d{6}-\\d{3}-00-replaced-"_s);
    QVERIFY(pattern.match(found.constFirst().name).hasMatch());
    QCOMPARE(found.constFirst().name.section(u'-', 5), kept);
}

void TestHistory::oneHistoryThroughLinks()
{
    folder->write(u"real/file.txt"_s, "1");
    folder->link(folder->path(u"real/file.txt"_s), u"link.txt"_s);
    folder->link(folder->path(u"real"_s), u"alias"_s);
    const QStringList paths{u"link.txt"_s, u"alias/file.txt"_s, u"real/../real/./file.txt"_s, u"real/file.txt"_s};
    for (const QString &path : paths)
        QVERIFY(History::saveFile(folder->path(path), path.toUtf8()));
    QCOMPARE(keptContents(folder->path(u"real/file.txt"_s)),
             (QList<QByteArray>{paths.at(2).toUtf8(), paths.at(1).toUtf8(), paths.at(0).toUtf8(), "1"}));
    QCOMPARE(QDir(History::historyFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
}

void TestHistory::oneHistoryBeforeTheFileExists()
{
    folder->makeFolder(u"real"_s);
    folder->link(folder->path(u"real"_s), u"alias"_s);
    History::keepUnsaved(folder->path(u"alias/file.txt"_s), "never saved");
    folder->write(u"real/file.txt"_s, "saved");
    History::keepUnsaved(folder->path(u"alias/file.txt"_s), "then this");
    QCOMPARE(keptContents(folder->path(u"real/file.txt"_s)), (QList<QByteArray>{"then this", "never saved"}));
}

void TestHistory::emptyOriginIsFilled()
{
    History::keepUnsaved(file(), "1");
    QFile empty(originPath(file()));
    QVERIFY(empty.resize(0));
    QVERIFY(originPath(file()).isEmpty());
    History::keepUnsaved(file(), "2");
    QCOMPARE(keptContents(file()), (QList<QByteArray>{"2", "1"}));
}

void TestHistory::permissions_data()
{
    QTest::addColumn<int>("mask");
    QTest::newRow("none") << 0;
    QTest::newRow("usual") << 022;
    QTest::newRow("strict") << 077;
}

void TestHistory::permissions()
{
#ifdef Q_OS_UNIX
    QFETCH(int, mask);
    const mode_t before = ::umask(static_cast<mode_t>(mask));
    History::keepUnsaved(file(), "secret");
    ::umask(before);
    QCOMPARE(mode(History::historyFolder()), mode_t(0700));
    QCOMPARE(mode(QFileInfo(originPath(file())).path()), mode_t(0700));
    QCOMPARE(mode(originPath(file())), mode_t(0600));
    QCOMPARE(versionNames(file()).size(), 1);
    QCOMPARE(mode(versionPath(file(), versionNames(file()).constFirst())), mode_t(0600));
#else
    QSKIP("Masks of permissions are of Unix");
#endif
}

void TestHistory::newestFifty()
{
    const QString other = folder->path(u"other.txt"_s);
    History::keepUnsaved(other, "of another file");
    QList<QByteArray> expected;
    for (int i = 0; i < 53; ++i) {
        History::keepUnsaved(file(), QByteArray::number(i));
        if (i == 49)
            QCOMPARE(keptContents(file()).size(), 50);
        if (i >= 3)
            expected.prepend(QByteArray::number(i));
    }
    QCOMPARE(keptContents(file()), expected);
    QCOMPARE(keptContents(other), QList<QByteArray>{"of another file"});
}

void TestHistory::clockThatWasAhead()
{
    History::keepUnsaved(file(), "before");
    for (int i = 0; i < 50; ++i)
        makeSparse(versionPath(file(), nameOf(QDate(2099, 1, 1).addDays(i))), 1);
    History::keepUnsaved(file(), "after");
    QVERIFY(keptContents(file()).contains("before"));
    QVERIFY(keptContents(file()).contains("after"));
    QCOMPARE(keptContents(file()).size(), 50);
    QVERIFY(!QFile::exists(versionPath(file(), nameOf(QDate(2099, 1, 1)))));
    QVERIFY(QFile::exists(versionPath(file(), nameOf(QDate(2099, 1, 3)))));
}

void TestHistory::clockThatWasBehind()
{
    History::keepUnsaved(file(), "kept in time");
    const QString unsaved = nameOf(QDate(1999, 12, 31), u"unsaved-file.txt"_s);
    const QString replaced = nameOf(QDate(1999, 12, 30));
    makeSparse(versionPath(file(), unsaved), 1);
    makeSparse(versionPath(file(), replaced), 1);
    History::keepUnsaved(folder->path(u"other.txt"_s), "other");
    const QString ofOther = nameOf(QDate(1999, 12, 31), u"unsaved-other.txt"_s);
    makeSparse(versionPath(folder->path(u"other.txt"_s), ofOther), 1);
    History::keepUnsaved(file(), "later");
    QCOMPARE(versionNames(file()).mid(2), (QStringList{unsaved, replaced}));
    QCOMPARE(versionNames(folder->path(u"other.txt"_s)).size(), 2);
}

void TestHistory::newestStay()
{
    // The only unsaved text is older than the newest fifty versions, and larger than the whole history may be.
    History::keepUnsaved(file(), "first");
    const QString first = versionNames(file()).constFirst();
    const QString unsaved = nameOf(today().addDays(-100), u"unsaved-file.txt"_s);
    QVERIFY(QFile::rename(versionPath(file(), first), versionPath(file(), unsaved)));
    makeSparse(versionPath(file(), unsaved), 300'000'000);
    for (int i = 0; i < 60; ++i)
        makeSparse(versionPath(file(), nameOf(today().addDays(-90).addDays(i))), 1);
    const QString other = folder->path(u"other.txt"_s);
    folder->write(u"other.txt"_s, "old");
    History::keepReplaced(other, "new");
    const QString ofOther = versionPath(other, nameOf(today().addDays(-200), u"replaced-other.txt"_s));
    QVERIFY(QFile::rename(versionPath(other, versionNames(other).constFirst()), ofOther));
    folder->write(u"file.txt"_s, "now");
    History::keepReplaced(file(), "next");
    QCOMPARE(versionNames(file()).constLast(), unsaved);
    QCOMPARE(versionNames(file()).size(), 51);
    QVERIFY(QFile::exists(ofOther));
}

void TestHistory::atMostTwoHundredMegabytes()
{
    const QString other = folder->path(u"other.txt"_s);
    History::keepUnsaved(file(), QByteArray(500, 'x'));
    History::keepUnsaved(other, QByteArray(400, 'x'));
    const QString oldest = nameOf(today().addDays(-30));
    const QString middle = nameOf(today().addDays(-20), u"unsaved-other.txt"_s);
    const QString newest = nameOf(today().addDays(-10));
    makeSparse(versionPath(file(), oldest), 1);
    makeSparse(versionPath(other, middle), 100'000'000 - 1);
    makeSparse(versionPath(file(), newest), 99'999'000);

    // Exactly the limit.
    History::keepUnsaved(file(), QByteArray(100, 'x'));
    QCOMPARE(versionNames(file()).size(), 4);
    QCOMPARE(versionNames(other).size(), 2);
    QCOMPARE(versionNames(file()).constLast(), oldest);

    History::keepUnsaved(other, "x");
    QCOMPARE(versionNames(file()).size(), 3);
    QCOMPARE(versionNames(file()).constLast(), newest);
    QCOMPARE(versionNames(other).size(), 3);
    QCOMPARE(versionNames(other).constLast(), middle);

    History::keepUnsaved(other, "yz");
    QCOMPARE(versionNames(file()).constLast(), newest);
    QCOMPARE(keptContents(other), (QList<QByteArray>{"yz", "x", QByteArray(400, 'x')}));
}

void TestHistory::oneFileOfMoreIsNotKept()
{
    History::keepUnsaved(file(), "small");
    makeSparse(folder->path(u"large.txt"_s), 200'000'001);
    History::keepReplaced(folder->path(u"large.txt"_s), "new");
    QCOMPARE(keptContents(file()), QList<QByteArray>{"small"});
    QVERIFY(originPath(folder->path(u"large.txt"_s)).isEmpty());
}

void TestHistory::otherFilesInTheFolderStay()
{
    History::keepUnsaved(file(), "small");
    const QStringList others{u"1.txt"_s, u"A note.txt"_s, u"notes.txt"_s};
    for (const QString &other : others)
        makeSparse(versionPath(file(), other), 150'000'000);
    History::keepUnsaved(file(), "later");
    for (const QString &other : others)
        QVERIFY2(QFileInfo::exists(versionPath(file(), other)), qPrintable(other));
    QCOMPARE(versionNames(file()).size(), others.size() + 2);
}

void TestHistory::oneDraftOfEachFile()
{
    folder->write(u"file.txt"_s, "saved");
    History::Drafts drafts;
    drafts.keep(file(), "first");
    QVERIFY(versionNames(file()).constFirst().endsWith(u"-draft-file.txt"_s));
    drafts.keep(file(), "second");
    drafts.keep(folder->path(u"other.txt"_s), "other");
    QCOMPARE(keptContents(file()), QList<QByteArray>{"second"});
    QCOMPARE(keptContents(folder->path(u"other.txt"_s)), QList<QByteArray>{"other"});
    QCOMPARE(History::versions(file()).constFirst().reason(), History::Reason::Draft);
    QCOMPARE(folder->read(u"file.txt"_s), "saved"_ba);
    QCOMPARE(folder->entries(), QStringList{u"file.txt"_s});
}

void TestHistory::draftOfAnEarlierProcess()
{
    folder->write(u"file.txt"_s, "saved");
    {
        History::Drafts ofAProcessThatDied;
        ofAProcessThatDied.keep(file(), "typed before");
    }
    awaitNextMoment();
    History::Drafts drafts;
    drafts.keep(file(), "typed now");
    QCOMPARE(keptContents(file()), (QList<QByteArray>{"typed now", "typed before"}));
    QVERIFY(versionNames(file()).constLast().endsWith(u"-unsaved-file.txt"_s));
    drafts.remove(file());
    QCOMPARE(keptContents(file()), QList<QByteArray>{"typed before"});

    // A draft that equals the saved file is not needed.
    {
        History::Drafts ofAProcessThatDied;
        ofAProcessThatDied.keep(folder->path(u"other.txt"_s), "restored");
    }
    folder->write(u"other.txt"_s, "restored");
    History::Drafts().removeSaved(folder->path(u"other.txt"_s));
    QVERIFY(originPath(folder->path(u"other.txt"_s)).isEmpty());
}

void TestHistory::draftIsLeftWhileNothingIsWritten()
{
    History::Drafts ofAnotherProcess;
    ofAnotherProcess.keep(file(), "typed");
    History::Drafts().remove(file());
    QCOMPARE(History::versions(file()).constFirst().reason(), History::Reason::Draft);
    History::Drafts().removeSaved(file());
    QCOMPARE(History::versions(file()).constFirst().reason(), History::Reason::Unsaved);
}

void TestHistory::draftTakesNoOthersPlace()
{
    // A draft exists during each save, and is removed after it.
    History::keepUnsaved(file(), "precious");
    for (int i = 0; i < 55; ++i) {
        History::Drafts drafts;
        drafts.keep(file(), "draft");
        folder->write(u"file.txt"_s, QByteArray::number(i));
        History::keepReplaced(file(), "next");
        drafts.removeSaved(file());
    }
    QVERIFY(keptContents(file()).contains("precious"));

    folder->write(u"only.txt"_s, "the only version");
    const QString only = folder->path(u"only.txt"_s);
    History::keepReplaced(only, "next");
    History::Drafts drafts;
    drafts.keep(only, "draft");
    makeSparse(versionPath(file(), nameOf(today().addDays(1))), 300'000'000);
    History::keepUnsaved(folder->path(u"other.txt"_s), "prunes");
    drafts.remove(only);
    QCOMPARE(keptContents(only), QList<QByteArray>{"the only version"});
}

void TestHistory::draftThroughADanglingLink()
{
    folder->link(folder->path(u"real/file.txt"_s), u"link.txt"_s);
    folder->makeFolder(u"real"_s);
    History::Drafts drafts;
    drafts.keep(folder->path(u"link.txt"_s), "draft");
    folder->write(u"real/file.txt"_s, "saved");
    drafts.removeSaved(folder->path(u"link.txt"_s));
    QCOMPARE(countInHistory(), 0);
}

void TestHistory::lastDraftTakesItsFolderAlong()
{
    const QString noted = folder->path(u"noted.txt"_s);
    History::Drafts drafts;
    drafts.keep(file(), "draft");
    drafts.keep(noted, "draft");
    makeSparse(versionPath(noted, u"notes.txt"_s), 1);
    drafts.remove(file());
    drafts.remove(noted);
    QVERIFY(originPath(file()).isEmpty());
    QCOMPARE(versionNames(noted), QStringList{u"notes.txt"_s});
    QCOMPARE(QDir(History::historyFolder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
             1);

    drafts.keep(file(), "again");
    QCOMPARE(keptContents(file()), QList<QByteArray>{"again"});
}

void TestHistory::sameUnsavedTextIsKeptOnce()
{
    QVERIFY(History::keepUnsaved(file(), "text"));
    QVERIFY(History::keepUnsaved(file(), "text"));
    QCOMPARE(keptContents(file()), QList<QByteArray>{"text"});
    awaitNextMoment();
    QVERIFY(History::keepUnsaved(file(), "another"));
    awaitNextMoment();
    QVERIFY(History::keepUnsaved(file(), "text"));
    QCOMPARE(keptContents(file()), (QList<QByteArray>{"text", "another", "text"}));
}

void TestHistory::dataFolderThatFails_data()
{
    QTest::addColumn<QString>("home");
    QTest::newRow("a file") << u"data"_s;
    QTest::newRow("below a file") << u"data/home"_s;
    QTest::newRow("a device") << u"/dev/full"_s;
    QTest::newRow("not allowed even to the superuser") << u"/proc/data"_s;
}

void TestHistory::dataFolderThatFails()
{
    QFETCH(QString, home);
    folder->write(u"data"_s, "no folder");
    folder->write(u"place/file.txt"_s, "old");
    const DataHome dataHome(QDir(folder->path()).absoluteFilePath(home));
    QTest::ignoreMessage(QtDebugMsg, NO_HISTORY);
    QVERIFY(History::saveFile(folder->path(u"place/file.txt"_s), "new"));
    QCOMPARE(folder->read(u"place/file.txt"_s), "new"_ba);
    QCOMPARE(QDir(folder->path(u"place"_s)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{u"file.txt"_s});
    QTest::ignoreMessage(QtDebugMsg, NO_HISTORY);
    History::keepUnsaved(folder->path(u"place/file.txt"_s), "unsaved");
    QCOMPARE(folder->read(u"data"_s), "no folder"_ba);
}

void TestHistory::readOnlyDataFolder()
{
    folder->makeFolder(u"data"_s);
    folder->makeFolder(u"place"_s);
    QVERIFY(QFile::setPermissions(folder->path(u"data"_s), QFile::Permissions(0x5555)));
    QVERIFY(QFile::setPermissions(folder->path(u"place"_s), QFile::Permissions(0x7777)));
    const DataHome dataHome(folder->path(u"data"_s));
    {
        const OrdinaryUser user;
#ifdef Q_OS_LINUX
        // Staged files are linked from /proc/self/fd, which is closed after a change of user.
        QCOMPARE(::prctl(PR_SET_DUMPABLE, 1), 0);
#endif
        folder->write(u"place/file.txt"_s, "old");
        QTest::ignoreMessage(QtDebugMsg, NO_HISTORY);
        QVERIFY(History::saveFile(folder->path(u"place/file.txt"_s), "new"));
    }
    QCOMPARE(folder->read(u"place/file.txt"_s), "new"_ba);
    QCOMPARE(QDir(folder->path(u"data"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
}

void TestHistory::fullDataFolder()
{
#ifdef Q_OS_UNIX
    History::keepUnsaved(file(), "before");
    folder->write(u"file.txt"_s, QByteArray(100'000, 'x'));
    {
        const FileSizeLimit limit(50'000);
        QTest::ignoreMessage(QtDebugMsg, NO_HISTORY);
        QVERIFY(History::saveFile(file(), "new"));
    }
    QCOMPARE(folder->read(u"file.txt"_s), "new"_ba);
    QCOMPARE(keptContents(file()), QList<QByteArray>{"before"});
    QCOMPARE(folder->entries(), QStringList{u"file.txt"_s});
#else
    QSKIP("File-size limits are of Unix");
#endif
}

void TestHistory::processesKeepAtOnce()
{
    constexpr int PROCESSES = 4;
    constexpr int TEXTS = 12;
    for (const int times : {1, 3}) {
        QDir(History::historyFolder()).removeRecursively();
        std::array<QProcess, PROCESSES> savers;
        for (int i = 0; i < PROCESSES; ++i)
            savers.at(static_cast<size_t>(i))
                .start(QStringLiteral(SAVER),
                       {u"unsaved"_s, file(), QString::number(i), QString::number(times * TEXTS)});
        for (QProcess &saver : savers)
            QCOMPARE(finish(saver).code, 0);
        QSet<QByteArray> expected;
        for (int i = 0; i < PROCESSES; ++i) {
            for (int k = 0; k < times * TEXTS; ++k)
                expected.insert(u"%1 %2\n"_s.arg(i).arg(k).toUtf8().repeated(5000));
        }
        const QList<QByteArray> found = keptContents(file());
        const QSet<QByteArray> distinct(found.begin(), found.end());
        QCOMPARE(found.size(), times == 1 ? PROCESSES * TEXTS : 50);
        QCOMPARE(distinct.size(), found.size());
        QVERIFY(expected.contains(distinct));
    }
}

void TestHistory::processesReplaceAtOnce()
{
    constexpr int PROCESSES = 4;
    constexpr int TEXTS = 12;
    folder->write(u"file.txt"_s, "first");
    std::array<QProcess, PROCESSES> savers;
    QSet<QByteArray> whole{"first"};
    for (int i = 0; i < PROCESSES; ++i) {
        savers.at(static_cast<size_t>(i))
            .start(QStringLiteral(SAVER), {u"texts"_s, file(), QString::number(i), QString::number(TEXTS)});
        for (int k = 0; k < TEXTS; ++k)
            whole.insert(u"%1 %2\n"_s.arg(i).arg(k).toUtf8().repeated(5000));
    }
    for (QProcess &saver : savers)
        QCOMPARE(finish(saver).code, 0);
    QCOMPARE(folder->entries(), QStringList{u"file.txt"_s});
    QVERIFY(whole.contains(folder->read(u"file.txt"_s)));
    const QList<QByteArray> found = keptContents(file());
    // Each save keeps what it replaces, and no two texts are the same.
    QCOMPARE(found.size(), PROCESSES * TEXTS);
    QVERIFY(found.contains("first"));
    for (const QByteArray &content : found)
        QVERIFY2(whole.contains(content), "A version is torn");
}

CATALIST_TEST(TestHistory)
#include "tst_history.moc"
