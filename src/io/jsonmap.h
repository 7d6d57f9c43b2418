#pragma once

#include <QMap>
#include <QString>

/// A map of texts as a compact JSON object.
[[nodiscard]] QString jsonFromMap(const QMap<QString, QString> &map);

/// Fills a map with the members of a JSON object, with nothing when it is other JSON. Returns why the text is not JSON;
/// empty when it is.
[[nodiscard]] QString mapFromJson(const QString &json, QMap<QString, QString> *map);
