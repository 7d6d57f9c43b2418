#include "clitest.h"
#include "testrunner.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

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
    for (const QString &format : {u"text"_s, u"json"_s, u"github"_s}) {
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

CATALIST_TEST(TestCliFindings)
#include "tst_cli_findings.moc"
