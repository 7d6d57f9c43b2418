#include "io/wholefile.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <system_error>

std::optional<QByteArray> readWholeFile(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return content;
}

QString openProblem(const QString &path)
{
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        return path + QStringLiteral(": Is not a regular file");
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString() : path + QStringLiteral(": ") + file.errorString();
}

QString listProblem(const QString &folder)
{
    std::error_code error;
    const std::filesystem::directory_iterator entries(QFileInfo(folder).filesystemFilePath(), error);
    return error ? folder + QStringLiteral(": ") + QString::fromStdString(error.message()) : QString();
}

QString readProblem(const QString &path)
{
    const QString problem = openProblem(path);
    return problem.isEmpty() ? path + QStringLiteral(": Cannot be read to its end") : problem;
}
