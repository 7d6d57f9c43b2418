#include "io/projectfile.h"
#include "io/replacefile.h"

#include "folder.h"
#include "projectdata.h"
#include "testrunner.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QByteArray GOOD_LINE = "{\"en\":\"Good\"};;;;;{};\n";

QString file()
{
    return u"Apps.csv"_s;
}

using Texts = QMap<QString, QString>;

Texts english(const QString &text)
{
    return {{u"en"_s, text}};
}

/// The app of a project with a single line.
AppConfig readLine(const QByteArray &line)
{
    const Folder folder;
    folder.write(file(), line);
    QList<AppConfig> apps;
    if (!readProject(folder.path(file()), &apps) || apps.size() != 1)
        qFatal("Cannot read %s", line.constData());
    return apps.constFirst();
}

} // namespace

class TestProjectFile : public QObject
{
    Q_OBJECT

private slots:
    void wholeRecord();
    void newRecord();
    void counts_data();
    void counts();
    void names_data();
    void names();
    void author_data();
    void author();
    void versions_data();
    void versions();
    void hardware_data();
    void hardware();
    void dates_data();
    void dates();
    void files_data();
    void files();
    void optionalCells_data();
    void optionalCells();
    void cannotOpen_data();
    void cannotOpen();
    void writesCells_data();
    void writesCells();
    void writesNamesAsQtDoes();
    void savingAgainChangesNothing();
    void savesExampleUnchanged();
    void cannotSave();
};

void TestProjectFile::wholeRecord()
{
    const Folder folder;
    const QByteArray line =
        "{\"cz\":\"V\xC3\xBD\xC5\xA1kom\xC4\x9Br\",\"en\":\"Alti\\\"meter\\\"\"};Bj\xC3\xB6rn;1.4.2;"
        "678,3859;05-03-2024;{\"de\":\"doc/de.html\",\"en\":\"doc/en.html\"};Lua/main.lua,img;"
        "icons/a.png;5.03\n";
    folder.write(file(), HEADER + line);

    AppConfig expected;
    expected.names = {{u"cz"_s, u"Výškoměr"_s}, {u"en"_s, u"Alti\"meter\""_s}};
    expected.author = u"Björn"_s;
    expected.version = QVersionNumber(1, 4, 2);
    expected.hardware = {678, 3859};
    expected.date = QDate(2024, 3, 5);
    expected.descriptions = {{u"de"_s, u"doc/de.html"_s}, {u"en"_s, u"doc/en.html"_s}};
    expected.files = QStringList{u"Lua/main.lua"_s, u"img"_s};
    expected.icon = u"icons/a.png"_s;
    expected.minTxVersion = QVersionNumber(5, 3);

    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(file()), &apps));
    QCOMPARE(apps.size(), 1);
    QVERIFY(apps.constFirst() == expected);

    QVERIFY(replaceFile(folder.path(u"copy.csv"_s), projectContent({expected})));
    QCOMPARE(folder.read(u"copy.csv"_s), HEADER + line);
}

void TestProjectFile::newRecord()
{
    const Folder folder;
    AppConfig app;
    app.names = english(u"[New App]"_s);
    QVERIFY(replaceFile(folder.path(file()), projectContent({app})));
    QCOMPARE(folder.read(file()), HEADER + "{\"en\":\"[New App]\"};;;;;{};;;0.00\n");

    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(file()), &apps));
    app.hardware = {0};
    app.minTxVersion = QVersionNumber(0, 0);
    QCOMPARE(apps.size(), 1);
    QVERIFY(apps.constFirst() == app);
}

void TestProjectFile::counts_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<QStringList>("apps");

    const QString good = u"Good"_s;
    QTest::newRow("empty file") << QByteArray() << true << QStringList{};
    QTest::newRow("header only") << HEADER << true << QStringList{};
    QTest::newRow("header without line end") << HEADER.chopped(1) << true << QStringList{};
    QTest::newRow("no header") << GOOD_LINE + GOOD_LINE << true << QStringList{good, good};
    QTest::newRow("header in the middle") << GOOD_LINE + HEADER + GOOD_LINE << true << QStringList{good, good};
    QTest::newRow("any row that begins with NAME") << "NAME\nNAME;x\n"_ba + GOOD_LINE << true << QStringList{good};
    QTest::newRow("header in lower case") << HEADER.toLower() + GOOD_LINE << false << QStringList{};
    QTest::newRow("no line end at the end") << HEADER + GOOD_LINE.chopped(1) << true << QStringList{good};
    QTest::newRow("CR LF") << QByteArray(HEADER + GOOD_LINE).replace("\n", "\r\n") << true << QStringList{good};
    QTest::newRow("byte-order mark") << "\xEF\xBB\xBF" + HEADER + GOOD_LINE << true << QStringList{good};
    QTest::newRow("only a byte-order mark") << "\xEF\xBB\xBF"_ba << false << QStringList{};
    QTest::newRow("empty line") << GOOD_LINE + "\n" + GOOD_LINE << false << QStringList{good};
    QTest::newRow("empty line at the end") << GOOD_LINE + "\n" << false << QStringList{good};
    QTest::newRow("6 cells") << GOOD_LINE + "{};;;;;{}\n" + GOOD_LINE << false << QStringList{good};
    QTest::newRow("7 cells") << "{\"en\":\"Good\"};;;;;{};\n"_ba << true << QStringList{good};
    QTest::newRow("8 cells") << "{\"en\":\"Good\"};;;;;{};;\n"_ba << true << QStringList{good};
    QTest::newRow("9 cells") << "{\"en\":\"Good\"};;;;;{};;;\n"_ba << true << QStringList{good};
    QTest::newRow("12 cells") << "{\"en\":\"Good\"};;;;;{};;;5.01;x;y;z\n"_ba << true << QStringList{good};
    QTest::newRow("broken names in the middle")
        << GOOD_LINE + "{\"en\":;;;;;{};\n" + GOOD_LINE << false << QStringList{good};
    QTest::newRow("broken descriptions") << GOOD_LINE + "{};;;;;{\"en\";\n" + GOOD_LINE << false << QStringList{good};
    QTest::newRow("empty names") << GOOD_LINE + ";;;;;{};\n" << false << QStringList{good};
    QTest::newRow("empty descriptions") << GOOD_LINE + "{};;;;;;\n" << false << QStringList{good};
    QTest::newRow("semicolon in a name") << "{\"en\":\"a;b\"};;;;;{};\n"_ba << false << QStringList{};
}

void TestProjectFile::counts()
{
    QFETCH(QByteArray, content);
    const Folder folder;
    folder.write(file(), content);

    QList<AppConfig> apps{AppConfig(), AppConfig()};
    QTEST(static_cast<bool>(readProject(folder.path(file()), &apps)), "loaded");
    QStringList names;
    for (const AppConfig &app : std::as_const(apps))
        names.append(app.names.value(u"en"_s));
    QTEST(names, "apps");
}

void TestProjectFile::names_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<Texts>("texts");

    QTest::newRow("empty object") << "{}"_ba << true << Texts{};
    QTest::newRow("text") << "{\"en\":\"x\"}"_ba << true << english(u"x"_s);
    QTest::newRow("spaces") << " { \"en\" : \"x\" } "_ba << true << english(u"x"_s);
    QTest::newRow("space after a comma") << "{\"de\":\"y\", \"en\":\"x\"}"_ba << true
                                         << Texts{{u"de"_s, u"y"_s}, {u"en"_s, u"x"_s}};
    QTest::newRow("three parts") << "{\"en\":\"x\":\"y\"}"_ba << false << Texts{};
    QTest::newRow("code without a text") << "{\"en\":\"x\",\"de\"}"_ba << false << Texts{};
    QTest::newRow("nothing but quotes") << "{\"\"}"_ba << false << Texts{};
    QTest::newRow("empty text") << "{\"en\":\"\"}"_ba << true << english(QString());
    QTest::newRow("two of a code") << "{\"en\":\"x\",\"en\":\"y\"}"_ba << true << english(u"y"_s);
    QTest::newRow("escapes") << R"({"en":"a\"\\\u00e9\n"})"_ba << true << english(u"a\"\\é\n"_s);
    QTest::newRow("number") << "{\"en\":5}"_ba << true << english(u"5"_s);
    QTest::newRow("fraction") << "{\"en\":1.5}"_ba << true << english(u"1.5"_s);
    QTest::newRow("truth") << "{\"en\":true}"_ba << true << english(u"true"_s);
    QTest::newRow("null") << "{\"en\":null}"_ba << true << english(QString());
    QTest::newRow("array") << "{\"en\":[\"x\"]}"_ba << true << english(QString());
    QTest::newRow("object") << "{\"en\":{\"x\":1}}"_ba << true << english(QString());
    QTest::newRow("top-level array") << "[1,2]"_ba << true << Texts{};
    QTest::newRow("top-level text") << "\"x\""_ba << false << Texts{};
    QTest::newRow("top-level number") << "5"_ba << false << Texts{};
    QTest::newRow("trailing text") << "{} x"_ba << false << Texts{};
    QTest::newRow("trailing comma") << "{\"en\":\"x\",}"_ba << false << Texts{};
}

void TestProjectFile::names()
{
    QFETCH(QByteArray, cell);
    QFETCH(bool, loaded);
    QFETCH(Texts, texts);
    const Folder folder;
    folder.write(file(), cell + ";;;;;{};\n");
    folder.write(u"descriptions.csv"_s, "{};;;;;" + cell + ";\n");

    QList<AppConfig> apps;
    QCOMPARE(static_cast<bool>(readProject(folder.path(file()), &apps)), loaded);
    QCOMPARE(apps.size(), loaded ? 1 : 0);
    QCOMPARE(apps.value(0).names, texts);
    QCOMPARE(static_cast<bool>(readProject(folder.path(u"descriptions.csv"_s), &apps)), loaded);
    QCOMPARE(apps.size(), loaded ? 1 : 0);
    QCOMPARE(apps.value(0).descriptions, texts);
}

void TestProjectFile::author_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QString>("author");
    QTest::newRow("empty") << QByteArray() << QString();
    QTest::newRow("spaces are kept") << "  A B "_ba << u"  A B "_s;
    QTest::newRow("quotes are kept") << "\"A\""_ba << u"\"A\""_s;
    QTest::newRow("UTF-8") << "Tom\xC3\xA1\xC5\xA1"_ba << u"Tomáš"_s;
}

void TestProjectFile::author()
{
    QFETCH(QByteArray, cell);
    const AppConfig app = readLine("{};" + cell + ";;;;{};;" + cell + "\n");
    QTEST(app.author, "author");
    QTEST(app.icon, "author");
}

void TestProjectFile::versions_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QVersionNumber>("version");
    QTest::newRow("empty") << QByteArray() << QVersionNumber();
    QTest::newRow("plain") << "1.2.3"_ba << QVersionNumber(1, 2, 3);
    QTest::newRow("quoted") << "\"1.2\""_ba << QVersionNumber(1, 2);
    QTest::newRow("padded and quoted") << "\"1.02\""_ba << QVersionNumber(1, 2);
    QTest::newRow("quotes inside") << "1\"\".\"2"_ba << QVersionNumber(1, 2);
    QTest::newRow("one segment") << "7"_ba << QVersionNumber(7);
    QTest::newRow("suffix") << "2.1rc1"_ba << QVersionNumber(2, 1);
    QTest::newRow("text") << "beta"_ba << QVersionNumber();
    QTest::newRow("negative") << "-1"_ba << QVersionNumber();
    QTest::newRow("out of range") << "99999999999"_ba << QVersionNumber();
}

void TestProjectFile::versions()
{
    QFETCH(QByteArray, cell);
    const AppConfig app = readLine("{};;" + cell + ";;;{};;;" + cell + "\n");
    QTEST(app.version, "version");
    QTEST(app.minTxVersion, "version");
}

void TestProjectFile::hardware_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QList<int>>("ids");
    QTest::newRow("empty") << QByteArray() << QList<int>{0};
    QTest::newRow("one") << "674"_ba << QList<int>{674};
    QTest::newRow("two") << "678,3859"_ba << QList<int>{678, 3859};
    QTest::newRow("duplicates and order") << "3859,678,3859"_ba << QList<int>{3859, 678, 3859};
    QTest::newRow("empty parts") << ",1,,"_ba << QList<int>{0, 1, 0, 0};
    QTest::newRow("not a number") << "KR-7,674"_ba << QList<int>{0, 674};
    QTest::newRow("fraction") << "1.5"_ba << QList<int>{0};
    QTest::newRow("hexadecimal") << "0x10"_ba << QList<int>{0};
    QTest::newRow("largest") << "2147483647"_ba << QList<int>{2147483647};
    QTest::newRow("too large") << "2147483648"_ba << QList<int>{0};
    QTest::newRow("negative") << "-5"_ba << QList<int>{-5};
    QTest::newRow("too small") << "-2147483649"_ba << QList<int>{0};
}

void TestProjectFile::hardware()
{
    QFETCH(QByteArray, cell);
    QTEST(readLine("{};;;" + cell + ";;{};\n").hardware, "ids");
}

void TestProjectFile::dates_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QDate>("date");
    QTest::newRow("empty") << QByteArray() << QDate();
    QTest::newRow("as written") << "05-03-2024"_ba << QDate(2024, 3, 5);
    QTest::newRow("trimmed") << " \t05-03-2024 "_ba << QDate(2024, 3, 5);
    QTest::newRow("ISO 8601") << "2024-03-05"_ba << QDate(2024, 3, 5);
    QTest::newRow("text") << "Tue Mar 5 2024"_ba << QDate(2024, 3, 5);
    QTest::newRow("RFC 2822") << "5 Mar 2024"_ba << QDate(2024, 3, 5);
    QTest::newRow("no such day") << "31-02-2024"_ba << QDate();
    QTest::newRow("not a date") << "tomorrow"_ba << QDate();
}

void TestProjectFile::dates()
{
    QFETCH(QByteArray, cell);
    QTEST(readLine("{};;;;" + cell + ";{};\n").date, "date");
}

void TestProjectFile::files_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QStringList>("files");
    const QString a = u"a.lua"_s;
    QTest::newRow("empty") << QByteArray() << QStringList{};
    QTest::newRow("spaces") << "  \t"_ba << QStringList{};
    QTest::newRow("one") << "a.lua"_ba << QStringList{a};
    QTest::newRow("outer spaces are removed") << " a.lua "_ba << QStringList{a};
    QTest::newRow("inner spaces are kept") << "a.lua , b c"_ba << QStringList{u"a.lua "_s, u" b c"_s};
    QTest::newRow("empty parts") << ",a.lua,"_ba << QStringList{QString(), a, QString()};
    QTest::newRow("duplicates") << "a.lua,a.lua"_ba << QStringList{a, a};
}

void TestProjectFile::files()
{
    QFETCH(QByteArray, cell);
    QTEST(readLine("{};;;;;{};" + cell + "\n").files, "files");
}

void TestProjectFile::optionalCells_data()
{
    QTest::addColumn<QByteArray>("cells");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<QVersionNumber>("minTxVersion");
    QTest::newRow("7 cells") << QByteArray() << QString() << QVersionNumber();
    QTest::newRow("8 cells") << ";a.png"_ba << u"a.png"_s << QVersionNumber();
    QTest::newRow("9 cells") << ";a.png;5.03"_ba << u"a.png"_s << QVersionNumber(5, 3);
    QTest::newRow("12 cells") << ";a.png;5.03;1;2;3"_ba << u"a.png"_s << QVersionNumber(5, 3);
}

void TestProjectFile::optionalCells()
{
    QFETCH(QByteArray, cells);
    const AppConfig app = readLine("{};;;;;{};x" + cells + "\n");
    QTEST(app.icon, "icon");
    QTEST(app.minTxVersion, "minTxVersion");
    QCOMPARE(app.files, QStringList{u"x"_s});
}

void TestProjectFile::cannotOpen_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("missing") << u"missing.csv"_s;
    QTest::newRow("folder") << u"folder"_s;
    QTest::newRow("not allowed") << u"secret.csv"_s;
    QTest::newRow("no name") << QString();
}

void TestProjectFile::cannotOpen()
{
    QFETCH(QString, path);
    const Folder folder;
    folder.makeFolder(u"folder"_s);
    folder.write(u"secret.csv"_s, GOOD_LINE);
    QVERIFY(QFile::setPermissions(folder.path(u"secret.csv"_s), QFile::WriteOwner));
    const OrdinaryUser user;

    QList<AppConfig> apps{AppConfig(), AppConfig()};
    QVERIFY(!readProject(path.isEmpty() ? path : folder.path(path), &apps));
    QCOMPARE(apps.size(), 2);
}

void TestProjectFile::writesCells_data()
{
    QTest::addColumn<AppConfig>("app");
    QTest::addColumn<QByteArray>("line");

    const auto row = [](const char *name, const QByteArray &line, auto change) {
        AppConfig app;
        change(app);
        QTest::newRow(name) << app << line;
    };
    row("nothing", "{};;;;;{};;;0.00\n", [](AppConfig &) {});
    row("ids", "{};;;678,3859;;{};;;0.00\n", [](AppConfig &app) { app.hardware = {678, 3859}; });
    row("id 0", "{};;;0;;{};;;0.00\n", [](AppConfig &app) { app.hardware = {0}; });
    row("version", "{};;1.2.3.4;;;{};;;0.00\n", [](AppConfig &app) { app.version = QVersionNumber({1, 2, 3, 4}); });
    row("minimum version", "{};;;;;{};;;4.10\n", [](AppConfig &app) { app.minTxVersion = QVersionNumber(4, 10, 2); });
    row("minimum version, padded", "{};;;;;{};;;5.03\n",
        [](AppConfig &app) { app.minTxVersion = QVersionNumber(5, 3); });
    row("date", "{};;;;09-11-0795;{};;;0.00\n", [](AppConfig &app) { app.date = QDate(795, 11, 9); });
    row("order of codes", "{\"de\":\"b\",\"en\":\"a\",\"it\":\"\"};;;;;{};;;0.00\n", [](AppConfig &app) {
        app.names = {{u"it"_s, QString()}, {u"en"_s, u"a"_s}, {u"de"_s, u"b"_s}};
    });
    row("escapes in names", "{\"en\":\"a\\\"\\\\\\n/\xC3\xA9\"};;;;;{};;;0.00\n",
        [](AppConfig &app) { app.names = english(u"a\"\\\n/é"_s); });
    row("nothing is quoted", "{};\"a;b\",c;;;;{};x,y z;i;j;0.00\n", [](AppConfig &app) {
        app.author = u"\"a;b\",c"_s;
        app.files = QStringList{u"x"_s, u"y z"_s};
        app.icon = u"i;j"_s;
    });
}

void TestProjectFile::writesCells()
{
    QFETCH(AppConfig, app);
    QFETCH(QByteArray, line);
    const Folder folder;
    QVERIFY(replaceFile(folder.path(file()), projectContent({app})));
    QCOMPARE(folder.read(file()), HEADER + line);
    QVERIFY(replaceFile(folder.path(file()), projectContent({})));
    QCOMPARE(folder.read(file()), HEADER);
}

void TestProjectFile::writesNamesAsQtDoes()
{
    const QString odd = u"aZ;\"\\/\b\n\x1f \x7fé日\u2028\ufeff\uffff😀"_s;
    QRandomGenerator random(6);
    const auto text = [&] {
        QString made;
        for (quint32 length = random.bounded(4U); length > 0; --length)
            made += random.bounded(2) == 0 ? odd.at(random.bounded(static_cast<int>(odd.size()))) : QChar(u'b');
        return made;
    };
    for (int round = 0; round < 10'000; ++round) {
        AppConfig app;
        QJsonObject object;
        for (quint32 count = random.bounded(4U); count > 0; --count) {
            const QString key = text();
            app.names.insert(key, text());
            object.insert(key, app.names.value(key));
        }
        QCOMPARE(projectContent({app}),
                 HEADER + QJsonDocument(object).toJson(QJsonDocument::Compact) + ";;;;;{};;;0.00\n");
    }
}

void TestProjectFile::savingAgainChangesNothing()
{
    const Folder folder;
    folder.write(file(), "{\"fr\":\"x\",\"de\":\"y\"};A;\"1.02\";KR-7,674;2024-03-05;{}; a , b ;i;4.10.2;extra\n");
    const QByteArray once = HEADER + "{\"de\":\"y\",\"fr\":\"x\"};A;1.2;0,674;05-03-2024;{};a , b;i;4.10\n";
    for (int round = 0; round < 2; ++round) {
        QList<AppConfig> apps;
        QVERIFY(readProject(folder.path(file()), &apps));
        QVERIFY(replaceFile(folder.path(file()), projectContent(apps)));
        QCOMPARE(folder.read(file()), once);
    }
}

void TestProjectFile::savesExampleUnchanged()
{
    const QString example = u"" CATALIST_SOURCE_DIR "/examples/catalogue/Apps.csv"_s;
    QList<AppConfig> apps;
    QVERIFY(readProject(example, &apps));
    QVERIFY(apps.size() >= 4);

    const Folder folder;
    QVERIFY(replaceFile(folder.path(file()), projectContent(apps)));
    QCOMPARE(folder.read(file()), readFile(example));
}

void TestProjectFile::cannotSave()
{
    const Folder folder;
    folder.makeFolder(u"folder"_s);
    QVERIFY(!replaceFile(folder.path(u"folder"_s), projectContent({})));
    QVERIFY(!replaceFile(folder.path(u"missing/Apps.csv"_s), projectContent({})));
    QVERIFY(!replaceFile(QString(), projectContent({})));
    QCOMPARE(folder.entries(), QStringList{u"folder"_s});
}

CATALIST_TEST(TestProjectFile)
#include "tst_projectfile.moc"
