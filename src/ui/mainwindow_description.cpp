#include "ui/mainwindow.h"

#include "history/history.h"
#include "io/wholefile.h"
#include "ui_mainwindow.h"

#include <QApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QScrollBar>
#include <QSignalBlocker>

#include <optional>

namespace {

enum DescriptionColumn { LanguageColumn, FileColumn };

QString cellText(const QTableWidget *table, int row, DescriptionColumn column)
{
    const QTableWidgetItem *item = table->item(row, column);
    return item ? item->text() : QString();
}

} // namespace

void MainWindow::showDescriptions(const AppConfig &app)
{
    saveCurrenDescription();
    setDescriptionPath({});
    ui->tableWidget->clearSelection();
    ui->tableWidget->setRowCount(0);
    ui->descriptionEdit->clear();
    ui->btnAutosave->setEnabled(false);

    const QSignalBlocker blocker(ui->tableWidget);
    ui->tableWidget->setRowCount(static_cast<int>(app.descriptions.size()));
    int row = 0;
    for (auto entry = app.descriptions.cbegin(); entry != app.descriptions.cend(); ++entry, ++row) {
        auto *file = new QTableWidgetItem(entry.value());
        file->setToolTip(plainToolTip(entry.value()));
        file->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
        ui->tableWidget->setItem(row, LanguageColumn, new QTableWidgetItem(entry.key()));
        ui->tableWidget->setItem(row, FileColumn, file);
    }
}

// Without an open file, typed text could not be saved.
void MainWindow::setDescriptionPath(const QString &path)
{
    descriptionPath = path;
    ui->descriptionEdit->setReadOnly(path.isEmpty());
}

bool MainWindow::saveCurrenDescription()
{
    bool isSaved = true;
    const QByteArray text = ui->descriptionEdit->toPlainText().toUtf8();
    if (descriptionPath.isEmpty()) {
        work.tryAgain();
    } else if (!ui->descriptionEdit->document()->isModified()) {
        // The file holds all of it already, so that nothing is lost when this fails.
        work.tryAgain();
        isSaved = static_cast<bool>(History::saveFile(descriptionPath, text));
    } else {
        isSaved = static_cast<bool>(work.save(descriptionPath, text));
        ui->descriptionEdit->document()->setModified(!isSaved);
    }
    if (!work.heldFiles().isEmpty())
        descriptionDraftTimer.start();
    ui->btnAutosave->setEnabled(false);
    return isSaved;
}

void MainWindow::keepUnsavedDescription()
{
    // The button is disabled after a save that failed.
    if (!descriptionPath.isEmpty() && ui->descriptionEdit->document()->isModified())
        work.copy(descriptionPath, ui->descriptionEdit->toPlainText().toUtf8(), UnsavedWork::Later::Save);
}

QMap<QString, QString> MainWindow::tableDescriptions() const
{
    QMap<QString, QString> descriptions;
    for (int row = 0; row < ui->tableWidget->rowCount(); ++row)
        descriptions.insert(cellText(ui->tableWidget, row, LanguageColumn), cellText(ui->tableWidget, row, FileColumn));
    return descriptions;
}

QString MainWindow::addDescription(FileChooser chooseFile, const QString &caption)
{
    if (!model.getAppCfg(model.index))
        return {};

    const QString folder = projectFolder(appPath);
    QStringList languages;
    for (const char *language : LANGUAGES)
        languages.append(QLatin1String(language));
    bool accepted = false;
    const QString language = QInputDialog::getItem(this, tr("Language selection"), tr("Select language code:"),
                                                   languages, 0, true, &accepted)
                                 .toLower();
    if (!accepted || language.isEmpty())
        return {};

    QMap<QString, QString> descriptions = tableDescriptions();
    if (descriptions.contains(language)) {
        QMessageBox box(QMessageBox::Critical, tr("Error"),
                        tr("Cannot insert new description file. Language \"%1\" already exists.").arg(language),
                        QMessageBox::Ok, this);
        box.setTextFormat(Qt::PlainText);
        box.exec();
        return {};
    }

    QString file =
        chooseFile(this, caption, folder, tr("HTML files (*.html);;All files (*.*)"), nullptr, QFileDialog::Options());
    if (file.isEmpty())
        return {};
    qDebug().noquote() << folder + QStringLiteral("    ") + file;
    // This is meant to compare texts only: a sibling folder whose name begins with the same letters passes.
    if (folder.isEmpty() || !file.startsWith(folder)) {
        QMessageBox::critical(this, tr("Error"), tr("The file must be inside the project directory or subdirectory."));
        return {};
    }

    const QString relativePath = QDir(folder).relativeFilePath(file);
    qDebug() << relativePath;
    descriptions.insert(language, relativePath);
    model.setDescriptionFiles(descriptions);
    return file;
}

void MainWindow::on_btnNewDescription_clicked()
{
    const QString file = addDescription(&QFileDialog::getSaveFileName, tr("New description file"));
    if (file.isEmpty())
        return;
    work.stopSaving(file);
    if (History::saveFile(file, descriptionTemplate()))
        saveCurrenDescription();
}

void MainWindow::on_btnOpenDescription_clicked()
{
    if (addDescription(&QFileDialog::getOpenFileName, tr("Open description file")).isEmpty())
        return;
    saveCurrenDescription();
}

void MainWindow::on_btnDeleteDescription_clicked()
{
    if (ui->tableWidget->currentRow() < 0)
        return;

    // There is only one button, which Escape presses too. QMessageBox::question() would add a second one.
    QMessageBox question(QMessageBox::Question, tr("Delete app description"),
                         tr("Delete from app configuration?<br>The file will be preserved."), QMessageBox::Yes, this);
    if (question.exec() != QMessageBox::Yes)
        return;

    // The question takes the focus, which ends the editing of a code; then no row is current.
    const int row = ui->tableWidget->currentRow();
    if (row < 0)
        return;
    qDebug() << projectFolder(appPath) + QLatin1Char('/') + cellText(ui->tableWidget, row, FileColumn);
    {
        // Otherwise the row below would be opened for a moment.
        const QSignalBlocker blocker(ui->tableWidget);
        ui->tableWidget->removeRow(row);
    }
    model.setDescriptionFiles(tableDescriptions());
}

void MainWindow::finishTableEdit()
{
    QWidget *editor = QApplication::focusWidget();
    if (editor && ui->tableWidget->viewport()->isAncestorOf(editor))
        editor->clearFocus();
}

void MainWindow::on_tableWidget_currentCellChanged(int currentRow, int /*currentColumn*/, int previousRow,
                                                   int /*previousColumn*/)
{
    if (currentRow == previousRow || isLeavingCode)
        return;
    saveCurrenDescription();
    setDescriptionPath({});
    ui->descriptionEdit->clear();
    if (currentRow < 0)
        return;

    const QString folder = projectFolder(appPath);
    const QString path = folder + QLatin1Char('/') + cellText(ui->tableWidget, currentRow, FileColumn);
    qDebug() << path;
    // The text is written back later, so it has to be the whole file.
    const auto content = readWholeFile(path, LARGEST_DESCRIPTION);
    if (!folder.isEmpty() && content) {
        // Before the text, whose preview looks for pictures beside the file.
        setDescriptionPath(path);
        const std::optional<QByteArray> held = work.held(path);
        ui->descriptionEdit->setPlainText(QString::fromUtf8(held.value_or(*content)));
        ui->descriptionEdit->document()->setModified(held.has_value());
    } else {
        QMessageBox::critical(this, tr("Error"), tr("Error loading <b>%1</b>").arg(path.toHtmlEscaped()));
        ui->descriptionEdit->clear();
    }
    ui->btnAutosave->setEnabled(false);
    ui->descriptionEdit->setEnabled(!descriptionPath.isEmpty());
}

void MainWindow::showPreview()
{
    ui->descriptionView->setSearchPaths({QStringLiteral("file:///") + QFileInfo(descriptionPath).path()});
    ui->descriptionView->setHtml(ui->descriptionEdit->toPlainText());
}

void MainWindow::refreshPreview()
{
    QScrollBar *bar = ui->descriptionView->verticalScrollBar();
    const int position = bar->value();
    ui->descriptionView->clear();
    showPreview();
    bar->setValue(position);
}

void MainWindow::on_descriptionEdit_textChanged()
{
    showPreview();
    ui->btnAutosave->setEnabled(true);
    if (!descriptionDraftTimer.isActive())
        descriptionDraftTimer.start();
}

void MainWindow::on_btnAutosave_clicked()
{
    saveCurrenDescription();
}

void MainWindow::descriptionUpdated(int row, int column)
{
    if (ui->tableWidget->isPersistentEditorOpen(ui->tableWidget->item(row, column))) {
        // The key or the click that ends the editing may select another row, whose file must not be opened for a
        // moment.
        isLeavingCode = true;
        leaveCodeTimer.start();
        const QWidget *focus = QApplication::focusWidget();
        if (!focus || ui->tableWidget->viewport()->isAncestorOf(focus)) {
            // After the editor is closed, the key that ended the editing has no further effect.
            connect(ui->tableWidget->itemDelegate(), &QAbstractItemDelegate::closeEditor, this, &MainWindow::leaveCode,
                    Qt::SingleShotConnection);
            // Otherwise the focus leaves the table together with the editor.
            ui->tableWidget->setFocus();
        }
    }
    model.setDescriptionFiles(tableDescriptions());
}

void MainWindow::leaveCode()
{
    if (isLeavingCode)
        ui->tableWidget->selectionModel()->clear();
    isLeavingCode = false;
}
