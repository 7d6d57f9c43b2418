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
constexpr int MOST_COLUMNS = 1000;
constexpr int MOST_FLOATING_OBJECTS = 500;
constexpr qreal LARGEST_EXTENT = 8'000'000;
constexpr qreal PLACEHOLDER_SIDE = 30;

/// Elements that the parser ends by itself, at once or where the next of their kind begins.
constexpr std::array ENDING_BY_THEMSELVES{
    QLatin1String("p"),  QLatin1String("br"),  QLatin1String("li"),    QLatin1String("td"),    QLatin1String("th"),
    QLatin1String("tr"), QLatin1String("dd"),  QLatin1String("dt"),    QLatin1String("tbody"), QLatin1String("thead"),
    QLatin1String("hr"), QLatin1String("img"), QLatin1String("tfoot"), QLatin1String("meta"),
};

bool isSame(QStringView name, QStringView other)
{
    return name.compare(other, Qt::CaseInsensitive) == 0;
}

bool endsByItself(QStringView element)
{
    return element.startsWith(QLatin1Char('!'))
           || std::any_of(ENDING_BY_THEMSELVES.begin(), ENDING_BY_THEMSELVES.end(),
                          [element](QLatin1String name) { return element.compare(name, Qt::CaseInsensitive) == 0; });
}

/// Goes through the tags of HTML as the engine's parser does, which takes nearly anything for the name of an element.
class Tags
{
public:
    explicit Tags(QStringView text) : html(text) { }

    QStringView name; ///< empty for a comment
    bool isEnd = false;
    bool endsAtOnce = false; ///< as <a name="x"/> does

    bool next()
    {
        position = html.indexOf(u'<', position);
        if (position < 0)
            return false;
        name = {};
        if (html.sliced(position).startsWith(QLatin1String("<!--"))) {
            position = html.indexOf(QLatin1String("-->"), position);
            return position >= 0;
        }
        ++position;
        skip([](QChar character) { return character.isSpace(); });
        isEnd = position < html.size() && html[position] == u'/';
        position += isEnd ? 1 : 0;
        const qsizetype start = position;
        skip([](QChar character) { return !character.isSpace() && !QStringView(u"<>/=").contains(character); });
        name = html.sliced(start, position - start);
        skipAttributes();
        return true;
    }

private:
    template <typename Condition> void skip(Condition goesOn)
    {
        while (position < html.size() && goesOn(html[position]))
            ++position;
    }

    void skipAttributes()
    {
        QChar before;
        for (; position < html.size() && html[position] != u'<' && html[position] != u'>'; ++position) {
            const QChar character = html[position];
            if (before == u'=' && (character == u'"' || character == u'\'')) {
                ++position;
                skip([character](QChar inside) { return inside != character; });
            }
            if (!character.isSpace())
                before = character;
        }
        endsAtOnce = before == u'/';
    }

    QStringView html;
    qsizetype position = 0;
};

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
               && floatingObjects <= MOST_FLOATING_OBJECTS && deepestTable <= MOST_NESTED_TABLES
               && widestTable <= MOST_COLUMNS;
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
        widestTable = std::max(widestTable, table.columns());
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
        const qreal indents =
            std::abs(qreal(format.indent())) + (list ? std::abs(qreal(list->format().indent())) : qreal(0));
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
        auto known = letterSizes.find(formatIndex);
        if (known == letterSizes.end()) {
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
    int widestTable = 0; // in columns
};

} // namespace

bool nestsTooDeep(QStringView html)
{
    // An end tag of something further out is passed over, which counts too many elements rather than too few.
    constexpr qsizetype FARTHEST = 20;
    QVarLengthArray<QStringView, MOST_OPEN_ELEMENTS> open;
    Tags tag(html);
    while (tag.next()) {
        if (tag.name.isEmpty() || endsByItself(tag.name))
            continue;
        if (tag.isEnd) {
            const auto last = open.crbegin() + std::min(open.size(), FARTHEST);
            const auto begun =
                std::find_if(open.crbegin(), last, [&tag](QStringView element) { return isSame(element, tag.name); });
            if (begun != last)
                open.resize(open.crend() - begun - 1);
        } else if (!tag.endsAtOnce) {
            if (open.size() == MOST_OPEN_ELEMENTS)
                return true;
            open.append(tag.name);
        }
    }
    return false;
}

bool canBeLaidOut(QTextDocument &document, const QFont &font, qreal width)
{
    return Extent(document, font, width).isBounded();
}
