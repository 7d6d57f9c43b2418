#pragma once

#include "check/finding.h"
#include "io/fileresult.h"

namespace Check {

/// What is wrong with a published index for a client that downloads from a repository URL; the folder has the files of
/// that URL. In the order of the index; files that the index does not name come last. An error when the folder or the
/// index cannot be read.
[[nodiscard]] FileResult<Result> verifyIndex(const QString &folder, const QString &indexFile, const QString &repoUrl);

/// The rules of verifyIndex().
[[nodiscard]] QList<Rule> verifyRules();

} // namespace Check
