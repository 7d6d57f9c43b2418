#include "monkey.h"

#include <QDialog>
#include <QLineEdit>

using namespace Qt::StringLiterals;

namespace {

const QString EXISTING_CODE = u"Cannot insert new description file. Language \"%1\" already exists."_s;
const QString LANGUAGE_QUESTION = u"Select language code:"_s;
/// Stands for the questions of the toolkit's own file dialogs, whose words are not ours.
const QString ANY_TEXT = u"*"_s;

} // namespace

/// Whether the file dialog comes next.
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

void Monkey::cancelFileDialog()
{
    note(u"cancelled"_s);
    expect(u"QFileDialog"_s, {});
    dialogs->cancel();
}

/// Answers the message that the dialog has about a file, and leaves the dialog.
void Monkey::chooseInVain(const QString &path, QMessageBox::StandardButton answer)
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

/// The file that the dialog gives back; empty when it is left without one.
QString Monkey::answerSaveDialog(const QStringList &paths)
{
    if (chance(15)) {
        cancelFileDialog();
        return {};
    }
    QString path = oneOf(paths);
    note(path);
    expect(u"QFileDialog"_s, {});
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
    chooseInVain(path, QMessageBox::No);
    return {};
}

QString Monkey::answerOpenDialog(const QStringList &paths)
{
    if (chance(15)) {
        cancelFileDialog();
        return {};
    }
    QString path = oneOf(paths);
    note(path);
    expect(u"QFileDialog"_s, {});
    if (QFileInfo::exists(path)) {
        dialogs->chooseFile(path);
        return path;
    }
    note(u"missing"_s);
    chooseInVain(path, QMessageBox::Ok);
    return {};
}

QString Monkey::dialogDifference() const
{
    QStringList wanted;
    for (const Said &said : expected)
        wanted.append(said.kind + u": "_s + said.text);
    QStringList shown;
    for (qsizetype i = 0; i < dialogs->shown.size(); ++i) {
        const ShownDialog &dialog = dialogs->shown.at(i);
        const bool anyText = i < expected.size() && expected.at(i).text == ANY_TEXT;
        shown.append(dialog.kind + u": "_s + (anyText ? ANY_TEXT : dialog.text));
    }
    if (shown != wanted)
        return u"Dialogs: %1\nexpected: %2"_s.arg(shown.join(u" | "_s), wanted.join(u" | "_s));
    return dialogs->allAnswered() ? QString() : u"Dialogs and answers do not go together"_s;
}
