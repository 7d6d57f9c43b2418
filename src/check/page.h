#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringDecoder>
#include <QStringList>

#include <limits>
#include <optional>

namespace Check {

struct Picture
{
    QString source; ///< as written in the page
    /// In the project; nothing when the picture is loaded from elsewhere, empty when the source is the picture itself.
    std::optional<QString> path;
};

/// What is checked of an HTML file.
struct Page
{
    bool isUtf8 = true;
    bool isTemplate = false; ///< what the editor begins with
    QList<Picture> pictures;
};

/// Reads an HTML text piece by piece, and keeps only the piece that it needs to go on.
class PageReader
{
public:
    /// The search for pictures ends at a tag, a comment, a style sheet or a script of more characters.
    explicit PageReader(qsizetype longestPiece = std::numeric_limits<qsizetype>::max()) : longest(longestPiece) { }

    void add(QByteArrayView bytes);

    /// To be called after the last piece.
    void finish();

    [[nodiscard]] bool isUtf8() const { return !decoder.hasError(); }
    [[nodiscard]] bool saysUtf8() const { return declaresUtf8; } ///< by a byte-order mark or a meta element

    /// The pictures that it shows, as written and each once; at most 10,000.
    [[nodiscard]] const QStringList &pictureSources() const { return sources; }

private:
    static constexpr qsizetype PIECE = 256LL * 1024;

    void parse(bool isWhole);

    qsizetype longest;
    QStringDecoder decoder{QStringDecoder::Utf8};
    QByteArray beginning; // as long as a byte-order mark
    QString text; // that is not parsed yet
    qsizetype enough = PIECE; // to be parsed
    QStringList sources;
    QSet<QString> knownSources;
    bool declaresUtf8 = false;
    bool isEnded = false;
};

/// Reads a page by its path in the project; nothing when it cannot be read.
[[nodiscard]] std::optional<Page> readPage(const QString &projectFolder, const QString &path);

} // namespace Check
