#include "scratchhome.h"
#include "windowtest.h"

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTabWidget>
#include <QTableWidget>

namespace {

const QByteArray TWO_APPS = HEADER
                            + "{\"en\":\"First\"};A;1.0;674;05-03-2024;{\"en\":\"en.html\"};a.txt;;5.03\n"
                              "{\"en\":\"Second\"};B;2.0;675;06-03-2024;{};;;5.04\n";
const QByteArray ONE_APP = HEADER + "{\"en\":\"Only\"};C;;;;{};;;0.00\n";

const QString LOAD_ERROR = QStringLiteral("Error loading <b>Apps.csv</b> settings");
const QString SAVE_ERROR = QStringLiteral("Error saving <b>Apps.csv</b> settings");
const QString NO_PROJECT = QStringLiteral("First create a new project");
const QStringList PROJECT_FILTERS{QStringLiteral("App configuration files (Apps.csv)"),
                                  QStringLiteral("All files (*.*)")};

QStringList listed(const QWidget &window)
{
    QStringList texts;
    const auto *list = child<QListWidget>(window, "listApps");
    for (int row = 0; row < list->count(); ++row)
        texts.append(list->item(row)->text());
    return texts;
}

QString projectLabel(const QWidget &window)
{
    return child<QLabel>(window, "appsLbl")->text();
}

bool isMarked(const QWidget &window)
{
    return window.windowTitle() == QLatin1String("Orva Catalist (*)");
}

bool isUnmarked(const QWidget &window)
{
    return window.windowTitle() == QLatin1String("Orva Catalist");
}

} // namespace

class TestMainWindow : public QObject, private WindowTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void firstStart();
    void settingsAreRestored();
    void settingsAreWritten();
    void startsWithStoredProject();
    void startsWithProjectThatFails_data();
    void startsWithProjectThatFails();

    void newProject();
    void newProjectOverAnother();
    void newProjectCancelled();
    void openProject();
    void openProjectCancelled();
    void openProjectThatFails();
    void openShorterProject();

    void saveWithoutProject();
    void save();
    void saveFails();
    void saveAfterFailedLoad();
    void publish();
    void publishCancelled();
    void publishWithoutProject();
    void publishToPlaceThatFails();
    void publishThroughLink();

    void titleMark();
    void repositoryUrl_data();
    void repositoryUrl();

    void closeUnmodified();
    void closeModified_data();
    void closeModified();
    void closeAndSaveWithoutProject();
    void closeAndSaveFails();

private:
    void start();
    void startWith(const QByteArray &content);
    void expectError(const ShownDialog &dialog, const QString &text);

    QString csv;
    QString startFolder;
};

void TestMainWindow::init()
{
    begin();
    csv = folder->path(QStringLiteral("project/Apps.csv"));
    folder->makeFolder(QStringLiteral("project"));
    folder->makeFolder(QStringLiteral("cwd"));
    startFolder = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder->path(QStringLiteral("cwd"))));
}

void TestMainWindow::cleanup()
{
    QVERIFY(QDir::setCurrent(startFolder));
    end();
}

void TestMainWindow::start()
{
    window = openWindow<MainWindow>();
}

void TestMainWindow::startWith(const QByteArray &content)
{
    folder->write(QStringLiteral("project/Apps.csv"), content);
    folder->write(QStringLiteral("project/en.html"), "<p>text</p>");
    folder->write(QStringLiteral("project/a.txt"), "abc");
    storeProject(csv);
    start();
}

void TestMainWindow::expectError(const ShownDialog &dialog, const QString &text)
{
    QCOMPARE(dialog.kind, QStringLiteral("QMessageBox"));
    QCOMPARE(dialog.title, QStringLiteral("Error"));
    QCOMPARE(dialog.text, text);
    QCOMPARE(dialog.icon, QMessageBox::Critical);
    QCOMPARE(dialog.buttons, QStringList{QStringLiteral("OK")});
}

void TestMainWindow::firstStart()
{
    window = std::make_unique<MainWindow>();
    QCOMPARE(window->size(), QSize(678, 620));
    QCOMPARE(child<QLineEdit>(*window, "repository")->text(), QStringLiteral("http://"));
    QCOMPARE(projectLabel(*window), QStringLiteral("Apps:"));
    QVERIFY(listed(*window).isEmpty());
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QVERIFY(isUnmarked(*window));
}

void TestMainWindow::settingsAreRestored()
{
    QSettings settings(QStringLiteral("Orva model"), QStringLiteral("Catalist"));
    settings.setValue(QStringLiteral("MainWindow/size"), QSize(913, 777));
    settings.setValue(QStringLiteral("MainWindow/pos"), QPoint(31, 47));
    settings.setValue(QStringLiteral("repo"), QStringLiteral("https://a/b"));
    settings.sync();
    window = std::make_unique<MainWindow>();
    QCOMPARE(window->size(), QSize(913, 777));
    QCOMPARE(window->pos(), QPoint(31, 47));
    QCOMPARE(child<QLineEdit>(*window, "repository")->text(), QStringLiteral("https://a/b"));
}

void TestMainWindow::settingsAreWritten()
{
    startWith(TWO_APPS);
    window->resize(901, 803);
    window->move(21, 23);
    child<QLineEdit>(*window, "repository")->setText(QStringLiteral("https://c/"));
    QVERIFY(!QSettings(QStringLiteral("Orva model"), QStringLiteral("Catalist")).contains(QStringLiteral("repo")));
    QVERIFY(window->close());

    const QSettings settings(QStringLiteral("Orva model"), QStringLiteral("Catalist"));
    QCOMPARE(settings.value(QStringLiteral("MainWindow/size")).toSize(), QSize(901, 803));
    QCOMPARE(settings.value(QStringLiteral("MainWindow/pos")).toPoint(), QPoint(21, 23));
    QCOMPARE(settings.value(QStringLiteral("repo")).toString(), QStringLiteral("https://c/"));
    QCOMPARE(settings.value(QStringLiteral("appPath")).toString(), csv);
    QStringList keys = settings.allKeys();
    keys.sort();
    QCOMPARE(keys, (QStringList{QStringLiteral("MainWindow/pos"), QStringLiteral("MainWindow/size"),
                                QStringLiteral("appPath"), QStringLiteral("repo")}));
}

void TestMainWindow::startsWithStoredProject()
{
    startWith(TWO_APPS);
    QCOMPARE(listed(*window), (QStringList{QStringLiteral("First"), QStringLiteral("Second")}));
    QCOMPARE(projectLabel(*window), QStringLiteral("Apps (%1): ").arg(csv));
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), -1);
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QVERIFY(isUnmarked(*window));

    clickCell(child<QListWidget>(*window, "listApps"), 1);
    QVERIFY(child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QCOMPARE(child<QLineEdit>(*window, "appName1_1")->text(), QStringLiteral("Second"));
    QVERIFY(isUnmarked(*window));
}

void TestMainWindow::startsWithProjectThatFails_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("broken") << TWO_APPS + "\n";
}

void TestMainWindow::startsWithProjectThatFails()
{
    QFETCH(QByteArray, content);
    if (!content.isEmpty())
        folder->write(QStringLiteral("project/Apps.csv"), content);
    storeProject(csv);
    answers->press(QMessageBox::Ok);
    start();
    QCOMPARE(answers->shown.size(), 1);
    expectError(answers->shown.constFirst(), LOAD_ERROR);
    QVERIFY(listed(*window).isEmpty());
    QCOMPARE(projectLabel(*window), QStringLiteral("Apps (%1): ").arg(csv));
    QVERIFY(isUnmarked(*window));
    QVERIFY(window->close());
    QCOMPARE(QSettings(QStringLiteral("Orva model"), QStringLiteral("Catalist")).value(QStringLiteral("appPath")), csv);
}

void TestMainWindow::newProject()
{
    start();
    answers->chooseFile(csv);
    clickTool(*window, "actionNew_project");
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().kind, QStringLiteral("QFileDialog"));
    QCOMPARE(answers->shown.constFirst().title, QStringLiteral("New Apps.csv file"));
    QCOMPARE(answers->shown.constFirst().startPath, folder->path(QStringLiteral("cwd/Apps.csv")));
    QCOMPARE(answers->shown.constFirst().filters, PROJECT_FILTERS);
    QVERIFY(answers->shown.constFirst().buttons.contains(QStringLiteral("Save")));
    QCOMPARE(projectLabel(*window), QStringLiteral("Apps (%1): ").arg(csv));
    QVERIFY(!QFileInfo::exists(csv));
    QVERIFY(isUnmarked(*window));

    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), HEADER);
}

void TestMainWindow::newProjectOverAnother()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    click(*window, "applyButton");
    QVERIFY(isMarked(*window));
    const QString other = folder->path(QStringLiteral("other.csv"));
    answers->chooseFile(other);
    QTest::keyClick(window.get(), Qt::Key_N, Qt::ControlModifier);
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().startPath, csv);
    QVERIFY(listed(*window).isEmpty());
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QVERIFY(isUnmarked(*window));
    QVERIFY(!QFileInfo::exists(other));
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), TWO_APPS);
}

void TestMainWindow::newProjectCancelled()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    click(*window, "applyButton");
    answers->cancel();
    clickTool(*window, "actionNew_project");
    QCOMPARE(listed(*window).size(), 2);
    QCOMPARE(projectLabel(*window), QStringLiteral("Apps (%1): ").arg(csv));
    QVERIFY(isMarked(*window));
}

void TestMainWindow::openProject()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    click(*window, "applyButton");
    QVERIFY(isMarked(*window));
    folder->write(QStringLiteral("other/Apps.csv"), ONE_APP);
    const QString other = folder->path(QStringLiteral("other/Apps.csv"));
    answers->chooseFile(other);
    QTest::keyClick(window.get(), Qt::Key_O, Qt::ControlModifier);

    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().kind, QStringLiteral("QFileDialog"));
    QCOMPARE(answers->shown.constFirst().title, QStringLiteral("Open Apps.csv file"));
    QCOMPARE(answers->shown.constFirst().startPath, csv);
    QCOMPARE(answers->shown.constFirst().filters, PROJECT_FILTERS);
    QVERIFY(answers->shown.constFirst().buttons.contains(QStringLiteral("Open")));
    QCOMPARE(listed(*window), QStringList{QStringLiteral("Only")});
    QCOMPARE(projectLabel(*window), QStringLiteral("Apps (%1): ").arg(other));
    QVERIFY(isUnmarked(*window));
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), TWO_APPS);
}

void TestMainWindow::openProjectCancelled()
{
    start();
    answers->cancel();
    clickTool(*window, "actionOpen_project");
    QCOMPARE(answers->shown.constFirst().startPath, folder->path(QStringLiteral("cwd/Apps.csv")));
    QCOMPARE(projectLabel(*window), QStringLiteral("Apps:"));
    window.reset();

    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    showTab(*window, "tabDescription");
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    auto *edit = child<QPlainTextEdit>(*window, "descriptionEdit");
    type(edit, QStringLiteral("typed "));
    answers->cancel();
    clickTool(*window, "actionOpen_project");
    QCOMPARE(folder->read(QStringLiteral("project/en.html")), QByteArray("typed <p>text</p>"));
    QCOMPARE(edit->toPlainText(), QString());
    QVERIFY(child<QTableWidget>(*window, "tableWidget")->selectedItems().isEmpty());
    QCOMPARE(child<QTableWidget>(*window, "tableWidget")->rowCount(), 1);
    QCOMPARE(listed(*window).size(), 2);
    QCOMPARE(projectLabel(*window), QStringLiteral("Apps (%1): ").arg(csv));

    // The file is closed, so nothing is written to it any more.
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(QStringLiteral("project/en.html")), QByteArray("typed <p>text</p>"));

    // No row is left for Delete, and a click on the row opens its file again.
    click(*window, "btnDeleteDescription");
    QVERIFY(isUnmarked(*window));
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    QCOMPARE(edit->toPlainText(), QStringLiteral("typed <p>text</p>"));
}

void TestMainWindow::openProjectThatFails()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 1);
    folder->write(QStringLiteral("bad.csv"), ONE_APP + "x;y\n");
    const QString bad = folder->path(QStringLiteral("bad.csv"));
    answers->chooseFile(bad);
    QStringList listedMeanwhile;
    answers->answer([this, &listedMeanwhile](QWidget *box) {
        // The message comes before the list is emptied.
        listedMeanwhile = listed(*window);
        QTest::keyClick(box, Qt::Key_Return);
    });
    clickTool(*window, "actionOpen_project");
    QCOMPARE(answers->shown.size(), 2);
    expectError(answers->shown.at(1), LOAD_ERROR);
    QCOMPARE(listedMeanwhile, (QStringList{QStringLiteral("First"), QStringLiteral("Second")}));
    QVERIFY(listed(*window).isEmpty());
    QVERIFY(!child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QCOMPARE(projectLabel(*window), QStringLiteral("Apps (%1): ").arg(bad));
    QVERIFY(isUnmarked(*window));
}

void TestMainWindow::openShorterProject()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 1);
    folder->write(QStringLiteral("other.csv"), ONE_APP);
    answers->chooseFile(folder->path(QStringLiteral("other.csv")));
    clickTool(*window, "actionOpen_project");
    QCOMPARE(listed(*window), QStringList{QStringLiteral("Only")});
    QCOMPARE(child<QListWidget>(*window, "listApps")->currentRow(), -1);
    QVERIFY(child<QTabWidget>(*window, "tabWidget")->isEnabled());
    QCOMPARE(child<QLineEdit>(*window, "appName1_1")->text(), QString());

    click(*window, "applyButton");
    showTab(*window, "tabAppFiles");
    click(*window, "btnDeleteFile");
    showTab(*window, "tabDescription");
    click(*window, "btnDeleteDescription");
    QVERIFY(isUnmarked(*window));
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(QStringLiteral("other.csv")), HEADER + "{\"en\":\"Only\"};C;;0;;{};;;0.00\n");
}

void TestMainWindow::saveWithoutProject()
{
    start();
    click(*window, "btnNewApp");
    QVERIFY(isMarked(*window));
    answers->press(QMessageBox::Ok);
    QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().title, QStringLiteral("Warning"));
    QCOMPARE(answers->shown.constFirst().text, NO_PROJECT);
    QCOMPARE(answers->shown.constFirst().icon, QMessageBox::Warning);
    QCOMPARE(answers->shown.constFirst().buttons, QStringList{QStringLiteral("OK")});
    QVERIFY(isMarked(*window));

    // The title is not even looked at.
    window->setWindowTitle(QStringLiteral("Orva Catalist"));
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked(*window));
}

void TestMainWindow::save()
{
    startWith(ONE_APP);
    click(*window, "btnNewApp");
    QVERIFY(isMarked(*window));
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked(*window));
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")),
             HEADER + "{\"en\":\"Only\"};C;;0;;{};;;0.00\n{\"en\":\"[New App]\"};;;;;{};;;0.00\n");
}

void TestMainWindow::saveFails()
{
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    showTab(*window, "tabDescription");
    clickCell(child<QTableWidget>(*window, "tableWidget"), 0, 1);
    type(child<QPlainTextEdit>(*window, "descriptionEdit"), QStringLiteral("typed "));
    showTab(*window, "tabGeneral");
    QVERIFY(QFile::remove(csv));
    folder->makeFolder(QStringLiteral("project/Apps.csv"));
    click(*window, "btnNewApp");
    answers->press(QMessageBox::Ok);
    clickTool(*window, "actionSave");
    QCOMPARE(answers->shown.size(), 1);
    expectError(answers->shown.constFirst(), SAVE_ERROR);
    QVERIFY(isMarked(*window));
    QCOMPARE(listed(*window).size(), 3);
    QCOMPARE(folder->read(QStringLiteral("project/en.html")), QByteArray("typed <p>text</p>"));

    QVERIFY(QDir().rmdir(csv));
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked(*window));
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")).count('\n'), 4);
}

void TestMainWindow::saveAfterFailedLoad()
{
    storeProject(csv);
    answers->press(QMessageBox::Ok);
    start();
    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), HEADER);
}

void TestMainWindow::publish()
{
    startWith(TWO_APPS);
    click(*window, "btnNewApp");
    child<QLineEdit>(*window, "repository")->setText(QStringLiteral("https://x/"));
    const QString index = folder->path(QStringLiteral("Apps.json"));
    answers->chooseFile(index);
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().kind, QStringLiteral("QFileDialog"));
    QCOMPARE(answers->shown.constFirst().title, QStringLiteral("Save JSON repository"));
    QCOMPARE(answers->shown.constFirst().startPath, folder->path(QStringLiteral("cwd/Apps.json")));
    QCOMPARE(answers->shown.constFirst().filters,
             (QStringList{QStringLiteral("JSON files (*.json)"), QStringLiteral("All files (*.*)")}));
    QVERIFY(answers->shown.constFirst().buttons.contains(QStringLiteral("Save")));
    QVERIFY(isUnmarked(*window));
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), TWO_APPS + "{\"en\":\"[New App]\"};;;;;{};;;0.00\n");
    QVERIFY(folder->read(QStringLiteral("Apps.json")).contains(R"(            "files": [
                {
                    "destination": "Apps/a.txt",
                    "hash": "a9993e364706816aba3e25717850c26c9cd0d89d",
                    "size": 3,
                    "url": "https://x/a.txt"
                }
            ],
)"));
}

void TestMainWindow::publishCancelled()
{
    startWith(ONE_APP);
    click(*window, "btnNewApp");
    answers->cancel();
    clickTool(*window, "actionSave_generate_JSON");
    QVERIFY(isUnmarked(*window));
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")).count('\n'), 3);
    QVERIFY(!folder->exists(QStringLiteral("cwd/Apps.json")));
}

// The project folder is then the current one.
void TestMainWindow::publishWithoutProject()
{
    folder->write(QStringLiteral("cwd/a.txt"), "abc");
    start();
    click(*window, "btnNewApp");
    showTab(*window, "tabAppFiles");
    answers->pickInProject(QStringLiteral("a.txt"));
    click(*window, "btnAddFile");
    answers->shown.clear();
    answers->press(QMessageBox::Ok);
    answers->chooseFile(folder->path(QStringLiteral("Apps.json")));
    clickTool(*window, "actionSave_generate_JSON");
    QCOMPARE(answers->shown.size(), 2);
    QCOMPARE(answers->shown.at(0).text, NO_PROJECT);
    QCOMPARE(answers->shown.at(1).title, QStringLiteral("Save JSON repository"));
    QVERIFY(folder->read(QStringLiteral("Apps.json"))
                .contains("\"destination\": \"Apps/a.txt\",\n"
                          "                    \"hash\": \"a9993e364706816aba3e25717850c26c9cd0d89d\""));
    QVERIFY(isMarked(*window));
}

void TestMainWindow::publishToPlaceThatFails()
{
    startWith(TWO_APPS);
    answers->chooseFile(folder->path(QStringLiteral("missing/Apps.json")));
    clickTool(*window, "actionSave_generate_JSON");
    // Nothing is said about it: the only dialog was the one that asked.
    QCOMPARE(answers->shown.size(), 1);
    QVERIFY(!folder->exists(QStringLiteral("missing")));
}

void TestMainWindow::publishThroughLink()
{
    folder->write(QStringLiteral("real/Apps.csv"), HEADER + "{\"en\":\"X\"};;;;;{};a.txt;;0.00\n");
    folder->write(QStringLiteral("real/a.txt"), "abc");
    folder->link(folder->path(QStringLiteral("real")), QStringLiteral("alias"));
    storeProject(folder->path(QStringLiteral("alias/Apps.csv")));
    start();
    answers->chooseFile(folder->path(QStringLiteral("Apps.json")));
    clickTool(*window, "actionSave_generate_JSON");
    QVERIFY(folder->read(QStringLiteral("Apps.json")).contains("\"destination\": \"Apps/a.txt\""));
}

void TestMainWindow::titleMark()
{
    startWith(TWO_APPS);
    QVERIFY(isUnmarked(*window));
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    QVERIFY(isUnmarked(*window));
    click(*window, "applyButton");
    QVERIFY(isMarked(*window));
    click(*window, "applyButton");
    QVERIFY(isMarked(*window));
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked(*window));
    clickTool(*window, "actionSave");
    QVERIFY(isUnmarked(*window));

    window->setWindowTitle(QStringLiteral("Another (*) title(*)"));
    clickTool(*window, "actionSave");
    QCOMPARE(window->windowTitle(), QStringLiteral("Another (*) title(*)"));
    click(*window, "applyButton");
    QCOMPARE(window->windowTitle(), QStringLiteral("Another (*) title(*) (*)"));
    clickTool(*window, "actionSave");
    QCOMPARE(window->windowTitle(), QStringLiteral("Another (*) title(*)"));
    window->setWindowTitle(QStringLiteral("Marked already (*)"));
    click(*window, "applyButton");
    QCOMPARE(window->windowTitle(), QStringLiteral("Marked already (*)"));
}

void TestMainWindow::repositoryUrl_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("url");
    QTest::newRow("without slash") << QStringLiteral("http://a/repo") << QStringLiteral("http://a/repo/");
    QTest::newRow("with slash") << QStringLiteral("http://a/repo/") << QStringLiteral("http://a/repo/");
    QTest::newRow("empty") << QString() << QStringLiteral("/");
    QTest::newRow("backslash") << QStringLiteral("a\\") << QStringLiteral("a\\/");
}

void TestMainWindow::repositoryUrl()
{
    QFETCH(QString, typed);
    start();
    auto *field = child<QLineEdit>(*window, "repository");
    retype(*window, "repository", typed);
    QTest::keyClick(field, Qt::Key_Return);
    QTEST(field->text(), "url");

    retype(*window, "repository", typed);
    child<QListWidget>(*window, "listApps")->setFocus();
    QTEST(field->text(), "url");
}

void TestMainWindow::closeUnmodified()
{
    startWith(TWO_APPS);
    QVERIFY(window->close());
    QVERIFY(answers->shown.isEmpty());
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")), TWO_APPS);
}

void TestMainWindow::closeModified_data()
{
    QTest::addColumn<int>("button"); // 0 for the escape key
    QTest::addColumn<bool>("closes");
    QTest::addColumn<bool>("saves");
    QTest::newRow("yes") << int(QMessageBox::Yes) << true << true;
    QTest::newRow("no") << int(QMessageBox::No) << true << false;
    QTest::newRow("cancel") << int(QMessageBox::Cancel) << false << false;
    QTest::newRow("escape") << 0 << false << false;
}

void TestMainWindow::closeModified()
{
    QFETCH(int, button);
    QFETCH(bool, closes);
    QFETCH(bool, saves);
    startWith(TWO_APPS);
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    click(*window, "btnDeleteApp");
    child<QLineEdit>(*window, "repository")->setText(QStringLiteral("https://stored/"));

    bool anyDefault = false;
    QString storedUrl;
    answers->answer([&](QWidget *dialog) {
        auto *box = qobject_cast<QMessageBox *>(dialog);
        storedUrl = QSettings(QStringLiteral("Orva model"), QStringLiteral("Catalist"))
                        .value(QStringLiteral("repo"))
                        .toString();
        anyDefault = box->defaultButton() != nullptr;
        QAbstractButton *pressed = box->button(static_cast<QMessageBox::StandardButton>(button));
        if (pressed)
            QTest::mouseClick(pressed, Qt::LeftButton);
        else
            QTest::keyClick(box, Qt::Key_Escape);
    });
    QCOMPARE(window->close(), closes);
    QCOMPARE(window->isVisible(), !closes);
    QVERIFY(!anyDefault);
    QCOMPARE(storedUrl, QStringLiteral("https://stored/"));

    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(answers->shown.constFirst().title, QStringLiteral("Save data"));
    QCOMPARE(answers->shown.constFirst().text, QStringLiteral("Save application data before quitting?"));
    QCOMPARE(answers->shown.constFirst().icon, QMessageBox::Question);
    QStringList buttons = answers->shown.constFirst().buttons;
    buttons.sort();
    QCOMPARE(buttons, (QStringList{QStringLiteral("Cancel"), QStringLiteral("No"), QStringLiteral("Yes")}));
    QCOMPARE(folder->read(QStringLiteral("project/Apps.csv")),
             saves ? HEADER + "{\"en\":\"Second\"};B;2.0;675;06-03-2024;{};;;5.04\n" : TWO_APPS);
    QCOMPARE(isUnmarked(*window), saves);
}

void TestMainWindow::closeAndSaveWithoutProject()
{
    start();
    click(*window, "btnNewApp");
    answers->press(QMessageBox::Yes);
    answers->press(QMessageBox::Ok);
    QVERIFY(window->close());
    QCOMPARE(answers->shown.size(), 2);
    QCOMPARE(answers->shown.at(1).text, NO_PROJECT);
}

void TestMainWindow::closeAndSaveFails()
{
    startWith(TWO_APPS);
    QVERIFY(QFile::remove(csv));
    folder->makeFolder(QStringLiteral("project/Apps.csv"));
    click(*window, "btnNewApp");
    answers->press(QMessageBox::Yes);
    answers->press(QMessageBox::Ok);
    QVERIFY(window->close());
    QCOMPARE(answers->shown.size(), 2);
    expectError(answers->shown.at(1), SAVE_ERROR);
    QVERIFY(isMarked(*window));
}

CATALIST_TEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
