#pragma once

#include <QString>

/// Where a symbolic link leads to outside of the folder that it is in, whether there is something or not, all links on
/// the way considered. Empty for a link that stays in its folder or below, for one that leads in a circle, and for what
/// is no link.
[[nodiscard]] QString targetOutside(const QString &link);

/// What a path leads to, which need not exist; empty when its links lead in a circle.
[[nodiscard]] QString behindLinks(const QString &path);
