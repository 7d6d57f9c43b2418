#include "check/verify.h"

#include "check/page.h"
#include "check/projecttree.h"
#include "check/verification.h"
#include "io/folderwalk.h"
#include "io/hashqueue.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"
#include "io/wholefile.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>

#include <utility>

namespace Check {

namespace {

/// Compares the index with the files in a folder.
class FolderVerification : public Verification
{
public:
    FolderVerification(const QString &folder, QString repositoryUrl, int threads)
        : Verification(std::move(repositoryUrl)), tree(QDir(folder).canonicalPath()), hashes(threads)
    {
    }

    void finishHashes() { hashes.finish(); }

    void addUnnamed(const QString &indexFile)
    {
        used.insert(PROJECT_FILE_NAME);
        used.insert(INDEX_FILE_NAME);
        used.insert(QDir(tree.path()).relativeFilePath(QFileInfo(indexFile).canonicalFilePath()));
        const QStringList unnamed = tree.unused(used);
        for (const QString &path : unnamed)
            report("file-unnamed", {path});
    }

protected:
    void verifyFile(const IndexedFile &file) override
    {
        if (!isThere(file.path, "file-missing") || !hasHash(here(), file))
            return;
        const QFileInfo info(tree.path(file.path));
        if (info.size() != file.size) {
            report("size-differs", {file.path, QString::number(info.size()), QString::number(file.size)});
            return;
        }
        hashes.add(info.filePath(), [this, file, position = here()](const FileResult<ContentHash> &real) {
            if (!real)
                reportAt(position, "file-unreadable", {file.path});
            else if (real->digits != file.hash)
                reportAt(position, "hash-differs", {file.path, real->digits, file.hash});
        });
    }

    void verifyIcon(const QString &path) override
    {
        if (isThere(path, "icon-not-found") && !readBeginning(tree.path(path), 0))
            report("file-unreadable", {path});
    }

    void verifyDescription(const QString &path) override
    {
        const bool isNamed = isThere(path, "description-not-found");
        if (tree.isOutside(path))
            return;
        const auto page = readPage(tree.path(), path);
        if (isNamed && !page)
            report("file-unreadable", {path});
        const QList<Picture> pictures = page.value_or(Page()).pictures;
        for (const Picture &picture : pictures)
            tree.use(picture.path.value_or(QString()), &used);
    }

private:
    bool isThere(const QString &path, const char *missing)
    {
        const QString spelling = tree.spelling(path);
        const bool isFile = !spelling.isEmpty() && QFileInfo(tree.path(spelling)).isFile();
        if (!isFile)
            report(missing, {path});
        else if (spelling != path)
            report("file-other-case", {path, spelling});
        if (!isFile)
            return false;
        tree.use(spelling, &used);
        const bool isInside = tree.holds(tree.path(spelling));
        if (!isInside)
            report("path-escapes", {path});
        return isInside && spelling == path;
    }

    ProjectTree tree;
    HashQueue hashes;
};

int lineOf(const QByteArray &content, qsizetype offset)
{
    return static_cast<int>(content.left(offset).count('\n')) + 1;
}

} // namespace

FileResult<QJsonObject> parseIndex(const QByteArray &content, const QString &place)
{
    QJsonParseError error;
    const QJsonDocument index = QJsonDocument::fromJson(content, &error);
    if (error.error != QJsonParseError::NoError)
        return FileError{place, error.errorString(), lineOf(content, error.offset)};
    return index.object();
}

FileResult<QJsonObject> readIndex(const QString &path)
{
    const auto content = readWholeFile(path, LARGEST_CATALOGUE);
    if (!content)
        return content.error();
    return parseIndex(*content, path);
}

FileResult<Result> verifyFolder(const QString &folder, const NamedIndex &index, const QString &repoUrl,
                                const std::optional<QString> &appName, int threads)
{
    if (const auto listed = listFolder(folder); !listed)
        return listed.error();
    FolderVerification verification(folder, repoUrl, threads);
    if (!verification.verify(index.content, appName))
        return FileError{index.place, QStringLiteral("Has no app called \"%1\"").arg(*appName)};
    verification.finishHashes();
    if (!appName)
        verification.addUnnamed(index.place);
    return verification.result();
}

FileResult<Result> verifyIndex(const QString &folder, const QString &indexFile, const QString &repoUrl,
                               const std::optional<QString> &appName, int threads)
{
    if (const auto listed = listFolder(folder); !listed)
        return listed.error();
    const auto content = readIndex(indexFile);
    if (!content)
        return content.error();
    return verifyFolder(folder, {indexFile, *content}, repoUrl, appName, threads);
}

} // namespace Check
