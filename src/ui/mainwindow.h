#pragma once

#include "history/unsavedwork.h"
#include "io/projectfile.h"
#include "model/appconfigmodel.h"

#include <QFileDialog>
#include <QMainWindow>
#include <QTimer>

#include <array>
#include <memory>
#include <optional>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QListWidgetItem;

namespace Ui {
class MainWindow;
}

/// Organisation and application name of the settings store, read each time the store is opened.
extern const char *VENDOR_NAME;
extern const char *APP_NAME;

/// The editor. Widgets show copies of the model's records; every edit is made by the model, whose signals
/// refill the widgets. Each tab has a source file of its own: mainwindow_general, _files and _description; so have the
/// project, which is opened, saved and published, and the drafts.
///
/// The constructor restores the settings and reopens the last project, which may show a message box.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    /// Writes what is unsaved into the history at once, because the process is about to end.
    void writeDrafts();

protected:
    void closeEvent(QCloseEvent *event) override;

private slots:
    void descriptionUpdated(int row, int column);
    // Connected by name to the widgets of the form.
    void on_btnNewApp_clicked();
    void on_actionNew_project_triggered();
    void on_applyButton_clicked();
    void on_check1_2_stateChanged(int state);
    void on_check1_3_stateChanged(int state);
    void on_check1_4_stateChanged(int state);
    void on_listApps_currentRowChanged(int currentRow);
    void on_listApps_itemClicked(QListWidgetItem *item);
    void on_btnDeleteApp_clicked();
    void on_actionOpen_project_triggered();
    void on_iconBtn_clicked();
    void on_descriptionEdit_textChanged();
    void on_btnAddFile_clicked();
    void on_btnDeleteFile_clicked();
    void on_actionSave_triggered();
    void on_btnAddFolder_clicked();
    void on_actionSave_generate_JSON_triggered();
    void on_btnNewDescription_clicked();
    void on_btnDeleteDescription_clicked();
    void on_tableWidget_currentCellChanged(int currentRow, int currentColumn, int previousRow, int previousColumn);
    void on_btnAutosave_clicked();
    void on_btnOpenDescription_clicked();
    void on_repository_editingFinished();

private:
    /// The widgets for the name of the app in another language.
    struct LanguageRow
    {
        QLineEdit *name;
        QComboBox *language;
        QCheckBox *used;

        void setEnabled(bool enabled) const;
    };

    /// The static functions of QFileDialog that ask for one file.
    using FileChooser = QString (*)(QWidget *, const QString &, const QString &, const QString &, QString *,
                                    QFileDialog::Options);

    void appIndexChanged(int index);
    void appsChanged();
    void fillAppList();
    void createNewApp();

    void readSettings();
    void writeSettings();
    void setAppPath(const QString &path);
    /// Escapes a text that a tool tip would show as HTML.
    [[nodiscard]] static QString plainToolTip(const QString &text);
    /// The path of the project file; only its usual name when no project is open.
    [[nodiscard]] QString projectPath() const;
    void saveAppsCfg();
    /// Copies unsaved records into the history before they are dropped.
    void keepUnsavedRecords();
    /// Holds records that could be neither saved nor copied.
    void keepRecordsThatFailed();
    /// Shows the project file that was chosen; false when it cannot be loaded.
    bool loadProject(const QString &path);
    void publish(const QString &path);
    /// Asks about texts that are nowhere on the disk until they are, or until the author gives them up.
    void settleUnsavedWork();
    void checkAsterisk();

    [[nodiscard]] std::array<LanguageRow, 3> languageRows() const;
    void showGeneral(const AppConfig &app);
    void showNames(const AppConfig &app);

    void showFiles(const AppConfig &app);
    void addPicked(const QStringList &nameFilters);
    void storeFiles();

    void showDescriptions(const AppConfig &app);
    void setDescriptionPath(const QString &path);
    /// False when the open file could not be saved.
    bool saveCurrenDescription();
    void keepUnsavedDescription();
    [[nodiscard]] QMap<QString, QString> tableDescriptions() const;
    /// Ends the typing of a language code in the table, so that it is saved too.
    void finishTableEdit();
    /// Makes no row current after a code was edited. To be called after the event that ended the editing.
    void leaveCode();
    void showPreview();
    /// Fetches the pictures and style sheets of the preview again.
    void refreshPreview();
    /// Asks for a language and a file and stores the pair. Empty when nothing was stored.
    QString addDescription(FileChooser chooseFile, const QString &caption);

    void prepareDrafts();
    void draftDescription();
    void beginRecordsDraft();
    void goOnWithRecordsDraft();

    /// The content of the project file for a draft, while it is being built.
    struct RecordsDraft
    {
        QString path;
        ProjectBuilder builder;
    };

    AppConfigModel model;
    QString appPath; ///< of the project file; empty when no project is open
    QString descriptionPath; ///< of the file in the description editor; empty when none is open
    std::unique_ptr<Ui::MainWindow> ui;
    bool isLeavingCode = false; ///< from the change of a code in the table to the end of its event
    QTimer leaveCodeTimer; ///< fires at the end of that event
    UnsavedWork work;
    QTimer descriptionDraftTimer; ///< runs while no draft has the last change, or a text is held
    QTimer recordsDraftTimer; ///< the same for the records
    QTimer recordsDraftStep;
    std::optional<RecordsDraft> recordsDraft;
};
