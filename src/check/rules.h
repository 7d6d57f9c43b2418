#pragma once

#include "check/catalogue.h"
#include "check/report.h"

// The functions behind the table in checkrules.cpp, by what they look at. Each reports its one fault.

/// Reports the fault at a line.
inline void reportAt(const Row &row, const Report &report, const QStringList &particulars = {})
{
    report.add(row.name(), row.line, particulars);
}

/// Two lower-case letters.
[[nodiscard]] bool isLanguageCode(const QString &text);
[[nodiscard]] bool isOfferedLanguage(const QString &code);

/// The lines of the project file.
namespace LineRules {
void headerMissing(const Catalogue &catalogue, const Report &report);
void headerDiffers(const Catalogue &catalogue, const Report &report);
void headerAgain(const Catalogue &catalogue, const Report &report);
void tooShort(const Catalogue &catalogue, const Report &report);
void tooLong(const Catalogue &catalogue, const Report &report);
void notJson(const Catalogue &catalogue, const Report &report);
void semicolon(const Catalogue &catalogue, const Report &report);
void lineBreak(const Catalogue &catalogue, const Report &report);
void encoding(const Catalogue &catalogue, const Report &report);
void noApps(const Catalogue &catalogue, const Report &report);
} // namespace LineRules

/// What an app says of itself.
namespace FactRules {
void nameMissing(const Catalogue &catalogue, const Row &row, const Report &report);
void nameCode(const Catalogue &catalogue, const Row &row, const Report &report);
void nameNotOffered(const Catalogue &catalogue, const Row &row, const Report &report);
void namesTooMany(const Catalogue &catalogue, const Row &row, const Report &report);
void nameTwice(const Catalogue &catalogue, const Report &report);
void versionMissing(const Catalogue &catalogue, const Row &row, const Report &report);
void versionUnclear(const Catalogue &catalogue, const Row &row, const Report &report);
void dateMissing(const Catalogue &catalogue, const Row &row, const Report &report);
void dateUnclear(const Catalogue &catalogue, const Row &row, const Report &report);
void dateForm(const Catalogue &catalogue, const Row &row, const Report &report);
void minVersionMissing(const Catalogue &catalogue, const Row &row, const Report &report);
void minVersionUnclear(const Catalogue &catalogue, const Row &row, const Report &report);
void hardwareMissing(const Catalogue &catalogue, const Row &row, const Report &report);
void hardwareUnclear(const Catalogue &catalogue, const Row &row, const Report &report);
void hardwareUnknown(const Catalogue &catalogue, const Row &row, const Report &report);
void hardwareTwice(const Catalogue &catalogue, const Row &row, const Report &report);
} // namespace FactRules

/// Icons and descriptions.
namespace PageRules {
void iconMissing(const Catalogue &catalogue, const Row &row, const Report &report);
void iconNotFound(const Catalogue &catalogue, const Row &row, const Report &report);
void iconOutside(const Catalogue &catalogue, const Row &row, const Report &report);
void iconKind(const Catalogue &catalogue, const Row &row, const Report &report);
void iconContent(const Catalogue &catalogue, const Row &row, const Report &report);
void descriptionMissing(const Catalogue &catalogue, const Row &row, const Report &report);
void descriptionNotFound(const Catalogue &catalogue, const Row &row, const Report &report);
void descriptionOutside(const Catalogue &catalogue, const Row &row, const Report &report);
void descriptionCode(const Catalogue &catalogue, const Row &row, const Report &report);
void descriptionNotOffered(const Catalogue &catalogue, const Row &row, const Report &report);
void descriptionEncoding(const Catalogue &catalogue, const Row &row, const Report &report);
void pictureNotFound(const Catalogue &catalogue, const Row &row, const Report &report);
void pictureElsewhere(const Catalogue &catalogue, const Row &row, const Report &report);
} // namespace PageRules

/// What an app lists, and what is published of it.
namespace PathRules {
void form(const Catalogue &catalogue, const Row &row, const Report &report);
void filesMissing(const Catalogue &catalogue, const Row &row, const Report &report);
void empty(const Catalogue &catalogue, const Row &row, const Report &report);
void absolute(const Catalogue &catalogue, const Row &row, const Report &report);
void comma(const Catalogue &catalogue, const Row &row, const Report &report);
void otherCase(const Catalogue &catalogue, const Row &row, const Report &report);
void notFound(const Catalogue &catalogue, const Row &row, const Report &report);
void otherKind(const Catalogue &catalogue, const Row &row, const Report &report);
void notUtf8(const Catalogue &catalogue, const Row &row, const Report &report);
void circle(const Catalogue &catalogue, const Row &row, const Report &report);
void outside(const Catalogue &catalogue, const Row &row, const Report &report);
void absoluteLink(const Catalogue &catalogue, const Row &row, const Report &report);
void unreadable(const Catalogue &catalogue, const Row &row, const Report &report);
void twice(const Catalogue &catalogue, const Row &row, const Report &report);
void shared(const Catalogue &catalogue, const Report &report);
void indexOutside(const Catalogue &catalogue, const Report &report);
void unlisted(const Catalogue &catalogue, const Report &report);
} // namespace PathRules

/// What the paths become: URLs, and places on a transmitter with its FAT file system.
namespace TargetRules {
void differInCase(const Catalogue &catalogue, const Report &report);
void fatCharacters(const Catalogue &catalogue, const Row &row, const Report &report);
void fatLength(const Catalogue &catalogue, const Row &row, const Report &report);
void fatEnding(const Catalogue &catalogue, const Row &row, const Report &report);
void fatReserved(const Catalogue &catalogue, const Row &row, const Report &report);
void urlCharacters(const Catalogue &catalogue, const Row &row, const Report &report);
void urlEscapes(const Catalogue &catalogue, const Row &row, const Report &report);
} // namespace TargetRules
