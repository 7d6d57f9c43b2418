#pragma once

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>

class QTextStream;

// Semicolon-separated text in two dialects, which is meant: readCSVRow knows no quotes, parseCSV and
// writeCSV do. What writeCSV writes does not always read back through readCSVRow.
// The project file is of the first kind. io/projectfile reads it with readCSVRow and has its own writer.

/// Of the dates in a project file.
inline constexpr QLatin1String DATE_FORMAT("dd-MM-yyyy");

/// Replaces the row by the cells of the next line, split at every ";" (an empty line is one empty cell).
/// False, with an empty row, at the end of the stream or when it cannot be read further.
[[nodiscard]] bool readCSVRow(QTextStream &stream, QStringList *row);

/// The fields of one line. Double quotes enclose a field and are doubled inside it;
/// an empty field at the end of the line is dropped.
[[nodiscard]] QStringList parseCSV(const QString &line);

/// Replaces a file by the rows, as UTF-8 with CR LF after each. A field is quoted only for "," or CR LF, and then
/// unchanged; other double quotes become U+201D. False when the file cannot be opened; later errors go unnoticed.
[[nodiscard]] bool writeCSV(QList<QStringList> rows, const QString &path);

/// The first match of: RFC 2822, Qt's text form, ISO 8601, the locale's long form, dd-MM-yyyy.
/// Invalid when none matches. Surrounding white space is not removed.
[[nodiscard]] QDate toDate(const QString &text);
