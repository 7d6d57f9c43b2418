#include "cli/findings.h"

#include <algorithm>

namespace Cli {

qsizetype count(const QList<Check::Finding> &findings, Check::Severity severity)
{
    return std::count_if(findings.cbegin(), findings.cend(),
                         [severity](const Check::Finding &finding) { return finding.severity == severity; });
}

} // namespace Cli
