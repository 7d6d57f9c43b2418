#include "cli.h"
#include "history/history.h"
#include "historyfiles.h"
#include "testrunner.h"
#include "windowtest.h"

#include <QPlainTextEdit>
#include <QProcess>
#include <QTableWidget>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

const QByteArray PROJECT =
    HEADER + "{\"en\":\"Old\"};A;1.0;674;05-03-2024;{\"de\":\"de.html\",\"en\":\"en.html\"};;;5.03\n";
const QByteArray TEXT = "<p>text</p>";
constexpr int LONGEST_WAIT = 5000; // milliseconds

} // namespace

/// What is typed is in the history after at most five seconds, whatever happens to the process.
class TestMainWindowDrafts : public WindowTest
{
    Q_OBJECT

private slots:
    void init() override;

    void descriptionIsDrafted();
    void recordsAreDrafted();
    void draftIsReplaced();
    void draftIsRemovedWhenTheFileIsSaved_data();
    void draftIsRemovedWhenTheFileIsSaved();
    void lookingLeavesNoDraft();
    void undoneTextLeavesNoDraft();
    void draftOfRecordsThatWereSavedMeanwhile();
    void closingTurnsTheDraftIntoAnUnsavedText();
    void newProjectTurnsTheDraftIntoAnUnsavedText();
    void recordsWithoutAProject();

    void endOfTheProcess_data();
    void endOfTheProcess();
    void hangingWindowEndsAtTheSecondSignal();

private:
    void open();
    void startEditor(QProcess *editor, const QString &typist) const;
    [[nodiscard]] QStringList reasons(const QString &file) const;

    QString csv;
    QString page;
};

void TestMainWindowDrafts::init()
{
    WindowTest::init();
    csv = folder->path(u"project/Apps.csv"_s);
    page = folder->path(u"project/en.html"_s);
    folder->write(u"project/Apps.csv"_s, PROJECT);
    folder->write(u"project/de.html"_s, TEXT);
    folder->write(u"project/en.html"_s, TEXT);
}

void TestMainWindowDrafts::open()
{
    storeProject(csv);
    window = openWindow<MainWindow>();
}

QStringList TestMainWindowDrafts::reasons(const QString &file) const
{
    QStringList names;
    for (const QString &version : versionNames(file))
        names.append(version.section(u'-', 4, 4));
    return names;
}

void TestMainWindowDrafts::descriptionIsDrafted()
{
    open();
    openDescription(1);
    typeInDescription(u"typed "_s);
    QTRY_COMPARE_WITH_TIMEOUT(reasons(page), QStringList{u"draft"_s}, LONGEST_WAIT);
    QCOMPARE(keptContents(page), QList<QByteArray>{"typed <p>text</p>"});
    QVERIFY(versionNames(page).constFirst().endsWith(u"-draft-en.html"_s));
    QCOMPARE(folder->read(u"project/en.html"_s), TEXT);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), PROJECT);
    QVERIFY(originPath(csv).isEmpty());
    QVERIFY(isUnmarked());
    QVERIFY(answers->shown.isEmpty());
}

void TestMainWindowDrafts::recordsAreDrafted()
{
    open();
    click(*window, "btnNewApp");
    QTRY_COMPARE_WITH_TIMEOUT(reasons(csv), QStringList{u"draft"_s}, LONGEST_WAIT);
    QCOMPARE(keptContents(csv), QList<QByteArray>{PROJECT + NEW_APP});
    QCOMPARE(folder->read(u"project/Apps.csv"_s), PROJECT);
    QVERIFY(isMarked());
}

void TestMainWindowDrafts::draftIsReplaced()
{
    open();
    openDescription(1);
    typeInDescription(u"one "_s);
    window->writeDrafts();
    typeInDescription(u"two "_s);
    window->writeDrafts();
    QCOMPARE(keptContents(page), QList<QByteArray>{"one two <p>text</p>"});
    // Also while typing continues.
    QTRY_VERIFY_WITH_TIMEOUT((typeInDescription(u"x"_s), keptContents(page).constFirst().startsWith("one two x")),
                             LONGEST_WAIT);
    QCOMPARE(reasons(page), QStringList{u"draft"_s});
}

void TestMainWindowDrafts::draftIsRemovedWhenTheFileIsSaved_data()
{
    QTest::addColumn<QString>("route");
    QTest::newRow("Save") << u"save"_s;
    QTest::newRow("Auto-save") << u"auto-save"_s;
    QTest::newRow("another description") << u"row"_s;
    QTest::newRow("another app") << u"app"_s;
}

void TestMainWindowDrafts::draftIsRemovedWhenTheFileIsSaved()
{
    QFETCH(QString, route);
    open();
    click(*window, "btnNewApp");
    openDescription(1);
    typeInDescription(u"typed "_s);
    window->writeDrafts();
    QCOMPARE(reasons(page), QStringList{u"draft"_s});
    QCOMPARE(reasons(csv), QStringList{u"draft"_s});
    if (route == u"save")
        clickTool(*window, "actionSave");
    else if (route == u"auto-save")
        click(*window, "btnAutosave");
    else if (route == u"row")
        clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    else
        selectApp(1);
    QCOMPARE(folder->read(u"project/en.html"_s), "typed <p>text</p>"_ba);
    QCOMPARE(reasons(page), QStringList{u"replaced"_s});
    QCOMPARE(reasons(csv), QStringList{route == u"save" ? u"replaced"_s : u"draft"_s});
}

void TestMainWindowDrafts::lookingLeavesNoDraft()
{
    open();
    openDescription(1);
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    window->writeDrafts();
    QCOMPARE(countInHistory(), 0);
}

void TestMainWindowDrafts::undoneTextLeavesNoDraft()
{
    open();
    openDescription(1);
    typeInDescription(u"typed"_s);
    window->writeDrafts();
    QCOMPARE(reasons(page), QStringList{u"draft"_s});
    QTest::keyClick(child<QPlainTextEdit>(*window, "descriptionEdit"), Qt::Key_Z, Qt::ControlModifier);
    window->writeDrafts();
    QCOMPARE(countInHistory(), 0);
}

void TestMainWindowDrafts::draftOfRecordsThatWereSavedMeanwhile()
{
    open();
    click(*window, "btnNewApp");
    clickTool(*window, "actionSave");
    openDescription(1);
    typeInDescription(u"typed "_s);
    QTRY_COMPARE_WITH_TIMEOUT(reasons(page), QStringList{u"draft"_s}, LONGEST_WAIT);
    QCOMPARE(reasons(csv), QStringList{u"replaced"_s});
}

void TestMainWindowDrafts::closingTurnsTheDraftIntoAnUnsavedText()
{
    open();
    click(*window, "btnNewApp");
    openDescription(1);
    typeInDescription(u"typed "_s);
    window->writeDrafts();
    answers->press(QMessageBox::No);
    QVERIFY(window->close());
    QCOMPARE(reasons(page), QStringList{u"unsaved"_s});
    QCOMPARE(reasons(csv), QStringList{u"unsaved"_s});
}

void TestMainWindowDrafts::newProjectTurnsTheDraftIntoAnUnsavedText()
{
    open();
    click(*window, "btnNewApp");
    window->writeDrafts();
    clickNewProject(folder->path(u"other.csv"_s));
    QCOMPARE(reasons(csv), QStringList{u"unsaved"_s});
    window->writeDrafts();
    QVERIFY(originPath(folder->path(u"other.csv"_s)).isEmpty());
}

void TestMainWindowDrafts::recordsWithoutAProject()
{
    window = openWindow<MainWindow>();
    click(*window, "btnNewApp");
    window->writeDrafts();
    QCOMPARE(keptContents(QDir::current().canonicalPath() + u"/Apps.csv"_s), QList<QByteArray>{HEADER + NEW_APP});
}

void TestMainWindowDrafts::startEditor(QProcess *editor, const QString &typist) const
{
    QSettings settings(folder->path(u"config/Orva model/Catalist.conf"_s), QSettings::IniFormat);
    settings.setValue(u"appPath"_s, csv);
    settings.sync();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_CONFIG_HOME"_s, folder->path(u"config"_s));
    environment.insert(u"QT_PLUGIN_PATH"_s, QStringLiteral(TYPIST_PLUGINS));
    environment.insert(u"QT_QPA_GENERIC_PLUGINS"_s, typist);
    editor->setProcessEnvironment(environment);
    editor->start(QStringLiteral(CATALIST), QStringList());
    QVERIFY(editor->waitForStarted());
    while (!editor->canReadLine())
        QVERIFY2(editor->waitForReadyRead(), editor->readAllStandardError().constData());
    QCOMPARE(editor->readLine(), "typed\n"_ba);
}

void TestMainWindowDrafts::endOfTheProcess_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGTERM") << SIGTERM;
#ifdef Q_OS_UNIX
    QTest::newRow("SIGHUP") << SIGHUP;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGKILL") << SIGKILL;
#endif
}

void TestMainWindowDrafts::endOfTheProcess()
{
#ifdef Q_OS_UNIX
    QFETCH(int, number);
    const QString typedInto = folder->path(u"project/de.html"_s);
    QProcess editor;
    startEditor(&editor, u"typist"_s);
    // A killed process writes nothing, so the drafts have to exist before.
    if (number == SIGKILL)
        QTRY_VERIFY_WITH_TIMEOUT(keptContents(csv).size() == 1 && keptContents(typedInto).size() == 1, LONGEST_WAIT);
    QCOMPARE(::kill(static_cast<pid_t>(editor.processId()), number), 0);
    QVERIFY(editor.waitForFinished());
    QCOMPARE(editor.exitStatus(), QProcess::CrashExit);
    QCOMPARE(editor.exitCode(), number);
    QCOMPARE(folder->read(u"project/Apps.csv"_s), PROJECT);
    QCOMPARE(folder->read(u"project/de.html"_s), TEXT);
    QCOMPARE(keptContents(csv), QList<QByteArray>{PROJECT + NEW_APP});
    QCOMPARE(keptContents(typedInto), QList<QByteArray>{"typed <p>text</p>"});

    const QStringList lines = QString::fromUtf8(run({u"history"_s, csv}).out).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 2);
    for (const QString &line : lines)
        QCOMPARE(line.simplified().section(u' ', 2, 2), u"draft"_s);
    QCOMPARE(run({u"restore"_s, csv, versionNames(typedInto).constFirst()}).code, 0);
    QCOMPARE(folder->read(u"project/de.html"_s), "typed <p>text</p>"_ba);
#else
    QSKIP("Signals are of Unix");
#endif
}

void TestMainWindowDrafts::hangingWindowEndsAtTheSecondSignal()
{
#ifdef Q_OS_UNIX
    QProcess editor;
    startEditor(&editor, u"typist:hang"_s);
    QCOMPARE(::kill(static_cast<pid_t>(editor.processId()), SIGTERM), 0);
    QVERIFY(!editor.waitForFinished(200));
    QCOMPARE(::kill(static_cast<pid_t>(editor.processId()), SIGTERM), 0);
    QVERIFY(editor.waitForFinished());
#else
    QSKIP("Signals are of Unix");
#endif
}

CATALIST_TEST(TestMainWindowDrafts)
#include "tst_mainwindow_drafts.moc"
