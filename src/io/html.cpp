#include "io/html.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

/// The character of an entity, which is given without "&" and ";"; empty when there is no such entity.
QString entityText(QStringView entity)
{
    if (entity.startsWith(u'#')) {
        const bool isHex = entity.startsWith(QLatin1String("#x"), Qt::CaseInsensitive);
        bool isNumber = false;
        const char32_t character = entity.sliced(isHex ? 2 : 1).toUInt(&isNumber, isHex ? 16 : 10);
        return isNumber ? QString::fromUcs4(&character, 1) : QString();
    }
    static constexpr std::array<std::pair<QLatin1String, QLatin1String>, 5> NAMES{{
        {QLatin1String("quot"), QLatin1String("\"")},
        {QLatin1String("apos"), QLatin1String("'")},
        {QLatin1String("lt"), QLatin1String("<")},
        {QLatin1String("gt"), QLatin1String(">")},
        {QLatin1String("amp"), QLatin1String("&")},
    }};
    for (const auto &[name, character] : NAMES) {
        if (entity == name)
            return character;
    }
    return {};
}

} // namespace

std::optional<HtmlTag> HtmlReader::nextTag()
{
    while (nextAttribute()) { }
    skipBehind(u"<");
    skipSpaces();
    while (isAt(u'!')) {
        const bool isComment = text.startsWith(u"!--");
        take(isComment ? 3 : 1);
        skipBehind(isComment ? u"-->" : u">");
        skipBehind(u"<");
        skipSpaces();
    }
    if (text.isEmpty())
        return std::nullopt;

    isInTag = !isAt(u'/');
    if (!isInTag)
        take(1);
    // Qt decodes no entities in single quotes.
    const bool isLiteral = isAt(u'\'');
    const QStringView word = nextWord();
    const QString name = (isLiteral ? word.toString() : decoded(word)).toLower();
    if (isInTag)
        return HtmlTag{name, false};
    skipBehind(u">");
    return HtmlTag{name.trimmed(), true};
}

std::optional<HtmlAttribute> HtmlReader::nextAttribute()
{
    while (isInTag) {
        skipSpaces();
        const QStringView name = isAt(u'/') ? QStringView() : nextWord();
        skipSpaces();
        if (name.isEmpty()) {
            // Where no name begins, Qt leaves out the rest of the tag.
            isInTag = false;
            skipBehind(u">");
        } else if (isAt(u'=')) {
            take(1);
            skipSpaces();
            const QStringView value = nextWord();
            return HtmlAttribute{decoded(name).toLower(), decoded(value)};
        }
    }
    return std::nullopt;
}

QStringView HtmlReader::textUntilEnd(QLatin1String name)
{
    while (nextAttribute()) { }
    const qsizetype end = text.indexOf(QString(QLatin1String("</") + name), 0, Qt::CaseInsensitive);
    return take(end < 0 ? text.size() : end);
}

QStringView HtmlReader::take(qsizetype length)
{
    const QStringView taken = text.first(length);
    text = text.sliced(length);
    return taken;
}

void HtmlReader::skipSpaces()
{
    const auto *end = std::find_if_not(text.begin(), text.end(), [](QChar character) { return character.isSpace(); });
    take(end - text.begin());
}

void HtmlReader::skipBehind(QStringView end)
{
    const qsizetype found = text.indexOf(end);
    take(found < 0 ? text.size() : found + end.size());
}

QStringView HtmlReader::nextWord()
{
    if (!isAt(u'"') && !isAt(u'\'')) {
        const auto *end = std::find_if(text.begin(), text.end(), [this](const QChar &letter) {
            return letter.isSpace() || letter == u'>' || letter == u'<' || letter == u'='
                   || (letter == u'/' && &letter + 1 != text.end() && *(&letter + 1) == u'>');
        });
        return take(end - text.begin());
    }
    const QChar quote = text.front();
    take(1);
    qsizetype end = text.indexOf(quote);
    // For Qt, only single quotes can be escaped.
    while (quote == u'\'' && end > 0 && text.at(end - 1) == u'\\')
        end = text.indexOf(quote, end + 1);
    const QStringView quoted = take(end < 0 ? text.size() : end);
    skipBehind(QStringView(&quote, 1));
    return quoted;
}

QString HtmlReader::decoded(QStringView word) const
{
    constexpr qsizetype LONGEST = 10; // that Qt decodes, with its signs
    QString result;
    for (qsizetype begin = word.indexOf(u'&'); begin >= 0; begin = word.indexOf(u'&')) {
        result += word.first(begin);
        word = word.sliced(begin);
        const QStringView reach = word.first(std::min(LONGEST, word.size()));
        qsizetype end = 1;
        while (end < reach.size() && reach.at(end) != u';' && !reach.at(end).isSpace())
            ++end;
        // For Qt, the end of the whole text takes the place of a semicolon.
        const bool isClosed = end < reach.size() ? reach.at(end) == u';' : end == word.size() && text.isEmpty();
        const QString meaning = isClosed ? entityText(reach.first(end).sliced(1)) : QString();
        result += meaning.isEmpty() ? QStringLiteral("&") : meaning;
        word = word.sliced(meaning.isEmpty() ? 1 : std::min(end + 1, word.size()));
    }
    result += word;
    return result;
}
