#include "check/page.h"

#include "check/projecttree.h"
#include "io/html.h"
#include "io/wholefile.h"
#include "model/appconfig.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <array>
#include <utility>

namespace Check {

namespace {

QStringList stylePictures(const QString &style)
{
    static const QRegularExpression url(QStringLiteral(R"re(\burl\(\s*+(?:"([^"]*)"|'([^']*)'|([^\s"')]+)))re"),
                                        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression comment(QStringLiteral(R"(/\*.*?(\*/|$))"),
                                            QRegularExpression::DotMatchesEverythingOption);
    QStringList found;
    for (auto match = url.globalMatch(QString(style).remove(comment)); match.hasNext();) {
        const QRegularExpressionMatch one = match.next();
        found.append(one.captured(one.lastCapturedIndex()));
    }
    return found;
}

bool isSource(const QString &tag, const QString &attribute)
{
    struct Source
    {
        QLatin1String tag;
        QLatin1String attribute;
    };
    static constexpr std::array<Source, 9> SOURCES{{
        {QLatin1String("img"), QLatin1String("src")},
        {QLatin1String("input"), QLatin1String("src")},
        {QLatin1String("body"), QLatin1String("background")},
        {QLatin1String("table"), QLatin1String("background")},
        {QLatin1String("tr"), QLatin1String("background")},
        {QLatin1String("td"), QLatin1String("background")},
        {QLatin1String("th"), QLatin1String("background")},
        {QLatin1String("video"), QLatin1String("poster")},
        {QLatin1String("object"), QLatin1String("data")},
    }};
    return std::any_of(SOURCES.begin(), SOURCES.end(),
                       [&](const Source &source) { return source.tag == tag && source.attribute == attribute; });
}

/// Whether an attribute of a meta element says that the page is UTF-8.
bool isUtf8Declaration(const HtmlAttribute &attribute)
{
    static const QRegularExpression charset(QStringLiteral("charset\\s*=\\s*[\"']?utf-?8\\b"),
                                            QRegularExpression::CaseInsensitiveOption);
    const QString value = attribute.value.trimmed();
    return attribute.name == QLatin1String("charset")
               ? value.compare(QLatin1String("utf-8"), Qt::CaseInsensitive) == 0
               : attribute.name == QLatin1String("content") && charset.match(value).hasMatch();
}

/// Where a picture of a page is in the project.
std::optional<QString> picturePath(const QString &pagePath, const QString &source)
{
    static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]*:"));
    if (source.startsWith(QLatin1String("data:"), Qt::CaseInsensitive))
        return QString();
    const QString named = source.section(QLatin1Char('#'), 0, 0).section(QLatin1Char('?'), 0, 0);
    const QString decoded = QUrl::fromPercentEncoding(named.toUtf8());
    const QString path = QDir::cleanPath(QFileInfo(pagePath).path() + QLatin1Char('/') + decoded);
    // A path may become absolute only by being decoded and cleaned.
    if (isAbsolutePath(source) || isAbsolutePath(path) || scheme.match(source).hasMatch() || climbsOut(path))
        return std::nullopt;
    return path;
}

constexpr qsizetype MOST_PICTURES = 10'000; // of one page

} // namespace

void PageReader::add(QByteArrayView bytes)
{
    constexpr QByteArrayView BYTE_ORDER_MARK("\xEF\xBB\xBF");
    if (beginning.size() < BYTE_ORDER_MARK.size()) {
        beginning += bytes.first(std::min(bytes.size(), BYTE_ORDER_MARK.size() - beginning.size()));
        declaresUtf8 = declaresUtf8 || beginning == BYTE_ORDER_MARK;
    }
    const QString decoded = decoder(bytes);
    if (isEnded)
        return;
    text += decoded;
    if (text.size() >= enough)
        parse(false);
}

void PageReader::finish()
{
    // A letter that is cut off is an error only before another one.
    (void)QString(decoder(QByteArrayView(" ")));
    if (!isEnded)
        parse(true);
}

// The last tag may go on in the next piece, so what it says counts only when another one follows it.
void PageReader::parse(bool isWhole)
{
    HtmlReader reader(text);
    qsizetype parsed = 0;
    QStringList found;
    bool isDeclared = false;
    const auto accept = [&] {
        for (const QString &source : std::as_const(found)) {
            if (sources.size() < MOST_PICTURES && !knownSources.contains(source)) {
                knownSources.insert(source);
                sources.append(source);
            }
        }
        found.clear();
        declaresUtf8 = declaresUtf8 || isDeclared;
    };
    for (qsizetype end = 0; const std::optional<HtmlTag> tag = reader.nextTag();
         end = text.size() - reader.remaining()) {
        accept();
        parsed = end;
        while (const std::optional<HtmlAttribute> attribute = reader.nextAttribute()) {
            if (attribute->name == QLatin1String("style"))
                found += stylePictures(attribute->value);
            else if (isSource(tag->name, attribute->name))
                found.append(attribute->value.trimmed());
            else if (tag->name == QLatin1String("meta"))
                isDeclared = isDeclared || isUtf8Declaration(*attribute);
        }
        if (tag->isEnd)
            continue;
        if (tag->name == QLatin1String("script"))
            reader.textUntilEnd(QLatin1String("script"));
        else if (tag->name == QLatin1String("style"))
            found += stylePictures(reader.textUntilEnd(QLatin1String("style")).toString());
    }
    if (isWhole) {
        accept();
        return;
    }
    const qsizetype kept = text.indexOf(QLatin1Char('<'), parsed);
    text = kept < 0 ? QString() : text.sliced(kept);
    isEnded = text.size() > longest;
    if (isEnded)
        text.clear();
    enough = std::max(PIECE, 2 * text.size());
}

std::optional<Page> readPage(const QString &projectFolder, const QString &path)
{
    const auto content = readWholeFile(projectFolder + QLatin1Char('/') + path, LARGEST_DESCRIPTION);
    if (!content)
        return std::nullopt;
    PageReader reader;
    reader.add(*content);
    reader.finish();
    Page page{reader.isUtf8(), *content == descriptionTemplate(), {}};
    for (const QString &source : reader.pictureSources())
        page.pictures.append({source, picturePath(path, source)});
    return page;
}

} // namespace Check
