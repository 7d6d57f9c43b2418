#pragma once

#include "check/finding.h"
#include "io/fileresult.h"

#include <QLatin1String>
#include <QList>
#include <QStringList>
#include <QTest>

#include <algorithm>

/// The codes, sorted and without duplicates.
inline QStringList codesOf(const FileResult<QList<Check::Finding>> &result)
{
    QStringList codes;
    for (const Check::Finding &finding : *result)
        codes.append(finding.code);
    codes.removeDuplicates();
    codes.sort();
    return codes;
}

inline QStringList textsOf(const FileResult<QList<Check::Finding>> &result)
{
    QStringList texts;
    for (const Check::Finding &finding : *result)
        texts.append(finding.code + QStringLiteral(": ") + finding.text);
    return texts;
}

inline constexpr bool FAULT = true;
inline constexpr bool NEARLY = false;

/// A change of something without findings, and what is found then.
template <typename Subject> struct Case
{
    const char *code;
    bool isFaulty; ///< otherwise a near miss
    const char *title;
    void (*make)(Subject &subject);
    const char *also = ""; ///< other expected codes, separated by spaces

    [[nodiscard]] QStringList expectedCodes() const
    {
        QStringList codes = QString::fromLatin1(also).split(u' ', Qt::SkipEmptyParts);
        if (isFaulty)
            codes.append(QString::fromLatin1(code));
        codes.sort();
        return codes;
    }
};

template <typename Subject> void addCaseRows(const QList<Case<Subject>> &cases)
{
    QTest::addColumn<int>("number");
    for (int i = 0; i < cases.size(); ++i) {
        const Case<Subject> &one = cases.at(i);
        QTest::addRow("%s, %s%s", one.code, one.isFaulty ? "" : "nearly: ", one.title) << i;
    }
}

/// Each rule has a code of its own, two cases and a near miss, and there are no other cases.
template <typename Subject> void compareRules(const QList<Check::Rule> &rules, const QList<Case<Subject>> &cases)
{
    QStringList known;
    for (const Check::Rule &rule : rules) {
        const QLatin1String code(rule.code);
        known.append(code);
        const auto count = [&](bool isFaulty) {
            return std::count_if(cases.cbegin(), cases.cend(), [&](const Case<Subject> &one) {
                return one.isFaulty == isFaulty && QLatin1String(one.code) == code;
            });
        };
        QVERIFY2(count(FAULT) >= 2, rule.code);
        QVERIFY2(count(NEARLY) >= 1, rule.code);
    }
    QCOMPARE(known.removeDuplicates(), 0);
    for (const Case<Subject> &one : cases)
        QVERIFY2(known.contains(QLatin1String(one.code)), one.code);
}
