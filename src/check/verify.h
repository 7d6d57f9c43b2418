#pragma once

#include "check/finding.h"

/// What a client that downloads from a repository URL would find wrong with a published index, the folder being what
/// lies under that URL. In the order of the index, what the index does not name last.
[[nodiscard]] CheckResult verifyIndex(const QString &folder, const QString &indexFile, const QString &repoUrl);

/// Every code that verifyIndex can report.
[[nodiscard]] QList<KnownCode> verifyCodes();
