#pragma once

#include <QString>

/// Where a symbolic link leads when that is outside the folder that it is in. Links on the way are followed; the target
/// need not exist. Empty when the target is in the folder or below it, when links lead in a circle, and when the path
/// is not a link.
[[nodiscard]] QString targetOutside(const QString &link);

/// The path without links of what a path leads to, which need not exist; empty when links lead in a circle.
[[nodiscard]] QString behindLinks(const QString &path);

/// Whether a path is a link that leads back to itself, or to a folder on the way to it.
[[nodiscard]] bool isCircle(const QString &path);

/// Whether a path is a link with an absolute target.
[[nodiscard]] bool isAbsoluteLink(const QString &path);
