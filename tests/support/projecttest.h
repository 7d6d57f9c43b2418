#pragma once

#include "windowtest.h"

#include <QByteArray>
#include <QDir>
#include <QLabel>
#include <QMessageBox>
#include <QString>
#include <QStringList>
#include <QTest>

inline const QByteArray TWO_APPS = HEADER
                                   + "{\"en\":\"First\"};A;1.0;674;05-03-2024;{\"en\":\"en.html\"};a.txt;;5.03\n"
                                     "{\"en\":\"Second\"};B;2.0;675;06-03-2024;{};;;5.04\n";
inline const QByteArray ONE_APP = HEADER + "{\"en\":\"Only\"};C;;;;{};;;0.00\n";

inline const QString LOAD_ERROR = QStringLiteral("Error loading <b>Apps.csv</b> settings");
inline const QString SAVE_ERROR = QStringLiteral("Error saving <b>Apps.csv</b> settings");
inline const QString NO_PROJECT = QStringLiteral("First create a new project");

/// What a test of the window and its project has in its hands. The current folder is not that of the project.
class ProjectTest : public WindowTest
{
protected:
    QString csv;

    void init() override
    {
        WindowTest::init();
        csv = folder->path(QStringLiteral("project/Apps.csv"));
        folder->makeFolder(QStringLiteral("project"));
        folder->makeFolder(QStringLiteral("cwd"));
        startFolder = QDir::currentPath();
        QVERIFY(QDir::setCurrent(folder->path(QStringLiteral("cwd"))));
    }

    void cleanup() override
    {
        QVERIFY(QDir::setCurrent(startFolder));
        WindowTest::cleanup();
    }

    void start() { window = openWindow<MainWindow>(); }

    void startWith(const QByteArray &content)
    {
        folder->write(QStringLiteral("project/Apps.csv"), content);
        folder->write(QStringLiteral("project/en.html"), "<p>text</p>");
        folder->write(QStringLiteral("project/a.txt"), "abc");
        storeProject(csv);
        start();
    }

    [[nodiscard]] QStringList listedApps() const { return listTexts(*window, "listApps"); }
    [[nodiscard]] QString projectLabel() const { return child<QLabel>(*window, "appsLbl")->text(); }
    [[nodiscard]] bool isMarked() const { return window->windowTitle() == QLatin1String("Orva Catalist (*)"); }
    [[nodiscard]] bool isUnmarked() const { return window->windowTitle() == QLatin1String("Orva Catalist"); }

    static void expectError(const ShownDialog &dialog, const QString &text)
    {
        QCOMPARE(dialog.kind, QStringLiteral("QMessageBox"));
        QCOMPARE(dialog.title, QStringLiteral("Error"));
        QCOMPARE(dialog.text, text);
        QCOMPARE(dialog.icon, QMessageBox::Critical);
        QCOMPARE(dialog.buttons, QStringList{QStringLiteral("OK")});
    }

private:
    QString startFolder;
};
