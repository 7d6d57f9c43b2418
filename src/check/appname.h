#pragma once

#include <QJsonObject>
#include <QString>

namespace Check {

/// The English name of an app in an index, or another one where it has none; empty without any.
[[nodiscard]] QString nameOf(const QJsonObject &app);

} // namespace Check
