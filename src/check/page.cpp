#include "check/page.h"

#include "check/projecttree.h"
#include "io/wholefile.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QUrl>

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

// Nothing is looked at twice, however a page is broken.
QStringList pictures(const QString &html)
{
    static const QRegularExpression comment(QStringLiteral("<!--.*?(-->|$)"),
                                            QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression picture(
        QStringLiteral(R"re(<img(?=[\s/])((?:[^>"']++|"[^"]*+"|'[^']*+'|["'])*+))re"),
        QRegularExpression::CaseInsensitiveOption);
    QStringList found;
    const QString shown = QString(html).remove(comment);
    for (auto match = picture.globalMatch(shown); match.hasNext();) {
        std::optional<QString> source = attribute(match.next().captured(1), QLatin1String("src"));
        if (source)
            found.append(source->replace(QLatin1String("&amp;"), QLatin1String("&")).trimmed());
    }
    return found;
}

} // namespace

std::optional<Page> readPage(const QString &path)
{
    const std::optional<QByteArray> content = readWholeFile(path);
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
    if (isAbsolutePath(source) || scheme.match(source).hasMatch() || climbsOut(path))
        return std::nullopt;
    return path;
}
