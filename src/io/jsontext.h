#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

/// Whether a text needs no escapes in JSON. Texts with halves of characters are left to Qt.
[[nodiscard]] bool isUnescapedInJson(QStringView text);

/// A text as Qt writes it in JSON, in its quotes.
[[nodiscard]] QByteArray jsonText(const QString &text);
