#include "model/appconfig.h"

bool AppConfig::isCompatible(TxType type) const
{
    if (type == TxKr7Alt || type == TxKr7)
        return hardware.contains(TX_IDS[TxKr7]) || hardware.contains(TX_IDS[TxKr7Alt]);
    return hardware.contains(TX_IDS[type]);
}

QString firmwareText(const QVersionNumber &version)
{
    return QStringLiteral("%1.%2").arg(version.majorVersion()).arg(version.minorVersion(), 2, 10, QLatin1Char('0'));
}
