#pragma once

#include "check/finding.h"

/// What is wrong with a catalogue, before anybody downloads it; in the order of the lines, what concerns no line last.
[[nodiscard]] CheckResult checkCatalogue(const QString &projectFile);

/// Every code that checkCatalogue can report.
[[nodiscard]] QList<KnownCode> checkCodes();
