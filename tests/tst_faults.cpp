#include "faulttest.h"
#include "testrunner.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <cerrno>
#include <functional>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Target)
Q_DECLARE_METATYPE(Staging)
Q_DECLARE_METATYPE(History)

namespace {

bool isWrittenDirectly(Target target)
{
    return target == Target::InReadOnlyFolder || target == Target::WithLongName || target == Target::Unreplaceable;
}

/// Collects what was not as expected.
struct Expectations
{
    QStringList failed;

    void operator()(bool isFulfilled, const QString &otherwise)
    {
        if (!isFulfilled)
            failed.append(otherwise);
    }
};

} // namespace

class TestFaults : public FaultTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void everyCallOfASave_data();
    void everyCallOfASave();
    void everyCallOfTheHistory_data();
    void everyCallOfTheHistory();
    void everyCallOfADraft();
    void everyCallOfALoad_data();
    void everyCallOfALoad();
    void everyCallOfAnExport_data();
    void everyCallOfAnExport();
    void everyReadOfAHash();

private:
    void tryAll(const QList<Trial> &all, const std::function<QStringList(const Trial &)> &problemsOf);
    QStringList problems(Target target, const Trial &trial);
    QStringList historyProblems(History state, const Trial &trial);
    QStringList exportProblems(Target target, const Trial &trial);

    int tried = 0;
    int failed = 0;
    int killed = 0;
    int torn = 0;
    int problemCount = 0;
};

void TestFaults::initTestCase()
{
#ifndef FAULTS
    QSKIP("Calls are only made to fail on Linux");
#endif
}

void TestFaults::cleanupTestCase()
{
    qInfo("%d faults tried, %d problems; %d saves were killed, %d reported a failure, %d files written directly were "
          "torn and are in the history",
          tried, problemCount, killed, failed, torn);
}

void TestFaults::tryAll(const QList<Trial> &all, const std::function<QStringList(const Trial &)> &problemsOf)
{
    QStringList found;
    for (const Trial &trial : all) {
        ++tried;
        for (const QString &problem : problemsOf(trial))
            found.append(trial.description() + u": "_s + problem);
    }
    problemCount += static_cast<int>(found.size());
    QVERIFY2(found.isEmpty(), qPrintable(found.join(u'\n')));
}

void TestFaults::everyCallOfASave_data()
{
    QTest::addColumn<bool>("isProject");
    QTest::addColumn<Target>("target");
    QTest::addColumn<Staging>("staging");
    for (const bool isProject : {true, false}) {
        const auto row = [isProject](const char *name, Target target, Staging staging = Staging::Unnamed) {
            QTest::addRow("%s, %s", isProject ? "project" : "description", name) << isProject << target << staging;
        };
        row("new", Target::New);
        row("existing", Target::Existing);
        row("behind a link", Target::BehindLink);
        row("behind a dangling link", Target::BehindDanglingLink);
        row("read-only", Target::ReadOnly);
        row("in a read-only folder", Target::InReadOnlyFolder);
        row("with a long name", Target::WithLongName);
        row("that cannot be replaced", Target::Unreplaceable);
        row("new, staged by name", Target::New, Staging::Named);
        row("existing, staged by name", Target::Existing, Staging::Named);
        row("behind a link, staged by name", Target::BehindLink, Staging::Named);
    }
}

void TestFaults::everyCallOfASave()
{
    QFETCH(bool, isProject);
    QFETCH(Target, target);
    QFETCH(Staging, staging);
    startSaver(isProject, staging, target);

    prepare(target);
    const Report faultless = save(folder->path(u"work"_s), NO_FAULT);
    QCOMPARE(faultless.saved, target != Target::ReadOnly);
    QCOMPARE(onDisk(), faultless.saved ? newContent : oldContent);
    QCOMPARE(saveAgain().saved, faultless.saved);
    QVERIFY(leftovers().isEmpty());
    // Calls that are not counted would not be tested.
    const int writes = target == Target::Unreplaceable ? 2 : 1;
    QCOMPARE(faultless.calls.count(u"write"_s), faultless.saved ? writes : 0);
    // The folder is flushed after the file got its name.
    const qsizetype named = std::max({faultless.calls.lastIndexOf(u"rename"_s),
                                      faultless.calls.lastIndexOf(u"linkat"_s), faultless.calls.indexOf(u"write"_s)});
    QCOMPARE(faultless.calls.lastIndexOf(u"fsync"_s) > named, faultless.saved);

    tryAll(trials(faultless.calls), [this, target](const Trial &trial) {
        prepare(target);
        return problems(target, trial);
    });
}

QStringList TestFaults::problems(Target target, const Trial &trial)
{
    Expectations expect;
    const bool isNew = target == Target::New || target == Target::BehindDanglingLink;
    const bool isDirect = isWrittenDirectly(target);
    const QByteArray oldOne = isNew ? QByteArray() : oldContent;
    const QFile::Permissions permissions = QFile::permissions(path);

    const Report first = save(folder->path(u"work"_s), trial);
    const QByteArray content = onDisk();
    const bool isWhole = content == newContent || (content == oldOne && content.isNull() == isNew);
    if (!isWhole && isDirect) {
        ++torn;
        expect(kept().contains(oldContent), u"torn, and the history has no old bytes"_s);
    } else {
        expect(isWhole, u"neither the old bytes nor the new ones"_s);
    }
    const bool isFailing = trial.fault == Fault::Fail || trial.fault == Fault::KeepFailing;
    if (!isNew && content == newContent && !isFailing)
        expect(kept().contains(oldContent), u"the history has no old bytes"_s);
    if (target == Target::BehindLink || target == Target::BehindDanglingLink)
        expect(QFileInfo(path).isSymLink(), u"the link is gone"_s);
    if (!isNew)
        expect(QFile::permissions(path) == permissions, u"other permissions"_s);

    if (first.killed) {
        ++killed;
        expect(leftovers().size() <= 1, u"several files left behind"_s);
        const QStringList left = leftovers();
        const Report next = save(folder->path(u"work"_s), NO_FAULT);
        saveAgain();
        expect(next.saved == (target != Target::ReadOnly), u"the next start saves differently"_s);
        expect(onDisk() == (next.saved ? newContent : oldContent), u"the next start's bytes are not there"_s);
        expect(leftovers() == left, u"the next start changes the files left behind"_s);
        return expect.failed;
    }

    failed += first.saved ? 0 : 1;
    // The copy could use the space that the save needs.
    if ((trial.name == u"write" || trial.name == u"fsync") && content != newContent && !isDirect)
        expect(kept().isEmpty(), u"kept before the new bytes were staged"_s);
    if (trial.error == EINTR && target != Target::ReadOnly)
        expect(first.saved, u"failed when it was interrupted"_s);
    expect(!first.saved || content == newContent, u"reported as saved, but not the new bytes"_s);
    if (savesProject)
        expect(first.modified != first.saved, u"the mark contradicts the report"_s);
    // The staged file cannot be removed then.
    const bool mayLeave = trial.name == u"unlink" && isFailing;
    expect(leftovers().isEmpty() || mayLeave, u"a file left behind"_s);
    const Report second = saveAgain();
    // A read-only file may be replaced when its permissions could not be read; the new one is read-only, too.
    const bool isRefused = target == Target::ReadOnly;
    expect(second.saved != isRefused, u"the second save ends differently"_s);
    expect(onDisk() == (isRefused && !first.saved ? oldContent : newContent), u"not the second save's bytes"_s);
    if (savesProject)
        expect(second.modified == (isRefused && !first.saved), u"the mark contradicts the second report"_s);
    expect(leftovers().isEmpty() || mayLeave, u"a file left behind by the second save"_s);
    return expect.failed;
}

void TestFaults::everyCallOfTheHistory_data()
{
    QTest::addColumn<History>("state");
    QTest::newRow("none yet") << History::None;
    QTest::newRow("begun") << History::Begun;
    QTest::newRow("full") << History::Full;
}

void TestFaults::everyCallOfTheHistory()
{
    QFETCH(History, state);
    startSaver(true, Staging::Unnamed);
    prepareHistory(state);
    const Report faultless = save(folder->path(u"home"_s), NO_FAULT);
    QVERIFY(saveAgain().saved);
    QVERIFY(faultless.calls.contains(u"write"_s));
    QCOMPARE(faultless.calls.contains(u"unlink"_s), state != History::Begun);

    QList<Trial> all = trials(faultless.calls);
    for (int i = 0; i < faultless.calls.size(); ++i) {
        if (faultless.calls.at(i) == u"open64")
            all.append({i + 1, faultless.calls.at(i), Fault::Vanished, 0});
    }
    tryAll(all, [this, state](const Trial &trial) {
        prepareHistory(state);
        return historyProblems(state, trial);
    });
}

QStringList TestFaults::historyProblems(History state, const Trial &trial)
{
    Expectations expect;
    const qsizetype before = kept().size();
    const Report first = save(folder->path(u"home"_s), trial);
    const QList<QByteArray> versions = kept();
    expect(leftovers().isEmpty(), u"a file left behind"_s);
    if (first.killed) {
        ++killed;
        expect(onDisk() == oldContent, u"not the old bytes"_s);
        // The file itself still has the old bytes.
        expect(versions.size() - versions.count(oldContent) <= 1, u"more than one version cut"_s);
        const Report next = save(folder->path(u"work"_s), NO_FAULT);
        saveAgain();
        expect(next.saved && onDisk() == newContent, u"the next start does not save"_s);
        expect(kept().count(oldContent) >= qMin(before + 1, 49), u"the next start keeps nothing"_s);
        return expect.failed;
    }
    if (trial.fault == Fault::MadeByAnother || trial.fault == Fault::Vanished)
        expect(versions.size() == qMin(before + 1, 50), u"nothing kept"_s);
    expect(first.saved && !first.modified, u"not reported as saved"_s);
    expect(onDisk() == newContent, u"not the new bytes"_s);
    expect(versions.count(oldContent) == versions.size(), u"a version is not whole"_s);
    expect(versions.size() >= qMin(before, 50), u"versions are gone"_s);
    // Some may not have been removed.
    expect(versions.size() <= (state == History::Full ? 52 : before + 1), u"too many versions"_s);
    expect(saveAgain().saved, u"the second save failed"_s);
    return expect.failed;
}

void TestFaults::everyCallOfADraft()
{
    const QString drafts = u"*-draft-*"_s;
    startDrafter();
    prepare(Target::Existing);
    const Report faultless = save(folder->path(u"home"_s), NO_FAULT);
    QCOMPARE(kept(), QList<QByteArray>{newContent});
    QVERIFY(saveAgain().saved);
    QVERIFY(faultless.calls.contains(u"write"_s));
    // A draft does not wait for the disk.
    QVERIFY(!faultless.calls.contains(u"fsync"_s));

    tryAll(trials(faultless.calls), [this, &drafts](const Trial &trial) {
        Expectations expect;
        prepare(Target::Existing);
        const bool isKilled = save(folder->path(u"home"_s), trial).killed;
        QList<QByteArray> left = kept(drafts);
        expect(!left.isEmpty() && left.removeAll(newContent) + left.removeAll("an earlier draft") <= 2
                   && left.isEmpty(),
               u"no whole draft"_s);
        expect(onDisk() == oldContent, u"the file was touched"_s);
        if (isKilled) {
            ++killed;
        } else {
            saveAgain();
            expect(kept(drafts).contains(newContent), u"no draft the next time"_s);
        }
        return expect.failed;
    });
}

void TestFaults::everyCallOfALoad_data()
{
    QTest::addColumn<bool>("isProject");
    QTest::newRow("project") << true;
    QTest::newRow("description") << false;
}

void TestFaults::everyCallOfALoad()
{
    QFETCH(bool, isProject);
    startSaver(isProject, Staging::Unnamed, Target::New, folder->path(u"home/source"_s));
    prepare(Target::New);
    folder->write(u"home/source"_s, oldContent);
    const Report faultless = save(folder->path(u"home"_s), NO_FAULT);
    QVERIFY(saveAgain().saved);
    QCOMPARE(onDisk(), oldContent);
    QVERIFY(faultless.calls.contains(u"read"_s));

    QList<Trial> all = trials(faultless.calls);
    all.removeIf([](const Trial &trial) { return trial.fault != Fault::Fail && trial.fault != Fault::KeepFailing; });
    tryAll(all, [this](const Trial &trial) {
        Expectations expect;
        prepare(Target::New);
        folder->write(u"home/source"_s, oldContent);
        const Report first = save(folder->path(u"home"_s), trial);
        failed += first.saved ? 0 : 1;
        // A file that was loaded in part would be saved in part.
        expect(onDisk() == (first.saved ? oldContent : QByteArray()), u"loaded in part"_s);
        expect(saveAgain().saved && onDisk() == oldContent, u"the next load failed"_s);
        return expect.failed;
    });
}

// An index is written directly, so that a failure may leave it empty or cut short; it must then not be reported as
// written.
void TestFaults::everyCallOfAnExport_data()
{
    QTest::addColumn<Target>("target");
    QTest::newRow("new") << Target::New;
    QTest::newRow("existing") << Target::Existing;
    QTest::newRow("behind a link") << Target::BehindLink;
    QTest::newRow("read-only") << Target::ReadOnly;
    QTest::newRow("in a read-only folder") << Target::InReadOnlyFolder;
}

void TestFaults::everyCallOfAnExport()
{
    QFETCH(Target, target);
    startExporter();
    prepare(Target::New);
    QVERIFY(save(folder->path(u"nothing"_s), NO_FAULT).saved);
    QVERIFY(saveAgain().saved);
    newContent = onDisk();
    QCOMPARE(newContent.count("\"destination\""), 2);

    prepare(target);
    const Report faultless = save(folder->path(u"work"_s), NO_FAULT);
    QCOMPARE(faultless.saved, target != Target::ReadOnly);
    QCOMPARE(onDisk(), faultless.saved ? newContent : oldContent);
    QCOMPARE(saveAgain().saved, faultless.saved);
    QCOMPARE(faultless.calls.contains(u"write"_s), faultless.saved);

    tryAll(trials(faultless.calls), [this, target](const Trial &trial) {
        prepare(target);
        return exportProblems(target, trial);
    });
}

// A file whose reading fails has an empty hash, not that of what was read before.
void TestFaults::everyReadOfAHash()
{
    startExporter();
    prepare(Target::New);
    QVERIFY(save(folder->path(u"nothing"_s), NO_FAULT).saved);
    newContent = onDisk();
    QVERIFY(saveAgain().saved);
    const Report faultless = save(folder->path(u"catalogue"_s), NO_FAULT);
    QVERIFY(saveAgain().saved);
    QVERIFY(faultless.calls.count(u"read"_s) >= 3);

    const QByteArray hashOfA = "\"a9993e364706816aba3e25717850c26c9cd0d89d\"";
    const QByteArray hashOfB = "\"da39a3ee5e6b4b0d3255bfef95601890afd80709\"";
    QVERIFY(newContent.contains(hashOfA) && newContent.contains(hashOfB));
    QList<Trial> all = trials(faultless.calls);
    all.removeIf([](const Trial &trial) { return trial.name != u"read" || trial.fault != Fault::KeepFailing; });
    for (const Trial &trial : std::as_const(all)) {
        prepare(Target::New);
        QVERIFY(save(folder->path(u"catalogue"_s), trial).saved);
        const QByteArray content = onDisk();
        QVERIFY(saveAgain().saved);
        // From the fault on, no file can be read.
        QByteArray expected = QByteArray(newContent).replace(hashOfB, "\"\"");
        if (!content.contains(hashOfA))
            expected.replace(hashOfA, "\"\"");
        QCOMPARE(content, expected);
    }
    QCOMPARE(onDisk(), newContent);
}

QStringList TestFaults::exportProblems(Target target, const Trial &trial)
{
    Expectations expect;
    const QByteArray oldOne = target == Target::New ? QByteArray() : oldContent;
    const QFile::Permissions permissions = QFile::permissions(path);

    const Report first = save(folder->path(u"work"_s), trial);
    const QByteArray content = onDisk();
    expect(content == oldOne || newContent.startsWith(content), u"neither the old bytes nor a part of the new ones"_s);
    if (target == Target::BehindLink)
        expect(QFileInfo(path).isSymLink(), u"the link is gone"_s);
    if (target != Target::New)
        expect(QFile::permissions(path) == permissions, u"other permissions"_s);
    expect(leftovers().isEmpty(), u"a file left behind"_s);
    expect(kept().isEmpty(), u"an index in the history"_s);

    const bool isRefused = target == Target::ReadOnly;
    bool savedNext = false;
    if (first.killed) {
        ++killed;
        savedNext = save(folder->path(u"work"_s), NO_FAULT).saved;
        saveAgain();
    } else {
        failed += first.saved ? 0 : 1;
        expect(!first.saved || content == newContent, u"reported as written, but not whole"_s);
        savedNext = saveAgain().saved;
    }
    expect(savedNext != isRefused, u"the next export ends differently"_s);
    expect(onDisk() == (isRefused ? oldContent : newContent), u"not the next export's bytes"_s);
    return expect.failed;
}

CATALIST_TEST(TestFaults)
#include "tst_faults.moc"
