#pragma once

#include <QByteArray>
#include <QColor>
#include <QList>
#include <QSize>
#include <QStringList>
#include <QUrl>

class QWidget;

/// A PNG file of a single colour.
[[nodiscard]] QByteArray picture(const QColor &colour, const QSize &size = {20, 20});

/// How many pixels of a widget have the colour.
[[nodiscard]] int pixelsOf(QWidget &widget, const QColor &colour);

/// A page of images, one below the other.
[[nodiscard]] QString htmlWithImages(const QStringList &sources);
[[nodiscard]] QString htmlWithImages(const QList<QUrl> &urls);
