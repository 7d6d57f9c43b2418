#include "io/projectfile.h"

#include "folder.h"
#include "projectdata.h"
#include "testrunner.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>

namespace {

const QByteArray GOOD_LINE = "{\"en\":\"Good\"};;;;;{};\n";

QString file()
{
    return QStringLiteral("Apps.csv");
}

using Texts = QMap<QString, QString>;

Texts english(const QString &text)
{
    return {{QStringLiteral("en"), text}};
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
    void writesNamesAsTheToolkitDoes();
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
    expected.names = {{QStringLiteral("cz"), QStringLiteral("Výškoměr")},
                      {QStringLiteral("en"), QStringLiteral("Alti\"meter\"")}};
    expected.author = QStringLiteral("Björn");
    expected.version = QVersionNumber(1, 4, 2);
    expected.hardware = {678, 3859};
    expected.date = QDate(2024, 3, 5);
    expected.descriptions = {{QStringLiteral("de"), QStringLiteral("doc/de.html")},
                             {QStringLiteral("en"), QStringLiteral("doc/en.html")}};
    expected.files = QStringList{QStringLiteral("Lua/main.lua"), QStringLiteral("img")};
    expected.icon = QStringLiteral("icons/a.png");
    expected.minTxVersion = QVersionNumber(5, 3);

    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(file()), &apps));
    QCOMPARE(apps.size(), 1);
    QVERIFY(apps.constFirst() == expected);

    QVERIFY(writeProject(folder.path(QStringLiteral("copy.csv")), {expected}));
    QCOMPARE(folder.read(QStringLiteral("copy.csv")), HEADER + line);
}

void TestProjectFile::newRecord()
{
    const Folder folder;
    AppConfig app;
    app.names = english(QStringLiteral("[New App]"));
    QVERIFY(writeProject(folder.path(file()), {app}));
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

    const QString good = QStringLiteral("Good");
    QTest::newRow("empty file") << QByteArray() << true << QStringList{};
    QTest::newRow("header only") << HEADER << true << QStringList{};
    QTest::newRow("header without line end") << HEADER.chopped(1) << true << QStringList{};
    QTest::newRow("no header") << GOOD_LINE + GOOD_LINE << true << QStringList{good, good};
    QTest::newRow("header in the middle") << GOOD_LINE + HEADER + GOOD_LINE << true << QStringList{good, good};
    QTest::newRow("any row that begins with NAME")
        << QByteArray("NAME\nNAME;x\n") + GOOD_LINE << true << QStringList{good};
    QTest::newRow("header in lower case") << HEADER.toLower() + GOOD_LINE << false << QStringList{};
    QTest::newRow("no line end at the end") << HEADER + GOOD_LINE.chopped(1) << true << QStringList{good};
    QTest::newRow("CR LF") << QByteArray(HEADER + GOOD_LINE).replace("\n", "\r\n") << true << QStringList{good};
    QTest::newRow("byte-order mark") << "\xEF\xBB\xBF" + HEADER + GOOD_LINE << true << QStringList{good};
    QTest::newRow("only a byte-order mark") << QByteArray("\xEF\xBB\xBF") << false << QStringList{};
    QTest::newRow("blank line") << GOOD_LINE + "\n" + GOOD_LINE << false << QStringList{good};
    QTest::newRow("blank line at the end") << GOOD_LINE + "\n" << false << QStringList{good};
    QTest::newRow("6 cells") << GOOD_LINE + "{};;;;;{}\n" + GOOD_LINE << false << QStringList{good};
    QTest::newRow("7 cells") << QByteArray("{\"en\":\"Good\"};;;;;{};\n") << true << QStringList{good};
    QTest::newRow("8 cells") << QByteArray("{\"en\":\"Good\"};;;;;{};;\n") << true << QStringList{good};
    QTest::newRow("9 cells") << QByteArray("{\"en\":\"Good\"};;;;;{};;;\n") << true << QStringList{good};
    QTest::newRow("12 cells") << QByteArray("{\"en\":\"Good\"};;;;;{};;;5.01;x;y;z\n") << true << QStringList{good};
    QTest::newRow("broken names in the middle")
        << GOOD_LINE + "{\"en\":;;;;;{};\n" + GOOD_LINE << false << QStringList{good};
    QTest::newRow("broken descriptions") << GOOD_LINE + "{};;;;;{\"en\";\n" + GOOD_LINE << false << QStringList{good};
    QTest::newRow("empty names") << GOOD_LINE + ";;;;;{};\n" << false << QStringList{good};
    QTest::newRow("empty descriptions") << GOOD_LINE + "{};;;;;;\n" << false << QStringList{good};
    QTest::newRow("semicolon in a name") << QByteArray("{\"en\":\"a;b\"};;;;;{};\n") << false << QStringList{};
}

void TestProjectFile::counts()
{
    QFETCH(QByteArray, content);
    const Folder folder;
    folder.write(file(), content);

    QList<AppConfig> apps{AppConfig(), AppConfig()};
    QTEST(readProject(folder.path(file()), &apps), "loaded");
    QStringList names;
    for (const AppConfig &app : std::as_const(apps))
        names.append(app.names.value(QStringLiteral("en")));
    QTEST(names, "apps");
}

void TestProjectFile::names_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<Texts>("texts");

    QTest::newRow("empty object") << QByteArray("{}") << true << Texts{};
    QTest::newRow("text") << QByteArray("{\"en\":\"x\"}") << true << english(QStringLiteral("x"));
    QTest::newRow("blanks") << QByteArray(" { \"en\" : \"x\" } ") << true << english(QStringLiteral("x"));
    QTest::newRow("blank after a comma") << QByteArray("{\"de\":\"y\", \"en\":\"x\"}") << true
                                         << Texts{{QStringLiteral("de"), QStringLiteral("y")},
                                                  {QStringLiteral("en"), QStringLiteral("x")}};
    QTest::newRow("three parts") << QByteArray("{\"en\":\"x\":\"y\"}") << false << Texts{};
    QTest::newRow("code without a text") << QByteArray("{\"en\":\"x\",\"de\"}") << false << Texts{};
    QTest::newRow("nothing but quotes") << QByteArray("{\"\"}") << false << Texts{};
    QTest::newRow("empty text") << QByteArray("{\"en\":\"\"}") << true << english(QString());
    QTest::newRow("two of a code") << QByteArray("{\"en\":\"x\",\"en\":\"y\"}") << true << english(QStringLiteral("y"));
    QTest::newRow("escapes") << QByteArray(R"({"en":"a\"\\\u00e9\n"})") << true << english(QStringLiteral("a\"\\é\n"));
    QTest::newRow("number") << QByteArray("{\"en\":5}") << true << english(QStringLiteral("5"));
    QTest::newRow("fraction") << QByteArray("{\"en\":1.5}") << true << english(QStringLiteral("1.5"));
    QTest::newRow("truth") << QByteArray("{\"en\":true}") << true << english(QStringLiteral("true"));
    QTest::newRow("null") << QByteArray("{\"en\":null}") << true << english(QString());
    QTest::newRow("array") << QByteArray("{\"en\":[\"x\"]}") << true << english(QString());
    QTest::newRow("object") << QByteArray("{\"en\":{\"x\":1}}") << true << english(QString());
    QTest::newRow("top-level array") << QByteArray("[1,2]") << true << Texts{};
    QTest::newRow("top-level text") << QByteArray("\"x\"") << false << Texts{};
    QTest::newRow("top-level number") << QByteArray("5") << false << Texts{};
    QTest::newRow("trailing text") << QByteArray("{} x") << false << Texts{};
    QTest::newRow("trailing comma") << QByteArray("{\"en\":\"x\",}") << false << Texts{};
}

void TestProjectFile::names()
{
    QFETCH(QByteArray, cell);
    QFETCH(bool, loaded);
    QFETCH(Texts, texts);
    const Folder folder;
    folder.write(file(), cell + ";;;;;{};\n");
    folder.write(QStringLiteral("descriptions.csv"), "{};;;;;" + cell + ";\n");

    QList<AppConfig> apps;
    QCOMPARE(readProject(folder.path(file()), &apps), loaded);
    QCOMPARE(apps.size(), loaded ? 1 : 0);
    QCOMPARE(apps.value(0).names, texts);
    QCOMPARE(readProject(folder.path(QStringLiteral("descriptions.csv")), &apps), loaded);
    QCOMPARE(apps.size(), loaded ? 1 : 0);
    QCOMPARE(apps.value(0).descriptions, texts);
}

void TestProjectFile::author_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QString>("author");
    QTest::newRow("empty") << QByteArray() << QString();
    QTest::newRow("blanks stay") << QByteArray("  A B ") << QStringLiteral("  A B ");
    QTest::newRow("quotes stay") << QByteArray("\"A\"") << QStringLiteral("\"A\"");
    QTest::newRow("UTF-8") << QByteArray("Tom\xC3\xA1\xC5\xA1") << QStringLiteral("Tomáš");
}

void TestProjectFile::author()
{
    QFETCH(QByteArray, cell);
    const Folder folder;
    folder.write(file(), "{};" + cell + ";;;;{};;" + cell + "\n");
    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(file()), &apps));
    QTEST(apps.constFirst().author, "author");
    QTEST(apps.constFirst().icon, "author");
}

void TestProjectFile::versions_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QVersionNumber>("version");
    QTest::newRow("empty") << QByteArray() << QVersionNumber();
    QTest::newRow("plain") << QByteArray("1.2.3") << QVersionNumber(1, 2, 3);
    QTest::newRow("quoted") << QByteArray("\"1.2\"") << QVersionNumber(1, 2);
    QTest::newRow("padded and quoted") << QByteArray("\"1.02\"") << QVersionNumber(1, 2);
    QTest::newRow("quotes inside") << QByteArray("1\"\".\"2") << QVersionNumber(1, 2);
    QTest::newRow("one segment") << QByteArray("7") << QVersionNumber(7);
    QTest::newRow("suffix") << QByteArray("2.1rc1") << QVersionNumber(2, 1);
    QTest::newRow("text") << QByteArray("beta") << QVersionNumber();
    QTest::newRow("negative") << QByteArray("-1") << QVersionNumber();
    QTest::newRow("out of range") << QByteArray("99999999999") << QVersionNumber();
}

void TestProjectFile::versions()
{
    QFETCH(QByteArray, cell);
    const Folder folder;
    folder.write(file(), "{};;" + cell + ";;;{};;;" + cell + "\n");
    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(file()), &apps));
    QTEST(apps.constFirst().version, "version");
    QTEST(apps.constFirst().minTxVersion, "version");
}

void TestProjectFile::hardware_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QList<int>>("ids");
    QTest::newRow("empty") << QByteArray() << QList<int>{0};
    QTest::newRow("one") << QByteArray("674") << QList<int>{674};
    QTest::newRow("two") << QByteArray("678,3859") << QList<int>{678, 3859};
    QTest::newRow("duplicates and order") << QByteArray("3859,678,3859") << QList<int>{3859, 678, 3859};
    QTest::newRow("empty parts") << QByteArray(",1,,") << QList<int>{0, 1, 0, 0};
    QTest::newRow("not a number") << QByteArray("KR-7,674") << QList<int>{0, 674};
    QTest::newRow("fraction") << QByteArray("1.5") << QList<int>{0};
    QTest::newRow("hexadecimal") << QByteArray("0x10") << QList<int>{0};
    QTest::newRow("largest") << QByteArray("2147483647") << QList<int>{2147483647};
    QTest::newRow("too large") << QByteArray("2147483648") << QList<int>{0};
    QTest::newRow("negative") << QByteArray("-5") << QList<int>{-5};
    QTest::newRow("too small") << QByteArray("-2147483649") << QList<int>{0};
}

void TestProjectFile::hardware()
{
    QFETCH(QByteArray, cell);
    const Folder folder;
    folder.write(file(), "{};;;" + cell + ";;{};\n");
    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(file()), &apps));
    QTEST(apps.constFirst().hardware, "ids");
}

void TestProjectFile::dates_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QDate>("date");
    QTest::newRow("empty") << QByteArray() << QDate();
    QTest::newRow("as written") << QByteArray("05-03-2024") << QDate(2024, 3, 5);
    QTest::newRow("trimmed") << QByteArray(" \t05-03-2024 ") << QDate(2024, 3, 5);
    QTest::newRow("ISO 8601") << QByteArray("2024-03-05") << QDate(2024, 3, 5);
    QTest::newRow("text") << QByteArray("Tue Mar 5 2024") << QDate(2024, 3, 5);
    QTest::newRow("RFC 2822") << QByteArray("5 Mar 2024") << QDate(2024, 3, 5);
    QTest::newRow("no such day") << QByteArray("31-02-2024") << QDate();
    QTest::newRow("not a date") << QByteArray("tomorrow") << QDate();
}

void TestProjectFile::dates()
{
    QFETCH(QByteArray, cell);
    const Folder folder;
    folder.write(file(), "{};;;;" + cell + ";{};\n");
    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(file()), &apps));
    QTEST(apps.constFirst().date, "date");
}

void TestProjectFile::files_data()
{
    QTest::addColumn<QByteArray>("cell");
    QTest::addColumn<QStringList>("files");
    const QString a = QStringLiteral("a.lua");
    QTest::newRow("empty") << QByteArray() << QStringList{};
    QTest::newRow("blanks") << QByteArray("  \t") << QStringList{};
    QTest::newRow("one") << QByteArray("a.lua") << QStringList{a};
    QTest::newRow("outer blanks go") << QByteArray(" a.lua ") << QStringList{a};
    QTest::newRow("inner blanks stay") << QByteArray("a.lua , b c")
                                       << QStringList{QStringLiteral("a.lua "), QStringLiteral(" b c")};
    QTest::newRow("empty parts") << QByteArray(",a.lua,") << QStringList{QString(), a, QString()};
    QTest::newRow("duplicates") << QByteArray("a.lua,a.lua") << QStringList{a, a};
}

void TestProjectFile::files()
{
    QFETCH(QByteArray, cell);
    const Folder folder;
    folder.write(file(), "{};;;;;{};" + cell + "\n");
    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(file()), &apps));
    QTEST(apps.constFirst().files, "files");
}

void TestProjectFile::optionalCells_data()
{
    QTest::addColumn<QByteArray>("cells");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<QVersionNumber>("minTxVersion");
    QTest::newRow("7 cells") << QByteArray() << QString() << QVersionNumber();
    QTest::newRow("8 cells") << QByteArray(";a.png") << QStringLiteral("a.png") << QVersionNumber();
    QTest::newRow("9 cells") << QByteArray(";a.png;5.03") << QStringLiteral("a.png") << QVersionNumber(5, 3);
    QTest::newRow("12 cells") << QByteArray(";a.png;5.03;1;2;3") << QStringLiteral("a.png") << QVersionNumber(5, 3);
}

void TestProjectFile::optionalCells()
{
    QFETCH(QByteArray, cells);
    const Folder folder;
    folder.write(file(), "{};;;;;{};x" + cells + "\n");
    QList<AppConfig> apps;
    QVERIFY(readProject(folder.path(file()), &apps));
    QTEST(apps.constFirst().icon, "icon");
    QTEST(apps.constFirst().minTxVersion, "minTxVersion");
    QCOMPARE(apps.constFirst().files, QStringList{QStringLiteral("x")});
}

void TestProjectFile::cannotOpen_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("missing") << QStringLiteral("missing.csv");
    QTest::newRow("folder") << QStringLiteral("folder");
    QTest::newRow("not allowed") << QStringLiteral("secret.csv");
    QTest::newRow("no name") << QString();
}

void TestProjectFile::cannotOpen()
{
    QFETCH(QString, path);
    const Folder folder;
    folder.makeFolder(QStringLiteral("folder"));
    folder.write(QStringLiteral("secret.csv"), GOOD_LINE);
    QVERIFY(QFile::setPermissions(folder.path(QStringLiteral("secret.csv")), QFile::WriteOwner));
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
        app.names = {{QStringLiteral("it"), QString()},
                     {QStringLiteral("en"), QStringLiteral("a")},
                     {QStringLiteral("de"), QStringLiteral("b")}};
    });
    row("escapes in names", "{\"en\":\"a\\\"\\\\\\n/\xC3\xA9\"};;;;;{};;;0.00\n",
        [](AppConfig &app) { app.names = english(QStringLiteral("a\"\\\n/é")); });
    row("nothing is quoted", "{};\"a;b\",c;;;;{};x,y z;i;j;0.00\n", [](AppConfig &app) {
        app.author = QStringLiteral("\"a;b\",c");
        app.files = QStringList{QStringLiteral("x"), QStringLiteral("y z")};
        app.icon = QStringLiteral("i;j");
    });
}

void TestProjectFile::writesCells()
{
    QFETCH(AppConfig, app);
    QFETCH(QByteArray, line);
    const Folder folder;
    QVERIFY(writeProject(folder.path(file()), {app}));
    QCOMPARE(folder.read(file()), HEADER + line);
    QVERIFY(writeProject(folder.path(file()), {}));
    QCOMPARE(folder.read(file()), HEADER);
}

void TestProjectFile::writesNamesAsTheToolkitDoes()
{
    const QString odd = QStringLiteral("aZ;\"\\/\b\n\x1f \x7fé日\u2028\ufeff\uffff😀");
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
        QVERIFY(writeProject(folder.path(file()), apps));
        QCOMPARE(folder.read(file()), once);
    }
}

void TestProjectFile::savesExampleUnchanged()
{
    const QString example = QStringLiteral(CATALIST_SOURCE_DIR "/examples/catalogue/Apps.csv");
    QList<AppConfig> apps;
    QVERIFY(readProject(example, &apps));
    QVERIFY(apps.size() >= 4);

    const Folder folder;
    QVERIFY(writeProject(folder.path(file()), apps));
    QCOMPARE(folder.read(file()), readFile(example));
}

void TestProjectFile::cannotSave()
{
    const Folder folder;
    folder.makeFolder(QStringLiteral("folder"));
    QVERIFY(!writeProject(folder.path(QStringLiteral("folder")), {}));
    QVERIFY(!writeProject(folder.path(QStringLiteral("missing/Apps.csv")), {}));
    QVERIFY(!writeProject(QString(), {}));
    QCOMPARE(folder.entries(), QStringList{QStringLiteral("folder")});
}

CATALIST_TEST(TestProjectFile)
#include "tst_projectfile.moc"
