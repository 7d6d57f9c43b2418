#pragma once

#include "check/finding.h"
#include "io/fileresult.h"

#include <QDate>

namespace Check {

/// What is wrong with a catalogue; in the order of the lines, what concerns no line last. The apps
/// are the lines that can be read as one. Dates after today are in the future. An error when the project file cannot be
/// read.
[[nodiscard]] FileResult<Result> checkCatalogue(const QString &projectFile, QDate today = QDate::currentDate());

/// The rules of checkCatalogue().
[[nodiscard]] QList<Rule> checkRules();

} // namespace Check
