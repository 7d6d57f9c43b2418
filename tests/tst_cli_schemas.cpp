#include "clitest.h"
#include "io/repositoryindex.h"
#include "jsonchange.h"
#include "testrunner.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QProcess>
#include <QSet>

using namespace Qt::StringLiterals;

namespace {

const QString PYTHON = u"/usr/bin/python3"_s;
const QString SCHEMAS = u"" CATALIST_SOURCE_DIR "/docs/schema/"_s;

/// A change of a valid document, and the rule of its schema that it breaks.
struct Change
{
    const char *rule; ///< its path in the schema, without "properties" and with "[]" for elements; empty for none
    const char *place; ///< of the value in the document
    const char *value; ///< null removes the value
};

// clang-format off
const QList<Change> APPS{
    {"type", "", "[]"},
    {"required/applications", "applications", nullptr},
    {"additionalProperties", "version", "1"},
    {"applications/type", "applications", "{}"},
    {"applications/[]/type", "applications/1", "null"},
    {"applications/[]/required/author", "applications/0/author", nullptr},
    {"applications/[]/required/description", "applications/0/description", nullptr},
    {"applications/[]/required/files", "applications/0/files", nullptr},
    {"applications/[]/required/hw", "applications/0/hw", nullptr},
    {"applications/[]/required/id", "applications/1/id", nullptr},
    {"applications/[]/required/name", "applications/0/name", nullptr},
    {"applications/[]/required/previewIcon", "applications/0/previewIcon", nullptr},
    {"applications/[]/required/releaseDate", "applications/0/releaseDate", nullptr},
    {"applications/[]/required/version", "applications/0/version", nullptr},
    {"applications/[]/additionalProperties", "applications/0/minTxVersion", "\"5.03\""},
    {"applications/[]/author/type", "applications/0/author", "null"},
    {"applications/[]/description/type", "applications/0/description", "[]"},
    {"applications/[]/description/additionalProperties/type", "applications/0/description/de", "5"},
    {"applications/[]/description/additionalProperties/minLength", "applications/0/description/de", "\"\""},
    {"applications/[]/files/type", "applications/0/files", "{}"},
    {"applications/[]/files/[]/type", "applications/0/files/0", "\"Altimeter/main.lua\""},
    {"applications/[]/files/[]/required/destination", "applications/0/files/0/destination", nullptr},
    {"applications/[]/files/[]/required/hash", "applications/0/files/1/hash", nullptr},
    {"applications/[]/files/[]/required/size", "applications/0/files/0/size", nullptr},
    {"applications/[]/files/[]/required/url", "applications/0/files/0/url", nullptr},
    {"applications/[]/files/[]/additionalProperties", "applications/0/files/0/Hash", "\"\""},
    {"applications/[]/files/[]/destination/type", "applications/0/files/0/destination", "5"},
    {"applications/[]/files/[]/destination/pattern", "applications/0/files/0/destination", "\"apps/a\""},
    {"applications/[]/files/[]/hash/type", "applications/0/files/0/hash", "null"},
    {"applications/[]/files/[]/hash/pattern", "applications/0/files/0/hash", "\"DA39A3EE5E6B4B0D3255BFEF95601890AFD80709\""},
    {"applications/[]/files/[]/hash/pattern", "applications/0/files/0/hash", "\"da39a3ee5e6b4b0d3255bfef95601890\""},
    {"applications/[]/files/[]/hash/pattern", "applications/0/files/0/hash", "\"da39a3ee5e6b4b0d3255bfef95601890afd807090\""},
    {"applications/[]/files/[]/size/type", "applications/0/files/0/size", "\"0\""},
    {"applications/[]/files/[]/size/type", "applications/0/files/0/size", "0.5"},
    {"applications/[]/files/[]/size/minimum", "applications/0/files/0/size", "-1"},
    {"applications/[]/files/[]/url/type", "applications/0/files/0/url", "false"},
    {"applications/[]/files/[]/url/minLength", "applications/0/files/0/url", "\"\""},
    {"applications/[]/hw/type", "applications/0/hw", "674"},
    {"applications/[]/hw/[]/type", "applications/0/hw/1", "\"674\""},
    {"applications/[]/hw/[]/minimum", "applications/0/hw/1", "-2147483649"},
    {"applications/[]/hw/[]/maximum", "applications/0/hw/1", "2147483648"},
    {"applications/[]/id/const", "applications/0/id", "1"},
    {"applications/[]/name/type", "applications/0/name", "\"Altimeter\""},
    {"applications/[]/name/additionalProperties/type", "applications/0/name/en", "5"},
    {"applications/[]/previewIcon/type", "applications/0/previewIcon", "{}"},
    {"applications/[]/previewIcon/minLength", "applications/0/previewIcon", "\"\""},
    {"applications/[]/releaseDate/type", "applications/0/releaseDate", "20240305"},
    {"applications/[]/releaseDate/pattern", "applications/0/releaseDate", "\"05-03-2024\""},
    {"applications/[]/releaseDate/pattern", "applications/0/releaseDate", "\"Di. März 5 2024\""},
    {"applications/[]/releaseDate/pattern", "applications/0/releaseDate", "\"Tue Mar 32 2024\""},
    {"applications/[]/version/type", "applications/0/version", "1.4"},
    {"applications/[]/version/pattern", "applications/0/version", "\"1.4.2b\""},
    {"applications/[]/version/pattern", "applications/0/version", "\"1.\""},
    {"applications/[]/version/pattern", "applications/0/version", "\"1.02\""},
    {"", "applications", "[]"},
    {"", "applications/0/description", "{}"},
    {"", "applications/0/files/0/hash", "\"\""},
    {"", "applications/0/files/0/size", "9007199254740991"},
    {"", "applications/0/hw", "[]"},
    {"", "applications/0/name", "{}"},
    {"", "applications/0/name/x y", "\"\""},
    {"", "applications/0/releaseDate", "\"Sat Feb 29 2020\""},
    {"", "applications/0/version", "\"0.10.2147483647.0\""},
};

const QList<Change> FINDINGS{
    {"type", "", "[]"},
    {"required/command", "command", nullptr},
    {"required/errors", "errors", nullptr},
    {"required/findings", "findings", nullptr},
    {"required/input", "input", nullptr},
    {"required/notes", "notes", nullptr},
    {"required/warnings", "warnings", nullptr},
    {"command/enum", "command", "\"export\""},
    {"errors/type", "errors", "\"1\""},
    {"errors/minimum", "errors", "-1"},
    {"warnings/type", "warnings", "null"},
    {"warnings/minimum", "warnings", "-1"},
    {"notes/type", "notes", "0.5"},
    {"notes/minimum", "notes", "-1"},
    {"input/type", "input", "null"},
    {"input/minLength", "input", "\"\""},
    {"findings/type", "findings", "{}"},
    {"findings/[]/type", "findings/0", "\"path-form\""},
    {"findings/[]/required/app", "findings/0/app", nullptr},
    {"findings/[]/required/code", "findings/0/code", nullptr},
    {"findings/[]/required/line", "findings/0/line", nullptr},
    {"findings/[]/required/severity", "findings/0/severity", nullptr},
    {"findings/[]/required/text", "findings/0/text", nullptr},
    {"findings/[]/actual/type", "findings/0/actual", "3"},
    {"findings/[]/actual/minLength", "findings/0/actual", "\"\""},
    {"findings/[]/app/type", "findings/0/app", "null"},
    {"findings/[]/code/type", "findings/0/code", "5"},
    {"findings/[]/code/pattern", "findings/0/code", "\"Path form\""},
    {"findings/[]/expected/type", "findings/0/expected", "3"},
    {"findings/[]/expected/minLength", "findings/0/expected", "\"\""},
    {"findings/[]/file/type", "findings/0/file", "[]"},
    {"findings/[]/file/minLength", "findings/0/file", "\"\""},
    {"findings/[]/line/type", "findings/0/line", "\"2\""},
    {"findings/[]/line/minimum", "findings/0/line", "-1"},
    {"findings/[]/severity/enum", "findings/0/severity", "\"notice\""},
    {"findings/[]/text/type", "findings/0/text", "null"},
    {"findings/[]/text/minLength", "findings/0/text", "\"\""},
    {"then/findings/[]/line/const", "command", "\"verify\""},
    {"", "findings", "[]"},
    {"", "findings/0/app", "\"\""},
    {"", "findings/0/actual", nullptr},
    {"", "findings/0/expected", nullptr},
    {"", "findings/0/file", nullptr},
    {"", "findings/0/line", "0"},
    {"", "findings/0/column", "5"},
    {"", "seconds", "5"},
};

const QList<Change> DIFF{
    {"type", "", "[]"},
    {"required/added", "added", nullptr},
    {"required/changed", "changed", nullptr},
    {"required/findings", "findings", nullptr},
    {"required/removed", "removed", nullptr},
    {"added/type", "added", "\"Compass\""},
    {"added/[]/type", "added/0", "null"},
    {"removed/type", "removed", "{}"},
    {"removed/[]/type", "removed/0", "5"},
    {"changed/type", "changed", "{}"},
    {"changed/[]/type", "changed/0", "\"Altimeter\""},
    {"changed/[]/required/app", "changed/0/app", nullptr},
    {"changed/[]/required/files", "changed/0/files", nullptr},
    {"changed/[]/app/type", "changed/0/app", "null"},
    {"changed/[]/files/type", "changed/0/files", "[]"},
    {"changed/[]/files/required/added", "changed/0/files/added", nullptr},
    {"changed/[]/files/required/changed", "changed/0/files/changed", nullptr},
    {"changed/[]/files/required/removed", "changed/0/files/removed", nullptr},
    {"changed/[]/files/added/type", "changed/0/files/added", "\"Apps/a\""},
    {"changed/[]/files/added/[]/type", "changed/0/files/added/0", "5"},
    {"changed/[]/files/changed/type", "changed/0/files/changed", "{}"},
    {"changed/[]/files/changed/[]/type", "changed/0/files/changed/0", "null"},
    {"changed/[]/files/removed/type", "changed/0/files/removed", "null"},
    {"changed/[]/files/removed/[]/type", "changed/0/files/removed/0", "{}"},
    {"changed/[]/additionalProperties/type", "changed/0/author", "\"Ann\""},
    {"changed/[]/additionalProperties/minProperties", "changed/0/author", "{}"},
    {"findings/type", "findings", "{}"},
    {"", "added", "[\"\"]"},
    {"", "changed", "[]"},
    {"", "changed/0/app", "\"\""},
    {"", "changed/0/author", "{\"new\": null}"},
    {"", "changed/0/author/old", nullptr},
    {"", "changed/0/hw", "{\"old\": 5, \"new\": [\"674\"]}"},
    {"", "changed/0/files/added", "[\"\"]"},
    {"", "findings", "[]"},
    {"", "findings/0/line", "0"},
    {"", "seconds", "5"},
};
// clang-format on

/// The part of another schema that a reference names.
QJsonObject referredBy(const QString &reference)
{
    QJsonObject schema = QJsonDocument::fromJson(readFile(SCHEMAS + reference.section(u'#', 0, 0))).object();
    const QStringList steps = reference.section(u"#/"_s, 1).split(u'/');
    for (const QString &step : steps)
        schema = schema.value(step).toObject();
    return schema;
}

/// The changes that break a rule with such a path.
QList<Change> breaking(const QByteArray &path, QList<Change> changes)
{
    changes.removeIf([&path](const Change &one) { return !QByteArrayView(one.rule).startsWith(path); });
    return changes;
}

/// The paths in a schema of what a document can break.
QStringList rulesOf(const QJsonObject &schema, const QString &path = {})
{
    static const QSet<QString> keywords{u"type"_s,    u"const"_s,   u"enum"_s,      u"pattern"_s,
                                        u"minimum"_s, u"maximum"_s, u"minLength"_s, u"minProperties"_s};
    static const QSet<QString> explaining{u"$schema"_s, u"title"_s, u"description"_s, u"if"_s};
    QStringList rules;
    for (auto entry = schema.constBegin(); entry != schema.constEnd(); ++entry) {
        const QString name = entry.key();
        const QString place = path + name;
        if (keywords.contains(name) || entry.value() == QJsonValue(false)) {
            rules.append(place);
        } else if (name == "required"_L1) {
            const QJsonArray members = entry.value().toArray();
            for (const auto member : members)
                rules.append(place + u'/' + member.toString());
        } else if (name == "properties"_L1) {
            const QJsonObject members = entry.value().toObject();
            for (auto member = members.constBegin(); member != members.constEnd(); ++member)
                rules += rulesOf(member.value().toObject(), path + member.key() + u'/');
        } else if (name == "$ref"_L1) {
            rules += rulesOf(referredBy(entry.value().toString()), path);
        } else if (name == "items"_L1) {
            rules += rulesOf(entry.value().toObject(), path + u"[]/"_s);
        } else if (!explaining.contains(name)) {
            rules += rulesOf(entry.value().toObject(), place + u'/');
        }
    }
    return rules;
}

QByteArray asBytes(const QJsonValue &value)
{
    return value.isArray() ? QJsonDocument(value.toArray()).toJson() : QJsonDocument(value.toObject()).toJson();
}

} // namespace

/// What the command writes and prints, and the schemas in docs/schema. A program that is not ours compares them.
class TestCliSchemas : public CliTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void indexes_data();
    void indexes();
    void findings_data();
    void findings();
    void differences_data();
    void differences();
    void everyRuleRefusesSomething_data();
    void everyRuleRefusesSomething();

private:
    /// The first one below a heading.
    static QByteArray exampleIn(const QString &path, const QString &heading)
    {
        const QString chapter = document(path).section(u"\n## %1\n"_s.arg(heading), 1);
        return chapter.section(u"```json\n"_s, 1).section(u"```\n"_s, 0, 0).toUtf8();
    }

    /// For each document the rules of a schema that it breaks.
    QList<QStringList> brokenRules(const QString &schema, const QList<QByteArray> &documents) const;
};

void TestCliSchemas::initTestCase()
{
    QProcess python;
    python.start(PYTHON, {u"-I"_s, u"-c"_s, u"from jsonschema import Draft202012Validator"_s});
    if (!QFileInfo(PYTHON).isExecutable() || finish(python).code != 0)
        QSKIP("The validator is not installed (package python3-jsonschema)");
}

QList<QStringList> TestCliSchemas::brokenRules(const QString &schema, const QList<QByteArray> &documents) const
{
    QStringList arguments{u"-I"_s, u"" CATALIST_SOURCE_DIR "/tests/support/validate.py"_s, SCHEMAS + schema};
    for (const QByteArray &document : documents) {
        const QString name = u"document%1.json"_s.arg(arguments.size());
        folder->write(name, document);
        arguments.append(folder->path(name));
    }
    QProcess python;
    python.start(PYTHON, arguments);
    const Outcome outcome = finish(python);
    QStringList lines = QString::fromUtf8(outcome.out).split(u'\n');
    lines.removeLast();
    if (outcome.code != 0 || lines.size() != documents.size())
        qFatal("%s", outcome.err.constData());
    QList<QStringList> broken;
    for (QString &line : lines) {
        // Only newer validators name it.
        line.remove(u"$ref/"_s);
        line.replace(u"properties/"_s, QString()).replace(u"items/"_s, u"[]/"_s);
        broken.append(line.split(u'\t', Qt::SkipEmptyParts));
    }
    return broken;
}

void TestCliSchemas::indexes_data()
{
    QTest::addColumn<QByteArray>("lines"); // nothing for the example catalogue
    QTest::addColumn<QString>("url");
    QTest::newRow("example") << QByteArray() << URL;
    QTest::newRow("no app") << "\n"_ba << URL;
    QTest::newRow("one app") << CLOCK << u"https://apps.example.org/a b/č"_s;
    const QByteArray odd =
        "[];A \"b\";v1;,674,x;nonsense;{\"de\":\"../ž.html\"};missing,/Clock, Clock,Clock/main.lua,;icon.png\n"
        "{\"en\":5,\"x\":null};;1.2.3.4;-5,2147483647,2147483648;5 Mar 2024;{};a\\b;a\\b.png;5.3.1;and;more\n";
    QTest::newRow("odd apps") << odd + CLOCK << u"http://x"_s;
    QByteArray months;
    for (const char *date : {"01-01-0001", "29-02-2024", "31-03-2025", "05-04-2026", "06-05-2027", "07-06-2028",
                             "08-07-1999", "09-08-2000", "30-09-2024", "10-10-2024", "11-11-2024", "31-12-9999"})
        months += QByteArray(CLOCK).replace("05-03-2024", date);
    QTest::newRow("every month") << months << URL;
}

void TestCliSchemas::indexes()
{
    QFETCH(QByteArray, lines);
    QFETCH(QString, url);
    if (lines.isEmpty())
        QVERIFY(copyTree(example(), project()));
    else
        makeClock(lines == "\n" ? QByteArray() : lines);
    const QString index = folder->path(u"Apps.json"_s);
    QVERIFY(run({u"export"_s, project(), u"--url"_s, url, u"--output"_s, index}).code < 2);
    QCOMPARE(brokenRules(u"apps.schema.json"_s, {readFile(index), exampleIn(u"docs/formats.md"_s, u"Apps.json"_s)}),
             QList<QStringList>(2));
}

void TestCliSchemas::findings_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("number");
    QTest::newRow("check") << QStringList{u"check"_s, u"project"_s} << 7;
    QTest::newRow("check, nothing") << QStringList{u"check"_s, u"good"_s} << 0;
    const QStringList verify{u"verify"_s, u"project"_s, u"--url"_s, URL, u"--index"_s};
    QTest::newRow("verify") << verify + QStringList{u"Apps.json"_s} << 2;
    QTest::newRow("verify, no index") << verify + QStringList{u"empty.json"_s} << 4;
}

void TestCliSchemas::findings()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, number);
    makeClock();
    QVERIFY(QFile::rename(project(), folder->path(u"good"_s)));
    QByteArray line = CLOCK;
    makeClock(line.replace("674", "5").replace("05-03-2024", "2024-03-05").replace("icon.png", "Icon.png") + "\n;;\n");
    QCOMPARE(run({u"export"_s, u"good"_s, u"--url"_s, URL}, folder->path()).code, 0);
    folder->write(u"project/Clock/main.lua"_s, "abcd");
    folder->write(u"project/Clock/\u001b\n"_s, "x");
    folder->write(u"empty.json"_s, "{}");
    const Outcome outcome = run(arguments + QStringList{u"--format"_s, u"json"_s}, folder->path());
    QCOMPARE(brokenRules(u"findings.schema.json"_s, {outcome.out, exampleIn(u"docs/cli.md"_s, u"JSON"_s)}),
             QList<QStringList>(2));

    // The schema knows every member, although it allows those of later versions.
    const QJsonObject members = QJsonDocument::fromJson(readFile(SCHEMAS + u"findings.schema.json"_s))
                                    .object()
                                    .value("properties"_L1)
                                    .toObject();
    const QStringList ofFindings =
        members.value("findings"_L1).toObject().value("items"_L1).toObject().value("properties"_L1).toObject().keys();
    const QJsonObject object = QJsonDocument::fromJson(outcome.out).object();
    QCOMPARE(object.keys(), members.keys());
    const QJsonArray all = object.value("findings"_L1).toArray();
    QCOMPARE(all.size(), number);
    for (const auto finding : all) {
        const QStringList keys = finding.toObject().keys();
        for (const QString &key : keys)
            QVERIFY2(ofFindings.contains(key), qPrintable(key));
    }
}

void TestCliSchemas::differences_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<int>("number"); // of members of the app that differs
    const QByteArray clock = R"({"name": {"en": "Clock"}, "version": "1", "files": [{"destination": "Apps/a"}]})";
    QTest::newRow("nothing") << clock << clock << 0;
    QTest::newRow("whole apps") << clock << R"({"name": {"en": "Lamp"}}, 5)"_ba << 0;
    QTest::newRow("every member") << clock
                                  << R"({"name": {"en": "Clock", "fr": "Horloge"}, "version": "2", "author": "Ann",
        "releaseDate": "", "hw": [674], "description": {}, "previewIcon": "https://x.org/", "files": []})"_ba
                                  << 9;
    QTest::newRow("wrong kinds") << R"({"version": 5, "author": {"a": 1}, "hw": null, "files": 5})"_ba
                                 << R"({"version": null, "author": [], "files": [5, {"destination": ""}]})"_ba << 5;
}

void TestCliSchemas::differences()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(int, number);
    folder->write(u"old.json"_s, R"({"applications": [)" + before + "]}");
    folder->write(u"new.json"_s, R"({"applications": [)" + after + "]}");
    const Outcome outcome = run({u"diff"_s, u"old.json"_s, u"new.json"_s, u"--format"_s, u"json"_s}, folder->path());
    const QByteArray documented = exampleIn(u"docs/cli.md"_s, u"What changed between two releases"_s);
    QCOMPARE(brokenRules(u"diff.schema.json"_s, {outcome.out, documented}), QList<QStringList>(2));

    // The schema knows every member, although it allows those of later versions.
    const QJsonObject schema = QJsonDocument::fromJson(readFile(SCHEMAS + u"diff.schema.json"_s)).object();
    const QJsonObject object = QJsonDocument::fromJson(outcome.out).object();
    QCOMPARE(object.keys(), schema.value("properties"_L1).toObject().keys());
    const QJsonObject change = object.value("changed"_L1).toArray().at(0).toObject();
    QCOMPARE(change.size(), number);
}

void TestCliSchemas::everyRuleRefusesSomething_data()
{
    QTest::addColumn<QString>("schema");
    QTest::addColumn<QByteArray>("valid");
    QTest::addColumn<QList<Change>>("cases");
    QTest::newRow("apps") << u"apps.schema.json"_s << exampleIn(u"docs/formats.md"_s, u"Apps.json"_s) << APPS;
    QTest::newRow("findings") << u"findings.schema.json"_s << exampleIn(u"docs/cli.md"_s, u"JSON"_s) << FINDINGS;
    QTest::newRow("diff") << u"diff.schema.json"_s
                          << exampleIn(u"docs/cli.md"_s, u"What changed between two releases"_s)
                          << DIFF + breaking("findings/[]/", FINDINGS);
}

void TestCliSchemas::everyRuleRefusesSomething()
{
    QFETCH(QString, schema);
    QFETCH(QByteArray, valid);
    QFETCH(QList<Change>, cases);
    const QJsonObject good = QJsonDocument::fromJson(valid).object();
    QList<QByteArray> documents;
    for (const Change &one : cases)
        documents.append(asBytes(changed(good, one.place, one.value)));
    const QList<QStringList> broken = brokenRules(schema, documents);
    QStringList refusing;
    for (qsizetype i = 0; i < cases.size(); ++i) {
        const QStringList expected = QString::fromLatin1(cases.at(i).rule).split(u' ', Qt::SkipEmptyParts);
        const QString found = u"%1 broke: %2"_s.arg(QString::fromLatin1(cases.at(i).place), broken.at(i).join(u' '));
        QVERIFY2(broken.at(i) == expected, qPrintable(found));
        refusing += expected;
    }
    refusing.removeDuplicates();
    refusing.sort();
    QStringList rules = rulesOf(QJsonDocument::fromJson(readFile(SCHEMAS + schema)).object());
    rules.sort();
    QCOMPARE(refusing, rules);
}

CATALIST_TEST(TestCliSchemas)
#include "tst_cli_schemas.moc"
