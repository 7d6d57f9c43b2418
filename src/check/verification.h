#pragma once

#include "check/caseclashes.h"
#include "check/finding.h"

#include <QHash>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>

namespace Check {

/// A file of an app, as the index describes it.
struct IndexedFile
{
    QString path; ///< below the repository URL
    qint64 size = 0;
    QString hash;
};

/// Goes through an index and reports what is wrong with it. What it names is looked at by the subclasses.
class Verification
{
public:
    explicit Verification(QString repositoryUrl) : repoUrl(std::move(repositoryUrl)) { }
    virtual ~Verification() = default;
    Q_DISABLE_COPY_MOVE(Verification)

    /// Looks at all apps, or at those of one name; false when there is none.
    bool verify(const QJsonObject &index, const std::optional<QString> &appName);

    /// In the order of the index.
    [[nodiscard]] Result result() const;

protected:
    /// What in the index a finding is about.
    struct Position
    {
        QString app;
        qsizetype number = 0; ///< findings are sorted by it
        qsizetype picture = 0; ///< and then by the place of a picture in its page
    };

    /// Called in the order of the index, with paths that stay below the repository URL.
    virtual void verifyFile(const IndexedFile &file) = 0;
    virtual void verifyIcon(const QString &path) = 0;
    virtual void verifyDescription(const QString &path) = 0;

    [[nodiscard]] const Position &here() const { return present; }
    void report(const char *code, const QStringList &particulars) { reportAt(present, code, particulars); }
    void reportAt(const Position &position, const char *code, const QStringList &particulars);

    /// Whether the index has a hash to compare with.
    [[nodiscard]] bool hasHash(const Position &position, const IndexedFile &file);

    QSet<QString> used; ///< the paths that the index names

private:
    struct PlacedFinding
    {
        std::pair<qsizetype, qsizetype> position;
        Finding finding;
    };

    void verifyApp(const QJsonValue &value);
    void verifyEntry(const QJsonObject &entry);
    void verifyDestination(const QString &destination, const QString &hash);
    std::optional<QString> pathOf(const QString &url);
    void next() { ++present.number; }

    QString repoUrl;
    Position present;
    QList<PlacedFinding> findings;
    qsizetype apps = 0;
    qsizetype files = 0;
    QHash<QString, QString> hashes; // by destination
    CaseClashes clashes; // of destinations
};

/// The rules of every verification.
[[nodiscard]] QList<Rule> verifyRules();

} // namespace Check
