#include "check/appname.h"

#include "model/appconfig.h"

#include <QJsonValue>

namespace Check {

QString nameOf(const QJsonObject &app)
{
    const QJsonObject names = app.value(QLatin1String("name")).toObject();
    const QJsonValue name = names.contains(DEFAULT_LANGUAGE) || names.isEmpty() ? names.value(DEFAULT_LANGUAGE)
                                                                                : names.constBegin().value();
    return name.toString();
}

} // namespace Check
