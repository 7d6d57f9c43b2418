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

constexpr qint64 MOST_CELLS = 1'000'000; // with more than half a kilobyte for each
constexpr qsizetype MOST_TABLES_OPEN = 100; // in the text; the parser takes minutes for a thousand
constexpr int MOST_NESTED_TABLES = 20; // ten seconds
constexpr qreal LARGEST_HEIGHT = 8'380'000;
constexpr qreal PLACEHOLDER_SIDE = 16; // of the icon for a picture that is not there

/// A table of the HTML text while its rows are counted, as Qt counts them.
class CountedTable
{
public:
    bool isInCell = false;

    void startRow()
    {
        ++rows;
        isInCell = false;
        columnsOfRow = 0;
        for (Span &span : spans)
            --span.rows;
        spans.removeIf([](const Span &span) { return span.rows <= 0; });
        for (const Span &span : std::as_const(spans))
            columnsOfRow += span.columns;
    }

    void addCell(qint64 columnSpan, qint64 rowSpan)
    {
        if (rows == 0)
            startRow();
        isInCell = true;
        columnsOfRow += columnSpan;
        columns = std::max(columns, columnsOfRow);
        if (rowSpan > 1)
            spans.append({rowSpan, columnSpan});
    }

    /// Qt makes a row or a cell of a tag without a name.
    void addNameless()
    {
        ++rows;
        ++columnsOfRow;
        columns = std::max(columns, columnsOfRow);
    }

    [[nodiscard]] bool hasRows() const { return rows > 0; }
    [[nodiscard]] qint64 cells() const { return rows * columns; }

private:
    struct Span
    {
        qint64 rows;
        qint64 columns;
    };

    QList<Span> spans; // that reach into the rows below
    qint64 rows = 0;
    qint64 columns = 0;
    qint64 columnsOfRow = 0;
};

/// The cell whose tag the reader is in.
void addCell(CountedTable *table, HtmlReader *reader)
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
    table->addCell(columns, rows);
}

qreal aroundCell(const QTextTableCellFormat &cell)
{
    return cell.topPadding() + cell.bottomPadding() + cell.topBorder() + cell.bottomBorder();
}

/// The height of a line in which that of the text and the pictures is given.
qreal heightOfLine(const QTextBlockFormat &format, qreal content)
{
    return std::max(content, std::abs(format.lineHeight(content, 1)));
}

/// Whether a picture begins its line; in the middle of one it may raise two, that which it does not fit into as well.
qreal linesRaised(const QTextBlock &block, int position)
{
    const bool begins =
        position == block.position() || block.text().at(position - block.position() - 1) == QChar(QChar::LineSeparator);
    return begins ? 1 : 2;
}

/// The height of a document, at most, without the pictures that do not state theirs.
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

    /// In one pass; in a cell a line counts as if it held a single letter.
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

    /// What tables put between and around all of their cells alike, as counted by roughly().
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

    // Two lines together are wider than the room that they have, but in a cell a line may hold a single letter.
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
        // Letters that the font has not got come from others, which may be taller.
        return isOfOneFont ? tallest : 2 * tallest;
    }

    // It is more than nearly every letter's width; of a monstrous font it overflows.
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
    qreal scale; // of the font that is to be used to the one that the document has
    qreal lineWidth;
    bool hasFrames;
    qreal highestCellFrame = 0;
    qreal aroundCells = 0;
    QHash<int, qreal> letterHeights; // by the index of the format
};

/// Pictures that are as wide as they are but have no height.
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

/// Lets Qt lay out a copy with the same line breaks but a sixteenth of the height, which it comes to an end with.
/// All pictures count as if they were below each other.
qreal squeezedHeight(const QTextDocument &document, const QFont &font, qreal width, qreal narrower, Height *height)
{
    FlatPictures pictures;
    const std::unique_ptr<QTextDocument> copy(document.clone());
    copy->setUndoRedoEnabled(false);
    copy->setPageSize({0, 0}); // which puts the layout off
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
    // Words are broken only where there is room for a letter, so that a narrower document may be lower.
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
    HtmlReader reader(html);
    while (const std::optional<HtmlTag> tag = reader.nextTag()) {
        const bool isRow = tag->name == QLatin1String("tr");
        if (tag->name == QLatin1String("table")) {
            if (!open.isEmpty() && (tag->isEnd || !open.constLast().isInCell))
                open.removeLast();
            if (!tag->isEnd)
                open.append(CountedTable());
        } else if (isRow || tag->name.isEmpty() || tag->name == QLatin1String("td")
                   || tag->name == QLatin1String("th")) {
            // For Qt, a table in a cell is none before its first row.
            if (!isRow && open.size() > 1 && !open.constLast().hasRows())
                open.removeLast();
            // Qt makes a table for a cell outside of one.
            if (open.isEmpty())
                open.append(CountedTable());
            CountedTable &table = open.last();
            cells -= table.cells();
            if (tag->name.isEmpty())
                table.addNameless();
            else if (tag->isEnd)
                table.isInCell = false;
            else if (isRow)
                table.startRow();
            else
                addCell(&table, &reader);
            cells += table.cells();
        }
        if (open.size() > MOST_TABLES_OPEN || cells > MOST_CELLS)
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
    // Between cells there is as much in height as in width, which must stay.
    const bool canBeSqueezed = most < SQUEEZE * LARGEST_HEIGHT && SQUEEZE * height.betweenCells() < LARGEST_HEIGHT;
    if (most >= LARGEST_HEIGHT && canBeSqueezed)
        most = squeezedHeight(document, font, width, narrower, &height);
    return most < LARGEST_HEIGHT ? std::optional(LARGEST_HEIGHT - most) : std::nullopt;
}

#include "layoutlimits.moc"
