#include "check/caseclashes.h"
#include "check/rules.h"

#include "io/repositoryindex.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <utility>

namespace Check {

namespace {

constexpr QLatin1Char SLASH('/');
constexpr qsizetype FAT_LENGTH = 255;

using IsFaulty = bool (*)(const QString &part);

/// The given paths up to each of their faulty parts, each once.
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

/// The paths of the app that URLs are made of.
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

template <IsFaulty isFaulty> void onTransmitter(const Row &row, const Report &report)
{
    reportPlaces(row, report, row.publishedFiles(), isFaulty);
}

template <IsFaulty isFaulty> void inUrls(const Row &row, const Report &report)
{
    reportPlaces(row, report, urlPaths(row), isFaulty);
}

void differInCase(const Catalogue &catalogue, const Report &report)
{
    CaseClashes clashes;
    for (const Row &row : catalogue.rows) {
        for (const ListedPath &listed : row.listed) {
            for (const PublishedFile &file : listed.files) {
                const QList<CaseClashes::Clash> found = clashes.add(file.path);
                for (const CaseClashes::Clash &clash : found)
                    reportAt(row, report, {clash.path, clash.other});
            }
        }
    }
}

void fatLength(const Row &row, const Report &report)
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
    for (const QString &path : std::as_const(tooLong)) {
        const qsizetype part = path.size() - path.lastIndexOf(SLASH) - 1;
        const qsizetype length = part > FAT_LENGTH ? part : APPS_FOLDER.size() + path.size();
        reportAt(row, report, {path, QString::number(length)});
    }
}

} // namespace

QList<Rule> targetRules()
{
    using enum Severity;
    return {
        {"path-case", Error,
         "\"%1\" differs from \"%2\" only in case, and would take its place on a transmitter: rename it.", differInCase,
         Places{.file = 1}},
        {"fat-characters", Error, "\"%1\" has a character that a transmitter's file system does not allow: rename it.",
         inEachApp<onTransmitter<isBadOnFat>>, Places{.file = 1}},
        {"fat-length", Error, "\"%1\" has %2 characters, and a transmitter's file system allows 255: shorten it.",
         inEachApp<fatLength>, Places{.file = 1, .actual = 2}},
        {"fat-ending", Error, "\"%1\" ends with a dot or a space, which a transmitter's file system drops: rename it.",
         inEachApp<onTransmitter<endsBadlyForFat>>, Places{.file = 1}},
        {"fat-reserved", Error, "\"%1\" is a name that FAT file systems reserve: rename it.",
         inEachApp<onTransmitter<isReservedOnFat>>, Places{.file = 1}},
        {"url-characters", Error,
         "\"%1\" has a \"#\", \"?\", \"%\" or \"\\\", which a URL cannot contain as it is: rename it.",
         inEachApp<inUrls<isCutInUrl>>, Places{.file = 1}},
        {"url-escapes", Warning,
         "\"%1\" has a character that clients must escape in a URL: use plain letters, digits, \"-\" and \"_\" only, "
         "or make sure that they do.",
         inEachApp<inUrls<isEscapedInUrl>>, Places{.file = 1}},
    };
}

} // namespace Check
