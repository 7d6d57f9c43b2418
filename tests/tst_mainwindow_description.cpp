#include "scratchhome.h"
#include "viewer/simplewebviewer.h"
#include "windowtest.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>

using namespace Qt::StringLiterals;

namespace {

const QByteArray FIRST_APP = "{\"en\":\"Alpha\"};Ann;1.2;674;05-03-2024;";
const QByteArray FIRST_APP_END = ";main.lua;;5.01\n";
const QByteArray SECOND_APP = R"({"en":"Beta"};Bob;2.0;675;06-03-2024;{"en":"doc/beta.html"};;;0.00
)";
const QByteArray DESCRIPTIONS = R"({"cz":"doc/cz.html","de":"doc/de.html"})";

const QByteArray CZ = "<p>Popis č</p>";
const QByteArray DE = "<p>Über</p>\n";
const QByteArray BETA = "<p>Beta</p>";

const QByteArray NEW_DESCRIPTION = "<!DOCTYPE html>\n"
                                   "<html>\n"
                                   "<head>\n"
                                   "  <meta charset=\"utf-8\">\n"
                                   "  <title>#Title</title>\n"
                                   "</head>\n"
                                   "<body>\n"
                                   "  <h1>#App Name</h1>\n"
                                   "  <p></p>\n"
                                   "  <h2>#Description</h2>\n"
                                   "  <p>...</p>\n"
                                   "  <h2>#Usage</h2>\n"
                                   "  <ol>\n"
                                   "    <li>\n"
                                   "      <p>...</p>\n"
                                   "    </li>\n"
                                   "  </ol>\n"
                                   "</body>\n"
                                   "</html>\n";

const QString UNMARKED = u"Orva Catalist"_s;
const QString MARKED = u"Orva Catalist (*)"_s;

const QStringList LANGUAGE_CHOICES{u"cz"_s, u"de"_s, u"en"_s, u"fr"_s, u"it"_s};
const QStringList FILE_FILTERS{u"HTML files (*.html)"_s, u"All files (*.*)"_s};

constexpr QRgb PICTURE_COLOUR = 0xff12c832;

bool showsPicture(QWidget *widget)
{
    const QImage image = widget->grab().toImage().convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) == PICTURE_COLOUR)
                return true;
        }
    }
    return false;
}

} // namespace

enum class Left {
    Unsaved, ///< the file is open, its new text only in the editor
    Saved, ///< the file is open
    Closed,
    ClosedWithAutoSave, ///< emptying the editor counts as an edit
    ForAnother, ///< another file is open
};

struct Leaving
{
    std::function<void()> how;
    Left left;
};
Q_DECLARE_METATYPE(Leaving)

class TestMainWindowDescription : public QObject, private WindowTest
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void tableShowsTheDescriptions();
    void nothingIsOpenAtFirst();
    void selectedFileIsOpened();
    void autoSaveWritesTheFile();

    void leavingAFile_data();
    void leavingAFile();
    void closingTheWindow_data();
    void closingTheWindow();
    void otherColumnOfTheSameRowDoesNothing();
    void losingTheSelectionClosesTheFile();

    void newDescription_data();
    void newDescription();
    void newDescriptionOverAnExistingFile();
    void newDescriptionOverTheOpenFile();
    void openExisting();
    void languageIsRefused_data();
    void languageIsRefused();
    void fileDialogIsCancelled_data();
    void fileDialogIsCancelled();
    void fileOutsideIsRefused_data();
    void fileOutsideIsRefused();
    void siblingWhoseNameBeginsAlikeIsAccepted_data();
    void siblingWhoseNameBeginsAlikeIsAccepted();
    void projectBehindALinkRefusesItsFiles_data();
    void projectBehindALinkRefusesItsFiles();
    void fileThatCannotBeCreatedIsStored_data();
    void fileThatCannotBeCreatedIsStored();

    void deleteAsksAndKeepsTheFile_data();
    void deleteAsksAndKeepsTheFile();
    void deleteWithoutARowDoesNothing();
    void deleteLeavesTheNeighbourAlone_data();
    void deleteLeavesTheNeighbourAlone();

    void codeIsEditedInTheTable_data();
    void codeIsEditedInTheTable();
    void leftCodeEditorChangesNothing();
    void codeThatIsBeingEditedIsSaved_data();
    void codeThatIsBeingEditedIsSaved();
    void deleteWhileACodeIsEdited();
    void tabKeyLeavesTheTable();
    void fileColumnIsNotEdited();

    void unreadableFile_data();
    void unreadableFile();
    void fileThatCannotBeWrittenBack_data();
    void fileThatCannotBeWrittenBack();
    void bytesWritten_data();
    void bytesWritten();

    void previewFollowsTheText();
    void previewSearchesBesideTheFile();
    void previewShowsAPictureBesideTheFile();
    void previewHasTheStyleSheet();

private:
    void open(const QByteArray &descriptions = DESCRIPTIONS, const QString &csv = u"Apps.csv"_s);
    void openFile(int row);
    void typeText(const QString &text) { type(editor, text); }
    QLineEdit *beginEditingCode(int row, const QString &code);
    void editCode(int row, const QString &code, Qt::Key end = Qt::Key_Return);
    void addDescription(const char *button, const QString &language, const QString &file);
    [[nodiscard]] QStringList rows() const;
    [[nodiscard]] QByteArray saved(const QString &csv = u"Apps.csv"_s) const;
    [[nodiscard]] static QByteArray project(const QByteArray &descriptions);
    [[nodiscard]] bool autoSaveIsEnabled() const { return autoSave->isEnabled(); }

    QTableWidget *table = nullptr;
    QPlainTextEdit *editor = nullptr;
    QPushButton *autoSave = nullptr;
    SimpleWebViewer *view = nullptr;
};

void TestMainWindowDescription::init()
{
    begin();
    folder->write(u"main.lua"_s, "m");
    folder->write(u"doc/cz.html"_s, CZ);
    folder->write(u"doc/de.html"_s, DE);
    folder->write(u"doc/beta.html"_s, BETA);
}

void TestMainWindowDescription::cleanup()
{
    end();
}

QByteArray TestMainWindowDescription::project(const QByteArray &descriptions)
{
    return HEADER + FIRST_APP + descriptions + FIRST_APP_END + SECOND_APP;
}

void TestMainWindowDescription::open(const QByteArray &descriptions, const QString &csv)
{
    folder->write(csv, project(descriptions));
    storeProject(folder->path(csv));
    window = openWindow<MainWindow>();
    table = child<QTableWidget>(*window, "tableWidget");
    editor = child<QPlainTextEdit>(*window, "descriptionEdit");
    autoSave = child<QPushButton>(*window, "btnAutosave");
    view = child<SimpleWebViewer>(*window, "descriptionView");
    clickCell(child<QListWidget>(*window, "listApps"), 0);
    showTab(*window, "tabDescription");
}

void TestMainWindowDescription::openFile(int row)
{
    clickCell(table, row, 1);
}

QLineEdit *TestMainWindowDescription::beginEditingCode(int row, const QString &code)
{
    clickCell(table, row);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, table->visualItemRect(table->item(row, 0)).center());
    auto *edit = table->viewport()->findChild<QLineEdit *>();
    if (!edit)
        qFatal("The code cannot be edited");
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    type(edit, code);
    return edit;
}

void TestMainWindowDescription::editCode(int row, const QString &code, Qt::Key end)
{
    const QPointer<QLineEdit> edit = beginEditingCode(row, code);
    QTest::keyClick(edit, end);
    if (!QTest::qWaitFor([&edit] { return edit.isNull(); }))
        qFatal("The code is still being edited");
}

void TestMainWindowDescription::addDescription(const char *button, const QString &language, const QString &file)
{
    answers->enterText(language);
    answers->chooseFile(file);
    click(*window, button);
}

QStringList TestMainWindowDescription::rows() const
{
    QStringList texts;
    for (int row = 0; row < table->rowCount(); ++row)
        texts.append(table->item(row, 0)->text() + u'=' + table->item(row, 1)->text());
    return texts;
}

QByteArray TestMainWindowDescription::saved(const QString &csv) const
{
    clickTool(*window, "actionSave");
    return folder->read(csv);
}

void TestMainWindowDescription::tableShowsTheDescriptions()
{
    open(R"({"it":"i.html","DE":"doc/g.html","cz":"../x.html"})");
    QCOMPARE(rows(), QStringList({u"DE=doc/g.html"_s, u"cz=../x.html"_s, u"it=i.html"_s}));
    QCOMPARE(table->columnCount(), 2);
    QCOMPARE(table->horizontalHeaderItem(0)->text(), u"Language"_s);
    QCOMPARE(table->horizontalHeaderItem(1)->text(), u"File"_s);
    for (int row = 0; row < 3; ++row) {
        QVERIFY(table->item(row, 0)->flags().testFlag(Qt::ItemIsEditable));
        QCOMPARE(table->item(row, 1)->flags(), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    }
    QCOMPARE(window->windowTitle(), UNMARKED);
}

void TestMainWindowDescription::nothingIsOpenAtFirst()
{
    open();
    QCOMPARE(table->currentRow(), -1);
    QVERIFY(!autoSaveIsEnabled());
    QVERIFY(editor->isReadOnly());
    type(editor, u"lost"_s);
    QCOMPARE(editor->toPlainText(), QString());
    QCOMPARE(saved(), project(DESCRIPTIONS));
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescription::selectedFileIsOpened()
{
    open();
    openFile(1);
    QCOMPARE(editor->toPlainText(), u"<p>Über</p>\n"_s);
    QVERIFY(editor->isEnabled());
    QVERIFY(!editor->isReadOnly());
    QVERIFY(!autoSaveIsEnabled());
    QVERIFY(table->item(1, 0)->isSelected());
    QVERIFY(table->item(1, 1)->isSelected());

    QTest::keyClick(table, Qt::Key_Up);
    QCOMPARE(editor->toPlainText(), u"<p>Popis č</p>"_s);
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(window->windowTitle(), UNMARKED);
}

void TestMainWindowDescription::autoSaveWritesTheFile()
{
    open();
    openFile(0);
    typeText(u"Dobrý "_s);
    QVERIFY(autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);

    click(*window, "btnAutosave");
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), QByteArray("Dobrý <p>Popis č</p>"));
    QCOMPARE(editor->toPlainText(), u"Dobrý <p>Popis č</p>"_s);
    QCOMPARE(window->windowTitle(), UNMARKED);

    typeText(u"x"_s);
    QVERIFY(autoSaveIsEnabled());
}

void TestMainWindowDescription::leavingAFile_data()
{
    QTest::addColumn<int>("app");
    QTest::addColumn<Leaving>("way");

    const auto row = [](const char *name, Left left, std::function<void()> how, int app = 0) {
        QTest::newRow(name) << app << Leaving{std::move(how), left};
    };
    const auto press = [this](const char *button) { return [this, button] { click(*window, button); }; };
    const auto openProject = [this](const QString &csv) {
        return [this, csv] {
            answers->chooseFile(folder->path(csv));
            clickTool(*window, "actionOpen_project");
        };
    };
    const auto createProject = [this](const QString &csv) {
        return [this, csv] {
            answers->chooseFile(folder->path(csv));
            clickTool(*window, "actionNew_project");
        };
    };

    row("nothing", Left::Unsaved, [] {});
    row("another row", Left::ForAnother, [this] { openFile(1); });
    row("another row by keyboard", Left::ForAnother, [this] { QTest::keyClick(table, Qt::Key_Down); });
    row("another app", Left::Closed, [this] { clickCell(child<QListWidget>(*window, "listApps"), 1); });
    row("new description", Left::Closed,
        [this] { addDescription("btnNewDescription", u"it"_s, folder->path(u"it.html"_s)); });
    row("new description without a language", Left::Unsaved, [this] {
        answers->cancel();
        click(*window, "btnNewDescription");
    });
    row("existing description", Left::Closed,
        [this] { addDescription("btnOpenDescription", u"it"_s, folder->path(u"doc/beta.html"_s)); });
    row("the same file in another language", Left::Closed,
        [this] { addDescription("btnOpenDescription", u"it"_s, folder->path(u"doc/cz.html"_s)); });
    row("deleted description", Left::Closed, [this] {
        answers->press(QMessageBox::Yes);
        click(*window, "btnDeleteDescription");
    });
    row("edited code", Left::Closed, [this] { editCode(0, u"pl"_s); });
    row("added file", Left::Closed, [this] {
        answers->pickInProject(u"main.lua"_s);
        click(*window, "btnAddFile");
    });
    row("added folder, cancelled", Left::Closed, [this] {
        answers->cancel();
        click(*window, "btnAddFolder");
    });
    row("deleted file", Left::Closed, press("btnDeleteFile"));
    row("Apply", Left::Closed, press("applyButton"));
    row("new app", Left::Closed, press("btnNewApp"));
    row("deleted app", Left::Closed, press("btnDeleteApp"));
    row("Auto-save", Left::Saved, press("btnAutosave"));
    row("Save", Left::Saved, [this] { clickTool(*window, "actionSave"); });
    row("Save and generate JSON", Left::Saved, [this] {
        answers->chooseFile(folder->path(u"Apps.json"_s));
        clickTool(*window, "actionSave_generate_JSON");
    });
    row("Save and generate JSON, cancelled", Left::Saved, [this] {
        answers->cancel();
        clickTool(*window, "actionSave_generate_JSON");
    });
    row("another project", Left::Closed, openProject(u"other/Apps.csv"_s));
    row("the same project again", Left::Closed, openProject(u"Apps.csv"_s));
    row("a shorter project", Left::Closed, openProject(u"other/Apps.csv"_s), 1);
    row("a broken project", Left::Closed, [this] {
        answers->chooseFile(folder->path(u"other/broken.csv"_s));
        answers->press(QMessageBox::Ok);
        clickTool(*window, "actionOpen_project");
    });
    row("another project, cancelled", Left::ClosedWithAutoSave, [this] {
        answers->cancel();
        clickTool(*window, "actionOpen_project");
    });
    row("new project", Left::Closed, createProject(u"other/New.csv"_s));
    row("new project, cancelled", Left::Unsaved, [this] {
        answers->cancel();
        clickTool(*window, "actionNew_project");
    });
}

void TestMainWindowDescription::leavingAFile()
{
    QFETCH(const int, app);
    QFETCH(const Leaving, way);
    const bool unsaved = way.left == Left::Unsaved;
    const bool stillOpen = unsaved || way.left == Left::Saved;

    folder->write(u"other/Apps.csv"_s, HEADER + SECOND_APP);
    folder->write(u"other/broken.csv"_s, "broken\n");
    folder->write(u"other/doc/beta.html"_s, BETA);
    open();
    clickCell(child<QListWidget>(*window, "listApps"), app);
    openFile(0);
    typeText(u"typed"_s);

    way.how();
    QVERIFY(answers->allAnswered());
    const QString file = app == 0 ? u"doc/cz.html"_s : u"doc/beta.html"_s;
    const QByteArray before = app == 0 ? CZ : BETA;
    QCOMPARE(folder->read(file), unsaved ? before : "typed" + before);
    QCOMPARE(editor->toPlainText().startsWith(u"typed"_s), stillOpen);
    QCOMPARE(autoSaveIsEnabled(), unsaved || way.left == Left::ClosedWithAutoSave);
    QCOMPARE(editor->isReadOnly(), way.left == Left::Closed || way.left == Left::ClosedWithAutoSave);

    clickTool(*window, "actionSave");
    QCOMPARE(folder->read(u"doc/cz.html"_s), app == 0 ? "typed" + CZ : CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
    QCOMPARE(folder->read(u"doc/beta.html"_s), app == 0 ? BETA : "typed" + BETA);
    QCOMPARE(folder->read(u"other/doc/beta.html"_s), BETA);
}

void TestMainWindowDescription::closingTheWindow_data()
{
    QTest::addColumn<bool>("modified");
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::addColumn<bool>("written");
    QTest::newRow("unmodified") << false << QMessageBox::NoButton << false;
    QTest::newRow("modified, No") << true << QMessageBox::No << false;
    QTest::newRow("modified, Cancel") << true << QMessageBox::Cancel << false;
    QTest::newRow("modified, Yes") << true << QMessageBox::Yes << true;
}

void TestMainWindowDescription::closingTheWindow()
{
    QFETCH(const bool, modified);
    QFETCH(const QMessageBox::StandardButton, answer);
    QFETCH(const bool, written);
    open();
    if (modified) {
        click(*window, "btnDeleteFile");
        answers->press(answer);
    }
    openFile(0);
    typeText(u"typed"_s);
    QCOMPARE(window->close(), answer != QMessageBox::Cancel);
    QVERIFY(answers->allAnswered());
    window.reset();
    QCOMPARE(folder->read(u"doc/cz.html"_s), written ? "typed" + CZ : CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescription::otherColumnOfTheSameRowDoesNothing()
{
    open();
    clickCell(table, 0, 1);
    typeText(u"typed"_s);
    folder->write(u"doc/cz.html"_s, "changed meanwhile");
    clickCell(table, 0, 0);
    QCOMPARE(table->currentColumn(), 0);
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QCOMPARE(folder->read(u"doc/cz.html"_s), QByteArray("changed meanwhile"));
    QVERIFY(autoSaveIsEnabled());

    click(*window, "btnAutosave");
    folder->write(u"doc/cz.html"_s, "changed once more");
    QTest::keyClick(table, Qt::Key_Right);
    QCOMPARE(table->currentColumn(), 1);
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QCOMPARE(folder->read(u"doc/cz.html"_s), QByteArray("changed once more"));
    QVERIFY(!autoSaveIsEnabled());
}

void TestMainWindowDescription::losingTheSelectionClosesTheFile()
{
    open();
    openFile(0);
    typeText(u"typed"_s);
    table->setCurrentCell(-1, -1);
    QCOMPARE(folder->read(u"doc/cz.html"_s), "typed" + CZ);
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(autoSaveIsEnabled());
    QVERIFY(editor->isReadOnly());

    folder->write(u"doc/cz.html"_s, "changed meanwhile");
    click(*window, "btnAutosave");
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), QByteArray("changed meanwhile"));
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescription::newDescription_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("descriptions");
    QTest::newRow("offered language") << u"it"_s << u"it.html"_s
                                      << QByteArray(R"({"cz":"doc/cz.html","de":"doc/de.html","it":"it.html"})");
    QTest::newRow("capital letters") << u"EN"_s << u"doc/sub/en.html"_s
                                     << QByteArray(R"({"cz":"doc/cz.html","de":"doc/de.html","en":"doc/sub/en.html"})");
    QTest::newRow("language of one's own")
        << u"Pt-BR"_s << u"Ž popis"_s << QByteArray(R"({"cz":"doc/cz.html","de":"doc/de.html","pt-br":"Ž popis"})");
}

void TestMainWindowDescription::newDescription()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, file);
    QFETCH(const QByteArray, descriptions);
    folder->makeFolder(u"doc/sub"_s);
    open();
    openFile(0);
    addDescription("btnNewDescription", typed, folder->path(file));

    QCOMPARE(answers->shown.size(), 2);
    const ShownDialog &language = answers->shown.at(0);
    QCOMPARE(language.kind, u"QInputDialog"_s);
    QCOMPARE(language.title, u"Language selection"_s);
    QCOMPARE(language.text, u"Select language code:"_s);
    QCOMPARE(language.choices, LANGUAGE_CHOICES);
    QCOMPARE(language.value, u"cz"_s);
    const ShownDialog &files = answers->shown.at(1);
    QCOMPARE(files.kind, u"QFileDialog"_s);
    QCOMPARE(files.title, u"New description file"_s);
    QCOMPARE(files.startPath, folder->path() + u'/');
    QCOMPARE(files.filters, FILE_FILTERS);

    QCOMPARE(NEW_DESCRIPTION.size(), qsizetype(247));
    QCOMPARE(folder->read(file), NEW_DESCRIPTION);
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
    QCOMPARE(table->rowCount(), 3);
    QCOMPARE(table->currentRow(), -1);
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(saved(), project(descriptions));
    QCOMPARE(folder->read(file), NEW_DESCRIPTION);

    openFile(2);
    QCOMPARE(editor->toPlainText(), QString::fromLatin1(NEW_DESCRIPTION));
    QVERIFY(!autoSaveIsEnabled());
}

void TestMainWindowDescription::newDescriptionOverAnExistingFile()
{
    folder->write(u"old.html"_s, "A longer text than the one that takes its place. " + QByteArray(1000, 'x'));
    open();
    answers->enterText(u"it"_s);
    answers->chooseFile(folder->path(u"old.html"_s));
    answers->press(QMessageBox::Yes);
    click(*window, "btnNewDescription");
    QCOMPARE(folder->read(u"old.html"_s), NEW_DESCRIPTION);
    QCOMPARE(rows().constLast(), u"it=old.html"_s);
}

void TestMainWindowDescription::newDescriptionOverTheOpenFile()
{
    open();
    openFile(0);
    typeText(u"typed"_s);
    answers->enterText(u"it"_s);
    answers->chooseFile(folder->path(u"doc/cz.html"_s));
    answers->press(QMessageBox::Yes);
    click(*window, "btnNewDescription");
    QCOMPARE(folder->read(u"doc/cz.html"_s), NEW_DESCRIPTION);
    QCOMPARE(saved(), project(R"({"cz":"doc/cz.html","de":"doc/de.html","it":"doc/cz.html"})"));
    QCOMPARE(folder->read(u"doc/cz.html"_s), NEW_DESCRIPTION);
}

void TestMainWindowDescription::openExisting()
{
    folder->write(u"sub/é.html"_s, "\xff\r\n");
    open();
    addDescription("btnOpenDescription", u"FR"_s, folder->path(u"sub/é.html"_s));

    QCOMPARE(answers->shown.size(), 2);
    const ShownDialog &language = answers->shown.at(0);
    QCOMPARE(language.kind, u"QInputDialog"_s);
    QCOMPARE(language.title, u"Language selection"_s);
    QCOMPARE(language.text, u"Select language code:"_s);
    QCOMPARE(language.choices, LANGUAGE_CHOICES);
    QCOMPARE(language.value, u"cz"_s);
    const ShownDialog &files = answers->shown.at(1);
    QCOMPARE(files.kind, u"QFileDialog"_s);
    QCOMPARE(files.title, u"Open description file"_s);
    QCOMPARE(files.startPath, folder->path() + u'/');
    QCOMPARE(files.filters, FILE_FILTERS);

    QCOMPARE(rows(), QStringList({u"cz=doc/cz.html"_s, u"de=doc/de.html"_s, u"fr=sub/é.html"_s}));
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(saved(), project(R"({"cz":"doc/cz.html","de":"doc/de.html","fr":"sub/é.html"})"));
    QCOMPARE(folder->read(u"sub/é.html"_s), QByteArray("\xff\r\n"));
}

void TestMainWindowDescription::languageIsRefused_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("message");

    const QString exists = u"Cannot insert new description file. Language \"de\" already exists."_s;
    for (const char *button : {"btnNewDescription", "btnOpenDescription"}) {
        const QString name = QLatin1String(button);
        QTest::addRow("%s, cancelled", button) << name << QString() << QString();
        QTest::addRow("%s, empty", button) << name << u""_s << QString();
        QTest::addRow("%s, exists", button) << name << u"de"_s << exists;
        QTest::addRow("%s, exists in small letters", button) << name << u"DE"_s << exists;
    }
}

void TestMainWindowDescription::languageIsRefused()
{
    QFETCH(const QString, button);
    QFETCH(const QString, typed);
    QFETCH(const QString, message);
    open();
    openFile(0);
    typeText(u"typed"_s);
    if (typed.isNull())
        answers->cancel();
    else
        answers->enterText(typed);
    if (!message.isEmpty())
        answers->press(QMessageBox::Ok);
    click(*window, button.toLatin1().constData());

    QCOMPARE(answers->shown.size(), message.isEmpty() ? 1 : 2);
    if (!message.isEmpty()) {
        const ShownDialog &box = answers->shown.at(1);
        QCOMPARE(box.kind, u"QMessageBox"_s);
        QCOMPARE(box.icon, QMessageBox::Critical);
        QCOMPARE(box.title, u"Error"_s);
        QCOMPARE(box.text, message);
        QCOMPARE(box.buttons, QStringList(u"OK"_s));
    }
    QCOMPARE(rows(), QStringList({u"cz=doc/cz.html"_s, u"de=doc/de.html"_s}));
    QCOMPARE(window->windowTitle(), UNMARKED);
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QVERIFY(autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
}

void TestMainWindowDescription::fileDialogIsCancelled_data()
{
    QTest::addColumn<QString>("button");
    QTest::newRow("New") << u"btnNewDescription"_s;
    QTest::newRow("Open existing") << u"btnOpenDescription"_s;
}

void TestMainWindowDescription::fileDialogIsCancelled()
{
    QFETCH(const QString, button);
    open();
    openFile(0);
    typeText(u"typed"_s);
    answers->enterText(u"it"_s);
    answers->cancel();
    click(*window, button.toLatin1().constData());
    QCOMPARE(answers->shown.size(), 2);
    QCOMPARE(rows(), QStringList({u"cz=doc/cz.html"_s, u"de=doc/de.html"_s}));
    QCOMPARE(window->windowTitle(), UNMARKED);
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
}

void TestMainWindowDescription::fileOutsideIsRefused_data()
{
    fileDialogIsCancelled_data();
}

void TestMainWindowDescription::fileOutsideIsRefused()
{
    QFETCH(const QString, button);
    const Folder outside;
    const bool creates = button == "btnNewDescription"_L1;
    if (!creates)
        outside.write(u"x.html"_s, "x");
    open();
    openFile(0);
    typeText(u"typed"_s);
    answers->enterText(u"it"_s);
    answers->chooseFile(outside.path(u"x.html"_s));
    answers->press(QMessageBox::Ok);
    click(*window, button.toLatin1().constData());

    QCOMPARE(answers->shown.size(), 3);
    const ShownDialog &box = answers->shown.at(2);
    QCOMPARE(box.kind, u"QMessageBox"_s);
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.title, u"Error"_s);
    QCOMPARE(box.text, u"The file must be inside the project directory or subdirectory."_s);
    QCOMPARE(box.buttons, QStringList(u"OK"_s));
    QCOMPARE(outside.exists(u"x.html"_s), !creates);
    QCOMPARE(rows(), QStringList({u"cz=doc/cz.html"_s, u"de=doc/de.html"_s}));
    QCOMPARE(window->windowTitle(), UNMARKED);
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
}

void TestMainWindowDescription::siblingWhoseNameBeginsAlikeIsAccepted_data()
{
    fileDialogIsCancelled_data();
}

void TestMainWindowDescription::siblingWhoseNameBeginsAlikeIsAccepted()
{
    QFETCH(const QString, button);
    const bool creates = button == "btnNewDescription"_L1;
    folder->makeFolder(u"proj2"_s);
    if (!creates)
        folder->write(u"proj2/x.html"_s, "x");
    open(DESCRIPTIONS, u"proj/Apps.csv"_s);
    addDescription(button.toLatin1().constData(), u"it"_s, folder->path(u"proj2/x.html"_s));
    QCOMPARE(saved(u"proj/Apps.csv"_s), project(R"({"cz":"doc/cz.html","de":"doc/de.html","it":"../proj2/x.html"})"));
    QCOMPARE(folder->read(u"proj2/x.html"_s), creates ? NEW_DESCRIPTION : QByteArray("x"));

    openFile(2);
    type(editor, u"typed"_s);
    click(*window, "btnAutosave");
    QCOMPARE(folder->read(u"proj2/x.html"_s), "typed" + (creates ? NEW_DESCRIPTION : QByteArray("x")));
}

void TestMainWindowDescription::projectBehindALinkRefusesItsFiles_data()
{
    fileDialogIsCancelled_data();
}

void TestMainWindowDescription::projectBehindALinkRefusesItsFiles()
{
    QFETCH(const QString, button);
    folder->makeFolder(u"real"_s);
    folder->link(folder->path(u"real"_s), u"link"_s);
    const bool creates = button == "btnNewDescription"_L1;
    if (!creates)
        folder->write(u"real/x.html"_s, "x");
    open(DESCRIPTIONS, u"link/Apps.csv"_s);

    answers->enterText(u"it"_s);
    answers->chooseFile(folder->path(u"link/x.html"_s));
    answers->press(QMessageBox::Ok);
    click(*window, button.toLatin1().constData());
    QCOMPARE(answers->shown.size(), 3);
    QCOMPARE(answers->shown.at(1).startPath, folder->path(u"real/"_s));
    QCOMPARE(answers->shown.at(2).text, u"The file must be inside the project directory or subdirectory."_s);
    QCOMPARE(folder->exists(u"real/x.html"_s), !creates);
    QCOMPARE(table->rowCount(), 2);

    addDescription(button.toLatin1().constData(), u"it"_s, folder->path(u"real/x.html"_s));
    QCOMPARE(rows().constLast(), u"it=x.html"_s);
}

void TestMainWindowDescription::fileThatCannotBeCreatedIsStored_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("missing folder") << u"none/it.html"_s;
    QTest::newRow("read-only folder") << u"closed/it.html"_s;
}

void TestMainWindowDescription::fileThatCannotBeCreatedIsStored()
{
    QFETCH(const QString, file);
    folder->makeFolder(u"closed"_s);
    constexpr auto READ_ONLY = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther;
    QVERIFY(QFile::setPermissions(folder->path(u"closed"_s), READ_ONLY));
    open();
    {
        const OrdinaryUser user;
        addDescription("btnNewDescription", u"it"_s, folder->path(file));
    }
    QVERIFY(QFile::setPermissions(folder->path(u"closed"_s), READ_ONLY | QFile::WriteOwner));
    QCOMPARE(answers->shown.size(), 2);
    QVERIFY(!folder->exists(file));
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(saved(), project(R"({"cz":"doc/cz.html","de":"doc/de.html","it":")" + file.toUtf8() + R"("})"));
}

void TestMainWindowDescription::deleteAsksAndKeepsTheFile_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("escape");
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("first, Yes") << 0 << false << QByteArray(R"({"de":"doc/de.html"})");
    QTest::newRow("last, Yes") << 1 << false << QByteArray(R"({"cz":"doc/cz.html"})");
    QTest::newRow("first, Escape") << 0 << true << QByteArray(R"({"de":"doc/de.html"})");
}

void TestMainWindowDescription::deleteAsksAndKeepsTheFile()
{
    QFETCH(const int, row);
    QFETCH(const bool, escape);
    QFETCH(const QByteArray, left);
    open();
    openFile(row);
    if (escape)
        answers->pressKey(Qt::Key_Escape);
    else
        answers->press(QMessageBox::Yes);
    click(*window, "btnDeleteDescription");

    QCOMPARE(answers->shown.size(), 1);
    const ShownDialog &box = answers->shown.constFirst();
    QCOMPARE(box.kind, u"QMessageBox"_s);
    QCOMPARE(box.icon, QMessageBox::Question);
    QCOMPARE(box.title, u"Delete app description"_s);
    QCOMPARE(box.text, u"Delete from app configuration?<br>The file will be preserved."_s);
    QCOMPARE(box.buttons, QStringList(u"Yes"_s));
    QCOMPARE(table->rowCount(), 1);
    QCOMPARE(table->currentRow(), -1);
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(saved(), project(left));
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescription::deleteWithoutARowDoesNothing()
{
    open();
    click(*window, "btnDeleteDescription");
    QCOMPARE(answers->shown.size(), 0);
    QCOMPARE(table->rowCount(), 2);
    QCOMPARE(window->windowTitle(), UNMARKED);
    QCOMPARE(saved(), project(DESCRIPTIONS));
}

void TestMainWindowDescription::deleteLeavesTheNeighbourAlone_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("neighbour");
    for (const char *neighbour : {"missing", "unreadable", "not UTF-8", "Windows lines"}) {
        QTest::addRow("%s below", neighbour) << 0 << QString::fromLatin1(neighbour);
        QTest::addRow("%s above", neighbour) << 1 << QString::fromLatin1(neighbour);
    }
}

void TestMainWindowDescription::deleteLeavesTheNeighbourAlone()
{
    QFETCH(const int, row);
    QFETCH(const QString, neighbour);
    const QString own = row == 0 ? u"doc/cz.html"_s : u"doc/de.html"_s;
    const QString other = row == 0 ? u"doc/de.html"_s : u"doc/cz.html"_s;
    const QByteArray bytes = neighbour == "Windows lines"_L1 ? "a\r\nb\r\n" : "\xff\xfe";
    folder->write(other, bytes);
    if (neighbour == "missing"_L1)
        QVERIFY(QFile::remove(folder->path(other)));
    if (neighbour == "unreadable"_L1)
        QVERIFY(QFile::setPermissions(folder->path(other), {}));
    QVERIFY(QFile::setPermissions(folder->path(own), QFile::Permissions(0x6666)));
    QVERIFY(QFile::setPermissions(folder->path(u"doc"_s), QFile::Permissions(0x7777)));

    open();
    {
        const OrdinaryUser user;
        openFile(row);
        typeText(u"typed"_s);
        answers->press(QMessageBox::Yes);
        click(*window, "btnDeleteDescription");
    }
    QCOMPARE(answers->shown.size(), 1);
    QCOMPARE(folder->read(own), "typed" + (row == 0 ? CZ : DE));
    QCOMPARE(editor->toPlainText(), QString());
    if (neighbour == "unreadable"_L1)
        QVERIFY(QFile::setPermissions(folder->path(other), QFile::ReadOwner | QFile::WriteOwner));
    QCOMPARE(folder->read(other), neighbour == "missing"_L1 ? QByteArray() : bytes);
    QCOMPARE(folder->exists(other), neighbour != "missing"_L1);
    QCOMPARE(saved(), project(row == 0 ? R"({"de":"doc/de.html"})" : R"({"cz":"doc/cz.html"})"));
}

void TestMainWindowDescription::codeIsEditedInTheTable_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QByteArray>("descriptions");
    QTest::newRow("sorted again") << 0 << u"it"_s << QByteArray(R"({"de":"doc/de.html","it":"doc/cz.html"})");
    QTest::newRow("as typed") << 1 << u"DE-at"_s << QByteArray(R"({"DE-at":"doc/de.html","cz":"doc/cz.html"})");
    QTest::newRow("empty") << 1 << u""_s << QByteArray(R"({"":"doc/de.html","cz":"doc/cz.html"})");
    QTest::newRow("lower row takes the code of the upper") << 1 << u"cz"_s << QByteArray(R"({"cz":"doc/de.html"})");
    QTest::newRow("upper row takes the code of the lower") << 0 << u"de"_s << QByteArray(R"({"de":"doc/de.html"})");
}

void TestMainWindowDescription::codeIsEditedInTheTable()
{
    QFETCH(const int, row);
    QFETCH(const QString, code);
    QFETCH(const QByteArray, descriptions);
    open();
    editCode(row, code);
    QCOMPARE(table->currentRow(), -1);
    QCOMPARE(editor->toPlainText(), QString());
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(saved(), project(descriptions));
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescription::leftCodeEditorChangesNothing()
{
    open();
    editCode(1, u"it"_s, Qt::Key_Escape);
    QCOMPARE(rows(), QStringList({u"cz=doc/cz.html"_s, u"de=doc/de.html"_s}));
    QCOMPARE(table->currentRow(), 1);
    QCOMPARE(window->windowTitle(), UNMARKED);
}

void TestMainWindowDescription::codeThatIsBeingEditedIsSaved_data()
{
    QTest::addColumn<bool>("closes");
    QTest::newRow("Save") << false;
    QTest::newRow("closing the window") << true;
}

void TestMainWindowDescription::codeThatIsBeingEditedIsSaved()
{
    QFETCH(const bool, closes);
    open();
    beginEditingCode(0, u"it"_s);
    if (closes) {
        answers->press(QMessageBox::Yes);
        QVERIFY(window->close());
        QCOMPARE(answers->shown.constFirst().title, u"Save data"_s);
    } else {
        QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
    }
    QCOMPARE(folder->read(u"Apps.csv"_s), project(R"({"de":"doc/de.html","it":"doc/cz.html"})"));
    QCOMPARE(window->windowTitle(), UNMARKED);
}

// The question takes the focus from the editor of the code, and the rows are sorted anew under it.
void TestMainWindowDescription::deleteWhileACodeIsEdited()
{
    open();
    beginEditingCode(0, u"it"_s);
    answers->press(QMessageBox::Yes);
    child<QPushButton>(*window, "btnDeleteDescription")->click();
    QCOMPARE(rows(), QStringList({u"de=doc/de.html"_s, u"it=doc/cz.html"_s}));
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
}

void TestMainWindowDescription::tabKeyLeavesTheTable()
{
    open();
    openFile(0);
    table->setFocus();
    QTest::keyClick(table, Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), child<QWidget>(*window, "btnNewDescription"));
    QCOMPARE(table->currentRow(), 0);

    // In the source it is a character, so only the other direction leads on.
    editor->setFocus();
    QTest::keyClick(editor, Qt::Key_Tab);
    QVERIFY(editor->hasFocus());
    QTest::keyClick(editor, Qt::Key_Backtab, Qt::ShiftModifier);
    QVERIFY(!editor->hasFocus());
}

void TestMainWindowDescription::fileColumnIsNotEdited()
{
    open();
    openFile(0);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, {}, table->visualItemRect(table->item(0, 1)).center());
    QTest::keyClick(table, Qt::Key_F2);
    QVERIFY(!table->viewport()->findChild<QLineEdit *>());
}

void TestMainWindowDescription::unreadableFile_data()
{
    QTest::addColumn<QString>("fault");
    QTest::newRow("missing") << u"missing"_s;
    QTest::newRow("folder in its place") << u"folder"_s;
    QTest::newRow("no permission") << u"permission"_s;
#ifdef Q_OS_LINUX
    QTest::newRow("read error") << u"read"_s;
#endif
}

void TestMainWindowDescription::unreadableFile()
{
    QFETCH(const QString, fault);
    const QString path = folder->path(u"doc/de.html"_s);
    if (fault == "permission"_L1)
        QVERIFY(QFile::setPermissions(path, {}));
    else
        QVERIFY(QFile::remove(path));
    if (fault == "folder"_L1)
        folder->makeFolder(u"doc/de.html"_s);
    // A regular file whose first byte is never there. Another user could not even open it.
    if (fault == "read"_L1)
        folder->link(u"/proc/self/mem"_s, u"doc/de.html"_s);
    open();
    openFile(0);
    typeText(u"typed"_s);
    answers->press(QMessageBox::Ok);
    {
        QVERIFY(QFile::setPermissions(folder->path(u"doc/cz.html"_s), QFile::Permissions(0x6666)));
        const auto user = fault == "read"_L1 ? nullptr : std::make_unique<OrdinaryUser>();
        openFile(1);
    }

    QCOMPARE(answers->shown.size(), 1);
    const ShownDialog &box = answers->shown.constFirst();
    QCOMPARE(box.kind, u"QMessageBox"_s);
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.title, u"Error"_s);
    QCOMPARE(box.text, u"Error loading <b>%1</b>"_s.arg(path));
    QCOMPARE(box.buttons, QStringList(u"OK"_s));
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(!editor->isEnabled());
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), "typed" + CZ);
    QCOMPARE(window->windowTitle(), UNMARKED);

    openFile(0);
    QVERIFY(editor->isEnabled());
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QCOMPARE(folder->exists(u"doc/de.html"_s), fault != "missing"_L1);
    QCOMPARE(QFileInfo(path).isSymLink(), fault == "read"_L1);
}

void TestMainWindowDescription::fileThatCannotBeWrittenBack_data()
{
    QTest::addColumn<QString>("fault");
    QTest::newRow("folder is gone") << u"gone"_s;
    QTest::newRow("folder in its place") << u"folder"_s;
    QTest::newRow("read-only") << u"permission"_s;
}

void TestMainWindowDescription::fileThatCannotBeWrittenBack()
{
    QFETCH(const QString, fault);
    open();
    openFile(0);
    typeText(u"typed"_s);
    QVERIFY(autoSaveIsEnabled());
    const QString path = folder->path(u"doc/cz.html"_s);
    if (fault == "gone"_L1) {
        QVERIFY(QDir(folder->path(u"doc"_s)).removeRecursively());
    } else if (fault == "folder"_L1) {
        QVERIFY(QFile::remove(path));
        folder->makeFolder(u"doc/cz.html"_s);
    } else {
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadOther));
    }

    {
        const OrdinaryUser user;
        click(*window, "btnAutosave");
    }
    QCOMPARE(answers->shown.size(), 0);
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QCOMPARE(folder->exists(u"doc"_s), fault != "gone"_L1);
    if (fault == "permission"_L1)
        QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
}

void TestMainWindowDescription::bytesWritten_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("no-break space") << QByteArray("a\xC2\xA0"
                                                  "b")
                                    << QString() << QByteArray("a b");
    QTest::newRow("typed no-break space") << QByteArray("b") << u"a\u00a0"_s << QByteArray("a b");
    QTest::newRow("entity") << QByteArray("a&nbsp;b") << QString() << QByteArray("a&nbsp;b");
    QTest::newRow("line feeds") << QByteArray("a\nb\n\n") << u"x\n"_s << QByteArray("x\na\nb\n\n");
    QTest::newRow("no last line feed") << QByteArray("a\nb") << QString() << QByteArray("a\nb");
    QTest::newRow("carriage returns") << QByteArray("a\r\nb\r\n") << QString() << QByteArray("a\nb\n");
    QTest::newRow("byte-order mark") << QByteArray("\xEF\xBB\xBF<p>") << u"x"_s << QByteArray("x<p>");
    QTest::newRow("letters") << QByteArray("") << u"žluťoučký ß œ"_s
                             << QByteArray("\xC5\xBElu\xC5\xA5ou\xC4\x8Dk\xC3\xBD \xC3\x9F \xC5\x93");
    QTest::newRow("beyond sixteen bits") << QByteArray("\xF0\x9F\x9A\x81") << u"x"_s << QByteArray("x\xF0\x9F\x9A\x81");
    QTest::newRow("not UTF-8") << QByteArray("a\xFF") << QString() << QByteArray("a\xEF\xBF\xBD");
    QTest::newRow("empty") << QByteArray("") << QString() << QByteArray("");
}

void TestMainWindowDescription::bytesWritten()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, typed);
    QFETCH(const QByteArray, written);
    folder->write(u"doc/cz.html"_s, content);
    open();
    openFile(0);
    typeText(typed);
    openFile(1);
    QCOMPARE(folder->read(u"doc/cz.html"_s), written);
    QCOMPARE(folder->read(u"doc/de.html"_s), DE);
}

void TestMainWindowDescription::previewFollowsTheText()
{
    open();
    openFile(0);
    QCOMPARE(view->toPlainText(), u"Popis č"_s);
    typeText(u"<h1>New</h1>"_s);
    QCOMPARE(view->toPlainText(), u"New\nPopis č"_s);
    openFile(1);
    QCOMPARE(view->toPlainText().trimmed(), u"Über"_s);
    clickCell(child<QListWidget>(*window, "listApps"), 1);
    QCOMPARE(view->toPlainText(), QString());
}

void TestMainWindowDescription::previewSearchesBesideTheFile()
{
    folder->write(u"top.html"_s, "<p>Top</p>");
    open(R"({"cz":"doc/cz.html","de":"top.html"})");
    openFile(0);
    QCOMPARE(view->searchPaths(), QStringList(u"file:///"_s + folder->path(u"doc"_s)));
    openFile(1);
    QCOMPARE(view->searchPaths(), QStringList(u"file:///"_s + folder->path()));
    QVERIFY(view->searchPaths().constFirst().startsWith(u"file:////"_s));
    table->setCurrentCell(-1, -1);
    QCOMPARE(view->searchPaths(), QStringList(u"file:///"_s));
}

void TestMainWindowDescription::previewShowsAPictureBesideTheFile()
{
    QImage picture(40, 40, QImage::Format_ARGB32);
    picture.fill(PICTURE_COLOUR);
    QVERIFY(picture.save(folder->path(u"doc/picture.png"_s)));
    folder->write(u"doc/cz.html"_s, "<p>Look: <img src=\"picture.png\"></p>");
    open();
    openFile(1);
    QVERIFY(!showsPicture(view->viewport()));
    openFile(0);
    QTRY_VERIFY(showsPicture(view->viewport()));
    typeText(u"<p>More</p>"_s);
    QTRY_VERIFY(showsPicture(view->viewport()));
}

void TestMainWindowDescription::previewHasTheStyleSheet()
{
    QFile file(QStringLiteral(CATALIST_SOURCE_DIR "/resources/storefrontHtml.css"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString styleSheet = QString::fromUtf8(file.readAll());
    QVERIFY(!styleSheet.isEmpty());
    open();
    QCOMPARE(view->document()->defaultStyleSheet(), styleSheet);
    openFile(0);
    typeText(u"x"_s);
    QCOMPARE(view->document()->defaultStyleSheet(), styleSheet);
}

CATALIST_TEST_MAIN(TestMainWindowDescription)
#include "tst_mainwindow_description.moc"
