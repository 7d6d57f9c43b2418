#pragma once

#include "dialoganswers.h"
#include "folder.h"
#include "ui/mainwindow.h"
#include "windowfixture.h"

#include <QMessageBox>
#include <QObject>
#include <QString>

#include <memory>

/// Base of the tests of the window. Each starts without settings and history, and must leave no window.
class WindowTest : public QObject
{
    Q_OBJECT

protected slots:
    virtual void init();
    virtual void cleanup();

protected:
    /// The window on a copy of the example catalogue in the folder "catalogue", with its first app selected.
    void openExample();

    void selectApp(int row) const;
    void openDescription(int row = 0, int app = 0) const;
    void typeInDescription(const QString &text) const;

    // Each chooses the file in the dialog of the action.
    void clickNewProject(const QString &path) const;
    void clickOpenProject(const QString &path) const;
    void clickPublish(const QString &path) const;

    [[nodiscard]] QStringList listedApps() const { return listTexts(*window, "listApps"); }
    [[nodiscard]] bool isMarked() const { return window->windowTitle() == QLatin1String("Orva Catalist (*)"); }
    [[nodiscard]] bool isUnmarked() const { return window->windowTitle() == QLatin1String("Orva Catalist"); }

    static void expectError(const ShownDialog &dialog, const QString &text);

    std::unique_ptr<Folder> folder;
    std::unique_ptr<DialogAnswers> answers;
    std::unique_ptr<MainWindow> window; ///< opened by the test itself
};
