#include "io/fileresult.h"

#include <system_error>

QString FileError::text() const
{
    const QString place = line > 0 ? QStringLiteral("%1:%2").arg(path, QString::number(line)) : path;
    return place + QStringLiteral(": ") + reason;
}

QString systemReason(int error)
{
    return QString::fromStdString(std::generic_category().message(error));
}
