#pragma once

#include <QDate>
#include <QString>

/// The date of a cell of a project file; invalid when the cell has none.
[[nodiscard]] QDate dateFromCell(const QString &cell);
