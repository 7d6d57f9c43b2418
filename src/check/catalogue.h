#pragma once

#include "check/page.h"
#include "check/projecttree.h"
#include "io/fileresult.h"
#include "io/projectfile.h"

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace Check {

/// A file as it is published.
struct PublishedFile
{
    QString onDisk; ///< its name on the disk, relative to the project folder
    QString path; ///< in URLs and destinations
};

/// What was found under a listed path.
struct ListedPath
{
    QString path; ///< as listed
    QList<PublishedFile> files;
    QStringList circles; ///< links that lead back; they are not followed
    QStringList outside; ///< paths that leave the project folder
    QStringList unreadable;
    QStringList absoluteLinks; ///< links with an absolute target in the project folder
    QStringList missing; ///< links that lead nowhere, in listed folders
    QStringList empty; ///< files without bytes
    QStringList others; ///< neither files nor folders
    QStringList notUtf8; ///< names that are not published, as far as they could be read
    bool isMissing = false;
};

/// A description.
struct DescriptionFile
{
    QString language;
    QString path;
    bool isRead = false; ///< not when it cannot be read, or is outside the project folder
    Page page;
};

/// A line of the project file, with what its app names.
struct Row : ProjectLine
{
    QList<ListedPath> listed;
    QList<DescriptionFile> descriptions;

    /// The name in the default language, or else another one.
    [[nodiscard]] QString name() const;

    /// The paths of the icon and of the descriptions.
    [[nodiscard]] QStringList pages() const;

    /// The paths of the published files on the disk.
    [[nodiscard]] QStringList publishedFiles() const;
};

/// Everything that the rules look at.
struct Catalogue
{
    QString projectFile;
    QDate today;
    ProjectTree tree;
    QList<Row> rows;
};

/// Reads a project file, malformed lines too, and walks over what the apps list.
[[nodiscard]] FileResult<Catalogue> readCatalogue(const QString &projectFile, QDate today);

} // namespace Check
