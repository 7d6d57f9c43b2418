#pragma once

#include "faults.h"
#include "folder.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <memory>

/// What exists at the path of a save.
enum class Target {
    New,
    Existing,
    BehindLink,
    BehindDanglingLink,
    ReadOnly,
    InReadOnlyFolder,
    WithLongName,
    Unreplaceable, ///< as if something was mounted on it
};

/// Unnamed files are linked to their name when they are complete; not every file system has them.
enum class Staging {
    Unnamed,
    Named,
};

/// What the history has before a save.
enum class History {
    None,
    Begun,
    Full,
};

/// One call of a save, and its fault.
struct Trial
{
    int call;
    QString name;
    Fault fault;
    int error;

    [[nodiscard]] QString description() const
    {
        return QStringLiteral("call %1, %2, fault %3, errno %4").arg(call).arg(name).arg(int(fault)).arg(error);
    }
};

/// What the saver reported.
struct Report
{
    bool killed = false;
    bool saved = false;
    bool modified = false;
    QStringList calls;
};

inline const Trial NO_FAULT{0, {}, Fault::Count, 0};

/// Every fault of every call of a save.
QList<Trial> trials(const QStringList &calls);

/// Base of the tests of failing saves: a folder for the file and its history, and another program that saves there with
/// the faults that the test orders.
class FaultTest : public QObject
{
    Q_OBJECT

protected slots:
    void init();
    void cleanup();

protected:
    void startSaver(bool isProject, Staging staging, Target target = Target::Existing,
                    const QString &source = QString());
    void startExporter();
    void startDrafter();

    void prepare(Target target);
    void prepareHistory(History state);
    Report save(const QString &watched, const Trial &trial);
    Report saveAgain();

    [[nodiscard]] QByteArray onDisk() const;
    [[nodiscard]] QStringList leftovers() const;
    [[nodiscard]] QList<QByteArray> kept(const QString &namePattern = QStringLiteral("*")) const;

    std::unique_ptr<Folder> folder;
    QString path;
    QByteArray oldContent;
    QByteArray newContent;
    bool savesProject = false;

private:
    void start(const QStringList &arguments, Staging staging, Target target);
    Report readReport();
    void removeAll(const QString &relative);

    std::unique_ptr<QProcess> saver;
    std::unique_ptr<OrdinaryUser> user;
};
