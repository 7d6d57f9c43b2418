#include "ui/mainwindow.h"

#include "history/history.h"
#include "io/repositoryindex.h"
#include "ui/busywindow.h"
#include "ui_mainwindow.h"

#include <QFileInfo>
#include <QLocale>
#include <QMessageBox>
#include <QStatusBar>

namespace {

constexpr int MESSAGE_TIME = 8000; // milliseconds

/// The language of the texts around the numbers.
QLocale english()
{
    return {QLocale::English};
}

QString counted(qint64 number, const QString &one, const QString &several)
{
    return english().toString(number) + QLatin1Char(' ') + (number == 1 ? one : several);
}

} // namespace

void MainWindow::saveAppsCfg()
{
    if (appPath.isEmpty()) {
        QMessageBox::warning(this, tr("Warning"), tr("First create a new project"));
        return;
    }
    finishTableEdit();
    const QString name = QFileInfo(appPath).fileName();
    bool isSaved = false;
    bool isDescriptionSaved = false;
    {
        const BusyWindow busy(this, tr("Saving %1").arg(name));
        isDescriptionSaved = saveCurrenDescription();
        isSaved = model.save(appPath);
    }
    if (isSaved) {
        work.fileWasSaved(appPath);
        if (isDescriptionSaved)
            ui->statusBar->showMessage(tr("Saved %1").arg(name), MESSAGE_TIME);
    } else {
        QMessageBox::critical(this, tr("Error"), tr("Error saving <b>Apps.csv</b> settings"));
    }
    checkAsterisk();
}

bool MainWindow::loadProject(const QString &path)
{
    setAppPath(path);
    if (!model.load(appPath))
        return false;
    // The list may be shorter than before.
    if (model.index >= model.apps.size())
        model.setIndex(-1);
    return true;
}

void MainWindow::on_actionNew_project_triggered()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("New Apps.csv file"), projectPath(),
                                                      tr("App configuration files (Apps.csv);;All files (*.*)"));
    if (path.isEmpty())
        return;
    keepUnsavedRecords();
    setAppPath(path);
    model.clear();
}

void MainWindow::on_actionOpen_project_triggered()
{
    saveCurrenDescription();
    setDescriptionPath({});
    // The current row too, as a click on it would not open its file again. While the Ctrl of a shortcut is held, the
    // table would only toggle the selection of the current cell.
    ui->tableWidget->selectionModel()->clear();
    ui->descriptionEdit->clear();

    const QString path = QFileDialog::getOpenFileName(this, tr("Open Apps.csv file"), projectPath(),
                                                      tr("App configuration files (Apps.csv);;All files (*.*)"));
    if (path.isEmpty())
        return;
    const QString name = QFileInfo(path).fileName();
    bool isLoaded = false;
    {
        const BusyWindow busy(this, tr("Opening %1").arg(name));
        keepUnsavedRecords();
        isLoaded = loadProject(path);
    }
    if (isLoaded) {
        ui->statusBar->showMessage(tr("Opened %1").arg(name), MESSAGE_TIME);
    } else {
        QMessageBox::critical(this, tr("Error"), tr("Error loading <b>Apps.csv</b> settings"));
        model.clear();
    }
}

void MainWindow::on_actionSave_triggered()
{
    saveAppsCfg();
}

void MainWindow::on_actionSave_generate_JSON_triggered()
{
    saveAppsCfg();
    const QString path = QFileDialog::getSaveFileName(this, tr("Save JSON repository"), INDEX_FILE_NAME,
                                                      tr("JSON files (*.json);;All files (*.*)"));
    if (!path.isEmpty())
        publish(path);
}

void MainWindow::publish(const QString &path)
{
    const int appCount = static_cast<int>(model.apps.size());
    IndexReport report;
    {
        BusyWindow busy(this, tr("Publishing"));
        report.progress = [&](const IndexReport &now) {
            busy.showProgress(tr("Publishing: %1 of %2, %3")
                                  .arg(QString::number(now.apps), counted(appCount, tr("app"), tr("apps")),
                                       english().formattedDataSize(now.bytes, 0, QLocale::DataSizeSIFormat)));
        };
        // The index is written directly, so what the file holds has to be kept before.
        const bool isSource = isSourceOfIndex(path, model.apps, appPath);
        if ((isSource || !isRepositoryIndex(path)) && !History::keepReplaced(path, {}) && isSource)
            return;
        model.saveRepo(path, ui->repository->text(), projectFolder(appPath), &report);
    }
    if (!report.error) {
        ui->statusBar->showMessage(
            tr("Published %1, %2, %3: %4")
                .arg(counted(appCount, tr("app"), tr("apps")), counted(report.files, tr("file"), tr("files")),
                     english().formattedDataSize(report.bytes, 0, QLocale::DataSizeSIFormat), path),
            MESSAGE_TIME);
    }
}
