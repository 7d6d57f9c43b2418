#include "viewer/layoutlimits.h"

#include "io/html.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetricsF>
#include <QHash>
#include <QList>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextList>
#include <QTextObjectInterface>
#include <QTextTable>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace {

constexpr qint64 MOST_CELLS = 1'000'000; // each takes more than half a kilobyte
constexpr qsizetype MOST_TABLES_OPEN = 100; // in the text; the parser needs minutes for a thousand
constexpr int MOST_NESTED_TABLES = 20; // they need ten seconds
constexpr qreal LARGEST_HEIGHT = 8'380'000;
constexpr qreal PLACEHOLDER_SIDE = 16; // of the icon for a missing picture

/// A table of the HTML text while its columns are counted, as Qt counts them.
class CountedTable
{
public:
    bool isInCell = false;
    bool hasRows = false;

    void startRow()
    {
        hasRows = true;
        isInCell = false;
        columnsOfRow = 0;
        for (Span &span : spans)
            --span.rows;
        spans.removeIf([](const Span &span) { return span.rows <= 0; });
        for (const Span &span : std::as_const(spans))
            columnsOfRow += span.columns;
    }

    /// Returns the columns of the row so far.
    qint64 addCell(qint64 columnSpan, qint64 rowSpan)
    {
        isInCell = true;
        columnsOfRow += columnSpan;
        if (rowSpan > 1)
            spans.append({rowSpan, columnSpan});
        return columnsOfRow;
    }

private:
    struct Span
    {
        qint64 rows;
        qint64 columns;
    };

    QList<Span> spans; // that reach into the rows below
    qint64 columnsOfRow = 0;
};

/// Adds the cell whose tag the reader is in.
qint64 addCell(CountedTable *table, HtmlReader *reader)
{
    constexpr int WIDEST = 20480; // Qt takes no more
    int columns = 1;
    int rows = 1;
    while (const std::optional<HtmlAttribute> attribute = reader->nextAttribute()) {
        // The widest of several. Qt takes the last one, but some that the reader decodes are no numbers for Qt.
        const int span = std::min(attribute->value.toInt(), WIDEST);
        if (attribute->name == QLatin1String("colspan"))
            columns = std::max(columns, span);
        else if (attribute->name == QLatin1String("rowspan"))
            rows = std::max(rows, span);
    }
    return table->addCell(columns, rows);
}

qreal aroundCell(const QTextTableCellFormat &cell)
{
    return cell.topPadding() + cell.bottomPadding() + cell.topBorder() + cell.bottomBorder();
}

/// The height of a line whose content has a given height.
qreal heightOfLine(const QTextBlockFormat &format, qreal content)
{
    return std::max(content, std::abs(format.lineHeight(content, 1)));
}

/// How many lines a picture may raise: in the middle of a line two, also the one that it does not fit into.
qreal linesRaised(const QTextBlock &block, int position)
{
    const bool begins =
        position == block.position() || block.text().at(position - block.position() - 1) == QChar(QChar::LineSeparator);
    return begins ? 1 : 2;
}

/// The largest height that a document may have, without the pictures that do not state theirs.
class Height
{
public:
    Height(const QTextDocument &textDocument, const QFont &textFont, qreal width)
        : document(textDocument),
          scale(QFontMetricsF(textFont).height() / QFontMetricsF(document.defaultFont()).height()),
          lineWidth(std::max(width, 1.0)), hasFrames(!document.rootFrame()->childFrames().isEmpty())
    {
        const QList<QTextFormat> formats = document.allFormats();
        for (const QTextFormat &format : formats) {
            if (format.isTableCellFormat())
                highestCellFrame = std::max(highestCellFrame, aroundCell(format.toTableCellFormat()));
        }
    }

    /// In one pass; in a cell each line counts as if it had only one letter.
    [[nodiscard]] qreal roughly()
    {
        qreal height = ofFrame(*document.rootFrame());
        for (QTextBlock block = document.begin(); block.isValid() && height < std::numeric_limits<float>::max();
             block = block.next()) {
            const QTextBlockFormat format = block.blockFormat();
            height += lines(block) * lineHeight(block) + ofPictures(block) + std::abs(format.topMargin())
                      + std::abs(format.bottomMargin());
        }
        return height;
    }

    /// What tables put between and around their cells, as counted by roughly().
    [[nodiscard]] qreal betweenCells() const { return aroundCells; }

    /// Of the tallest text in a block.
    [[nodiscard]] qreal lineHeight(const QTextBlock &block)
    {
        return heightOfLine(block.blockFormat(), tallestLetter(block));
    }

    /// All pictures of a block below each other.
    [[nodiscard]] qreal ofPictures(const QTextBlock &block)
    {
        qreal height = 0;
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextFragment fragment = part.fragment();
            const QTextImageFormat image = fragment.charFormat().toImageFormat();
            if (!image.isValid())
                continue;
            const qreal stated = std::max(PLACEHOLDER_SIDE, std::abs(image.height()));
            for (int position = fragment.position(); position < fragment.position() + fragment.length(); ++position) {
                height +=
                    linesRaised(block, position) * heightOfLine(block.blockFormat(), stated) + 2 * lineHeight(block);
            }
        }
        return height;
    }

private:
    [[nodiscard]] qreal pixels(const QTextLength &length) const
    {
        return length.type() == QTextLength::VariableLength ? 0 : std::abs(length.value(lineWidth));
    }

    [[nodiscard]] qreal ofFrame(const QTextFrame &frame)
    {
        const QTextFrameFormat format = frame.frameFormat();
        qreal height = 2 * (format.border() + format.padding()) + std::abs(format.topMargin())
                       + std::abs(format.bottomMargin()) + pixels(format.height());
        if (const auto *table = qobject_cast<const QTextTable *>(&frame)) {
            const QTextTableFormat cells = table->format();
            const qreal around = table->rows() * (2 * (cells.cellPadding() + cells.border()) + cells.cellSpacing());
            height += around + table->rows() * highestCellFrame;
            aroundCells += around;
        }
        const QList<QTextFrame *> children = frame.childFrames();
        for (const QTextFrame *child : children)
            height += ofFrame(*child);
        return height;
    }

    // Two lines together are wider than their room, but in a cell a line may have only one letter.
    [[nodiscard]] qreal lines(const QTextBlock &block)
    {
        const QTextBlockFormat format = block.blockFormat();
        const QString text = block.text();
        const QTextList *list = block.textList();
        const qreal indents =
            std::abs(qreal(format.indent())) + (list ? std::abs(qreal(list->format().indent())) : qreal(0));
        const qreal indent = std::abs(format.leftMargin()) + std::abs(format.rightMargin())
                             + std::abs(format.textIndent()) + document.indentWidth() * indents;
        const auto length = static_cast<qreal>(text.size());
        const qreal room = lineWidth - indent;
        const bool inFlow = !hasFrames || QTextCursor(block).currentFrame() == document.rootFrame();
        qreal breaks = length;
        if (inFlow && room > 0) {
            qreal letters =
                indent
                + document.defaultTextOption().tabStopDistance() * static_cast<qreal>(text.count(QChar::Tabulation));
            for (auto part = block.begin(); !part.atEnd(); ++part) {
                const QTextFragment fragment = part.fragment();
                const QTextCharFormat letter = fragment.charFormat();
                letters += fragment.length()
                           * (letterHeight(fragment.charFormatIndex(), letter) + std::abs(letter.fontLetterSpacing())
                              + std::abs(letter.fontWordSpacing()));
            }
            breaks = std::min(length, 2 * letters / room);
        }
        return 1 + breaks + static_cast<qreal>(text.count(QChar::LineSeparator));
    }

    [[nodiscard]] qreal tallestLetter(const QTextBlock &block)
    {
        const QString text = block.text();
        const bool isOfOneFont = std::none_of(text.begin(), text.end(), [](QChar letter) {
            return letter.unicode() > 0x24f && (letter.unicode() < 0x2000 || letter.unicode() > 0x206f)
                   && letter != QChar::ObjectReplacementCharacter;
        });
        qreal tallest = text.isEmpty() ? letterHeight(block.charFormatIndex(), block.charFormat()) : qreal(0);
        for (auto part = block.begin(); !part.atEnd(); ++part)
            tallest = std::max(tallest, letterHeight(part.fragment().charFormatIndex(), part.fragment().charFormat()));
        // Letters that the font does not have are taken from other fonts, which may be taller.
        return isOfOneFont ? tallest : 2 * tallest;
    }

    // The height is larger than the width of nearly every letter; it overflows for a huge font.
    [[nodiscard]] qreal letterHeight(int formatIndex, const QTextCharFormat &format)
    {
        auto known = letterHeights.find(formatIndex);
        if (known == letterHeights.end()) {
            const QFontMetricsF font(format.font());
            const qreal height = std::ceil(scale * std::abs(font.ascent()))
                                 + std::ceil(scale * std::abs(font.descent()))
                                 + std::ceil(scale * std::abs(font.leading()));
            known = letterHeights.insert(formatIndex, height);
        }
        return *known;
    }

    const QTextDocument &document;
    qreal scale; // from the font of the document to the one that will be used
    qreal lineWidth;
    bool hasFrames;
    qreal highestCellFrame = 0;
    qreal aroundCells = 0;
    QHash<int, qreal> letterHeights; // by the index of the format
};

/// Gives pictures their width but no height.
class FlatPictures : public QObject, public QTextObjectInterface
{
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)

public:
    QSizeF intrinsicSize(QTextDocument * /*document*/, int /*position*/, const QTextFormat &format) override
    {
        return {std::max(PLACEHOLDER_SIDE, std::abs(format.toImageFormat().width())), 0};
    }

    void drawObject(QPainter * /*painter*/, const QRectF & /*rectangle*/, QTextDocument * /*document*/,
                    int /*position*/, const QTextFormat & /*format*/) override
    {
    }
};

constexpr qreal SQUEEZE = 16;

void squeezeFrame(QTextFrame *frame)
{
    QTextFrameFormat format = frame->frameFormat();
    format.setTopMargin(format.topMargin() / SQUEEZE);
    format.setBottomMargin(format.bottomMargin() / SQUEEZE);
    if (format.height().type() == QTextLength::FixedLength)
        format.setHeight(format.height().rawValue() / SQUEEZE);
    frame->setFrameFormat(format);
    const QList<QTextFrame *> children = frame->childFrames();
    for (QTextFrame *child : children)
        squeezeFrame(child);
}

/// Lets Qt lay out a copy with the same line breaks but a sixteenth of the height, which ends. All pictures count as if
/// they were below each other.
qreal squeezedHeight(const QTextDocument &document, const QFont &font, qreal width, qreal narrower, Height *height)
{
    FlatPictures pictures;
    const std::unique_ptr<QTextDocument> copy(document.clone());
    copy->setUndoRedoEnabled(false);
    copy->setPageSize({0, 0}); // prevents the layout
    copy->setDefaultFont(font);
    copy->setDefaultTextOption(document.defaultTextOption());
    copy->setIndentWidth(document.indentWidth());
    copy->documentLayout()->registerHandler(QTextFormat::ImageObject, &pictures);
    copy->documentLayout()->setPaintDevice(document.documentLayout()->paintDevice());

    QTextCursor edit(copy.get());
    edit.beginEditBlock();
    squeezeFrame(copy->rootFrame());
    QTextBlock original = document.begin();
    qreal pictureHeight = 0;
    for (QTextBlock block = copy->begin(); block.isValid(); block = block.next(), original = original.next()) {
        QTextBlockFormat format = block.blockFormat();
        pictureHeight += height->ofPictures(original);
        format.setLineHeight(height->lineHeight(original) / SQUEEZE, QTextBlockFormat::FixedHeight);
        format.setTopMargin(format.topMargin() / SQUEEZE);
        format.setBottomMargin(format.bottomMargin() / SQUEEZE);
        format.setPageBreakPolicy(QTextFormat::PageBreak_Auto);
        QTextCursor(block).setBlockFormat(format);
        QTextTable *table = QTextCursor(block).currentTable();
        QTextTableCell cell = table ? table->cellAt(block.position()) : QTextTableCell();
        if (cell.isValid() && cell.firstCursorPosition().block() == block) {
            QTextTableCellFormat cellFormat = cell.format().toTableCellFormat();
            cellFormat.setTopPadding(cellFormat.topPadding() / SQUEEZE);
            cellFormat.setBottomPadding(cellFormat.bottomPadding() / SQUEEZE);
            cell.setFormat(cellFormat);
        }
    }
    edit.endEditBlock();
    // A narrower document may be lower, as words are broken only where there is room for a letter.
    copy->setTextWidth(narrower);
    const qreal narrow = copy->size().height();
    copy->setTextWidth(width);
    return SQUEEZE * std::max(narrow, copy->size().height()) + pictureHeight;
}

int tableDepth(const QTextFrame &frame)
{
    int deepest = 0;
    const QList<QTextFrame *> children = frame.childFrames();
    for (const QTextFrame *child : children)
        deepest = std::max(deepest, tableDepth(*child));
    return deepest + (qobject_cast<const QTextTable *>(&frame) ? 1 : 0);
}

} // namespace

bool canBeParsed(const QString &html)
{
    QList<CountedTable> open;
    qint64 cells = 0;
    // Broken HTML may put a row into any of the tables that are inside each other, or even into an earlier one. So all
    // of their rows count as rows of the widest.
    bool isBroken = false;
    qint64 rows = 0;
    qint64 columns = 0;
    HtmlReader reader(html);
    while (const std::optional<HtmlTag> tag = reader.nextTag()) {
        const bool isRow = tag->name == QLatin1String("tr");
        // Qt makes a row or a cell of a tag without a name.
        const bool isCell = tag->name == QLatin1String("td") || tag->name == QLatin1String("th") || tag->name.isEmpty();
        if (tag->name == QLatin1String("table")) {
            const bool isOutsideOfCells = !tag->isEnd && !open.isEmpty() && !open.constLast().isInCell;
            isBroken = isBroken || isOutsideOfCells;
            if (isOutsideOfCells || (tag->isEnd && !open.isEmpty()))
                open.removeLast();
            if (!tag->isEnd) {
                open.append(CountedTable());
            } else if (open.isEmpty() && !isBroken) {
                cells += rows * columns;
                rows = 0;
                columns = 0;
            }
        } else if (isRow || isCell) {
            // For Qt, a table in a cell is none before its first row.
            if (isCell && open.size() > 1 && !open.constLast().hasRows)
                open.removeLast();
            // Qt makes a table for a cell outside of one.
            if (open.isEmpty())
                open.append(CountedTable());
            CountedTable &table = open.last();
            if (tag->isEnd) {
                table.isInCell = false;
            } else {
                const bool startsRow = isRow || !table.hasRows || tag->name.isEmpty();
                if (startsRow)
                    table.startRow();
                rows += startsRow ? 1 : 0;
                if (isCell)
                    columns = std::max(columns, addCell(&table, &reader));
            }
        }
        if (open.size() > MOST_TABLES_OPEN || cells + rows * columns > MOST_CELLS)
            return false;
    }
    return true;
}

std::optional<qreal> heightForPictures(const QTextDocument &document, const QFont &font, qreal width, qreal narrower)
{
    if (tableDepth(*document.rootFrame()) > MOST_NESTED_TABLES)
        return std::nullopt;
    Height height(document, font, narrower);
    qreal most = height.roughly();
    // The space between cells has one size for height and width, so that it cannot be squeezed.
    const bool canBeSqueezed = most < SQUEEZE * LARGEST_HEIGHT && SQUEEZE * height.betweenCells() < LARGEST_HEIGHT;
    if (most >= LARGEST_HEIGHT && canBeSqueezed)
        most = squeezedHeight(document, font, width, narrower, &height);
    return most < LARGEST_HEIGHT ? std::optional(LARGEST_HEIGHT - most) : std::nullopt;
}

#include "layoutlimits.moc"
