#include "check/checkrules.h"
#include "check/indexdiff.h"
#include "check/verification.h"
#include "check/verify.h"
#include "history/history.h"
#include "io/projectfile.h"
#include "io/replacefile.h"
#include "io/repositoryindex.h"

#include "cli.h"
#include "folder.h"
#include "historyfiles.h"
#include "testrunner.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QRegularExpressionMatch>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QString document(const QString &path)
{
    return QString::fromUtf8(readFile(u"" CATALIST_SOURCE_DIR "/"_s + path));
}

/// The code block of a language; empty unless there is exactly one.
QByteArray example(const QString &text, const QString &language)
{
    const QString begin = u"\n```%1\n"_s.arg(language);
    if (text.count(begin) != 1)
        return {};
    return text.section(begin, 1).section(u"```\n"_s, 0, 0).toUtf8();
}

/// The paths of all documents in the source tree.
QStringList documents()
{
    QStringList found;
    const QDir root(u"" CATALIST_SOURCE_DIR ""_s);
    const QStringList top = root.entryList({u"*.md"_s}, QDir::Files);
    found += top;
    for (const char *folder : {"docs", "examples", "packaging", "resources", "src", "tests", "tools"}) {
        QDirIterator files(root.filePath(QLatin1String(folder)), {u"*.md"_s}, QDir::Files,
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

/// The code blocks of a document.
QList<Block> blocks(const QString &text)
{
    QList<Block> found;
    bool inside = false;
    const QStringList lines = text.split(u'\n');
    for (const QString &line : lines) {
        if (line.startsWith("```"_L1)) {
            inside = !inside;
            if (inside)
                found.append({line.mid(3), {}});
        } else if (inside) {
            found.last().text += line + u'\n';
        }
    }
    return found;
}

QString withoutBlocks(const QString &text)
{
    static const QRegularExpression block(u"^```.*?^```$"_s, QRegularExpression::MultilineOption
                                                                 | QRegularExpression::DotMatchesEverythingOption);
    return QString(text).remove(block);
}

/// The anchors of all headings of a document.
QStringList anchors(const QString &text)
{
    static const QRegularExpression heading(u"^#+ (.*)$"_s, QRegularExpression::MultilineOption);
    static const QRegularExpression dropped(u"[^\\w\\- ]"_s, QRegularExpression::UseUnicodePropertiesOption);
    QStringList found;
    for (auto match = heading.globalMatch(withoutBlocks(text)); match.hasNext();)
        found.append(match.next().captured(1).toLower().remove(dropped).replace(u' ', u'-'));
    return found;
}

/// The code and the severity of each rule.
QStringList codesOf(const QList<Check::Rule> &rules)
{
    QStringList codes;
    for (const Check::Rule &rule : rules)
        codes.append(QLatin1String(rule.code) + u' ' + Check::severityName(rule.severity));
    return codes;
}

} // namespace

/// Examples, tables, links and commands of the documents are right.
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
    void promisesHaveTests_data();
    void promisesHaveTests();
};

void TestDocuments::formats()
{
    const QString text = document(u"docs/formats.md"_s);
    const QByteArray csv = example(text, u"csv"_s);
    const QByteArray json = example(text, u"json"_s);
    QVERIFY(!csv.isEmpty());
    QVERIFY(!json.isEmpty());

    const Folder folder;
    folder.write(u"Apps.csv"_s, csv);
    folder.write(u"Altimeter/main.lua"_s, "abc");
    folder.write(u"Altimeter/lib/empty.lua"_s, "");
    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(u"Apps.csv"_s), &apps));
    QCOMPARE(apps.size(), 2);

    QVERIFY(writeRepositoryIndex(folder.path(u"Apps.json"_s), apps, u"https://apps.example.org/"_s, folder.path()));
    QCOMPARE(folder.read(u"Apps.json"_s), json);

    // An empty cell is read as the id 0, which would be written.
    QCOMPARE(apps.at(1).hardware, QList<qint32>{0});
    apps[1].hardware.clear();
    QVERIFY(replaceFile(folder.path(u"Apps.csv"_s), projectContent(apps)));
    QCOMPARE(folder.read(u"Apps.csv"_s), csv);
}

void TestDocuments::hardwareIds()
{
    const QString text = document(u"docs/formats.md"_s);
    const QString table = text.section(u"| transmitter | ids |"_s, 1).section(u"\n\n"_s, 0, 0);
    QList<qint32> documented;
    static const QRegularExpression id(u"\\b\\d{3,4}\\b"_s);
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
    QTest::addColumn<QStringList>("known");
    QTest::newRow("check") << u"\n## What check reports\n"_s << codesOf(Check::checkRules());
    QTest::newRow("verify") << u"\n## What verify reports\n"_s << codesOf(Check::verifyRules());
    QTest::newRow("diff") << u"\n## What diff reports\n"_s << codesOf(Check::diffRules());
}

void TestDocuments::codes()
{
    QFETCH(QString, heading);
    QFETCH(QStringList, known);
    const QString chapter = document(u"docs/cli.md"_s).section(heading, 1).section(u"\n## "_s, 0, 0);
    static const QRegularExpression row(u"^\\| `([^`]+)` \\| (\\w+) \\| \\S.* \\| \\S.* \\|$"_s,
                                        QRegularExpression::MultilineOption);
    QStringList documented;
    for (auto match = row.globalMatch(chapter); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        documented.append(found.captured(1) + u' ' + found.captured(2));
    }
    // Two lines are the head of the table.
    QCOMPARE(documented.size(), chapter.count(u"\n|"_s) - 2);
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
    static const QRegularExpression link(u"\\]\\(([^)#]*)#?([^)]*)\\)"_s);
    const QDir folder = QFileInfo(u"" CATALIST_SOURCE_DIR "/"_s + path).dir();
    for (auto match = link.globalMatch(withoutBlocks(text)); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QString target = found.captured(1);
        const QString anchor = found.captured(2);
        if (target.contains("://"_L1))
            continue;
        QVERIFY2(target.isEmpty() || folder.exists(target), qPrintable(target));
        if (anchor.isEmpty())
            continue;
        const QString linked =
            target.isEmpty() ? text
                             : document(QDir(u"" CATALIST_SOURCE_DIR ""_s).relativeFilePath(folder.filePath(target)));
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
    QCOMPARE(text.count(u"\n```"_s) % 2, 0);
    const QStringList kinds{u"sh"_s, u"console"_s, u"csv"_s, u"json"_s, u"yaml"_s};
    const QList<Block> all = blocks(text);
    for (const Block &block : all) {
        QVERIFY2(kinds.contains(block.kind), qPrintable(block.kind));
        static const QRegularExpression marked(u"^# not run by a test: \\w.*\n"_s);
        QCOMPARE(block.text.contains(marked), block.kind == "console"_L1);
    }
    // Indented commands would not be found.
    static const QRegularExpression indented(u"^    (\\./|sudo|cmake|ctest|cpack|find|catalist).*$"_s,
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
            if (block.kind == "sh"_L1)
                QTest::addRow("%s, %d", qPrintable(path), ++number) << block.text;
        }
    }
    for (const char *manual : {"docs/catalist.1", "docs/catalist-cli.1"}) {
        const QString text = document(QLatin1String(manual)).replace("\\-"_L1, "-"_L1);
        if (text.contains("\n.nf\n"_L1))
            QTest::newRow(manual) << text.section(u"\n.nf\n"_s, 1).section(u"\n.fi"_s, 0, 0);
    }
}

void TestDocuments::commands()
{
    if (!hasShell())
        QSKIP("No such shell here");
    QFETCH(QString, script);
    const Folder folder;
    QVERIFY(copyTree(u"" CATALIST_SOURCE_DIR "/examples/catalogue"_s, folder.path(u"catalogue"_s)));

    // The documents name an entry of the history.
    const DataHome dataHome(folder.path(u".local/share"_s));
    QVERIFY(History::saveFile(folder.path(u"catalogue/Apps.csv"_s), folder.read(u"catalogue/Apps.csv"_s) + "\n"));
    QVERIFY(History::saveFile(folder.path(u"catalogue/Apps.csv"_s), folder.read(u"catalogue/Apps.csv"_s).chopped(1)));
    QDirIterator history(folder.path(u".local/share"_s), {u"*-replaced-Apps.csv"_s}, QDir::Files,
                         QDirIterator::Subdirectories);
    QVERIFY(history.hasNext());
    const QFileInfo entry(history.next());
    QVERIFY(QFile::rename(entry.filePath(), entry.path() + u"/20240305-142530-123-00-replaced-Apps.csv"_s));

    QProcessEnvironment environment;
    environment.insert(u"HOME"_s, folder.path());
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    const Outcome outcome = runScript(u"set -e\n"_s + script, folder.path(), environment);
    QCOMPARE(outcome.err, QByteArray());
    QCOMPARE(outcome.code, 0);
    QVERIFY(!outcome.out.isEmpty());
}

void TestDocuments::scriptHasItsCommands()
{
    if (!hasShell())
        QSKIP("No such shell here");
    QProcess script;
    script.start(u"" CATALIST_SOURCE_DIR "/dev"_s, QStringList());
    const QString usage = QString::fromUtf8(finish(script).out);
    static const QRegularExpression call(u"\\./dev [a-z]+"_s);
    const QStringList all = documents();
    for (const QString &path : all) {
        for (auto match = call.globalMatch(document(path)); match.hasNext();) {
            const QString command = match.next().captured();
            const bool isKnown = (u'\n' + usage).contains(u'\n' + command + u' ');
            QVERIFY2(isKnown, qPrintable(path + u": "_s + command));
        }
    }
}

void TestDocuments::promisesHaveTests_data()
{
    QTest::addColumn<bool>("isPromised");
    QTest::addColumn<QString>("tests");
    const QString users = document(QStringLiteral("docs/reliability.md"));
    static const QRegularExpression item(QStringLiteral("^- \\*\\*(.+?)\\*\\*"), QRegularExpression::MultilineOption);
    static const QRegularExpression row(QStringLiteral("^\\| (\\S.*) \\| (`.*) \\|$"),
                                        QRegularExpression::MultilineOption);
    QMap<QString, QString> proven;
    for (auto match = row.globalMatch(document(QStringLiteral("docs/promises.md"))); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        QVERIFY2(!proven.contains(found.captured(1)), qPrintable(found.captured(1)));
        proven.insert(found.captured(1), found.captured(2));
    }
    QStringList promises;
    for (auto match = item.globalMatch(users); match.hasNext();)
        promises.append(match.next().captured(1));
    QVERIFY(!promises.isEmpty());
    // Every item begins with a promise.
    QCOMPARE(promises.size(), users.count(QStringLiteral("\n- ")));

    for (const QString &promise : promises)
        QTest::newRow(qPrintable(promise)) << true << proven.take(promise);
    for (auto left = proven.cbegin(); left != proven.cend(); ++left)
        QTest::newRow(qPrintable(left.key())) << false << left.value();
}

void TestDocuments::promisesHaveTests()
{
    QFETCH(bool, isPromised);
    QFETCH(QString, tests);
    QVERIFY2(isPromised, "Only docs/promises.md has it");
    QVERIFY2(!tests.isEmpty(), "Only docs/reliability.md has it");
    // A class, then its functions, and perhaps another class.
    static const QRegularExpression name(QStringLiteral("`(\\w+)`"));
    QString declared;
    int functions = 0;
    for (auto match = name.globalMatch(tests); match.hasNext();) {
        const QString word = match.next().captured(1);
        if (word.startsWith(QLatin1String("tst_"))) {
            declared =
                document(QStringLiteral("tests/%1.cpp").arg(word)).section(QStringLiteral("\nprivate slots:\n"), 1);
            declared = declared.section(QStringLiteral("\n};\n"), 0, 0).section(QStringLiteral("\nprivate:\n"), 0, 0);
            QVERIFY2(!declared.isEmpty(), qPrintable(word));
        } else {
            QVERIFY2(declared.contains(QStringLiteral("    void %1();").arg(word)), qPrintable(word));
            ++functions;
        }
    }
    QVERIFY(functions > 0);
}

CATALIST_TEST(TestDocuments)
#include "tst_documents.moc"
