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

QDate placeholderDate()
{
    return {2000, 1, 1};
}

QByteArray descriptionTemplate()
{
    return QByteArrayLiteral(R"(<!DOCTYPE html>
<html>
<head>
  <meta charset="utf-8">
  <title>#Title</title>
</head>
<body>
  <h1>#App Name</h1>
  <p></p>
  <h2>#Description</h2>
  <p>...</p>
  <h2>#Usage</h2>
  <ol>
    <li>
      <p>...</p>
    </li>
  </ol>
</body>
</html>
)");
}
