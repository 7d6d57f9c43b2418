#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

inline QJsonValue changed(const QJsonValue &document, const QStringList &place, const char *value)
{
    if (place.isEmpty())
        return QJsonDocument::fromJson('[' + QByteArray(value) + ']').array().at(0);
    const QString &step = place.constFirst();
    const bool isRemoved = place.size() == 1 && !value;
    if (document.isArray()) {
        QJsonArray array = document.toArray();
        const int index = step.toInt();
        if (isRemoved)
            array.removeAt(index);
        else if (index == array.size())
            array.append(changed({}, place.mid(1), value));
        else
            array.replace(index, changed(array.at(index), place.mid(1), value));
        return array;
    }
    QJsonObject object = document.toObject();
    if (isRemoved)
        object.remove(step);
    else
        object.insert(step, changed(object.value(step), place.mid(1), value));
    return object;
}

/// A JSON document with another value in a place, such as "applications/0/files"; null removes the value. The index
/// after the last one of an array appends to it.
inline QJsonValue changed(const QJsonValue &document, const char *place, const char *value)
{
    return changed(document, QString::fromLatin1(place).split(u'/', Qt::SkipEmptyParts), value);
}
