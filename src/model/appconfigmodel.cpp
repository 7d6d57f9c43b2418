#include "model/appconfigmodel.h"

#include "history/history.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"

#include <algorithm>

AppConfigModel::AppConfigModel(QObject *parent) : QObject(parent) { }

AppConfig AppConfigModel::getCurrentCfg() const
{
    return apps.value(index);
}

const AppConfig *AppConfigModel::getAppCfg(int i) const
{
    return i >= 0 && i < apps.size() ? &apps.at(i) : nullptr;
}

AppConfig *AppConfigModel::current()
{
    return index >= 0 && index < apps.size() ? &apps[index] : nullptr;
}

void AppConfigModel::applyChanges(const QMap<QString, QString> &names, const QString &author, const QString &version,
                                  QDate date, const QString &icon, const QString &minTxVersion, QList<int> types)
{
    AppConfig *app = current();
    if (!app)
        return;

    app->names = names;
    app->author = author;
    app->version = QVersionNumber::fromString(version);
    app->date = date;
    app->icon = icon;
    app->minTxVersion = QVersionNumber::fromString(minTxVersion);
    app->hardware.clear();
    for (const int type : types)
        app->hardware.append(TX_IDS[static_cast<size_t>(type)]);

    modified = true;
    emit appsChanged();
}

void AppConfigModel::setAppFiles(const QStringList &files)
{
    if (AppConfig *app = current()) {
        modified = true;
        app->files = files;
    }
    emit appsChanged();
}

void AppConfigModel::setDescriptionFiles(const QMap<QString, QString> &descriptions)
{
    if (AppConfig *app = current()) {
        modified = true;
        app->descriptions = descriptions;
    }
    emit appsChanged();
}

void AppConfigModel::clear()
{
    apps.clear();
    index = -1;
    modified = false;
    emit appsChanged();
}

bool AppConfigModel::load(const QString &path)
{
    if (!readProject(path, &apps))
        return false;
    modified = false;
    emit appsChanged();
    return true;
}

bool AppConfigModel::save(const QString &path)
{
    if (!History::saveFile(path, projectContent(apps)))
        return false;
    modified = false;
    return true;
}

bool AppConfigModel::saveRepo(const QString &jsonFile, const QString &repoUrl, const QString &projectDir,
                              IndexReport *report) const
{
    return writeRepositoryIndex(jsonFile, apps, repoUrl, projectDir, report);
}

void AppConfigModel::createNew()
{
    AppConfig app;
    app.names.insert(DEFAULT_LANGUAGE, PLACEHOLDER_NAME);
    apps.append(app);
    index = static_cast<int>(apps.size()) - 1;
    modified = true;
    emit appsChanged();
}

void AppConfigModel::setIndex(int i)
{
    index = i;
    emit currentIndexChanged(i);
}

void AppConfigModel::removeCurrent()
{
    if (current())
        apps.removeAt(index);
    index = std::min(static_cast<int>(apps.size()) - 1, index);
    modified = true;
    emit appsChanged();
}
