#pragma once

#include <QString>

#include <optional>

class QFont;
class QTextDocument;

// What Qt's text layout never finishes, or not within minutes:
//
// - A document of more than 2^23 pixels in height. The layout takes that for the height of a page and moves the
//   first line that does not fit to the next page, which does not exist, so it tries the same line forever. Where no
//   line is at that place, it ends by chance.
// - Tables inside each other. Each level doubles the time, since a cell is laid out twice, the first time
//   to find out how wide it wants to be.
// - A table of millions of cells, which a few spans can make. It fills the memory before the layout begins.
//
// Nothing else is refused: it takes long, but it ends.

/// Whether Qt can parse HTML in less than a gigabyte of memory.
[[nodiscard]] bool canBeParsed(const QString &html);

/// How many pixels pictures that do not state a height may add to a document in @p font and in lines of @p width
/// pixels, or of @p narrower ones beside a scroll bar; nothing when its layout would not end without them.
/// Asks the document for no picture.
[[nodiscard]] std::optional<qreal> heightForPictures(const QTextDocument &document, const QFont &font, qreal width,
                                                     qreal narrower);
