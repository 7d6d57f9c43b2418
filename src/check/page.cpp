#include "check/page.h"

#include "check/projecttree.h"
#include "io/html.h"
#include "io/wholefile.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QUrl>

#include <algorithm>
#include <array>

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

QStringList pictureSources(const QString &html)
{
    QStringList found;
    HtmlReader reader(html);
    while (const std::optional<HtmlTag> tag = reader.nextTag()) {
        while (const std::optional<HtmlAttribute> attribute = reader.nextAttribute()) {
            if (attribute->name == QLatin1String("style"))
                found += stylePictures(attribute->value);
            else if (isSource(tag->name, attribute->name))
                found.append(attribute->value.trimmed());
        }
        if (tag->isEnd)
            continue;
        if (tag->name == QLatin1String("script"))
            reader.textUntilEnd(QLatin1String("script"));
        else if (tag->name == QLatin1String("style"))
            found += stylePictures(reader.textUntilEnd(QLatin1String("style")).toString());
    }
    return found;
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

} // namespace

std::optional<Page> readPage(const QString &projectFolder, const QString &path)
{
    const auto content = readWholeFile(projectFolder + QLatin1Char('/') + path, LARGEST_DESCRIPTION);
    if (!content)
        return std::nullopt;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString html = decoder(*content);
    Page page{!decoder.hasError(), {}};
    const QStringList sources = pictureSources(html);
    for (const QString &source : sources)
        page.pictures.append({source, picturePath(path, source)});
    return page;
}

} // namespace Check
