#include "cli/commandfunctions.h"
#include "cli/output.h"
#include "io/linktarget.h"
#include "io/platform.h"
#include "io/projectfile.h"
#include "io/replacefile.h"
#include "io/repositoryindex.h"

#include <QFile>
#include <QFileInfo>

#include <utility>

namespace Cli {

namespace {

constexpr QLatin1String STANDARD_OUTPUT("-");

bool isDevice(const QString &output)
{
    const QFileInfo file(output);
    return file.exists() && !file.isFile() && !file.isDir();
}

/// Refuses to write an index to a file of the catalogue, or through a link that leads away, which may have come with
/// the catalogue.
FileResult<> checkOutput(const QString &output, const QList<AppConfig> &apps, const QString &project)
{
    if (isSourceOfIndex(output, apps, project)) {
        const bool isProject = QFileInfo(output).canonicalFilePath() == QFileInfo(project).canonicalFilePath();
        return FileError{output, isProject ? QStringLiteral("Is the catalogue itself")
                                           : QStringLiteral("Is a file of the catalogue")};
    }
    const QString target = isDevice(output) ? QString() : targetOutside(output);
    if (!target.isEmpty())
        return FileError{output, QStringLiteral("Is a link that leads out of its folder, to ") + target};
    return {};
}

/// Notices whether a walk over the listed paths meets the place of the index, which then would publish itself. The
/// index need not exist yet.
class OwnPlace
{
public:
    explicit OwnPlace(const QString &output)
        : target(behindLinks(output)), folder(target.path()), isHidden(isHiddenEntry(target))
    {
    }

    void visit(const WalkEntry &entry)
    {
        switch (entry.kind) {
        case WalkEntry::Folder:
            isListed = isListed || (!isHidden && entry.info.canonicalFilePath() == folder);
            break;
        case WalkEntry::File:
        case WalkEntry::Missing:
            if (entry.isLink || (entry.isStart && entry.info.fileName() == target.fileName()))
                isListed = isListed || behindLinks(entry.info.filePath()) == target.filePath();
            break;
        default:
            break;
        }
    }

    bool isListed = false;

private:
    QFileInfo target;
    QString folder;
    bool isHidden;
};

FileResult<> writeDevice(const QString &path, const QByteArray &content)
{
    QFile device(path);
    const bool isWritten = (path == STANDARD_OUTPUT ? device.open(stdout, QIODevice::WriteOnly)
                                                    : device.open(QIODevice::WriteOnly | QIODevice::ExistingOnly))
                           && device.write(content) == content.size() && device.flush();
    const QString place = path == STANDARD_OUTPUT ? QStringLiteral("standard output") : path;
    return isWritten ? FileResult<>() : FileError{place, device.errorString()};
}

} // namespace

ExitCode exportIndex(const QStringList &arguments, const QCommandLineParser &options)
{
    const QString project = projectFile(arguments.constFirst());
    QList<AppConfig> apps;
    if (const auto read = readProject(project, &apps); !read)
        return failed(read.error().text());
    const QString output = options.value(QStringLiteral("output"));
    const bool isFile = output != STANDARD_OUTPUT && !isDevice(output);
    if (isFile) {
        if (const auto accepted = checkOutput(output, apps, project); !accepted)
            return failed(accepted.error().text());
    }

    IndexReport report;
    OwnPlace ownPlace(output);
    if (isFile)
        report.visited = [&ownPlace](const WalkEntry &entry) { ownPlace.visit(entry); };
    QByteArray content;
    {
        ProgressLine line;
        report.progress = [&](const IndexReport &now) {
            line.show([&] {
                return QStringLiteral("%1 of %2, %3")
                    .arg(QString::number(now.apps), counted(apps.size(), QStringLiteral("app")),
                         counted(now.bytes, QStringLiteral("byte")));
            });
        };
        const QString url = repositoryUrl(options.value(QStringLiteral("url")));
        content = repositoryIndex(apps, url, projectFolder(project), &report, threads(options));
        if constexpr (LINE_END.size() > 1)
            content.replace("\n", QByteArray(LINE_END.data(), LINE_END.size()));
    }
    if (ownPlace.isListed)
        return failed(FileError{output, QStringLiteral("Is listed, so that the index would publish itself")}.text());
    if (const auto written = isFile ? replaceWholeFile(output, content) : writeDevice(output, content); !written)
        return failed(written.error().text());

    for (const FileError &error : std::as_const(report.leftOut))
        printError(error.text() + QStringLiteral("; it is left out"));
    for (const FileError &error : std::as_const(report.withoutHash))
        printError(error.text() + QStringLiteral("; its hash is empty"));
    const QString summary =
        QStringLiteral("%1, %2, %3: %4\n")
            .arg(counted(report.apps, QStringLiteral("app")), counted(report.files, QStringLiteral("file")),
                 counted(report.bytes, QStringLiteral("byte")), visible(output));
    if (output != STANDARD_OUTPUT && !print(summary))
        return Failed;
    return report.leftOut.isEmpty() && report.withoutHash.isEmpty() ? Clean : HasErrors;
}

} // namespace Cli
