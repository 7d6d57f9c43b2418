#include "descriptiontest.h"
#include "testrunner.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

const QStringList LANGUAGE_CHOICES{u"cz"_s, u"de"_s, u"en"_s, u"fr"_s, u"it"_s};
const QStringList FILE_FILTERS{u"HTML files (*.html)"_s, u"All files (*.*)"_s};

} // namespace

class TestMainWindowDescriptionAdding : public DescriptionTest
{
    Q_OBJECT

private slots:
    void newDescription_data();
    void newDescription();
    void newDescriptionOverAnExistingFile();
    void newDescriptionOverTheOpenFile();
    void openExisting();

    void languageIsRefused_data();
    void languageIsRefused();
    void languageThatLooksLikeHtml();
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

private:
    void compareQuestions(const QString &fileDialogTitle);
    void compareUnchanged();
};

// Which language, and then which file.
void TestMainWindowDescriptionAdding::compareQuestions(const QString &fileDialogTitle)
{
    QCOMPARE(answers->shown.size(), 2);
    const ShownDialog &language = answers->shown.at(0);
    QCOMPARE(language.kind, u"QInputDialog"_s);
    QCOMPARE(language.title, u"Language selection"_s);
    QCOMPARE(language.text, u"Select language code:"_s);
    QCOMPARE(language.choices, LANGUAGE_CHOICES);
    QCOMPARE(language.value, u"cz"_s);
    const ShownDialog &files = answers->shown.at(1);
    QCOMPARE(files.kind, u"QFileDialog"_s);
    QCOMPARE(files.title, fileDialogTitle);
    QCOMPARE(files.startPath, folder->path() + u'/');
    QCOMPARE(files.filters, FILE_FILTERS);
}

// No app has another description, and what was typed into the open one is still there and not yet saved.
void TestMainWindowDescriptionAdding::compareUnchanged()
{
    QCOMPARE(rows(), QStringList({u"cz=doc/cz.html"_s, u"de=doc/de.html"_s}));
    QCOMPARE(window->windowTitle(), UNMARKED);
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QVERIFY(autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
}

void TestMainWindowDescriptionAdding::newDescription_data()
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

void TestMainWindowDescriptionAdding::newDescription()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, file);
    QFETCH(const QByteArray, descriptions);
    folder->makeFolder(u"doc/sub"_s);
    open();
    openFile(0);
    addDescription("btnNewDescription", typed, folder->path(file));

    compareQuestions(u"New description file"_s);

    QCOMPARE(DESCRIPTION_TEMPLATE.size(), qsizetype(247));
    QCOMPARE(folder->read(file), DESCRIPTION_TEMPLATE);
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
    QCOMPARE(table->rowCount(), 3);
    QCOMPARE(table->currentRow(), -1);
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(saved(), project(descriptions));
    QCOMPARE(folder->read(file), DESCRIPTION_TEMPLATE);

    openFile(2);
    QCOMPARE(editor->toPlainText(), QString::fromLatin1(DESCRIPTION_TEMPLATE));
    QVERIFY(!autoSaveIsEnabled());
}

void TestMainWindowDescriptionAdding::newDescriptionOverAnExistingFile()
{
    folder->write(u"old.html"_s, "A longer text than the one that takes its place. " + QByteArray(1000, 'x'));
    open();
    answers->enterText(u"it"_s);
    answers->chooseFile(folder->path(u"old.html"_s));
    answers->press(QMessageBox::Yes);
    click(*window, "btnNewDescription");
    QCOMPARE(folder->read(u"old.html"_s), DESCRIPTION_TEMPLATE);
    QCOMPARE(rows().constLast(), u"it=old.html"_s);
}

void TestMainWindowDescriptionAdding::newDescriptionOverTheOpenFile()
{
    open();
    openFile(0);
    typeText(u"typed"_s);
    answers->enterText(u"it"_s);
    answers->chooseFile(folder->path(u"doc/cz.html"_s));
    answers->press(QMessageBox::Yes);
    click(*window, "btnNewDescription");
    QCOMPARE(folder->read(u"doc/cz.html"_s), DESCRIPTION_TEMPLATE);
    QCOMPARE(saved(), project(R"({"cz":"doc/cz.html","de":"doc/de.html","it":"doc/cz.html"})"));
    QCOMPARE(folder->read(u"doc/cz.html"_s), DESCRIPTION_TEMPLATE);
}

void TestMainWindowDescriptionAdding::openExisting()
{
    folder->write(u"sub/é.html"_s, "\xff\r\n");
    open();
    addDescription("btnOpenDescription", u"FR"_s, folder->path(u"sub/é.html"_s));

    compareQuestions(u"Open description file"_s);

    QCOMPARE(rows(), QStringList({u"cz=doc/cz.html"_s, u"de=doc/de.html"_s, u"fr=sub/é.html"_s}));
    QCOMPARE(editor->toPlainText(), QString());
    QVERIFY(!autoSaveIsEnabled());
    QCOMPARE(window->windowTitle(), MARKED);
    QCOMPARE(saved(), project(R"({"cz":"doc/cz.html","de":"doc/de.html","fr":"sub/é.html"})"));
    QCOMPARE(folder->read(u"sub/é.html"_s), QByteArray("\xff\r\n"));
}

void TestMainWindowDescriptionAdding::languageIsRefused_data()
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

void TestMainWindowDescriptionAdding::languageIsRefused()
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
    compareUnchanged();
}

void TestMainWindowDescriptionAdding::languageThatLooksLikeHtml()
{
    open(R"({"<img src='x'>":"doc/cz.html"})");
    answers->enterText(u"<img src='x'>"_s);
    answers->answer([](QWidget *dialog) {
        const auto *box = qobject_cast<QMessageBox *>(dialog);
        const bool isShownAsTyped = box && box->textFormat() == Qt::PlainText
                                    && box->text().contains(u"Language \"<img src='x'>\" already exists."_s);
        QTest::keyClick(dialog, isShownAsTyped ? Qt::Key_Return : Qt::Key_unknown);
    });
    click(*window, "btnNewDescription");
    QVERIFY(answers->allAnswered());
}

void TestMainWindowDescriptionAdding::fileDialogIsCancelled_data()
{
    QTest::addColumn<QString>("button");
    QTest::newRow("New") << u"btnNewDescription"_s;
    QTest::newRow("Open existing") << u"btnOpenDescription"_s;
}

void TestMainWindowDescriptionAdding::fileDialogIsCancelled()
{
    QFETCH(const QString, button);
    open();
    openFile(0);
    typeText(u"typed"_s);
    answers->enterText(u"it"_s);
    answers->cancel();
    click(*window, button.toLatin1().constData());
    QCOMPARE(answers->shown.size(), 2);
    compareUnchanged();
}

void TestMainWindowDescriptionAdding::fileOutsideIsRefused_data()
{
    fileDialogIsCancelled_data();
}

void TestMainWindowDescriptionAdding::fileOutsideIsRefused()
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
    compareUnchanged();
}

void TestMainWindowDescriptionAdding::siblingWhoseNameBeginsAlikeIsAccepted_data()
{
    fileDialogIsCancelled_data();
}

void TestMainWindowDescriptionAdding::siblingWhoseNameBeginsAlikeIsAccepted()
{
    QFETCH(const QString, button);
    const bool creates = button == "btnNewDescription"_L1;
    folder->makeFolder(u"proj2"_s);
    if (!creates)
        folder->write(u"proj2/x.html"_s, "x");
    open(DESCRIPTIONS, u"proj/Apps.csv"_s);
    addDescription(button.toLatin1().constData(), u"it"_s, folder->path(u"proj2/x.html"_s));
    QCOMPARE(saved(u"proj/Apps.csv"_s), project(R"({"cz":"doc/cz.html","de":"doc/de.html","it":"../proj2/x.html"})"));
    QCOMPARE(folder->read(u"proj2/x.html"_s), creates ? DESCRIPTION_TEMPLATE : QByteArray("x"));

    openFile(2);
    type(editor, u"typed"_s);
    click(*window, "btnAutosave");
    QCOMPARE(folder->read(u"proj2/x.html"_s), "typed" + (creates ? DESCRIPTION_TEMPLATE : QByteArray("x")));
}

void TestMainWindowDescriptionAdding::projectBehindALinkRefusesItsFiles_data()
{
    fileDialogIsCancelled_data();
}

void TestMainWindowDescriptionAdding::projectBehindALinkRefusesItsFiles()
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

void TestMainWindowDescriptionAdding::fileThatCannotBeCreatedIsStored_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("missing folder") << u"none/it.html"_s;
    QTest::newRow("read-only folder") << u"closed/it.html"_s;
}

void TestMainWindowDescriptionAdding::fileThatCannotBeCreatedIsStored()
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

CATALIST_TEST(TestMainWindowDescriptionAdding)
#include "tst_mainwindow_description_adding.moc"
