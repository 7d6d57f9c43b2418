#include "monkey.h"

#include <QDialog>
#include <QLineEdit>

using namespace Qt::StringLiterals;

namespace {

const QString EXISTING_CODE = u"Cannot insert new description file. Language \"%1\" already exists."_s;
const QString LANGUAGE_QUESTION = u"Select language code:"_s;
/// Any text, for the questions of Qt's own file dialogs.
const QString ANY_TEXT = u"*"_s;

} // namespace

/// True when the file dialog comes next.
bool Monkey::answerLanguage()
{
    expect(u"QInputDialog"_s, LANGUAGE_QUESTION);
    if (chance(10)) {
        note(u"cancelled"_s);
        dialogs->cancel();
        return false;
    }
    const QString code = chance(5) ? QString() : someCode();
    note(u"\"%1\""_s.arg(code));
    dialogs->enterText(code);
    if (code.isEmpty())
        return false;
    log.last() += u' ';
    if (current().descriptions.contains(code.toLower())) {
        expect(u"QMessageBox"_s, EXISTING_CODE.arg(code.toLower()));
        dialogs->press(QMessageBox::Ok);
        return false;
    }
    return true;
}

/// The path for a file dialog; empty when the dialog is cancelled.
QString Monkey::choosePath(const QStringList &paths)
{
    expect(u"QFileDialog"_s, {});
    if (chance(15)) {
        note(u"cancelled"_s);
        dialogs->cancel();
        return {};
    }
    QString path = oneOf(paths);
    note(path);
    return path;
}

/// Chooses a file, answers the question about it, and cancels the dialog.
void Monkey::chooseAndCancel(const QString &path, QMessageBox::StandardButton answer)
{
    expect(u"QMessageBox"_s, ANY_TEXT);
    dialogs->answer([path](QWidget *dialog) {
        auto *edit = child<QLineEdit>(*dialog, "fileNameEdit");
        edit->setText(path);
        QTest::keyClick(edit, Qt::Key_Return);
        qobject_cast<QDialog *>(dialog)->reject();
    });
    dialogs->press(answer);
}

/// The chosen file; empty when the dialog is cancelled.
QString Monkey::answerSaveDialog(const QStringList &paths)
{
    QString path = choosePath(paths);
    if (path.isEmpty())
        return {};
    if (!QFileInfo::exists(path)) {
        dialogs->chooseFile(path);
        return path;
    }
    if (chance(75)) {
        expect(u"QMessageBox"_s, ANY_TEXT);
        dialogs->chooseFile(path);
        dialogs->press(QMessageBox::Yes);
        return path;
    }
    note(u"not replaced"_s);
    chooseAndCancel(path, QMessageBox::No);
    return {};
}

QString Monkey::answerOpenDialog(const QStringList &paths)
{
    QString path = choosePath(paths);
    if (path.isEmpty())
        return {};
    if (QFileInfo::exists(path)) {
        dialogs->chooseFile(path);
        return path;
    }
    note(u"missing"_s);
    chooseAndCancel(path, QMessageBox::Ok);
    return {};
}

QString Monkey::dialogDifference() const
{
    QStringList wanted;
    for (const ExpectedDialog &dialog : expected)
        wanted.append(dialog.kind + u": "_s + dialog.text);
    QStringList shown;
    for (qsizetype i = 0; i < dialogs->shown.size(); ++i) {
        const ShownDialog &dialog = dialogs->shown.at(i);
        const bool anyText = i < expected.size() && expected.at(i).text == ANY_TEXT;
        shown.append(dialog.kind + u": "_s + (anyText ? ANY_TEXT : dialog.text));
    }
    if (shown != wanted)
        return u"Dialogs: %1\nexpected: %2"_s.arg(shown.join(u" | "_s), wanted.join(u" | "_s));
    return dialogs->allAnswered() ? QString() : u"The dialogs and the answers do not match"_s;
}
