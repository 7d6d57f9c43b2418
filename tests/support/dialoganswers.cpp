#include "dialoganswers.h"

#include "windowfixture.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto INTERVAL = 5ms;
constexpr int LOOKS_BEFORE_FORCE = 2000;

QStringList buttonTexts(const QWidget *dialog)
{
    QStringList texts;
    if (const auto *box = dialog->findChild<QDialogButtonBox *>()) {
        const QList<QAbstractButton *> buttons = box->buttons();
        for (const QAbstractButton *button : buttons)
            texts.append(button->text().remove(u'&'));
    }
    return texts;
}

ShownDialog describe(const QWidget *dialog)
{
    ShownDialog shown;
    shown.kind = QString::fromLatin1(dialog->metaObject()->className());
    shown.title = dialog->windowTitle();
    shown.buttons = buttonTexts(dialog);
    if (const auto *box = qobject_cast<const QMessageBox *>(dialog)) {
        shown.text = box->text();
        shown.icon = box->icon();
    } else if (const auto *files = qobject_cast<const QFileDialog *>(dialog)) {
        const QString name = files->findChild<QLineEdit *>(u"fileNameEdit"_s)->text();
        shown.startPath = files->directory().absolutePath() + u'/' + name;
        shown.filters = files->nameFilters();
    } else if (const auto *input = qobject_cast<const QInputDialog *>(dialog)) {
        shown.text = input->labelText();
        shown.choices = input->comboBoxItems();
        shown.value = input->textValue();
    }
    return shown;
}

// A message box without a button for Escape cannot be closed.
void endDialog(QWidget *window)
{
    window->close();
    if (auto *dialog = qobject_cast<QDialog *>(window); dialog && dialog->isVisible())
        dialog->reject();
}

} // namespace

DialogAnswers::DialogAnswers()
{
    connect(&timer, &QTimer::timeout, this, &DialogAnswers::lookForDialog);
    timer.start(INTERVAL);
}

void DialogAnswers::answer(std::function<void(QWidget *)> action)
{
    answers.append(std::move(action));
}

void DialogAnswers::press(QMessageBox::StandardButton button)
{
    answer([button](QWidget *dialog) {
        auto *box = qobject_cast<QMessageBox *>(dialog);
        if (QAbstractButton *found = box ? box->button(button) : nullptr)
            QTest::mouseClick(found, Qt::LeftButton);
    });
}

void DialogAnswers::pressButton(const QString &caption)
{
    answer([caption](QWidget *dialog) {
        const auto *box = dialog->findChild<QDialogButtonBox *>();
        const QList<QAbstractButton *> buttons = box ? box->buttons() : QList<QAbstractButton *>();
        for (QAbstractButton *button : buttons) {
            if (button->text().remove(u'&') == caption) {
                QTest::mouseClick(button, Qt::LeftButton);
                return;
            }
        }
    });
}

void DialogAnswers::pressKey(Qt::Key key)
{
    answer([key](QWidget *dialog) { QTest::keyClick(dialog, key); });
}

void DialogAnswers::chooseFile(const QString &path)
{
    answer([path](QWidget *dialog) {
        auto *edit = dialog->findChild<QLineEdit *>(u"fileNameEdit"_s);
        if (!edit)
            return;
        edit->setText(path);
        QTest::keyClick(edit, Qt::Key_Return);
    });
}

void DialogAnswers::enterText(const QString &text)
{
    answer([text](QWidget *dialog) {
        auto *box = dialog->findChild<QComboBox *>();
        if (!box)
            return;
        box->setEditText(text);
        QTest::keyClick(box, Qt::Key_Return);
    });
}

void DialogAnswers::pickInProject(const QString &relativePath)
{
    answer([relativePath](QWidget *dialog) {
        auto *tree = dialog->findChild<QTreeView *>(u"treeView"_s);
        const QModelIndex entry = tree ? treeEntry(tree, relativePath) : QModelIndex();
        if (!entry.isValid())
            return;
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(entry).center());
        QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok), Qt::LeftButton);
    });
}

void DialogAnswers::cancel()
{
    pressKey(Qt::Key_Escape);
}

bool DialogAnswers::allAnswered() const
{
    if (!answers.isEmpty())
        qWarning("%lld answers had no dialog", static_cast<long long>(answers.size()));
    if (unanswered > 0)
        qWarning("%d dialogs had no answer", unanswered);
    if (leftOpen > 0)
        qWarning("%d answers left their dialog open", leftOpen);
    return answers.isEmpty() && unanswered == 0 && leftOpen == 0;
}

void DialogAnswers::lookForDialog()
{
    QWidget *dialog = QApplication::activeModalWidget();
    if (!dialog || !dialog->isVisible())
        return;
    // A file dialog is active again for a moment after its own question was closed.
    if (seen.contains(dialog)) {
        if (++looks == LOOKS_BEFORE_FORCE) {
            ++leftOpen;
            endDialog(dialog);
        }
        return;
    }

    seen.removeAll(nullptr);
    seen.append(dialog);
    looks = 0;
    shown.append(describe(dialog));
    std::function<void(QWidget *)> action = &endDialog;
    if (answers.isEmpty()) {
        ++unanswered;
        qWarning() << "Unexpected dialog" << shown.constLast().kind << shown.constLast().title
                   << shown.constLast().text;
    } else {
        action = answers.takeFirst();
    }
    // Queued, as a dialog that opens another one would block the timer.
    QMetaObject::invokeMethod(
        dialog, [action, dialog] { action(dialog); }, Qt::QueuedConnection);
}
