#include "check/page.h"

#include "check/projecttree.h"
#include "io/wholefile.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QUrl>

#include <array>

namespace {

/// The value of an attribute of a tag; nothing when it has none.
std::optional<QString> attribute(const QString &tag, QLatin1String name)
{
    static const QRegularExpression attributes(
        QStringLiteral(R"re(([^\s=>"'/]+)(?:\s*=\s*(?:"([^"]*)"|'([^']*)'|([^\s>"']+)))?)re"));
    for (auto match = attributes.globalMatch(tag); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        if (found.captured(1).compare(name, Qt::CaseInsensitive) == 0 && found.lastCapturedIndex() > 1)
            return found.captured(found.lastCapturedIndex());
    }
    return std::nullopt;
}

QString withoutEntities(const QString &text)
{
    static const QRegularExpression number(QStringLiteral("&#(?:[xX]([0-9A-Fa-f]{1,6})|([0-9]{1,7}));?"));
    QString decoded;
    qsizetype end = 0;
    for (auto match = number.globalMatch(text); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const bool isHex = found.lastCapturedIndex() == 1;
        const char32_t character = found.captured(found.lastCapturedIndex()).toUInt(nullptr, isHex ? 16 : 10);
        decoded += QStringView(text).sliced(end, found.capturedStart() - end);
        decoded += QString::fromUcs4(&character, 1);
        end = found.capturedEnd();
    }
    decoded += QStringView(text).sliced(end);
    struct Name
    {
        QLatin1String entity;
        QLatin1String character;
    };
    static constexpr std::array<Name, 5> NAMES{{
        {QLatin1String("&quot;"), QLatin1String("\"")},
        {QLatin1String("&apos;"), QLatin1String("'")},
        {QLatin1String("&lt;"), QLatin1String("<")},
        {QLatin1String("&gt;"), QLatin1String(">")},
        // The last one, as it may begin the name of another.
        {QLatin1String("&amp;"), QLatin1String("&")},
    }};
    for (const Name &name : NAMES)
        decoded.replace(name.entity, name.character);
    return decoded;
}

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

// Nothing is looked at twice, however a page is broken.
QStringList pictures(const QString &html)
{
    static const QRegularExpression comment(QStringLiteral("<!--.*?(-->|$)"),
                                            QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression element(
        QStringLiteral(R"re(<([a-z][a-z0-9]*+)(?=[\s/])((?:[^>"']++|"[^"]*+"|'[^']*+'|["'])*+))re"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression sheet(QStringLiteral("<style[^>]*+>(.*?)(?:</style|$)"),
                                          QRegularExpression::CaseInsensitiveOption
                                              | QRegularExpression::DotMatchesEverythingOption);
    struct Source
    {
        QLatin1String tag;
        QLatin1String attribute;
    };
    static const std::array<Source, 9> sources{{
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
    QStringList found;
    static const QRegularExpression script(QStringLiteral("<script[\\s>].*?(</script|$)"),
                                           QRegularExpression::CaseInsensitiveOption
                                               | QRegularExpression::DotMatchesEverythingOption);
    const QString shown = QString(html).remove(comment).remove(script);
    for (auto match = element.globalMatch(shown); match.hasNext();) {
        const QRegularExpressionMatch tag = match.next();
        for (const Source &source : sources) {
            if (tag.captured(1).compare(source.tag, Qt::CaseInsensitive) != 0)
                continue;
            const std::optional<QString> value = attribute(tag.captured(2), source.attribute);
            if (value)
                found.append(withoutEntities(*value).trimmed());
        }
        found += stylePictures(withoutEntities(attribute(tag.captured(2), QLatin1String("style")).value_or(QString())));
    }
    for (auto match = sheet.globalMatch(shown); match.hasNext();)
        found += stylePictures(match.next().captured(1));
    return found;
}

} // namespace

std::optional<Page> readPage(const QString &path)
{
    const std::optional<QByteArray> content = readWholeFile(path, LARGEST_DESCRIPTION);
    if (!content)
        return std::nullopt;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString html = decoder(*content);
    return Page{!decoder.hasError(), pictures(html)};
}

std::optional<QString> pictureFile(const QString &pagePath, const QString &source)
{
    static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]*:"));
    if (source.startsWith(QLatin1String("data:"), Qt::CaseInsensitive))
        return QString();
    const QString named = source.section(QLatin1Char('#'), 0, 0).section(QLatin1Char('?'), 0, 0);
    const QString decoded = QUrl::fromPercentEncoding(named.toUtf8());
    const QString path = QDir::cleanPath(QFileInfo(pagePath).path() + QLatin1Char('/') + decoded);
    // What is not absolute as written may be so when it is decoded and cleaned.
    if (isAbsolutePath(source) || isAbsolutePath(path) || scheme.match(source).hasMatch() || climbsOut(path))
        return std::nullopt;
    return path;
}
