#include "clitest.h"
#include "httpserver.h"
#include "testrunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFragment>
#include <QTextFrame>

using namespace Qt::StringLiterals;

/// What "diff" prints of two indexes, and what it ends with.
class TestCliDiff : public CliTest
{
    Q_OBJECT

private slots:
    void formats_data();
    void formats();
    void sameIndexes_data();
    void sameIndexes();
    void oneDifference_data();
    void oneDifference();
    void namesForgeNothing_data();
    void namesForgeNothing();
    void markdownIsOnlyText_data();
    void markdownIsOnlyText();
    void documentedExample();
    void cannotBeRead_data();
    void cannotBeRead();
    void wrongUsage_data();
    void wrongUsage();
    void servers();
    void serverFails_data();
    void serverFails();

private:
    /// Compares indexes with these apps, which have commas between them.
    Outcome diff(const QByteArray &before, const QByteArray &after, const QString &format) const
    {
        folder->write(u"old.json"_s, R"({"applications": [)" + before + "]}");
        folder->write(u"new.json"_s, R"({"applications": [)" + after + "]}");
        return run({u"diff"_s, u"old.json"_s, u"new.json"_s, u"--format"_s, format}, folder->path());
    }
};

// Below the class, as moc would miss it after these raw strings.
namespace {

const QByteArray CLOCK_APP = R"({
    "id": 0, "name": {"de": "Uhr", "en": "Clock"}, "version": "1.0", "author": "Ann", "releaseDate": "Tue Mar 5 2024",
    "hw": [674, 678], "description": {"en": "https://x.org/en.html"}, "previewIcon": "https://x.org/icon.png",
    "files": [
        {"destination": "Apps/Clock/a.lua", "hash": "aa", "size": 1, "url": "https://x.org/Clock/a.lua"},
        {"destination": "Apps/Clock/b.lua", "hash": "bb", "size": 2, "url": "https://x.org/Clock/b.lua"}
    ]})";

const QByteArray LATER_CLOCK = R"({
    "id": 0, "name": {"en": "Clock", "fr": "Horloge"}, "version": "1.1", "author": "", "releaseDate": "Wed Mar 6 2024",
    "hw": [678, 680, 679], "description": {"en": "https://x.org/new.html"}, "previewIcon": 5,
    "files": [
        {"destination": "Apps/Clock/c.lua", "hash": "cc", "size": 3, "url": "https://x.org/Clock/c.lua"},
        {"destination": "Apps/Clock/a.lua", "hash": "ab", "size": 1, "url": "https://x.org/Clock/a.lua"}
    ]})";

const QByteArray LAMP = R"({"name": {"en": "Lamp"}, "version": "2.0"})";
const QByteArray RADIO =
    R"({"name": {"en": "Radio"}, "version": "3", "files": [{"destination": "Apps/r", "size": 1}]})";
const QByteArray LATER_RADIO =
    R"({"name": {"en": "Radio"}, "version": "3", "files": [{"destination": "Apps/r", "size": 2}]})";
const QByteArray WATCH = R"({"name": {"fr": "Montre"}, "version": ""})";

const QByteArray AS_TEXT = R"(Montre
  added   app                    version (none)

Lamp
  removed app                    version 2.0

Clock
  changed version                1.0 → 1.1
  removed name in de             Uhr
  added   name in fr             Horloge
  changed author                 Ann → (none)
  changed release date           Tue Mar 5 2024 → Wed Mar 6 2024
  removed transmitters           674
  added   transmitters           680, 679
  changed description in en      https://x.org/en.html → https://x.org/new.html
  changed icon                   https://x.org/icon.png → 5
  added   file                   Apps/Clock/c.lua
  removed file                   Apps/Clock/b.lua
  changed file                   Apps/Clock/a.lua

Radio
  changed file                   Apps/r
  warning version-same           The files differ, but the version is still "3": give the app a higher one.

1 app added, 1 removed, 2 changed
)";

const QByteArray AS_MARKDOWN = R"(## Added

### Montre (none)

## Removed

### Lamp 2.0

## Changed

### Clock 1.0 → 1.1

- Removed name in de: Uhr
- Added name in fr: Horloge
- Changed author: Ann → (none)
- Changed release date: Tue Mar 5 2024 → Wed Mar 6 2024
- Removed transmitters: 674
- Added transmitters: 680, 679
- Changed description in en: https\://x.org/en.html → https\://x.org/new.html
- Changed icon: https\://x.org/icon.png → 5
- Added file: Apps/Clock/c.lua
- Removed file: Apps/Clock/b.lua
- Changed file: Apps/Clock/a.lua

### Radio 3

- Changed file: Apps/r

> Warning: The files differ, but the version is still "3": give the app a higher one.
)";

const QByteArray AS_JSON = R"({
    "added": [
        "Montre"
    ],
    "changed": [
        {
            "app": "Clock",
            "author": {
                "new": "",
                "old": "Ann"
            },
            "description": {
                "new": {
                    "en": "https://x.org/new.html"
                },
                "old": {
                    "en": "https://x.org/en.html"
                }
            },
            "files": {
                "added": [
                    "Apps/Clock/c.lua"
                ],
                "changed": [
                    "Apps/Clock/a.lua"
                ],
                "removed": [
                    "Apps/Clock/b.lua"
                ]
            },
            "hw": {
                "new": [
                    678,
                    680,
                    679
                ],
                "old": [
                    674,
                    678
                ]
            },
            "name": {
                "new": {
                    "en": "Clock",
                    "fr": "Horloge"
                },
                "old": {
                    "de": "Uhr",
                    "en": "Clock"
                }
            },
            "previewIcon": {
                "new": 5,
                "old": "https://x.org/icon.png"
            },
            "releaseDate": {
                "new": "Wed Mar 6 2024",
                "old": "Tue Mar 5 2024"
            },
            "version": {
                "new": "1.1",
                "old": "1.0"
            }
        },
        {
            "app": "Radio",
            "files": {
                "added": [
                ],
                "changed": [
                    "Apps/r"
                ],
                "removed": [
                ]
            }
        }
    ],
    "findings": [
        {
            "actual": "3",
            "app": "Radio",
            "code": "version-same",
            "line": 0,
            "severity": "warning",
            "text": "The files differ, but the version is still \"3\": give the app a higher one."
        }
    ],
    "removed": [
        "Lamp"
    ]
}
)";

const QByteArray NOTHING_AS_JSON = R"({
    "added": [
    ],
    "changed": [
    ],
    "findings": [
    ],
    "removed": [
    ]
}
)";

QByteArray asJson(const QJsonObject &object)
{
    return QJsonDocument(object).toJson();
}

QByteArray list(const QList<QByteArray> &apps)
{
    return apps.join(',');
}

} // namespace

void TestCliDiff::formats_data()
{
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("text") << AS_TEXT;
    QTest::newRow("markdown") << AS_MARKDOWN;
    QTest::newRow("json") << AS_JSON;
}

void TestCliDiff::formats()
{
    QFETCH(QByteArray, expected);
    const QString format = QString::fromUtf8(QTest::currentDataTag());
    const Outcome outcome = diff(list({CLOCK_APP, LAMP, RADIO}), list({WATCH, LATER_CLOCK, LATER_RADIO}), format);
    QCOMPARE(outcome.out, expected);
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 1);
    if (format == "text"_L1)
        QCOMPARE(run({u"diff"_s, u"old.json"_s, u"new.json"_s}, folder->path()).out, expected);
}

void TestCliDiff::sameIndexes_data()
{
    QTest::addColumn<QList<QByteArray>>("before");
    QTest::addColumn<QList<QByteArray>>("after");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("no apps") << QList<QByteArray>() << QList<QByteArray>() << "0 apps: no differences\n"_ba;
    QTest::newRow("one app") << QList{LAMP} << QList{LAMP} << "1 app: no differences\n"_ba;
    QTest::newRow("three apps") << QList{LAMP, CLOCK_APP, WATCH} << QList{WATCH, LAMP, CLOCK_APP}
                                << "3 apps: no differences\n"_ba;
}

void TestCliDiff::sameIndexes()
{
    QFETCH(QList<QByteArray>, before);
    QFETCH(QList<QByteArray>, after);
    QFETCH(QByteArray, expected);
    const QList<std::pair<QString, QByteArray>> formats{
        {u"text"_s, expected}, {u"markdown"_s, expected}, {u"json"_s, NOTHING_AS_JSON}};
    for (const auto &[format, output] : formats) {
        const Outcome outcome = diff(list(before), list(after), format);
        QCOMPARE(outcome.out, output);
        QCOMPARE(outcome.err, QByteArray());
        QCOMPARE(outcome.code, 0);
    }
}

void TestCliDiff::oneDifference_data()
{
    QTest::addColumn<QList<QByteArray>>("before");
    QTest::addColumn<QList<QByteArray>>("after");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("markdown");
    const QList<QByteArray> none;
    const QByteArray later = QByteArray(LAMP).replace("2.0", "2.1");
    QTest::newRow("added") << none << QList{LAMP, WATCH}
                           << "Lamp\n  added   app                    version 2.0\n\n"
                              "Montre\n  added   app                    version (none)\n\n"
                              "2 apps added, 0 removed, 0 changed\n"_ba
                           << "## Added\n\n### Lamp 2.0\n\n### Montre (none)\n"_ba;
    QTest::newRow("removed") << QList{LAMP} << none
                             << "Lamp\n  removed app                    version 2.0\n\n"
                                "0 apps added, 1 removed, 0 changed\n"_ba
                             << "## Removed\n\n### Lamp 2.0\n"_ba;
    QTest::newRow("version") << QList{LAMP} << QList{later}
                             << "Lamp\n  changed version                2.0 → 2.1\n\n"
                                "0 apps added, 0 removed, 1 changed\n"_ba
                             << "## Changed\n\n### Lamp 2.0 → 2.1\n"_ba;
    QTest::newRow("no name") << QList{"{}"_ba} << QList{R"({"version": "1"})"_ba}
                             << "(no name)\n  added   version                1\n\n"
                                "0 apps added, 0 removed, 1 changed\n"_ba
                             << "## Changed\n\n### (no name) (none) → 1\n"_ba;
    QTest::newRow("no app") << none << QList{"5"_ba}
                            << "(no name)\n  added   app                    version (none)\n\n"
                               "1 app added, 0 removed, 0 changed\n"_ba
                            << "## Added\n\n### (no name) (none)\n"_ba;
    QTest::newRow("values of a wrong kind")
        << QList{R"({"author": {"b": [1, null, true], "a": "x"}, "hw": 5, "files": 5})"_ba}
        << QList{R"({"author": [{"c": 1.5}, [], false], "hw": [null], "files": {}})"_ba}
        << "(no name)\n"
           "  changed author                 {\"a\":\"x\",\"b\":[1,null,true]} → {\"c\":1.5}, (none), false\n"
           "  changed transmitters           5 → (none)\n"
           "  changed file                   (none)\n"
           "  warning version-same           The files differ, but the version is still \"\": give the app a higher "
           "one.\n\n"
           "0 apps added, 0 removed, 1 changed\n"_ba
        << "## Changed\n\n### (no name) (none)\n\n"
           "- Changed author: \\{\"a\"\\:\"x\",\"b\"\\:\\[1,null,true\\]\\} → \\{\"c\"\\:1.5\\}, (none), false\n"
           "- Changed transmitters: 5 → (none)\n"
           "- Changed file: (none)\n\n"
           "> Warning: The files differ, but the version is still \"\": give the app a higher one.\n"_ba;
}

void TestCliDiff::oneDifference()
{
    QFETCH(QList<QByteArray>, before);
    QFETCH(QList<QByteArray>, after);
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, markdown);
    const Outcome asText = diff(list(before), list(after), u"text"_s);
    QCOMPARE(asText.out, text);
    QCOMPARE(asText.code, 1);
    const Outcome asMarkdown = diff(list(before), list(after), u"markdown"_s);
    QCOMPARE(asMarkdown.out, markdown);
    QCOMPARE(asMarkdown.code, 1);
}

void TestCliDiff::namesForgeNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("markdown");
    QTest::newRow("line ends") << u"a\n\n## Removed\r\n- b"_s << "a\\u000a\\u000a## Removed\\u000d\\u000a- b"_ba
                               << R"(a\\u000a\\u000a\#\# Removed\\u000d\\u000a- b)"_ba;
    QTest::newRow("other line ends") << u"a\u0085b\u2028c\u2029d\u000be"_s << "a\\u0085b\\u2028c\\u2029d\\u000be"_ba
                                     << R"(a\\u0085b\\u2028c\\u2029d\\u000be)"_ba;
    QTest::newRow("escape sequence") << u"\u001b[31mred"_s << "\\u001b[31mred"_ba
                                     << R"(\\u001b\[31mred)"_ba;
    QTest::newRow("HTML") << u"<script>alert(1)</script> &lt;"_s << "<script>alert(1)</script> &lt;"_ba
                          << "&lt;script&gt;alert(1)&lt;/script&gt; &amp;lt;"_ba;
    QTest::newRow("code") << u"```sh `a` ~~~"_s << "```sh `a` ~~~"_ba
                          << R"(\`\`\`sh \`a\` \~\~\~)"_ba;
    QTest::newRow("table") << u"| a | b |"_s << "| a | b |"_ba
                           << R"(\| a \| b \|)"_ba;
    QTest::newRow("emphasis") << u"*a* **b** _c_ ~d~"_s << "*a* **b** _c_ ~d~"_ba
                              << R"(\*a\* \*\*b\*\* \_c\_ \~d\~)"_ba;
    QTest::newRow("links") << u"[a](b) ![c](d) https://e.org www.f.org WWW.g.org mailto:h@i.org"_s
                           << "[a](b) ![c](d) https://e.org www.f.org WWW.g.org mailto:h@i.org"_ba
                           << R"(\[a\](b) !\[c\](d) https\://e.org www\.f.org WWW\.g.org mailto\:h\@i.org)"_ba;
    QTest::newRow("heading") << u"# a #"_s << "# a #"_ba
                             << R"(\# a \#)"_ba;
    QTest::newRow("backslashes") << u"\\*a\\\\"_s << "\\*a\\\\"_ba
                                 << R"(\\\*a\\\\)"_ba;
    QTest::newRow("other extensions") << u"$a$ ==b== ^c^ ++d++ :e: {#f}"_s << "$a$ ==b== ^c^ ++d++ :e: {#f}"_ba
                                      << R"(\$a\$ \=\=b\=\= \^c\^ \+\+d\+\+ \:e: \{\#f\})"_ba;
    QTest::newRow("nothing special") << u"A-b, c. 1.0 (d) 'e' \"f\" g/h; ž!?%"_s
                                     << "A-b, c. 1.0 (d) 'e' \"f\" g/h; ž!?%"_ba
                                     << "A-b, c. 1.0 (d) 'e' \"f\" g/h; ž!?%"_ba;
    QTest::newRow("place of a particular") << u"%1 %2"_s << "%1 %2"_ba
                                           << "%1 %2"_ba;
}

void TestCliDiff::namesForgeNothing()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, markdown);
    const QByteArray before = asJson({{u"name"_s, QJsonObject{{u"en"_s, name}}}, {u"version"_s, u"1"_s}});
    const QByteArray after = asJson({{u"name"_s, QJsonObject{{u"en"_s, name}}},
                                     {u"version"_s, u"1"_s},
                                     {u"author"_s, name},
                                     {u"files"_s, QJsonArray{QJsonObject{{u"destination"_s, name}}}}});
    QCOMPARE(diff(before, after, u"text"_s).out,
             text + "\n  added   author                 " + text + "\n  added   file                   " + text
                 + "\n  warning version-same           The files differ, but the version is still \"1\": give the app "
                   "a higher one.\n\n0 apps added, 0 removed, 1 changed\n");
    QCOMPARE(diff(before, after, u"markdown"_s).out,
             "## Changed\n\n### " + markdown + " 1\n\n- Added author: " + markdown + "\n- Added file: " + markdown
                 + "\n\n> Warning: The files differ, but the version is still \"1\": give the app a higher one.\n");
    const QJsonObject json = QJsonDocument::fromJson(diff(before, after, u"json"_s).out).object();
    const QJsonObject change = json.value("changed"_L1).toArray().at(0).toObject();
    QCOMPARE(change.value("app"_L1).toString(), name);
    QCOMPARE(change.value("author"_L1).toObject(), (QJsonObject{{u"new"_s, name}}));
    QCOMPARE(change.value("files"_L1).toObject().value("added"_L1).toArray(), QJsonArray{name});
}

void TestCliDiff::markdownIsOnlyText_data()
{
    QTest::addColumn<QString>("text");
    for (const char *text : {"*a* **b** _c_ __d__ ~e~ ~~f~~",
                             "`a` ``b`` ```c",
                             "<b>a</b> <!-- b --> <script>c</script>",
                             "&lt;b&gt; &amp; &#60;",
                             "[a](https://b.org) ![c](d.png) [e][f] [g]: h",
                             "https://a.org http://b.org ftp://c.org <https://d.org>",
                             "www.a.org WWW.b.org x.www.c.org",
                             "a@b.org <c@d.org> mailto:e@f.org",
                             "# a #",
                             "> a",
                             "- a",
                             "1. a",
                             "+ a",
                             "| a | b |",
                             "a\\",
                             "\\*a\\*",
                             "===",
                             "---",
                             "***",
                             "[ ] a",
                             "[x] a",
                             "$a$ $$b$$",
                             "a  ",
                             "~~~ a",
                             "!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~"})
        QTest::newRow(text) << QString::fromLatin1(text);
}

// As Qt reads Markdown.
void TestCliDiff::markdownIsOnlyText()
{
    QFETCH(QString, text);
    const auto app = [&text](const QString &name) {
        return QJsonObject{
            {u"name"_s, QJsonObject{{u"en"_s, name}}},
            {u"version"_s, text},
            {u"hw"_s, QJsonArray()},
            {u"description"_s, QJsonObject()},
        };
    };
    QJsonObject changed = app(text);
    changed.insert(u"name"_s, QJsonObject{{u"en"_s, text}, {text, text}});
    changed.insert(u"author"_s, text);
    changed.insert(u"releaseDate"_s, text);
    changed.insert(u"hw"_s, QJsonArray{text});
    changed.insert(u"description"_s, QJsonObject{{text, text}});
    changed.insert(u"previewIcon"_s, text);
    changed.insert(u"files"_s, QJsonArray{QJsonObject{{u"destination"_s, text}}});
    const Outcome outcome = diff(list({asJson(app(text)), asJson(app(text + u" old"_s))}),
                                 list({asJson(changed), asJson(app(text + u" new"_s))}), u"markdown"_s);
    QTextDocument read;
    read.setMarkdown(QString::fromUtf8(outcome.out));
    QStringList lines;
    for (QTextBlock block = read.begin(); block.isValid(); block = block.next()) {
        lines.append(block.text().simplified());
        QCOMPARE(block.blockFormat().marker(), QTextBlockFormat::MarkerType::NoMarker);
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextCharFormat format = part.fragment().charFormat();
            const bool isMarked = format.isAnchor() || format.isImageFormat() || format.fontItalic()
                                  || format.fontStrikeOut() || format.fontFixedPitch() || format.fontUnderline()
                                  || (format.fontWeight() > QFont::Normal && block.blockFormat().headingLevel() == 0);
            QVERIFY2(!isMarked, qPrintable(part.fragment().text()));
        }
    }
    QCOMPARE(read.rootFrame()->childFrames().size(), 0);
    QStringList expected{
        u"Added"_s,
        u"%1 new %1"_s,
        u"Removed"_s,
        u"%1 old %1"_s,
        u"Changed"_s,
        u"%1 %1"_s,
        u"Added name in %1: %1"_s,
        u"Added author: %1"_s,
        u"Added release date: %1"_s,
        u"Added transmitters: %1"_s,
        u"Added description in %1: %1"_s,
        u"Added icon: %1"_s,
        u"Added file: %1"_s,
        u"Warning: The files differ, but the version is still \"%1\": give the app a higher one."_s,
    };
    for (QString &line : expected)
        line = line.replace(u"%1"_s, text).simplified();
    QCOMPARE(lines, expected);
}

void TestCliDiff::documentedExample()
{
    if (!hasShell())
        QSKIP("No such shell here");
    const QString chapter =
        document(u"docs/cli.md"_s).section(u"\n## What changed between two releases\n"_s, 1).section(u"\n## "_s, 0, 0);
    const QString script = chapter.section(u"```sh\n"_s, 1).section(u"```\n"_s, 0, 0);
    QStringList shown = chapter.section(u"```\n"_s, 1).section(u"\nWithout"_s, 0, 0).trimmed().split(u'\n');
    for (QString &line : shown)
        line.remove(QRegularExpression(u"^    "_s));
    QVERIFY(copyTree(example(), folder->path(u"catalogue"_s)));
    const Outcome outcome = runScript(u"set -e\n"_s + script, folder->path());
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.out.endsWith(shown.join(u'\n').toUtf8() + '\n'), outcome.out.constData());
}

void TestCliDiff::cannotBeRead_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("nothing") << u"none.json"_s << "none.json: No such file or directory"_ba;
    QTest::newRow("folder") << u"."_s << ".: Is not a regular file"_ba;
    QTest::newRow("not JSON") << u"Apps.csv"_s << "Apps.csv:1: illegal value"_ba;
    QTest::newRow("empty") << u"empty.json"_s << "empty.json:1: illegal value"_ba;
    QTest::newRow("array") << u"array.json"_s << "array.json: Has no array \"applications\""_ba;
    QTest::newRow("no apps") << u"none of them.json"_s << "none of them.json: Has no array \"applications\""_ba;
    QTest::newRow("apps in an object") << u"object.json"_s << "object.json: Has no array \"applications\""_ba;
}

void TestCliDiff::cannotBeRead()
{
    QFETCH(QString, place);
    QFETCH(QByteArray, error);
    folder->write(u"good.json"_s, R"({"applications": []})");
    folder->write(u"Apps.csv"_s, HEADER);
    folder->write(u"empty.json"_s, "");
    folder->write(u"array.json"_s, R"([{"applications": []}])");
    folder->write(u"none of them.json"_s, R"({"apps": []})");
    folder->write(u"object.json"_s, R"({"applications": {}})");
    for (const QStringList &places : {QStringList{place, u"good.json"_s}, QStringList{u"good.json"_s, place}}) {
        const Outcome outcome = run(QStringList{u"diff"_s} + places, folder->path());
        QCOMPARE(outcome.out, QByteArray());
        QCOMPARE(outcome.err, "catalist-cli: " + error + '\n');
        QCOMPARE(outcome.code, 2);
    }
}

void TestCliDiff::wrongUsage_data()
{
    QTest::addColumn<QString>("place");
    QTest::addColumn<QByteArray>("problem");
    QTest::newRow("no host") << u"https://"_s << "https:// is no URL with http:// or https:// and a host"_ba;
    QTest::newRow("user") << u"http://ann@127.0.0.1/Apps.json"_s
                          << "http://ann@127.0.0.1/Apps.json has the name of a user"_ba;
}

void TestCliDiff::wrongUsage()
{
    QFETCH(QString, place);
    QFETCH(QByteArray, problem);
    for (const QStringList &places : {QStringList{place, u"none.json"_s}, QStringList{u"none.json"_s, place}}) {
        const Outcome outcome = run(QStringList{u"diff"_s} + places, folder->path());
        QCOMPARE(outcome.out, QByteArray());
        QCOMPARE(outcome.err, "catalist-cli: " + problem + "\nTry: catalist-cli diff --help\n");
        QCOMPARE(outcome.code, 2);
    }
}

void TestCliDiff::servers()
{
    const QByteArray before = R"({"applications": [)" + LAMP + "]}";
    HttpServer server;
    server.serve(u"/old"_s, {.body = before});
    server.serve(u"/new"_s, {.body = R"({"applications": []})"});
    server.redirect(u"/moved"_s, server.url(u"/old"_s));
    folder->write(u"old.json"_s, before);
    const QString older = server.url(u"/old"_s).toString();
    const QString newer = server.url(u"/new?v=2"_s).toString();
    const QByteArray removed =
        "Lamp\n  removed app                    version 2.0\n\n0 apps added, 1 removed, 0 changed\n";
    for (const QString &place : {older, server.url(u"/moved"_s).toString(), folder->path(u"old.json"_s)}) {
        const Outcome outcome = runBesideServer({u"diff"_s, place, newer});
        QCOMPARE(outcome.out, removed);
        QCOMPARE(outcome.err, QByteArray());
        QCOMPARE(outcome.code, 1);
    }
    const Outcome same = runBesideServer({u"diff"_s, folder->path(u"old.json"_s), older});
    QCOMPARE(same.out, "1 app: no differences\n"_ba);
    QCOMPARE(same.code, 0);
}

void TestCliDiff::serverFails_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("missing") << 404 << R"({"applications": []})"_ba
                             << ": Answered with the status 404\n"_ba;
    QTest::newRow("not JSON") << 200 << "\n<html>"_ba
                              << ":2: illegal value\n"_ba;
    QTest::newRow("no apps") << 200 << "{}"_ba
                             << ": Has no array \"applications\"\n"_ba;
}

void TestCliDiff::serverFails()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, reason);
    HttpServer server;
    server.serve(u"/Apps.json"_s, {.status = status, .body = body});
    const QString place = server.url(u"/Apps.json"_s).toString();
    folder->write(u"good.json"_s, R"({"applications": []})");
    const Outcome outcome = runBesideServer({u"diff"_s, folder->path(u"good.json"_s), place});
    QCOMPARE(outcome.out, QByteArray());
    QCOMPARE(outcome.err, "catalist-cli: " + place.toUtf8() + reason);
    QCOMPARE(outcome.code, 2);
}

CATALIST_TEST(TestCliDiff)
#include "tst_cli_diff.moc"
