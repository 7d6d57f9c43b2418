#pragma once

#include "model/appconfig.h"

#include <QObject>

struct IndexReport;

/// The open project: its apps, which of them is current, and whether they differ from the project file.
///
/// An index outside of the list means that no app is current. Every operation that changes the apps
/// emits appsChanged(); only setIndex() emits currentIndexChanged().
class AppConfigModel : public QObject
{
    Q_OBJECT

public:
    explicit AppConfigModel(QObject *parent = nullptr);

    QList<AppConfig> apps; ///< in file order
    int index = -1; ///< position of the current app
    bool modified = false;

    /// A copy of the current app; a default one when there is none.
    [[nodiscard]] AppConfig getCurrentCfg() const;

    /// The app at a position, valid until the apps change; null when there is none.
    [[nodiscard]] const AppConfig *getAppCfg(int i) const;

    /// Writes the general values into the current app; versions come as typed, types are TxType values.
    /// Does nothing, and emits nothing, without a current app.
    void applyChanges(const QMap<QString, QString> &names, const QString &author, const QString &version, QDate date,
                      const QString &icon, const QString &minTxVersion, QList<int> types);

    /// Replace the files or the descriptions of the current app. Without one nothing changes,
    /// but appsChanged() is emitted.
    void setAppFiles(const QStringList &files);
    void setDescriptionFiles(const QMap<QString, QString> &descriptions);

    /// Empties the project and clears the mark of unsaved changes.
    void clear();

    /// Replaces the apps by those of a project file; the index stays what it was.
    /// False, without a signal, when the file cannot be read (nothing changed)
    /// or at its first malformed line (the records before it are loaded).
    [[nodiscard]] bool load(const QString &path);

    /// False when the file could not be replaced: it is as it was, and the changes stay unsaved. Emits nothing.
    [[nodiscard]] bool save(const QString &path);

    /// Publishes the project as a JSON index. The repository URL is put before every path, unchanged.
    /// False when the file cannot be opened for writing. Emits nothing and does not count as saving.
    bool saveRepo(const QString &jsonFile, const QString &repoUrl, const QString &projectDir,
                  IndexReport *report = nullptr) const;

public slots:
    /// Appends a new app and makes it current, without currentIndexChanged().
    void createNew();

    /// Emits currentIndexChanged() in any case. The index is not checked.
    void setIndex(int i);

    /// Removes the current app, if there is one; the next one, or else the last one, becomes current.
    /// Marks the project as modified in any case.
    void removeCurrent();

signals:
    void currentIndexChanged(int index);
    void appsChanged();

private:
    AppConfig *current();
};
