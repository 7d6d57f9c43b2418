#pragma once

#include <QByteArray>
#include <QFile>
#include <QList>

/// Resets the peak where the system allows it.
inline void resetPeakMemory()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

/// A value of /proc/self/status in bytes, such as "VmRSS:"; -1 where there is none.
inline qint64 memoryValue(const QByteArray &name)
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
