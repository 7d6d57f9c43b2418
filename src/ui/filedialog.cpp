#include "ui/filedialog.h"

#include "ui_filedialog.h"

#include <QFileInfo>
#include <QFileSystemModel>
#include <QPushButton>
#include <QShortcut>

#include <algorithm>

FileDialog::FileDialog(const QString &root, const QStringList &filters, QWidget *parent)
    : QDialog(parent), folderMode(filters.isEmpty()), ui(std::make_unique<Ui::FileDialog>())
{
    ui->setupUi(this);

    model = new QFileSystemModel(ui->treeView);
    if (!folderMode) {
        model->setNameFilters(filters);
        model->setNameFilterDisables(false);
    }
    const QDir folder = QFileInfo(root).absoluteDir();
    model->setRootPath(folder.absolutePath());
    model->setFilter(folderMode ? QDir::AllDirs | QDir::NoDotAndDotDot
                                : QDir::Files | QDir::AllDirs | QDir::NoDotAndDotDot);
    // Without the folder the model would show the working folder, whose files do not belong to the project.
    if (folder.exists()) {
        ui->treeView->setModel(model);
        ui->treeView->setRootIndex(model->index(model->rootPath()));
        // Qt's own width shows only the first letters of most names.
        const auto showWholeNames = [view = ui->treeView] {
            const int width = view->columnWidth(0);
            view->resizeColumnToContents(0);
            view->setColumnWidth(0, std::max(width, view->columnWidth(0)));
        };
        connect(model, &QFileSystemModel::directoryLoaded, ui->treeView, showWholeNames, Qt::SingleShotConnection);
    }
    const auto *space = new QShortcut(Qt::Key_Space, ui->treeView, nullptr, nullptr, Qt::WidgetShortcut);
    connect(space, &QShortcut::activated, ui->treeView,
            [this] { emit ui->treeView->clicked(ui->treeView->currentIndex()); });

    ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(false);
}

FileDialog::~FileDialog() = default;

QString FileDialog::getPath() const
{
    return path;
}

bool FileDialog::checkFile()
{
    // The current item may have been removed meanwhile. Its path would be empty and publish the whole project.
    const QModelIndex current = ui->treeView->currentIndex();
    const QString file = model->filePath(current);
    const bool ok = current.isValid() && QFileInfo(file).isFile() != folderMode;
    ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(ok);
    if (ok)
        path = QDir(model->rootPath()).relativeFilePath(file);
    return ok;
}

void FileDialog::on_treeView_activated(const QModelIndex & /*index*/)
{
    // This is meant to do nothing: a click or a button picks.
}

// This runs after accept(), so it cannot keep the dialog open: the path that was picked before stays when the current
// item cannot be picked.
void FileDialog::on_buttonBox_accepted()
{
    checkFile();
}

void FileDialog::on_treeView_clicked(const QModelIndex & /*index*/)
{
    checkFile();
}

void FileDialog::on_treeView_doubleClicked(const QModelIndex & /*index*/)
{
    if (checkFile())
        accept();
}
