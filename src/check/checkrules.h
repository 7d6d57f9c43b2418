#pragma once

#include "check/finding.h"
#include "io/fileresult.h"

namespace Check {

/// What is wrong with a catalogue; in the order of the lines, what concerns no line last. The apps
/// are the lines that can be read as one. An error when the project file cannot be read.
[[nodiscard]] FileResult<Result> checkCatalogue(const QString &projectFile);

/// The rules of checkCatalogue().
[[nodiscard]] QList<Rule> checkRules();

} // namespace Check
