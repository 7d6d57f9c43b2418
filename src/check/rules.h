#pragma once

#include "check/catalogue.h"
#include "check/finding.h"

#include <type_traits>

namespace Check {

// Each file rules_*.cpp has the table of its rules, with the functions that look for them above it.

[[nodiscard]] QList<Rule> lineRules(); ///< the lines of the project file
[[nodiscard]] QList<Rule> factRules(); ///< what an app says of itself
[[nodiscard]] QList<Rule> pageRules(); ///< icons and descriptions
[[nodiscard]] QList<Rule> pathRules(); ///< what an app lists, and what is published of it
[[nodiscard]] QList<Rule> targetRules(); ///< what the paths become: URLs, and places on a transmitter

/// Makes a rule of a function that looks at one line.
template <void (*find)(const Row &row, const Report &report)>
void inEachLine(const Catalogue &catalogue, const Report &report)
{
    for (const Row &row : catalogue.rows)
        find(row, report);
}

/// Makes a rule of a function that looks at one app, with the catalogue before it if it needs that.
template <auto find> void inEachApp(const Catalogue &catalogue, const Report &report)
{
    for (const Row &row : catalogue.rows) {
        if (!row.app)
            continue;
        if constexpr (std::is_invocable_v<decltype(find), const Row &, const Report &>)
            find(row, report);
        else
            find(catalogue, row, report);
    }
}

/// Reports the fault at a line.
inline void reportAt(const Row &row, const Report &report, const QStringList &particulars = {})
{
    report.add(row.name(), row.number, particulars);
}

/// Two lower-case letters.
[[nodiscard]] bool isLanguageCode(const QString &text);
[[nodiscard]] bool isOfferedLanguage(const QString &code);

} // namespace Check
