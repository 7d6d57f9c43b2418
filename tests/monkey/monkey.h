#pragma once

#include "dialoganswers.h"
#include "folder.h"
#include "model/appconfig.h"
#include "ui/mainwindow.h"
#include "windowfixture.h"

#include <QAbstractButton>
#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QList>
#include <QMessageBox>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <random>

/// A dialog that the next action opens.
struct ExpectedDialog
{
    QString kind;
    QString text;
};

/// Does random actions in the window, and keeps a model of the project, the editor and the disk to compare. Each group
/// of actions has its source file.
class Monkey
{
public:
    explicit Monkey(quint32 seed);
    ~Monkey();
    Q_DISABLE_COPY_MOVE(Monkey)

    /// Does one action. How the window then differs from the model; empty when it does not.
    QString step();
    /// Closes the window without saving. What went wrong; empty when nothing did.
    QString leave();
    [[nodiscard]] QString lastActions() const { return log.join(u'\n'); }

private:
    using Action = void (Monkey::*)();
    struct Weighted
    {
        const char *name;
        Action action;
        int weight;
    };

    int number(int end) { return static_cast<int>(random() % static_cast<quint32>(end)); }
    bool chance(int percent) { return number(100) < percent; }
    QString oneOf(const QStringList &list) { return list.at(number(static_cast<int>(list.size()))); }
    QString someText();
    QString someCode();

    static QString onOrOff(bool checked) { return checked ? QStringLiteral("on") : QStringLiteral("off"); }
    void note(const QString &what) { log.last() += u' ' + what; }
    void expect(const QString &kind, const QString &text) { expected.append({kind, text}); }
    template <typename T> T *get(const char *name) const { return child<T>(*window, name); }
    void press(const char *button) { get<QAbstractButton>(button)->click(); }
    [[nodiscard]] bool areTabsEnabled() const { return index >= 0; }
    [[nodiscard]] bool hasCurrent() const { return index >= 0 && index < records.size(); }
    [[nodiscard]] AppConfig current() const { return records.value(index); }
    [[nodiscard]] QString projectFolder() const { return QFileInfo(appPath).absoluteDir().canonicalPath(); }

    // The list of apps.
    void selectApp();
    void selectNoApp();
    void moveInList();
    void newApp();
    void deleteApp();
    void switchTab();
    void refreshed();

    // General info.
    void editField();
    void editBox();
    void editLanguage();
    void editDate();
    void pickIcon();
    void apply();
    [[nodiscard]] QStringList fields() const;
    [[nodiscard]] QStringList fieldsOf(const AppConfig &app) const;

    // The files of an app.
    void addFile();
    void addFolder();
    void deleteFile();
    void addPicked(const char *button, const QStringList &paths);

    // The descriptions of an app.
    void newDescription();
    void openDescription();
    void deleteDescription();
    void selectDescription();
    void typeInEditor();
    void editCode();
    void autoSave();
    QStringList descriptionFiles();
    void rowSelected(int row);
    void storeEditor();
    void closeEditor();

    // The project, from the start of the window to its end.
    void writeProjects();
    void startWindow();
    void editRepository();
    void newProject();
    void openProject();
    void save();
    void publish();
    void close();
    void changeProjectFile();
    void loaded(const QString &path);
    void cleared();
    void savedProject();

    // The dialogs that come next.
    bool answerLanguage();
    void chooseAndCancel(const QString &path, QMessageBox::StandardButton answer);
    QString answerSaveDialog(const QStringList &paths);
    QString answerOpenDialog(const QStringList &paths);
    /// Answers the dialogs for a new or an existing description. The path of the chosen file.
    QString answerNewRow(QString (Monkey::*answerDialog)(const QStringList &));
    QString choosePath(const QStringList &paths);

    [[nodiscard]] QString difference() const;
    [[nodiscard]] QString dialogDifference() const;
    [[nodiscard]] QString editorDifference() const;

    std::mt19937 random;
    QStringList log;
    Folder folder;
    QString folderBefore = QDir::currentPath();
    std::unique_ptr<DialogAnswers> dialogs = std::make_unique<DialogAnswers>();
    std::unique_ptr<MainWindow> window;
    int names = 0;

    QList<AppConfig> records;
    int index = -1;
    bool modified = false;
    QString appPath;
    QString repository;
    QStringList shownFields;
    int tableRow = -1;
    QString openFile;
    QString editorText;
    std::optional<bool> autoSaveEnabled; ///< unset after emptying an editor, which may or may not count as an edit
    QHash<QString, QByteArray> disk;
    QList<ExpectedDialog> expected;
    QString problem;
};
