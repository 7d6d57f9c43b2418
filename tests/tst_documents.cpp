#include "check/checkrules.h"
#include "check/verify.h"
#include "io/projectfile.h"
#include "io/replacefile.h"
#include "io/repositoryindex.h"

#include "cli.h"
#include "folder.h"
#include "testrunner.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QRegularExpressionMatch>
#include <QTest>

namespace {

QString document(const QString &path)
{
    return QString::fromUtf8(readFile(QStringLiteral(CATALIST_SOURCE_DIR "/") + path));
}

/// The only example of a language in a document.
QByteArray example(const QString &text, const QString &language)
{
    const QString begin = QStringLiteral("\n```%1\n").arg(language);
    if (text.count(begin) != 1)
        return {};
    return text.section(begin, 1).section(QStringLiteral("```\n"), 0, 0).toUtf8();
}

/// The documents of the tree, by their paths in it.
QStringList documents()
{
    QStringList found;
    const QDir root(QStringLiteral(CATALIST_SOURCE_DIR));
    const QStringList top = root.entryList({QStringLiteral("*.md")}, QDir::Files);
    found += top;
    for (const char *folder : {"docs", "examples", "packaging", "resources", "src", "tests", "tools"}) {
        QDirIterator files(root.filePath(QLatin1String(folder)), {QStringLiteral("*.md")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext())
            found.append(root.relativeFilePath(files.next()));
    }
    return found;
}

void documentRows()
{
    QTest::addColumn<QString>("path");
    const QStringList all = documents();
    for (const QString &path : all)
        QTest::newRow(qPrintable(path)) << path;
}

struct Block
{
    QString kind;
    QString text;
};

/// What stands between fences.
QList<Block> blocks(const QString &text)
{
    QList<Block> found;
    bool inside = false;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (line.startsWith(QLatin1String("```"))) {
            inside = !inside;
            if (inside)
                found.append({line.mid(3), {}});
        } else if (inside) {
            found.last().text += line + QLatin1Char('\n');
        }
    }
    return found;
}

QString withoutBlocks(const QString &text)
{
    static const QRegularExpression block(QStringLiteral("^```.*?^```$"),
                                          QRegularExpression::MultilineOption
                                              | QRegularExpression::DotMatchesEverythingOption);
    return QString(text).remove(block);
}

/// What a heading is called in a link, for all headings of a document.
QStringList anchors(const QString &text)
{
    static const QRegularExpression heading(QStringLiteral("^#+ (.*)$"), QRegularExpression::MultilineOption);
    static const QRegularExpression dropped(QStringLiteral("[^\\w\\- ]"),
                                            QRegularExpression::UseUnicodePropertiesOption);
    QStringList found;
    for (auto match = heading.globalMatch(withoutBlocks(text)); match.hasNext();)
        found.append(match.next().captured(1).toLower().remove(dropped).replace(QLatin1Char(' '), QLatin1Char('-')));
    return found;
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
    void commandsAreRunOrMarked_data();
    void commandsAreRunOrMarked();
    void commands_data();
    void commands();
    void scriptHasItsCommands();
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
    QTest::newRow("check") << QStringLiteral("\n## What check reports\n") << true;
    QTest::newRow("verify") << QStringLiteral("\n## What verify reports\n") << false;
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
    documentRows();
}

void TestDocuments::linksLeadSomewhere()
{
    QFETCH(QString, path);
    const QString text = document(path);
    QVERIFY(!text.isEmpty());
    static const QRegularExpression link(QStringLiteral("\\]\\(([^)#]*)#?([^)]*)\\)"));
    const QDir folder = QFileInfo(QStringLiteral(CATALIST_SOURCE_DIR "/") + path).dir();
    for (auto match = link.globalMatch(withoutBlocks(text)); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QString target = found.captured(1);
        const QString anchor = found.captured(2);
        if (target.contains(QLatin1String("://")))
            continue;
        QVERIFY2(target.isEmpty() || folder.exists(target), qPrintable(target));
        if (anchor.isEmpty())
            continue;
        const QString linked =
            target.isEmpty()
                ? text
                : document(QDir(QStringLiteral(CATALIST_SOURCE_DIR)).relativeFilePath(folder.filePath(target)));
        QVERIFY2(anchors(linked).contains(anchor), qPrintable(found.captured()));
    }
}

void TestDocuments::commandsAreRunOrMarked_data()
{
    documentRows();
}

void TestDocuments::commandsAreRunOrMarked()
{
    QFETCH(QString, path);
    const QString text = document(path);
    QCOMPARE(text.count(QStringLiteral("\n```")) % 2, 0);
    const QStringList kinds{QStringLiteral("sh"), QStringLiteral("console"), QStringLiteral("csv"),
                            QStringLiteral("json")};
    const QList<Block> all = blocks(text);
    for (const Block &block : all) {
        QVERIFY2(kinds.contains(block.kind), qPrintable(block.kind));
        static const QRegularExpression marked(QStringLiteral("^# not run by a test: \\w.*\n"));
        QCOMPARE(block.text.contains(marked), block.kind == QLatin1String("console"));
    }
    // Commands stand between fences, where this test sees them.
    static const QRegularExpression indented(QStringLiteral("^    (\\./|sudo|cmake|ctest|cpack|find|catalist).*$"),
                                             QRegularExpression::MultilineOption);
    QCOMPARE(indented.match(withoutBlocks(text)).captured(), QString());
}

void TestDocuments::commands_data()
{
    QTest::addColumn<QString>("script");
    const QStringList all = documents();
    for (const QString &path : all) {
        const QList<Block> found = blocks(document(path));
        int number = 0;
        for (const Block &block : found) {
            if (block.kind == QLatin1String("sh"))
                QTest::addRow("%s, %d", qPrintable(path), ++number) << block.text;
        }
    }
    for (const char *manual : {"docs/catalist.1", "docs/catalist-cli.1"}) {
        const QString text = document(QLatin1String(manual)).replace(QLatin1String("\\-"), QLatin1String("-"));
        if (text.contains(QLatin1String("\n.nf\n")))
            QTest::newRow(manual) << text.section(QStringLiteral("\n.nf\n"), 1).section(QStringLiteral("\n.fi"), 0, 0);
    }
}

void TestDocuments::commands()
{
#ifdef Q_OS_UNIX
    QFETCH(QString, script);
    const Folder folder;
    QVERIFY(
        copyTree(QStringLiteral(CATALIST_SOURCE_DIR "/examples/catalogue"), folder.path(QStringLiteral("catalogue"))));

    // An entry of the history, by the name that the documents give it.
    const QByteArray dataHome = qgetenv("XDG_DATA_HOME");
    const auto restore = qScopeGuard([&dataHome] { qputenv("XDG_DATA_HOME", dataHome); });
    qputenv("XDG_DATA_HOME", folder.path(QStringLiteral(".local/share")).toLocal8Bit());
    QVERIFY(replaceFile(folder.path(QStringLiteral("catalogue/Apps.csv")),
                        folder.read(QStringLiteral("catalogue/Apps.csv")) + "\n", LineEnds::AsGiven));
    QVERIFY(replaceFile(folder.path(QStringLiteral("catalogue/Apps.csv")),
                        folder.read(QStringLiteral("catalogue/Apps.csv")).chopped(1), LineEnds::AsGiven));
    QDirIterator history(folder.path(QStringLiteral(".local/share")), {QStringLiteral("*-replaced-Apps.csv")},
                         QDir::Files, QDirIterator::Subdirectories);
    QVERIFY(history.hasNext());
    const QFileInfo entry(history.next());
    QVERIFY(
        QFile::rename(entry.filePath(), entry.path() + QStringLiteral("/20240305-142530-123-00-replaced-Apps.csv")));

    QProcessEnvironment environment;
    environment.insert(QStringLiteral("HOME"), folder.path());
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    const Outcome outcome = runScript(QStringLiteral("set -e\n") + script, folder.path(), environment);
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 0);
    QVERIFY(!outcome.out.isEmpty());
#else
    QSKIP("No such shell here");
#endif
}

void TestDocuments::scriptHasItsCommands()
{
#ifdef Q_OS_UNIX
    QProcess script;
    script.start(QStringLiteral(CATALIST_SOURCE_DIR "/dev"), QStringList());
    const QString usage = QString::fromUtf8(finish(script).out);
    static const QRegularExpression call(QStringLiteral("\\./dev [a-z]+"));
    const QStringList all = documents();
    for (const QString &path : all) {
        for (auto match = call.globalMatch(document(path)); match.hasNext();) {
            const QString command = match.next().captured();
            const bool isKnown = (QLatin1Char('\n') + usage).contains(QLatin1Char('\n') + command + QLatin1Char(' '));
            QVERIFY2(isKnown, qPrintable(path + QStringLiteral(": ") + command));
        }
    }
#else
    QSKIP("No such shell here");
#endif
}

CATALIST_TEST(TestDocuments)
#include "tst_documents.moc"
