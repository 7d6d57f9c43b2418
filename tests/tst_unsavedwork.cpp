#include "history/unsavedwork.h"

#include "folder.h"
#include "historyfiles.h"
#include "testrunner.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

/// A text whose save fails is in the history, or held in memory until it is saved or copied.
class TestUnsavedWork : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void saves();
    void copiesWhatCannotBeSaved();
    void holdsWhatCannotBeCopied();
    void laterSaveOfAnotherFile();
    void laterCopyOfAnotherFile();
    void laterDraftOfAnotherFile();
    void copyThatWaitsForRoom();
    void copyThatIsSavedLater();
    void newerTextTakesThePlace();
    void fileOfSomebodyElse();
    void draftIsRemoved();

private:
    void refuseSaving() const { folder->makeFolder(u"file.html/folder"_s); }
    void allowSaving() const { QVERIFY(QDir(file()).removeRecursively()); }
    void refuseHistory() const;
    void allowHistory() const { QVERIFY(QFile::remove(folder->path(u"data"_s))); }
    void holdText();
    [[nodiscard]] QString file() const { return folder->path(u"file.html"_s); }
    [[nodiscard]] QString other() const { return folder->path(u"other.html"_s); }

    std::unique_ptr<Folder> folder;
    std::unique_ptr<DataHome> dataHome;
    UnsavedWork work;
};

void TestUnsavedWork::init()
{
    folder = std::make_unique<Folder>();
    dataHome = std::make_unique<DataHome>(folder->path(u"data"_s));
    work = {};
}

void TestUnsavedWork::cleanup()
{
    dataHome.reset();
    folder.reset();
}

void TestUnsavedWork::refuseHistory() const
{
    QDir(folder->path(u"data"_s)).removeRecursively();
    folder->write(u"data"_s, "no folder");
}

void TestUnsavedWork::holdText()
{
    refuseSaving();
    refuseHistory();
    QVERIFY(!work.save(file(), "text"));
}

void TestUnsavedWork::saves()
{
    QVERIFY(work.save(file(), "text"));
    QCOMPARE(folder->read(u"file.html"_s), "text"_ba);
    QVERIFY(work.heldFiles().isEmpty());
    QCOMPARE(countInHistory(), 0);
}

void TestUnsavedWork::copiesWhatCannotBeSaved()
{
    refuseSaving();
    QVERIFY(!work.save(file(), "text"));
    QCOMPARE(keptContents(file()), QList<QByteArray>{"text"});
    QVERIFY(work.heldFiles().isEmpty());
    QVERIFY(!work.held(file()));
}

void TestUnsavedWork::holdsWhatCannotBeCopied()
{
    holdText();
    QCOMPARE(work.heldFiles(), QStringList{file()});
    QCOMPARE(work.held(file()), "text"_ba);
    work.tryAgain();
    QCOMPARE(work.heldFiles(), QStringList{file()});
    allowSaving();
    work.tryAgain();
    QCOMPARE(folder->read(u"file.html"_s), "text"_ba);
    QVERIFY(work.heldFiles().isEmpty());
}

void TestUnsavedWork::laterSaveOfAnotherFile()
{
    holdText();
    allowSaving();
    QVERIFY(work.save(other(), "other"));
    QCOMPARE(folder->read(u"file.html"_s), "text"_ba);
    QVERIFY(work.heldFiles().isEmpty());
}

void TestUnsavedWork::laterCopyOfAnotherFile()
{
    holdText();
    allowHistory();
    work.copy(other(), "other", UnsavedWork::Later::Copy);
    QCOMPARE(keptContents(file()), QList<QByteArray>{"text"});
    QCOMPARE(keptContents(other()), QList<QByteArray>{"other"});
    QVERIFY(work.heldFiles().isEmpty());
}

void TestUnsavedWork::laterDraftOfAnotherFile()
{
    holdText();
    allowSaving();
    work.keepDraft(other(), "other");
    QCOMPARE(folder->read(u"file.html"_s), "text"_ba);
    QVERIFY(work.heldFiles().isEmpty());
}

void TestUnsavedWork::copyThatWaitsForRoom()
{
    folder->write(u"file.html"_s, "saved");
    refuseHistory();
    work.copy(file(), "not to be saved", UnsavedWork::Later::Copy);
    QCOMPARE(work.heldFiles(), QStringList{file()});
    allowHistory();
    work.tryAgain();
    QCOMPARE(folder->read(u"file.html"_s), "saved"_ba);
    QCOMPARE(keptContents(file()), QList<QByteArray>{"not to be saved"});
    QVERIFY(work.heldFiles().isEmpty());
}

void TestUnsavedWork::copyThatIsSavedLater()
{
    folder->write(u"file.html"_s, "saved");
    refuseHistory();
    work.copy(file(), "to be saved after all", UnsavedWork::Later::Save);
    QCOMPARE(folder->read(u"file.html"_s), "saved"_ba);
    QCOMPARE(work.heldFiles(), QStringList{file()});
    work.tryAgain();
    QCOMPARE(folder->read(u"file.html"_s), "to be saved after all"_ba);
    QVERIFY(work.heldFiles().isEmpty());
}

void TestUnsavedWork::newerTextTakesThePlace()
{
    holdText();
    QVERIFY(!work.save(file(), "newer"));
    QCOMPARE(work.held(file()), "newer"_ba);
    // A text that was to be saved is still saved after a request to copy it only.
    work.copy(file(), "newest", UnsavedWork::Later::Copy);
    QCOMPARE(work.held(file()), "newest"_ba);
    allowSaving();
    work.tryAgain();
    QCOMPARE(folder->read(u"file.html"_s), "newest"_ba);
    QVERIFY(work.heldFiles().isEmpty());
}

void TestUnsavedWork::fileOfSomebodyElse()
{
    holdText();
    allowSaving();
    folder->write(u"file.html"_s, "template");
    work.stopSaving(file());
    work.tryAgain();
    QCOMPARE(folder->read(u"file.html"_s), "template"_ba);
    QCOMPARE(work.held(file()), "text"_ba);
    allowHistory();
    work.tryAgain();
    QCOMPARE(folder->read(u"file.html"_s), "template"_ba);
    QCOMPARE(keptContents(file()), QList<QByteArray>{"text"});
}

void TestUnsavedWork::draftIsRemoved()
{
    work.keepDraft(file(), "draft");
    QVERIFY(work.save(file(), "saved"));
    QCOMPARE(countInHistory(), 0);

    work.keepDraft(file(), "draft");
    work.copy(file(), "copied", UnsavedWork::Later::Copy);
    QCOMPARE(keptContents(file()), QList<QByteArray>{"copied"});

    QVERIFY(QFile::remove(file()));
    refuseSaving();
    work.keepDraft(other(), "draft");
    QVERIFY(!work.save(file(), "text"));
    QCOMPARE(keptContents(other()), QList<QByteArray>{"draft"});
}

CATALIST_TEST(TestUnsavedWork)
#include "tst_unsavedwork.moc"
