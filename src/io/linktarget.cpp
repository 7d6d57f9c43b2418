#include "io/linktarget.h"

#include "io/platform.h"

#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

namespace {

using Path = std::filesystem::path;

/// A path without links, which need not exist; empty when its links lead in a circle.
Path withoutLinks(const Path &path)
{
    constexpr int MAX_LINKS = 40; // the system gives up there too
    Path place;
    std::vector<Path> ahead; // in reverse order
    const auto follow = [&](const Path &way) {
        if (way.has_root_path())
            place = way.root_path();
        const auto first = ahead.size();
        const Path parts = way.relative_path();
        ahead.insert(ahead.end(), parts.begin(), parts.end());
        std::reverse(ahead.begin() + static_cast<std::ptrdiff_t>(first), ahead.end());
    };
    follow(path);
    for (int links = 0; !ahead.empty();) {
        const Path part = ahead.back();
        ahead.pop_back();
        std::error_code error;
        if (part == "..") {
            place = place.parent_path();
        } else if (!std::filesystem::is_symlink(place / part, error)) {
            if (!part.empty() && part != ".")
                place /= part;
        } else if (++links > MAX_LINKS) {
            return {};
        } else {
            follow(std::filesystem::read_symlink(place / part, error));
        }
    }
    return place;
}

// The standard library's own conversion throws when a name is not UTF-8.
QString toText(const Path &path)
{
    const std::u8string bytes = path.u8string();
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

bool isBelow(const Path &place, const Path &folder)
{
    return std::mismatch(folder.begin(), folder.end(), place.begin(), place.end()).first == folder.end();
}

} // namespace

QString targetOutside(const QString &link)
{
    std::error_code error;
    const Path path = std::filesystem::absolute(systemPath(link), error);
    if (!std::filesystem::is_symlink(path, error))
        return {};
    const Path folder = withoutLinks(path.parent_path());
    const Path target = withoutLinks(path);
    return target.empty() || isBelow(target, folder) ? QString() : toText(target);
}

QString behindLinks(const QString &path)
{
    std::error_code error;
    return toText(withoutLinks(std::filesystem::absolute(systemPath(path), error)));
}

bool isCircle(const QString &path)
{
    const QFileInfo info(path);
    if (!info.isSymLink())
        return false;
    if (!info.exists()) {
        std::error_code error;
        (void)std::filesystem::status(systemPath(path), error);
        return error == std::errc::too_many_symbolic_link_levels;
    }
    const QString target = info.canonicalFilePath();
    for (QString above = info.path(); above.size() > 1; above = QFileInfo(above).path()) {
        if (QFileInfo(above).canonicalFilePath() == target)
            return true;
    }
    return false;
}

bool isAbsoluteLink(const QString &path)
{
    const QFileInfo info(path);
    if (!info.isSymLink())
        return false;
    std::error_code error;
    return std::filesystem::read_symlink(systemPath(path), error).is_absolute();
}
