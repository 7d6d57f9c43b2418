#include "io/csv.h"

#include "folder.h"
#include "testrunner.h"

#include <QLocale>
#include <QTest>
#include <QTextStream>

class TestCsv : public QObject
{
    Q_OBJECT

private slots:
    void rows_data();
    void rows();
    void rowIsEmptiedAtTheEnd();
    void longLine();
    void parses_data();
    void parses();
    void writes_data();
    void writes();
    void replacesLongerFile();
    void cannotOpen();
    void dates_data();
    void dates();
};

void TestCsv::rows_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<QStringList>>("expected");

    QTest::newRow("nothing") << QString() << QList<QStringList>{};
    QTest::newRow("empty cell") << QStringLiteral("a;;b")
                                << QList<QStringList>{{QStringLiteral("a"), QString(), QStringLiteral("b")}};
    QTest::newRow("quotes are text") << QStringLiteral("\"x;y\"")
                                     << QList<QStringList>{{QStringLiteral("\"x"), QStringLiteral("y\"")}};
    QTest::newRow("empty line") << QStringLiteral("a\n\nb\n")
                                << QList<QStringList>{{QStringLiteral("a")}, {QString()}, {QStringLiteral("b")}};
    QTest::newRow("separator at the end")
        << QStringLiteral("a;\n") << QList<QStringList>{{QStringLiteral("a"), QString()}};
    QTest::newRow("no line end") << QStringLiteral("a\nb")
                                 << QList<QStringList>{{QStringLiteral("a")}, {QStringLiteral("b")}};
    QTest::newRow("CR LF") << QStringLiteral("a;b\r\nc\r\n")
                           << QList<QStringList>{{QStringLiteral("a"), QStringLiteral("b")}, {QStringLiteral("c")}};
    QTest::newRow("only a line end") << QStringLiteral("\n") << QList<QStringList>{{QString()}};
}

void TestCsv::rows()
{
    QFETCH(QString, text);
    QFETCH(QList<QStringList>, expected);

    QTextStream stream(&text);
    QStringList row{QStringLiteral("left over")};
    QList<QStringList> result;
    while (readCSVRow(stream, &row))
        result.append(row);
    QCOMPARE(result, expected);
}

void TestCsv::rowIsEmptiedAtTheEnd()
{
    QString text;
    QTextStream stream(&text);
    QStringList row{QStringLiteral("left over")};
    QVERIFY(!readCSVRow(stream, &row));
    QVERIFY(row.isEmpty());
}

void TestCsv::longLine()
{
    QString text = QString(3'000'000, QLatin1Char('x')) + QStringLiteral(";y\nz");
    QTextStream stream(&text);
    QStringList row;
    QVERIFY(readCSVRow(stream, &row));
    QCOMPARE(row.size(), 2);
    QCOMPARE(row.at(0).size(), 3'000'000);
    QVERIFY(readCSVRow(stream, &row));
    QCOMPARE(row, QStringList{QStringLiteral("z")});
}

void TestCsv::parses_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("fields");

    const QString a = QStringLiteral("a");
    const QString b = QStringLiteral("b");
    QTest::newRow("empty line") << QString() << QStringList{};
    QTest::newRow("separator in quotes") << QStringLiteral("a;\"b;c\";d")
                                         << QStringList{a, QStringLiteral("b;c"), QStringLiteral("d")};
    QTest::newRow("doubled quote") << QStringLiteral("\"a\"\"b\"") << QStringList{QStringLiteral("a\"b")};
    QTest::newRow("single separator") << QStringLiteral(";") << QStringList{QString()};
    QTest::newRow("empty field at the end is dropped") << QStringLiteral("a;b;") << QStringList{a, b};
    QTest::newRow("quoted empty field at the end is dropped") << QStringLiteral("a;\"\"") << QStringList{a};
    QTest::newRow("empty field in the middle") << QStringLiteral("a;;b") << QStringList{a, QString(), b};
    QTest::newRow("quoted empty field in the middle") << QStringLiteral("a;\"\";b") << QStringList{a, QString(), b};
    QTest::newRow("quotes inside of a field") << QStringLiteral("x\"y;z\"w") << QStringList{QStringLiteral("xy;zw")};
    QTest::newRow("open quote at the end") << QStringLiteral("a;\"b") << QStringList{a, b};
    QTest::newRow("doubled quote at the end inside") << QStringLiteral("\"a\"\"") << QStringList{QStringLiteral("a\"")};
    QTest::newRow("quote as the last character inside") << QStringLiteral("\"a\"") << QStringList{a};
    QTest::newRow("doubled quote outside opens and closes")
        << QStringLiteral("a\"\"b") << QStringList{QStringLiteral("ab")};
    QTest::newRow("three quotes then text") << QStringLiteral("\"\"\"a") << QStringList{QStringLiteral("\"a")};
    QTest::newRow("only quotes") << QStringLiteral("\"\"") << QStringList{};
    QTest::newRow("line ends are text") << QStringLiteral("a\r\n;b") << QStringList{QStringLiteral("a\r\n"), b};
}

void TestCsv::parses()
{
    QFETCH(QString, line);
    QTEST(parseCSV(line), "fields");
}

void TestCsv::writes_data()
{
    QTest::addColumn<QList<QStringList>>("rows");
    QTest::addColumn<QByteArray>("bytes");

    const auto cell = [](const char *text) { return QList<QStringList>{{QString::fromUtf8(text)}}; };
    QTest::newRow("no rows") << QList<QStringList>{} << QByteArray();
    QTest::newRow("row without fields") << QList<QStringList>{{}} << QByteArray("\r\n");
    QTest::newRow("two rows") << QList<QStringList>{{QStringLiteral("a"), QStringLiteral("b")}, {QStringLiteral("c")}}
                              << QByteArray("a;b\r\nc\r\n");
    QTest::newRow("comma") << cell("1,5") << QByteArray("\"1,5\"\r\n");
    QTest::newRow("quotes") << cell("say \"hi\"") << QByteArray("say \xE2\x80\x9Dhi\xE2\x80\x9D\r\n");
    QTest::newRow("comma and quote") << cell("a,\"b") << QByteArray("\"a,\"b\"\r\n");
    QTest::newRow("semicolon") << cell("a;b") << QByteArray("a;b\r\n");
    QTest::newRow("CR LF") << cell("a\r\nb") << QByteArray("\"a\r\nb\"\r\n");
    QTest::newRow("lone LF") << cell("a\nb") << QByteArray("a\nb\r\n");
    QTest::newRow("lone CR") << cell("a\rb") << QByteArray("a\rb\r\n");
    QTest::newRow("LF CR") << cell("a\n\rb") << QByteArray("a\n\rb\r\n");
    QTest::newRow("UTF-8") << cell("H\xC3\xB6he \xF0\x9F\x9B\xA9") << QByteArray("H\xC3\xB6he \xF0\x9F\x9B\xA9\r\n");
}

void TestCsv::writes()
{
    QFETCH(QList<QStringList>, rows);
    QFETCH(QByteArray, bytes);
    const Folder folder;
    QVERIFY(writeCSV(rows, folder.path(QStringLiteral("out.csv"))));
    QCOMPARE(folder.read(QStringLiteral("out.csv")), bytes);
}

void TestCsv::replacesLongerFile()
{
    const Folder folder;
    folder.write(QStringLiteral("out.csv"), "something longer than the new content");
    QVERIFY(writeCSV({{QStringLiteral("a")}}, folder.path(QStringLiteral("out.csv"))));
    QCOMPARE(folder.read(QStringLiteral("out.csv")), QByteArray("a\r\n"));
}

void TestCsv::cannotOpen()
{
    const Folder folder;
    QVERIFY(!writeCSV({{QStringLiteral("a")}}, folder.path()));
    QVERIFY(!writeCSV({{QStringLiteral("a")}}, folder.path(QStringLiteral("missing/out.csv"))));
    QVERIFY(folder.entries().isEmpty());
}

void TestCsv::dates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDate>("date");

    QTest::newRow("as written") << QStringLiteral("05-03-2024") << QDate(2024, 3, 5);
    QTest::newRow("ISO 8601") << QStringLiteral("2024-03-05") << QDate(2024, 3, 5);
    QTest::newRow("RFC 2822") << QStringLiteral("20 May 1995") << QDate(1995, 5, 20);
    QTest::newRow("RFC 2822 with weekday") << QStringLiteral("Sat, 20 May 1995") << QDate(1995, 5, 20);
    QTest::newRow("text") << QStringLiteral("Sat May 20 1995") << QDate(1995, 5, 20);
    QTest::newRow("locale, long") << QLocale::system().toString(QDate(1995, 5, 20), QLocale::LongFormat)
                                  << QDate(1995, 5, 20);
    QTest::newRow("empty") << QString() << QDate();
    QTest::newRow("no date") << QStringLiteral("soon") << QDate();
    QTest::newRow("no such day") << QStringLiteral("30-02-2024") << QDate();
    QTest::newRow("leap day") << QStringLiteral("29-02-2024") << QDate(2024, 2, 29);
    QTest::newRow("not trimmed") << QStringLiteral(" 05-03-2024") << QDate();
    QTest::newRow("one digit") << QStringLiteral("5-3-2024") << QDate();
}

void TestCsv::dates()
{
    QFETCH(QString, text);
    QTEST(toDate(text), "date");
}

CATALIST_TEST(TestCsv)
#include "tst_csv.moc"
