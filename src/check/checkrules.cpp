#include "check/checkrules.h"

#include "check/rules.h"

#include <algorithm>
#include <limits>

namespace Check {

namespace {

int order(const Finding &finding)
{
    return finding.line > 0 ? finding.line : std::numeric_limits<int>::max();
}

} // namespace

FileResult<QList<Finding>> checkCatalogue(const QString &projectFile)
{
    const auto catalogue = readCatalogue(projectFile);
    if (!catalogue)
        return catalogue.error();
    QList<Finding> findings;
    for (const Rule &rule : checkRules())
        rule.find(*catalogue, Report(rule, &findings));
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding &a, const Finding &b) { return order(a) < order(b); });
    return findings;
}

QList<Rule> checkRules()
{
    return lineRules() + factRules() + pageRules() + pathRules() + targetRules();
}

} // namespace Check
