#pragma once

#include "io/fileresult.h"

#include <QString>
#include <QtGlobal>

#ifndef Q_OS_UNIX
#include <QFile>
#endif

/// A regular file that is read from its beginning to its end. Nothing waits for a pipe or a device.
/// Qt's own file would wait for a pipe that has just taken the place of a file.
class RegularFile
{
public:
    RegularFile() = default;
    ~RegularFile();
    Q_DISABLE_COPY_MOVE(RegularFile)

    /// Opens another file instead of the one before.
    [[nodiscard]] FileResult<> open(const QString &filePath);

    [[nodiscard]] qint64 size() const; ///< when it was opened; some files of the system report none

    /// Reads at most @p count bytes; 0 at the end, and only there.
    [[nodiscard]] FileResult<qint64> read(char *data, qint64 count);

private:
    void close();

    QString path;
#ifdef Q_OS_UNIX
    int descriptor = -1;
    qint64 bytes = 0;
#else
    QFile file;
#endif
};
