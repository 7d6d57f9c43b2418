#include "check/checkrules.h"

#include "check/rules.h"

#include <algorithm>
#include <array>
#include <limits>

namespace {

struct Rule
{
    const char *code;
    Severity severity;
    const char *sentence; ///< what to do; %1 and %2 are filled by the function
    void (*find)(const Catalogue &catalogue, const Report &report);
};

template <void (*find)(const Catalogue &catalogue, const Row &row, const Report &report)>
void inEachApp(const Catalogue &catalogue, const Report &report)
{
    for (const Row &row : catalogue.rows) {
        if (row.app)
            find(catalogue, row, report);
    }
}

using enum Severity;

constexpr std::array RULES{
    Rule{"header-missing", Warning, "Begin the file with the line \"%1\".", LineRules::headerMissing},
    Rule{"header-differs", Warning, "Make the first line \"%1\"; the columns are read in that order whatever it says.",
         LineRules::headerDiffers},
    Rule{"header-again", Warning, "Take the line out, or name the app: what begins with the cell NAME is passed over.",
         LineRules::headerAgain},
    Rule{"row-too-short", Error, "Complete the line or take it out, as the catalogue does not open with it: %1.",
         LineRules::tooShort},
    Rule{"row-not-json", Error, "Mend the cell, as the catalogue does not open with it: %1.", LineRules::notJson},
    Rule{"row-too-long", Error, "Take each \";\" out of the texts: the line has %1 cells of 9, and \"%2\" is dropped.",
         LineRules::tooLong},
    Rule{"text-semicolon", Error, "Take the \";\" out of %1: it ends the cell when the catalogue is read again.",
         LineRules::semicolon},
    Rule{"text-line-break", Error, "Take the line break out of the text: it ends the line, or is dropped.",
         LineRules::lineBreak},
    Rule{"text-not-utf8", Error, "Save the file as UTF-8: a letter of this line could not be read.",
         LineRules::encoding},

    Rule{"no-apps", Warning, "Add an app: the catalogue has none.", LineRules::noApps},

    Rule{"name-missing", Error, "Name the app in \"en\", the default language.", inEachApp<FactRules::nameMissing>},
    Rule{"name-code", Error, "Put the name in \"%1\" under a code of two lower-case letters.",
         inEachApp<FactRules::nameCode>},
    Rule{"name-not-offered", Warning,
         "Put the name in \"%1\" under a code that the editor offers; Apply would store it under another one.",
         inEachApp<FactRules::nameNotOffered>},
    Rule{"name-too-many", Warning,
         "Leave out a name: the editor shows \"en\" and three others, and Apply would drop the one in \"%1\".",
         inEachApp<FactRules::namesTooMany>},
    Rule{"name-twice", Warning, "Give the app a name of its own; the one in line %1 has the same.",
         FactRules::nameTwice},
    Rule{"version-missing", Error, "Give the app a version.", inEachApp<FactRules::versionMissing>},
    Rule{"version-unclear", Error, "Write the version \"%1\" as numbers with dots; it is read as \"%2\".",
         inEachApp<FactRules::versionUnclear>},
    Rule{"date-missing", Warning, "Give the app a publication date.", inEachApp<FactRules::dateMissing>},
    Rule{"date-unclear", Error, "Write the date \"%1\" as day-month-year, like 05-03-2024; it is read as none.",
         inEachApp<FactRules::dateUnclear>},
    Rule{"date-form", Note, "Write the date \"%1\" as %2, which is read alike everywhere.",
         inEachApp<FactRules::dateForm>},
    Rule{"min-version-missing", Note, "Set the minimum transmitter version, unless every one will do.",
         inEachApp<FactRules::minVersionMissing>},
    Rule{"min-version-unclear", Error, "Write the minimum transmitter version \"%1\" as two numbers; it is read as %2.",
         inEachApp<FactRules::minVersionUnclear>},
    Rule{"hardware-missing", Error, "Choose the transmitters that the app runs on.",
         inEachApp<FactRules::hardwareMissing>},
    Rule{"hardware-unclear", Error, "Replace \"%1\" by the id of a transmitter; it is read as 0.",
         inEachApp<FactRules::hardwareUnclear>},
    Rule{"hardware-unknown", Error, "Replace the id %1, which no known transmitter has.",
         inEachApp<FactRules::hardwareUnknown>},
    Rule{"hardware-twice", Warning, "List the id %1 once.", inEachApp<FactRules::hardwareTwice>},

    Rule{"icon-missing", Warning, "Choose an icon for the app.", inEachApp<PageRules::iconMissing>},
    Rule{"icon-not-found", Error, "Add the icon \"%1\", or choose another one: there is no such file.",
         inEachApp<PageRules::iconNotFound>},
    Rule{"icon-outside", Error, "Move the icon \"%1\" into the project folder and name it from there.",
         inEachApp<PageRules::iconOutside>},
    Rule{"icon-kind", Error, "Choose a jpg, png, jpeg or gif picture instead of \"%1\".",
         inEachApp<PageRules::iconKind>},
    Rule{"icon-content", Error, "Replace \"%1\": it does not hold the picture that its name promises.",
         inEachApp<PageRules::iconContent>},
    Rule{"description-missing", Warning, "Write a description of the app.", inEachApp<PageRules::descriptionMissing>},
    Rule{"description-not-found", Error, "Add the description in \"%1\": there is no file \"%2\".",
         inEachApp<PageRules::descriptionNotFound>},
    Rule{"description-outside", Error, "Move the description \"%1\" into the project folder and name it from there.",
         inEachApp<PageRules::descriptionOutside>},
    Rule{"description-code", Error, "Put the description in \"%1\" under a code of two lower-case letters.",
         inEachApp<PageRules::descriptionCode>},
    Rule{"description-not-offered", Warning, "Put the description in \"%1\" under a code that the editor offers.",
         inEachApp<PageRules::descriptionNotOffered>},
    Rule{"description-not-utf8", Error, "Save \"%1\" as UTF-8.", inEachApp<PageRules::descriptionEncoding>},
    Rule{"picture-not-found", Error, "Add the picture \"%1\" of \"%2\": there is no such file.",
         inEachApp<PageRules::pictureNotFound>},
    Rule{"picture-elsewhere", Warning, "Put the picture \"%1\" of \"%2\" into the project folder.",
         inEachApp<PageRules::pictureElsewhere>},

    Rule{"path-form", Error, "Write \"%1\" as \"%2\": it stands in the URL with its superfluous parts.",
         inEachApp<PathRules::form>},
    Rule{"path-none", Warning, "List the files of the app: none is published.", inEachApp<PathRules::filesMissing>},
    Rule{"path-whole-project", Error, "Take \"%1\" off the list: it publishes the whole project folder.",
         inEachApp<PathRules::empty>},
    Rule{"path-absolute", Error, "List \"%1\" by its path from the project folder.", inEachApp<PathRules::absolute>},
    Rule{"path-comma", Error, "Rename \"%1\": with a \",\" in its name it counts as several paths.",
         inEachApp<PathRules::comma>},
    Rule{"path-other-case", Error, "Write \"%1\" as \"%2\", which it is called on the disk.",
         inEachApp<PathRules::otherCase>},
    Rule{"path-not-found", Error, "Add \"%1\", or take it off the list: there is no such file or folder.",
         inEachApp<PathRules::notFound>},
    Rule{"path-other-kind", Error, "Take \"%1\" off the list: it is neither a file nor a folder.",
         inEachApp<PathRules::otherKind>},
    Rule{"path-not-utf8", Error, "Rename \"%1\", as it is left out: its name is not UTF-8.",
         inEachApp<PathRules::notUtf8>},
    Rule{"path-circle", Error, "Remove the link \"%1\": it leads back to where it is.", inEachApp<PathRules::circle>},
    Rule{"path-outside", Error, "Copy \"%1\" into the project folder and name it from there: the path leads out.",
         inEachApp<PathRules::outside>},
    Rule{"path-link", Warning, "Make the link \"%1\" a relative one: in a copy of the folder it leads elsewhere.",
         inEachApp<PathRules::absoluteLink>},
    Rule{"path-unreadable", Error, "Make \"%1\" readable: its content cannot be published.",
         inEachApp<PathRules::unreadable>},
    Rule{"path-twice", Warning, "List \"%1\" once, by itself or with its folder.", inEachApp<PathRules::twice>},
    Rule{"path-shared", Note, "Give each app its own files, unless \"%1\" is meant to belong to line %2 too.",
         PathRules::shared},
    Rule{"path-case", Error,
         "Rename \"%1\": it differs from \"%2\" only in case, and takes its place on a transmitter.",
         TargetRules::differInCase},
    Rule{"fat-characters", Error, "Rename \"%1\": a transmitter's file system does not take all of its characters.",
         inEachApp<TargetRules::fatCharacters>},
    Rule{"fat-length", Error, "Shorten \"%1\": a transmitter's file system takes 255 characters.",
         inEachApp<TargetRules::fatLength>},
    Rule{"fat-ending", Error, "Rename \"%1\": a transmitter's file system drops a dot or a blank at the end.",
         inEachApp<TargetRules::fatEnding>},
    Rule{"fat-reserved", Error, "Rename \"%1\": the name is reserved on FAT file systems.",
         inEachApp<TargetRules::fatReserved>},
    Rule{"url-characters", Error, "Rename \"%1\": a URL cannot carry its \"#\", \"?\", \"%\" or \"\\\" as written.",
         inEachApp<TargetRules::urlCharacters>},
    Rule{"url-escapes", Note, "Keep to plain letters and digits in \"%1\", or see that the server takes it as it is.",
         inEachApp<TargetRules::urlEscapes>},
    Rule{"index-outside", Error,
         "Remove the link \"%1\": it leads out of the project folder, and publishing writes to \"%2\".",
         PathRules::indexOutside},
    Rule{"file-unlisted", Note, "List \"%1\" if it belongs to an app: none does.", PathRules::unlisted},
};

int order(const Finding &finding)
{
    return finding.line > 0 ? finding.line : std::numeric_limits<int>::max();
}

} // namespace

CheckResult checkCatalogue(const QString &projectFile)
{
    CheckResult result;
    const std::optional<Catalogue> catalogue = readCatalogue(projectFile, &result.error);
    if (!catalogue)
        return result;
    for (const Rule &rule : RULES)
        rule.find(*catalogue, Report(rule.code, rule.severity, rule.sentence, &result.findings));
    std::stable_sort(result.findings.begin(), result.findings.end(),
                     [](const Finding &a, const Finding &b) { return order(a) < order(b); });
    return result;
}

QList<KnownCode> checkCodes()
{
    QList<KnownCode> codes;
    for (const Rule &rule : RULES)
        codes.append({QString::fromLatin1(rule.code), rule.severity});
    return codes;
}
