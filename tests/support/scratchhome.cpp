#include "scratchhome.h"

#include <QCoreApplication>
#include <QSettings>

using namespace Qt::StringLiterals;

ScratchHome::ScratchHome()
{
    for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"})
        qputenv(variable, folder.path().toLocal8Bit());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    // A test must not clear the user's own settings, which some platforms keep elsewhere.
    if (!QSettings(u"Orva model"_s, u"Catalist"_s).fileName().startsWith(folder.path()))
        qFatal("The settings cannot be redirected here");
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}
