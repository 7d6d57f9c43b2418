#pragma once

#include "check/finding.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QLatin1String>
#include <QList>
#include <QString>
#include <QStringList>

namespace Check {

/// A member of an app that differs, or a part of it: one language, or the transmitters that were added or removed.
struct ValueChange
{
    QLatin1String member; ///< its name in the index
    QLatin1String title; ///< its name for people
    QString language; ///< of a name or a description; empty for the whole member, and for transmitters
    QJsonValue before; ///< undefined when it was added
    QJsonValue after; ///< undefined when it was removed
};

/// The destinations of files that differ, in the order of the index, each once; empty for entries without one.
struct FileChanges
{
    QStringList added;
    QStringList removed;
    QStringList changed; ///< with another size or hash

    [[nodiscard]] bool isEmpty() const { return added.isEmpty() && removed.isEmpty() && changed.isEmpty(); }
};

/// What differs between an app in two indexes.
struct AppChange
{
    QJsonObject before; ///< the whole app
    QJsonObject after;
    QList<ValueChange> values = {}; ///< of everything but the files
    FileChanges files = {};
    QList<Finding> findings = {};

    [[nodiscard]] bool isEmpty() const { return values.isEmpty() && files.isEmpty(); }
};

/// What differs between two indexes; each list is in the order of the index that has the apps.
struct IndexDiff
{
    QList<QJsonObject> added;
    QList<QJsonObject> removed;
    QList<AppChange> changed; ///< in the order of the newer index
    qsizetype apps = 0; ///< in the newer index

    [[nodiscard]] bool isEmpty() const { return added.isEmpty() && removed.isEmpty() && changed.isEmpty(); }
};

/// Compares the apps of two indexes. Those of one name are paired in their order. Neither the order of apps, files and
/// transmitters counts, nor the repository URL. Values of a wrong kind are compared as they are.
[[nodiscard]] IndexDiff compareIndexes(const QJsonArray &before, const QJsonArray &after);

/// The rules of compareIndexes().
[[nodiscard]] QList<Rule> diffRules();

} // namespace Check
