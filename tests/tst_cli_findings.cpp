#include "check/checkrules.h"
#include "check/verification.h"
#include "clitest.h"
#include "testrunner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QUrl>

using namespace Qt::StringLiterals;

/// What "check" and "verify" print of their findings, and what they end with.
class TestCliFindings : public CliTest
{
    Q_OBJECT

private slots:
    void exitCodes_data();
    void exitCodes();
    void allowed_data();
    void allowed();
    void saysWhatItLookedAt_data();
    void saysWhatItLookedAt();
    void textOfMany_data();
    void textOfMany();
    void textOfManyCodes();
    void annotations_data();
    void annotations();
    void annotationsOfVerify();
    void sarif();
    void sarifOfNothing();
    void sarifHasAllThatItNeeds_data();
    void sarifHasAllThatItNeeds();
    void sarifPlaces_data();
    void sarifPlaces();

private:
    Outcome check(const QStringList &options) const
    {
        return run(QStringList{u"check"_s, u"project"_s} + options, folder->path());
    }
};

namespace {

QByteArray withNote()
{
    return QByteArray(CLOCK).replace("05-03-2024", "2024-03-05");
}

QByteArray withWarning()
{
    return QByteArray(CLOCK).replace("05-03-2024", "");
}

QByteArray withError()
{
    return QByteArray(CLOCK).replace("05-03-2024", "never");
}

/// The one run of a SARIF log.
QJsonObject runOf(const QByteArray &sarif)
{
    return QJsonDocument::fromJson(sarif).object().value("runs"_L1).toArray().at(0).toObject();
}

QJsonArray rulesOf(const QJsonObject &run)
{
    return run.value("tool"_L1).toObject().value("driver"_L1).toObject().value("rules"_L1).toArray();
}

/// The place of its first result.
QJsonObject placeOf(const QJsonObject &run)
{
    const QJsonObject result = run.value("results"_L1).toArray().at(0).toObject();
    const QJsonObject location = result.value("locations"_L1).toArray().at(0).toObject();
    return location.value("physicalLocation"_L1).toObject();
}

} // namespace

void TestCliFindings::exitCodes_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("codes"); // clean, with a note, with a warning, with an error
    const QString failOn = u"--fail-on"_s;
    const QString strict = u"--strict"_s;
    QTest::newRow("neither") << QStringList() << "0001"_ba;
    QTest::newRow("error") << QStringList{failOn, u"error"_s} << "0001"_ba;
    QTest::newRow("warning") << QStringList{failOn, u"warning"_s} << "0011"_ba;
    QTest::newRow("note") << QStringList{failOn, u"note"_s} << "0111"_ba;
    QTest::newRow("strict") << QStringList{strict} << "0011"_ba;
    QTest::newRow("strict and error") << QStringList{failOn, u"error"_s, strict} << "2222"_ba;
    QTest::newRow("strict and warning") << QStringList{failOn, u"warning"_s, strict} << "0011"_ba;
    QTest::newRow("strict and note") << QStringList{strict, failOn, u"note"_s} << "2222"_ba;
}

void TestCliFindings::exitCodes()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, codes);
    for (const QString &format : {u"text"_s, u"json"_s, u"github"_s, u"sarif"_s}) {
        QByteArray found;
        for (const QByteArray &line : {CLOCK, withNote(), withWarning(), withError()}) {
            makeClock(line);
            const Outcome outcome = check(options + QStringList{u"--format"_s, format});
            found += QByteArray::number(outcome.code);
            const QByteArray contradiction =
                "catalist-cli: --strict contradicts --fail-on "
                + options.join(u' ').section(u"--fail-on "_s, 1).section(u' ', 0, 0).toUtf8()
                + "\nTry: catalist-cli check --help\n";
            QCOMPARE(outcome.err, outcome.code == 2 ? contradiction : QByteArray());
            const bool isEmpty = outcome.code == 2 || (format == u"github"_s && line == CLOCK);
            QCOMPARE(outcome.out.isEmpty(), isEmpty);
        }
        QCOMPARE(found, codes);
    }
}

void TestCliFindings::allowed_data()
{
    QTest::addColumn<QStringList>("codes");
    QTest::addColumn<QByteArray>("left");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("none") << QStringList() << "date-missing hardware-unknown file-unlisted file-unlisted"_ba << 1;
    QTest::newRow("error") << QStringList{u"hardware-unknown"_s} << "date-missing file-unlisted file-unlisted"_ba << 0;
    QTest::newRow("several findings") << QStringList{u"file-unlisted"_s} << "date-missing hardware-unknown"_ba << 1;
    QTest::newRow("not found") << QStringList{u"path-form"_s}
                               << "date-missing hardware-unknown file-unlisted file-unlisted"_ba << 1;
    QTest::newRow("twice") << QStringList{u"date-missing"_s, u"date-missing"_s}
                           << "hardware-unknown file-unlisted file-unlisted"_ba << 1;
    QTest::newRow("all") << QStringList{u"file-unlisted"_s, u"date-missing"_s, u"hardware-unknown"_s} << ""_ba << 0;
}

void TestCliFindings::allowed()
{
    QFETCH(QStringList, codes);
    QFETCH(QByteArray, left);
    QFETCH(int, exitCode);
    makeClock(withWarning().replace("674", "5"));
    folder->write(u"project/a"_s, "");
    folder->write(u"project/b"_s, "");
    QStringList options;
    for (const QString &code : std::as_const(codes))
        options += {u"--allow"_s, code};

    const Outcome json = check(options + QStringList{u"--format"_s, u"json"_s});
    QCOMPARE(json.code, exitCode);
    const QJsonObject object = QJsonDocument::fromJson(json.out).object();
    QStringList found;
    const QJsonArray findings = object.value("findings"_L1).toArray();
    for (const auto finding : findings)
        found.append(finding.toObject().value("code"_L1).toString());
    QCOMPARE(found.join(u' ').toUtf8(), left);
    QCOMPARE(object.value("errors"_L1).toInt(), found.count(u"hardware-unknown"_s));
    QCOMPARE(object.value("warnings"_L1).toInt(), found.count(u"date-missing"_s));
    QCOMPARE(object.value("notes"_L1).toInt(), found.count(u"file-unlisted"_s));

    const Outcome text = check(options);
    QCOMPARE(text.code, exitCode);
    for (const QString &code : {u"date-missing"_s, u"hardware-unknown"_s, u"file-unlisted"_s})
        QCOMPARE(text.out.count(' ' + code.toUtf8() + ' '), found.count(code));
}

void TestCliFindings::saysWhatItLookedAt_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("expected");
    const QStringList allow{u"--allow"_s, u"no-apps"_s, u"--allow"_s, u"file-unlisted"_s};
    QByteArray other = CLOCK;
    other.replace("{\"en\":\"Clock\"}", "{\"en\":\"Lamp\"}").replace(";Clock;", ";Lamp;");
    QTest::newRow("nothing") << ""_ba << allow << "0 apps, 0 files: no findings\n"_ba;
    QTest::newRow("one") << CLOCK << QStringList{u"--allow"_s, u"file-unlisted"_s} << "1 app, 1 file: no findings\n"_ba;
    QTest::newRow("two") << CLOCK + other << QStringList() << "2 apps, 3 files: no findings\n"_ba;
}

void TestCliFindings::saysWhatItLookedAt()
{
    QFETCH(QByteArray, lines);
    QFETCH(QStringList, options);
    QFETCH(QByteArray, expected);
    makeClock(lines);
    folder->write(u"project/Lamp/a"_s, "x");
    folder->write(u"project/Lamp/b"_s, "x");
    const Outcome outcome = check(options);
    QCOMPARE(outcome.out, expected);
    QCOMPARE(outcome.code, 0);
}

void TestCliFindings::textOfMany_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("shown");
    QTest::addColumn<QByteArray>("end");
    QTest::newRow("as many as are shown") << QStringList() << 5 << 5 << "\n0 errors, 0 warnings, 5 notes\n"_ba;
    QTest::newRow("one more") << QStringList() << 6 << 3
                              << "\n3 more of file-unlisted: --all shows them\n\n0 errors, 0 warnings, 6 notes\n"_ba;
    QTest::newRow("many") << QStringList() << 39 << 3
                          << "\n36 more of file-unlisted: --all shows them\n\n0 errors, 0 warnings, 39 notes\n"_ba;
    QTest::newRow("all") << QStringList{u"--all"_s} << 39 << 39 << "\n0 errors, 0 warnings, 39 notes\n"_ba;
}

void TestCliFindings::textOfMany()
{
    QFETCH(QStringList, options);
    QFETCH(int, number);
    QFETCH(int, shown);
    QFETCH(QByteArray, end);
    makeClock();
    QByteArray expected = "As a whole\n";
    for (int i = 0; i < number; ++i) {
        const QString name = u"x%1"_s.arg(QString::number(i), 2, u'0');
        folder->write(u"project/"_s + name, "x");
        if (i < shown)
            expected += "  note    file-unlisted          \"" + name.toUtf8()
                        + "\" belongs to no app: list it if it should be published.\n";
    }
    QCOMPARE(check(options).out, expected + end);
    // The other formats are for programs.
    const Outcome json = check(QStringList{u"--format"_s, u"json"_s} + options);
    QCOMPARE(json.out.count("file-unlisted"), number);
}

// Each code is counted by itself, and an app none of whose findings is shown has no heading.
void TestCliFindings::textOfManyCodes()
{
    QByteArray lines;
    for (int i = 0; i < 6; ++i) {
        const QByteArray name = "App" + QByteArray::number(i);
        lines += QByteArray(CLOCK)
                     .replace("\"Clock\"", '"' + name + '"')
                     .replace("05-03-2024", i % 2 == 0 ? "" : "05-03-2024")
                     .replace("674", "5")
                     .replace(";Clock;", ';' + name + ';');
        folder->write(u"project/"_s + QString::fromUtf8(name), "x");
    }
    makeClock(lines);
    QVERIFY(QDir(folder->path(u"project/Clock"_s)).removeRecursively());
    const QByteArray expected = R"(App0, line 2
  warning date-missing           The app has no publication date: add one.
  error   hardware-unknown       No known transmitter has the id 5: correct it.

App1, line 3
  error   hardware-unknown       No known transmitter has the id 5: correct it.

App2, line 4
  warning date-missing           The app has no publication date: add one.
  error   hardware-unknown       No known transmitter has the id 5: correct it.

App4, line 6
  warning date-missing           The app has no publication date: add one.

3 more of hardware-unknown: --all shows them

6 errors, 3 warnings, 0 notes
)";
    const Outcome outcome = check({});
    QCOMPARE(outcome.out, expected);
    QCOMPARE(outcome.code, 1);
}

void TestCliFindings::annotations_data()
{
    QTest::addColumn<QString>("place"); // of the catalogue
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("file"); // that no app lists
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("none") << u"project"_s << CLOCK << QString() << ""_ba;
    QTest::newRow("all severities")
        << u"project"_s << withWarning().replace("674", "5") << u"a"_s
        << "::warning file=project/Apps.csv,line=2,title=date-missing::The app has no publication date: add one.\n"
           "::error file=project/Apps.csv,line=2,title=hardware-unknown::No known transmitter has the id 5: correct "
           "it.\n"
           "::notice file=project/Apps.csv,title=file-unlisted::\"a\" belongs to no app: list it if it should be "
           "published.\n"_ba;
    QTest::newRow("place")
        << u"a:b,c%d é"_s << withWarning() << QString()
        << "::warning file=a%3Ab%2Cc%25d é/Apps.csv,line=2,title=date-missing::The app has no publication date: add "
           "one.\n"_ba;
    QTest::newRow("place with line ends")
        << u"a\nb\rc"_s << withWarning() << QString()
        << "::warning file=a%0Ab%0Dc/Apps.csv,line=2,title=date-missing::The app has no publication date: add "
           "one.\n"_ba;
    QTest::newRow("name") << u"project"_s << CLOCK << u"a::b,c%0A"_s
                          << "::notice file=project/Apps.csv,title=file-unlisted::\"a::b,c%250A\" belongs to no app: "
                             "list it if it should be published.\n"_ba;
    QTest::newRow("name with line ends")
        << u"project"_s << CLOCK << u"a\n::error::b\r\nc"_s
        << "::notice file=project/Apps.csv,title=file-unlisted::\"a%0A::error::b%0D%0Ac\" belongs to no app: "
           "list it if it should be published.\n"_ba;
    QTest::newRow("name with control characters")
        << u"project"_s << CLOCK << u"\u001b[2J\u2028"_s
        << "::notice file=project/Apps.csv,title=file-unlisted::\"\\u001b[2J\\u2028\" belongs to no app: "
           "list it if it should be published.\n"_ba;
}

void TestCliFindings::annotations()
{
    QFETCH(QString, place);
    QFETCH(QByteArray, line);
    QFETCH(QString, file);
    QFETCH(QByteArray, expected);
    makeClock(line);
    if (!file.isEmpty())
        folder->write(u"project/"_s + file, "");
    QVERIFY(place == u"project"_s || QFile::rename(project(), folder->path(place)));
    QCOMPARE(run({u"check"_s, place, u"--format"_s, u"github"_s}, folder->path()).out, expected);
}

// There are no lines, so the sentence begins with the name of the app.
void TestCliFindings::annotationsOfVerify()
{
    folder->write(u"www/x"_s, "");
    folder->write(u"index:.json"_s,
                  R"({"applications": [{"id": 0, "version": "1", "author": "", "hw": [], "releaseDate": "",
                  "name": {"en": "A::\n::%b"}, "description": {}, "previewIcon": "https://apps.example.org/"}]})");
    const Outcome outcome =
        run({u"verify"_s, u"www"_s, u"--index"_s, u"index:.json"_s, u"--url"_s, URL, u"--format"_s, u"github"_s},
            folder->path());
    const QByteArray expected =
        "::error file=index%3A.json,title=index-form::A::%0A::%25b: \"files\" is missing or of another kind: publish "
        "the index again.\n"
        "::warning file=index%3A.json,title=file-unnamed::The index does not name \"x\": remove it, or publish the "
        "index again.\n";
    QCOMPARE(outcome.out, expected);
    QCOMPARE(outcome.code, 1);
}

void TestCliFindings::sarif()
{
    makeClock(withWarning().replace("674", "5"));
    folder->write(u"project/{0}[a](1)\n"_s, "");
    const Outcome outcome = check({u"--format"_s, u"sarif"_s});
    QCOMPARE(outcome.code, 1);
    QCOMPARE(outcome.err, QByteArray());
    QJsonArray results = runOf(outcome.out).value("results"_L1).toArray();
    const QJsonArray rules = rulesOf(runOf(outcome.out));
    // The order of the rules is that of the documents.
    for (QJsonValueRef value : results) {
        QJsonObject result = value.toObject();
        const QJsonObject rule = rules.at(result.value("ruleIndex"_L1).toInt(-1)).toObject();
        QCOMPARE(rule.value("id"_L1), result.value("ruleId"_L1));
        result.remove("ruleIndex"_L1);
        value = result;
    }
    const QByteArray expected = R"([
        {
            "ruleId": "date-missing",
            "level": "warning",
            "message": {"text": "The app has no publication date: add one."},
            "locations": [{
                "physicalLocation": {"artifactLocation": {"uri": "project/Apps.csv"}, "region": {"startLine": 2}},
                "logicalLocations": [{"name": "Clock"}]
            }]
        },
        {
            "ruleId": "hardware-unknown",
            "level": "error",
            "message": {"text": "No known transmitter has the id 5: correct it."},
            "locations": [{
                "physicalLocation": {"artifactLocation": {"uri": "project/Apps.csv"}, "region": {"startLine": 2}},
                "logicalLocations": [{"name": "Clock"}]
            }]
        },
        {
            "ruleId": "file-unlisted",
            "level": "note",
            "message": {"text": "\"{{0}}[a](1)\n\" belongs to no app: list it if it should be published."},
            "locations": [{
                "physicalLocation": {"artifactLocation": {"uri": "project/Apps.csv"}}
            }]
        }
    ])";
    QCOMPARE(results, QJsonDocument::fromJson(expected).array());
}

void TestCliFindings::sarifOfNothing()
{
    makeClock();
    const Outcome outcome = check({u"--format"_s, u"sarif"_s});
    QCOMPARE(outcome.code, 0);
    QCOMPARE(QJsonDocument::fromJson(outcome.out).object().keys(), (QStringList{u"runs"_s, u"version"_s}));
    const QJsonObject run = runOf(outcome.out);
    QCOMPARE(run.value("results"_L1), QJsonValue(QJsonArray()));
    const QJsonObject expected = QJsonDocument::fromJson(R"({
            "id": "date-form",
            "shortDescription": {"text": "The date \"…\" may be read differently elsewhere: write it as …."},
            "defaultConfiguration": {"level": "note"}
        })")
                                     .object();
    QVERIFY(rulesOf(run).contains(expected));
}

void TestCliFindings::sarifHasAllThatItNeeds_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("isCheck");
    QTest::addColumn<int>("results");
    const QStringList verify{u"verify"_s, u"project"_s, u"--index"_s, u"Apps.json"_s, u"--url"_s, URL};
    QTest::newRow("check") << QStringList{u"check"_s, u"project"_s} << true << 5;
    QTest::newRow("verify") << verify << false << 13;
    QTest::newRow("check, nothing") << QStringList{u"check"_s, u"good"_s} << true << 0;
}

void TestCliFindings::sarifHasAllThatItNeeds()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, isCheck);
    QFETCH(int, results);
    makeClock();
    QVERIFY(QFile::rename(project(), folder->path(u"good"_s)));
    makeClock(withError() + withWarning() + "\n");
    folder->write(u"project/a"_s, "");
    folder->write(u"Apps.json"_s, R"({"applications": [{"name": {"en": "Clock"}}, 5]})");
    const Outcome outcome = run(arguments + QStringList{u"--format"_s, u"sarif"_s}, folder->path());
    const QJsonObject log = QJsonDocument::fromJson(outcome.out).object();
    QCOMPARE(log.value("version"_L1), QJsonValue(u"2.1.0"_s));
    QCOMPARE(log.value("runs"_L1).toArray().size(), 1);
    const QJsonObject run = runOf(outcome.out);
    const QJsonObject driver = run.value("tool"_L1).toObject().value("driver"_L1).toObject();
    QCOMPARE(driver.value("name"_L1), QJsonValue(u"catalist-cli"_s));
    QVERIFY(!driver.value("version"_L1).toString().isEmpty());

    const QList<Check::Rule> known = isCheck ? Check::checkRules() : Check::verifyRules();
    const QJsonArray rules = rulesOf(run);
    QCOMPARE(rules.size(), known.size());
    const QSet<QString> levels{u"error"_s, u"warning"_s, u"note"_s};
    for (qsizetype i = 0; i < rules.size(); ++i) {
        const QJsonObject rule = rules.at(i).toObject();
        QCOMPARE(rule.value("id"_L1), QJsonValue(QLatin1String(known.at(i).code)));
        const QString text = rule.value("shortDescription"_L1).toObject().value("text"_L1).toString();
        QVERIFY2(text.endsWith(u'.') && !text.contains(u"%1"), qPrintable(text));
        const QString level = rule.value("defaultConfiguration"_L1).toObject().value("level"_L1).toString();
        QCOMPARE(level, Check::severityName(known.at(i).severity));
    }

    QVERIFY(run.value("results"_L1).isArray());
    const QJsonArray all = run.value("results"_L1).toArray();
    QCOMPARE(all.size(), results);
    for (const auto value : all) {
        const QJsonObject result = value.toObject();
        const QJsonObject rule = rules.at(result.value("ruleIndex"_L1).toInt(-1)).toObject();
        QCOMPARE(result.value("ruleId"_L1), rule.value("id"_L1));
        QVERIFY(levels.contains(result.value("level"_L1).toString()));
        QVERIFY(!result.value("message"_L1).toObject().value("text"_L1).toString().isEmpty());
        const QJsonArray locations = result.value("locations"_L1).toArray();
        QCOMPARE(locations.size(), 1);
        const QJsonObject place = locations.at(0).toObject().value("physicalLocation"_L1).toObject();
        QVERIFY(!place.value("artifactLocation"_L1).toObject().value("uri"_L1).toString().isEmpty());
        if (place.contains("region"_L1))
            QVERIFY(place.value("region"_L1).toObject().value("startLine"_L1).toInt() >= 1);
    }
}

void TestCliFindings::sarifPlaces_data()
{
    QTest::addColumn<QString>("place"); // as it is typed; %1 is the folder of the test
    QTest::addColumn<QByteArray>("uri"); // empty where it depends on the folder
    QTest::newRow("folder") << u"project"_s << "project/Apps.csv"_ba;
    QTest::newRow("with a slash") << u"project/"_s << "project/Apps.csv"_ba;
    QTest::newRow("file") << u"./project/Apps.csv"_s << "./project/Apps.csv"_ba;
    QTest::newRow("colon in the first part") << u"c:d"_s << "c%3Ad/Apps.csv"_ba;
    QTest::newRow("what a URI escapes") << u"a b/é#?%1f[]"_s << "a%20b/%C3%A9%23%3F%251f%5B%5D/Apps.csv"_ba;
    QTest::newRow("backslash") << u"a\\b"_s << "a%5Cb/Apps.csv"_ba;
    QTest::newRow("line end") << u"a\nb"_s << "a%0Ab/Apps.csv"_ba;
    QTest::newRow("absolute") << u"%1/project"_s << ""_ba;
    QTest::newRow("absolute, with what a URI escapes") << u"%1/a b:é#?%[]"_s << ""_ba;
}

void TestCliFindings::sarifPlaces()
{
    QFETCH(QString, place);
    QFETCH(QByteArray, uri);
    makeClock(withWarning());
    QString path = place;
    if (uri.isEmpty())
        path.replace(u"%1"_s, folder->path());
    const QString catalogue = QDir(folder->path()).absoluteFilePath(path);
    if (!QFileInfo::exists(catalogue)) {
        QVERIFY(QDir().mkpath(QFileInfo(catalogue).path()));
        QVERIFY(QFile::rename(project(), catalogue));
    }
    const Outcome outcome = run({u"check"_s, path, u"--format"_s, u"sarif"_s}, folder->path());
    const QString found =
        placeOf(runOf(outcome.out)).value("artifactLocation"_L1).toObject().value("uri"_L1).toString();
    if (!uri.isEmpty())
        QCOMPARE(found.toUtf8(), uri);
    // A reader of the log finds the file again.
    const QUrl reference = QUrl::fromEncoded(found.toUtf8(), QUrl::StrictMode);
    QVERIFY2(reference.isValid(), qPrintable(found));
    const QUrl opened = QUrl::fromLocalFile(folder->path() + u'/').resolved(reference);
    const bool isFile = QFileInfo(catalogue).isFile();
    QCOMPARE(opened.toLocalFile(), QDir::cleanPath(isFile ? catalogue : catalogue + u"/Apps.csv"_s));
}

CATALIST_TEST(TestCliFindings)
#include "tst_cli_findings.moc"
