#include "check/verification.h"

#include "check/appname.h"
#include "check/projecttree.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"

#include <QDir>
#include <QJsonArray>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <array>
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
    Rule{"url-escapes", Warning,
         "\"%1\" has a character that clients must escape in a URL: rename it, or make sure that they do.", nullptr,
         Places{.file = 1}},
    Rule{"url-form", Error, "\"%1\" is no URL with a scheme and a host: publish the index again with a repository URL.",
         nullptr, Places{.file = 1}},
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
    Rule{"file-missing", Error, "\"%1\" is missing: upload it.", nullptr, Places{.file = 1}},
    Rule{"file-other-case", Error, "\"%2\" is called \"%1\" in the index: rename it.", nullptr,
         Places{.file = 1, .expected = 1, .actual = 2}},
    Rule{"file-unreadable", Error, "\"%1\" cannot be read: allow reading it.", nullptr, Places{.file = 1}},
    Rule{"size-differs", Error, "\"%1\" has %2 bytes instead of %3: upload it again, or publish the index again.",
         nullptr, Places{.file = 1, .expected = 3, .actual = 2}},
    Rule{"hash-missing", Error, "\"%1\" has no hash, as it could not be read: publish the index again.", nullptr,
         Places{.file = 1}},
    Rule{"hash-differs", Error,
         "\"%1\" has the hash %2, the index says %3: upload it again, or publish the index again.", nullptr,
         Places{.file = 1, .expected = 3, .actual = 2}},
    Rule{"icon-not-found", Error, "The icon \"%1\" is missing: upload it.", nullptr, Places{.file = 1}},
    Rule{"description-not-found", Error, "The description \"%1\" is missing: upload it.", nullptr, Places{.file = 1}},
    Rule{"picture-not-found", Error, "The description \"%2\" shows the picture \"%1\", which is missing: upload it.",
         nullptr, Places{.file = 1}},
    Rule{"http-status", Error, "\"%1\" is answered with the status %2 instead of %3: look at the server.", nullptr,
         Places{.file = 1, .expected = 3, .actual = 2}},
    Rule{"http-failed", Error, "\"%1\" cannot be fetched: %2.", nullptr, Places{.file = 1}},
    Rule{"http-redirect", Warning,
         "\"%1\" is redirected to \"%2\", which a client may not follow: upload the file to its own place.", nullptr,
         Places{.file = 1}},
    Rule{"http-type", Warning, "\"%1\" is served as %2 instead of %3: set its type on the server.", nullptr,
         Places{.file = 1, .expected = 3, .actual = 2}},
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

} // namespace

bool Verification::verify(const QJsonObject &index, const std::optional<QString> &appName)
{
    const QJsonValue applications = index.value(QLatin1String("applications"));
    if (!applications.isArray())
        report("index-form", {QStringLiteral("\"applications\"")});
    const QJsonArray all = applications.toArray();
    for (const auto app : all) {
        if (!appName || nameOf(app.toObject()) == *appName)
            verifyApp(app);
    }
    present.app.clear();
    next();
    return !appName || apps > 0;
}

Result Verification::result() const
{
    QList<PlacedFinding> sorted = findings;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const PlacedFinding &a, const PlacedFinding &b) { return a.position < b.position; });
    Result result{{}, apps, files, true};
    for (const PlacedFinding &one : std::as_const(sorted))
        result.findings.append(one.finding);
    return result;
}

void Verification::reportAt(const Position &position, const char *code, const QStringList &particulars)
{
    const auto *rule =
        std::find_if(RULES.begin(), RULES.end(), [code](const Rule &one) { return qstrcmp(one.code, code) == 0; });
    Q_ASSERT(rule != RULES.end());
    QList<Finding> found;
    Report(*rule, &found).add(position.app, 0, particulars);
    findings.append({{position.number, position.picture}, found.constFirst()});
}

bool Verification::hasHash(const Position &position, const IndexedFile &file)
{
    static const QRegularExpression digest(QStringLiteral("\\A[0-9a-f]{40}\\z"));
    const bool isDigest = digest.match(file.hash).hasMatch();
    if (file.hash.isEmpty())
        reportAt(position, "hash-missing", {file.path});
    else if (!isDigest)
        reportAt(position, "index-form", {QStringLiteral("the hash of \"%1\"").arg(file.path)});
    return isDigest;
}

void Verification::verifyApp(const QJsonValue &value)
{
    const QJsonObject object = value.toObject();
    ++apps;
    present.app = nameOf(object);
    next();
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
        verifyEntry(entry.toObject());

    const QJsonValue icon = object.value(QLatin1String("previewIcon"));
    next();
    if (icon.isString() && icon.toString() != repoUrl) {
        if (const std::optional<QString> path = pathOf(icon.toString()))
            verifyIcon(*path);
    }
    const QJsonObject descriptions = object.value(QLatin1String("description")).toObject();
    for (auto entry = descriptions.constBegin(); entry != descriptions.constEnd(); ++entry) {
        next();
        if (!entry.value().isString())
            report("index-form", {QStringLiteral("the description in \"%1\"").arg(entry.key())});
        else if (const std::optional<QString> path = pathOf(entry.value().toString()))
            verifyDescription(*path);
    }
}

void Verification::verifyEntry(const QJsonObject &entry)
{
    const QJsonValue url = entry.value(QLatin1String("url"));
    const QJsonValue destination = entry.value(QLatin1String("destination"));
    const QJsonValue size = entry.value(QLatin1String("size"));
    const QJsonValue hash = entry.value(QLatin1String("hash"));
    ++files;
    next();
    const bool isSize = size.isDouble() && size.toInteger(-1) >= 0;
    if (!url.isString() || !destination.isString() || !isSize || !hash.isString()) {
        report("index-form", {QStringLiteral("a member of the file entry \"%1\"").arg(url.toString())});
        return;
    }
    verifyDestination(destination.toString(), hash.toString());
    const std::optional<QString> path = pathOf(url.toString());
    if (!path)
        return;
    if (destination.toString() != APPS_FOLDER + *path)
        report("destination-differs", {*path, destination.toString(), APPS_FOLDER + *path});
    verifyFile({*path, size.toInteger(), hash.toString()});
}

void Verification::verifyDestination(const QString &destination, const QString &hash)
{
    if (!destination.startsWith(APPS_FOLDER) || !isCleanPath(destination)) {
        report("path-escapes", {destination});
        return;
    }
    const auto before = hashes.constFind(destination);
    if (before == hashes.constEnd()) {
        const QList<CaseClashes::Clash> found = clashes.add(destination);
        for (const CaseClashes::Clash &clash : found)
            report("destination-case", {clash.path, clash.other});
    } else if (*before != hash) {
        report("destination-twice", {destination, *before, hash});
    }
    hashes.insert(destination, hash);
}

/// The path below the repository URL that a URL names; nothing, and a finding, when there is none.
std::optional<QString> Verification::pathOf(const QString &url)
{
    if (!url.startsWith(repoUrl)) {
        const QUrl parsed(url);
        const bool isComplete = !parsed.scheme().isEmpty() && !parsed.host().isEmpty();
        report(isComplete ? "url-elsewhere" : "url-form", {url});
        return std::nullopt;
    }
    QString path = url.mid(repoUrl.size());
    const bool isKnown = used.contains(path);
    used.insert(path);
    if (!isCleanPath(path)) {
        report("path-escapes", {path});
        return std::nullopt;
    }
    if (isCutInUrl(path))
        report("url-characters", {path});
    if (!isKnown && isEscapedInUrl(path))
        report("url-escapes", {path});
    return path;
}

QList<Rule> verifyRules()
{
    return {RULES.begin(), RULES.end()};
}

} // namespace Check
