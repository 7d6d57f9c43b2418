#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace Check {

struct Catalogue;
class Report;

enum class Severity {
    Note,
    Warning,
    Error,
};

/// One fault of a catalogue or of a published index.
struct Finding
{
    QString code; ///< of its rule
    Severity severity = Severity::Error;
    QString app; ///< its name; empty for what concerns no app
    int line = 0; ///< in the project file, the first being 1; 0 for none
    QString text; ///< what is wrong and what to do
    // Empty where there are none.
    QString file; ///< its path in the catalogue, or its URL or path in the index
    QString expected; ///< what should be there: a size, a hash, a spelling and so on
    QString actual; ///< what is there
};

/// What was found, and what was looked at.
struct Result
{
    QList<Finding> findings;
    qsizetype apps = 0;
    qsizetype files = 0; ///< that are published, each as often as it is
    bool isComplete = true; ///< false when it was interrupted
};

/// "note", "warning" or "error".
[[nodiscard]] QString severityName(Severity severity);

/// Which particular of a finding is which of its members: 1 for %1; 0 for none.
struct Places
{
    int file = 0;
    int expected = 0;
    int actual = 0;
};

/// A kind of fault.
struct Rule
{
    const char *code; ///< stable, and a key of the tables in docs/cli.md
    Severity severity;
    const char *sentence; ///< what is wrong and what to do; %1, %2 and so on are replaced by what was found
    void (*find)(const Catalogue &catalogue, const Report &report) = nullptr;
    Places places = {};
};

/// The sentence of a rule with the particulars in their places.
[[nodiscard]] QString sentenceOf(const Rule &rule, const QStringList &particulars);

/// Adds the findings of one rule.
class Report
{
public:
    Report(const Rule &reported, QList<Finding> *all) : rule(reported), findings(all) { }

    void add(const QString &app, int line, const QStringList &particulars = {}) const;

private:
    const Rule &rule;
    QList<Finding> *findings;
};

} // namespace Check
