#pragma once

#include "check/finding.h"
#include "io/fileresult.h"

#include <QLatin1String>
#include <QList>
#include <QStringList>
#include <QTest>

#include <algorithm>

/// The codes, sorted and without duplicates.
inline QStringList codesOf(const FileResult<Check::Result> &result)
{
    QStringList codes;
    for (const Check::Finding &finding : result->findings)
        codes.append(finding.code);
    codes.removeDuplicates();
    codes.sort();
    return codes;
}

inline QStringList textsOf(const FileResult<Check::Result> &result)
{
    QStringList texts;
    for (const Check::Finding &finding : result->findings)
        texts.append(finding.code + QStringLiteral(": ") + finding.text);
    return texts;
}

/// The file, the expected and the actual value of each finding with a code.
inline QStringList valuesOf(const FileResult<Check::Result> &result, const QString &code)
{
    QStringList values;
    for (const Check::Finding &finding : result->findings) {
        if (finding.code == code)
            values.append(QStringList{finding.file, finding.expected, finding.actual}.join(QStringLiteral(" | ")));
    }
    return values;
}

/// Whether verify finds it on servers only.
inline bool isOfServers(const Check::Rule &rule)
{
    const QLatin1String code(rule.code);
    return code.startsWith(QLatin1String("http-")) || code == QLatin1String("picture-not-found");
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

/// Each rule has a code of its own, two cases and a near miss, and there are no other cases. Its values are in its
/// sentence.
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
        for (const int place : {rule.places.file, rule.places.expected, rule.places.actual}) {
            const QString inSentence = QStringLiteral("%") + QString::number(place);
            QVERIFY2(place == 0 || QString::fromLatin1(rule.sentence).contains(inSentence), rule.code);
        }
    }
    QCOMPARE(known.removeDuplicates(), 0);
    for (const Case<Subject> &one : cases)
        QVERIFY2(known.contains(QLatin1String(one.code)), one.code);
}
