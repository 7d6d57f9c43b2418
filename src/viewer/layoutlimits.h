#pragma once

#include <QStringView>

class QFont;
class QTextDocument;

// What the toolkit's text engine can show in a bounded time. It counts lengths in fixed point: with more than 2^23
// pixels in the height of a document or in one line its layout never ends. The time that it takes for nested tables
// doubles with each level, and for elements, floating objects and columns it grows with the square of their number.

/// Whether the engine would parse @p html slowly, because hundreds of its elements are open at a time.
[[nodiscard]] bool nestsTooDeep(QStringView html);

/// Whether the layout of a parsed document in @p font, in lines of @p width pixels, comes to an end.
/// Counts with more room than a text needs. Asks the document for its pictures, as the layout would.
[[nodiscard]] bool canBeLaidOut(QTextDocument &document, const QFont &font, qreal width);
