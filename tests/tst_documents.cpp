#include "check/checkrules.h"
#include "check/verify.h"
#include "io/projectfile.h"
#include "io/repositoryindex.h"

#include "folder.h"
#include "scratchhome.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QtTest>

namespace {

QString document(const QString &path)
{
    QFile file(QStringLiteral(CATALIST_SOURCE_DIR "/") + path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The only example of a language in a document.
QByteArray example(const QString &text, const QString &language)
{
    const QString begin = QStringLiteral("\n```%1\n").arg(language);
    if (text.count(begin) != 1)
        return {};
    return text.section(begin, 1).section(QStringLiteral("```\n"), 0, 0).toUtf8();
}

} // namespace

/// What the documents show is what the program does.
class TestDocuments : public QObject
{
    Q_OBJECT

private slots:
    void formats();
    void hardwareIds();
    void codes_data();
    void codes();
    void linksLeadSomewhere_data();
    void linksLeadSomewhere();
};

void TestDocuments::formats()
{
    const QString text = document(QStringLiteral("docs/formats.md"));
    const QByteArray csv = example(text, QStringLiteral("csv"));
    const QByteArray json = example(text, QStringLiteral("json"));
    QVERIFY(!csv.isEmpty());
    QVERIFY(!json.isEmpty());

    const Folder folder;
    folder.write(QStringLiteral("Apps.csv"), csv);
    folder.write(QStringLiteral("Altimeter/main.lua"), "abc");
    folder.write(QStringLiteral("Altimeter/lib/empty.lua"), "");
    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(QStringLiteral("Apps.csv")), &apps));
    QCOMPARE(apps.size(), 2);

    QVERIFY(writeRepositoryIndex(folder.path(QStringLiteral("Apps.json")), apps,
                                 QStringLiteral("https://apps.example.org/"), folder.path()));
    QCOMPARE(folder.read(QStringLiteral("Apps.json")), json);

    // The new app has no hardware when it is written; the empty cell is read as the id 0.
    QCOMPARE(apps.at(1).hardware, QList<qint32>{0});
    apps[1].hardware.clear();
    QVERIFY(writeProject(folder.path(QStringLiteral("Apps.csv")), apps));
    QCOMPARE(folder.read(QStringLiteral("Apps.csv")), csv);
}

void TestDocuments::hardwareIds()
{
    const QString text = document(QStringLiteral("docs/formats.md"));
    const QString table =
        text.section(QStringLiteral("| transmitter | ids |"), 1).section(QStringLiteral("\n\n"), 0, 0);
    QList<qint32> documented;
    static const QRegularExpression id(QStringLiteral("\\b\\d{3,4}\\b"));
    for (auto match = id.globalMatch(table); match.hasNext();)
        documented.append(match.next().captured().toInt());
    QList<qint32> known(TX_IDS.cbegin(), TX_IDS.cend());
    std::sort(documented.begin(), documented.end());
    std::sort(known.begin(), known.end());
    QCOMPARE(documented, known);
}

void TestDocuments::codes_data()
{
    QTest::addColumn<QString>("heading");
    QTest::addColumn<bool>("isCheck");
    QTest::newRow("check") << QStringLiteral("\n## What check tells\n") << true;
    QTest::newRow("verify") << QStringLiteral("\n## What verify tells\n") << false;
}

void TestDocuments::codes()
{
    QFETCH(QString, heading);
    QFETCH(bool, isCheck);
    const QString chapter =
        document(QStringLiteral("docs/cli.md")).section(heading, 1).section(QStringLiteral("\n## "), 0, 0);
    static const QRegularExpression row(QStringLiteral("^\\| `([^`]+)` \\| (\\w+) \\| \\S.* \\| \\S.* \\|$"),
                                        QRegularExpression::MultilineOption);
    QStringList documented;
    for (auto match = row.globalMatch(chapter); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        documented.append(found.captured(1) + QLatin1Char(' ') + found.captured(2));
    }
    // Two lines of the table are its head.
    QCOMPARE(documented.size(), chapter.count(QStringLiteral("\n|")) - 2);

    QStringList known;
    const QList<KnownCode> codes = isCheck ? checkCodes() : verifyCodes();
    for (const KnownCode &code : codes)
        known.append(code.code + QLatin1Char(' ') + severityName(code.severity));
    QCOMPARE(documented, known);
}

void TestDocuments::linksLeadSomewhere_data()
{
    QTest::addColumn<QString>("file");
    const QString root = QStringLiteral(CATALIST_SOURCE_DIR "/");
    QTest::newRow("README.md") << root + QStringLiteral("README.md");
    QDirIterator documents(root + QStringLiteral("docs"), {QStringLiteral("*.md")}, QDir::Files);
    while (documents.hasNext()) {
        const QString path = documents.next();
        QTest::newRow(qPrintable(path.mid(root.size()))) << path;
    }
}

void TestDocuments::linksLeadSomewhere()
{
    QFETCH(QString, file);
    QFile opened(file);
    QVERIFY(opened.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(opened.readAll());
    static const QRegularExpression link(QStringLiteral("\\]\\(([^)#]+)[^)]*\\)"));
    for (auto match = link.globalMatch(text); match.hasNext();) {
        const QString target = match.next().captured(1);
        if (target.contains(QLatin1String("://")))
            continue;
        QVERIFY2(QFileInfo::exists(QFileInfo(file).path() + QLatin1Char('/') + target), qPrintable(target));
    }
}

CATALIST_CORE_TEST_MAIN(TestDocuments)
#include "tst_documents.moc"
