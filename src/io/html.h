#pragma once

#include <QString>
#include <QStringView>

#include <optional>

struct HtmlTag
{
    QString name; ///< in lower case
    bool isEnd = false;
};

struct HtmlAttribute
{
    QString name; ///< in lower case
    QString value; ///< without entities
};

/// Reads the tags of an HTML text once, from its beginning to its end, as Qt does: even in a script.
class HtmlReader
{
public:
    /// The text has to outlive the reader.
    explicit HtmlReader(QStringView html) : text(html) { }

    /// The next tag; nothing at the end of the text.
    [[nodiscard]] std::optional<HtmlTag> nextTag();

    /// The next attribute of this tag, without those that have no value; nothing when there are no more.
    [[nodiscard]] std::optional<HtmlAttribute> nextAttribute();

    /// The text after this tag, up to the end tag of that name. For elements whose content is not HTML.
    QStringView textUntilEnd(QLatin1String name);

    /// How many characters are still to be read.
    [[nodiscard]] qsizetype remaining() const { return text.size(); }

private:
    [[nodiscard]] bool isAt(QChar character) const { return text.startsWith(character); }
    QStringView take(qsizetype length);
    void skipSpaces();
    void skipBehind(QStringView end);
    QStringView nextWord();
    [[nodiscard]] QString decoded(QStringView word) const;

    QStringView text; // that is still to be read
    bool isInTag = false;
};
