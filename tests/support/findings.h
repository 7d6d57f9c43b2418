#pragma once

#include "check/finding.h"

#include <QStringList>

/// Each code once, by the alphabet.
inline QStringList codesOf(const CheckResult &result)
{
    QStringList codes;
    for (const Finding &finding : result.findings)
        codes.append(finding.code);
    codes.removeDuplicates();
    codes.sort();
    return codes;
}
