#include "io/jsontext.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

bool isUnescapedInJson(QStringView text)
{
    return std::none_of(text.cbegin(), text.cend(), [](QChar character) {
        return character < u' ' || character == u'"' || character == u'\\' || character.isSurrogate();
    });
}

QByteArray jsonText(const QString &text)
{
    if (isUnescapedInJson(text))
        return '"' + text.toUtf8() + '"';
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return array.sliced(1, array.size() - 2);
}
