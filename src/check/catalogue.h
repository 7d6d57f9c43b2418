#pragma once

#include "check/page.h"
#include "check/projecttree.h"
#include "model/appconfig.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// A file as it is published.
struct PublishedFile
{
    QString onDisk; ///< relative to the project folder, as it is called there
    QString path; ///< as it stands in URLs and destinations
};

/// What the walk over one listed path met.
struct ListedPath
{
    QString path; ///< as listed
    QList<PublishedFile> files;
    QStringList circles; ///< links that lead back; they are not followed here
    QStringList outside; ///< where the project folder is left
    QStringList unreadable;
    QStringList absoluteLinks; ///< that lead to a place in the project folder
    QStringList missing; ///< links that lead nowhere, in folders
    QStringList others; ///< neither files nor folders, in folders
    QStringList notUtf8; ///< names that are not published, with what could be read of them
    bool isMissing = false;
    bool isOther = false; ///< exists, and is neither file nor folder
};

/// A description.
struct DescriptionFile
{
    QString language;
    QString path;
    std::optional<Page> page; ///< nothing when it cannot be read, or is outside of the project folder
};

/// A line of the project file.
struct Row
{
    int line = 0;
    QStringList cells; ///< as they stand
    std::optional<AppConfig> app; ///< nothing when the line cannot be understood
    bool isHeader = false; ///< or is skipped like one
    QList<ListedPath> listed;
    QList<DescriptionFile> descriptions;

    /// The name that the editor lists the app by, or another one of its names.
    [[nodiscard]] QString name() const;

    /// The paths of the icon and of the descriptions.
    [[nodiscard]] QStringList pages() const;

    /// The paths of the files that are published, as they are called on the disk.
    [[nodiscard]] QStringList publishedFiles() const;
};

/// Everything that the rules look at, read once.
struct Catalogue
{
    QString projectFile;
    ProjectTree tree;
    QList<Row> rows;
};

/// Reads a project file, all of its lines, and walks over what the apps list. Nothing when it cannot be read to its
/// end; the error then says why.
[[nodiscard]] std::optional<Catalogue> readCatalogue(const QString &projectFile, QString *error);

/// Why a line cannot be understood; empty when it can. Names the column and the place in it.
[[nodiscard]] QString rowProblem(const QStringList &cells);

/// The first line of a project file that cannot be understood, as "FILE:LINE: WHY", or why the file cannot be read.
/// Empty when there is no such thing.
[[nodiscard]] QString loadProblem(const QString &projectFile);
