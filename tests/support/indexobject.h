#pragma once

#include "io/repositoryindex.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

/// What is in the index that repositoryIndex() makes of the same arguments.
template <typename... Arguments> QJsonObject indexObject(const QList<AppConfig> &apps, Arguments &&...arguments)
{
    return QJsonDocument::fromJson(repositoryIndex(apps, std::forward<Arguments>(arguments)...)).object();
}
