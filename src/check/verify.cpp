#include "check/verify.h"

#include "check/caseclashes.h"
#include "check/page.h"
#include "check/projecttree.h"
#include "io/filehash.h"
#include "io/folderwalk.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"
#include "io/wholefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace Check {

namespace {

using enum Severity;

constexpr std::array RULES{
    Rule{"index-form", Error, "%1 is missing or of another kind: publish the index again."},
    Rule{"url-elsewhere", Error,
         "\"%1\" does not begin with the repository URL: publish the index again with this URL.", nullptr,
         Places{.file = 1}},
    Rule{"url-characters", Error,
         "\"%1\" has a \"#\", \"?\", \"%\" or \"\\\", which a URL cannot contain as it is: rename it.", nullptr,
         Places{.file = 1}},
    Rule{"path-escapes", Error, "\"%1\" leads out of the folder, or is no path: publish a file inside of it.", nullptr,
         Places{.file = 1}},
    Rule{"destination-differs", Error, "The destination of \"%1\" is \"%2\", not \"%3\": publish the index again.",
         nullptr, Places{.file = 1, .expected = 3, .actual = 2}},
    Rule{"destination-twice", Error,
         "\"%1\" is to have the hash \"%3\", but \"%2\" elsewhere in the index: keep one of the files.", nullptr,
         Places{.file = 1, .expected = 2, .actual = 3}},
    Rule{"destination-case", Error,
         "\"%1\" differs from \"%2\" only in case, and would take its place on a transmitter: rename it.", nullptr,
         Places{.file = 1}},
    Rule{"file-missing", Error, "\"%1\" is not in the folder: upload it.", nullptr, Places{.file = 1}},
    Rule{"file-other-case", Error, "\"%2\" is called \"%1\" in the index: rename it.", nullptr,
         Places{.file = 1, .expected = 1, .actual = 2}},
    Rule{"file-unreadable", Error, "\"%1\" cannot be read: allow reading it.", nullptr, Places{.file = 1}},
    Rule{"size-differs", Error, "\"%1\" has %2 bytes, the index says %3: upload it again, or publish the index again.",
         nullptr, Places{.file = 1, .expected = 3, .actual = 2}},
    Rule{"hash-missing", Error, "\"%1\" has no hash, as it could not be read: publish the index again.", nullptr,
         Places{.file = 1}},
    Rule{"hash-differs", Error,
         "\"%1\" has the hash %2, the index says %3: upload it again, or publish the index again.", nullptr,
         Places{.file = 1, .expected = 3, .actual = 2}},
    Rule{"icon-not-found", Error, "The icon \"%1\" is not in the folder: upload it.", nullptr, Places{.file = 1}},
    Rule{"description-not-found", Error, "The description \"%1\" is not in the folder: upload it.", nullptr,
         Places{.file = 1}},
    Rule{"file-unnamed", Warning, "The index does not name \"%1\": remove it, or publish the index again.", nullptr,
         Places{.file = 1}},
};

struct Member
{
    const char *name;
    QJsonValue::Type type;
};

/// What every app has.
constexpr std::array MEMBERS{
    Member{"id", QJsonValue::Double},          Member{"version", QJsonValue::String},
    Member{"author", QJsonValue::String},      Member{"hw", QJsonValue::Array},
    Member{"releaseDate", QJsonValue::String}, Member{"name", QJsonValue::Object},
    Member{"description", QJsonValue::Object}, Member{"previewIcon", QJsonValue::String},
    Member{"files", QJsonValue::Array},
};

/// Whether a path stays below where it begins, and is written in one way only.
bool isCleanPath(const QString &path)
{
    return !path.isEmpty() && !isAbsolutePath(path) && !climbsOut(path) && QDir::cleanPath(path) == path;
}

QString appName(const QJsonObject &app)
{
    const QJsonObject names = app.value(QLatin1String("name")).toObject();
    const QJsonValue name = names.contains(DEFAULT_LANGUAGE) || names.isEmpty() ? names.value(DEFAULT_LANGUAGE)
                                                                                : names.constBegin().value();
    return name.toString();
}

class Verification
{
public:
    Verification(const QString &folder, QString url) : tree(QDir(folder).canonicalPath()), repoUrl(std::move(url)) { }

    QList<Finding> findings;

    void verify(const QJsonObject &index)
    {
        const QJsonValue applications = index.value(QLatin1String("applications"));
        if (!applications.isArray())
            report("index-form", {QStringLiteral("\"applications\"")});
        const QJsonArray apps = applications.toArray();
        for (const auto object : apps)
            verifyApp(object);
        app.clear();
    }

    void addUnnamed(const QString &indexFile)
    {
        used.insert(PROJECT_FILE_NAME);
        used.insert(INDEX_FILE_NAME);
        used.insert(QDir(tree.path()).relativeFilePath(QFileInfo(indexFile).canonicalFilePath()));
        const QStringList unnamed = tree.unused(used);
        for (const QString &path : unnamed)
            report("file-unnamed", {path});
    }

private:
    void report(const char *code, const QStringList &particulars)
    {
        const auto *rule =
            std::find_if(RULES.begin(), RULES.end(), [code](const Rule &one) { return qstrcmp(one.code, code) == 0; });
        Q_ASSERT(rule != RULES.end());
        Report(*rule, &findings).add(app, 0, particulars);
    }

    void verifyApp(const QJsonValue &value)
    {
        const QJsonObject object = value.toObject();
        app = appName(object);
        if (!value.isObject()) {
            report("index-form", {QStringLiteral("an app")});
            return;
        }
        for (const Member &member : MEMBERS) {
            if (object.value(QLatin1String(member.name)).type() != member.type)
                report("index-form", {QStringLiteral("\"%1\"").arg(QLatin1String(member.name))});
        }
        const QJsonArray entries = object.value(QLatin1String("files")).toArray();
        for (const auto entry : entries)
            verifyFile(entry.toObject());

        const QJsonValue icon = object.value(QLatin1String("previewIcon"));
        if (icon.isString() && icon.toString() != repoUrl)
            verifyIcon(icon.toString());
        const QJsonObject descriptions = object.value(QLatin1String("description")).toObject();
        for (auto entry = descriptions.constBegin(); entry != descriptions.constEnd(); ++entry) {
            if (entry.value().isString())
                verifyDescription(entry.value().toString());
            else
                report("index-form", {QStringLiteral("the description in \"%1\"").arg(entry.key())});
        }
    }

    void verifyFile(const QJsonObject &entry)
    {
        const QJsonValue url = entry.value(QLatin1String("url"));
        const QJsonValue destination = entry.value(QLatin1String("destination"));
        const QJsonValue size = entry.value(QLatin1String("size"));
        const QJsonValue hash = entry.value(QLatin1String("hash"));
        if (!url.isString() || !destination.isString() || !size.isDouble() || !hash.isString()) {
            report("index-form", {QStringLiteral("a member of the file entry \"%1\"").arg(url.toString())});
            return;
        }
        verifyDestination(destination.toString(), hash.toString());
        const std::optional<QString> path = pathOf(url.toString());
        if (!path)
            return;
        if (destination.toString() != APPS_FOLDER + *path)
            report("destination-differs", {*path, destination.toString(), APPS_FOLDER + *path});
        if (isThere(*path, "file-missing"))
            verifyContent(*path, size.toInteger(-1), hash.toString());
    }

    void verifyDestination(const QString &destination, const QString &hash)
    {
        if (!destination.startsWith(APPS_FOLDER) || !isCleanPath(destination)) {
            report("path-escapes", {destination});
            return;
        }
        const auto before = hashes.constFind(destination);
        if (before == hashes.constEnd())
            verifyCase(destination);
        else if (*before != hash)
            report("destination-twice", {destination, *before, hash});
        hashes.insert(destination, hash);
    }

    void verifyCase(const QString &destination)
    {
        const QList<CaseClashes::Clash> found = clashes.add(destination);
        for (const CaseClashes::Clash &clash : found)
            report("destination-case", {clash.path, clash.other});
    }

    void verifyContent(const QString &path, qint64 size, const QString &hash)
    {
        static const QRegularExpression digest(QStringLiteral("\\A[0-9a-f]{40}\\z"));
        if (hash.isEmpty()) {
            report("hash-missing", {path});
            return;
        }
        if (!digest.match(hash).hasMatch()) {
            report("index-form", {QStringLiteral("the hash of \"%1\"").arg(path)});
            return;
        }
        const QFileInfo info(tree.path(path));
        if (info.size() != size) {
            report("size-differs", {path, QString::number(info.size()), QString::number(size)});
            return;
        }
        const auto real = hasher.hash(info.filePath());
        if (!real)
            report("file-unreadable", {path});
        else if (*real != hash)
            report("hash-differs", {path, *real, hash});
    }

    void verifyIcon(const QString &url)
    {
        const std::optional<QString> path = pathOf(url);
        if (path && isThere(*path, "icon-not-found") && !readBeginning(tree.path(*path), 0))
            report("file-unreadable", {*path});
    }

    void verifyDescription(const QString &url)
    {
        const std::optional<QString> path = pathOf(url);
        if (!path)
            return;
        const bool isNamed = isThere(*path, "description-not-found");
        if (tree.isOutside(*path))
            return;
        const auto page = readPage(tree.path(), *path);
        if (isNamed && !page)
            report("file-unreadable", {*path});
        const QList<Picture> pictures = page.value_or(Page()).pictures;
        for (const Picture &picture : pictures)
            tree.use(picture.path.value_or(QString()), &used);
    }

    /// The path in the folder that a URL names; nothing, and a finding, when there is none.
    std::optional<QString> pathOf(const QString &url)
    {
        if (!url.startsWith(repoUrl)) {
            report("url-elsewhere", {url});
            return std::nullopt;
        }
        const QString path = url.mid(repoUrl.size());
        used.insert(path);
        if (!isCleanPath(path)) {
            report("path-escapes", {path});
            return std::nullopt;
        }
        if (isCutInUrl(path))
            report("url-characters", {path});
        return path;
    }

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
    FileHasher hasher{QCryptographicHash::Sha1};
    QString repoUrl;
    QString app; // that is verified now
    QSet<QString> used;
    QHash<QString, QString> hashes; // by destination
    CaseClashes clashes; // of destinations
};

int lineOf(const QByteArray &content, qsizetype offset)
{
    return static_cast<int>(content.left(offset).count('\n')) + 1;
}

FileResult<QJsonObject> readIndex(const QString &path)
{
    const auto content = readWholeFile(path, LARGEST_CATALOGUE);
    if (!content)
        return content.error();
    QJsonParseError error;
    const QJsonDocument index = QJsonDocument::fromJson(*content, &error);
    if (error.error != QJsonParseError::NoError)
        return FileError{path, error.errorString(), lineOf(*content, error.offset)};
    return index.object();
}

Result resultOf(const QJsonObject &index, const QList<Finding> &findings)
{
    Result result{findings};
    const QJsonArray apps = index.value(QLatin1String("applications")).toArray();
    result.apps = apps.size();
    for (const auto app : apps)
        result.files += app.toObject().value(QLatin1String("files")).toArray().size();
    return result;
}

} // namespace

FileResult<Result> verifyIndex(const QString &folder, const QString &indexFile, const QString &repoUrl)
{
    if (const auto listed = listFolder(folder); !listed)
        return listed.error();
    const auto index = readIndex(indexFile);
    if (!index)
        return index.error();
    Verification verification(folder, repoUrl);
    verification.verify(*index);
    verification.addUnnamed(indexFile);
    return resultOf(*index, verification.findings);
}

QList<Rule> verifyRules()
{
    return {RULES.begin(), RULES.end()};
}

} // namespace Check
