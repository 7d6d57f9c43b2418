#include "check/checkrules.h"

#include "findings.h"
#include "folder.h"
#include "projectdata.h"
#include "testrunner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <fstream>
#include <memory>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

const QByteArray PNG = "\x89PNG\r\n\x1a\n and so on";
const QString HEADER_LINE = QString::fromLatin1(HEADER.chopped(1));

const QByteArray JPEG = "\xff\xd8\xff\xe0\x00\x10JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00"_ba;
/// The day of the check.
const QDate TODAY(2026, 7, 31);

/// The beginning of a PNG of a size in big-endian bytes.
QByteArray png(const QByteArray &width, const QByteArray &height)
{
    return "\x89PNG\r\n\x1a\n\x00\x00\x00\x0dIHDR"_ba + width + height + "\x08\x06"_ba;
}

/// The same of a GIF, in little-endian bytes.
QByteArray gif(const QByteArray &width, const QByteArray &height)
{
    return "GIF89a"_ba + width + height;
}

/// The same of a JPEG, in big-endian bytes.
QByteArray jpeg(const QByteArray &width, const QByteArray &height)
{
    return JPEG + "\xff\xc2\x00\x11\x08"_ba + height + width + "\x03"_ba;
}

enum Column { Name, Author, Version, Hardware, Date, Description, Files, Icon, MinVersion };

/// A catalogue of one app without findings, for a case to change.
struct Draft
{
    Folder folder;
    QString header = HEADER_LINE;
    QStringList cells{uR"({"en":"Clock"})"_s,   u"Ann"_s,   u"1.0"_s,      u"674"_s, u"05-03-2024"_s,
                      uR"({"en":"en.html"})"_s, u"Clock"_s, u"icon.png"_s, u"5.03"_s};
    QStringList lines; ///< further lines
    QString closed; ///< a file or folder without permissions

    Draft()
    {
        folder.write(u"project/Clock/main.lua"_s, "abc");
        folder.write(u"project/en.html"_s, "<p>Clock</p>");
        folder.write(u"project/icon.png"_s, PNG);
    }

    ~Draft()
    {
        if (!closed.isEmpty())
            QFile::setPermissions(closed, QFile::Permissions(0x7777));
    }
    Q_DISABLE_COPY_MOVE(Draft)

    void set(Column column, const char *text) { cells[column] = QString::fromUtf8(text); }

    void add(const char *path, const QByteArray &content = "abc") const
    {
        folder.write(u"project/"_s + QString::fromUtf8(path), content);
    }

    void link(const char *target, const char *path) const
    {
        const QString place = u"project/"_s + QString::fromUtf8(path);
        const QDir beside(QFileInfo(folder.path(place)).path());
        folder.link(beside.relativeFilePath(folder.path(QString::fromUtf8(target))), place);
    }

    void close(const char *path)
    {
        closed = folder.path(u"project/"_s + QString::fromUtf8(path));
        if (!QFile::setPermissions(closed, {}))
            qFatal("Cannot set the permissions");
    }

    /// Another app, without findings except for one cell.
    void addApp(Column column, const char *text)
    {
        QStringList others = Draft::cellsOf(u"Lamp"_s);
        others[column] = QString::fromUtf8(text);
        lines.append(others.join(u';'));
        if (!folder.exists(u"project/Lamp"_s))
            add("Lamp/lamp.lua");
    }

    static QStringList cellsOf(const QString &name)
    {
        return {uR"({"en":"%1"})"_s.arg(name), u"Ann"_s, u"1.0"_s,      u"674"_s, u"05-03-2024"_s,
                uR"({"en":"en.html"})"_s,      name,     u"icon.png"_s, u"5.03"_s};
    }

    [[nodiscard]] QString save() const
    {
        QStringList all = lines;
        if (!cells.isEmpty())
            all.prepend(cells.join(u';'));
        if (!header.isNull())
            all.prepend(header);
        if (!all.isEmpty())
            all.append(QString());
        folder.write(u"project/Apps.csv"_s, all.join(u'\n').toUtf8());
        return folder.path(u"project/Apps.csv"_s);
    }
};

/// A file whose name is given in bytes.
void makeRaw(const QString &folder, const QByteArray &name)
{
    std::ofstream file((QFile::encodeName(folder) + '/' + name).toStdString());
    file << "abc";
    if (!file.flush())
        qFatal("Cannot make %s", name.constData());
}

/// A link whose target is given in bytes.
void makeRawLink(const QByteArray &target, const QString &path)
{
#ifdef Q_OS_UNIX
    if (::symlink(target.constData(), QFile::encodeName(path).constData()) != 0)
        qFatal("Cannot make %s", qPrintable(path));
#else
    Q_UNUSED(target)
    Q_UNUSED(path)
#endif
}

// clang-format off
const QList<Case<Draft>> &lineCases()
{
    static const QList<Case<Draft>> cases{
        {"header-missing", FAULT, "none", [](Draft &d) { d.header = QString(); }},
        {"header-missing", FAULT, "in lower case", [](Draft &d) { d.header = HEADER_LINE.toLower(); }, "row-not-json"},
        {"header-missing", NEARLY, "after a mark", [](Draft &d) { d.header.prepend(QChar(0xfeff)); }},
        {"header-differs", FAULT, "other order", [](Draft &d) { d.header = u"NAME;VERSION;AUTHOR"_s; }},
        {"header-differs", FAULT, "space at the end", [](Draft &d) { d.header += u' '; }},
        {"header-differs", NEARLY, "carriage return", [](Draft &d) { d.header += u'\r'; }},
        {"header-again", FAULT, "twice", [](Draft &d) { d.lines.append(HEADER_LINE); }},
        {"header-again", FAULT, "in the second line", [](Draft &d) { d.header += u"\n"_s + HEADER_LINE; }},
        {"header-again", FAULT, "an app of that name", [](Draft &d) { d.lines.append(u"NAME;Ann;1.0;674;;{};;;"_s); }},
        {"header-again", NEARLY, "an app called NAME", [](Draft &d) { d.set(Name, R"({"en":"NAME"})"); }},
        {"row-too-short", FAULT, "empty line", [](Draft &d) { d.lines.append(QString()); }},
        {"row-too-short", FAULT, "six cells", [](Draft &d) { d.lines.append(u"{};A;1;674;;{}"_s); }},
        {"row-too-short", NEARLY, "seven cells", [](Draft &d) { d.cells = d.cells.mid(0, 7); }, "icon-missing min-version-missing file-unlisted"},
        {"row-not-json", FAULT, "names", [](Draft &d) { d.set(Name, "Clock"); }},
        {"row-not-json", FAULT, "descriptions", [](Draft &d) { d.set(Description, "{\"en\":"); }},
        {"row-not-json", NEARLY, "spaces in it", [](Draft &d) { d.set(Name, R"( { "en" : "Clock" } )"); }},
        {"row-too-long", FAULT, "ten cells", [](Draft &d) { d.cells.append(QString()); }},
        {"row-too-long", FAULT, "semicolon in a path", [](Draft &d) { d.set(Files, "Clock;b"); d.add("b"); }, "icon-kind min-version-unclear file-unlisted"},
        {"row-too-long", NEARLY, "nine cells, the last of them empty", [](Draft &d) { d.set(MinVersion, ""); }, "min-version-missing"},
        {"text-semicolon", FAULT, "in a name", [](Draft &d) { d.set(Name, R"({"en":"A;B;C"})"); }, "row-not-json row-too-long"},
        {"text-semicolon", FAULT, "in an author", [](Draft &d) { d.set(Author, "Ann; Bob"); }, "row-not-json row-too-long"},
        {"text-semicolon", FAULT, "in the path of a description", [](Draft &d) { d.set(Description, R"({"en":"a;b.html"})"); }, "row-not-json row-too-long"},
        {"text-semicolon", FAULT, "escaped in a name", [](Draft &d) { d.set(Name, R"({"en":"A\u003bB"})"); }},
        {"text-semicolon", FAULT, "escaped in the path of a description", [](Draft &d) { d.set(Description, R"({"en":"a\u003b.html"})"); d.add("a;.html"); }, "file-unlisted"},
        {"text-semicolon", NEARLY, "a Greek question mark", [](Draft &d) { d.set(Name, R"({"en":"A\u037eB"})"); }},
        {"text-line-break", FAULT, "in an author", [](Draft &d) { d.set(Author, "Ann\nBob"); }, "row-too-short row-not-json"},
        {"text-line-break", FAULT, "in an icon", [](Draft &d) { d.set(Icon, "ic\non.png"); }, "row-too-short icon-not-found icon-kind min-version-missing"},
        {"text-line-break", FAULT, "carriage return in an author", [](Draft &d) { d.set(Author, "Ann\rBob"); }},
        {"text-line-break", NEARLY, "escaped in a name", [](Draft &d) { d.set(Name, R"({"en":"A\nB\rC"})"); }},
        {"text-line-break", NEARLY, "Windows' line ends", [](Draft &d) { d.header += u'\r'; d.cells.last() += u'\r'; }},
        {"text-not-utf8", FAULT, "in an author", [](Draft &d) { d.set(Author, "\xef\xbf\xbd"); }},
        {"text-not-utf8", FAULT, "in a name", [](Draft &d) { d.set(Name, "{\"en\":\"Caf\xef\xbf\xbd\"}"); }},
        {"no-apps", FAULT, "only the header", [](Draft &d) { d.cells.clear(); }, "file-unlisted"},
        {"no-apps", FAULT, "nothing at all", [](Draft &d) { d.cells.clear(); d.header = QString(); }, "header-missing file-unlisted"},
        {"no-apps", NEARLY, "only a line that cannot be understood", [](Draft &d) { d.cells = QStringList{u"Clock"_s}; }, "row-too-short"},
        {"text-not-utf8", NEARLY, "letters of every length", [](Draft &d) { d.set(Author, "é日𝄞"); }},
    };
    return cases;
}

const QList<Case<Draft>> &factCases()
{
    static const QList<Case<Draft>> cases{
        {"name-missing", FAULT, "only another language", [](Draft &d) { d.set(Name, R"({"de":"Uhr"})"); }, "language-incomplete"},
        {"name-missing", FAULT, "space", [](Draft &d) { d.set(Name, R"({"en":" "})"); }, "language-incomplete"},
        {"name-missing", FAULT, "a list of names", [](Draft &d) { d.set(Name, R"(["Clock"])"); }, "language-incomplete"},
        {"name-missing", NEARLY, "a number", [](Draft &d) { d.set(Name, R"({"en":5})"); }},
        {"name-placeholder", FAULT, "as New app makes it", [](Draft &d) { d.lines.append(QString::fromUtf8(NEW_APP.chopped(1))); }, "version-missing date-missing min-version-missing hardware-missing icon-missing description-missing path-none"},
        {"name-placeholder", FAULT, "with another language", [](Draft &d) { d.set(Name, R"({"de":"Uhr","en":"[New App]"})"); }, "language-incomplete"},
        {"name-placeholder", NEARLY, "with a number", [](Draft &d) { d.set(Name, R"({"en":"[New App] 2"})"); }},
        {"name-placeholder", NEARLY, "in another case", [](Draft &d) { d.set(Name, R"({"en":"[New app]"})"); }},
        {"name-code", FAULT, "upper case", [](Draft &d) { d.set(Name, R"({"en":"Clock","DE":"Uhr"})"); }},
        {"name-code", FAULT, "three letters", [](Draft &d) { d.set(Name, R"({"en":"Clock","deu":"Uhr"})"); }},
        {"name-code", FAULT, "line end", [](Draft &d) { d.set(Name, R"({"en":"Clock","de\n":"Uhr"})"); }},
        {"name-code", NEARLY, "two lower-case letters", [](Draft &d) { d.set(Name, R"({"en":"Clock","it":"Orologio"})"); }, "language-incomplete"},
        {"name-not-offered", FAULT, "Spanish", [](Draft &d) { d.set(Name, R"({"en":"Clock","es":"Reloj"})"); }, "language-incomplete"},
        {"name-not-offered", FAULT, "Czech by its right code", [](Draft &d) { d.set(Name, R"({"en":"Clock","cs":"Hodiny"})"); }, "language-incomplete"},
        {"name-not-offered", NEARLY, "Czech by the offered code", [](Draft &d) { d.set(Name, R"({"en":"Clock","cz":"Hodiny"})"); }, "language-incomplete"},
        {"name-too-many", FAULT, "five", [](Draft &d) { d.set(Name, R"({"en":"A","cz":"B","de":"C","fr":"D","it":"E"})"); }, "language-incomplete"},
        {"name-too-many", FAULT, "four without the default", [](Draft &d) { d.set(Name, R"({"cz":"B","de":"C","fr":"D","it":"E"})"); }, "name-missing language-incomplete"},
        {"name-too-many", FAULT, "all before the default", [](Draft &d) { d.set(Name, R"({"bg":"A","cz":"B","da":"C","de":"D","en":"E"})"); }, "name-not-offered language-incomplete"},
        {"name-too-many", NEARLY, "four", [](Draft &d) { d.set(Name, R"({"en":"A","cz":"B","de":"C","fr":"D"})"); }, "language-incomplete"},
        {"name-twice", FAULT, "the same", [](Draft &d) { d.addApp(Name, R"({"en":"Clock"})"); }},
        {"name-twice", FAULT, "with a space", [](Draft &d) { d.addApp(Name, R"({"en":" Clock"})"); }},
        {"name-twice", NEARLY, "in another language", [](Draft &d) { d.addApp(Name, R"({"de":"Clock","en":"Lamp"})"); }, "language-incomplete"},
        {"version-missing", FAULT, "empty", [](Draft &d) { d.set(Version, ""); }},
        {"version-missing", FAULT, "quotes", [](Draft &d) { d.set(Version, "\"\""); }},
        {"version-missing", NEARLY, "zero", [](Draft &d) { d.set(Version, "0"); }},
        {"version-unclear", FAULT, "a word after it", [](Draft &d) { d.set(Version, "1.2beta"); }},
        {"version-unclear", FAULT, "a letter before it", [](Draft &d) { d.set(Version, "v1.2"); }},
        {"version-unclear", FAULT, "dot at the end", [](Draft &d) { d.set(Version, "1.2."); }},
        {"version-unclear", FAULT, "a number too large", [](Draft &d) { d.set(Version, "1.99999999999"); }},
        {"version-unclear", NEARLY, "in quotes, with zeros", [](Draft &d) { d.set(Version, "\"1.02.003.4\""); }},
        {"date-missing", FAULT, "empty", [](Draft &d) { d.set(Date, ""); }},
        {"date-missing", FAULT, "spaces", [](Draft &d) { d.set(Date, "  "); }},
        {"date-missing", NEARLY, "early", [](Draft &d) { d.set(Date, "01-01-1970"); }},
        {"date-unclear", FAULT, "month 13", [](Draft &d) { d.set(Date, "05-13-2024"); }},
        {"date-unclear", FAULT, "29 February", [](Draft &d) { d.set(Date, "29-02-2023"); }},
        {"date-unclear", FAULT, "dots", [](Draft &d) { d.set(Date, "05.03.2024"); }},
        {"date-unclear", NEARLY, "29 February of a leap year", [](Draft &d) { d.set(Date, " 29-02-2024 "); }},
        {"date-form", FAULT, "year first", [](Draft &d) { d.set(Date, "2024-03-05"); }},
        {"date-form", FAULT, "a word", [](Draft &d) { d.set(Date, "5 Mar 2024"); }},
        {"date-form", NEARLY, "spaces around", [](Draft &d) { d.set(Date, " 05-03-2024 "); }},
        {"date-placeholder", FAULT, "as Apply stores it", [](Draft &d) { d.set(Date, "01-01-2000"); }},
        {"date-placeholder", FAULT, "in another form", [](Draft &d) { d.set(Date, "2000-01-01"); }, "date-form"},
        {"date-placeholder", NEARLY, "a day later", [](Draft &d) { d.set(Date, "02-01-2000"); }},
        {"date-placeholder", NEARLY, "a day earlier", [](Draft &d) { d.set(Date, "31-12-1999"); }},
        {"date-future", FAULT, "tomorrow", [](Draft &d) { d.set(Date, "01-08-2026"); }},
        {"date-future", FAULT, "in a thousand years", [](Draft &d) { d.set(Date, "31-12-3026"); }},
        {"date-future", NEARLY, "today", [](Draft &d) { d.set(Date, "31-07-2026"); }},
        {"min-version-missing", FAULT, "empty", [](Draft &d) { d.set(MinVersion, ""); }},
        {"min-version-missing", FAULT, "zero", [](Draft &d) { d.set(MinVersion, "0.00"); }},
        {"min-version-missing", NEARLY, "nearly zero", [](Draft &d) { d.set(MinVersion, "0.01"); }},
        {"min-version-unclear", FAULT, "word", [](Draft &d) { d.set(MinVersion, "any"); }},
        {"min-version-unclear", FAULT, "three numbers", [](Draft &d) { d.set(MinVersion, "5.3.1"); }},
        {"min-version-unclear", FAULT, "comma", [](Draft &d) { d.set(MinVersion, "5,03"); }},
        {"min-version-unclear", FAULT, "one number", [](Draft &d) { d.set(MinVersion, "5"); }},
        {"min-version-unclear", NEARLY, "zeros", [](Draft &d) { d.set(MinVersion, "05.00"); }},
        {"hardware-missing", FAULT, "empty", [](Draft &d) { d.set(Hardware, ""); }},
        {"hardware-missing", FAULT, "space", [](Draft &d) { d.set(Hardware, " "); }},
        {"hardware-missing", NEARLY, "one", [](Draft &d) { d.set(Hardware, "3867"); }},
        {"hardware-unclear", FAULT, "a name", [](Draft &d) { d.set(Hardware, "674,KR-9"); }},
        {"hardware-unclear", FAULT, "comma too many", [](Draft &d) { d.set(Hardware, "674,,678"); }},
        {"hardware-unclear", FAULT, "too large", [](Draft &d) { d.set(Hardware, "674,99999999999"); }},
        {"hardware-unclear", NEARLY, "spaces", [](Draft &d) { d.set(Hardware, "674, 678"); }},
        {"hardware-unknown", FAULT, "zero", [](Draft &d) { d.set(Hardware, "0"); }},
        {"hardware-unknown", FAULT, "between two", [](Draft &d) { d.set(Hardware, "674,681"); }},
        {"hardware-unknown", NEARLY, "read only", [](Draft &d) { d.set(Hardware, "673"); }},
        {"hardware-twice", FAULT, "one after the other", [](Draft &d) { d.set(Hardware, "674,674"); }},
        {"hardware-twice", FAULT, "far apart", [](Draft &d) { d.set(Hardware, "674,678,3859,674"); }},
        {"hardware-twice", NEARLY, "both of one transmitter", [](Draft &d) { d.set(Hardware, "673,674"); }},
    };
    return cases;
}

const QList<Case<Draft>> &pageCases()
{
    static const QList<Case<Draft>> cases{
        {"icon-missing", FAULT, "empty", [](Draft &d) { d.set(Icon, ""); }, "file-unlisted"},
        {"icon-missing", FAULT, "eight cells fewer one", [](Draft &d) { d.cells = d.cells.mid(0, 7); }, "min-version-missing file-unlisted"},
        {"icon-missing", NEARLY, "in a folder", [](Draft &d) { d.add("i/a.png", PNG); d.set(Icon, "i/a.png"); }, "file-unlisted"},
        {"icon-not-found", FAULT, "no such file", [](Draft &d) { d.set(Icon, "other.png"); }, "file-unlisted"},
        {"icon-not-found", FAULT, "a folder", [](Draft &d) { d.add("f.png/a"); d.set(Icon, "f.png"); }, "file-unlisted"},
        {"icon-not-found", FAULT, "another case in a folder outside", [](Draft &d) { d.folder.write(u"out/a.png"_s, PNG); d.link("out", "in"); d.set(Icon, "in/A.png"); }, "file-unlisted"},
        {"icon-not-found", NEARLY, "another case", [](Draft &d) { d.set(Icon, "Icon.png"); }, "path-other-case"},
        {"icon-outside", FAULT, "above", [](Draft &d) { d.folder.write(u"a.png"_s, PNG); d.set(Icon, "../a.png"); }, "file-unlisted"},
        {"icon-outside", FAULT, "absolute", [](Draft &d) { d.set(Icon, "/icon.png"); }},
        {"icon-outside", FAULT, "through a link", [](Draft &d) { d.folder.write(u"out/a.png"_s, PNG); d.link("out", "in"); d.set(Icon, "in/a.png"); }, "file-unlisted"},
        {"icon-outside", FAULT, "above, another content", [](Draft &d) { d.folder.write(u"a.png"_s, "<svg/>"); d.set(Icon, "../a.png"); }, "file-unlisted"},
        {"icon-outside", FAULT, "absolute, another content", [](Draft &d) { d.add("icon.png", "<svg/>"); d.set(Icon, "/icon.png"); }},
        {"icon-outside", FAULT, "through a link, another content", [](Draft &d) { d.folder.write(u"a.png"_s, "<svg/>"); d.link("a.png", "a.png"); d.set(Icon, "a.png"); }, "file-unlisted"},
        {"icon-outside", FAULT, "through a link, closed", [](Draft &d) { d.folder.write(u"a.png"_s, PNG); d.link("a.png", "a.png"); d.set(Icon, "a.png"); d.close("../a.png"); }, "file-unlisted"},
        {"icon-outside", NEARLY, "out and in again", [](Draft &d) { d.set(Icon, "Clock/../icon.png"); }, "path-form"},
        {"icon-kind", FAULT, "bmp", [](Draft &d) { d.add("a.bmp", "BM"); d.set(Icon, "a.bmp"); }, "file-unlisted"},
        {"icon-kind", FAULT, "no ending", [](Draft &d) { d.add("png", PNG); d.set(Icon, "png"); }, "file-unlisted"},
        {"icon-kind", NEARLY, "upper case", [](Draft &d) { d.add("a.JPEG", "\xff\xd8\xff\xe0"); d.set(Icon, "a.JPEG"); }, "file-unlisted"},
        {"icon-content", FAULT, "text", [](Draft &d) { d.add("icon.png", "<svg/>"); }},
        {"icon-content", FAULT, "nothing", [](Draft &d) { d.add("icon.png", ""); }},
        {"icon-content", FAULT, "a picture of another kind", [](Draft &d) { d.add("icon.png", "GIF89a"); }},
        {"icon-content", NEARLY, "each kind", [](Draft &d) { d.add("icon.gif", "GIF89a"); d.set(Icon, "icon.gif"); d.addApp(Icon, "icon.JPG"); d.add("icon.JPG", "\xff\xd8\xff"); }, "file-unlisted"},
        {"icon-large", FAULT, "1,000,001 bytes", [](Draft &d) { d.add("icon.png", PNG.leftJustified(1'000'001)); }},
        {"icon-large", FAULT, "width of a PNG", [](Draft &d) { d.add("icon.png", png("\0\0\4\1"_ba, "\0\0\0\1"_ba)); }},
        {"icon-large", FAULT, "height of a PNG", [](Draft &d) { d.add("icon.png", png("\0\0\0\1"_ba, "\0\0\4\1"_ba)); }},
        {"icon-large", FAULT, "a PNG of impossible size", [](Draft &d) { d.add("icon.png", png("\xff\xff\xff\xff", "\xff\xff\xff\xff")); }},
        {"icon-large", FAULT, "width of a GIF", [](Draft &d) { d.add("i/a.gif", gif("\1\4", "\1\0"_ba)); d.set(Icon, "i/a.gif"); }, "file-unlisted"},
        {"icon-large", FAULT, "height of a GIF", [](Draft &d) { d.add("i/a.gif", gif("\1\0"_ba, "\1\4")); d.set(Icon, "i/a.gif"); }, "file-unlisted"},
        {"icon-large", FAULT, "width of a JPEG", [](Draft &d) { d.add("i/a.jpg", jpeg("\4\1", "\0\1"_ba)); d.set(Icon, "i/a.jpg"); }, "file-unlisted"},
        {"icon-large", FAULT, "height of a JPEG", [](Draft &d) { d.add("i/a.jpg", jpeg("\0\1"_ba, "\4\1")); d.set(Icon, "i/a.jpg"); }, "file-unlisted"},
        {"icon-large", FAULT, "a GIF that is called a PNG", [](Draft &d) { d.add("icon.png", gif("\1\4", "\1\4")); }, "icon-content"},
        {"icon-large", NEARLY, "1,000,000 bytes", [](Draft &d) { d.add("icon.png", png("\0\0\4\0"_ba, "\0\0\4\0"_ba).leftJustified(1'000'000)); }},
        {"icon-large", NEARLY, "1024 pixels of a GIF and a JPEG", [](Draft &d) { d.add("i/a.gif", gif("\0\4"_ba, "\0\4"_ba)); d.set(Icon, "i/a.gif"); d.add("i/a.jpg", jpeg("\4\0"_ba, "\4\0"_ba)); d.addApp(Icon, "i/a.jpg"); }, "file-unlisted"},
        {"icon-large", NEARLY, "a large file outside", [](Draft &d) { d.folder.write(u"a.png"_s, PNG.leftJustified(1'000'001)); d.link("a.png", "a.png"); d.set(Icon, "a.png"); }, "icon-outside file-unlisted"},
        {"icon-large", NEARLY, "closed", [](Draft &d) { d.add("icon.png", PNG.leftJustified(1'000'001)); d.close("icon.png"); }, "path-unreadable"},
        {"description-missing", FAULT, "empty", [](Draft &d) { d.set(Description, "{}"); }, "file-unlisted"},
        {"description-missing", FAULT, "a list", [](Draft &d) { d.set(Description, "[]"); }, "file-unlisted"},
        {"description-missing", NEARLY, "only another language", [](Draft &d) { d.set(Description, R"({"de":"en.html"})"); }, "language-incomplete"},
        {"description-not-found", FAULT, "no such file", [](Draft &d) { d.set(Description, R"({"de":"de.html","en":"en.html"})"); }, "language-incomplete"},
        {"description-not-found", FAULT, "no path", [](Draft &d) { d.set(Description, R"({"de":"","en":"en.html"})"); }, "language-incomplete"},
        {"description-not-found", NEARLY, "another case", [](Draft &d) { d.set(Description, R"({"en":"EN.html"})"); }, "path-other-case"},
        {"description-outside", FAULT, "above", [](Draft &d) { d.folder.write(u"a.html"_s, ""); d.set(Description, R"({"en":"../a.html"})"); }, "file-unlisted"},
        {"description-outside", FAULT, "a link", [](Draft &d) { d.folder.write(u"a.html"_s, ""); d.link("a.html", "de.html"); d.set(Description, R"({"de":"de.html","en":"en.html"})"); }, "language-incomplete"},
        {"description-outside", FAULT, "above, not UTF-8, with pictures", [](Draft &d) { d.folder.write(u"a.html"_s, "\xff<img src=a.png>"); d.set(Description, R"({"en":"../a.html"})"); }, "file-unlisted"},
        {"description-outside", FAULT, "absolute, not UTF-8, with pictures", [](Draft &d) { d.add("en.html", "\xff<img src=a.png>"); d.set(Description, R"({"en":"/en.html"})"); }},
        {"description-outside", FAULT, "a link, not UTF-8, with pictures", [](Draft &d) { d.folder.write(u"a.html"_s, "\xff<img src=a.png>"); d.link("a.html", "de.html"); d.set(Description, R"({"de":"de.html","en":"en.html"})"); }, "language-incomplete"},
        {"description-outside", FAULT, "a link, closed", [](Draft &d) { d.folder.write(u"a.html"_s, ""); d.link("a.html", "de.html"); d.set(Description, R"({"de":"de.html","en":"en.html"})"); d.close("../a.html"); }, "language-incomplete"},
        {"description-outside", NEARLY, "a link inside", [](Draft &d) { d.link("project/en.html", "de.html"); d.set(Description, R"({"de":"de.html"})"); }, "language-incomplete"},
        {"description-code", FAULT, "upper case", [](Draft &d) { d.set(Description, R"({"EN":"en.html"})"); }, "language-incomplete"},
        {"description-code", FAULT, "empty", [](Draft &d) { d.set(Description, R"({"":"en.html"})"); }, "language-incomplete"},
        {"description-code", NEARLY, "French", [](Draft &d) { d.set(Description, R"({"fr":"en.html"})"); }, "language-incomplete"},
        {"description-not-offered", FAULT, "Spanish", [](Draft &d) { d.set(Description, R"({"en":"en.html","es":"en.html"})"); }, "language-incomplete"},
        {"description-not-offered", FAULT, "Polish", [](Draft &d) { d.set(Description, R"({"pl":"en.html"})"); }, "language-incomplete"},
        {"description-not-offered", NEARLY, "all that are offered", [](Draft &d) { d.set(Description, R"({"cz":"en.html","de":"en.html","en":"en.html","fr":"en.html","it":"en.html"})"); }, "language-incomplete"},
        {"description-not-utf8", FAULT, "one byte", [](Draft &d) { d.add("en.html", "<p>Caf\xe9</p>"); }},
        {"description-not-utf8", FAULT, "cut at the end", [](Draft &d) { d.add("en.html", "<p>Caf\xc3"); }},
        {"description-not-utf8", NEARLY, "with a mark", [](Draft &d) { d.add("en.html", "\xef\xbb\xbf<p>Caf\xc3\xa9</p>"); }},
        {"description-kind", FAULT, "text", [](Draft &d) { d.add("en.txt"); d.set(Description, R"({"en":"en.txt"})"); }, "file-unlisted"},
        {"description-kind", FAULT, "no ending", [](Draft &d) { d.add("html"); d.set(Description, R"({"en":"html"})"); }, "file-unlisted"},
        {"description-kind", FAULT, "xhtml", [](Draft &d) { d.add("en.xhtml"); d.set(Description, R"({"en":"en.xhtml"})"); }, "file-unlisted"},
        {"description-kind", FAULT, "a letter after it", [](Draft &d) { d.add("en.html5"); d.set(Description, R"({"en":"en.html5"})"); }, "file-unlisted"},
        {"description-kind", NEARLY, "htm in upper case", [](Draft &d) { d.add("EN.HTM"); d.set(Description, R"({"en":"EN.HTM"})"); }, "file-unlisted"},
        {"description-kind", NEARLY, "html in upper case", [](Draft &d) { d.add("A.Html"); d.set(Description, R"({"en":"A.Html"})"); }, "file-unlisted"},
        {"description-kind", NEARLY, "no path", [](Draft &d) { d.set(Description, R"({"en":""})"); }, "description-not-found file-unlisted"},
        {"description-template", FAULT, "as the editor writes it", [](Draft &d) { d.add("en.html", DESCRIPTION_TEMPLATE); }},
        {"description-template", FAULT, "of another language", [](Draft &d) { d.add("de.html", DESCRIPTION_TEMPLATE); d.set(Name, R"({"de":"Uhr","en":"Clock"})"); d.set(Description, R"({"de":"de.html","en":"en.html"})"); }},
        {"description-template", NEARLY, "a letter changed", [](Draft &d) { d.add("en.html", QByteArray(DESCRIPTION_TEMPLATE).replace("#Title", "#title")); }},
        {"description-template", NEARLY, "a byte less", [](Draft &d) { d.add("en.html", DESCRIPTION_TEMPLATE.chopped(1)); }},
        {"description-template", NEARLY, "a byte more", [](Draft &d) { d.add("en.html", DESCRIPTION_TEMPLATE + '\n'); }},
        {"description-template", NEARLY, "Windows' line ends", [](Draft &d) { d.add("en.html", QByteArray(DESCRIPTION_TEMPLATE).replace('\n', "\r\n")); }},
        {"description-template", NEARLY, "outside", [](Draft &d) { d.folder.write(u"a.html"_s, DESCRIPTION_TEMPLATE); d.link("a.html", "a.html"); d.set(Description, R"({"en":"a.html"})"); }, "description-outside file-unlisted"},
        {"language-incomplete", FAULT, "a name alone", [](Draft &d) { d.set(Name, R"({"de":"Uhr","en":"Clock"})"); }},
        {"language-incomplete", FAULT, "a description alone", [](Draft &d) { d.set(Description, R"({"de":"en.html","en":"en.html"})"); }},
        {"language-incomplete", FAULT, "an empty name", [](Draft &d) { d.set(Name, R"({"de":" ","en":"Clock"})"); d.set(Description, R"({"de":"en.html","en":"en.html"})"); }},
        {"language-incomplete", NEARLY, "both in both", [](Draft &d) { d.set(Name, R"({"de":"Uhr","en":"Clock"})"); d.set(Description, R"({"de":"en.html","en":"en.html"})"); }},
        {"language-incomplete", NEARLY, "no descriptions", [](Draft &d) { d.set(Name, R"({"de":"Uhr","en":"Clock"})"); d.set(Description, "{}"); }, "description-missing file-unlisted"},
        {"language-incomplete", NEARLY, "an empty name alone", [](Draft &d) { d.set(Name, R"({"de":"","en":"Clock"})"); }},
        {"picture-not-found", FAULT, "no such file", [](Draft &d) { d.add("en.html", "<img src=\"a.png\">"); }},
        {"picture-not-found", FAULT, "another case", [](Draft &d) { d.add("a.PNG", PNG); d.add("en.html", "<IMG ALT='>' SRC=a.png>"); }, "file-unlisted"},
        {"picture-not-found", FAULT, "seen from the description", [](Draft &d) { d.add("a.png", PNG); d.add("d/en.html", "<img src='a.png'>"); d.set(Description, R"({"en":"d/en.html"})"); }, "file-unlisted"},
        {"picture-not-found", FAULT, "background", [](Draft &d) { d.add("en.html", "<body background=a.png>"); }},
        {"picture-not-found", FAULT, "cell", [](Draft &d) { d.add("en.html", "<table><tr><TD BACKGROUND='a.png'>"); }},
        {"picture-not-found", FAULT, "button", [](Draft &d) { d.add("en.html", "<input type=image src=a.png>"); }},
        {"picture-not-found", FAULT, "poster", [](Draft &d) { d.add("en.html", "<video poster=a.png></video>"); }},
        {"picture-not-found", FAULT, "object", [](Draft &d) { d.add("en.html", "<object data=a.png></object>"); }},
        {"picture-not-found", FAULT, "style", [](Draft &d) { d.add("en.html", "<p style=\"background: URL('a.png')\">"); }},
        {"picture-not-found", FAULT, "style sheet", [](Draft &d) { d.add("en.html", "<style>p { background: url( a.png ) }</style>"); }},
        {"picture-not-found", FAULT, "style of a title", [](Draft &d) { d.add("en.html", "<h1 style=\"background-image:url(a.png)\">"); }},
        {"picture-not-found", FAULT, "row", [](Draft &d) { d.add("en.html", "<table><tr background=a.png>"); }},
        {"picture-not-found", FAULT, "after a comment of a style sheet", [](Draft &d) { d.add("en.html", "<style>/* x */ p { background: url(a.png) }</style>"); }},
        {"picture-not-found", NEARLY, "there, in quotes of a style", [](Draft &d) { d.add("a.png", PNG); d.add("en.html", "<p style=\"background-image:url(&quot;a.png&quot;)\">"); }},
        {"picture-not-found", NEARLY, "in a comment of a style sheet, or in a script", [](Draft &d) { d.add("en.html", "<style>/* url(a.png) */</style><script>x='<img src=b.png>'</script>"); }},
        {"picture-not-found", NEARLY, "there, with its letters as numbers", [](Draft &d) { d.add("aé.png", PNG); d.add("en.html", "<img src='&#97;&#xE9;.png'><p>url(b.png)</p>"); }},
        {"picture-not-found", NEARLY, "there, in many spellings", [](Draft &d) { d.add("a &b.png", PNG); d.add("en.html", "<img src=\"a%20&amp;b.png#x\"><img\nalt=x src='./a &b.png?y'><!-- <img src=c> --><img data-src=d>"); }},
        {"picture-elsewhere", FAULT, "on the web", [](Draft &d) { d.add("en.html", "<img src=\"https://example.org/a.png\">"); }},
        {"picture-elsewhere", FAULT, "on the web, without a scheme", [](Draft &d) { d.add("en.html", "<img width=1 src=//example.org/a.png>"); }},
        {"picture-elsewhere", FAULT, "on a drive, escaped", [](Draft &d) { d.add("C:/a.png"); d.add("en.html", "<img src='C%3A/a.png'>"); }, "file-unlisted"},
        {"picture-elsewhere", FAULT, "on another machine, escaped", [](Draft &d) { d.add("\\a/b.png"); d.add("en.html", "<img src='%5Ca/b.png'>"); }, "file-unlisted"},
        {"picture-elsewhere", FAULT, "above", [](Draft &d) { d.add("en.html", "<img src='../a.png'>"); }},
        {"picture-elsewhere", FAULT, "a link out of the project", [](Draft &d) { d.folder.write(u"a.png"_s, PNG); d.link("a.png", "a.png"); d.add("en.html", "<img src=a.png>"); }},
        {"picture-elsewhere", NEARLY, "in the page", [](Draft &d) { d.add("en.html", "<img src='data:image/png;base64,AAAA'>"); }},
    };
    return cases;
}

const QList<Case<Draft>> &pathCases()
{
    static const QList<Case<Draft>> cases{
        {"path-form", FAULT, "description", [](Draft &d) { d.set(Description, R"({"en":"./en.html"})"); }},
        {"path-form", FAULT, "icon", [](Draft &d) { d.add("i/a.png", PNG); d.set(Icon, "i//a.png"); }, "file-unlisted"},
        {"path-form", NEARLY, "listed path", [](Draft &d) { d.set(Files, "./Clock//main.lua"); }},
        {"path-none", FAULT, "nothing listed", [](Draft &d) { d.set(Files, ""); }, "file-unlisted"},
        {"path-none", FAULT, "empty folder", [](Draft &d) { d.folder.makeFolder(u"project/e"_s); d.set(Files, "e"); }, "file-unlisted"},
        {"path-none", NEARLY, "an empty file", [](Draft &d) { d.add("Clock/main.lua", ""); }, "file-empty"},
        {"path-whole-project", FAULT, "comma too many", [](Draft &d) { d.set(Files, "Clock,"); }, "path-twice"},
        {"path-whole-project", FAULT, "dot", [](Draft &d) { d.set(Files, "."); }},
        {"path-whole-project", FAULT, "there and back", [](Draft &d) { d.set(Files, "Clock/.."); }},
        {"path-whole-project", NEARLY, "slash at the end", [](Draft &d) { d.set(Files, "Clock/"); }},
        {"path-absolute", FAULT, "slash", [](Draft &d) { d.set(Files, "/Clock"); }},
        {"path-absolute", FAULT, "drive", [](Draft &d) { d.set(Files, "Clock,C:/Clock"); }},
        {"path-absolute", NEARLY, "dot before it", [](Draft &d) { d.set(Files, "./Clock"); }},
        {"path-comma", FAULT, "in a file", [](Draft &d) { d.add("a,b.lua"); d.set(Files, "a,b.lua"); }, "path-none file-unlisted"},
        {"path-comma", FAULT, "twice in a folder", [](Draft &d) { d.add("a,b,c/x"); d.set(Files, "Clock,a,b,c"); }, "file-unlisted"},
        {"path-comma", NEARLY, "in a listed folder", [](Draft &d) { d.add("Clock/a,b.lua"); }},
        {"path-other-case", FAULT, "of a folder", [](Draft &d) { d.set(Files, "clock/main.lua"); }, "path-none"},
        {"path-other-case", FAULT, "of a file", [](Draft &d) { d.set(Files, "Clock/Main.lua"); }, "path-none"},
        {"path-other-case", FAULT, "of the second folder of a name", [](Draft &d) { d.add("x/a"); d.add("X/b"); d.set(Files, "Clock,x/B"); }, "file-unlisted"},
        {"path-other-case", NEARLY, "both cases are there", [](Draft &d) { d.add("clock/main.lua"); d.set(Files, "clock/main.lua"); }, "file-unlisted"},
        {"path-not-found", FAULT, "file", [](Draft &d) { d.set(Files, "Clock,Clock/other.lua"); }},
        {"path-not-found", FAULT, "link to nothing", [](Draft &d) { d.link("nothing", "Clock/a"); d.set(Files, "Clock/a,Clock/main.lua"); }},
        {"path-not-found", FAULT, "link to nothing in a folder", [](Draft &d) { d.link("nothing", "Clock/a"); }},
        {"path-not-found", NEARLY, "hidden link to nothing in a folder", [](Draft &d) { d.link("nothing", "Clock/.a"); }},
        {"path-not-found", NEARLY, "hidden", [](Draft &d) { d.add("Clock/.a"); d.set(Files, "Clock,Clock/.a"); }},
        {"path-other-kind", FAULT, "pipe", [](Draft &d) { d.folder.makePipe(u"project/pipe"_s); d.set(Files, "Clock,pipe"); }},
        {"path-other-kind", FAULT, "link to a device", [](Draft &d) { d.folder.link(u"/dev/null"_s, u"project/a"_s); d.set(Files, "Clock,a"); }},
        {"path-other-kind", FAULT, "pipe in a folder", [](Draft &d) { d.folder.makePipe(u"project/Clock/pipe"_s); }},
        {"path-other-kind", NEARLY, "link to a file", [](Draft &d) { d.link("project/Clock/main.lua", "a"); d.set(Files, "a"); }},
        {"path-circle", FAULT, "to its folder", [](Draft &d) { d.link("project/Clock", "Clock/again"); }},
        {"path-circle", FAULT, "to itself", [](Draft &d) { d.link("project/Clock/a", "Clock/a"); d.set(Files, "Clock,Clock/a"); }, ""},
        {"path-circle", FAULT, "two that lead to each other", [](Draft &d) { d.add("a/x"); d.add("b/y"); d.link("project/b", "a/b"); d.link("project/a", "b/a"); d.set(Files, "Clock,a"); }},
        {"path-not-utf8", FAULT, "file", [](Draft &d) { makeRaw(d.folder.path(u"project/Clock"_s), "caf\xe9"); }},
        {"path-not-utf8", FAULT, "deeper", [](Draft &d) { d.add("Clock/a/b"); makeRaw(d.folder.path(u"project/Clock/a"_s), "\xff.lua"); }},
        {"path-not-utf8", NEARLY, "not ASCII", [](Draft &d) { makeRaw(d.folder.path(u"project/Clock"_s), "caf\xc3\xa9"); }, "url-escapes"},
        {"path-circle", FAULT, "to itself in a folder", [](Draft &d) { d.link("project/Clock/a", "Clock/a"); }},
        {"path-circle", FAULT, "to what would be below itself", [](Draft &d) { d.folder.link(u"a/b"_s, u"project/a"_s); d.set(Files, "Clock,a"); }},
        {"path-circle", NEARLY, "to the folder beside", [](Draft &d) { d.add("a/x"); d.link("project/a", "Clock/a"); }},
        {"path-outside", FAULT, "above", [](Draft &d) { d.folder.write(u"a"_s, ""); d.set(Files, "Clock,../a"); }},
        {"path-outside", FAULT, "above, and not there", [](Draft &d) { d.set(Files, "Clock,../a"); }, "path-not-found"},
        {"path-outside", FAULT, "link in a folder", [](Draft &d) { d.folder.write(u"out/x"_s, ""); d.link("out", "Clock/in"); }},
        {"path-outside", FAULT, "above, closed", [](Draft &d) { d.folder.write(u"a"_s, ""); d.set(Files, "Clock,../a"); d.close("../a"); }},
        {"path-outside", FAULT, "link in a folder, closed", [](Draft &d) { d.folder.write(u"a"_s, ""); d.link("a", "Clock/a"); d.close("../a"); }},
        {"path-outside", FAULT, "link to a closed folder", [](Draft &d) { d.folder.write(u"out/x"_s, ""); d.link("out", "Clock/in"); d.close("../out"); }},
        {"path-outside", FAULT, "folder beside whose name begins alike", [](Draft &d) { d.folder.write(u"project2/x"_s, ""); d.set(Files, "Clock,../project2/x"); }},
        {"path-outside", FAULT, "link to a folder beside whose name begins alike", [](Draft &d) { d.folder.write(u"project2/x"_s, ""); d.link("project2", "Clock/in"); }},
        {"path-outside", FAULT, "the folder above", [](Draft &d) { d.set(Files, "Clock,.."); }},
        {"path-outside", FAULT, "out and in again", [](Draft &d) { d.set(Files, "../project/Clock"); }},
        {"path-outside", NEARLY, "nearly out", [](Draft &d) { d.set(Files, "Clock/../Clock"); }},
        {"index-outside", FAULT, "link to a file", [](Draft &d) { d.folder.write(u"a.json"_s, ""); d.link("a.json", "Apps.json"); }},
        {"index-outside", FAULT, "link to nothing", [](Draft &d) { d.link("none.json", "Apps.json"); }},
        {"index-outside", FAULT, "link to a folder beside whose name begins alike", [](Draft &d) { d.folder.link(d.folder.path(u"project2/Apps.json"_s), u"project/Apps.json"_s); }},
        {"index-outside", FAULT, "through another link", [](Draft &d) { d.link("none.json", "Clock/.a"); d.folder.link(u"Clock/.a"_s, u"project/Apps.json"_s); }},
        {"index-outside", FAULT, "through a folder", [](Draft &d) { d.folder.makeFolder(u"out"_s); d.link("out", "Clock/.in"); d.folder.link(u"Clock/.in/Apps.json"_s, u"project/Apps.json"_s); }},
        {"index-outside", FAULT, "through a folder that is not there", [](Draft &d) { d.link("out", "Clock/.in"); d.folder.link(u"Clock/.in/Apps.json"_s, u"project/Apps.json"_s); }},
        {"index-outside", FAULT, "to a name that is not UTF-8", [](Draft &d) { makeRawLink("../caf\xe9", d.folder.path(u"project/Apps.json"_s)); }},
        {"index-outside", NEARLY, "a file", [](Draft &d) { d.add("Apps.json"); }},
        {"index-outside", NEARLY, "link to a file inside", [](Draft &d) { d.add("Clock/.index"); d.link("project/Clock/.index", "Apps.json"); }},
        {"index-outside", NEARLY, "link to nothing inside", [](Draft &d) { d.folder.link(d.folder.path(u"project/none"_s), u"project/Apps.json"_s); }},
        {"index-outside", NEARLY, "link out and in again", [](Draft &d) { d.folder.link(u"../project/none"_s, u"project/Apps.json"_s); }},
        {"index-outside", NEARLY, "link to itself", [](Draft &d) { d.folder.link(u"Apps.json"_s, u"project/Apps.json"_s); }},
        {"index-outside", NEARLY, "another name", [](Draft &d) { d.link("a.json", ".Apps.json"); }},
        {"path-link", FAULT, "folder", [](Draft &d) { d.add("a/x"); d.folder.link(d.folder.path(u"project/a"_s), u"project/Clock/a"_s); }},
        {"path-link", FAULT, "listed file", [](Draft &d) { d.folder.link(d.folder.path(u"project/Clock/main.lua"_s), u"project/a"_s); d.set(Files, "a"); }},
        {"path-link", FAULT, "icon", [](Draft &d) { d.folder.link(d.folder.path(u"project/icon.png"_s), u"project/a.png"_s); d.set(Icon, "a.png"); }},
        {"path-link", NEARLY, "relative", [](Draft &d) { d.add("a/x"); d.link("project/a", "Clock/a"); }},
        {"path-unreadable", FAULT, "file", [](Draft &d) { d.close("Clock/main.lua"); }},
        {"path-unreadable", FAULT, "folder", [](Draft &d) { d.add("Clock/a/b"); d.close("Clock/a"); }},
        {"path-unreadable", FAULT, "icon", [](Draft &d) { d.close("icon.png"); }},
        {"path-unreadable", FAULT, "description of more than 64 MB", [](Draft &d) { QFile::resize(d.folder.path(u"project/en.html"_s), 64'000'001); }},
        {"path-unreadable", NEARLY, "description of 64 MB", [](Draft &d) { QFile::resize(d.folder.path(u"project/en.html"_s), 64'000'000); }},
        {"path-unreadable", NEARLY, "not listed", [](Draft &d) { d.add("a"); d.close("a"); }, "file-unlisted"},
        {"path-twice", FAULT, "listed twice", [](Draft &d) { d.set(Files, "Clock,Clock/"); }},
        {"path-twice", FAULT, "by itself and with its folder", [](Draft &d) { d.set(Files, "Clock/main.lua,Clock"); }},
        {"path-twice", NEARLY, "the same content", [](Draft &d) { d.add("Clock/copy.lua"); }},
        {"path-shared", FAULT, "a folder", [](Draft &d) { d.addApp(Files, "Clock,Lamp"); }},
        {"path-shared", FAULT, "a file in it", [](Draft &d) { d.addApp(Files, "Clock/main.lua,Lamp"); }},
        {"path-shared", NEARLY, "the same name in another folder", [](Draft &d) { d.add("Lamp/main.lua"); d.addApp(Files, "Lamp"); }},
        {"path-case", FAULT, "in a folder", [](Draft &d) { d.add("Clock/Main.lua"); }},
        {"path-case", FAULT, "of two apps", [](Draft &d) { d.add("clock/main.LUA"); d.addApp(Files, "clock,Lamp"); }},
        {"path-case", FAULT, "not ASCII", [](Draft &d) { d.add("Clock/é"); d.add("Clock/É"); }, "url-escapes"},
        {"path-case", FAULT, "file and folder", [](Draft &d) { d.add("Clock/lib"); d.add("Clock/LIB/a"); }},
        {"path-case", FAULT, "folder of another app", [](Draft &d) { d.add("x/LIB/a"); d.add("X/lib"); d.set(Files, "x"); d.addApp(Files, "X,Lamp"); }, "file-unlisted"},
        {"path-case", NEARLY, "folders alone", [](Draft &d) { d.add("Clock/LIB/a"); d.add("Clock/lib/b"); }},
        {"path-case", NEARLY, "in folders of different names", [](Draft &d) { d.add("Lamp/Main.lua"); d.addApp(Files, "Lamp"); }},
        {"fat-characters", FAULT, "colon", [](Draft &d) { d.add("Clock/a:b"); }},
        {"fat-characters", FAULT, "in a folder's name", [](Draft &d) { d.add("Clock/a|b/c"); }, "url-escapes"},
        {"fat-characters", FAULT, "control character", [](Draft &d) { d.add("Clock/a\tb"); }, "url-escapes"},
        {"fat-characters", FAULT, "delete", [](Draft &d) { d.add("Clock/a\x7f" "b"); }, "url-escapes"},
        {"fat-characters", FAULT, "backslash", [](Draft &d) { d.add("Clock/a\\b"); }},
        {"fat-characters", NEARLY, "what it takes", [](Draft &d) { d.add("Clock/a+b,c;d=e[f]'$&@!(-)~`{}^"); }, "url-escapes"},
        {"fat-length", FAULT, "path", [](Draft &d) { d.add(qPrintable(u"Clock/"_s + QString(120, u'a') + u'/' + QString(124, u'b'))); }},
        {"fat-length", FAULT, "path of many folders", [](Draft &d) { d.add(qPrintable(u"Clock/"_s + u"abcdefg/"_s.repeated(40) + u"a"_s)); }},
        {"fat-length", NEARLY, "one less", [](Draft &d) { d.add(qPrintable(u"Clock/"_s + QString(120, u'a') + u'/' + QString(123, u'b'))); }},
        {"fat-ending", FAULT, "dot", [](Draft &d) { d.add("Clock/a."); }},
        {"fat-ending", FAULT, "space after a folder", [](Draft &d) { d.add("Clock/a /b"); }, "url-escapes"},
        {"fat-ending", NEARLY, "dot and space before", [](Draft &d) { d.add("Clock/ .a"); }, "url-escapes"},
        {"fat-reserved", FAULT, "by itself", [](Draft &d) { d.add("Clock/con"); }},
        {"fat-reserved", FAULT, "with an ending", [](Draft &d) { d.add("Clock/Lpt9.tar.gz"); }},
        {"fat-reserved", FAULT, "folder", [](Draft &d) { d.add("aux/a"); d.set(Files, "Clock,aux"); }},
        {"fat-reserved", NEARLY, "longer", [](Draft &d) { d.add("Clock/console"); d.add("Clock/com0"); d.add("Clock/a.con"); }},
        {"url-characters", FAULT, "number sign", [](Draft &d) { d.add("Clock/a#b"); }},
        {"url-characters", FAULT, "per cent in an icon", [](Draft &d) { d.add("a%20.png", PNG); d.set(Icon, "a%20.png"); }, "file-unlisted"},
        {"url-characters", FAULT, "question mark in a description", [](Draft &d) { d.add("a?.html"); d.set(Description, R"({"en":"a?.html"})"); }, "file-unlisted"},
        {"url-characters", FAULT, "backslash in an icon", [](Draft &d) { d.add("a\\b.png", PNG); d.set(Icon, "a\\b.png"); }, "file-unlisted"},
        {"url-characters", NEARLY, "what it carries", [](Draft &d) { d.add("Clock/a&b=c+d@e!f'(g)$,-_~"); }},
        {"url-escapes", FAULT, "space", [](Draft &d) { d.add("Clock/a b"); }},
        {"url-escapes", FAULT, "not ASCII", [](Draft &d) { d.add("Clock/ž.lua"); }},
        {"url-escapes", NEARLY, "in a name and an author", [](Draft &d) { d.set(Author, "Ann Léger"); d.set(Name, R"({"en":"Clock č"})"); }},
        {"file-empty", FAULT, "listed", [](Draft &d) { d.add("a", ""); d.set(Files, "Clock,a"); }},
        {"file-empty", FAULT, "in a listed folder", [](Draft &d) { d.add("Clock/lib/a", ""); }},
        {"file-empty", NEARLY, "one byte", [](Draft &d) { d.add("Clock/a", "\0"_ba); }},
        {"file-empty", NEARLY, "not listed", [](Draft &d) { d.add("a", ""); }, "file-unlisted"},
        {"file-empty", NEARLY, "hidden", [](Draft &d) { d.add("Clock/.a", ""); }},
        {"file-empty", NEARLY, "outside", [](Draft &d) { d.folder.write(u"a"_s, ""); d.link("a", "Clock/a"); }, "path-outside"},
        {"file-unlisted", FAULT, "file", [](Draft &d) { d.add("README"); }},
        {"file-unlisted", FAULT, "beside listed ones", [](Draft &d) { d.add("Clock/other.lua"); d.set(Files, "Clock/main.lua"); }},
        {"file-unlisted", FAULT, "folder", [](Draft &d) { d.add("old/a/b"); }},
        {"file-unlisted", NEARLY, "hidden, empty folder, index", [](Draft &d) { d.add(".git/x"); d.add(".a"); d.add("Apps.json"); d.folder.makeFolder(u"project/e"_s); }},
    };
    return cases;
}
// clang-format on

QList<Case<Draft>> allCases()
{
    return lineCases() + factCases() + pageCases() + pathCases();
}

QStringList linesAndCodes(const QString &catalogue)
{
    QStringList found;
    const auto result = Check::checkCatalogue(catalogue);
    for (const Check::Finding &finding : result->findings)
        found.append(u"%1 %2"_s.arg(finding.line).arg(finding.code));
    return found;
}

} // namespace

class TestCheck : public QObject
{
    Q_OBJECT

private slots:
    void everyCode_data();
    void everyCode();
    void everyCodeHasCases();
    void sentences_data();
    void sentences();
    void values_data();
    void values();
    void whatWasLookedAt();
    void orderOfFindings();
    void brokenLinesHideNothing();
    void exampleIsClean();
    void eachLanguageOnce();
    void commaNamesInOrder();
    void brokenExample();
    void cannotBeRead_data();
    void cannotBeRead();
    void throughALink();
    void changesNothing();
    void halfOfALetterInAPath();
    void hostilePages_data();
    void hostilePages();
    void linksBackThatDifferInCase_data();
    void linksBackThatDifferInCase();
};

void TestCheck::everyCode_data()
{
    addCaseRows(allCases());
}

void TestCheck::everyCode()
{
    QFETCH(int, number);
    const Case<Draft> one = allCases().at(number);
    Draft draft;
    one.make(draft);
    const QString path = draft.save();

    std::unique_ptr<OrdinaryUser> user;
    if (!draft.closed.isEmpty())
        user = std::make_unique<OrdinaryUser>();
    const auto result = Check::checkCatalogue(path, TODAY);
    user.reset();

    QVERIFY(result);
    QVERIFY2(codesOf(result) == one.expectedCodes(), qPrintable(textsOf(result).join(u'\n')));
    for (const Check::Finding &finding : result->findings)
        QVERIFY2(finding.text.endsWith(u'.') && !finding.text.contains(u"%1"), qPrintable(finding.text));
}

void TestCheck::everyCodeHasCases()
{
    compareRules(Check::checkRules(), allCases());
}

void TestCheck::sentences_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("line")
        << u"row-too-short"_s
        << u"error row-too-short [, line 6] The line has 1 of at least 7 cells, and the catalogue does not "
           u"open with it: complete it or remove it."_s;
    QTest::newRow("column and place") << u"row-not-json"_s
                                      << u"error row-not-json [, line 5] DESCRIPTION is not JSON: unterminated object "
                                         u"at byte 2, and the catalogue does "
                                         u"not open with it: correct the cell."_s;
    QTest::newRow("two particulars") << u"path-other-case"_s
                                     << u"error path-other-case [Clock, line 2] \"clock/MAIN.lua\" is called "
                                        u"\"Clock/main.lua\" on the disk: write it so."_s;
    QTest::newRow("places in what fills a place") << u"url-characters"_s
                                                  << u"error url-characters [Clock, line 2] \"%2 %1.png\" has a \"#\", "
                                                     u"\"?\", \"%\" or \"\\\", which a URL cannot "
                                                     u"contain as it is: rename it."_s;
    QTest::newRow("name that Apply drops") << u"name-too-many"_s
                                           << u"warning name-too-many [Wecker, line 7] The editor shows \"en\" and "
                                              u"three other names, and Apply would drop "
                                              u"the one in \"de\": remove a name."_s;
    QTest::newRow("what a language lacks")
        << u"language-incomplete"_s
        << u"note language-incomplete [Wecker, line 7] The app has a name in \"de\", "
           u"but no description: add it."_s;
    QTest::newRow("size of an icon")
        << u"icon-large"_s
        << u"warning icon-large [Wecker, line 7] The icon \"wide.png\" has 1025 x 2 pixels: "
           u"choose one of at most 1024 x 1024 pixels."_s;
    QTest::newRow("name in another language")
        << u"name-missing"_s
        << u"error name-missing [Lampe, line 3] The app has no name in \"en\", the default language: add it."_s;
    QTest::newRow("where the index leads to") << u"index-outside"_s
                                              << u"error index-outside [, line 0] The link \"Apps.json\" leads out of "
                                                 u"the project folder, and publishing writes "
                                                 u"to \"../none.json\": remove it."_s;
    QTest::newRow("of no app")
        << u"header-missing"_s
        << u"warning header-missing [, line 1] The header is missing: begin the file with \"%1\"."_s.arg(HEADER_LINE);
}

void TestCheck::sentences()
{
    QFETCH(QString, code);
    Draft draft;
    draft.header = u"Catalogue;;;;;;"_s;
    draft.set(Files, "clock/MAIN.lua");
    draft.set(Icon, "%2 %1.png");
    draft.link("none.json", "Apps.json");
    draft.addApp(Name, R"({"de":"Lampe"})");
    draft.lines.append(HEADER_LINE);
    draft.lines.append(u"{};;;;;{;"_s);
    draft.lines.append(QString());
    draft.addApp(Name, R"({"bg":"A","cz":"B","da":"C","de":"D","en":"Wecker"})");
    draft.lines.last().replace(u"icon.png"_s, u"wide.png"_s);
    draft.add("wide.png", png("\0\0\4\1"_ba, "\0\0\0\2"_ba));
    const auto result = Check::checkCatalogue(draft.save());
    QString last;
    for (const Check::Finding &finding : result->findings) {
        if (finding.code == code)
            last = u"%1 %2 [%3, line %4] %5"_s.arg(Check::severityName(finding.severity), code, finding.app)
                       .arg(finding.line)
                       .arg(finding.text);
    }
    QTEST(last, "text");
}

void TestCheck::values_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("values");
    QTest::newRow("none") << u"min-version-missing"_s << u" |  | "_s;
    QTest::newRow("file") << u"path-not-found"_s << u"%2 %1 |  | "_s;
    QTest::newRow("file that comes second") << u"description-not-found"_s << u"de.html |  | "_s;
    QTest::newRow("expected") << u"header-missing"_s << u" | %1 | "_s.arg(HEADER_LINE);
    QTest::newRow("actual") << u"version-unclear"_s << u" |  | 1.2b"_s;
    QTest::newRow("both") << u"date-form"_s << u" | 05-03-2024 | 2024-03-05"_s;
    QTest::newRow("file and actual") << u"picture-elsewhere"_s << u"en.html |  | https://x/y.png"_s;
    QTest::newRow("all, in another order") << u"icon-large"_s << u"icon.png | 1024 x 1024 pixels | 1 x 1025 pixels"_s;
    QTest::newRow("all") << u"path-other-case"_s << u"clock | Clock | clock"_s;
}

void TestCheck::values()
{
    QFETCH(QString, code);
    Draft draft;
    draft.header = QString();
    draft.add("en.html", "<img src=\"https://x/y.png\">");
    draft.add("icon.png", png("\0\0\0\1"_ba, "\0\0\4\1"_ba));
    draft.set(Version, "1.2b");
    draft.set(Date, "2024-03-05");
    draft.set(Description, R"({"de":"de.html","en":"en.html"})");
    draft.set(Files, "clock,%2 %1");
    draft.set(MinVersion, "");
    QCOMPARE(valuesOf(Check::checkCatalogue(draft.save()), code).size(), 1);
    QTEST(valuesOf(Check::checkCatalogue(draft.save()), code).constFirst(), "values");
}

void TestCheck::whatWasLookedAt()
{
    Draft draft;
    draft.add("Clock/lib/a.lua");
    draft.add("Clock/.hidden");
    draft.addApp(Files, "Clock/main.lua,Clock,none");
    draft.lines.append(QString());
    draft.lines.append(HEADER_LINE);
    const auto result = Check::checkCatalogue(draft.save());
    QCOMPARE(result->apps, 2);
    QCOMPARE(result->files, 5);

    draft.cells.clear();
    draft.lines.clear();
    const auto empty = Check::checkCatalogue(draft.save());
    QCOMPARE(empty->apps, 0);
    QCOMPARE(empty->files, 0);
}

void TestCheck::orderOfFindings()
{
    Draft draft;
    draft.add("unlisted");
    draft.addApp(Version, "");
    draft.addApp(Hardware, "1");
    draft.set(Hardware, "1,1,x");
    QCOMPARE(linesAndCodes(draft.save()),
             (QStringList{u"2 hardware-unclear"_s, u"2 hardware-unknown"_s, u"2 hardware-unknown"_s,
                          u"2 hardware-twice"_s, u"3 version-missing"_s, u"4 name-twice"_s, u"4 hardware-unknown"_s,
                          u"4 path-shared"_s, u"0 file-unlisted"_s}));
}

void TestCheck::brokenLinesHideNothing()
{
    Draft draft;
    draft.lines.append(QString());
    draft.addApp(Version, "");
    draft.lines.append(u"x;;;;;;"_s);
    draft.addApp(Name, R"({"en":"Other"})");
    draft.lines.last().replace(u"Lamp"_s, u"Lamp/missing"_s);
    QCOMPARE(linesAndCodes(draft.save()), (QStringList{u"3 row-too-short"_s, u"4 version-missing"_s,
                                                       u"5 row-not-json"_s, u"6 path-none"_s, u"6 path-not-found"_s}));
}

void TestCheck::exampleIsClean()
{
    const auto result = Check::checkCatalogue(u"" CATALIST_SOURCE_DIR "/examples/catalogue/Apps.csv"_s);
    QVERIFY(result);
    QCOMPARE(textsOf(result), QStringList());
}

void TestCheck::eachLanguageOnce()
{
    Draft draft;
    draft.set(Name, R"({"de":"Uhr","en":"Clock","fr":"Horloge"})");
    draft.set(Description, R"({"DE":"en.html","en":"en.html","it":"en.html"})");
    QStringList texts;
    const auto result = Check::checkCatalogue(draft.save());
    for (const Check::Finding &finding : result->findings) {
        if (finding.code == u"language-incomplete")
            texts.append(finding.text);
    }
    QCOMPARE(texts, (QStringList{u"The app has a name in \"de\", but no description: add it."_s,
                                 u"The app has a name in \"fr\", but no description: add it."_s,
                                 u"The app has a description in \"it\", but no name: add it."_s}));
}

void TestCheck::commaNamesInOrder()
{
    Draft draft;
    QStringList names;
    for (int i = 0; i < 30; ++i) {
        names.append(u"a%1,b.lua"_s.arg(i));
        draft.add(qPrintable(names.constLast()));
    }
    draft.set(Files, qPrintable(names.join(u',')));
    QStringList texts;
    const auto result = Check::checkCatalogue(draft.save());
    for (const Check::Finding &finding : result->findings) {
        if (finding.code == u"path-comma")
            texts.append(finding.text.section(u'"', 1, 1));
    }
    QCOMPARE(texts, names);
}

void TestCheck::brokenExample()
{
    const Folder folder;
    QVERIFY(copyTree(u"" CATALIST_SOURCE_DIR "/examples/catalogue"_s, folder.path()));
    QCOMPARE(Check::checkCatalogue(folder.path(u"Apps.csv"_s))->findings.size(), 0);

    // A wrong letter, a wrong date, a "./", a missing file and one left over.
    QByteArray content = folder.read(u"Apps.csv"_s);
    content.replace("Altimeter/main.lua", "Altimeter/Main.lua");
    content.replace("02-11-2025", "02-13-2025");
    content.replace("icons/telemetry-logger.png", "./icons/telemetry-logger.png");
    folder.write(u"Apps.csv"_s, content);
    QVERIFY(QFile::remove(folder.path(u"descriptions/servo-tester.it.html"_s)));
    folder.write(u"VarioSounds.bak"_s, "");
    QCOMPARE(linesAndCodes(folder.path(u"Apps.csv"_s)),
             (QStringList{u"2 path-other-case"_s, u"3 date-unclear"_s, u"4 path-form"_s, u"5 description-not-found"_s,
                          u"0 file-unlisted"_s}));
}

void TestCheck::cannotBeRead_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("reason");
    QTest::newRow("missing") << u"missing/Apps.csv"_s << u"No such file or directory"_s;
    QTest::newRow("folder") << u"project"_s << u"Is not a regular file"_s;
    QTest::newRow("closed") << u"project/closed.csv"_s << u"Permission denied"_s;
}

void TestCheck::cannotBeRead()
{
    QFETCH(QString, path);
    QFETCH(QString, reason);
    const Folder folder;
    folder.write(u"project/closed.csv"_s, HEADER);
    QVERIFY(QFile::setPermissions(folder.path(u"project/closed.csv"_s), {}));
    const OrdinaryUser user;
    const auto result = Check::checkCatalogue(folder.path(path));
    QVERIFY(!result);
    QCOMPARE(result.error().text(), folder.path(path) + u": "_s + reason);
}

void TestCheck::throughALink()
{
    Draft draft;
    const QString path = draft.save();
    QVERIFY(Check::checkCatalogue(path)->findings.isEmpty());
    draft.folder.link(draft.folder.path(u"project"_s), u"alias"_s);
    QCOMPARE(codesOf(Check::checkCatalogue(draft.folder.path(u"alias/Apps.csv"_s))), QStringList());
    draft.folder.link(draft.folder.path(u"project/Apps.csv"_s), u"alias.csv"_s);
    // The files of a project are those next to the given path.
    QCOMPARE(codesOf(Check::checkCatalogue(draft.folder.path(u"alias.csv"_s))),
             (QStringList{u"description-not-found"_s, u"file-unlisted"_s, u"icon-not-found"_s, u"path-none"_s,
                          u"path-not-found"_s}));
}

void TestCheck::changesNothing()
{
    Draft draft;
    draft.set(Files, "");
    const QString path = draft.save();
    const QByteArray before = draft.folder.read(u"project/Apps.csv"_s);
    const QStringList entries = QDir(QFileInfo(path).path()).entryList();
    QVERIFY(!Check::checkCatalogue(path)->findings.isEmpty());
    QCOMPARE(draft.folder.read(u"project/Apps.csv"_s), before);
    QCOMPARE(QDir(QFileInfo(path).path()).entryList(), entries);
}

// The standard library throws an exception for it.
void TestCheck::halfOfALetterInAPath()
{
    Draft draft;
    draft.set(Description, "{\"en\":\"\\ud800.html\"}");
    for (const char *name : {"?.html", "\xef\xbf\xbd.html"})
        draft.link("project/en.html", name);
    QVERIFY(Check::checkCatalogue(draft.save()));
}

void TestCheck::hostilePages_data()
{
    QTest::addColumn<QByteArray>("page");
    constexpr int MANY = 300'000;
    QTest::newRow("tags that do not end") << "<img "_ba.repeated(MANY);
    QTest::newRow("quotes that do not end") << "<img \""_ba.repeated(MANY);
    QTest::newRow("quotes of both kinds") << "<img '\"x\""_ba.repeated(MANY);
    QTest::newRow("comments that do not end") << "<!--"_ba.repeated(MANY);
    QTest::newRow("attributes") << "<img " + "a = 'b' "_ba.repeated(MANY) + ">";
    QTest::newRow("spaces") << "<img" + QByteArray(MANY, ' ') + "src" + QByteArray(MANY, ' ') + "=";
    QTest::newRow("NUL") << QByteArray(MANY, '\0');
}

void TestCheck::hostilePages()
{
    QFETCH(QByteArray, page);
    Draft draft;
    draft.add("en.html", page + "<p>Clock</p>");
    const QString path = draft.save();
    // Ends in bounded time.
    QVERIFY(Check::checkCatalogue(path));
}

void TestCheck::linksBackThatDifferInCase_data()
{
    QTest::addColumn<int>("times");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QStringList>("codes");
    QTest::newRow("there") << 38 << u"Clock/main.lua"_s << QStringList{u"file-unlisted"_s};
    QTest::newRow("in another case") << 38 << u"clock/Main.lua"_s
                                     << QStringList{u"file-unlisted"_s, u"path-none"_s, u"path-other-case"_s};
    const QStringList missing{u"file-unlisted"_s, u"path-none"_s, u"path-not-found"_s};
    QTest::newRow("not there") << 38 << u"Clock/none.lua"_s << missing;
    QTest::newRow("more links than the system follows") << 60 << u"Clock/main.lua"_s << missing;
}

// The path has at least 2^38 spellings, too many to try.
void TestCheck::linksBackThatDifferInCase()
{
    QFETCH(int, times);
    QFETCH(QString, end);
    QFETCH(QStringList, codes);
    Draft draft;
    draft.folder.link(u"."_s, u"project/a"_s);
    draft.folder.link(u"."_s, u"project/A"_s);
    draft.set(Files, qPrintable(u"a/"_s.repeated(times) + end));
    const auto result = Check::checkCatalogue(draft.save());
    QVERIFY(result);
    QCOMPARE(codesOf(result), codes);
}

CATALIST_TEST(TestCheck)
#include "tst_check.moc"
