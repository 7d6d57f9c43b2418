#include "check/verify.h"

#include "check/page.h"
#include "check/projecttree.h"
#include "check/report.h"
#include "io/filehash.h"
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

#include <array>
#include <optional>
#include <utility>

namespace {

constexpr QLatin1Char SLASH('/');

struct Fault
{
    const char *code;
    Severity severity;
    const char *sentence; ///< what to do; %1 and %2 are filled in
};

using enum Severity;

constexpr Fault FORM{"index-form", Error, "Publish the index anew: %1 is missing or of another kind."};
constexpr Fault ELSEWHERE{"url-elsewhere", Error,
                          "Publish the index anew with this URL: \"%1\" does not begin with it."};
constexpr Fault CUT{"url-characters", Error,
                    "Rename \"%1\": a URL cannot carry its \"#\", \"?\", \"%\" or \"\\\" as written."};
constexpr Fault ESCAPES{"path-escapes", Error,
                        "Publish \"%1\" from inside of the folder: its path leads out, or is none."};
constexpr Fault DESTINATION{"destination-differs", Error, "Publish the index anew: \"%1\" is to go to \"%2\"."};
constexpr Fault TWICE{"destination-twice", Error, "Keep one file for \"%1\": it is to hold two different contents."};
constexpr Fault CASE{"destination-case", Error,
                     "Rename \"%1\": it differs from \"%2\" only in case, and takes its place on a transmitter."};
constexpr Fault MISSING{"file-missing", Error, "Upload \"%1\": it is not in the folder."};
constexpr Fault OTHER_CASE{"file-other-case", Error, "Rename \"%2\" to \"%1\", as the index calls it."};
constexpr Fault UNREADABLE{"file-unreadable", Error, "Make \"%1\" readable."};
constexpr Fault SIZE{"size-differs", Error,
                     "Upload \"%1\" again, or publish the index anew: the size is another one, %2."};
constexpr Fault NO_HASH{"hash-missing", Error, "Publish the index anew: \"%1\" has no hash, as it could not be read."};
constexpr Fault HASH{"hash-differs", Error,
                     "Upload \"%1\" again, or publish the index anew: the content is another one."};
constexpr Fault ICON{"icon-not-found", Error, "Upload the icon \"%1\": it is not in the folder."};
constexpr Fault DESCRIPTION{"description-not-found", Error, "Upload the description \"%1\": it is not in the folder."};
constexpr Fault UNNAMED{"file-unnamed", Warning,
                        "Remove \"%1\", or publish the index anew: the index does not name it."};

constexpr std::array FAULTS{FORM,       ELSEWHERE,  CUT,  ESCAPES, DESTINATION, TWICE, CASE,        MISSING,
                            OTHER_CASE, UNREADABLE, SIZE, NO_HASH, HASH,        ICON,  DESCRIPTION, UNNAMED};

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

/// Whether a path stays below where it begins, and is spelt in one way only.
bool isPlain(const QString &path)
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
            say(FORM, {QStringLiteral("\"applications\"")});
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
            say(UNNAMED, {path});
    }

private:
    void say(const Fault &fault, const QStringList &particulars)
    {
        Report(fault.code, fault.severity, fault.sentence, &findings).add(app, 0, particulars);
    }

    void verifyApp(const QJsonValue &value)
    {
        const QJsonObject object = value.toObject();
        app = appName(object);
        if (!value.isObject()) {
            say(FORM, {QStringLiteral("an app")});
            return;
        }
        for (const Member &member : MEMBERS) {
            if (object.value(QLatin1String(member.name)).type() != member.type)
                say(FORM, {QStringLiteral("\"%1\"").arg(QLatin1String(member.name))});
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
                say(FORM, {QStringLiteral("the description in \"%1\"").arg(entry.key())});
        }
    }

    void verifyFile(const QJsonObject &entry)
    {
        const QJsonValue url = entry.value(QLatin1String("url"));
        const QJsonValue destination = entry.value(QLatin1String("destination"));
        const QJsonValue size = entry.value(QLatin1String("size"));
        const QJsonValue hash = entry.value(QLatin1String("hash"));
        if (!url.isString() || !destination.isString() || !size.isDouble() || !hash.isString()) {
            say(FORM, {QStringLiteral("a member of the file entry \"%1\"").arg(url.toString())});
            return;
        }
        verifyDestination(destination.toString(), hash.toString());
        const std::optional<QString> path = pathOf(url.toString());
        if (!path)
            return;
        if (destination.toString() != APPS_FOLDER + *path)
            say(DESTINATION, {*path, destination.toString()});
        if (isThere(*path, MISSING))
            verifyContent(*path, size.toInteger(-1), hash.toString());
    }

    void verifyDestination(const QString &destination, const QString &hash)
    {
        if (!destination.startsWith(APPS_FOLDER) || !isPlain(destination)) {
            say(ESCAPES, {destination});
            return;
        }
        const auto before = hashes.constFind(destination);
        if (before != hashes.constEnd() && *before != hash)
            say(TWICE, {destination});
        hashes.insert(destination, hash);

        if (before != hashes.constEnd())
            return;
        const QString folded = destination.toCaseFolded();
        const QString first = spellings.value(folded, destination);
        spellings.insert(folded, first);
        compareCase(destination, first);
        compareCase(destination, folders.value(folded));
        for (qsizetype end = destination.lastIndexOf(SLASH); end > 0; end = destination.lastIndexOf(SLASH, end - 1)) {
            const QString folder = destination.left(end);
            const QString foldedFolder = folder.toCaseFolded();
            folders.insert(foldedFolder, folder);
            compareCase(folder, spellings.value(foldedFolder));
        }
    }

    void compareCase(const QString &path, const QString &other)
    {
        if (other.isEmpty() || other == path || inOtherCase.contains(path))
            return;
        say(CASE, {path, other});
        inOtherCase.insert(path);
    }

    void verifyContent(const QString &path, qint64 size, const QString &hash)
    {
        static const QRegularExpression digest(QStringLiteral("\\A[0-9a-f]{40}\\z"));
        if (hash.isEmpty()) {
            say(NO_HASH, {path});
            return;
        }
        if (!digest.match(hash).hasMatch()) {
            say(FORM, {QStringLiteral("the hash of \"%1\"").arg(path)});
            return;
        }
        const QFileInfo info(tree.path(path));
        if (info.size() != size) {
            say(SIZE, {path, QString::number(info.size())});
            return;
        }
        const QString real = hasher.hash(info.filePath());
        if (real.isNull())
            say(UNREADABLE, {path});
        else if (real != hash)
            say(HASH, {path});
    }

    void verifyIcon(const QString &url)
    {
        const std::optional<QString> path = pathOf(url);
        if (path && isThere(*path, ICON) && !openProblem(tree.path(*path)).isEmpty())
            say(UNREADABLE, {*path});
    }

    void verifyDescription(const QString &url)
    {
        const std::optional<QString> path = pathOf(url);
        if (!path)
            return;
        const bool isNamed = isThere(*path, DESCRIPTION);
        if (tree.isOutside(*path))
            return;
        const std::optional<Page> page = readPage(tree.path(*path));
        if (isNamed && !page)
            say(UNREADABLE, {*path});
        const QStringList pictures = page.value_or(Page()).pictures;
        for (const QString &picture : pictures)
            tree.use(pictureFile(*path, picture).value_or(QString()), &used);
    }

    /// The path that a URL stands for; nothing, with a finding, when it stands for none in the folder.
    std::optional<QString> pathOf(const QString &url)
    {
        if (!url.startsWith(repoUrl)) {
            say(ELSEWHERE, {url});
            return std::nullopt;
        }
        const QString path = url.mid(repoUrl.size());
        used.insert(path);
        if (!isPlain(path)) {
            say(ESCAPES, {path});
            return std::nullopt;
        }
        if (isCutInUrl(path))
            say(CUT, {path});
        return path;
    }

    bool isThere(const QString &path, const Fault &missing)
    {
        const QString spelling = tree.spelling(path);
        const bool isFile = !spelling.isEmpty() && QFileInfo(tree.path(spelling)).isFile();
        if (!isFile)
            say(missing, {path});
        else if (spelling != path)
            say(OTHER_CASE, {path, spelling});
        if (!isFile)
            return false;
        tree.use(spelling, &used);
        const bool isInside = tree.holds(tree.path(spelling));
        if (!isInside)
            say(ESCAPES, {path});
        return isInside && spelling == path;
    }

    ProjectTree tree;
    FileHasher hasher{QCryptographicHash::Sha1};
    QString repoUrl;
    QString app; ///< that is being looked at
    QSet<QString> used;
    QHash<QString, QString> hashes; ///< by destination
    QHash<QString, QString> spellings; ///< of destinations, by their folded case
    QHash<QString, QString> folders; ///< of destinations, which may differ among themselves, as they become one
    QSet<QString> inOtherCase; ///< is reported already
};

QString lineOf(const QByteArray &content, qsizetype offset)
{
    return QString::number(content.left(offset).count('\n') + 1);
}

} // namespace

CheckResult verifyIndex(const QString &folder, const QString &indexFile, const QString &repoUrl)
{
    CheckResult result;
    QString problem;
    const std::optional<QByteArray> content = readWholeFile(indexFile, LARGEST_CATALOGUE, &problem);
    if (!QFileInfo::exists(folder)) {
        result.error = folder + QStringLiteral(": No such file or directory");
    } else if (!QFileInfo(folder).isDir()) {
        result.error = folder + QStringLiteral(": Is not a folder");
    } else if (!QFileInfo(folder).isReadable()) {
        result.error = listProblem(folder);
    } else if (!content) {
        result.error = problem;
    }
    if (!result.error.isEmpty())
        return result;

    QJsonParseError error;
    const QJsonDocument index = QJsonDocument::fromJson(*content, &error);
    if (error.error != QJsonParseError::NoError) {
        result.error = QStringLiteral("%1:%2: ").arg(indexFile, lineOf(*content, error.offset)) + error.errorString();
        return result;
    }
    Verification verification(folder, repoUrl);
    verification.verify(index.object());
    verification.addUnnamed(indexFile);
    result.findings = verification.findings;
    return result;
}

QList<KnownCode> verifyCodes()
{
    QList<KnownCode> codes;
    for (const Fault &fault : FAULTS)
        codes.append({QString::fromLatin1(fault.code), fault.severity});
    return codes;
}
