#pragma once

#include <QByteArray>
#include <QFile>
#include <QList>

/// Starts the count of the peak again where the system allows it.
inline void forgetPeakMemory()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

/// A line of the system's account of this process, in bytes; -1 where there is none.
inline qint64 memoryLine(const QByteArray &name)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name))
            return line.simplified().split(' ').value(1).toLongLong() * 1024;
    }
    return -1;
}
