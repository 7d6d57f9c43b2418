#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <utility>

namespace Check {

/// A folder as it is on the disk, whose listings are remembered.
class ProjectTree
{
public:
    /// The path is canonical.
    explicit ProjectTree(QString folder);

    [[nodiscard]] const QString &path() const { return root; }
    [[nodiscard]] QString path(const QString &relative) const;

    /// The path as it is spelled on the disk, where its case may differ; empty when there is no such file or folder.
    [[nodiscard]] QString spelling(const QString &relative) const;

    /// Whether an existing path is in the folder when its links are followed.
    [[nodiscard]] bool holds(const QString &path) const;

    /// Whether a path is absolute or leads out of the folder, with ".." or through a link. Nothing is opened.
    [[nodiscard]] bool isOutside(const QString &relative) const;

    /// Adds a path, and the path that it leads to, to the used ones.
    void use(const QString &path, QSet<QString> *used) const;

    /// The files that are not used, without hidden ones. A folder without any used file is listed itself, with a "/"
    /// at its end.
    [[nodiscard]] QStringList unused(const QSet<QString> &used) const;

private:
    struct Names
    {
        QSet<QString> exact;
        QMultiHash<QString, QString> folded; ///< by the name in folded case
    };

    /// The same for the parts of a path below a folder. A folder and the number of parts that were not found in it are
    /// a dead end; it is remembered, as links may lead there under very many names.
    [[nodiscard]] QString spelling(const QStringList &parts, const QString &folder,
                                   QSet<std::pair<QString, qsizetype>> *deadEnds) const;

    /// The canonical path; empty when there is nothing.
    [[nodiscard]] QString canonical(const QString &path) const;

    /// The names in a folder; none when it is outside.
    [[nodiscard]] const Names &names(const QString &folder) const;

    QString root;
    mutable QHash<QString, Names> known;
    mutable QHash<QString, QString> canonicalFolders;
};

/// Whether a path is absolute on any system.
[[nodiscard]] bool isAbsolutePath(const QString &path);

/// Whether a relative path leads out of its folder by "..".
[[nodiscard]] bool climbsOut(const QString &path);

/// Whether a path has a character that cuts a URL short, or means something else in it.
[[nodiscard]] bool isCutInUrl(const QString &path);

/// Whether a path has another character that clients must escape in a URL.
[[nodiscard]] bool isEscapedInUrl(const QString &path);

} // namespace Check
