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

FileResult<Result> checkCatalogue(const QString &projectFile, QDate today)
{
    const auto catalogue = readCatalogue(projectFile, today);
    if (!catalogue)
        return catalogue.error();
    Result result;
    for (const Row &row : catalogue->rows) {
        result.apps += row.app ? 1 : 0;
        result.files += row.publishedFiles().size();
    }
    for (const Rule &rule : checkRules())
        rule.find(*catalogue, Report(rule, &result.findings));
    std::stable_sort(result.findings.begin(), result.findings.end(),
                     [](const Finding &a, const Finding &b) { return order(a) < order(b); });
    return result;
}

QList<Rule> checkRules()
{
    return lineRules() + factRules() + pageRules() + pathRules() + targetRules();
}

} // namespace Check
