#include "io/csv.h"

#include <QCalendar>
#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <QTextStream>

namespace {

constexpr QLatin1Char SEPARATOR(';');
constexpr QLatin1Char QUOTE('"');

QString quoted(const QString &field)
{
    static const QRegularExpression needsQuotes(QStringLiteral(",|\r\n"));
    if (needsQuotes.match(field).hasMatch())
        return QUOTE + field + QUOTE;
    return QString(field).replace(QUOTE, QChar(u'\u201D'));
}

} // namespace

bool readCSVRow(QTextStream &stream, QStringList *row)
{
    row->clear();
    if (stream.atEnd())
        return false;
    *row = stream.readLine().split(SEPARATOR);
    return true;
}

QStringList parseCSV(const QString &line)
{
    QStringList fields;
    QString field;
    bool insideQuotes = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar character = line.at(i);
        if (character == QUOTE) {
            if (insideQuotes && i + 1 < line.size() && line.at(i + 1) == QUOTE) {
                field += QUOTE;
                ++i;
            } else {
                insideQuotes = !insideQuotes;
            }
        } else if (character == SEPARATOR && !insideQuotes) {
            fields.append(field);
            field.clear();
        } else {
            field += character;
        }
    }
    if (!field.isEmpty())
        fields.append(field);
    return fields;
}

bool writeCSV(QList<QStringList> rows, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;

    QTextStream stream(&file);
    for (const QStringList &row : rows) {
        QStringList fields;
        for (const QString &field : row)
            fields.append(quoted(field));
        stream << fields.join(SEPARATOR) << "\r\n";
    }
    return true;
}

QDate toDate(const QString &text)
{
    QDate date = QDate::fromString(text, Qt::RFC2822Date);
    if (!date.isValid())
        date = QDate::fromString(text, Qt::TextDate);
    if (!date.isValid())
        date = QDate::fromString(text, Qt::ISODate);
    if (!date.isValid())
        date = QLocale::system().toDate(text, QLocale::LongFormat);
    if (!date.isValid())
        date = QDate::fromString(text, QString(DATE_FORMAT), QCalendar(QCalendar::System::Gregorian));
    return date;
}
