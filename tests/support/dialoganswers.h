#pragma once

#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <functional>

/// The contents of a modal dialog.
struct ShownDialog
{
    QString kind; ///< class name: "QMessageBox", "QFileDialog", "QInputDialog", "FileDialog"
    QString title;
    QString text; ///< of a message box; the label of an input dialog
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QStringList buttons; ///< captions without mnemonics, in the order of the dialog
    QString startPath; ///< of a file dialog: folder and suggested name
    QStringList filters; ///< of a file dialog
    QStringList choices; ///< of an input dialog
    QString value; ///< of an input dialog
};

/// Answers the modal dialogs that the calls of a test open, in the order of the answers.
///
/// A dialog without an answer is cancelled and makes allAnswered() false, as does an answer without its
/// dialog and one that left its dialog open.
class DialogAnswers : public QObject
{
    Q_OBJECT

public:
    DialogAnswers();

    void press(QMessageBox::StandardButton button);
    void pressButton(const QString &caption); ///< without its mnemonic
    void pressKey(Qt::Key key);
    void chooseFile(const QString &path); ///< in a file dialog
    void enterText(const QString &text); ///< in an input dialog
    void pickInProject(const QString &relativePath); ///< in the program's own picker, with a click and OK
    void cancel();
    void answer(std::function<void(QWidget *dialog)> action); ///< the action must end with the dialog closed

    /// Whether each dialog had its answer and each answer its dialog. Logs those that had not.
    [[nodiscard]] bool allAnswered() const;

    QList<ShownDialog> shown;

private:
    void lookForDialog();

    QTimer timer;
    QList<QPointer<QWidget>> seen; // null when deleted
    int looks = 0;
    int unanswered = 0;
    int leftOpen = 0;
    QList<std::function<void(QWidget *)>> answers;
};
