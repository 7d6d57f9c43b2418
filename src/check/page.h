#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// What counts of an HTML file.
struct Page
{
    bool isUtf8 = true;
    QStringList pictures; ///< where they are loaded from, as the file says
};

/// Nothing when there is no such file, or when it cannot be read.
[[nodiscard]] std::optional<Page> readPage(const QString &path);

/// The file in the project that a page means by the source of a picture; nothing when it is loaded from elsewhere.
/// A picture that lies in the page itself has an empty path.
[[nodiscard]] std::optional<QString> pictureFile(const QString &pagePath, const QString &source);
