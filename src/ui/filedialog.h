#pragma once

#include <QDialog>
#include <QStringList>

#include <memory>

class QFileSystemModel;
class QModelIndex;

namespace Ui {
class FileDialog;
}

/// Picks one file, or one folder, inside the project folder. Nothing above it can be reached.
class FileDialog : public QDialog
{
    Q_OBJECT

public:
    /// The root is a file in the folder to browse. Name filters restrict the files, never the folders;
    /// without any the dialog picks folders.
    FileDialog(const QString &root, const QStringList &filters, QWidget *parent);
    ~FileDialog() override;

    /// The picked path, relative to the browsed folder; empty until something was picked.
    [[nodiscard]] QString getPath() const;

    /// Enables OK exactly when the current item can be picked, and then takes it as the path.
    bool checkFile();

private slots:
    void on_treeView_activated(const QModelIndex &index);
    void on_buttonBox_accepted();
    void on_treeView_clicked(const QModelIndex &index);
    void on_treeView_doubleClicked(const QModelIndex &index);

private:
    QFileSystemModel *model; ///< child of the tree view
    QString path;
    bool folderMode;
    std::unique_ptr<Ui::FileDialog> ui;
};
