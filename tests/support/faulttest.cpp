#include "faulttest.h"

#include "projectdata.h"

#include <QDate>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QTest>

#include <algorithm>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

const QByteArray OLD_PROJECT = HEADER + "{\"en\":\"The only copy\"};Old;1.0;674;05-03-2024;{};a.txt;;5.03\n";
const QByteArray NEW_PROJECT =
    HEADER + "{\"en\":\"[New App]\"};;;;;{};;;0.00\n{\"en\":\"[New App]\"};New;;;;{};;;0.00\n";
const QByteArray OLD_DESCRIPTION = "<p>old \xe9</p>\r\n";
const QByteArray NEW_DESCRIPTION = "<p>new</p>\r\n<p>and longer</p>\n";

constexpr QFile::Permissions EVERYTHING = QFile::Permissions(0x7777);
constexpr QFile::Permissions OPEN_FILE = QFile::Permissions(0x6644);

} // namespace

QList<Trial> trials(const QStringList &calls)
{
    // Only the first flush can lose data.
    const auto flush =
        std::find_if(calls.begin(), calls.end(), [](const QString &name) { return name.endsWith(u"sync"); });
    const QStringList lasting{u"open64"_s,    u"read"_s,   u"write"_s,  u"fsync"_s,
                              u"fdatasync"_s, u"linkat"_s, u"rename"_s, u"close"_s};
    // A signal may interrupt these.
    const QStringList repeated{u"open64"_s, u"write"_s, u"fsync"_s};
    QList<Trial> all;
    for (int i = 0; i < calls.size(); ++i) {
        const QString &name = calls.at(i);
        all.append({i + 1, name, Fault::Kill, 0});
        for (const int error : {ENOSPC, EIO, EACCES})
            all.append({i + 1, name, Fault::Fail, error});
        if (lasting.contains(name))
            all.append({i + 1, name, Fault::KeepFailing, ENOSPC});
        if (repeated.contains(name))
            all.append({i + 1, name, Fault::Fail, EINTR});
        if (name == u"mkdir")
            all.append({i + 1, name, Fault::MadeByAnother, 0});
        if (name == u"write") {
            all.append({i + 1, name, Fault::CutShort, 0});
            all.append({i + 1, name, Fault::KillHalfway, 0});
        } else if (calls.begin() + i == flush) {
            all.append({i + 1, name, Fault::Lose, EIO});
        }
    }
    return all;
}

void FaultTest::init()
{
    folder = std::make_unique<Folder>();
}

void FaultTest::cleanup()
{
    if (saver) {
        saver->closeWriteChannel();
        QVERIFY(saver->waitForFinished());
        QCOMPARE(saver->exitCode(), 0);
    }
    saver.reset();
    user.reset();
    folder.reset();
}

void FaultTest::startSaver(bool isProject, Staging staging, Target target, const QString &source)
{
    const QString prefix = target == Target::WithLongName ? QString(247, u'x') : QString();
    path = folder->path(u"work/project/"_s + prefix + (isProject ? u"Apps.csv"_s : u"en.html"_s));
    oldContent = isProject ? OLD_PROJECT : OLD_DESCRIPTION;
    newContent = isProject ? NEW_PROJECT : NEW_DESCRIPTION;
    savesProject = isProject;
    start({isProject ? u"project"_s : u"description"_s, path, source}, staging, target);
}

void FaultTest::startExporter()
{
    path = folder->path(u"work/project/Apps.json"_s);
    // Longer than the new index, so that a rest of it is found.
    oldContent = QByteArray(5000, 'x');
    newContent.clear();
    savesProject = false;
    folder->write(u"catalogue/files/a.lua"_s, "abc");
    folder->write(u"catalogue/files/b.lua"_s, "");
    start({u"index"_s, path, folder->path(u"catalogue"_s)}, Staging::Unnamed, Target::Existing);
}

void FaultTest::startDrafter()
{
    path = folder->path(u"work/project/en.html"_s);
    oldContent = OLD_DESCRIPTION;
    newContent = NEW_DESCRIPTION;
    savesProject = false;
    start({u"draft"_s, path}, Staging::Unnamed, Target::Existing);
}

void FaultTest::start(const QStringList &arguments, Staging staging, Target target)
{
#ifdef FAULTS
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"LD_PRELOAD"_s, QStringLiteral(FAULTS));
    environment.insert(u"XDG_DATA_HOME"_s, folder->path(u"home"_s));
    if (staging == Staging::Named)
        environment.insert(u"NO_UNNAMED_FILES"_s, u"1"_s);
    if (target == Target::Unreplaceable)
        environment.insert(u"NO_REPLACING"_s, u"1"_s);
    // The library is loaded before the sanitizer, and leaks cannot be searched after a change of user.
    environment.insert(u"ASAN_OPTIONS"_s,
                       environment.value(u"ASAN_OPTIONS"_s) + u":verify_asan_link_order=0:detect_leaks=0"_s);
    saver = std::make_unique<QProcess>();
    saver->setProcessEnvironment(environment);
    saver->setProcessChannelMode(QProcess::SeparateChannels);
    saver->start(QStringLiteral(FAULTY_SAVER), arguments);
    if (!saver->waitForStarted())
        qFatal("The saver did not start");
#else
    Q_UNUSED(arguments)
    Q_UNUSED(staging)
    Q_UNUSED(target)
#endif
    user = std::make_unique<OrdinaryUser>();
}

void FaultTest::removeAll(const QString &relative)
{
    if (folder->exists(relative) && !QDir(folder->path(relative)).removeRecursively())
        qFatal("Cannot remove %s", qPrintable(relative));
}

void FaultTest::prepare(Target target)
{
    QFile::setPermissions(folder->path(u"work/project"_s), EVERYTHING);
    removeAll(u"work"_s);
    removeAll(u"home"_s);
    folder->makeFolder(u"work/project"_s);
    folder->makeFolder(u"work/real"_s);
    folder->makeFolder(u"home"_s);
    const QString relative = QDir(folder->path()).relativeFilePath(path);
    if (target == Target::New)
        return;
    if (target == Target::BehindDanglingLink) {
        folder->link(folder->path(u"work/real/file"_s), relative);
        return;
    }
    if (target == Target::BehindLink) {
        folder->write(u"work/real/file"_s, oldContent);
        folder->link(folder->path(u"work/real/file"_s), relative);
    } else {
        folder->write(relative, oldContent);
    }
    const QFile::Permissions permissions = target == Target::ReadOnly ? QFile::Permissions(0x4444) : OPEN_FILE;
    if (!QFile::setPermissions(path, permissions))
        qFatal("Cannot set the permissions");
    if (target == Target::InReadOnlyFolder
        && !QFile::setPermissions(folder->path(u"work/project"_s), QFile::Permissions(0x5555)))
        qFatal("Cannot close the folder");
}

void FaultTest::prepareHistory(History state)
{
    prepare(Target::Existing);
    if (state == History::None)
        return;
    // This makes the folders.
    save(folder->path(u"nothing"_s), NO_FAULT);
    saveAgain();
    folder->write(QDir(folder->path()).relativeFilePath(path), oldContent);
    if (state == History::Begun)
        return;
    QDirIterator origin(folder->path(u"home"_s), {u"origin.txt"_s}, QDir::Files, QDirIterator::Subdirectories);
    if (!origin.hasNext())
        qFatal("No history");
    const QString ofFile = QDir(folder->path()).relativeFilePath(QFileInfo(origin.next()).path());
    const QString day = QDate::currentDate().addDays(-10).toString(u"yyyyMMdd"_s);
    for (int i = 0; i < 50; ++i)
        folder->write(ofFile + u"/%1-000000-%2-00-replaced-Apps.csv"_s.arg(day).arg(i, 3, 10, '0'_L1), oldContent);
}

Report FaultTest::readReport()
{
    while (!saver->canReadLine()) {
        if (!saver->waitForReadyRead())
            qFatal("No report from the saver: %s", saver->readAllStandardError().constData());
    }
    const QStringList parts = QString::fromUtf8(saver->readLine()).trimmed().split(u'|');
    Report report;
    report.killed = parts.at(0) == u"killed";
    report.saved = parts.at(0) == u"saved";
    report.modified = parts.value(1) == u"modified";
    report.calls = parts.value(2).split(u' ', Qt::SkipEmptyParts);
    return report;
}

Report FaultTest::save(const QString &watched, const Trial &trial)
{
    const QStringList order{watched, QString::number(trial.call), QString::number(int(trial.fault)),
                            QString::number(trial.error)};
    saver->write(order.join(u'|').toUtf8() + '\n');
    return readReport();
}

Report FaultTest::saveAgain()
{
    saver->write("again\n");
    return readReport();
}

QByteArray FaultTest::onDisk() const
{
    return folder->read(QDir(folder->path()).relativeFilePath(path));
}

QStringList FaultTest::leftovers() const
{
    QStringList found;
    for (const QString &place : {u"work/project"_s, u"work/real"_s}) {
        const QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        found += QDir(folder->path(place)).entryList(all);
    }
    found.removeOne(QFileInfo(path).fileName());
    found.removeOne(u"file"_s);
    return found;
}

QList<QByteArray> FaultTest::kept(const QString &namePattern) const
{
    QList<QByteArray> contents;
    QDirIterator entries(folder->path(u"home"_s), {namePattern}, QDir::Files, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString entry = entries.next();
        if (entries.fileName() != u"origin.txt")
            contents.append(folder->read(QDir(folder->path()).relativeFilePath(entry)));
    }
    return contents;
}
