#include "check/finding.h"

#include <array>

namespace Check {

QString severityName(Severity severity)
{
    static constexpr std::array NAMES{"note", "warning", "error"};
    return QString::fromLatin1(NAMES.at(static_cast<size_t>(severity)));
}

// Not the text's own arg(), which would also replace the places in a path that was filled in before.
QString sentenceOf(const Rule &rule, const QStringList &particulars)
{
    const QString sentence = QString::fromLatin1(rule.sentence);
    QString text;
    for (qsizetype i = 0; i < sentence.size(); ++i) {
        const bool isPlace =
            sentence.at(i) == QLatin1Char('%') && i + 1 < sentence.size() && sentence.at(i + 1).isDigit();
        if (isPlace)
            text += particulars.value(sentence.at(++i).digitValue() - 1);
        else
            text += sentence.at(i);
    }
    return text;
}

void Report::add(const QString &app, int line, const QStringList &particulars) const
{
    const auto at = [&particulars](int place) { return particulars.value(place - 1); };
    findings->append({QString::fromLatin1(rule.code), rule.severity, app, line, sentenceOf(rule, particulars),
                      at(rule.places.file), at(rule.places.expected), at(rule.places.actual)});
}

} // namespace Check
