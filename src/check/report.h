#pragma once

#include "check/finding.h"

#include <QStringList>

/// What a rule is given to say that its fault is there. The rule fills the places %1, %2 of its sentence.
class Report
{
public:
    Report(const char *code, Severity severity, const char *sentence, QList<Finding> *findings)
        : ruleCode(code), ruleSeverity(severity), ruleSentence(sentence), found(findings)
    {
    }

    void add(const QString &app, int line, const QStringList &particulars = {}) const;

private:
    const char *ruleCode;
    Severity ruleSeverity;
    const char *ruleSentence;
    QList<Finding> *found;
};
