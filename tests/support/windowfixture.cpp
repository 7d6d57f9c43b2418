#include "windowfixture.h"

void storeProject(const QString &path)
{
    QSettings(QStringLiteral("Orva model"), QStringLiteral("Catalist")).setValue(QStringLiteral("appPath"), path);
}

void clearSettings()
{
    QSettings(QStringLiteral("Orva model"), QStringLiteral("Catalist")).clear();
}
