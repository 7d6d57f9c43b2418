#include "folder.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif
#ifdef Q_OS_LINUX
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

Folder::Folder()
{
#ifdef Q_OS_UNIX
    if (::chmod(folder.path().toLocal8Bit().constData(), 0777) != 0)
        qFatal("Cannot open %s to everybody", qPrintable(folder.path()));
#endif
}

QString Folder::path() const
{
    return QDir(folder.path()).canonicalPath();
}

QString Folder::path(const QString &relative) const
{
    return path() + u'/' + relative;
}

bool Folder::exists(const QString &relative) const
{
    return QFileInfo::exists(path(relative));
}

void Folder::write(const QString &relative, const QByteArray &content) const
{
    QFile file(path(relative));
    makeFolder(QFileInfo(relative).path());
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("Cannot write %s", qPrintable(file.fileName()));
}

void Folder::makeFolder(const QString &relative) const
{
    if (!QDir(path()).mkpath(relative))
        qFatal("Cannot make %s", qPrintable(relative));
}

void Folder::link(const QString &target, const QString &relative) const
{
    if (!QFile::link(target, path(relative)))
        qFatal("Cannot link %s", qPrintable(relative));
}

void Folder::makePipe(const QString &relative) const
{
#ifdef Q_OS_UNIX
    if (::mkfifo(QFile::encodeName(path(relative)).constData(), 0666) != 0)
        qFatal("Cannot make %s", qPrintable(relative));
#else
    Q_UNUSED(relative)
#endif
}

QByteArray Folder::read(const QString &relative) const
{
    return readFile(path(relative));
}

QStringList Folder::entries() const
{
    return QDir(path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = file.readAll();
    return content.isNull() ? ""_ba : content;
}

bool copyTree(const QString &from, const QString &to)
{
    QDirIterator entries(from, QDir::Files, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString file = entries.next();
        const QString copy = to + file.mid(from.size());
        if (!QDir().mkpath(QFileInfo(copy).path()) || !QFile::copy(file, copy))
            return false;
    }
    return true;
}

// The saved user id stays that of the superuser, to be able to return.
OrdinaryUser::OrdinaryUser()
{
#ifdef Q_OS_LINUX
    constexpr uid_t NOBODY = 65534;
    if (::getuid() == 0 && ::setresuid(NOBODY, NOBODY, 0) != 0)
        qFatal("Cannot become an ordinary user");
#endif
}

OrdinaryUser::~OrdinaryUser()
{
#ifdef Q_OS_LINUX
    uid_t real = 0;
    uid_t effective = 0;
    uid_t saved = 0;
    if (::getresuid(&real, &effective, &saved) != 0 || (saved == 0 && ::setresuid(0, 0, 0) != 0))
        qFatal("Cannot become the superuser again");
#endif
}
