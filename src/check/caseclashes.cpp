#include "check/caseclashes.h"

namespace Check {

QList<CaseClashes::Clash> CaseClashes::add(const QString &file)
{
    QList<Clash> found;
    const auto compare = [&](const QString &path, const QString &other) {
        if (other.isEmpty() || other == path || known.contains(path))
            return;
        found.append({path, other});
        known.insert(path);
    };
    const QString folded = file.toCaseFolded();
    const QString first = files.value(folded, file);
    files.insert(folded, first);
    compare(file, first);
    compare(file, folders.value(folded));
    for (qsizetype end = file.indexOf(QLatin1Char('/')); end > 0; end = file.indexOf(QLatin1Char('/'), end + 1)) {
        const QString folder = file.left(end);
        const QString foldedFolder = folder.toCaseFolded();
        folders.insert(foldedFolder, folder);
        compare(folder, files.value(foldedFolder));
    }
    return found;
}

} // namespace Check
