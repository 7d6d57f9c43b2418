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

/// What a save finds in the place of its file.
enum class Target {
    New,
    Existing,
    BehindLink,
    BehindDanglingLink,
    ReadOnly,
    InReadOnlyFolder,
    WithLongName,
    Unreplaceable, ///< as a file is that something is mounted on
};

/// Files without a name are linked in when they are whole; not every file system has them.
enum class Staging {
    Unnamed,
    Named,
};

/// What it finds in the history.
enum class History {
    None,
    Begun,
    Full,
};

/// One call of a save, and what happens to it.
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

/// What the saver said of a save.
struct Answer
{
    bool killed = false;
    bool saved = false;
    bool modified = false;
    QStringList calls;
};

inline const Trial NO_FAULT{0, {}, Fault::Count, 0};

/// Everything that may happen to the calls of a save, each in turn.
QList<Trial> trials(const QStringList &calls);

/// What a test of saves that go wrong has in its hands: a folder for the file and its history, and another program
/// that saves there, whose calls go wrong as the test says.
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
    Answer save(const QString &watched, const Trial &trial);
    Answer saveAgain();

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
    Answer answer();
    void removeAll(const QString &relative);

    std::unique_ptr<QProcess> saver;
    std::unique_ptr<OrdinaryUser> user;
};
