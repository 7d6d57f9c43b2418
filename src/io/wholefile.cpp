#include "io/wholefile.h"

#include "io/platform.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

QString problemOf(const QString &path, const QString &reason)
{
    return reason.isEmpty() ? QString() : path + QStringLiteral(": ") + reason;
}

/// Returns why that could not be done; empty when it is done.
QString readAll(QFile *file, qint64 most, QByteArray *content)
{
    constexpr qint64 STEP = 65536;
    QString tooLarge = QStringLiteral("Is larger than %1 bytes").arg(most);
    if (file->size() > most)
        return tooLarge;
    // The size is what the file had a moment ago; some files of the system report none at all.
    qint64 size = 0;
    content->resize(file->size() + 1);
    while (true) {
        const qint64 count = file->read(content->data() + size, content->size() - size);
        if (count < 0)
            return file->errorString();
        size += count;
        if (size > most)
            return tooLarge;
        if (count == 0)
            break;
        if (size == content->size())
            content->resize(std::min(2 * size + STEP, most + 1));
    }
    content->resize(size);
    return {};
}

} // namespace

std::optional<QByteArray> readWholeFile(const QString &path, qint64 most, QString *problem)
{
    QFile file(path);
    QByteArray content;
    QString reason = openRegularFile(&file);
    if (reason.isEmpty())
        reason = readAll(&file, most, &content);
    if (problem)
        *problem = problemOf(path, reason);
    return reason.isEmpty() ? std::optional(content) : std::nullopt;
}

QString openProblem(const QString &path)
{
    QFile file(path);
    return problemOf(path, openRegularFile(&file));
}

QString listProblem(const QString &folder)
{
    std::error_code error;
    const std::filesystem::directory_iterator entries(systemPath(folder), error);
    return error ? problemOf(folder, QString::fromStdString(error.message())) : QString();
}
