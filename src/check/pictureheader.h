#pragma once

#include <QByteArray>

namespace Check {

/// What the beginning of a picture says.
struct PictureHeader
{
    enum Kind { Other, Png, Gif, Jpeg };
    Kind kind = Other;
    qint64 width = 0; ///< in pixels; 0 where the beginning does not say
    qint64 height = 0;
};

/// Reads it from the beginning of a file, or from the whole. The size of a JPEG may be far from its start.
[[nodiscard]] PictureHeader pictureHeader(const QByteArray &content);

} // namespace Check
