#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

namespace Check {

/// Finds the paths that differ only in case from others, and so take their places on a transmitter: files from files,
/// and files from folders. Folders may differ among themselves, as they become one.
class CaseClashes
{
public:
    struct Clash
    {
        QString path; ///< of the file that was added, or of a folder on the way to it
        QString other; ///< that was there before
    };

    /// The clashes that a file brings along. No path comes twice.
    [[nodiscard]] QList<Clash> add(const QString &file);

private:
    QHash<QString, QString> files; // the first of each folded case
    QHash<QString, QString> folders;
    QSet<QString> known; // in a clash
};

} // namespace Check
