#include "monkey.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QTextCursor>

#include <iterator>

using namespace Qt::StringLiterals;

namespace {

const QString OUTSIDE = u"The file must be inside the project directory or subdirectory."_s;
const QString DELETE_DESCRIPTION = u"Delete from app configuration?<br>The file will be preserved."_s;
const QString UNREADABLE = u"Error loading <b>%1</b>"_s;

} // namespace

void Monkey::storeEditor()
{
    autoSaveEnabled = false;
    if (!openFile.isEmpty())
        disk.insert(openFile, editorText.toUtf8());
}

void Monkey::closeEditor()
{
    openFile.clear();
    editorText.clear();
}

void Monkey::rowSelected(int row)
{
    if (row == tableRow)
        return;
    tableRow = row;
    storeEditor();
    closeEditor();
    autoSaveEnabled = false;
    const QString path = projectFolder() + u'/' + std::next(current().descriptions.cbegin(), row).value();
    const QString real = QFileInfo(path).canonicalFilePath();
    if (disk.contains(real)) {
        openFile = real;
        editorText = QString::fromUtf8(disk.value(real));
    } else {
        expect(u"QMessageBox"_s, UNREADABLE.arg(path.toHtmlEscaped()));
        dialogs->press(QMessageBox::Ok);
    }
}

/// In the project, in a folder whose name has the same beginning, and elsewhere.
QStringList Monkey::descriptionFiles()
{
    const QString here = projectFolder();
    return {
        here + u"/doc/cz.html"_s,
        here + u"/doc/en.html"_s,
        here + u"/doc/made %1.html"_s.arg(number(10)),
        here + u"/made %1.html"_s.arg(number(10)),
        here + u"/none/made.html"_s,
        folder.path(u"one more/doc/de.html"_s),
        folder.path(u"three/doc/fr.html"_s),
    };
}

QString Monkey::answerNewRow(QString (Monkey::*answerDialog)(const QStringList &))
{
    // Without a current app nothing is asked.
    if (!hasCurrent() || !answerLanguage())
        return {};
    const QString code = log.last().section(u'"', 1, -2).toLower();
    const QString here = projectFolder();
    QString path = (this->*answerDialog)(descriptionFiles());
    if (path.isEmpty())
        return {};
    if (here.isEmpty() || !path.startsWith(here)) {
        expect(u"QMessageBox"_s, OUTSIDE);
        dialogs->press(QMessageBox::Ok);
        return {};
    }
    records[index].descriptions.insert(code, QDir(here).relativeFilePath(path));
    modified = true;
    refreshed();
    return path;
}

void Monkey::newDescription()
{
    if (!areTabsEnabled())
        return;
    const QString path = answerNewRow(&Monkey::answerSaveDialog);
    if (!path.isEmpty() && QFileInfo(path).dir().exists())
        disk.insert(path, DESCRIPTION_TEMPLATE);
    press("btnNewDescription");
}

void Monkey::openDescription()
{
    if (!areTabsEnabled())
        return;
    answerNewRow(&Monkey::answerOpenDialog);
    press("btnOpenDescription");
}

void Monkey::deleteDescription()
{
    if (!areTabsEnabled())
        return;
    if (tableRow >= 0) {
        expect(u"QMessageBox"_s, DELETE_DESCRIPTION);
        if (chance(50))
            dialogs->press(QMessageBox::Yes);
        else
            dialogs->pressKey(Qt::Key_Escape);
        if (hasCurrent()) {
            records[index].descriptions.remove(std::next(current().descriptions.cbegin(), tableRow).key());
            modified = true;
        }
        refreshed();
    }
    press("btnDeleteDescription");
}

void Monkey::selectDescription()
{
    auto *table = get<QTableWidget>("tableWidget");
    if (!areTabsEnabled() || table->rowCount() == 0)
        return;
    const int row = number(table->rowCount());
    note(QString::number(row));
    rowSelected(row);
    if (chance(50)) {
        showTab(*window, "tabDescription");
        clickCell(table, row, number(2));
    } else {
        table->setCurrentCell(row, number(2));
    }
}

void Monkey::typeInEditor()
{
    static const QStringList pieces{u"x"_s,       u"<b>"_s,       u"</b>"_s,   u"\n"_s,    u"<img src=\"a.png\">"_s,
                                    u"<table>"_s, u"&amp;&#0;"_s, u"Žluť 🚀"_s, u"<!-- "_s, u"<ul><li>"_s,
                                    u"</p>"_s,    u"<h1>"_s};
    auto *editor = get<QPlainTextEdit>("descriptionEdit");
    if (!areTabsEnabled() || !editor->isEnabled())
        return;
    if (chance(30)) {
        showTab(*window, "tabDescription");
        QTest::keyClick(editor, 'k');
        if (openFile.isEmpty())
            return;
        editorText.insert(editor->textCursor().position() - 1, u'k');
    } else if (openFile.isEmpty()) {
        return;
    } else if (editorText.size() > 2000) {
        editor->selectAll();
        editor->textCursor().removeSelectedText();
        editorText.clear();
    } else {
        const QString piece = oneOf(pieces);
        QTextCursor cursor = editor->textCursor();
        cursor.movePosition(chance(50) ? QTextCursor::Start : QTextCursor::End);
        editor->setTextCursor(cursor);
        editorText.insert(cursor.position(), piece);
        editor->insertPlainText(piece);
    }
    autoSaveEnabled = true;
}

void Monkey::editCode()
{
    auto *table = get<QTableWidget>("tableWidget");
    if (!areTabsEnabled() || table->rowCount() == 0)
        return;
    const int row = number(table->rowCount());
    const QString code = someCode();
    note(u"of %1 to %2"_s.arg(row).arg(code));
    const bool typed = chance(50);
    if (typed) {
        rowSelected(row);
        showTab(*window, "tabDescription");
        clickCell(table, row);
    }

    const QStringList codes = current().descriptions.keys();
    // The same code is no change.
    if (codes.at(row) != code) {
        QMap<QString, QString> descriptions;
        for (int i = 0; i < codes.size(); ++i)
            descriptions.insert(i == row ? code : codes.at(i), current().descriptions.value(codes.at(i)));
        records[index].descriptions = descriptions;
        modified = true;
        refreshed();
    }
    if (typed) {
        QTest::keyClick(table, Qt::Key_F2);
        auto *edit = table->viewport()->findChild<QLineEdit *>();
        if (!edit) {
            problem = u"The code cannot be edited"_s;
            return;
        }
        edit->setText(code);
        const QPointer<QLineEdit> whileEditing = edit;
        QTest::keyClick(edit, Qt::Key_Return);
        if (!QTest::qWaitFor([&whileEditing] { return !whileEditing; }))
            problem = u"The editor of the code does not close"_s;
    } else if (codes.at(row) != code) {
        table->item(row, 0)->setText(code);
    }
}

void Monkey::autoSave()
{
    auto *button = get<QPushButton>("btnAutosave");
    if (!areTabsEnabled() || !button->isEnabled())
        return;
    storeEditor();
    button->click();
}
