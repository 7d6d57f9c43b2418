#pragma once

#include "dialoganswers.h"
#include "ui/mainwindow.h"
#include "windowfixture.h"

#include <QApplication>

#include <memory>

/// What a test of the window has in its hands, from its init() to its cleanup().
struct WindowTest
{
    std::unique_ptr<Folder> folder;
    std::unique_ptr<DialogAnswers> answers;
    std::unique_ptr<MainWindow> window; ///< opened by the test itself

    void begin()
    {
        clearSettings();
        folder = std::make_unique<Folder>();
        answers = std::make_unique<DialogAnswers>();
    }

    void end()
    {
        const bool answered = answers->allAnswered();
        answers.reset();
        window.reset();
        folder.reset();
        QVERIFY(answered);
        QVERIFY(QApplication::topLevelWidgets().isEmpty());
    }
};
