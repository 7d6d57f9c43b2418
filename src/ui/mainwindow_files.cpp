#include "ui/mainwindow.h"

#include "ui/filedialog.h"
#include "ui_mainwindow.h"

void MainWindow::showFiles(const AppConfig &app)
{
    ui->listAppFiles->clear();
    ui->listAppFiles->addItems(app.files);
}

void MainWindow::on_btnAddFile_clicked()
{
    addPicked({QStringLiteral("*.*")});
}

void MainWindow::on_btnAddFolder_clicked()
{
    addPicked({});
}

void MainWindow::addPicked(const QStringList &nameFilters)
{
    FileDialog dialog(appPath, nameFilters, this);
    if (dialog.exec() == QDialog::Accepted)
        ui->listAppFiles->addItem(dialog.getPath());
    // Also after a cancelled choice: every press of a button counts as a change.
    storeFiles();
}

void MainWindow::on_btnDeleteFile_clicked()
{
    delete ui->listAppFiles->takeItem(ui->listAppFiles->currentRow());
    storeFiles();
}

void MainWindow::storeFiles()
{
    QStringList files;
    for (int row = 0; row < ui->listAppFiles->count(); ++row)
        files.append(ui->listAppFiles->item(row)->text());
    model.setAppFiles(files);
}
