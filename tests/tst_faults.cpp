#include "faulttest.h"
#include "testrunner.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <cerrno>
#include <utility>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Target)
Q_DECLARE_METATYPE(Staging)
Q_DECLARE_METATYPE(History)

namespace {

bool isWrittenDirectly(Target target)
{
    return target == Target::InReadOnlyFolder || target == Target::WithLongName || target == Target::Unreplaceable;
}

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

private:
    QStringList shortfalls(Target target, const Trial &trial);
    QStringList historyShortfalls(History state, const Trial &trial);
    QStringList exportShortfalls(Target target, const Trial &trial);

    int tried = 0;
    int failed = 0;
    int killed = 0;
    int torn = 0;
    int shorts = 0;
};

void TestFaults::initTestCase()
{
#ifndef FAULTS
    QSKIP("Calls are only made to fail on Linux");
#endif
}

void TestFaults::cleanupTestCase()
{
    qInfo("%d points tried, %d fell short; %d saves were killed, %d reported a failure, %d files written directly were "
          "torn and are in the history",
          tried, shorts, killed, failed, torn);
}

void TestFaults::everyCallOfASave_data()
{
    QTest::addColumn<bool>("isProject");
    QTest::addColumn<Target>("target");
    QTest::addColumn<Staging>("staging");
    for (const bool isProject : {true, false}) {
        const char *what = isProject ? "project" : "description";
        QTest::addRow("%s, new", what) << isProject << Target::New << Staging::Unnamed;
        QTest::addRow("%s, existing", what) << isProject << Target::Existing << Staging::Unnamed;
        QTest::addRow("%s, behind a link", what) << isProject << Target::BehindLink << Staging::Unnamed;
        QTest::addRow("%s, behind a dangling link", what)
            << isProject << Target::BehindDanglingLink << Staging::Unnamed;
        QTest::addRow("%s, read-only", what) << isProject << Target::ReadOnly << Staging::Unnamed;
        QTest::addRow("%s, in a read-only folder", what) << isProject << Target::InReadOnlyFolder << Staging::Unnamed;
        QTest::addRow("%s, with a long name", what) << isProject << Target::WithLongName << Staging::Unnamed;
        QTest::addRow("%s, that cannot be replaced", what) << isProject << Target::Unreplaceable << Staging::Unnamed;
        QTest::addRow("%s, new, staged by name", what) << isProject << Target::New << Staging::Named;
        QTest::addRow("%s, existing, staged by name", what) << isProject << Target::Existing << Staging::Named;
        QTest::addRow("%s, behind a link, staged by name", what) << isProject << Target::BehindLink << Staging::Named;
    }
}

void TestFaults::everyCallOfASave()
{
    QFETCH(bool, isProject);
    QFETCH(Target, target);
    QFETCH(Staging, staging);
    startSaver(isProject, staging, target);

    prepare(target);
    const Answer undisturbed = save(folder->path(u"work"_s), NO_FAULT);
    QCOMPARE(undisturbed.saved, target != Target::ReadOnly);
    QCOMPARE(onDisk(), undisturbed.saved ? newContent : oldContent);
    QCOMPARE(saveAgain().saved, undisturbed.saved);
    QVERIFY(leftovers().isEmpty());
    // A call that is not seen cannot be made to fail.
    const int writes = target == Target::Unreplaceable ? 2 : 1;
    QCOMPARE(undisturbed.calls.count(u"write"_s), undisturbed.saved ? writes : 0);
    // A name is on the disk when its folder was flushed after it was given.
    const qsizetype named =
        std::max({undisturbed.calls.lastIndexOf(u"rename"_s), undisturbed.calls.lastIndexOf(u"linkat"_s),
                  undisturbed.calls.indexOf(u"write"_s)});
    QCOMPARE(undisturbed.calls.lastIndexOf(u"fsync"_s) > named, undisturbed.saved);

    QStringList found;
    const QList<Trial> all = trials(undisturbed.calls);
    for (const Trial &trial : all) {
        ++tried;
        prepare(target);
        for (const QString &shortfall : shortfalls(target, trial))
            found.append(trial.description() + u": "_s + shortfall);
    }
    shorts += static_cast<int>(found.size());
    QVERIFY2(found.isEmpty(), qPrintable(found.join(u'\n')));
}

QStringList TestFaults::shortfalls(Target target, const Trial &trial)
{
    QStringList found;
    const auto expect = [&found](bool fulfilled, const QString &what) {
        if (!fulfilled)
            found.append(what);
    };
    const bool isNew = target == Target::New || target == Target::BehindDanglingLink;
    const bool isDirect = isWrittenDirectly(target);
    const QByteArray oldOne = isNew ? QByteArray() : oldContent;
    const QFile::Permissions permissions = QFile::permissions(path);

    const Answer first = save(folder->path(u"work"_s), trial);
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
        const Answer next = save(folder->path(u"work"_s), NO_FAULT);
        saveAgain();
        expect(next.saved == (target != Target::ReadOnly), u"the next start saves otherwise"_s);
        expect(onDisk() == (next.saved ? newContent : oldContent), u"the next start's bytes are not there"_s);
        expect(leftovers() == left, u"the next start minds what was left behind"_s);
        return found;
    }

    failed += first.saved ? 0 : 1;
    // The copy could take the room on the disk that the save needs.
    if ((trial.name == u"write" || trial.name == u"fsync") && content != newContent && !isDirect)
        expect(kept().isEmpty(), u"kept before the new bytes were staged"_s);
    if (trial.error == EINTR && target != Target::ReadOnly)
        expect(first.saved, u"given up when it was interrupted"_s);
    expect(!first.saved || content == newContent, u"reported as saved, but not the new bytes"_s);
    if (savesProject)
        expect(first.modified != first.saved, u"the mark does not go with the report"_s);
    // What was staged in vain cannot be removed then.
    const bool mayLeave = trial.name == u"unlink" && isFailing;
    expect(leftovers().isEmpty() || mayLeave, u"a file left behind"_s);
    const Answer second = saveAgain();
    // A read-only file may be replaced when its rights could not be seen for a moment; then it is read-only again.
    const bool isRefused = target == Target::ReadOnly;
    expect(second.saved != isRefused, u"the second save went otherwise"_s);
    expect(onDisk() == (isRefused && !first.saved ? oldContent : newContent), u"not the second save's bytes"_s);
    if (savesProject)
        expect(second.modified == (isRefused && !first.saved), u"the mark does not go with the second report"_s);
    expect(leftovers().isEmpty() || mayLeave, u"a file left behind by the second save"_s);
    return found;
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
    const Answer undisturbed = save(folder->path(u"home"_s), NO_FAULT);
    QVERIFY(saveAgain().saved);
    QVERIFY(undisturbed.calls.contains(u"write"_s));
    QCOMPARE(undisturbed.calls.contains(u"unlink"_s), state != History::Begun);

    QStringList found;
    QList<Trial> all = trials(undisturbed.calls);
    for (int i = 0; i < undisturbed.calls.size(); ++i) {
        if (undisturbed.calls.at(i) == u"open64")
            all.append({i + 1, undisturbed.calls.at(i), Fault::Vanished, 0});
    }
    for (const Trial &trial : std::as_const(all)) {
        ++tried;
        prepareHistory(state);
        for (const QString &shortfall : historyShortfalls(state, trial))
            found.append(trial.description() + u": "_s + shortfall);
    }
    shorts += static_cast<int>(found.size());
    QVERIFY2(found.isEmpty(), qPrintable(found.join(u'\n')));
}

QStringList TestFaults::historyShortfalls(History state, const Trial &trial)
{
    QStringList found;
    const auto expect = [&found](bool fulfilled, const QString &what) {
        if (!fulfilled)
            found.append(what);
    };
    const qsizetype before = kept().size();
    const Answer first = save(folder->path(u"home"_s), trial);
    const QList<QByteArray> versions = kept();
    expect(leftovers().isEmpty(), u"a file left behind"_s);
    if (first.killed) {
        ++killed;
        expect(onDisk() == oldContent, u"not the old bytes"_s);
        // The file itself still holds what the cut version lacks.
        expect(versions.size() - versions.count(oldContent) <= 1, u"more than one version cut"_s);
        const Answer next = save(folder->path(u"work"_s), NO_FAULT);
        saveAgain();
        expect(next.saved && onDisk() == newContent, u"the next start does not save"_s);
        expect(kept().count(oldContent) >= qMin(before + 1, 49), u"the next start keeps nothing"_s);
        return found;
    }
    if (trial.fault == Fault::Forestalled || trial.fault == Fault::Vanished)
        expect(versions.size() == qMin(before + 1, 50), u"nothing kept"_s);
    expect(first.saved && !first.modified, u"not reported as saved"_s);
    expect(onDisk() == newContent, u"not the new bytes"_s);
    expect(versions.count(oldContent) == versions.size(), u"a version is not whole"_s);
    expect(versions.size() >= qMin(before, 50), u"versions are gone"_s);
    // One more than the bound is there when one could not be removed.
    expect(versions.size() <= (state == History::Full ? 52 : before + 1), u"too many versions"_s);
    expect(saveAgain().saved, u"the second save failed"_s);
    return found;
}

void TestFaults::everyCallOfADraft()
{
    const QString drafts = u"*-draft-*"_s;
    startDrafter();
    prepare(Target::Existing);
    const Answer undisturbed = save(folder->path(u"home"_s), NO_FAULT);
    QCOMPARE(kept(), QList<QByteArray>{newContent});
    QVERIFY(saveAgain().saved);
    QVERIFY(undisturbed.calls.contains(u"write"_s));
    // Nobody who types waits for the disk.
    QVERIFY(!undisturbed.calls.contains(u"fsync"_s));

    QStringList found;
    const QList<Trial> all = trials(undisturbed.calls);
    for (const Trial &trial : all) {
        ++tried;
        prepare(Target::Existing);
        const bool isKilled = save(folder->path(u"home"_s), trial).killed;
        QList<QByteArray> left = kept(drafts);
        if (left.isEmpty() || left.removeAll(newContent) + left.removeAll("an earlier draft") > 2 || !left.isEmpty())
            found.append(trial.description() + u": no whole draft"_s);
        if (onDisk() != oldContent)
            found.append(trial.description() + u": the file was touched"_s);
        if (isKilled) {
            ++killed;
            continue;
        }
        saveAgain();
        if (!kept(drafts).contains(newContent))
            found.append(trial.description() + u": no draft the next time"_s);
    }
    shorts += static_cast<int>(found.size());
    QVERIFY2(found.isEmpty(), qPrintable(found.join(u'\n')));
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
    const Answer undisturbed = save(folder->path(u"home"_s), NO_FAULT);
    QVERIFY(saveAgain().saved);
    QCOMPARE(onDisk(), oldContent);
    QVERIFY(undisturbed.calls.contains(u"read"_s));

    QStringList found;
    const QList<Trial> all = trials(undisturbed.calls);
    for (const Trial &trial : all) {
        if (trial.fault != Fault::Fail && trial.fault != Fault::KeepFailing)
            continue;
        ++tried;
        prepare(Target::New);
        folder->write(u"home/source"_s, oldContent);
        const Answer first = save(folder->path(u"home"_s), trial);
        failed += first.saved ? 0 : 1;
        // What is loaded in part is saved in part.
        if (onDisk() != (first.saved ? oldContent : QByteArray()))
            found.append(trial.description() + u": loaded in part"_s);
        if (!saveAgain().saved || onDisk() != oldContent)
            found.append(trial.description() + u": the next load failed"_s);
    }
    shorts += static_cast<int>(found.size());
    QVERIFY2(found.isEmpty(), qPrintable(found.join(u'\n')));
}

// An index is written directly, as the walk may meet it: until it is whole, what is there may be nothing or the
// beginning of it. It can be made again, so that what counts is that nobody is told that it is whole when it is not.
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
    const Answer undisturbed = save(folder->path(u"work"_s), NO_FAULT);
    QCOMPARE(undisturbed.saved, target != Target::ReadOnly);
    QCOMPARE(onDisk(), undisturbed.saved ? newContent : oldContent);
    QCOMPARE(saveAgain().saved, undisturbed.saved);
    QCOMPARE(undisturbed.calls.contains(u"write"_s), undisturbed.saved);

    QStringList found;
    const QList<Trial> all = trials(undisturbed.calls);
    for (const Trial &trial : all) {
        ++tried;
        prepare(target);
        for (const QString &shortfall : exportShortfalls(target, trial))
            found.append(trial.description() + u": "_s + shortfall);
    }
    shorts += static_cast<int>(found.size());
    QVERIFY2(found.isEmpty(), qPrintable(found.join(u'\n')));
}

QStringList TestFaults::exportShortfalls(Target target, const Trial &trial)
{
    QStringList found;
    const auto expect = [&found](bool fulfilled, const QString &what) {
        if (!fulfilled)
            found.append(what);
    };
    const QByteArray oldOne = target == Target::New ? QByteArray() : oldContent;
    const QFile::Permissions permissions = QFile::permissions(path);

    const Answer first = save(folder->path(u"work"_s), trial);
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
    expect(savedNext != isRefused, u"the next export went otherwise"_s);
    expect(onDisk() == (isRefused ? oldContent : newContent), u"not the next export's bytes"_s);
    return found;
}

CATALIST_TEST(TestFaults)
#include "tst_faults.moc"
