#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <utility>

/// A folder as it lies on the disk, whose own listings are remembered.
class ProjectTree
{
public:
    /// The path is canonical.
    explicit ProjectTree(QString folder);

    [[nodiscard]] const QString &path() const { return root; }
    [[nodiscard]] QString path(const QString &relative) const;

    /// How the disk spells a path that may differ from it in case; empty when there is no such file or folder.
    [[nodiscard]] QString spelling(const QString &relative) const;

    /// Whether what exists under a path lies in the folder, links considered.
    [[nodiscard]] bool holds(const QString &path) const;

    /// Whether a path is absolute or leads out of the folder, by itself or through a link. What is there is not opened.
    [[nodiscard]] bool isOutside(const QString &relative) const;

    /// Adds a path, and that of what it leads to, to the used ones.
    void use(const QString &path, QSet<QString> *used) const;

    /// The files that are not among the used ones, hidden ones apart; for a folder without any used one, itself with
    /// a "/" at its end.
    [[nodiscard]] QStringList unused(const QSet<QString> &used) const;

private:
    struct Names
    {
        QSet<QString> exact;
        QMultiHash<QString, QString> folded; ///< by the name in folded case
    };

    /// The same for the parts of a path below a folder. A folder with the number of parts that are not found in it is
    /// a dead end. Links may lead there again and again, under more names than there is time for.
    [[nodiscard]] QString spelling(const QStringList &parts, const QString &folder,
                                   QSet<std::pair<QString, qsizetype>> *deadEnds) const;

    /// Where a path leads to; empty when there is nothing.
    [[nodiscard]] QString canonical(const QString &path) const;

    /// What is in a folder; nothing for one that leads out.
    [[nodiscard]] const Names &names(const QString &folder) const;

    QString root;
    mutable QHash<QString, Names> known;
    mutable QHash<QString, QString> canonicalFolders;
};

/// Whether a path is relative to no folder, on any system.
[[nodiscard]] bool isAbsolutePath(const QString &path);

/// Whether a relative path climbs out of its folder.
[[nodiscard]] bool climbsOut(const QString &path);

/// Whether a path has a character that cuts a URL short, or means something else in it.
[[nodiscard]] bool isCutInUrl(const QString &path);

/// Whether a path is a link that leads back to itself, or to a folder on the way to it.
[[nodiscard]] bool isCircle(const QString &path);

/// Whether a path is a link whose target is named from the root, so that a copy leads elsewhere.
[[nodiscard]] bool isAbsoluteLink(const QString &path);
