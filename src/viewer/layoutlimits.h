#pragma once

#include <QString>

#include <optional>

class QFont;
class QTextDocument;

// What Qt's text layout never comes to an end with:
//
// - A document of more than 2^23 pixels in height. The layout takes it for a page of that height and puts the first
//   line that does not fit on the next one, but there is no next one, so it tries the same line for ever.
// - Tables inside each other. Each level doubles the time, since a cell is laid out once to see how wide it wants to
//   be, and once more.
// - A table of millions of cells, which a few spans make, fills the memory before anything is laid out.
//
// Everything else ends, if late: nothing else is refused here.

/// Whether Qt can parse HTML in less than a gigabyte of memory.
[[nodiscard]] bool canBeParsed(const QString &html);

/// How many pixels pictures that do not state a height may add to a document in @p font and in lines of @p width
/// pixels, or of @p narrower ones beside a scroll bar; nothing when its layout would not end without them.
/// Asks the document for no picture.
[[nodiscard]] std::optional<qreal> heightForPictures(const QTextDocument &document, const QFont &font, qreal width,
                                                     qreal narrower);
