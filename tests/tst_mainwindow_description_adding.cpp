#include "descriptiontest.h"
#include "historyfiles.h"
#include "testrunner.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace {

const QStringList LANGUAGE_CHOICES{u"cz"_s, u"de"_s, u"en"_s, u"fr"_s, u"it"_s};
const QString OUTSIDE = u"The file must be inside the project directory or subdirectory."_s;
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

    void nothingIsAdded_data();
    void nothingIsAdded();
    void languageThatLooksLikeHtml();
    void siblingWhoseNameBeginsAlikeIsAccepted_data();
    void siblingWhoseNameBeginsAlikeIsAccepted();
    void projectBehindALinkRefusesItsFiles_data();
    void projectBehindALinkRefusesItsFiles();
    void fileThatCannotBeCreatedIsStored_data();
    void fileThatCannotBeCreatedIsStored();

private:
    void compareQuestions(const QString &fileDialogTitle);
};

// The question for the language, then the file dialog.
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

void TestMainWindowDescriptionAdding::newDescription_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("descriptions");
    QTest::newRow("offered language") << u"it"_s << u"it.html"_s
                                      << R"({"cz":"doc/cz.html","de":"doc/de.html","it":"it.html"})"_ba;
    QTest::newRow("capital letters") << u"EN"_s << u"doc/sub/en.html"_s
                                     << R"({"cz":"doc/cz.html","de":"doc/de.html","en":"doc/sub/en.html"})"_ba;
    QTest::newRow("language of one's own")
        << u"Pt-BR"_s << u"Ž popis"_s << R"({"cz":"doc/cz.html","de":"doc/de.html","pt-br":"Ž popis"})"_ba;
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
    QVERIFY(isMarked());
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
    typeInDescription(u"typed"_s);
    answers->enterText(u"it"_s);
    answers->chooseFile(folder->path(u"doc/cz.html"_s));
    answers->press(QMessageBox::Yes);
    click(*window, "btnNewDescription");
    QCOMPARE(folder->read(u"doc/cz.html"_s), DESCRIPTION_TEMPLATE);
    QCOMPARE(keptContents(folder->path(u"doc/cz.html"_s)), (QList<QByteArray>{"typed" + CZ, CZ}));
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
    QVERIFY(isMarked());
    QCOMPARE(saved(), project(R"({"cz":"doc/cz.html","de":"doc/de.html","fr":"sub/é.html"})"));
    QCOMPARE(folder->read(u"sub/é.html"_s), "\xff\r\n"_ba);
}

void TestMainWindowDescriptionAdding::nothingIsAdded_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("language"); // null to cancel
    QTest::addColumn<QString>("file"); // null to cancel
    QTest::addColumn<int>("dialogs");
    QTest::addColumn<QString>("error");
    const QString none;
    const QString exists = u"Cannot insert new description file. Language \"de\" already exists."_s;
    for (const char *button : {"btnNewDescription", "btnOpenDescription"}) {
        const QString name = QLatin1String(button);
        QTest::addRow("%s, language cancelled", button) << name << none << none << 1 << none;
        QTest::addRow("%s, language empty", button) << name << u""_s << none << 1 << none;
        QTest::addRow("%s, language exists", button) << name << u"de"_s << none << 2 << exists;
        QTest::addRow("%s, language exists in small letters", button) << name << u"DE"_s << none << 2 << exists;
        QTest::addRow("%s, file cancelled", button) << name << u"it"_s << none << 2 << none;
        QTest::addRow("%s, file outside", button) << name << u"it"_s << u"x.html"_s << 3 << OUTSIDE;
    }
}

void TestMainWindowDescriptionAdding::nothingIsAdded()
{
    QFETCH(const QString, button);
    QFETCH(const QString, language);
    QFETCH(const QString, file);
    QFETCH(const int, dialogs);
    QFETCH(const QString, error);
    const Folder outside;
    const bool creates = button == "btnNewDescription"_L1;
    if (!creates)
        outside.write(u"x.html"_s, "x");
    open();
    openFile(0);
    typeInDescription(u"typed"_s);
    if (language.isNull())
        answers->cancel();
    else
        answers->enterText(language);
    if (!file.isNull())
        answers->chooseFile(outside.path(file));
    else if (language == u"it")
        answers->cancel();
    if (!error.isEmpty())
        answers->press(QMessageBox::Ok);
    click(*window, qPrintable(button));

    QCOMPARE(answers->shown.size(), dialogs);
    if (!error.isEmpty())
        expectError(answers->shown.constLast(), error);
    QCOMPARE(outside.exists(u"x.html"_s), !creates);
    QCOMPARE(rows(), QStringList({u"cz=doc/cz.html"_s, u"de=doc/de.html"_s}));
    QVERIFY(isUnmarked());
    QCOMPARE(editor->toPlainText(), u"typed<p>Popis č</p>"_s);
    QVERIFY(autoSaveIsEnabled());
    QCOMPARE(folder->read(u"doc/cz.html"_s), CZ);
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

void TestMainWindowDescriptionAdding::siblingWhoseNameBeginsAlikeIsAccepted_data()
{
    QTest::addColumn<QString>("button");
    QTest::newRow("New") << u"btnNewDescription"_s;
    QTest::newRow("Open existing") << u"btnOpenDescription"_s;
}

void TestMainWindowDescriptionAdding::siblingWhoseNameBeginsAlikeIsAccepted()
{
    QFETCH(const QString, button);
    const bool creates = button == "btnNewDescription"_L1;
    folder->makeFolder(u"proj2"_s);
    if (!creates)
        folder->write(u"proj2/x.html"_s, "x");
    open(DESCRIPTIONS, u"proj/Apps.csv"_s);
    addDescription(qPrintable(button), u"it"_s, folder->path(u"proj2/x.html"_s));
    QCOMPARE(saved(u"proj/Apps.csv"_s), project(R"({"cz":"doc/cz.html","de":"doc/de.html","it":"../proj2/x.html"})"));
    QCOMPARE(folder->read(u"proj2/x.html"_s), creates ? DESCRIPTION_TEMPLATE : "x"_ba);

    openFile(2);
    type(editor, u"typed"_s);
    click(*window, "btnAutosave");
    QCOMPARE(folder->read(u"proj2/x.html"_s), "typed" + (creates ? DESCRIPTION_TEMPLATE : "x"_ba));
}

void TestMainWindowDescriptionAdding::projectBehindALinkRefusesItsFiles_data()
{
    siblingWhoseNameBeginsAlikeIsAccepted_data();
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
    click(*window, qPrintable(button));
    QCOMPARE(answers->shown.size(), 3);
    QCOMPARE(answers->shown.at(1).startPath, folder->path(u"real/"_s));
    QCOMPARE(answers->shown.at(2).text, OUTSIDE);
    QCOMPARE(folder->exists(u"real/x.html"_s), !creates);
    QCOMPARE(table->rowCount(), 2);

    addDescription(qPrintable(button), u"it"_s, folder->path(u"real/x.html"_s));
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
    QVERIFY(isMarked());
    QCOMPARE(saved(), project(R"({"cz":"doc/cz.html","de":"doc/de.html","it":")" + file.toUtf8() + R"("})"));
}

CATALIST_TEST(TestMainWindowDescriptionAdding)
#include "tst_mainwindow_description_adding.moc"
