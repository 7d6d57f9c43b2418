#pragma once

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

/// Keeps a test program away from the screen and from everything that is the user's own.
/// To be made before the application object.
class ScratchHome
{
public:
    ScratchHome()
    {
        for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"})
            qputenv(variable, folder.path().toLocal8Bit());
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
        // Some platforms keep the settings elsewhere, and a test must not clear the user's own.
        if (!QSettings(QStringLiteral("Orva model"), QStringLiteral("Catalist")).fileName().startsWith(folder.path()))
            qFatal("The settings cannot be redirected here");
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    }

private:
    QTemporaryDir folder;
};

/// Instead of QTEST_MAIN for whatever shows widgets or stores settings.
#define CATALIST_TEST_MAIN(TestClass) CATALIST_TEST_MAIN_WITH(QApplication, TestClass)

/// Instead of QTEST_GUILESS_MAIN for whatever saves files, whose history lies among the user's data.
#define CATALIST_CORE_TEST_MAIN(TestClass) CATALIST_TEST_MAIN_WITH(QCoreApplication, TestClass)

#define CATALIST_TEST_MAIN_WITH(Application, TestClass)                                                                \
    int main(int argc, char *argv[])                                                                                   \
    {                                                                                                                  \
        const ScratchHome home;                                                                                        \
        const Application application(argc, argv);                                                                     \
        TestClass test;                                                                                                \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }
