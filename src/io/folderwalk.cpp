#include "io/folderwalk.h"

#include "io/linktarget.h"
#include "io/platform.h"

#include <QByteArray>
#include <QDir>
#include <QStringDecoder>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <tuple>
#include <utility>

namespace {

constexpr QLatin1Char SLASH('/');

WalkEntry::Kind kindOf(const QFileInfo &info, bool isLink)
{
    if (info.isFile())
        return WalkEntry::File;
    if (isLink && isCircle(info.filePath()))
        return WalkEntry::Circle;
    if (info.isDir())
        return WalkEntry::Folder;
    return info.exists() ? WalkEntry::Other : WalkEntry::Missing;
}

WalkEntry::Kind kindOf(const QFileInfo &info, const FolderName &name)
{
    if (!name.isUtf8)
        return WalkEntry::NotUtf8;
    return name.isFile ? WalkEntry::File : kindOf(info, name.isLink);
}

FileResult<QList<FolderName>> sortedNames(const QFileInfo &folder)
{
    // Such a folder lists names, but nothing can be opened under them.
    if (!folder.isExecutable())
        return FileError{folder.filePath(), systemReason(EACCES)};
    auto listed = listFolder(folder.filePath());
    if (!listed)
        return listed;

    QList<std::pair<QString, FolderName>> keys;
    keys.reserve(listed->size());
    for (const FolderName &name : *listed)
        keys.emplace_back(name.name.toLower(), name);
    std::sort(keys.begin(), keys.end(), [](const auto &a, const auto &b) {
        return std::tie(a.first, a.second.name) < std::tie(b.first, b.second.name);
    });
    QList<FolderName> sorted;
    sorted.reserve(keys.size());
    for (auto &key : keys)
        sorted.append(std::move(key.second));
    return sorted;
}

QString joined(const QString &folder, const QString &name)
{
    if (folder == QLatin1String("."))
        return name;
    return folder.endsWith(SLASH) ? folder + name : folder + SLASH + name;
}

/// False when the walk is to stop.
bool walkEntry(const WalkEntry &entry, const std::function<WalkStep(const WalkEntry &)> &visit)
{
    const WalkStep step = visit(entry);
    const bool isFolder = entry.kind == WalkEntry::Folder || (entry.kind == WalkEntry::Circle && entry.info.isDir());
    if (step != WalkStep::GoOn || !isFolder)
        return step != WalkStep::Stop;

    const auto names = sortedNames(entry.info);
    if (!names) {
        const WalkEntry unreadable{WalkEntry::Unreadable, entry.info,   entry.path,
                                   entry.isStart,         entry.isLink, names.error().reason};
        return visit(unreadable) != WalkStep::Stop;
    }
    return std::all_of(names->begin(), names->end(), [&](const FolderName &name) {
        const QFileInfo info(entry.info.filePath() + SLASH + name.name);
        if (isHiddenEntry(info))
            return true;
        return walkEntry({kindOf(info, name), info, joined(entry.path, name.name), false, name.isLink, {}}, visit);
    });
}

} // namespace

FileResult<QList<FolderName>> listFolder(const QString &folder)
{
    QList<FolderName> names;
    std::error_code error;
    std::filesystem::directory_iterator entry(systemPath(folder), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code unknown;
        const std::u8string name = entry->path().filename().u8string();
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text =
            decoder(QByteArrayView(reinterpret_cast<const char *>(name.data()), static_cast<qsizetype>(name.size())));
        const bool isLink = entry->is_symlink(unknown);
        names.append({text, !decoder.hasError(), isLink, !isLink && entry->is_regular_file(unknown)});
    }
    if (error)
        return FileError{folder, systemReason(error.value())};
    return names;
}

void walk(const QString &path, const QString &folder, const std::function<WalkStep(const WalkEntry &)> &visit)
{
    const QFileInfo start(path.isEmpty() ? folder : folder + SLASH + path);
    const bool isLink = start.isSymLink();
    walkEntry({kindOf(start, isLink), start, QDir(folder).relativeFilePath(start.filePath()), true, isLink, {}}, visit);
}
