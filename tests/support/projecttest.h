#pragma once

#include "windowtest.h"

#include <QByteArray>
#include <QDir>
#include <QLabel>
#include <QString>
#include <QTest>

inline const QByteArray TWO_APPS = HEADER
                                   + "{\"en\":\"First\"};A;1.0;674;05-03-2024;{\"en\":\"en.html\"};a.txt;;5.03\n"
                                     "{\"en\":\"Second\"};B;2.0;675;06-03-2024;{};;;5.04\n";
inline const QByteArray ONE_APP = HEADER + "{\"en\":\"Only\"};C;;;;{};;;0.00\n";

/// Base of the tests of the window and its project. The current folder is not that of the project.
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

    [[nodiscard]] QString projectLabel() const { return child<QLabel>(*window, "appsLbl")->text(); }

private:
    QString startFolder;
};
