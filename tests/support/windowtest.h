#pragma once

#include "dialoganswers.h"
#include "folder.h"
#include "ui/mainwindow.h"
#include "windowfixture.h"

#include <QObject>

#include <memory>

/// What a test of the window has in its hands. Each begins with no settings and no history, and leaves no window.
class WindowTest : public QObject
{
    Q_OBJECT

protected slots:
    virtual void init();
    virtual void cleanup();

protected:
    /// The window on a copy of the example catalogue in the folder "catalogue", with its first app selected.
    void openExample();

    std::unique_ptr<Folder> folder;
    std::unique_ptr<DialogAnswers> answers;
    std::unique_ptr<MainWindow> window; ///< opened by the test itself
};
