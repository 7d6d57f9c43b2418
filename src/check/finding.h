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
};

/// "note", "warning" or "error".
[[nodiscard]] QString severityName(Severity severity);

/// A kind of fault.
struct Rule
{
    const char *code; ///< stable, and a key of the tables in docs/cli.md
    Severity severity;
    const char *sentence; ///< what is wrong and what to do; %1, %2 and so on are replaced by what was found
    void (*find)(const Catalogue &catalogue, const Report &report) = nullptr;
};

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
