#include "clitest.h"
#include "testrunner.h"

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
    for (const QString &format : {u"text"_s, u"json"_s}) {
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
            QCOMPARE(outcome.out.isEmpty(), outcome.code == 2);
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

CATALIST_TEST(TestCliFindings)
#include "tst_cli_findings.moc"
