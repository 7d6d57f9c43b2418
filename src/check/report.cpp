#include "check/report.h"

// Not the text's own arg(), which would also fill the places in a path that was filled in before.
void Report::add(const QString &app, int line, const QStringList &particulars) const
{
    const QString sentence = QString::fromLatin1(ruleSentence);
    QString text;
    for (qsizetype i = 0; i < sentence.size(); ++i) {
        const bool isPlace =
            sentence.at(i) == QLatin1Char('%') && i + 1 < sentence.size() && sentence.at(i + 1).isDigit();
        if (isPlace)
            text += particulars.value(sentence.at(++i).digitValue() - 1);
        else
            text += sentence.at(i);
    }
    found->append({QString::fromLatin1(ruleCode), ruleSeverity, app, line, text});
}
