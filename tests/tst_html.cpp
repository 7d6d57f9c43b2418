#include "io/html.h"

#include "lengths.h"
#include "testrunner.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestHtml : public QObject
{
    Q_OBJECT

private slots:
    void tags_data();
    void tags();
    void textUntilEnd();
    void endless_data();
    void endless();
};

void TestHtml::tags_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("tags");

    QTest::newRow("nothing") << QString() << QString();
    QTest::newRow("text") << u"a > b &lt;p>"_s << QString();
    QTest::newRow("start and end") << u"<p>a</p>b<br/>"_s << u"<p></p><br>"_s;
    QTest::newRow("capitals") << u"<P ALIGN=Left></P>"_s << u"<p align=[Left]></p>"_s;
    QTest::newRow("values") << u"<p a=1 b = '2 3'c=\"4>'\"d =\n5/>"_s << u"<p a=[1] b=[2 3] c=[4>'] d=[5]>"_s;
    QTest::newRow("values with slashes") << u"<p a=b/c d=e/>"_s << u"<p a=[b/c] d=[e]>"_s;
    QTest::newRow("no values") << u"<p a b= c=''>"_s << u"<p b=[c]>"_s;
    QTest::newRow("empty value") << u"<p a b='' c>"_s << u"<p b=[]>"_s;
    QTest::newRow("one attribute twice") << u"<p a=1 A=2>"_s << u"<p a=[1] a=[2]>"_s;
    QTest::newRow("behind a slash") << u"<p a=1 / b=2>"_s << u"<p a=[1]>"_s;
    QTest::newRow("behind an equals sign") << u"<p a=1=2 b=3>"_s << u"<p a=[1]>"_s;
    QTest::newRow("behind a less-than sign") << u"<p a=1 <b c=2><b>"_s << u"<p a=[1]><b>"_s;
    QTest::newRow("less-than signs") << u"a << <p>b < 3 <p>"_s << u"<><3>"_s;
    QTest::newRow("spaces") << u"<\n p\t></ p>< /p>"_s << u"<p></></p>"_s;
    QTest::newRow("names in quotes") << u"<'p' \"a\"=1></\" p \">"_s << u"<p a=[1]></p>"_s;
    QTest::newRow("names with slashes") << u"<p/a=1></p/>"_s << u"<p/a></p>"_s;
    QTest::newRow("quotes in an end tag") << u"</p a='><b>'>"_s << u"</p><b>"_s;
    QTest::newRow("quotes in words") << u"<p a=b'> c' d\"=1><b>"_s << u"<p a=[b']><b>"_s;
    QTest::newRow("escaped quotes") << u"<p a='\\'>' b=\"\\\" c=1>"_s << u"<p a=[\\'>] b=[\\] c=[1]>"_s;
    QTest::newRow("quotes that do not end") << u"<p a='1><b c=\"2>"_s << u"<p a=[1><b c=\"2>]>"_s;
    QTest::newRow("tag that does not end") << u"<p a=1"_s << u"<p a=[1]>"_s;
    QTest::newRow("comments") << u"<!-- <a> --><p><!--><b>--><!----></p>"_s << u"<p></p>"_s;
    QTest::newRow("comment that does not end") << u"<p><!-- <b> -- > <b>"_s << u"<p>"_s;
    QTest::newRow("declarations") << u"<!DOCTYPE html \"><p>\"><![CDATA[<b>]]>"_s << u"<p>"_s;
    QTest::newRow("entities") << u"<p a=\"&lt;&#97;&#x42;&#X43;&quot;&apos;&gt;&amp;lt;&#38;lt;\">"_s
                              << u"<p a=[<aBC\"'>&lt;&lt;]>"_s;
    QTest::newRow("entities of other forms")
        << u"<p &#97;='&#98;'b=&#+99;><&#98;></&#98;><'&#98;'>"_s << u"<p a=[b] b=[c]><b></b><&#98;>"_s;
    QTest::newRow("no entities") << u"<p a=\"& &; &#; &#x; &a; &#98 &# 98; &#000000098; &&#98;\">"_s
                                 << u"<p a=[& &; &#; &#x; &a; &#98 &# 98; &#000000098; &b]>"_s;
    QTest::newRow("entity at the end of the text") << u"<p a=1&#50"_s << u"<p a=[12]>"_s;
}

void TestHtml::tags()
{
    QFETCH(QString, html);
    QFETCH(QString, tags);
    QString found;
    HtmlReader reader(html);
    while (const std::optional<HtmlTag> tag = reader.nextTag()) {
        found += (tag->isEnd ? u"</"_s : u"<"_s) + tag->name;
        while (const std::optional<HtmlAttribute> attribute = reader.nextAttribute())
            found += u' ' + attribute->name + u"=["_s + attribute->value + u']';
        found += u'>';
    }
    QCOMPARE(found, tags);
}

void TestHtml::textUntilEnd()
{
    HtmlReader reader(u"<style a='>'>p > b<b></STYLE><p><script>a<b"_s);
    QCOMPARE(reader.nextTag()->name, u"style"_s);
    QCOMPARE(reader.textUntilEnd("style"_L1), u"p > b<b>"_s);
    QVERIFY(reader.nextTag()->isEnd);
    QCOMPARE(reader.nextTag()->name, u"p"_s);
    QCOMPARE(reader.nextTag()->name, u"script"_s);
    QCOMPARE(reader.textUntilEnd("script"_L1), u"a<b"_s);
    QVERIFY(!reader.nextTag());
}

void TestHtml::endless_data()
{
    QTest::addColumn<QString>("part");
    for (const char *part : {"<", "<!--", "<!", "</", "<p ", "<p a=\"", "<p a='\\", "<p a='\\'", "<p '\"b\"",
                             "<p a = b ", "<p/", "<style>", "<p a=&", "<p a=\"&#9"})
        QTest::addRow("%s", part) << QString::fromLatin1(part);
}

// Ends in bounded time.
void TestHtml::endless()
{
    QFETCH(QString, part);
    const QString html = part.repeated(lengthOf(300'000, 3'000'000));
    HtmlReader reader(html);
    while (const std::optional<HtmlTag> tag = reader.nextTag()) {
        while (reader.nextAttribute()) { }
        if (tag->name == u"style"_s)
            reader.textUntilEnd("style"_L1);
    }
}

CATALIST_TEST(TestHtml)
#include "tst_html.moc"
