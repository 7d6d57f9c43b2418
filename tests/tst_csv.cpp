#include "io/csv.h"

#include "folder.h"
#include "testrunner.h"

#include <QLocale>
#include <QTest>
#include <QTextStream>

using namespace Qt::StringLiterals;

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
    QTest::newRow("empty cell") << u"a;;b"_s << QList<QStringList>{{u"a"_s, QString(), u"b"_s}};
    QTest::newRow("quotes are text") << u"\"x;y\""_s << QList<QStringList>{{u"\"x"_s, u"y\""_s}};
    QTest::newRow("empty line") << u"a\n\nb\n"_s << QList<QStringList>{{u"a"_s}, {QString()}, {u"b"_s}};
    QTest::newRow("separator at the end") << u"a;\n"_s << QList<QStringList>{{u"a"_s, QString()}};
    QTest::newRow("no line end") << u"a\nb"_s << QList<QStringList>{{u"a"_s}, {u"b"_s}};
    QTest::newRow("CR LF") << u"a;b\r\nc\r\n"_s << QList<QStringList>{{u"a"_s, u"b"_s}, {u"c"_s}};
    QTest::newRow("only a line end") << u"\n"_s << QList<QStringList>{{QString()}};
}

void TestCsv::rows()
{
    QFETCH(QString, text);
    QFETCH(QList<QStringList>, expected);

    QTextStream stream(&text);
    QStringList row{u"left over"_s};
    QList<QStringList> result;
    while (readCSVRow(stream, &row))
        result.append(row);
    QCOMPARE(result, expected);
}

void TestCsv::rowIsEmptiedAtTheEnd()
{
    QString text;
    QTextStream stream(&text);
    QStringList row{u"left over"_s};
    QVERIFY(!readCSVRow(stream, &row));
    QVERIFY(row.isEmpty());
}

void TestCsv::longLine()
{
    QString text = QString(3'000'000, u'x') + u";y\nz"_s;
    QTextStream stream(&text);
    QStringList row;
    QVERIFY(readCSVRow(stream, &row));
    QCOMPARE(row.size(), 2);
    QCOMPARE(row.at(0).size(), 3'000'000);
    QVERIFY(readCSVRow(stream, &row));
    QCOMPARE(row, QStringList{u"z"_s});
}

void TestCsv::parses_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("fields");

    const QString a = u"a"_s;
    const QString b = u"b"_s;
    QTest::newRow("empty line") << QString() << QStringList{};
    QTest::newRow("separator in quotes") << u"a;\"b;c\";d"_s << QStringList{a, u"b;c"_s, u"d"_s};
    QTest::newRow("doubled quote") << u"\"a\"\"b\""_s << QStringList{u"a\"b"_s};
    QTest::newRow("single separator") << u";"_s << QStringList{QString()};
    QTest::newRow("empty field at the end is dropped") << u"a;b;"_s << QStringList{a, b};
    QTest::newRow("quoted empty field at the end is dropped") << u"a;\"\""_s << QStringList{a};
    QTest::newRow("empty field in the middle") << u"a;;b"_s << QStringList{a, QString(), b};
    QTest::newRow("quoted empty field in the middle") << u"a;\"\";b"_s << QStringList{a, QString(), b};
    QTest::newRow("quotes inside of a field") << u"x\"y;z\"w"_s << QStringList{u"xy;zw"_s};
    QTest::newRow("open quote at the end") << u"a;\"b"_s << QStringList{a, b};
    QTest::newRow("doubled quote at the end inside") << u"\"a\"\""_s << QStringList{u"a\""_s};
    QTest::newRow("quote as the last character inside") << u"\"a\""_s << QStringList{a};
    QTest::newRow("doubled quote outside opens and closes") << u"a\"\"b"_s << QStringList{u"ab"_s};
    QTest::newRow("three quotes then text") << u"\"\"\"a"_s << QStringList{u"\"a"_s};
    QTest::newRow("only quotes") << u"\"\""_s << QStringList{};
    QTest::newRow("line ends are text") << u"a\r\n;b"_s << QStringList{u"a\r\n"_s, b};
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
    QTest::newRow("row without fields") << QList<QStringList>{{}} << "\r\n"_ba;
    QTest::newRow("two rows") << QList<QStringList>{{u"a"_s, u"b"_s}, {u"c"_s}} << "a;b\r\nc\r\n"_ba;
    QTest::newRow("comma") << cell("1,5") << "\"1,5\"\r\n"_ba;
    QTest::newRow("quotes") << cell("say \"hi\"") << "say \xE2\x80\x9Dhi\xE2\x80\x9D\r\n"_ba;
    QTest::newRow("comma and quote") << cell("a,\"b") << "\"a,\"b\"\r\n"_ba;
    QTest::newRow("semicolon") << cell("a;b") << "a;b\r\n"_ba;
    QTest::newRow("CR LF") << cell("a\r\nb") << "\"a\r\nb\"\r\n"_ba;
    QTest::newRow("lone LF") << cell("a\nb") << "a\nb\r\n"_ba;
    QTest::newRow("lone CR") << cell("a\rb") << "a\rb\r\n"_ba;
    QTest::newRow("LF CR") << cell("a\n\rb") << "a\n\rb\r\n"_ba;
    QTest::newRow("UTF-8") << cell("H\xC3\xB6he \xF0\x9F\x9B\xA9") << "H\xC3\xB6he \xF0\x9F\x9B\xA9\r\n"_ba;
}

void TestCsv::writes()
{
    QFETCH(QList<QStringList>, rows);
    QFETCH(QByteArray, bytes);
    const Folder folder;
    QVERIFY(writeCSV(rows, folder.path(u"out.csv"_s)));
    QCOMPARE(folder.read(u"out.csv"_s), bytes);
}

void TestCsv::replacesLongerFile()
{
    const Folder folder;
    folder.write(u"out.csv"_s, "something longer than the new content");
    QVERIFY(writeCSV({{u"a"_s}}, folder.path(u"out.csv"_s)));
    QCOMPARE(folder.read(u"out.csv"_s), "a\r\n"_ba);
}

void TestCsv::cannotOpen()
{
    const Folder folder;
    QVERIFY(!writeCSV({{u"a"_s}}, folder.path()));
    QVERIFY(!writeCSV({{u"a"_s}}, folder.path(u"missing/out.csv"_s)));
    QVERIFY(folder.entries().isEmpty());
}

void TestCsv::dates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDate>("date");

    QTest::newRow("as written") << u"05-03-2024"_s << QDate(2024, 3, 5);
    QTest::newRow("ISO 8601") << u"2024-03-05"_s << QDate(2024, 3, 5);
    QTest::newRow("RFC 2822") << u"20 May 1995"_s << QDate(1995, 5, 20);
    QTest::newRow("RFC 2822 with weekday") << u"Sat, 20 May 1995"_s << QDate(1995, 5, 20);
    QTest::newRow("text") << u"Sat May 20 1995"_s << QDate(1995, 5, 20);
    QTest::newRow("locale, long") << QLocale::system().toString(QDate(1995, 5, 20), QLocale::LongFormat)
                                  << QDate(1995, 5, 20);
    QTest::newRow("empty") << QString() << QDate();
    QTest::newRow("no date") << u"soon"_s << QDate();
    QTest::newRow("no such day") << u"30-02-2024"_s << QDate();
    QTest::newRow("leap day") << u"29-02-2024"_s << QDate(2024, 2, 29);
    QTest::newRow("not trimmed") << u" 05-03-2024"_s << QDate();
    QTest::newRow("one digit") << u"5-3-2024"_s << QDate();
}

void TestCsv::dates()
{
    QFETCH(QString, text);
    QTEST(toDate(text), "date");
}

CATALIST_TEST(TestCsv)
#include "tst_csv.moc"
