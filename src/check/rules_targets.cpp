#include "check/rules.h"

#include "io/repositoryindex.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <utility>

namespace {

constexpr QLatin1Char SLASH('/');
constexpr qsizetype FAT_LENGTH = 255;

using IsFaulty = bool (*)(const QString &part);

/// The paths up to each faulty part of the given ones, every place once.
QStringList faultyPlaces(const QStringList &paths, IsFaulty isFaulty)
{
    QStringList places;
    QSet<QString> once;
    for (const QString &path : paths) {
        qsizetype end = 0;
        const QStringList parts = path.split(SLASH);
        for (const QString &part : parts) {
            end += part.size();
            const QString place = path.left(end);
            if (isFaulty(part) && !once.contains(place)) {
                places.append(place);
                once.insert(place);
            }
            ++end;
        }
    }
    return places;
}

void reportPlaces(const Row &row, const Report &report, const QStringList &paths, IsFaulty isFaulty)
{
    const QStringList places = faultyPlaces(paths, isFaulty);
    for (const QString &place : places)
        reportAt(row, report, {place});
}

/// What of the app goes into URLs, as it stands there.
QStringList urlPaths(const Row &row)
{
    QStringList paths = row.pages();
    for (const ListedPath &listed : row.listed) {
        for (const PublishedFile &file : listed.files)
            paths.append(file.path);
    }
    return paths;
}

bool isBadOnFat(const QString &part)
{
    return std::any_of(part.cbegin(), part.cend(), [](QChar character) {
        return character < QLatin1Char(' ') || character == QChar(0x7f)
               || QStringLiteral("\"*:<>?\\|").contains(character);
    });
}

bool isTooLongForFat(const QString &part)
{
    return part.size() > FAT_LENGTH;
}

bool endsBadlyForFat(const QString &part)
{
    const bool isDots = part == QLatin1String(".") || part == QLatin1String("..");
    return !isDots && (part.endsWith(QLatin1Char('.')) || part.endsWith(QLatin1Char(' ')));
}

bool isReservedOnFat(const QString &part)
{
    static const QRegularExpression reserved(QStringLiteral("\\A(CON|PRN|AUX|NUL|COM[1-9]|LPT[1-9])\\s*(\\.|\\z)"),
                                             QRegularExpression::CaseInsensitiveOption);
    return reserved.match(part).hasMatch();
}

bool isEscapedInUrl(const QString &part)
{
    static const QRegularExpression escaped(QStringLiteral(R"([^!$&'()*+,.0-9:;=@A-Z_a-z~#?%\\-])"));
    return part.contains(escaped);
}

} // namespace

namespace TargetRules {

void differInCase(const Catalogue &catalogue, const Report &report)
{
    QHash<QString, QString> files;
    QHash<QString, QString> folders; // which may differ among themselves, as they become one
    QSet<QString> reported;
    const auto compare = [&](const Row &row, const QString &path, const QString &first) {
        if (first.isEmpty() || first == path || reported.contains(path))
            return;
        reportAt(row, report, {path, first});
        reported.insert(path);
    };
    for (const Row &row : catalogue.rows) {
        for (const ListedPath &listed : row.listed) {
            for (const PublishedFile &file : listed.files) {
                const QString folded = file.path.toCaseFolded();
                const QString first = files.value(folded, file.path);
                files.insert(folded, first);
                compare(row, file.path, first);
                compare(row, file.path, folders.value(folded));
                for (qsizetype end = file.path.indexOf(SLASH); end > 0; end = file.path.indexOf(SLASH, end + 1)) {
                    const QString folder = file.path.left(end);
                    const QString foldedFolder = folder.toCaseFolded();
                    folders.insert(foldedFolder, folder);
                    compare(row, folder, files.value(foldedFolder));
                }
            }
        }
    }
}

void fatCharacters(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    reportPlaces(row, report, row.publishedFiles(), isBadOnFat);
}

void fatLength(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    const QStringList paths = row.publishedFiles();
    QStringList tooLong = faultyPlaces(paths, isTooLongForFat);
    QSet<QString> once(tooLong.cbegin(), tooLong.cend());
    for (const QString &path : paths) {
        if (APPS_FOLDER.size() + path.size() > FAT_LENGTH && !once.contains(path)) {
            tooLong.append(path);
            once.insert(path);
        }
    }
    for (const QString &path : std::as_const(tooLong))
        reportAt(row, report, {path});
}

void fatEnding(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    reportPlaces(row, report, row.publishedFiles(), endsBadlyForFat);
}

void fatReserved(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    reportPlaces(row, report, row.publishedFiles(), isReservedOnFat);
}

void urlCharacters(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    reportPlaces(row, report, urlPaths(row), isCutInUrl);
}

void urlEscapes(const Catalogue & /*catalogue*/, const Row &row, const Report &report)
{
    reportPlaces(row, report, urlPaths(row), isEscapedInUrl);
}

} // namespace TargetRules
