#include "viewer/layoutlimits.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetricsF>
#include <QHash>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextList>
#include <QTextObjectInterface>
#include <QTextTable>
#include <QUrl>
#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr qsizetype MOST_OPEN_ELEMENTS = 500;
constexpr int MOST_NESTED_TABLES = 12;
constexpr int MOST_FLOATING_OBJECTS = 500;
constexpr qreal LARGEST_EXTENT = 8'000'000;
constexpr qreal PLACEHOLDER_SIDE = 30;

/// Elements without an end tag, or with one that is usually left out since the next of their kind implies it.
constexpr std::array ENDING_BY_THEMSELVES{
    QLatin1String("p"),     QLatin1String("br"),     QLatin1String("li"),   QLatin1String("td"),
    QLatin1String("tr"),    QLatin1String("th"),     QLatin1String("dd"),   QLatin1String("dt"),
    QLatin1String("img"),   QLatin1String("hr"),     QLatin1String("meta"), QLatin1String("link"),
    QLatin1String("tbody"), QLatin1String("thead"),  QLatin1String("col"),  QLatin1String("tfoot"),
    QLatin1String("input"), QLatin1String("option"), QLatin1String("area"), QLatin1String("base"),
    QLatin1String("embed"), QLatin1String("param"),  QLatin1String("wbr"),  QLatin1String("source"),
};

bool endsByItself(QStringView element)
{
    return std::any_of(ENDING_BY_THEMSELVES.begin(), ENDING_BY_THEMSELVES.end(),
                       [element](QLatin1String name) { return element.compare(name, Qt::CaseInsensitive) == 0; });
}

QStringView nameAt(QStringView html, qsizetype start)
{
    qsizetype end = start;
    while (end < html.size() && html[end].isLetterOrNumber())
        ++end;
    return html.sliced(start, end - start);
}

/// Whether the tag with something at @p position is one of XML's that need no end tag, as in <a name="x"/>.
bool closesAtOnce(QStringView html, qsizetype position)
{
    while (position < html.size() && html[position] != u'<' && html[position] != u'>')
        ++position;
    return html[position - 1] == u'/' && html.sliced(position).startsWith(u'>');
}

/// Adds up the most that a document can take, in pixels.
class Extent
{
public:
    Extent(QTextDocument &textDocument, const QFont &textFont, qreal width)
        : document(textDocument),
          scale(QFontMetricsF(textFont).height() / QFontMetricsF(document.defaultFont()).height()),
          lineWidth(std::max(width, 1.0)), rawText(document.toRawText()),
          tabWidth(document.defaultTextOption().tabStopDistance()),
          hasFrames(!document.rootFrame()->childFrames().isEmpty()),
          images(textDocument.documentLayout()->handlerForObject(QTextFormat::ImageObject))
    {
        const QList<QTextFormat> formats = document.allFormats();
        for (const QTextFormat &format : formats) {
            if (format.isTableCellFormat())
                widestCellFrame = std::max(widestCellFrame, cellFrame(format.toTableCellFormat()));
        }
    }

    [[nodiscard]] bool isBounded()
    {
        addFrame(*document.rootFrame(), 0);
        for (QTextBlock block = document.begin(); block.isValid() && fits(); block = block.next())
            addBlock(block);
        return fits();
    }

private:
    static qreal cellFrame(const QTextTableCellFormat &cell)
    {
        return cell.leftPadding() + cell.rightPadding() + cell.topPadding() + cell.bottomPadding() + cell.leftBorder()
               + cell.rightBorder() + cell.topBorder() + cell.bottomBorder();
    }

    [[nodiscard]] qreal pixels(const QTextLength &length) const
    {
        return length.type() == QTextLength::VariableLength ? 0 : std::abs(length.value(lineWidth));
    }

    [[nodiscard]] bool fits() const
    {
        return height < LARGEST_EXTENT && frameWidths + widestLine < LARGEST_EXTENT
               && floatingObjects <= MOST_FLOATING_OBJECTS && deepestTable <= MOST_NESTED_TABLES;
    }

    void addFrame(const QTextFrame &frame, int depth)
    {
        const QTextFrameFormat format = frame.frameFormat();
        const qreal around = 2 * (format.border() + format.padding());
        height += around + std::abs(format.topMargin()) + std::abs(format.bottomMargin()) + pixels(format.height());
        frameWidths += around + std::abs(format.leftMargin()) + std::abs(format.rightMargin()) + pixels(format.width());
        if (format.position() != QTextFrameFormat::InFlow)
            ++floatingObjects;
        if (const auto *table = qobject_cast<const QTextTable *>(&frame)) {
            deepestTable = std::max(deepestTable, ++depth);
            addCells(*table);
        }
        const QList<QTextFrame *> children = frame.childFrames();
        for (const QTextFrame *child : children) {
            if (fits())
                addFrame(*child, depth);
        }
    }

    void addCells(const QTextTable &table)
    {
        const QTextTableFormat format = table.format();
        const qreal cell = widestCellFrame + 2 * (format.cellPadding() + format.border()) + format.cellSpacing();
        height += cell * table.rows();
        frameWidths += cell * table.columns();
        const QList<QTextLength> widths = format.columnWidthConstraints();
        for (const QTextLength &width : widths)
            frameWidths += pixels(width);
    }

    void addBlock(const QTextBlock &block)
    {
        const QTextBlockFormat format = block.blockFormat();
        const QTextList *list = block.textList();
        const int indents = std::abs(format.indent()) + (list ? std::abs(list->format().indent()) : 0);
        const qreal indent = std::abs(format.leftMargin()) + std::abs(format.rightMargin())
                             + std::abs(format.textIndent()) + document.indentWidth() * indents;

        QSizeF letter = block.length() == 1 ? letterSize(block.charFormatIndex(), block.charFormat()) : QSizeF(0, 0);
        qreal letters = 0;
        QSizeF imageSizes(0, 0);
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextFragment fragment = part.fragment();
            const QTextCharFormat charFormat = fragment.charFormat();
            const QSizeF size = letterSize(fragment.charFormatIndex(), charFormat);
            letter = letter.expandedTo(size);
            letters += size.width() * fragment.length();
            if (charFormat.isImageFormat())
                imageSizes += imageSize(fragment.position(), charFormat.toImageFormat()) * fragment.length();
        }
        const QStringView text = QStringView(rawText).mid(block.position(), block.length());
        const qreal others = indent + imageSizes.width() + tabWidth * static_cast<qreal>(text.count(QChar::Tabulation));

        // Two lines together are wider than the room that they have, but in a cell a line may hold a single letter.
        // An image that does not fit into a line any more still makes it higher, besides its own.
        const auto length = static_cast<qreal>(text.size());
        const qreal room = lineWidth - indent;
        const bool inFlow = !hasFrames || QTextCursor(block).currentFrame() == document.rootFrame();
        const qreal breaks = inFlow && room > 0 ? std::min(length, 2 * (letters + others) / room) : length;
        const qreal lines = 1 + breaks + static_cast<qreal>(text.count(QChar::LineSeparator));
        height += std::abs(lines * format.lineHeight(letter.height()))
                  + std::abs(format.lineHeight(2 * imageSizes.height())) + std::abs(format.topMargin())
                  + std::abs(format.bottomMargin());
        widestLine = std::max(widestLine, others + letter.width() * static_cast<qreal>(longestLine(text)));
    }

    // For an image that is not there yet the toolkit looks in many places, and then shows a small square one.
    QSizeF imageSize(int position, const QTextImageFormat &format)
    {
        if (document.resource(QTextDocument::ImageResource, QUrl(format.name())).isValid())
            return images->intrinsicSize(&document, position, format);
        const qreal side = std::max({PLACEHOLDER_SIDE, std::abs(format.width()), std::abs(format.height())});
        return {side, side};
    }

    static qsizetype longestLine(QStringView text)
    {
        qsizetype longest = 0;
        for (const QStringView line : text.tokenize(QChar(QChar::LineSeparator)))
            longest = std::max(longest, line.size());
        return longest;
    }

    QSizeF letterSize(int formatIndex, const QTextCharFormat &format)
    {
        auto known = letterSizes.constFind(formatIndex);
        if (known == letterSizes.cend()) {
            // The height of a line is more than nearly every letter's width; of a monstrous font it overflows.
            const qreal lineHeight = scale * std::abs(QFontMetricsF(format.font()).height());
            const qreal spacing = std::abs(format.fontLetterSpacing()) + std::abs(format.fontWordSpacing());
            known = letterSizes.insert(formatIndex, QSizeF(lineHeight + spacing, lineHeight));
        }
        return *known;
    }

    QTextDocument &document;
    qreal scale; // of the font that is to be used to the one that the document has
    qreal lineWidth;
    QString rawText;
    qreal tabWidth;
    bool hasFrames;
    QTextObjectInterface *images;
    QHash<int, QSizeF> letterSizes; // by the index of the format
    qreal widestCellFrame = 0;

    qreal height = 0;
    qreal frameWidths = 0;
    qreal widestLine = 0;
    int floatingObjects = 0;
    int deepestTable = 0;
};

} // namespace

bool nestsTooDeep(QStringView html)
{
    QVarLengthArray<QStringView, MOST_OPEN_ELEMENTS> open;
    for (qsizetype tag = html.indexOf(u'<'); tag >= 0; tag = html.indexOf(u'<', tag + 1)) {
        const bool closes = html.sliced(tag + 1).startsWith(u'/');
        const QStringView name = nameAt(html, tag + (closes ? 2 : 1));
        if (name.isEmpty() || endsByItself(name))
            continue;
        if (closes) {
            const auto opened = std::find_if(open.crbegin(), open.crend(), [name](QStringView element) {
                return element.compare(name, Qt::CaseInsensitive) == 0;
            });
            if (opened != open.crend())
                open.resize(open.crend() - opened - 1);
        } else if (closesAtOnce(html, tag + 1)) {
            continue;
        } else if (open.size() == MOST_OPEN_ELEMENTS) {
            return true;
        } else {
            open.append(name);
        }
    }
    return false;
}

bool canBeLaidOut(QTextDocument &document, const QFont &font, qreal width)
{
    return Extent(document, font, width).isBounded();
}
