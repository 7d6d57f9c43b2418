#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace Check {

struct Picture
{
    QString source; ///< as written in the page
    /// In the project; nothing when the picture is loaded from elsewhere, empty when the source is the picture itself.
    std::optional<QString> path;
};

/// What is checked of an HTML file.
struct Page
{
    bool isUtf8 = true;
    QList<Picture> pictures;
};

/// Reads a page by its path in the project; nothing when it cannot be read.
[[nodiscard]] std::optional<Page> readPage(const QString &projectFolder, const QString &path);

} // namespace Check
